#include "pellium/util/TimeZoneUtilities.h"

#include <cmath>
#include <limits>

#include "pellium/util/TimeUtilities.h"

namespace pellium {

namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// How far a clock runs ahead of UTC.
double offsetFromUniversal(DateType::type clock, double rawOffset, double saving) {
    switch (clock) {
        case DateType::Wall:
            return rawOffset + saving;
        case DateType::Universal:
            return 0.0;
        case DateType::Standard:
            return rawOffset;
    }
    return NOT_A_NUMBER;
}

void appendTwoDigits(std::string& text, long value) {
    text += static_cast<char>('0' + value / 10 % 10);
    text += static_cast<char>('0' + value % 10);
}

// "+05", "-0330", "+053045": hours always, minutes when they or the seconds are not zero,
// seconds when they are not zero.
std::string formatNumericOffset(double offset) {
    const long total = std::isfinite(offset) ? std::lround(std::fabs(offset)) % (100L * 3600L) : 0;
    std::string text(1, offset < 0 ? '-' : '+');
    appendTwoDigits(text, total / 3600);
    if (total % 3600 != 0) {
        appendTwoDigits(text, total / 60 % 60);
        if (total % 60 != 0) {
            appendTwoDigits(text, total % 60);
        }
    }
    return text;
}

}  // namespace

double TimeZoneUtilities::calcTime(DateMode::type mode, int year, int month, int day, int weekday,
                                   int seconds) noexcept {
    double dayNumber = 0.0;
    switch (mode) {
        case DateMode::DayOfMonth:
            dayNumber = TimeUtilities::mdy(month, day == std::numeric_limits<int>::min() ? 0 : std::abs(day), year);
            break;
        case DateMode::LastWeekday:
        case DateMode::WeekdayOnOrAfter:
            dayNumber = getFirstLastDay(month, day, weekday, year);
            break;
        default:
            return -1.0;
    }
    return seconds + dayNumber * TimeUtilities::SECONDS_PER_DAY;
}

double TimeZoneUtilities::getFirstLastDay(int month, int day, int weekday, int year) noexcept {
    if (weekday < 1 || weekday > 7) {
        return NOT_A_NUMBER;
    }
    // Counting days back from the end of the month, or forward from the day, to the weekday is
    // a difference of weekdays taken modulo 7.
    if (day < 1) {
        year = TimeUtilities::expandTwoDigitYear(year);
        const double lastDay = TimeUtilities::mdy(month, TimeUtilities::getDaysInMonth(month, year), year);
        if (std::isnan(lastDay)) {
            return NOT_A_NUMBER;
        }
        return lastDay - (TimeUtilities::dow(lastDay) - weekday + 7) % 7;
    }
    const double firstDay = TimeUtilities::mdy(month, day, year);
    if (std::isnan(firstDay)) {
        return NOT_A_NUMBER;
    }
    return firstDay + (weekday - TimeUtilities::dow(firstDay) + 7) % 7;
}

double TimeZoneUtilities::getConversionOffset(DateType::type from, DateType::type to, double rawOffset,
                                              double saving) noexcept {
    return offsetFromUniversal(to, rawOffset, saving) - offsetFromUniversal(from, rawOffset, saving);
}

std::string TimeZoneUtilities::formatAbbreviation(std::string_view format, std::string_view letter, bool inDaylightTime,
                                                  double totalOffset) {
    const std::size_t slash = format.find('/');
    if (slash != std::string_view::npos) {
        return std::string(inDaylightTime ? format.substr(slash + 1) : format.substr(0, slash));
    }
    const std::size_t percent = format.find('%');
    if (percent == std::string_view::npos || percent + 1 == format.size()) {
        return std::string(format);
    }
    std::string replacement;
    switch (format[percent + 1]) {
        case 's':
            replacement = letter == "-" ? std::string_view() : letter;
            break;
        case 'z':
            replacement = formatNumericOffset(totalOffset);
            break;
        default:
            return std::string(format);
    }
    std::string abbreviation(format.substr(0, percent));
    abbreviation += replacement;
    abbreviation += format.substr(percent + 2);
    return abbreviation;
}

}  // namespace pellium
