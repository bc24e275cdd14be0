#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// How a time-zone rule names its day: a fixed day of the month, the last given weekday of the
/// month, or the first given weekday on or after a day. `TimeRule` carries it; `None` marks the
/// absent half of a saving rule (a row that only starts or only ends daylight time).
class PELLIUM_EXPORT DateMode {
public:
    enum type : std::int32_t {
        /// No rule: the half of the record is absent.
        None = 0,
        /// A fixed day of the month.
        DayOfMonth = 1,
        /// Written with day -1: the last given weekday of the month.
        LastWeekday = 2,
        /// The first given weekday on or after the given day.
        WeekdayOnOrAfter = 3,
    };

    static constexpr int NUMBER_OF_VALUES = 4;

    static constexpr std::array<type, NUMBER_OF_VALUES> allValues() {
        return {None, DayOfMonth, LastWeekday, WeekdayOnOrAfter};
    }

    static constexpr bool isValid(type value) { return value >= None && value <= WeekdayOnOrAfter; }

    /// The value named `name` ("None", "DayOfMonth", "LastWeekday", "WeekdayOnOrAfter"), compared
    /// without regard to ASCII case; empty when no value has that name.
    static std::optional<type> getValueFromString(std::string_view name);

    /// The name of `value`; empty for a number that is no value.
    static std::string_view getStringFromValue(type value);
};

}  // namespace pellium
