#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The data type of an expression: what evaluating it gives. The values are bits, so that a set of
/// types is written as a mask (NUMERIC | DATE). Dates, times and date-times are numbers (day and
/// second counts since 1960) and compute as numbers. This is not the column type of a data set,
/// which knows only numbers and texts.
class PELLIUM_EXPORT DataTypeExt {
public:
    enum type : std::int32_t {
        UNKNOWN = 1,
        NUMERIC = 2,
        CHARACTER = 4,
        DATE = 8,
        TIME = 16,
        DATETIME = 32,
        BOOLEAN = 64,
        LIST = 128,
        TABLE = 256,
    };

    /// Every type that evaluates as a number.
    static constexpr std::int32_t NUMBER_MASK = NUMERIC | DATE | TIME | DATETIME;

    DataTypeExt() = delete;

    static constexpr bool isNumber(type value) { return (value & NUMBER_MASK) != 0; }

    /// Whether values of the two types can meet in one comparison or one arithmetic operation: an
    /// unknown type agrees with everything, numbers of any kind agree with each other, and any
    /// other type agrees only with itself.
    static constexpr bool agree(type first, type second) {
        return first == UNKNOWN || second == UNKNOWN || first == second || (isNumber(first) && isNumber(second));
    }

    /// "UNKNOWN", "NUMERIC"...; empty for a number that is no single type.
    static std::string_view getStringFromValue(type value);
    /// The type named `name`, without regard to ASCII case; empty when none is.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
