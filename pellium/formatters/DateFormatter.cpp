#include "pellium/formatters/DateFormatter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "pellium/formatters/HebrewCalendar.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/util/MathUtilities.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"

namespace pellium {

namespace {

constexpr std::string_view formatterBundle = "vek_portable_formatters";
constexpr double AVERAGE_YEAR = 31556952.0;  // 365.2425 days
constexpr double AVERAGE_MONTH = AVERAGE_YEAR / 12.0;
constexpr double WEEK = 7.0 * TimeUtilities::SECONDS_PER_DAY;
// Values beyond this many seconds or days (about 31 million years of seconds) are not written;
// below it, whole seconds and days are exact 64-bit integers.
constexpr double MAXIMUM_MAGNITUDE = 1e15;
constexpr int FRACTION_DIGITS = 9;  // nanoseconds

constexpr bool isFieldLetter(char letter) {
    switch (letter) {
        case 'G':
        case 'y':
        case 'Q':
        case 'q':
        case 'M':
        case 'L':
        case 'w':
        case 'D':
        case 'd':
        case 'E':
        case 'c':
        case 'e':
        case 'a':
        case 'H':
        case 'h':
        case 'K':
        case 'k':
        case 'm':
        case 's':
        case 'S':
        case 'z':
            return true;
        default:
            return false;
    }
}

constexpr bool isHourLetter(char letter) {
    return letter == 'H' || letter == 'h' || letter == 'K' || letter == 'k';
}
constexpr bool isTimeLetter(char letter) {
    return isHourLetter(letter) || letter == 'a' || letter == 'm' || letter == 's' || letter == 'S';
}
// Writers into a buffer that the caller sized with the pattern's byte bound.
void writeText(char*& out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    out += text.size();
}

// The same for a text followed by `Padding` readable bytes, into a buffer with as much room past
// the bound: a short text is one fixed-size copy instead of a call.
template <std::size_t Padding>
void writePaddedText(char*& out, std::string_view text) {
    if (text.size() <= Padding) {
        std::memcpy(out, text.data(), Padding);
    } else {
        std::memcpy(out, text.data(), text.size());
    }
    out += text.size();
}

// "00" to "99", so that two digits are one copy.
constexpr std::array<char, 200> DIGIT_PAIRS = [] {
    std::array<char, 200> pairs{};
    for (int value = 0; value < 100; ++value) {
        pairs[static_cast<std::size_t>(2 * value)] = static_cast<char>('0' + value / 10);
        pairs[static_cast<std::size_t>(2 * value + 1)] = static_cast<char>('0' + value % 10);
    }
    return pairs;
}();

void writeDigitPair(char*& out, std::uint64_t value) {
    std::memcpy(out, &DIGIT_PAIRS[static_cast<std::size_t>(2 * value)], 2);
    out += 2;
}

void writeNumber(char*& out, std::int64_t value, int minimumDigits) {
    if (value >= 0 && value < 100 && minimumDigits <= 2) {
        // The common case of days, months, hours, minutes and seconds.
        if (value >= 10 || minimumDigits == 2) {
            writeDigitPair(out, static_cast<std::uint64_t>(value));
        } else {
            *out++ = static_cast<char>('0' + value);
        }
        return;
    }
    if (value >= 1000 && value < 10000 && minimumDigits <= 4) {
        // Years.
        writeDigitPair(out, static_cast<std::uint64_t>(value / 100));
        writeDigitPair(out, static_cast<std::uint64_t>(value % 100));
        return;
    }
    char digits[24];
    int length = 0;
    std::uint64_t magnitude =
        value < 0 ? static_cast<std::uint64_t>(-(value + 1)) + 1 : static_cast<std::uint64_t>(value);
    do {
        digits[length++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) {
        *out++ = '-';
    }
    for (int pad = length; pad < minimumDigits; ++pad) {
        *out++ = '0';
    }
    while (length > 0) {
        *out++ = digits[--length];
    }
}

int codePoints(std::string_view text) {
    return static_cast<int>(StringUtilities::countUtf8CodePoints(StringUtilities::removeBidiControls(text)));
}

constexpr auto SECONDS_PER_DAY = static_cast<std::int64_t>(TimeUtilities::SECONDS_PER_DAY);

std::int64_t floorDivide(std::int64_t dividend, std::int64_t divisor) {
    const std::int64_t quotient = dividend / divisor;
    return dividend % divisor < 0 ? quotient - 1 : quotient;
}

// The fraction of a second of `value`, rounded to the power of ten of nanoseconds that the
// double still resolves at that magnitude, so that the error of binary fractions does not show:
// a date-time of the year 2500 ending in .522 seconds is stored as ...521999 and must show 522
// milliseconds.
std::int64_t fractionInNanoseconds(double value, double fraction) {
    const double resolution = (std::nextafter(value, std::numeric_limits<double>::infinity()) - value) * 1e9;
    std::int64_t step = 1;
    while (static_cast<double>(step) < resolution && step < 1000000000) {
        step *= 10;
    }
    const std::int64_t rounded = std::llround(fraction * 1e9 / static_cast<double>(step)) * step;
    return std::min<std::int64_t>(rounded, 1000000000 - step);
}

}  // namespace

// --- Fields of one value ----------------------------------------------------------------------

struct DateFormatter::Fields {
    int era = 1;
    int year = 0;
    int month = 1;      // the month number as written ("M")
    int monthName = 1;  // the index of its name
    int quarter = 1;
    int weekOfYear = 1;
    int day = 1;
    int dayOfYear = 1;
    int weekday = 0;  // 0 Sunday
    std::int64_t hours = 0;
    std::int64_t minutes = 0;  // within the hour, or in all when an elapsed time shows no hour
    int second = 0;
    std::int64_t nanoseconds = 0;
    bool negative = false;
};

// --- Construction -----------------------------------------------------------------------------

DateFormatter::DateFormatter(std::string_view pattern, const LocalizationContext& context, Calendar calendar)
    : pattern_(pattern), calendar_(calendar), zoneId_(context.getTimeZoneId()) {
    compile(pattern);
    compileFixedLayout();
    // ISO week dates number their days by the weekday.
    needsWeekday_ = needsWeekday_ || calendar == Calendar::IsoWeek;
    loadNames(context);
    if (std::any_of(items_.begin(), items_.end(), [](const Item& item) { return item.letter == 'z'; })) {
        zone_ = TimeZone::create(zoneId_);
    }
    maxLength_ = computeMaxLength();
    maxBytes_ = computeMaxBytes();
}

DateFormatter::~DateFormatter() = default;

std::shared_ptr<const DateFormatter> DateFormatter::create(std::string_view pattern, const LocalizationContext& context,
                                                           Calendar calendar) {
    return std::shared_ptr<const DateFormatter>(new DateFormatter(pattern, context, calendar));
}

void DateFormatter::compile(std::string_view pattern) {
    auto appendLiteral = [this](std::string_view text) {
        if (text.empty()) {
            return;
        }
        if (items_.empty() || items_.back().letter != 0) {
            items_.push_back(Item{0, 0, static_cast<std::uint32_t>(texts_.size()), 0, -1});
        }
        texts_.append(text);
        items_.back().literalLength += static_cast<std::uint32_t>(text.size());
    };
    std::size_t position = 0;
    while (position < pattern.size()) {
        const char character = pattern[position];
        if (character == '\'') {
            if (position + 1 < pattern.size() && pattern[position + 1] == '\'') {
                appendLiteral("'");
                position += 2;
                continue;
            }
            // Quoted text up to the closing quote ("''" inside is one quote); an unclosed quote
            // runs to the end.
            ++position;
            while (position < pattern.size()) {
                if (pattern[position] == '\'') {
                    if (position + 1 < pattern.size() && pattern[position + 1] == '\'') {
                        appendLiteral("'");
                        position += 2;
                        continue;
                    }
                    ++position;
                    break;
                }
                appendLiteral(pattern.substr(position, 1));
                ++position;
            }
            continue;
        }
        if (!isFieldLetter(character)) {
            appendLiteral(pattern.substr(position, 1));
            ++position;
            continue;
        }
        std::size_t end = position;
        while (end < pattern.size() && pattern[end] == character) {
            ++end;
        }
        const int count = static_cast<int>(end - position);
        items_.push_back(Item{character, count, 0, 0, seriesOf(character, count), isNumericField(character, count)});
        hasTimeFields_ = hasTimeFields_ || isTimeLetter(character);
        showsHours_ = showsHours_ || isHourLetter(character);
        needsWeekOfYear_ = needsWeekOfYear_ || character == 'w';
        needsWeekday_ = needsWeekday_ || character == 'E' || character == 'e' || character == 'c' || character == 'w';
        showsFraction_ = showsFraction_ || character == 'S';
        needsDayOfYear_ = needsDayOfYear_ || character == 'w' || character == 'D';
        hasDateFields_ = hasDateFields_ || (!isTimeLetter(character) && character != 'z');
        position = end;
    }
    // Numeric fields written next to each other ("yyyyDDD") take exactly their digits.
    for (std::size_t index = 0; index < items_.size(); ++index) {
        items_[index].inNumericRun =
            items_[index].numeric &&
            ((index + 1 < items_.size() && items_[index + 1].numeric) || (index > 0 && items_[index - 1].numeric));
    }
}

void DateFormatter::loadNames(const LocalizationContext& context) {
    auto text = [&context](const std::string& key) -> std::string {
        const auto found = context.getFormatString(formatterBundle, key);
        return found ? *found : std::string();
    };
    std::array<std::vector<std::string>, NAME_SERIES_COUNT> loaded;
    auto load = [&](NameSeries series, std::string_view prefix, int first, int last) {
        auto& names = loaded[series];
        names.assign(static_cast<std::size_t>(last + 1), std::string());
        for (int index = first; index <= last; ++index) {
            names[static_cast<std::size_t>(index)] = text(std::string(prefix) + std::to_string(index));
        }
    };
    if (calendar_ == Calendar::Hebrew) {
        // Index 14 is the name of Adar (7) in a leap year, "Adar II"; the Hebrew months have no
        // stand-alone forms of their own.
        const NameSeries series[] = {MonthWide, MonthAbbreviated, MonthNarrow};
        const NameSeries standalone[] = {StandaloneMonthWide, StandaloneMonthAbbreviated, StandaloneMonthNarrow};
        const std::string_view prefixes[] = {"hebrewMonth.wide.", "hebrewMonth.abbreviated.", "hebrewMonth.narrow."};
        for (int width = 0; width < 3; ++width) {
            load(series[width], prefixes[width], 1, 14);
            loaded[standalone[width]] = loaded[series[width]];
        }
        load(EraWide, "hebrewEra.wide.", 0, 0);
        load(EraAbbreviated, "hebrewEra.abbreviated.", 0, 0);
        load(EraNarrow, "hebrewEra.narrow.", 0, 0);
    } else {
        load(MonthWide, "month.wide.", 1, 12);
        load(MonthAbbreviated, "month.abbreviated.", 1, 12);
        load(MonthNarrow, "month.narrow.", 1, 12);
        load(StandaloneMonthWide, "month.standalone.wide.", 1, 12);
        load(StandaloneMonthAbbreviated, "month.standalone.abbreviated.", 1, 12);
        load(StandaloneMonthNarrow, "month.standalone.narrow.", 1, 12);
        load(EraWide, "era.wide.", 0, 1);
        load(EraAbbreviated, "era.abbreviated.", 0, 1);
        load(EraNarrow, "era.narrow.", 0, 1);
    }
    load(DayWide, "day.wide.", 0, 6);
    load(DayAbbreviated, "day.abbreviated.", 0, 6);
    load(DayShort, "day.short.", 0, 6);
    load(DayNarrow, "day.narrow.", 0, 6);
    load(StandaloneDayWide, "day.standalone.wide.", 0, 6);
    load(StandaloneDayAbbreviated, "day.standalone.abbreviated.", 0, 6);
    load(StandaloneDayShort, "day.standalone.short.", 0, 6);
    load(StandaloneDayNarrow, "day.standalone.narrow.", 0, 6);
    load(QuarterWide, "quarter.wide.", 1, 4);
    load(QuarterAbbreviated, "quarter.abbreviated.", 1, 4);
    load(QuarterNarrow, "quarter.narrow.", 1, 4);
    load(StandaloneQuarterWide, "quarter.standalone.wide.", 1, 4);
    load(StandaloneQuarterAbbreviated, "quarter.standalone.abbreviated.", 1, 4);
    load(StandaloneQuarterNarrow, "quarter.standalone.narrow.", 1, 4);
    loaded[DayPeriod] = {text("am"), text("pm")};
    storeNames(loaded);

    int firstDay = 0;
    if (const auto first = context.getFormatString(formatterBundle, "firstDayOfWeek");
        first && StringUtilities::tryParseInt(*first, firstDay) && firstDay >= 0 && firstDay <= 6) {
        firstDayOfWeek_ = firstDay;
    }
    int minimalDays = 1;
    if (const auto minimal = context.getFormatString(formatterBundle, "minimalDaysInFirstWeek");
        minimal && StringUtilities::tryParseInt(*minimal, minimalDays) && minimalDays >= 1 && minimalDays <= 7) {
        minimalDaysInFirstWeek_ = minimalDays;
    }
}

// A field that is written as digits (and read as digits) at this length.
bool DateFormatter::isNumericField(char letter, int count) {
    switch (letter) {
        case 'M':
        case 'L':
        case 'Q':
        case 'q':
        case 'c':
        case 'e':
            return count <= 2;
        case 'G':
        case 'E':
        case 'a':
        case 'z':
        case 0:
            return false;
        default:
            return true;
    }
}

int DateFormatter::seriesOf(char letter, int count) {
    switch (letter) {
        case 'G':
            return count <= 3 ? EraAbbreviated : count == 4 ? EraWide : EraNarrow;
        case 'M':
            return count <= 2 ? -1 : count == 3 ? MonthAbbreviated : count == 4 ? MonthWide : MonthNarrow;
        case 'L':
            return count <= 2   ? -1
                   : count == 3 ? StandaloneMonthAbbreviated
                   : count == 4 ? StandaloneMonthWide
                                : StandaloneMonthNarrow;
        case 'Q':
            return count <= 2 ? -1 : count == 3 ? QuarterAbbreviated : count == 4 ? QuarterWide : QuarterNarrow;
        case 'q':
            return count <= 2   ? -1
                   : count == 3 ? StandaloneQuarterAbbreviated
                   : count == 4 ? StandaloneQuarterWide
                                : StandaloneQuarterNarrow;
        case 'E':
            return count <= 3 ? DayAbbreviated : count == 4 ? DayWide : count == 5 ? DayNarrow : DayShort;
        case 'e':
            return count <= 2   ? -1
                   : count == 3 ? DayAbbreviated
                   : count == 4 ? DayWide
                   : count == 5 ? DayNarrow
                                : DayShort;
        case 'c':
            return count <= 2   ? -1
                   : count == 3 ? StandaloneDayAbbreviated
                   : count == 4 ? StandaloneDayWide
                   : count == 5 ? StandaloneDayNarrow
                                : StandaloneDayShort;
        case 'a':
            return DayPeriod;
        default:
            return -1;
    }
}

void DateFormatter::storeNames(const std::array<std::vector<std::string>, NAME_SERIES_COUNT>& names) {
    std::array<std::vector<std::size_t>, NAME_SERIES_COUNT> starts;
    for (std::size_t series = 0; series < names.size(); ++series) {
        for (const auto& name : names[series]) {
            starts[series].push_back(texts_.size());
            texts_ += name;
        }
    }
    texts_.append(TEXT_PADDING, '\0');
    for (std::size_t series = 0; series < names.size(); ++series) {
        for (std::size_t index = 0; index < names[series].size(); ++index) {
            names_[series].push_back(
                std::string_view(texts_).substr(starts[series][index], names[series][index].size()));
        }
    }
}

int DateFormatter::computeMaxLength() const {
    int total = 0;
    for (const auto& item : items_) {
        if (item.letter == 0) {
            total += codePoints(std::string_view(texts_).substr(item.literalStart, item.literalLength));
            continue;
        }
        if (item.letter == 'z') {
            const int current = zone_ ? codePoints(*zone_->getName()) : codePoints(zoneId_);
            total += std::max(current, 6);
            continue;
        }
        const int series = item.series;
        if (series >= 0) {
            int longest = 0;
            for (const auto& name : names_[static_cast<std::size_t>(series)]) {
                longest = std::max(longest, codePoints(name));
            }
            total += longest;
            continue;
        }
        switch (item.letter) {
            case 'y':
                total += item.count == 2 ? 2 : std::max(item.count, 4);
                break;
            case 'D':
                total += std::max(item.count, 3);
                break;
            case 'S':
                total += item.count;
                break;
            default:
                total += std::max(item.count, 2);
                break;
        }
    }
    return total;
}

int DateFormatter::getMaxFormattedStringLength(std::string_view pattern, const LocalizationContext& context) {
    return DateFormatter(pattern, context, Calendar::Gregorian).getMaxFormattedStringLength();
}

double DateFormatter::getIncrementPeriod() const {
    double smallest = 0.0;
    for (const auto& item : items_) {
        double step = 0.0;
        switch (item.letter) {
            case 'S':
                step = std::pow(10.0, -item.count);
                break;
            case 's':
                step = 1.0;
                break;
            case 'm':
                step = 60.0;
                break;
            case 'H':
            case 'h':
            case 'K':
            case 'k':
                step = 3600.0;
                break;
            case 'a':
                step = TimeUtilities::SECONDS_PER_DAY / 2.0;
                break;
            case 'd':
            case 'D':
            case 'E':
            case 'c':
            case 'e':
                step = TimeUtilities::SECONDS_PER_DAY;
                break;
            case 'w':
                step = WEEK;
                break;
            case 'M':
            case 'L':
                step = AVERAGE_MONTH;
                break;
            case 'Q':
            case 'q':
                step = 3.0 * AVERAGE_MONTH;
                break;
            case 'y':
            case 'G':
                step = AVERAGE_YEAR;
                break;
            default:
                continue;
        }
        smallest = smallest == 0.0 ? step : std::min(smallest, step);
    }
    return smallest;
}

double DateFormatter::getCyclePeriod() const {
    bool month = false;
    bool dayOfMonth = false;
    bool weekday = false;
    for (const auto& item : items_) {
        switch (item.letter) {
            case 'y':
            case 'G':
                return 0.0;
            case 'M':
            case 'L':
            case 'Q':
            case 'q':
            case 'w':
            case 'D':
                month = true;
                break;
            case 'd':
                dayOfMonth = true;
                break;
            case 'E':
            case 'c':
            case 'e':
                weekday = true;
                break;
            default:
                break;
        }
    }
    if (month) {
        return AVERAGE_YEAR;
    }
    if (dayOfMonth) {
        return AVERAGE_MONTH;
    }
    if (weekday) {
        return WEEK;
    }
    return hasTimeFields_ ? TimeUtilities::SECONDS_PER_DAY : 0.0;
}

// --- Formatting -------------------------------------------------------------------------------

bool DateFormatter::computeFields(double value, ValueKind kind, Fields& fields) const {
    // Also false for NaN and the infinities.
    if (!(std::fabs(value) < MAXIMUM_MAGNITUDE)) {
        return false;
    }
    double dayNumber = 0.0;
    if (kind == ValueKind::ElapsedTime) {
        fields.negative = std::signbit(value);  // -0.0 is the "-0" that HOUR writes for -1800
        const double magnitude = std::fabs(value);
        const std::int64_t seconds = MathUtilities::floorToInteger(magnitude);
        fields.nanoseconds = fractionInNanoseconds(magnitude, magnitude - static_cast<double>(seconds));
        fields.second = static_cast<int>(seconds % 60);
        fields.hours = seconds / 3600;
        fields.minutes = showsHours_ ? (seconds / 60) % 60 : seconds / 60;
    } else if (kind == ValueKind::Date) {
        dayNumber = static_cast<double>(MathUtilities::floorToInteger(value));
    } else {
        const std::int64_t wholeSeconds = MathUtilities::floorToInteger(value);
        const std::int64_t day = floorDivide(wholeSeconds, SECONDS_PER_DAY);
        const std::int64_t seconds = wholeSeconds - day * SECONDS_PER_DAY;
        dayNumber = static_cast<double>(day);
        if (showsFraction_) {
            fields.nanoseconds = fractionInNanoseconds(value, value - static_cast<double>(wholeSeconds));
        }
        fields.hours = seconds / 3600;
        fields.minutes = (seconds / 60) % 60;
        fields.second = static_cast<int>(seconds % 60);
    }
    if (!hasDateFields_ && kind != ValueKind::Date) {
        return true;
    }
    if (dayNumber < TimeUtilities::FIRST_DAY_NUMBER || dayNumber > TimeUtilities::LAST_DAY_NUMBER) {
        return false;
    }
    if (needsWeekday_) {
        fields.weekday = TimeUtilities::dow(dayNumber) - 1;
    }
    if (calendar_ == Calendar::Hebrew) {
        int month = 0;
        if (!HebrewCalendar::getDate(dayNumber, fields.year, month, fields.day)) {
            return false;
        }
        const bool leap = HebrewCalendar::isLeapYear(fields.year);
        fields.month = HebrewCalendar::getOrdinalMonth(month, fields.year);
        fields.monthName = leap && month == HebrewCalendar::ADAR ? 14 : month;
        fields.dayOfYear = static_cast<int>(dayNumber - HebrewCalendar::getNewYear(fields.year)) + 1;
        fields.quarter = (fields.month - 1) / 3 + 1;
        fields.weekOfYear = (fields.dayOfYear - 1) / 7 + 1;
        return true;
    }
    if (calendar_ == Calendar::IsoWeek) {
        fields.year = TimeUtilities::isoWeekYear(dayNumber);
        fields.weekOfYear = TimeUtilities::isoWeek(dayNumber);
        fields.day = fields.weekday == 0 ? 7 : fields.weekday;
        return true;
    }
    if (!TimeUtilities::getDate(dayNumber, fields.year, fields.month, fields.day)) {
        return false;
    }
    fields.monthName = fields.month;
    fields.quarter = (fields.month - 1) / 3 + 1;
    if (needsDayOfYear_) {
        fields.dayOfYear = static_cast<int>(dayNumber - TimeUtilities::mdy(1, 1, fields.year)) + 1;
    }
    if (needsWeekOfYear_) {
        fields.weekOfYear = computeWeekOfYear(fields);
    }
    return true;
}

// The week of the year by the locale's rules: week 1 is the first week (starting on the locale's
// first weekday) that has at least minimalDaysInFirstWeek days of the year; days before it belong
// to the last week of the year before, and the days of a last week that qualifies as the next
// year's week 1 belong to that.
int DateFormatter::computeWeekOfYear(const Fields& fields) const {
    const int relativeWeekday = (fields.weekday - firstDayOfWeek_ + 7) % 7;
    auto weekOfDay = [this, relativeWeekday](int dayOfYear) {
        const int weekdayOfFirst = ((relativeWeekday - dayOfYear + 1) % 7 + 7) % 7;
        int week = (dayOfYear - 1 + weekdayOfFirst) / 7;
        if (7 - weekdayOfFirst >= minimalDaysInFirstWeek_) {
            ++week;
        }
        return week;
    };
    const int week = weekOfDay(fields.dayOfYear);
    if (week == 0) {
        return weekOfDay(fields.dayOfYear + TimeUtilities::getDaysInYear(fields.year - 1));
    }
    const int daysInYear = TimeUtilities::getDaysInYear(fields.year);
    const int lastRelativeWeekday = (relativeWeekday + daysInYear - fields.dayOfYear) % 7;
    if (fields.dayOfYear >= daysInYear - 5 && 6 - lastRelativeWeekday >= minimalDaysInFirstWeek_ &&
        fields.dayOfYear + 7 - relativeWeekday > daysInYear) {
        return 1;
    }
    return week;
}

std::string_view DateFormatter::zoneName(double value, ValueKind kind) const {
    if (!zone_) {
        return zoneId_;
    }
    if (kind == ValueKind::DateTime) {
        return *zone_->getName(value, DateType::Wall);
    }
    return *zone_->getName();
}

void DateFormatter::writeField(const Item& item, const Fields& fields, char*& out) const {
    const int series = item.series;
    if (series >= 0) {
        int index = 0;
        switch (item.letter) {
            case 'G':
                index = calendar_ == Calendar::Hebrew ? 0 : fields.era;
                break;
            case 'M':
            case 'L':
                index = fields.monthName;
                break;
            case 'Q':
            case 'q':
                index = fields.quarter;
                break;
            case 'a':
                index = fields.hours % 24 >= 12 ? 1 : 0;
                break;
            default:
                index = fields.weekday;
                break;
        }
        const auto& names = names_[static_cast<std::size_t>(series)];
        if (index >= 0 && static_cast<std::size_t>(index) < names.size()) {
            writePaddedText<TEXT_PADDING>(out, names[static_cast<std::size_t>(index)]);
        }
        return;
    }
    const int count = item.count;
    switch (item.letter) {
        case 'y':
            if (count == 2) {
                writeNumber(out, fields.year % 100, 2);
            } else {
                writeNumber(out, fields.year, count);
            }
            break;
        case 'M':
        case 'L':
            writeNumber(out, fields.month, count);
            break;
        case 'Q':
        case 'q':
            writeNumber(out, fields.quarter, count);
            break;
        case 'w':
            writeNumber(out, fields.weekOfYear, count);
            break;
        case 'D':
            writeNumber(out, fields.dayOfYear, count);
            break;
        case 'd':
            writeNumber(out, fields.day, count);
            break;
        case 'c':  // "cc" writes one digit, as "c" does
            writeNumber(out, (fields.weekday - firstDayOfWeek_ + 7) % 7 + 1, 1);
            break;
        case 'e':
            writeNumber(out, (fields.weekday - firstDayOfWeek_ + 7) % 7 + 1, count);
            break;
        case 'H':
            writeNumber(out, fields.hours, count);
            break;
        case 'h': {
            const auto hour = fields.hours % 12;
            writeNumber(out, hour == 0 ? 12 : hour, count);
            break;
        }
        case 'K':
            writeNumber(out, fields.hours % 12, count);
            break;
        case 'k':
            writeNumber(out, fields.hours == 0 ? 24 : fields.hours, count);
            break;
        case 'm':
            writeNumber(out, fields.minutes, count);
            break;
        case 's':
            writeNumber(out, fields.second, count);
            break;
        case 'S': {
            // Truncated, not rounded, so that 59.9996 seconds never shows as 60.
            const int shown = std::min(count, FRACTION_DIGITS);
            std::int64_t digits = fields.nanoseconds;
            for (int drop = shown; drop < FRACTION_DIGITS; ++drop) {
                digits /= 10;
            }
            writeNumber(out, digits, shown);
            for (int zero = shown; zero < count; ++zero) {
                *out++ = '0';
            }
            break;
        }
        default:
            break;
    }
}

bool DateFormatter::format(double value, ValueKind kind, std::string& out) const {
    Fields fields;
    if (!computeFields(value, kind, fields)) {
        return false;
    }
    // Most patterns fit a buffer on the stack, which spares the string a fill of the whole bound;
    // longer ones are written into the string itself, sized for the longest text and then cut.
    constexpr int STACK_BYTES = 128;
    if (maxBytes_ <= STACK_BYTES) {
        char buffer[STACK_BYTES];
        out.append(buffer, static_cast<std::size_t>(render(value, kind, fields, buffer) - buffer));
        return true;
    }
    const std::size_t start = out.size();
    out.resize(start + static_cast<std::size_t>(maxBytes_));
    char* const begin = out.data() + start;
    out.resize(start + static_cast<std::size_t>(render(value, kind, fields, begin) - begin));
    return true;
}

char* DateFormatter::render(double value, ValueKind kind, const Fields& fields, char* position) const {
    if (fields.negative) {
        *position++ = '-';
    }
    for (const auto& item : items_) {
        if (item.letter == 0) {
            writePaddedText<TEXT_PADDING>(position,
                                          std::string_view(texts_.data() + item.literalStart, item.literalLength));
        } else if (item.letter == 'z') {
            writeText(position, zoneName(value, kind));
        } else {
            writeField(item, fields, position);
        }
    }
    return position;
}

int DateFormatter::computeMaxBytes() const {
    int total = 1 + static_cast<int>(TEXT_PADDING);  // the sign of an elapsed time, the room of padded copies
    for (const auto& item : items_) {
        if (item.letter == 0) {
            total += static_cast<int>(item.literalLength);
        } else if (item.letter == 'z') {
            // An identifier has at most 64 bytes; abbreviations are shorter.
            total += 64;
        } else if (item.series >= 0) {
            std::size_t longest = 0;
            for (const auto& name : names_[static_cast<std::size_t>(item.series)]) {
                longest = std::max(longest, name.size());
            }
            total += static_cast<int>(longest);
        } else if (item.letter == 'y' || item.letter == 'm' || isHourLetter(item.letter)) {
            // Years, and the hours and minutes of elapsed times, can have many digits and a sign.
            total += std::max(item.count, 20) + 1;
        } else {
            // Days, months, quarters, weeks, weekdays and seconds have at most three digits, and a
            // fraction exactly its count.
            total += std::max(item.count, 3);
        }
    }
    return total;
}

}  // namespace pellium
