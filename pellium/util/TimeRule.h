#pragma once

#include <cstdint>

#include "pellium/Export.h"
#include "pellium/util/DateMode.h"

namespace pellium {

/// One date and time of a time-zone rule, as the rule files write it: "the last Sunday of March
/// at 01:00", "the first Sunday on or after 8 March at 02:00", "15 October 1918 at 00:00".
/// Saving rules carry one for the start and one for the end of daylight time, zone periods one
/// for their end. The clock of the time (`DateType`) is kept beside it by its owner.
///
/// A small value, copied freely: six signed 32-bit fields in the order mode, year, month (1 to
/// 12), day (-1 with `LastWeekday`), weekday (1 = Sunday to 7 = Saturday, or -1 for none) and
/// seconds after midnight of the day (may exceed 86400: 90000 is 01:00 of the next day).
class PELLIUM_EXPORT TimeRule {
public:
    /// An absent rule (mode `None`).
    constexpr TimeRule() = default;
    constexpr TimeRule(DateMode::type mode, std::int32_t year, std::int32_t month, std::int32_t day,
                       std::int32_t weekday, std::int32_t seconds)
        : mode_(mode), year_(year), month_(month), day_(day), weekday_(weekday), seconds_(seconds) {}

    DateMode::type getMode() const { return mode_; }
    std::int32_t getYear() const { return year_; }
    std::int32_t getMonth() const { return month_; }
    std::int32_t getDay() const { return day_; }
    std::int32_t getWeekday() const { return weekday_; }
    std::int32_t getSeconds() const { return seconds_; }

    /// True unless the mode is `None`.
    bool isValid() const { return mode_ != DateMode::None; }

    /// The rule's instant in its own clock, in seconds since 1960 (`TimeZoneUtilities::calcTime`):
    /// with its own year, in `year`, or in `year` at `seconds` after midnight. -1.0 for an absent
    /// rule, NaN when the day does not exist in that year.
    double getTime() const { return getTime(year_, seconds_); }
    double getTime(std::int32_t year) const { return getTime(year, seconds_); }
    double getTime(std::int32_t year, std::int32_t seconds) const;

    bool operator==(const TimeRule& other) const = default;

private:
    DateMode::type mode_ = DateMode::None;
    std::int32_t year_ = 0;
    std::int32_t month_ = 0;
    std::int32_t day_ = 0;
    std::int32_t weekday_ = -1;
    std::int32_t seconds_ = 0;
};

}  // namespace pellium
