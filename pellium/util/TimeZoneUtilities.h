#pragma once

#include <string>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/util/DateMode.h"
#include "pellium/util/DateType.h"

namespace pellium {

/// The arithmetic that turns a time-zone rule into an instant and moves times between clocks.
/// `TimeRule`, `TimeZone` and the zone data reader use it; hosts may use it to evaluate rules
/// of their own. Times are seconds since 1 January 1960 in whatever clock the rule names; day
/// numbers and years follow `TimeUtilities` (including its two-digit years).
class PELLIUM_EXPORT TimeZoneUtilities {
public:
    TimeZoneUtilities() = delete;

    /// The instant of a rule: `seconds` after midnight of the rule's day, where the day is
    /// `TimeUtilities::mdy(month, |day|, year)` for `DayOfMonth` and `getFirstLastDay` for
    /// `LastWeekday` and `WeekdayOnOrAfter`. Seconds may exceed a day (90000 is 01:00 of the
    /// next day) or be negative. Answers -1.0 for any other mode (an absent rule) and NaN when
    /// the day does not exist.
    static double calcTime(DateMode::type mode, int year, int month, int day, int weekday, int seconds) noexcept;

    /// The day number of a weekday rule. With `day` below 1: the last `weekday` (1 = Sunday to
    /// 7 = Saturday) of the month. Otherwise: the first `weekday` on or after `day` of the
    /// month, which may fall in the next month (Sunday on or after 29 February). NaN for a month
    /// outside 1 to 12, a day after the end of the month, a weekday outside 1 to 7, or a year
    /// outside the calendar.
    static double getFirstLastDay(int month, int day, int weekday, int year) noexcept;

    /// What to add to a time in clock `from` to give the same instant in clock `to`, for a zone
    /// with raw (standard) offset `rawOffset` and `saving` in force, in seconds:
    ///
    ///     from \ to   Wall               Universal          Standard
    ///     Wall        0                  -(raw + saving)    -saving
    ///     Universal   raw + saving       0                  raw
    ///     Standard    saving             -raw               0
    ///
    /// NaN for a clock that is no `DateType`.
    static double getConversionOffset(DateType::type from, DateType::type to, double rawOffset, double saving) noexcept;

    /// `time` moved from clock `from` to clock `to` (see getConversionOffset).
    static double convertTime(double time, DateType::type from, DateType::type to, double rawOffset,
                              double saving) noexcept {
        return time + getConversionOffset(from, to, rawOffset, saving);
    }

    /// The abbreviation that a zone's `format` gives. A format with "/" is a pair of the standard
    /// and the daylight form ("GMT/BST"); one with "%s" takes the saving rule's `letter` in its
    /// place (a letter "-" stands for no letter, so "CE%sT" gives "CET"); one with "%z" takes
    /// the total offset from UTC as digits ("+05", "-0330", "+053045"); any other is fixed.
    static std::string formatAbbreviation(std::string_view format, std::string_view letter, bool inDaylightTime,
                                          double totalOffset);
};

}  // namespace pellium
