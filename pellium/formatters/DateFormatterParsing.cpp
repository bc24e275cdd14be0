#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "pellium/formatters/DateFormatter.h"
#include "pellium/formatters/HebrewCalendar.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TimeUtilities.h"

// Reading text back through a pattern: the fields are collected first, then resolved into a value.
namespace pellium {

namespace {

constexpr int UNSET = std::numeric_limits<int>::min();
// A typed number takes at most this many digits, which keeps every sum of fields exact.
constexpr int MAXIMUM_DIGITS = 9;
// Larger than any field resolves to, and ten times it still fits 64 bits.
constexpr std::int64_t SATURATED_NUMBER = 100'000'000'000'000'000;

constexpr bool isDigit(char character) {
    return character >= '0' && character <= '9';
}
// The characters of zone abbreviations ("CEST", "+0530") and identifiers ("America/New_York").
constexpr bool isZoneCharacter(char character) {
    return isDigit(character) || (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           character == '+' || character == '-' || character == '/' || character == '_';
}

// Blanks and the punctuation users type between fields.
constexpr bool isAsciiSeparator(char character) {
    switch (character) {
        case ' ':
        case '\t':
        case '/':
        case '-':
        case '.':
        case ',':
        case ':':
        case '\'':
            return true;
        default:
            return false;
    }
}

// The byte length of a separator at `position` (an ASCII one, no-break and thin spaces,
// bidirectional marks), or 0.
std::size_t separatorLength(std::string_view text, std::size_t position) {
    if (isAsciiSeparator(text[position])) {
        return 1;
    }
    const std::string_view rest = text.substr(position);
    if (rest.starts_with("\xC2\xA0") || rest.starts_with("\xD8\x9C")) {  // no-break space, Arabic letter mark
        return 2;
    }
    if (rest.size() >= 3 && rest[0] == '\xE2') {
        const auto second = static_cast<unsigned char>(rest[1]);
        const auto third = static_cast<unsigned char>(rest[2]);
        // U+2000-U+200F spaces and marks, U+202A-U+202F embeddings and narrow no-break space,
        // U+2066-U+2069 isolates.
        if ((second == 0x80 && (third <= 0x8F || (third >= 0xAA && third <= 0xAF))) ||
            (second == 0x81 && third >= 0xA6 && third <= 0xA9)) {
            return 3;
        }
    }
    return 0;
}

void skipSeparators(std::string_view text, std::size_t& position) {
    while (position < text.size()) {
        const auto length = separatorLength(text, position);
        if (length == 0) {
            return;
        }
        position += length;
    }
}

bool startsWithIgnoringCase(std::string_view text, std::size_t position, std::string_view prefix) {
    if (prefix.empty() || text.size() - position < prefix.size()) {
        return false;
    }
    return StringUtilities::equalsIgnoreCase(text.substr(position, prefix.size()), prefix);
}

double today() {
    return TimeUtilities::datepart(TimeUtilities::now());
}

}  // namespace

struct DateFormatter::ParsedFields {
    int era = UNSET;
    int year = UNSET;
    int month = UNSET;      // a number as written
    int monthName = UNSET;  // the index of a name
    int quarter = UNSET;
    int week = UNSET;
    int day = UNSET;
    int dayOfYear = UNSET;
    int weekday = UNSET;  // 0 Sunday; in IsoWeek the ISO number 1 Monday to 7 Sunday
    std::int64_t hours = UNSET;
    char hourLetter = 0;
    int dayPeriod = UNSET;  // 0 am, 1 pm
    std::int64_t minutes = UNSET;
    int second = UNSET;
    double fraction = 0.0;
    bool negative = false;
};

// --- Parsing ----------------------------------------------------------------------------------

bool DateFormatter::matchName(char letter, std::string_view text, std::size_t& position, int& index) const {
    // Every form of the field's names may be typed; the longest that matches wins ("June"
    // before "Jun"), and a name may be typed without its abbreviating period ("Sept" for "Sept.").
    NameSeries first = DayPeriod;
    NameSeries last = DayPeriod;
    switch (letter) {
        case 'G':
            first = EraWide, last = EraNarrow;
            break;
        case 'M':
        case 'L':
            first = MonthWide, last = StandaloneMonthNarrow;
            break;
        case 'Q':
        case 'q':
            first = QuarterWide, last = StandaloneQuarterNarrow;
            break;
        case 'E':
        case 'c':
        case 'e':
            first = DayWide, last = StandaloneDayNarrow;
            break;
        default:
            break;
    }
    std::size_t bestLength = 0;
    int bestIndex = UNSET;
    bool ambiguous = false;
    for (int series = first; series <= last; ++series) {
        const auto& names = names_[static_cast<std::size_t>(series)];
        for (std::size_t candidate = 0; candidate < names.size(); ++candidate) {
            std::string_view name = names[candidate];
            for (int variant = 0; variant < 2 && !name.empty(); ++variant) {
                if (startsWithIgnoringCase(text, position, name)) {
                    const int found = static_cast<int>(candidate);
                    if (name.size() > bestLength) {
                        bestLength = name.size();
                        bestIndex = found;
                        ambiguous = false;
                    } else if (name.size() == bestLength && found != bestIndex) {
                        ambiguous = true;  // a narrow "J" is January, June or July
                    }
                }
                if (!name.ends_with('.')) {
                    break;
                }
                name.remove_suffix(1);
            }
        }
    }
    if (letter == 'a') {
        constexpr std::string_view latin[] = {"am", "pm", "a.m.", "p.m."};
        for (std::size_t candidate = 0; candidate < std::size(latin); ++candidate) {
            if (latin[candidate].size() > bestLength && startsWithIgnoringCase(text, position, latin[candidate])) {
                bestLength = latin[candidate].size();
                bestIndex = static_cast<int>(candidate % 2);
                ambiguous = false;
            }
        }
    }
    if (bestIndex == UNSET || ambiguous) {
        return false;
    }
    if (calendar_ == Calendar::Hebrew && (letter == 'M' || letter == 'L') && bestIndex == 14) {
        bestIndex = HebrewCalendar::ADAR;
    }
    position += bestLength;
    index = bestIndex;
    return true;
}

bool DateFormatter::parseField(const Item& item, std::string_view text, std::size_t& position,
                               ParsedFields& parsed) const {
    skipSeparators(text, position);
    const char letter = item.letter;
    if (letter == 'z') {
        // The zone is written for the reader; the value is wall-clock time whatever it says.
        while (position < text.size() && isZoneCharacter(text[position])) {
            ++position;
        }
        return true;
    }
    if (!item.numeric) {
        int index = 0;
        const std::size_t start = position;
        if (matchName(letter, text, position, index)) {
            switch (letter) {
                case 'G':
                    parsed.era = calendar_ == Calendar::Hebrew ? 1 : index;
                    break;
                case 'M':
                case 'L':
                    parsed.monthName = index;
                    break;
                case 'Q':
                case 'q':
                    parsed.quarter = index;
                    break;
                case 'a':
                    parsed.dayPeriod = index;
                    break;
                default:
                    parsed.weekday = index;
                    break;
            }
            return true;
        }
        position = start;
        if (letter == 'a') {
            return true;  // "13:30" read by "hh:mm a"
        }
        if (letter != 'M' && letter != 'L' && letter != 'Q' && letter != 'q') {
            return false;
        }
        // A month or quarter typed as a number reads like its numeric form.
    }
    const int fixedDigits = std::max(item.count, letter == 'y' ? 2 : 1);
    const int maximumDigits = item.inNumericRun ? fixedDigits : MAXIMUM_DIGITS;
    std::int64_t number = 0;
    int digits = 0;
    while (position < text.size() && isDigit(text[position]) && digits < maximumDigits) {
        // Saturated, so that a wide field (a pattern of twenty "m") cannot overflow.
        number = std::min<std::int64_t>(number * 10 + (text[position] - '0'), SATURATED_NUMBER);
        ++position;
        ++digits;
    }
    if (digits == 0 || (item.inNumericRun && digits != fixedDigits)) {
        return false;
    }
    return storeNumber(letter, number, digits, parsed);
}

bool DateFormatter::storeNumber(char letter, std::int64_t number, int digits, ParsedFields& parsed) const {
    const int small = static_cast<int>(std::min<std::int64_t>(number, std::numeric_limits<int>::max()));
    switch (letter) {
        case 'y':
            if (digits <= 2) {
                parsed.year = calendar_ == Calendar::Hebrew ? 5700 + small : TimeUtilities::expandTwoDigitYear(small);
            } else {
                parsed.year = small;
            }
            break;
        case 'M':
        case 'L':
            parsed.month = small;
            break;
        case 'Q':
        case 'q':
            parsed.quarter = small;
            break;
        case 'w':
            parsed.week = small;
            break;
        case 'D':
            parsed.dayOfYear = small;
            break;
        case 'd':
            if (calendar_ == Calendar::IsoWeek) {
                parsed.weekday = small;
            } else {
                parsed.day = small;
            }
            break;
        case 'c':
        case 'e':
            parsed.weekday = (small - 1 + firstDayOfWeek_) % 7;
            break;
        case 'H':
        case 'h':
        case 'K':
        case 'k':
            parsed.hours = number;
            parsed.hourLetter = letter;
            break;
        case 'm':
            parsed.minutes = number;
            break;
        case 's':
            parsed.second = small;
            break;
        case 'S':
            parsed.fraction = static_cast<double>(number) / std::pow(10.0, digits);
            break;
        default:
            return false;
    }
    return true;
}

void DateFormatter::compileFixedLayout() {
    std::string layout;
    std::vector<FixedField> fields;
    for (const Item& item : items_) {
        const std::string_view literal = std::string_view(texts_).substr(item.literalStart, item.literalLength);
        if (item.letter == 0 && std::ranges::all_of(literal, isAsciiSeparator)) {
            layout.append(literal.size(), 's');
            continue;
        }
        // Wider fields would read differently outside a run of numeric fields (see parseField).
        const int width = std::max(item.count, item.letter == 'y' ? 2 : 1);
        if (item.letter == 0 || !item.numeric || width > MAXIMUM_DIGITS) {
            return;
        }
        fields.push_back(FixedField{item.letter, static_cast<std::uint8_t>(layout.size()), static_cast<std::uint8_t>(width)});
        layout.append(static_cast<std::size_t>(width), 'd');
    }
    if (!fields.empty() && layout.size() <= UINT8_MAX) {
        fixedLayout_ = std::move(layout);
        fixedFields_ = std::move(fields);
    }
}

bool DateFormatter::fitsFixedLayout(std::string_view text) const {
    if (text.size() != fixedLayout_.size() || fixedLayout_.empty()) {
        return false;
    }
    for (std::size_t position = 0; position < text.size(); ++position) {
        const char character = text[position];
        if (fixedLayout_[position] == 'd' ? !isDigit(character) : !isAsciiSeparator(character)) {
            return false;
        }
    }
    return true;
}

bool DateFormatter::readFixedLayout(std::string_view text, ParsedFields& parsed) const {
    for (const FixedField& field : fixedFields_) {
        std::int64_t number = 0;
        for (const char digit : text.substr(field.offset, field.width)) {
            number = number * 10 + (digit - '0');
        }
        if (!storeNumber(field.letter, number, field.width, parsed)) {
            return false;
        }
    }
    return true;
}

bool DateFormatter::parseItems(std::string_view text, ParsedFields& parsed) const {
    std::size_t position = 0;
    for (const Item& item : items_) {
        if (item.letter != 0) {
            if (!parseField(item, text, position, parsed)) {
                return false;
            }
            continue;
        }
        // Literal text: its separators stand for any separators, or none; everything else must be
        // typed as it stands, letters in any case.
        const std::string_view literal = std::string_view(texts_).substr(item.literalStart, item.literalLength);
        std::size_t at = 0;
        while (at < literal.size()) {
            if (const auto length = separatorLength(literal, at); length > 0) {
                at += length;
                continue;
            }
            skipSeparators(text, position);
            if (position >= text.size() ||
                StringUtilities::toLowerAscii(text[position]) != StringUtilities::toLowerAscii(literal[at])) {
                return false;
            }
            ++position;
            ++at;
        }
    }
    skipSeparators(text, position);
    return position == text.size();
}

bool DateFormatter::resolveDay(const ParsedFields& parsed, double& dayNumber) const {
    if (parsed.era == 0) {
        return false;  // the calendar has no dates before the common era
    }
    // Fields left out default to today's; the clock is read only then.
    if (calendar_ == Calendar::Hebrew) {
        int year = parsed.year;
        if (year == UNSET) {
            int currentMonth = 0;
            int currentDay = 0;
            HebrewCalendar::getDate(today(), year, currentMonth, currentDay);
        }
        int month = HebrewCalendar::TISHRI;
        if (parsed.monthName != UNSET) {
            month = parsed.monthName;
        } else if (parsed.month != UNSET) {
            month = HebrewCalendar::getMonthFromOrdinal(parsed.month, year);
        }
        dayNumber = HebrewCalendar::toDayNumber(year, month, parsed.day != UNSET ? parsed.day : 1);
        return !std::isnan(dayNumber);
    }
    if (calendar_ == Calendar::IsoWeek) {
        const int year = parsed.year != UNSET ? parsed.year : TimeUtilities::isoWeekYear(today());
        const int week = parsed.week != UNSET ? parsed.week : 1;
        const int weekday = parsed.weekday != UNSET ? parsed.weekday : 1;
        const double fourthOfJanuary = TimeUtilities::mdy(1, 4, year);
        if (std::isnan(fourthOfJanuary) || week < 1 || week > 53 || weekday < 1 || weekday > 7) {
            return false;
        }
        // Week 1 is the week (from Monday) that holds 4 January.
        const double monday = fourthOfJanuary - (TimeUtilities::dow(fourthOfJanuary) + 5) % 7;
        const double day = monday + (week - 1) * 7 + (weekday - 1);
        if (TimeUtilities::isoWeekYear(day) != year) {
            return false;
        }
        dayNumber = day;
        return true;
    }
    const bool hasYearPart = parsed.year != UNSET || parsed.month != UNSET || parsed.monthName != UNSET ||
                             parsed.quarter != UNSET || parsed.day != UNSET || parsed.dayOfYear != UNSET ||
                             parsed.week != UNSET;
    if (!hasYearPart && parsed.weekday != UNSET) {
        // A weekday alone names that day of the current week.
        const double now = today();
        dayNumber = now - (TimeUtilities::dow(now) - 1) + parsed.weekday;
        return true;
    }
    const int year = parsed.year != UNSET ? parsed.year : TimeUtilities::year(today());
    const double firstOfYear = TimeUtilities::mdy(1, 1, year);
    if (std::isnan(firstOfYear)) {
        return false;
    }
    const bool hasMonth = parsed.month != UNSET || parsed.monthName != UNSET;
    if (parsed.dayOfYear != UNSET && !hasMonth) {
        if (parsed.dayOfYear < 1 || parsed.dayOfYear > TimeUtilities::getDaysInYear(year)) {
            return false;
        }
        dayNumber = firstOfYear + parsed.dayOfYear - 1;
        return true;
    }
    if (parsed.week != UNSET && !hasMonth && parsed.day == UNSET) {
        // The first day of week 1 by the locale's rules, then whole weeks and the weekday.
        const int weekdayOfFirst = (TimeUtilities::dow(firstOfYear) - 1 - firstDayOfWeek_ + 7) % 7;
        double weekOne = firstOfYear - weekdayOfFirst;
        if (7 - weekdayOfFirst < minimalDaysInFirstWeek_) {
            weekOne += 7;
        }
        const int offset = parsed.weekday != UNSET ? (parsed.weekday - firstDayOfWeek_ + 7) % 7 : 0;
        if (parsed.week < 1 || parsed.week > 53) {
            return false;
        }
        dayNumber = weekOne + (parsed.week - 1) * 7 + offset;
        return true;
    }
    int month = 1;
    if (parsed.monthName != UNSET) {
        month = parsed.monthName;
    } else if (parsed.month != UNSET) {
        month = parsed.month;
    } else if (parsed.quarter != UNSET) {
        if (parsed.quarter < 1 || parsed.quarter > 4) {
            return false;
        }
        month = parsed.quarter * 3 - 2;
    }
    const int day = parsed.day != UNSET ? parsed.day : 1;
    dayNumber = TimeUtilities::mdy(month, day, year);
    // 29 February typed without a year means the last one there was.
    for (int earlier = year - 1; std::isnan(dayNumber) && parsed.year == UNSET && earlier >= year - 8; --earlier) {
        dayNumber = TimeUtilities::mdy(month, day, earlier);
    }
    return !std::isnan(dayNumber);
}

bool DateFormatter::resolveSeconds(const ParsedFields& parsed, ValueKind kind, double& seconds) const {
    const bool elapsed = kind == ValueKind::ElapsedTime;
    std::int64_t hours = parsed.hours != UNSET ? parsed.hours : 0;
    if (parsed.hours != UNSET && !elapsed) {
        const bool twelveHour = parsed.hourLetter == 'h' || parsed.hourLetter == 'K';
        if (parsed.hourLetter == 'k' && hours == 24) {
            hours = 0;
        }
        if (parsed.dayPeriod != UNSET && twelveHour) {
            if (hours > 12 || (parsed.hourLetter == 'h' && hours == 0)) {
                return false;
            }
            hours = hours % 12 + (parsed.dayPeriod == 1 ? 12 : 0);
        }
        if (hours > 23) {
            return false;
        }
    }
    const bool minutesLead = elapsed && parsed.hours == UNSET;
    const std::int64_t minutes = parsed.minutes != UNSET ? parsed.minutes : 0;
    const int second = parsed.second != UNSET ? parsed.second : 0;
    if ((!minutesLead && minutes > 59) || second > 59 || hours > 1000000000LL || minutes > 60000000000LL) {
        return false;
    }
    const double magnitude =
        static_cast<double>(hours) * 3600.0 + static_cast<double>(minutes) * 60.0 + second + parsed.fraction;
    seconds = parsed.negative ? -magnitude : magnitude;
    return true;
}

bool DateFormatter::resolve(const ParsedFields& parsed, ValueKind kind, double& value) const {
    double seconds = 0.0;
    if (kind != ValueKind::Date && !resolveSeconds(parsed, kind, seconds)) {
        return false;
    }
    if (kind == ValueKind::ElapsedTime || (!hasDateFields_ && kind != ValueKind::Date)) {
        value = seconds;
        return true;
    }
    double dayNumber = 0.0;
    if (!resolveDay(parsed, dayNumber)) {
        return false;
    }
    value = kind == ValueKind::Date ? dayNumber : dayNumber * TimeUtilities::SECONDS_PER_DAY + seconds;
    return true;
}

bool DateFormatter::parse(std::string_view text, ValueKind kind, double& value) const {
    ParsedFields parsed;
    if (kind == ValueKind::ElapsedTime) {
        text = StringUtilities::trimLeft(text);
        if (text.starts_with('-')) {
            text.remove_prefix(1);
            parsed.negative = true;
        }
    }
    const bool read = fitsFixedLayout(text) ? readFixedLayout(text, parsed) : parseItems(text, parsed);
    if (items_.empty() || !read) {
        return false;
    }
    return resolve(parsed, kind, value);
}

}  // namespace pellium
