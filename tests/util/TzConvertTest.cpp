// Runs the converter under tools/tzconvert on small tz sources and checks the rows it writes.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/support/TestSupport.h"

#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"
#include "pellium/util/ZoneDataReader.h"

namespace pellium {
namespace {

struct Conversion {
    int status = -1;
    std::vector<std::string> zoneRows;
    std::vector<std::string> savingRows;
    std::string zoneText;
    std::string savingText;
    std::string errors;
};

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> rowsOf(const std::string& text) {
    std::vector<std::string> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.front() != '#') {
            rows.push_back(line);
        }
    }
    return rows;
}

std::string inQuotes(const std::filesystem::path& path) {
    return '"' + path.string() + '"';
}

// Converts `source`, written to a file named `fileName` in a fresh folder.
Conversion convert(const std::string& source, const std::string& fileName = "tzdata.zi") {
    static int counter = 0;
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() /
        ("pellium-tzconvert-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(folder / "out");
    std::ofstream(folder / fileName, std::ios::binary) << source;
    const std::string command = inQuotes(std::string(PELLIUM_BINARY_DIR) + "/tools/tzconvert/pellium-tzconvert") +
                                " --output-dir " + inQuotes(folder / "out") + " " + inQuotes(folder / fileName) +
                                " > /dev/null 2> " + inQuotes(folder / "errors");
    Conversion result;
    const int status = std::system(command.c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.errors = readFile(folder / "errors");
    if (std::filesystem::exists(folder / "out" / "vek_historictimezone.txt")) {
        result.zoneText = readFile(folder / "out" / "vek_historictimezone.txt");
        result.savingText = readFile(folder / "out" / "vek_saving.txt");
        result.zoneRows = rowsOf(result.zoneText);
        result.savingRows = rowsOf(result.savingText);
    }
    std::filesystem::remove_all(folder);
    return result;
}

TEST(TzConvert, RulesBecomeRowsOverExactlyTheirYears) {
    const Conversion result = convert(
        "# version 2099z\n"
        "Rule\tAQ\t1971\tonly\t-\tOct\tlastSun\t2:00s\t1:00\tD\n"
        "Rule\tAQ\t1972\tonly\t-\tFeb\tlastSun\t2:00s\t0\tS\n"
        "Rule\tAQ\t1989\t1991\t-\tOct\tlastSun\t2:00s\t1:00\tD\n"
        "Rule\tAQ\t1990\t1992\t-\tMar\tSun>=1\t2:00s\t0\tS\n"
        "Zone\tTest/Zone\t10:12:08 -\tLMT\t1895\n"
        "\t\t\t10:00\tAQ\tAE%sT\n");
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.zoneText.substr(0, 50), "# Zone periods of the tz database, release 2099z, ");
    EXPECT_EQ(result.zoneRows, (std::vector<std::string>{"Test/Zone;AE%sT;36000;AQ;1;3999;1;1;-1;0;0",
                                                         "Test/Zone;LMT;36728;0;1;1895;1;1;-1;0;0"}));
    EXPECT_EQ(result.savingRows, (std::vector<std::string>{
                                     "AQ;1992;1992;0;0;0;0;0;0;0;$;3;3;1;1;7200;2;S",
                                     "AQ;1990;1991;2;10;-1;1;7200;2;3600;D;3;3;1;1;7200;2;S",
                                     "AQ;1989;1989;2;10;-1;1;7200;2;3600;D;0;0;0;0;0;0;$",
                                     "AQ;1972;1972;0;0;0;0;0;0;0;$;2;2;-1;1;7200;2;S",
                                     "AQ;1971;1971;2;10;-1;1;7200;2;3600;D;0;0;0;0;0;0;$",
                                 }));
}

TEST(TzConvert, CompactSourceWithDaysBeforeADateAndFractionalSeconds) {
    // The compact form abbreviates keywords, months, weekdays and years to unique prefixes.
    const Conversion result = convert(
        "R Z 2005 2012 - Ap F<=1 2 1 D\n"
        "R Z 2013 ma - O Sa<=30 2u 0 S\n"
        "R Z 2013 ma - Mar Su<=31 2s 1 D\n"
        "Z Test/Frac 0:19:32.5 - LMT 1835 Ja\n"
        "0:0:1.5 - X 1900 F 2\n"
        "0:0:0.51 - Y 1910 Ap Su>=8 3u\n"
        "2 Z I%sT\n"
        "L Test/Frac Test/Link\n"
        "L Test/Link Test/LinkToLink\n");
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.savingRows, (std::vector<std::string>{"Z;2013;3999;2;3;-1;1;7200;2;3600;D;3;10;24;7;7200;1;S",
                                                           "Z;2005;2012;3;3;26;6;7200;0;3600;D;0;0;0;0;0;0;$"}));
    const std::vector<std::string> periods = {"I%sT;7200;Z;1;3999;1;1;-1;0;0", "Y;1;0;3;1910;4;8;1;10800;1",
                                              "X;2;0;1;1900;2;2;-1;0;0", "LMT;1172;0;1;1835;1;1;-1;0;0"};
    std::vector<std::string> expected;
    for (const char* id : {"Test/Frac", "Test/Link", "Test/LinkToLink"}) {
        for (const std::string& period : periods) {
            expected.push_back(std::string(id) + ";" + period);
        }
    }
    EXPECT_EQ(result.zoneRows, expected);
}

TEST(TzConvert, SourcesTheRuleFilesCannotStateAreRefused) {
    const std::vector<std::string> refused = {
        "Zone Test/A 1:00 Missing CE%sT\n",                                          // no such rule set
        "Zone Test/A 1:00 - CET\nLink Test/Nowhere Test/B\n",                        // link to nothing
        "Zone Test/A 1:00 - CET\nLink Test/B Test/C\nLink Test/C Test/B\n",          // loop of links
        "Zone Test/A 1:00 - CET\nZone Test/A 2:00 - EET\n",                          // defined twice
        "Zone Test/A 1:00 - CET\nLink Test/A Test/A\n",                              // a link named as a zone
        "Rule R 2000 max - Mar Sun<=5 2:00 1:00 S\nZone Test/A 1:00 R CE%sT\n",      // reaches into February
        "Rule R 2000 max - Jan Sun<=5 2:00 1:00 S\nZone Test/A 1:00 R CE%sT\n",      // reaches into the year before
        "Rule R 2000 max - Mar lastSun 2:00 1:00s S\nZone Test/A 1:00 R CE%sT\n",    // saving marked standard
        "Rule R 2000 max even Mar lastSun 2:00 1:00 S\nZone Test/A 1:00 R CE%sT\n",  // year type
        "Rule R 1500 max - Mar lastSun 2:00 1:00 S\nZone Test/A 1:00 R CE%sT\n",     // year before 1582
        "Zone Test/A 1:00 - C;ET\n",                                                 // ";" in a field
        "Zone Test/A 1:00 - CE%dT\n",                                                // unknown format
        "Zone Test/A 1:00 - CET 1990 Jux\n",                                         // no such month
        "Zone Test/A 1:00 - CET 1990\n",                                             // the continuation is missing
        "Zone Test/A 1:60 - CET\n",                                                  // minutes beyond 59
        "Zone Test/A 1:00 - CET\nLeap 2016 Dec 31 23:59:60 + S\n",                   // unknown line type
        "Rule R 2000 max - M lastSun 2:00 1:00 S\nZone Test/A 1:00 R CE%sT\n",       // "M" is March or May
        "",                                                                          // no zone at all
    };
    for (const std::string& source : refused) {
        const Conversion result = convert(source);
        EXPECT_EQ(result.status, 1) << source;
        EXPECT_FALSE(result.errors.empty()) << source;
        EXPECT_TRUE(result.zoneRows.empty()) << "nothing is written for " << source;
    }
}

TEST(TzConvert, ConvertedFilesReadBackIntoZones) {
    const Conversion result = convert(
        "Rule\tEU\t1981\tmax\t-\tMar\tlastSun\t 1:00u\t1:00\tS\n"
        "Rule\tEU\t1996\tmax\t-\tOct\tlastSun\t 1:00u\t0\t-\n"
        "Zone\tTest/Paris\t0:09:21 -\tLMT\t1891 Mar 16\n"
        "\t\t\t1:00\tEU\tCE%sT\n",
        "europe");
    ASSERT_EQ(result.status, 0) << result.errors;
    const auto reader = ZoneDataReader::create(result.zoneText, result.savingText);
    EXPECT_EQ(reader->getSkippedRowCount(), 0U);
    const auto zone = TimeZone::create("Test/Paris", reader);
    ASSERT_NE(zone, nullptr);
    const double midsummer = TimeUtilities::mdy(6, 21, 2024) * TimeUtilities::SECONDS_PER_DAY;
    EXPECT_EQ(*zone->getName(midsummer, DateType::Universal), "CEST");
    EXPECT_EQ(zone->getOffset(midsummer, DateType::Universal), 7200.0);
}

}  // namespace
}  // namespace pellium
