#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The axis of a view on which a hierarchy is laid out: the rows or the columns of a crosstab, the
/// page (a selector above the table), or none. Hierarchy data sets cross the members of their row
/// and column axes.
class PELLIUM_EXPORT AxisDimension {
public:
    enum type : std::int32_t {
        NONE = 0,
        ROW = 1,
        COLUMN = 2,
        PAGE = 3,
    };

    static constexpr int NUMBER_OF_VALUES = 4;

    static constexpr bool isValid(std::int32_t value) { return value >= NONE && value <= PAGE; }

    /// "NONE", "ROW", "COLUMN" or "PAGE"; empty for a number that is no value.
    static std::string_view getStringFromValue(type value);

    /// The value named `name`, compared without regard to ASCII case; empty when none is.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
