#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The direction of a sort of rows or members. DATA keeps the order in which the data came: a
/// comparator in that direction leaves every pair unordered (only the all-others bucket still
/// moves to the end), so a stable sort changes nothing else.
class PELLIUM_EXPORT SortDirection {
public:
    enum type : std::int32_t {
        DATA = 0,
        ASCENDING = 1,
        DESCENDING = 2,
    };

    static constexpr int NUMBER_OF_VALUES = 3;

    static constexpr bool isValid(std::int32_t value) { return value >= DATA && value <= DESCENDING; }

    /// "DATA", "ASCENDING" or "DESCENDING"; empty for a number that is no value.
    static std::string_view getStringFromValue(type value);

    /// The value named `name`, compared without regard to ASCII case; empty when none is.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
