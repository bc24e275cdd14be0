#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/vector_map.h"

namespace pellium {

class IQData;
class MapProvider;

/// The registry of one report's data, known by its name: the report's data objects and its map
/// providers, each by name. A `Data` collection holds data models by name. Names are compared
/// byte for byte; look-ups of an unknown name answer null. Not locked: fill it on one thread, then
/// read it from any.
class PELLIUM_EXPORT DataModel {
    struct Token {};

public:
    /// A model named `name` (a null name is kept as null).
    static std::shared_ptr<DataModel> create(SharedString name);

    DataModel(Token, SharedString name);
    virtual ~DataModel();

    const SharedString& getName() const { return name_; }

    /// Registers `data` under `name`, replacing what the name held; ignores a null name or data.
    void addIQData(const SharedString& name, std::shared_ptr<IQData> data);
    std::shared_ptr<IQData> getIQDataForName(std::string_view name) const;
    /// The names in the order they were first registered.
    std::vector<SharedString> getAllIQDataNames() const;

    /// Registers `provider` under `name`, replacing what the name held; ignores a null name or
    /// provider.
    void addMapProvider(const SharedString& name, std::shared_ptr<MapProvider> provider);
    std::shared_ptr<MapProvider> getMapProviderForName(std::string_view name) const;
    std::vector<SharedString> getAllMapProviderNames() const;
    std::vector<std::shared_ptr<MapProvider>> getAllMapProviders() const;

private:
    // Entries by name, with the order of first registration kept beside them.
    template <typename Object>
    struct Registry {
        vector_map<std::string, std::shared_ptr<Object>> byName;
        std::vector<SharedString> names;

        void add(const SharedString& name, std::shared_ptr<Object> object) {
            if (!name || !object) {
                return;
            }
            auto found = byName.find(std::string_view(*name));
            if (found == byName.end()) {
                byName.insert({*name, std::move(object)});
                names.push_back(name);
            } else {
                found->second = std::move(object);
            }
        }
        std::shared_ptr<Object> find(std::string_view name) const {
            const auto found = byName.find(name);
            return found == byName.end() ? nullptr : found->second;
        }
    };

    SharedString name_;
    Registry<IQData> iqData_;
    Registry<MapProvider> mapProviders_;
};

}  // namespace pellium
