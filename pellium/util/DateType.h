#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The clock in which a time is given: local wall-clock time, UTC, or local standard time.
/// Time-zone rules state the clock of each of their times, and `TimeZone` answers questions
/// about a time in any of the three; date-time values in data sets are wall-clock times unless
/// a column says otherwise.
class PELLIUM_EXPORT DateType {
public:
    enum type : std::int32_t {
        /// Local wall-clock time, daylight saving included.
        Wall = 0,
        /// UTC.
        Universal = 1,
        /// Local standard time, without daylight saving.
        Standard = 2,
    };

    static constexpr int NUMBER_OF_VALUES = 3;

    static constexpr std::array<type, NUMBER_OF_VALUES> allValues() { return {Wall, Universal, Standard}; }

    static constexpr bool isValid(type value) { return value >= Wall && value <= Standard; }

    /// The value named `name` ("Wall", "Universal", "Standard"), compared without regard to
    /// ASCII case; empty when no value has that name.
    static std::optional<type> getValueFromString(std::string_view name);

    /// The name of `value`; empty for a number that is no value.
    static std::string_view getStringFromValue(type value);
};

}  // namespace pellium
