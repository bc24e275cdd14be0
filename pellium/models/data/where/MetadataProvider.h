#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// Supplies the label and format name of a column by its name, so that a where clause built from
/// a bare column name (from text, or from an expression) can still be shown to people. Hosts
/// implement it over their report model; SimpleMetadataProvider collects it from data sets.
class PELLIUM_EXPORT MetadataProvider {
public:
    virtual ~MetadataProvider();

    /// The label of the column `columnName`; null when unknown.
    virtual SharedString getLabel(const SharedString& columnName) const = 0;
    /// The format name of the column `columnName`; null when unknown. `kind` selects among
    /// several formats a column may have (0 is the column's own format).
    virtual SharedString getFormatName(const SharedString& columnName, int kind) const = 0;

protected:
    MetadataProvider() = default;
    MetadataProvider(const MetadataProvider&) = default;
    MetadataProvider& operator=(const MetadataProvider&) = default;
};

}  // namespace pellium
