#include "TzSource.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <fstream>
#include <span>
#include <sstream>
#include <stdexcept>

namespace pellium::tzconvert {

namespace {

// A field that zic would refuse; caught per line and reported with the line's origin.
struct ParseError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

bool equalsIgnoreCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
           });
}

bool isPrefixIgnoringCase(std::string_view prefix, std::string_view word) {
    return prefix.size() <= word.size() && equalsIgnoreCase(prefix, word.substr(0, prefix.size()));
}

// zic's rule for keywords and names: an exact match (ignoring case) wins, otherwise the word must
// be a prefix of exactly one entry. Answers the entry's index.
std::optional<std::size_t> lookUpWord(std::string_view word, std::span<const std::string_view> table) {
    if (word.empty()) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < table.size(); ++index) {
        if (equalsIgnoreCase(word, table[index])) {
            return index;
        }
    }
    std::optional<std::size_t> found;
    for (std::size_t index = 0; index < table.size(); ++index) {
        if (isPrefixIgnoringCase(word, table[index])) {
            if (found) {
                return std::nullopt;
            }
            found = index;
        }
    }
    return found;
}

constexpr std::array<std::string_view, 3> lineKeywords = {"Rule", "Zone", "Link"};
constexpr std::array<std::string_view, 12> monthNames = {"January",   "February", "March",    "April",
                                                         "May",       "June",     "July",     "August",
                                                         "September", "October",  "November", "December"};
constexpr std::array<std::string_view, 7> weekdayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                          "Thursday", "Friday", "Saturday"};
constexpr std::array<int, 12> longestMonthLengths = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// Takes the decimal digits at the start of `text` off it.
std::string_view takeDigits(std::string_view& text) {
    std::size_t count = 0;
    while (count < text.size() && std::isdigit(static_cast<unsigned char>(text[count]))) {
        ++count;
    }
    const std::string_view digits = text.substr(0, count);
    text.remove_prefix(count);
    return digits;
}

int parseInteger(std::string_view text, const char* what) {
    int value = 0;
    const char* begin = text.data();
    const char* end = text.data() + text.size();
    if (!text.empty() && text.front() == '+') {
        ++begin;
    }
    const auto [position, error] = std::from_chars(begin, end, value);
    if (text.empty() || error != std::errc() || position != end) {
        throw ParseError(std::string("invalid ") + what + " \"" + std::string(text) + "\"");
    }
    return value;
}

int parseMonth(std::string_view text) {
    const std::optional<std::size_t> month = lookUpWord(text, monthNames);
    if (!month) {
        throw ParseError("invalid month name \"" + std::string(text) + "\"");
    }
    return static_cast<int>(*month) + 1;
}

int parseWeekday(std::string_view text) {
    const std::optional<std::size_t> weekday = lookUpWord(text, weekdayNames);
    if (!weekday) {
        throw ParseError("invalid weekday name \"" + std::string(text) + "\"");
    }
    return static_cast<int>(*weekday) + 1;
}

int parseYear(std::string_view text, bool isLastYear, int firstYear) {
    static constexpr std::array<std::string_view, 3> yearWords = {"minimum", "maximum", "only"};
    if (!text.empty() && std::isalpha(static_cast<unsigned char>(text.front()))) {
        const std::optional<std::size_t> word =
            lookUpWord(text, std::span<const std::string_view>(yearWords.data(), isLastYear ? 3 : 2));
        if (!word) {
            throw ParseError("invalid year \"" + std::string(text) + "\"");
        }
        return *word == 0 ? FIRST_YEAR : *word == 1 ? NO_END_YEAR : firstYear;
    }
    const int year = parseInteger(text, "year");
    if (year < FIRST_YEAR || year >= NO_END_YEAR) {
        throw ParseError("year " + std::string(text) + " is outside " + std::to_string(FIRST_YEAR) + " to " +
                         std::to_string(NO_END_YEAR - 1));
    }
    return year;
}

// [-]hh[:mm[:ss[.fraction]]] in seconds. A fraction rounds to the nearest second, an exact half to
// the even second, as zic does.
int parseDuration(std::string_view text, const char* what) {
    const ParseError invalid(std::string("invalid ") + what + " \"" + std::string(text) + "\"");
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) {
        text.remove_prefix(1);
    }
    // Hours, minutes and seconds, separated by ":"; the seconds may have a fraction.
    std::array<int, 3> fields = {0, 0, 0};
    std::string_view fraction;
    for (std::size_t index = 0; index < fields.size(); ++index) {
        const std::string_view digits = takeDigits(text);
        if (digits.empty() || digits.size() > 6) {
            throw invalid;
        }
        fields[index] = parseInteger(digits, what);
        if (text.empty()) {
            break;
        }
        if (index == 2 && text.front() == '.') {
            fraction = text.substr(1);
            text.remove_prefix(1);
            if (takeDigits(text).size() != fraction.size()) {
                throw invalid;
            }
            break;
        }
        if (text.front() != ':' || index == 2) {
            throw invalid;
        }
        text.remove_prefix(1);
    }
    auto [hours, minutes, seconds] = fields;
    if (hours > 167 || minutes >= 60 || seconds > 60) {
        throw invalid;
    }
    if (!fraction.empty()) {
        const int tenths = fraction[0] - '0';
        const bool beyondHalf = fraction.find_first_not_of('0', 1) != std::string_view::npos;
        if (tenths > 5 || (tenths == 5 && (beyondHalf || seconds % 2 == 1))) {
            ++seconds;
        }
    }
    const int total = hours * 3600 + minutes * 60 + seconds;
    return negative ? -total : total;
}

// A time of day with its clock suffix: w (wall, the default), s (standard), u, g or z (UTC).
TimeOfDay parseTimeOfDay(std::string_view text) {
    TimeOfDay time;
    if (!text.empty()) {
        switch (std::tolower(static_cast<unsigned char>(text.back()))) {
            case 'w':
                text.remove_suffix(1);
                break;
            case 's':
                time.clock = Clock::Standard;
                text.remove_suffix(1);
                break;
            case 'u':
            case 'g':
            case 'z':
                time.clock = Clock::Universal;
                text.remove_suffix(1);
                break;
            default:
                break;
        }
    }
    time.seconds = text.empty() ? 0 : parseDuration(text, "time of day");
    return time;
}

// "15", "lastSun", "Sun>=8" or "Sun<=25". The library's files have no "on or before" form, so
// "Sun<=25" becomes "Sun>=19", and a day near the start of the month moves to the month before
// when that month has the same length every year ("Fri<=1 Apr" is "Fri>=26 Mar"). `month` may
// change accordingly.
Day parseDay(std::string_view text, int& month) {
    Day day;
    if (isPrefixIgnoringCase("last", text) && text.size() > 4) {
        day.mode = 2;
        day.day = -1;
        day.weekday = parseWeekday(text.substr(4));
        return day;
    }
    const std::size_t relation = text.find_first_of("<>");
    if (relation == std::string_view::npos) {
        day.day = parseInteger(text, "day of month");
        if (day.day < 1 || day.day > longestMonthLengths[static_cast<std::size_t>(month) - 1]) {
            throw ParseError("invalid day of month \"" + std::string(text) + "\"");
        }
        return day;
    }
    if (relation + 1 >= text.size() || text[relation + 1] != '=') {
        throw ParseError("invalid day of month \"" + std::string(text) + "\"");
    }
    day.weekday = parseWeekday(text.substr(0, relation));
    const int bound = parseInteger(text.substr(relation + 2), "day of month");
    const int monthLength = longestMonthLengths[static_cast<std::size_t>(month) - 1];
    if (bound < 1 || bound > monthLength) {
        throw ParseError("invalid day of month \"" + std::string(text) + "\"");
    }
    day.mode = 3;
    day.day = bound;
    if (text[relation] == '>') {
        return day;
    }
    if (bound >= monthLength) {
        day.mode = 2;
        day.day = -1;
    } else if (bound >= 7) {
        day.day = bound - 6;
    } else if (month > 1 && month != 3) {
        month -= 1;
        day.day = bound - 6 + longestMonthLengths[static_cast<std::size_t>(month) - 1];
    } else {
        throw ParseError("\"" + std::string(text) +
                         "\" reaches into a month whose length varies or into the "
                         "year before, which the rule files cannot state");
    }
    return day;
}

// Splits a line into fields at white space; "#" starts a comment and double quotes group a field
// that holds white space.
std::vector<std::string> splitFields(std::string_view line) {
    std::vector<std::string> fields;
    std::size_t position = 0;
    while (position < line.size()) {
        while (position < line.size() && std::isspace(static_cast<unsigned char>(line[position]))) {
            ++position;
        }
        if (position >= line.size() || line[position] == '#') {
            break;
        }
        std::string field;
        while (position < line.size() && !std::isspace(static_cast<unsigned char>(line[position])) &&
               line[position] != '#') {
            if (line[position] == '"') {
                const std::size_t close = line.find('"', position + 1);
                if (close == std::string_view::npos) {
                    throw ParseError("unbalanced quote");
                }
                field.append(line.substr(position + 1, close - position - 1));
                position = close + 1;
            } else {
                field += line[position++];
            }
        }
        fields.push_back(std::move(field));
    }
    return fields;
}

// The library's files separate fields with ";" and cannot hold it in a text.
const std::string& checkText(const std::string& text, const char* what) {
    if (text.empty() || text.find(';') != std::string::npos) {
        throw ParseError(std::string(what) + " \"" + text + "\" is empty or holds \";\"");
    }
    return text;
}

std::string releaseOfFolder(const std::filesystem::path& folder) {
    std::ifstream versionFile(folder / "version");
    std::string release;
    if (versionFile && std::getline(versionFile, release) && !release.empty()) {
        return release;
    }
    // Folders are often named after the release: "tzdata2018g", "tz-2025b".
    const std::string name = folder.filename().string();
    for (std::size_t start = name.find("tz"); start != std::string::npos; start = name.find("tz", start + 1)) {
        std::string_view rest = std::string_view(name).substr(start + 2);
        if (rest.starts_with("data")) {
            rest.remove_prefix(4);
        }
        if (rest.starts_with("-")) {
            rest.remove_prefix(1);
        }
        const std::string_view year = takeDigits(rest);
        std::size_t letters = 0;
        while (letters < rest.size() && std::islower(static_cast<unsigned char>(rest[letters]))) {
            ++letters;
        }
        if (year.size() == 4 && letters > 0) {
            return std::string(year) + std::string(rest.substr(0, letters));
        }
    }
    return {};
}

}  // namespace

const std::vector<std::string>& TzSourceParser::standardFileNames() {
    static const std::vector<std::string> names = {"africa",       "antarctica",   "asia",     "australasia", "europe",
                                                   "northamerica", "southamerica", "etcetera", "backward"};
    return names;
}

bool TzSourceParser::readPath(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) {
        return readFile(path);
    }
    bool readAny = false;
    for (const std::string& name : standardFileNames()) {
        if (std::filesystem::exists(path / name, error)) {
            readAny = readFile(path / name) || readAny;
        }
    }
    if (!readAny) {
        return readFile(path / "tzdata.zi");
    }
    if (source_.release.empty()) {
        source_.release = releaseOfFolder(path);
    }
    return true;
}

bool TzSourceParser::readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        errors_.push_back(path.string() + ": cannot be read");
        return false;
    }
    std::ostringstream text;
    text << file.rdbuf();
    readText(text.str(), path.string());
    return true;
}

void TzSourceParser::readText(std::string_view text, const std::string& fileName) {
    // A tzdata.zi starts with "# version 2025b".
    constexpr std::string_view VERSION_COMMENT = "# version ";
    if (source_.release.empty() && text.starts_with(VERSION_COMMENT)) {
        const std::string_view version = text.substr(VERSION_COMMENT.size());
        source_.release = std::string(version.substr(0, version.find_first_of(" \t\r\n")));
    }
    Origin origin{fileName, 0};
    std::size_t position = 0;
    while (position < text.size()) {
        std::size_t end = text.find('\n', position);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        ++origin.line;
        try {
            readLine(splitFields(text.substr(position, end - position)), origin);
        } catch (const ParseError& error) {
            fail(origin, error.what());
        }
        position = end + 1;
    }
    if (expectContinuation_) {
        fail(origin, "the file ends where a zone continuation line is expected");
        expectContinuation_ = false;
    }
}

void TzSourceParser::readLine(const std::vector<std::string>& fields, const Origin& origin) {
    if (fields.empty()) {
        return;
    }
    if (expectContinuation_) {
        readZoneLine(fields, 0, origin);
        return;
    }
    const std::optional<std::size_t> keyword = lookUpWord(fields[0], lineKeywords);
    if (!keyword) {
        throw ParseError("unknown line type \"" + fields[0] + "\"");
    }
    switch (*keyword) {
        case 0:
            readRule(fields, origin);
            break;
        case 1:
            if (fields.size() < 2) {
                throw ParseError("a Zone line without a name");
            }
            source_.zones.push_back(Zone{checkText(fields[1], "zone name"), {}});
            readZoneLine(fields, 2, origin);
            break;
        default:
            readLink(fields, origin);
            break;
    }
}

// Rule NAME FROM TO - IN ON AT SAVE LETTER
void TzSourceParser::readRule(const std::vector<std::string>& fields, const Origin& origin) {
    if (fields.size() != 10) {
        throw ParseError("a Rule line needs 10 fields, not " + std::to_string(fields.size()));
    }
    RuleLine rule;
    rule.name = checkText(fields[1], "rule name");
    rule.fromYear = parseYear(fields[2], false, 0);
    rule.toYear = parseYear(fields[3], true, rule.fromYear);
    if (rule.toYear < rule.fromYear) {
        throw ParseError("the rule ends before it starts");
    }
    if (fields[4] != "-" && !fields[4].empty()) {
        throw ParseError("year types (\"" + fields[4] + "\") are not supported");
    }
    rule.month = parseMonth(fields[5]);
    rule.day = parseDay(fields[6], rule.month);
    rule.at = parseTimeOfDay(fields[7]);
    std::string_view saving = fields[8];
    std::optional<bool> statedDaylight;
    if (!saving.empty() && (saving.back() == 'd' || saving.back() == 's')) {
        statedDaylight = saving.back() == 'd';
        saving.remove_suffix(1);
    }
    rule.saving = parseDuration(saving, "saved time");
    if (statedDaylight && *statedDaylight != (rule.saving != 0)) {
        throw ParseError("a saving marked as daylight or standard against its amount cannot be stated");
    }
    rule.letter = fields[9];
    if (rule.letter.find(';') != std::string::npos) {
        throw ParseError("the letter holds \";\"");
    }
    rule.origin = origin;
    source_.rules.push_back(std::move(rule));
}

// [Zone NAME] STDOFF RULES FORMAT [UNTIL: YEAR [MONTH [DAY [TIME]]]]
void TzSourceParser::readZoneLine(const std::vector<std::string>& fields, std::size_t first, const Origin& origin) {
    expectContinuation_ = false;
    if (fields.size() < first + 3 || fields.size() > first + 7) {
        throw ParseError("a zone line needs a standard offset, rules, a format and at most four end fields");
    }
    ZoneLine line;
    line.origin = origin;
    line.standardOffset = parseDuration(fields[first], "standard offset");
    const std::string& rules = fields[first + 1];
    if (rules.empty() || rules == "-") {
        line.fixedSaving = 0;
    } else if (std::isdigit(static_cast<unsigned char>(rules.front())) ||
               (rules.front() == '-' && rules.size() > 1 && std::isdigit(static_cast<unsigned char>(rules[1])))) {
        line.fixedSaving = parseDuration(rules, "saved time");
    } else {
        line.ruleSetName = checkText(rules, "rule set name");
    }
    line.format = checkText(fields[first + 2], "format");
    const std::size_t percent = line.format.find('%');
    if (percent != std::string::npos &&
        (percent + 1 >= line.format.size() || (line.format[percent + 1] != 's' && line.format[percent + 1] != 'z') ||
         line.format.find('%', percent + 1) != std::string::npos)) {
        throw ParseError("the format \"" + line.format + "\" may hold one \"%s\" or \"%z\" only");
    }
    if (fields.size() > first + 3) {
        Until until;
        until.year = parseYear(fields[first + 3], false, 0);
        if (fields.size() > first + 4) {
            until.month = parseMonth(fields[first + 4]);
        }
        if (fields.size() > first + 5) {
            until.day = parseDay(fields[first + 5], until.month);
        }
        if (fields.size() > first + 6) {
            until.at = parseTimeOfDay(fields[first + 6]);
        }
        line.until = until;
        expectContinuation_ = true;
    }
    if (source_.zones.empty()) {
        throw ParseError("a continuation line outside a zone");
    }
    source_.zones.back().lines.push_back(std::move(line));
}

// Link TARGET NAME
void TzSourceParser::readLink(const std::vector<std::string>& fields, const Origin& origin) {
    if (fields.size() != 3) {
        throw ParseError("a Link line needs 3 fields, not " + std::to_string(fields.size()));
    }
    source_.links.push_back(Link{checkText(fields[1], "link target"), checkText(fields[2], "link name"), origin});
}

void TzSourceParser::fail(const Origin& origin, const std::string& message) {
    errors_.push_back(origin.file + ":" + std::to_string(origin.line) + ": " + message);
}

}  // namespace pellium::tzconvert
