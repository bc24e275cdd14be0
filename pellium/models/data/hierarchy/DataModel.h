#pragma once

#include <memory>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// The registry of one report's data, known by its name. A `Data` collection holds data models by
/// name; the hierarchy layer adds what a model registers (its data objects and map providers).
class PELLIUM_EXPORT DataModel {
    struct Token {};

public:
    /// A model named `name` (a null name is kept as null).
    static std::shared_ptr<DataModel> create(SharedString name);

    DataModel(Token, SharedString name);
    virtual ~DataModel();

    const SharedString& getName() const { return name_; }

private:
    SharedString name_;
};

}  // namespace pellium
