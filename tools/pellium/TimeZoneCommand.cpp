#include <chrono>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "pellium/util/DateType.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"
#include "tools/pellium/Command.h"

namespace pellium::cli {

namespace {

/// Seconds since 1960 of "YYYY-MM-DD[(T| )HH:MM[:SS]][Z]"; NaN for other text.
double readTime(const std::string& text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, used = 0;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &used) != 3) {
        return std::nan("");
    }
    std::string rest = text.substr(static_cast<std::size_t>(used));
    if (!rest.empty() && (rest[0] == 'T' || rest[0] == ' ')) {
        int consumed = 0;
        if (std::sscanf(rest.c_str() + 1, "%2d:%2d%n:%2d%n", &hour, &minute, &consumed, &second, &consumed) < 2) {
            return std::nan("");
        }
        rest = rest.substr(1 + static_cast<std::size_t>(consumed));
    }
    if (!(rest.empty() || rest == "Z") || hour > 23 || minute > 59 || second > 60) {
        return std::nan("");
    }
    double days = TimeUtilities::mdy(month, day, year);
    return TimeUtilities::dhms(days, hour, minute, second);
}

std::string writeTime(double seconds) {
    double days = TimeUtilities::datepart(seconds);
    int year = 0, month = 0, day = 0;
    TimeUtilities::getDate(days, year, month, day);
    double time = TimeUtilities::timepart(seconds);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", year, month, day, TimeUtilities::hour(time),
                  TimeUtilities::minute(time), static_cast<int>(TimeUtilities::second(time)));
    return text;
}

std::string writeOffset(double seconds) {
    long total = std::lround(std::abs(seconds));
    char text[48];
    std::snprintf(text, sizeof text, "%c%02ld:%02ld", seconds < 0 ? '-' : '+', total / 3600, total / 60 % 60);
    return text;
}

double now() {
    using namespace std::chrono;
    double unixSeconds = static_cast<double>(duration_cast<seconds>(system_clock::now().time_since_epoch()).count());
    return TimeUtilities::fromUnixTime(unixSeconds);
}

int run(const Arguments& arguments) {
    if (arguments.has("list")) {
        for (const std::string& id : TimeZone::getAvailableIDs()) {
            std::cout << id << '\n';
        }
        return 0;
    }
    const auto& words = arguments.positionals();
    if (words.empty() || words.size() > 2) {
        throw UsageError("expected a time zone and at most one time");
    }
    std::shared_ptr<TimeZone> zone = TimeZone::create(words[0]);
    if (!zone) {
        throw DataError("no time zone \"" + words[0] + "\" (see pellium tz --list)");
    }
    double given = words.size() == 2 ? readTime(words[1]) : now();
    if (std::isnan(given)) {
        throw UsageError("TIME must read YYYY-MM-DD[THH:MM[:SS]], not \"" + words[1] + "\"");
    }
    DateType::type type = arguments.has("local") ? DateType::Wall : DateType::Universal;
    double offset = zone->getOffset(given, type);
    if (std::isnan(offset)) {
        throw DataError("the time is outside the years the time zone rules cover");
    }
    double utc = type == DateType::Universal ? given : given - offset;
    double saving = zone->getDaylightSavings(given, type);
    const SharedString& abbreviation = zone->getName(given, type);
    std::vector<std::pair<std::string, std::string>> facts = {
        {"zone", *zone->getID()},
        {"utc", writeTime(utc)},
        {"local", writeTime(utc + offset)},
        {"abbreviation", abbreviation ? *abbreviation : std::string()},
        {"offset", writeOffset(offset)},
        {"daylightSaving", saving != 0 ? writeOffset(saving) : std::string("none")},
    };
    if (arguments.has("json")) {
        JsonOutput output;
        output.writer().StartObject();
        for (const auto& [key, value] : facts) {
            output.writer().Key(key.c_str());
            writeJsonString(output.writer(), value);
        }
        output.writer().EndObject();
        output.finish();
    } else {
        for (const auto& [key, value] : facts) {
            std::cout << key << std::string(16 - key.size(), ' ') << value << '\n';
        }
    }
    return 0;
}

}  // namespace

const Command& timeZoneCommand() {
    static const Command command{
        "tz",
        "the offset, abbreviation and local time of a time zone",
        "usage: pellium tz ZONE [TIME] [--local] [--json]\n"
        "       pellium tz --list\n\n"
        "Shows the local time, the offset from UTC, the abbreviation and the daylight saving in\n"
        "ZONE (for example Europe/Paris) at TIME, written YYYY-MM-DD[THH:MM[:SS]] in UTC; now\n"
        "when TIME is left out.\n\n"
        "  --local  TIME is the zone's wall clock time, not UTC\n"
        "  --list   list every time zone the library knows\n"
        "  --json   print the same as JSON\n",
        {JSON_OPTION, {"local", false}, {"list", false}},
        run,
    };
    return command;
}

}  // namespace pellium::cli
