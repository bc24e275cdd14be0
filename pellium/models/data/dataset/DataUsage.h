#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The role a column plays in analysis: categorical columns classify rows (regions, products),
/// quantitative columns measure them (sales, counts). Hierarchies group by categorical columns and
/// aggregate quantitative ones; a column whose role has not been decided is `UNDEFINED`.
class PELLIUM_EXPORT DataUsage {
public:
    enum type : std::int32_t {
        CATEGORICAL = 0,
        QUANTITATIVE = 1,
        UNDEFINED = 2,
    };

    static constexpr int NUMBER_OF_VALUES = 3;

    static constexpr bool isValid(std::int32_t value) { return value >= CATEGORICAL && value <= UNDEFINED; }

    /// "CATEGORICAL", "QUANTITATIVE" or "UNDEFINED"; empty for a number that is no value.
    static std::string_view getStringFromValue(type value);

    /// The value named `name`, compared without regard to ASCII case; empty when none is.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
