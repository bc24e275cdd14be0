#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class DataModel;

/// The data models of a report, in the order they were added, with the version text of the
/// report data they came from. Names are unique: a model whose name is already present is not
/// added. Not locked; build it on one thread, then read it from any.
class PELLIUM_EXPORT Data {
    struct Token {};

public:
    static std::shared_ptr<Data> create();

    explicit Data(Token);

    const SharedString& getVersion() const { return version_; }
    void setVersion(SharedString version) { version_ = std::move(version); }

    /// Appends `model`; ignores a null model and one whose name equals the name of a model
    /// already present (a null name equals only a null name).
    void addDataModel(const std::shared_ptr<DataModel>& model);

    /// The first model whose name has exactly the bytes of `name`; null when none has.
    std::shared_ptr<DataModel> getDataModelForName(std::string_view name) const;

    const std::vector<std::shared_ptr<DataModel>>& getAllDataModels() const { return models_; }

    /// The names of the models, in order.
    std::vector<SharedString> getAllDataModelNames() const;

private:
    SharedString version_;
    std::vector<std::shared_ptr<DataModel>> models_;
};

}  // namespace pellium
