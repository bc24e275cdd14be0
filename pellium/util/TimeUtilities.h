#pragma once

#include "pellium/Export.h"

namespace pellium {

/// Calendar arithmetic on the library's date and time values. A date is a day number counted
/// from 1 January 1960 (day 0, a Friday); a time is a count of seconds after midnight; a
/// date-time is a count of seconds from 1 January 1960, 00:00. Formatters, parsers, expressions
/// and time zones all convert through this class, so that every part of the library agrees on
/// the calendar.
///
/// The calendar is the Gregorian one, applied to every date from 1 January 1582 on, with one
/// deliberate difference: a year divisible by 4000 is not a leap year (so day 6589335 is
/// 31 December 20000). Every conversion is constant-time arithmetic. Nothing throws: a value
/// outside the calendar's range, NaN or an infinity gives NaN where a value is answered and -1
/// where a calendar field is answered.
class PELLIUM_EXPORT TimeUtilities {
public:
    TimeUtilities() = delete;

    static constexpr double SECONDS_PER_DAY = 86400.0;
    /// Seconds from 1 January 1960 to the Unix epoch, 1 January 1970 (3,653 days): a Unix time
    /// plus this is a library date-time.
    static constexpr double UNIX_EPOCH = 315619200.0;

    /// The years that `mdy` accepts once a two-digit year has been expanded.
    static constexpr int FIRST_YEAR = 1582;
    static constexpr int LAST_YEAR = 20000;

    /// The day numbers for which `dow` and the calendar fields answer: from 22 December 1581,
    /// ten days before the first date `mdy` gives, to 31 December 20000.
    static constexpr int FIRST_DAY_NUMBER = -138071;
    static constexpr int LAST_DAY_NUMBER = 6589335;

    // --- The calendar ----------------------------------------------------------------------------

    /// Divisible by 4, and not by 100 unless by 400, and never by 4000.
    static constexpr bool isLeapYear(int year) noexcept {
        return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) && year % 4000 != 0;
    }
    /// 28 to 31; 0 for a month outside 1 to 12.
    static int getDaysInMonth(int month, int year) noexcept;
    static int getDaysInYear(int year) noexcept { return isLeapYear(year) ? 366 : 365; }

    /// Reads a year below 100 as a two-digit year: 2000 + year below 40, 1900 + year otherwise.
    /// The rule applies to negative years too, so -5 becomes 1995 (kept as it is, since stored
    /// values depend on it). Other years are returned unchanged.
    static constexpr int expandTwoDigitYear(int year) noexcept {
        if (year >= 100) {
            return year;
        }
        return year < 40 ? 2000 + year : 1900 + year;
    }

    // --- Dates -----------------------------------------------------------------------------------

    /// The day number of a calendar date, after `expandTwoDigitYear`. NaN for a month outside 1
    /// to 12, a day outside the month, or a year (once expanded) before 1582 or after 20000.
    static double mdy(int month, int day, int year) noexcept;

    /// The day number of the first day of a quarter (1 to 4) of a year, as `mdy` reads the year;
    /// NaN for a quarter outside 1 to 4.
    static double yyq(int year, int quarter) noexcept;

    /// The weekday of a day number, 1 = Sunday to 7 = Saturday; -1 outside FIRST_DAY_NUMBER to
    /// LAST_DAY_NUMBER. A fractional day number counts as the day it falls in (its floor).
    static int dow(double dayNumber) noexcept;

    /// The calendar date of a day number (its floor). Answers false, leaving the outputs
    /// unchanged, outside FIRST_DAY_NUMBER to LAST_DAY_NUMBER.
    static bool getDate(double dayNumber, int& year, int& month, int& day) noexcept;

    /// Fields of the date of a day number (its floor); each answers -1 where `getDate` fails.
    static int year(double dayNumber) noexcept;
    static int month(double dayNumber) noexcept;
    /// The day of the month, 1 to 31.
    static int dom(double dayNumber) noexcept;
    /// The day of the year, 1 to 366.
    static int doy(double dayNumber) noexcept;
    /// The quarter, 1 to 4.
    static int qtr(double dayNumber) noexcept;

    /// The ISO 8601 week, 1 to 53: weeks start on Monday, and week 1 is the week that holds the
    /// year's first Thursday, so the first and last days of a year can belong to a week of the
    /// year before or after (`isoWeekYear`).
    static int isoWeek(double dayNumber) noexcept;
    /// The year that the ISO week of the day number belongs to.
    static int isoWeekYear(double dayNumber) noexcept;

    // --- Times and date-times ----------------------------------------------------------------------

    /// Seconds of hour:minute:second; any field may be fractional, negative or out of its usual
    /// range (hms(0, 90, 0) is 5400). NaN in any field gives NaN.
    static double hms(double hour, double minute, double second) noexcept;
    /// The date-time of a day number and a time of day.
    static double dhms(double dayNumber, double hour, double minute, double second) noexcept;

    /// The day number of a date-time (its floor, so that times before 1960 count back from the
    /// day they fall in); NaN for NaN or an infinity.
    static double datepart(double dateTime) noexcept;
    /// The seconds since midnight of a date-time, 0 to below 86400; NaN for NaN or an infinity.
    static double timepart(double dateTime) noexcept;

    /// The hour (0 to 23), minute (0 to 59) and second (0 to below 60, with its fraction) of a
    /// time or a date-time, counted within its day; -1 (NaN for the second) for NaN or an infinity.
    static int hour(double seconds) noexcept;
    static int minute(double seconds) noexcept;
    static double second(double seconds) noexcept;

    /// Conversions between Unix times and library date-times, both in seconds.
    static constexpr double fromUnixTime(double unixSeconds) noexcept { return unixSeconds + UNIX_EPOCH; }
    static constexpr double toUnixTime(double dateTime) noexcept { return dateTime - UNIX_EPOCH; }

    /// The current date-time in UTC, from the system clock.
    static double now() noexcept;
};

}  // namespace pellium
