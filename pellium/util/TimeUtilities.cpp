#include "pellium/util/TimeUtilities.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>

#include "pellium/util/MathUtilities.h"

namespace pellium {

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// Days from 1 January of year 1 to 1 January of `year` (year >= 1): 365 for each year before it,
// plus one for each leap year among them, counted by the divisibility rules.
constexpr std::int64_t daysBeforeYear(std::int64_t year) {
    const std::int64_t before = year - 1;
    return 365 * before + before / 4 - before / 100 + before / 400 - before / 4000;
}

constexpr std::int64_t DAYS_BEFORE_1960 = daysBeforeYear(1960);
constexpr std::int64_t DAYS_IN_4000_YEARS = daysBeforeYear(4001) - daysBeforeYear(1);

// Days before the first of each month (index 0 to 11) and in the whole year (index 12), for a
// common and a leap year.
constexpr std::array<std::array<int, 13>, 2> DAYS_BEFORE_MONTH = {{
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
}};

const std::array<int, 13>& daysBeforeMonth(int year) {
    return DAYS_BEFORE_MONTH[TimeUtilities::isLeapYear(year) ? 1 : 0];
}

static_assert(daysBeforeYear(20001) - DAYS_BEFORE_1960 - 1 == TimeUtilities::LAST_DAY_NUMBER,
              "day 6589335 is 31 December 20000");
static_assert(daysBeforeYear(1582) - DAYS_BEFORE_1960 == TimeUtilities::FIRST_DAY_NUMBER + 10,
              "1 January 1582 is ten days after the first day number");

// The floor of a day number inside the supported range; false outside it and for NaN.
bool toDayIndex(double dayNumber, std::int64_t& dayIndex) {
    if (!(dayNumber >= TimeUtilities::FIRST_DAY_NUMBER && dayNumber < TimeUtilities::LAST_DAY_NUMBER + 1.0)) {
        return false;
    }
    dayIndex = MathUtilities::floorToInteger(dayNumber);
    return true;
}

struct CalendarDate {
    int year;
    int month;
    int day;
    int dayOfYear;
};

// The date of a day index. The year is estimated from the mean length of a year (1460969 days
// in 4000 years); between the years 1581 and 20001 the estimate is never off by more than one
// year, so a single comparison corrects it. Months have 28 to 31 days, so the day of the year
// divided by 32 is the month's index or the one before it, and again one comparison corrects it.
CalendarDate calendarDateOfAnyDay(std::int64_t dayIndex) {
    const std::int64_t days = dayIndex + DAYS_BEFORE_1960;
    std::int64_t year = 1 + days * 4000 / DAYS_IN_4000_YEARS;
    if (daysBeforeYear(year) > days) {
        --year;
    } else if (daysBeforeYear(year + 1) <= days) {
        ++year;
    }
    const int dayInYear = static_cast<int>(days - daysBeforeYear(year));
    const std::array<int, 13>& before = daysBeforeMonth(static_cast<int>(year));
    int monthIndex = dayInYear / 32;
    if (dayInYear >= before[static_cast<std::size_t>(monthIndex) + 1]) {
        ++monthIndex;
    }
    return {static_cast<int>(year), monthIndex + 1, dayInYear - before[static_cast<std::size_t>(monthIndex)] + 1,
            dayInYear + 1};
}

// 1 March 4000, the first day on which the 4000-year rule (4000 is no leap year) sets the calendar
// apart from the plain Gregorian one.
constexpr std::int64_t FIRST_DAY_OF_THE_4000_YEAR_RULE = daysBeforeYear(4000) + 31 + 28 - DAYS_BEFORE_1960;
constexpr std::int64_t DAYS_FROM_1_MARCH_OF_YEAR_0_TO_1960 = DAYS_BEFORE_1960 + 306;

// The date of a day index by plain Gregorian arithmetic on years that start on 1 March, so that
// the leap day ends the year: centuries of 36524.25 days, years of 365.25 days in the century,
// months of 153 days per 5 months, each step one multiplication and shift instead of a division
// (Neri and Schneider's Euclidean affine functions). Right up to the day before the 4000-year rule
// first applies.
CalendarDate gregorianDateOf(std::int64_t dayIndex) {
    // >= 0 from 1582 on, and small enough that 4 * days + 3 fits 32 bits until the year 4000.
    const auto days = static_cast<std::uint32_t>(dayIndex + DAYS_FROM_1_MARCH_OF_YEAR_0_TO_1960);
    const std::uint32_t quarterDays = 4 * days + 3;
    const std::uint32_t century = quarterDays / 146097;
    const std::uint32_t dayOfCentury = quarterDays % 146097 / 4;
    const std::uint64_t yearFraction = std::uint64_t{2939745} * (4 * dayOfCentury + 3);
    const auto yearOfCentury = static_cast<std::uint32_t>(yearFraction >> 32);
    const std::uint32_t dayOfMarchYear = static_cast<std::uint32_t>(yearFraction) / 2939745 / 4;
    const std::uint32_t monthAndDay = 2141 * dayOfMarchYear + 197913;
    const std::uint32_t monthFromMarch = monthAndDay >> 16;  // 3 (March) to 14 (February)
    const auto day = static_cast<int>((monthAndDay & 0xFFFF) / 2141 + 1);
    const bool beforeMarch = dayOfMarchYear >= 306;
    const auto year = static_cast<int>(100 * century + yearOfCentury + (beforeMarch ? 1 : 0));
    const int month = static_cast<int>(beforeMarch ? monthFromMarch - 12 : monthFromMarch);
    const int dayOfYear = beforeMarch
                              ? static_cast<int>(dayOfMarchYear) - 305
                              : static_cast<int>(dayOfMarchYear) + 60 + (TimeUtilities::isLeapYear(year) ? 1 : 0);
    return {year, month, day, dayOfYear};
}

CalendarDate calendarDateOf(std::int64_t dayIndex) {
    return dayIndex < FIRST_DAY_OF_THE_4000_YEAR_RULE ? gregorianDateOf(dayIndex) : calendarDateOfAnyDay(dayIndex);
}

// 1 = Monday to 7 = Sunday; day 0 is a Friday.
int isoWeekdayOf(std::int64_t dayIndex) {
    return static_cast<int>(((dayIndex + 4) % 7 + 7) % 7) + 1;
}

// ISO weeks belong to the year of their Thursday, and are numbered from that year's first one.
CalendarDate thursdayOfIsoWeek(std::int64_t dayIndex) {
    return calendarDateOf(dayIndex - isoWeekdayOf(dayIndex) + 4);
}

// One calendar field of a day number, or -1 when the number is no day the calendar holds.
template <typename Field>
int fieldOfDay(double dayNumber, Field field) {
    std::int64_t dayIndex = 0;
    return toDayIndex(dayNumber, dayIndex) ? field(dayIndex) : -1;
}

// `value` modulo `divisor`, in [0, divisor) also for negative values. A tiny negative value would
// round up to `divisor` itself; it stays just below it, in the day it belongs to.
double floorModulo(double value, double divisor) {
    const double remainder = value - std::floor(value / divisor) * divisor;
    return remainder < divisor ? remainder : std::nextafter(divisor, 0.0);
}

}  // namespace

int TimeUtilities::getDaysInMonth(int month, int year) noexcept {
    if (month < 1 || month > 12) {
        return 0;
    }
    const std::array<int, 13>& before = daysBeforeMonth(year);
    return before[static_cast<std::size_t>(month)] - before[static_cast<std::size_t>(month) - 1];
}

double TimeUtilities::mdy(int month, int day, int year) noexcept {
    year = expandTwoDigitYear(year);
    if (year < FIRST_YEAR || year > LAST_YEAR || day < 1 || day > getDaysInMonth(month, year)) {
        return NOT_A_NUMBER;
    }
    return static_cast<double>(daysBeforeYear(year) - DAYS_BEFORE_1960 +
                               daysBeforeMonth(year)[static_cast<std::size_t>(month) - 1] + day - 1);
}

double TimeUtilities::yyq(int year, int quarter) noexcept {
    if (quarter < 1 || quarter > 4) {
        return NOT_A_NUMBER;
    }
    return mdy(3 * quarter - 2, 1, year);
}

int TimeUtilities::dow(double dayNumber) noexcept {
    std::int64_t dayIndex = 0;
    if (!toDayIndex(dayNumber, dayIndex)) {
        return -1;
    }
    // Day 0 is a Friday, weekday 6.
    return static_cast<int>(((dayIndex + 5) % 7 + 7) % 7) + 1;
}

bool TimeUtilities::getDate(double dayNumber, int& year, int& month, int& day) noexcept {
    std::int64_t dayIndex = 0;
    if (!toDayIndex(dayNumber, dayIndex)) {
        return false;
    }
    const CalendarDate date = calendarDateOf(dayIndex);
    year = date.year;
    month = date.month;
    day = date.day;
    return true;
}

int TimeUtilities::year(double dayNumber) noexcept {
    return fieldOfDay(dayNumber, [](std::int64_t dayIndex) { return calendarDateOf(dayIndex).year; });
}

int TimeUtilities::month(double dayNumber) noexcept {
    return fieldOfDay(dayNumber, [](std::int64_t dayIndex) { return calendarDateOf(dayIndex).month; });
}

int TimeUtilities::dom(double dayNumber) noexcept {
    return fieldOfDay(dayNumber, [](std::int64_t dayIndex) { return calendarDateOf(dayIndex).day; });
}

int TimeUtilities::doy(double dayNumber) noexcept {
    return fieldOfDay(dayNumber, [](std::int64_t dayIndex) { return calendarDateOf(dayIndex).dayOfYear; });
}

int TimeUtilities::qtr(double dayNumber) noexcept {
    return fieldOfDay(dayNumber, [](std::int64_t dayIndex) { return (calendarDateOf(dayIndex).month - 1) / 3 + 1; });
}

int TimeUtilities::isoWeek(double dayNumber) noexcept {
    return fieldOfDay(dayNumber,
                      [](std::int64_t dayIndex) { return (thursdayOfIsoWeek(dayIndex).dayOfYear - 1) / 7 + 1; });
}

int TimeUtilities::isoWeekYear(double dayNumber) noexcept {
    return fieldOfDay(dayNumber, [](std::int64_t dayIndex) { return thursdayOfIsoWeek(dayIndex).year; });
}

double TimeUtilities::hms(double hour, double minute, double second) noexcept {
    return hour * 3600.0 + minute * 60.0 + second;
}

double TimeUtilities::dhms(double dayNumber, double hour, double minute, double second) noexcept {
    return dayNumber * SECONDS_PER_DAY + hms(hour, minute, second);
}

double TimeUtilities::datepart(double dateTime) noexcept {
    return std::isfinite(dateTime) ? std::floor(dateTime / SECONDS_PER_DAY) : NOT_A_NUMBER;
}

double TimeUtilities::timepart(double dateTime) noexcept {
    return std::isfinite(dateTime) ? floorModulo(dateTime, SECONDS_PER_DAY) : NOT_A_NUMBER;
}

int TimeUtilities::hour(double seconds) noexcept {
    return std::isfinite(seconds) ? static_cast<int>(timepart(seconds) / 3600.0) : -1;
}

int TimeUtilities::minute(double seconds) noexcept {
    return std::isfinite(seconds) ? static_cast<int>(floorModulo(seconds, 3600.0) / 60.0) : -1;
}

double TimeUtilities::second(double seconds) noexcept {
    return std::isfinite(seconds) ? floorModulo(seconds, 60.0) : NOT_A_NUMBER;
}

double TimeUtilities::now() noexcept {
    const std::chrono::duration<double> sinceUnixEpoch = std::chrono::system_clock::now().time_since_epoch();
    return fromUnixTime(sinceUnixEpoch.count());
}

}  // namespace pellium
