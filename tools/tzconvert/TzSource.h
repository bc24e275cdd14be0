#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The tz database as zic reads it: Rule, Zone (with its continuation lines) and Link lines, from
// the source files of a release or from the compact tzdata.zi, which abbreviates keywords, month
// and weekday names to unique prefixes. Times are kept in seconds, days in the three forms the
// library's rule files can state.
namespace pellium::tzconvert {

// The clock of a rule's or a period end's time, numbered as the library's DateType.
enum class Clock { Wall = 0, Universal = 1, Standard = 2 };

// A day as the library's DateMode states it: a day of the month (1), the last weekday of the
// month (2, day -1), or the first weekday on or after a day (3). Weekdays run 1 = Sunday to 7.
struct Day {
    int mode = 1;
    int day = 1;
    int weekday = -1;
};

struct TimeOfDay {
    int seconds = 0;
    Clock clock = Clock::Wall;
};

// Where a line came from, for messages.
struct Origin {
    std::string file;
    int line = 0;
};

struct RuleLine {
    std::string name;
    int fromYear = 0;
    int toYear = 0;
    int month = 1;
    Day day;
    TimeOfDay at;
    int saving = 0;
    std::string letter;
    Origin origin;
};

struct Until {
    int year = 0;
    int month = 1;
    Day day;
    TimeOfDay at;
};

struct ZoneLine {
    int standardOffset = 0;
    // Exactly one of: no daylight saving, a fixed saving in seconds, or a rule set's name.
    std::optional<int> fixedSaving;
    std::string ruleSetName;
    std::string format;
    std::optional<Until> until;
    Origin origin;
};

struct Zone {
    std::string name;
    std::vector<ZoneLine> lines;
};

struct Link {
    std::string target;
    std::string name;
    Origin origin;
};

// The year that stands for "no end" in the library's files; "max" reads as it.
constexpr int NO_END_YEAR = 3999;
// The first year of the library's calendar; "min" reads as it.
constexpr int FIRST_YEAR = 1582;

struct TzSource {
    std::vector<RuleLine> rules;
    std::vector<Zone> zones;
    std::vector<Link> links;
    // The release named by the input ("2018g"), or empty.
    std::string release;
};

// Reads tz source into a TzSource, collecting an error for each line it cannot read.
class TzSourceParser {
public:
    // The standard source files read from a folder, in this order.
    static const std::vector<std::string>& standardFileNames();

    // Reads a tzdata.zi or one source file, or from a folder its standard source files (or its
    // tzdata.zi when it has none of them). False when the input cannot be read at all.
    bool readPath(const std::filesystem::path& path);

    // Reads the lines of one file.
    void readText(std::string_view text, const std::string& fileName);

    const TzSource& getSource() const { return source_; }
    TzSource& getSource() { return source_; }
    const std::vector<std::string>& getErrors() const { return errors_; }

private:
    bool readFile(const std::filesystem::path& path);
    void readLine(const std::vector<std::string>& fields, const Origin& origin);
    void readRule(const std::vector<std::string>& fields, const Origin& origin);
    void readZoneLine(const std::vector<std::string>& fields, std::size_t first, const Origin& origin);
    void readLink(const std::vector<std::string>& fields, const Origin& origin);
    void fail(const Origin& origin, const std::string& message);

    TzSource source_;
    std::vector<std::string> errors_;
    // Set while the last Zone line had an end, so the next line continues that zone.
    bool expectContinuation_ = false;
};

}  // namespace pellium::tzconvert
