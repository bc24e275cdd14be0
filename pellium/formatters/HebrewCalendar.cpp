#include "pellium/formatters/HebrewCalendar.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "pellium/util/TimeUtilities.h"

namespace pellium {

namespace {

// Day numbers are counted from 1 January 1960. The epoch of the Hebrew calendar, 1 Tishri of
// year 1 (7 October 3761 BCE in the Julian calendar), lies 2,088,937 days before it.
constexpr std::int64_t EPOCH_DAY_NUMBER = -2088937;
constexpr std::int64_t PARTS_PER_DAY = 25920;  // 24 hours of 1080 parts
constexpr std::int64_t MONTH_PARTS = 13753;    // a lunation beyond 29 days: 12 hours 793 parts
constexpr std::int64_t FIRST_MOLAD_PARTS = 12084;

std::int64_t floorDivide(std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t quotient = numerator / denominator;
    return (numerator % denominator != 0 && (numerator < 0) != (denominator < 0)) ? quotient - 1 : quotient;
}

// Days from the epoch to the molad of Tishri of `year`, moved one day on when the molad falls
// where the first two postponements (the weekday rule "lo ADU") put the new year.
std::int64_t elapsedDays(std::int64_t year) {
    const std::int64_t monthsElapsed = floorDivide(235 * year - 234, 19);
    const std::int64_t partsElapsed = FIRST_MOLAD_PARTS + MONTH_PARTS * monthsElapsed;
    const std::int64_t days = 29 * monthsElapsed + floorDivide(partsElapsed, PARTS_PER_DAY);
    return ((3 * (days + 1)) % 7 + 7) % 7 < 3 ? days + 1 : days;
}

// The other two postponements keep every year between 353 and 385 days long.
std::int64_t yearLengthCorrection(std::int64_t year) {
    const std::int64_t previous = elapsedDays(year - 1);
    const std::int64_t current = elapsedDays(year);
    const std::int64_t next = elapsedDays(year + 1);
    if (next - current == 356) {
        return 2;
    }
    return current - previous == 382 ? 1 : 0;
}

std::int64_t newYearDayNumber(std::int64_t year) {
    return EPOCH_DAY_NUMBER + elapsedDays(year) + yearLengthCorrection(year);
}

bool isInRange(double dayNumber) {
    return dayNumber >= TimeUtilities::FIRST_DAY_NUMBER && dayNumber < TimeUtilities::LAST_DAY_NUMBER + 1.0;
}

}  // namespace

int HebrewCalendar::getDaysInYear(int year) noexcept {
    return static_cast<int>(newYearDayNumber(year + 1LL) - newYearDayNumber(year));
}

int HebrewCalendar::getDaysInMonth(int month, int year) noexcept {
    switch (month) {
        case 2: {  // Heshvan is long in a complete year (355 or 385 days)
            return getDaysInYear(year) % 10 == 5 ? 30 : 29;
        }
        case 3: {  // Kislev is short in a deficient year (353 or 383 days)
            return getDaysInYear(year) % 10 == 3 ? 29 : 30;
        }
        case ADAR_I:
            return isLeapYear(year) ? 30 : 0;
        case 1:
        case 5:
        case 8:
        case 10:
        case 12:
            return 30;
        case 4:
        case ADAR:
        case 9:
        case 11:
        case ELUL:
            return 29;
        default:
            return 0;
    }
}

double HebrewCalendar::getNewYear(int year) noexcept {
    return static_cast<double>(newYearDayNumber(year));
}

bool HebrewCalendar::getDate(double dayNumber, int& year, int& month, int& day) noexcept {
    if (!isInRange(dayNumber)) {
        return false;
    }
    const auto target = static_cast<std::int64_t>(std::floor(dayNumber));
    // The mean year is 365.2468 days; the estimate is at most one year off either way.
    std::int64_t candidate = floorDivide((target - EPOCH_DAY_NUMBER) * 10000, 3652468) + 1;
    while (newYearDayNumber(candidate) > target) {
        --candidate;
    }
    while (newYearDayNumber(candidate + 1) <= target) {
        ++candidate;
    }
    const int hebrewYear = static_cast<int>(candidate);
    int remaining = static_cast<int>(target - newYearDayNumber(candidate));
    int hebrewMonth = TISHRI;
    for (; hebrewMonth < ELUL && remaining >= getDaysInMonth(hebrewMonth, hebrewYear); ++hebrewMonth) {
        remaining -= getDaysInMonth(hebrewMonth, hebrewYear);
    }
    year = hebrewYear;
    month = hebrewMonth;
    day = remaining + 1;
    return true;
}

double HebrewCalendar::toDayNumber(int year, int month, int day) noexcept {
    constexpr double invalid = std::numeric_limits<double>::quiet_NaN();
    // Years of the range of TimeUtilities, with a margin that keeps the arithmetic small.
    if (year < 5000 || year > 24000 || day < 1 || day > getDaysInMonth(month, year)) {
        return invalid;
    }
    std::int64_t dayNumber = newYearDayNumber(year) + day - 1;
    for (int earlier = TISHRI; earlier < month; ++earlier) {
        dayNumber += getDaysInMonth(earlier, year);
    }
    const auto result = static_cast<double>(dayNumber);
    return isInRange(result) ? result : invalid;
}

int HebrewCalendar::getOrdinalMonth(int month, int year) noexcept {
    if (month < TISHRI || month > ELUL || getDaysInMonth(month, year) == 0) {
        return 0;
    }
    return !isLeapYear(year) && month > ADAR_I ? month - 1 : month;
}

int HebrewCalendar::getMonthFromOrdinal(int ordinal, int year) noexcept {
    const int months = isLeapYear(year) ? 13 : 12;
    if (ordinal < 1 || ordinal > months) {
        return 0;
    }
    return !isLeapYear(year) && ordinal >= ADAR_I ? ordinal + 1 : ordinal;
}

}  // namespace pellium
