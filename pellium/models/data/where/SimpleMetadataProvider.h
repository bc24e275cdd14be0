#pragma once

#include <memory>
#include <string>

#include "pellium/Export.h"
#include "pellium/models/data/where/MetadataProvider.h"
#include "pellium/util/vector_map.h"

namespace pellium {

class DataSet;
class Variable;

/// A MetadataProvider that collects the labels and format names of the columns of data sets and
/// of single variables. When several sources name the same column, the first one added wins, as
/// the first column of a name wins in a data set. Build it on one thread; then read it from any.
class PELLIUM_EXPORT SimpleMetadataProvider final : public MetadataProvider {
    struct Token {};

public:
    static std::shared_ptr<SimpleMetadataProvider> create();
    /// A provider over the columns of `dataSet` (none for null).
    static std::shared_ptr<SimpleMetadataProvider> create(const std::shared_ptr<const DataSet>& dataSet);

    explicit SimpleMetadataProvider(Token) {}

    /// Adds every named column of `dataSet`; nothing for null.
    void addDataSet(const std::shared_ptr<const DataSet>& dataSet);
    /// Adds one variable (a column); nothing for null or a variable without a name.
    void addVariable(const std::shared_ptr<const Variable>& variable);

    SharedString getLabel(const SharedString& columnName) const override;
    /// The column's format name whatever the kind.
    SharedString getFormatName(const SharedString& columnName, int kind) const override;

private:
    struct Attributes {
        SharedString label;
        SharedString formatName;
    };

    const Attributes* find(const SharedString& columnName) const;

    vector_map<std::string, Attributes> attributes_;
};

}  // namespace pellium
