#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The type of a column and of a cell value: a column holds either numbers or texts. Operations
/// that take a `DataType::type` treat any other number as invalid and answer null or false.
class PELLIUM_EXPORT DataType {
public:
    enum type : std::int32_t {
        NUMERIC = 0,
        STRING = 1,
    };

    static constexpr int NUMBER_OF_VALUES = 2;

    static constexpr bool isValid(std::int32_t value) { return value == NUMERIC || value == STRING; }

    /// "NUMERIC" or "STRING"; empty for a number that is no value.
    static std::string_view getStringFromValue(type value);

    /// The value named `name`, compared without regard to ASCII case; empty when none is.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
