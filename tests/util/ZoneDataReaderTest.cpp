#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/util/SavingRule.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/ZoneDataReader.h"
#include "pellium/util/ZoneOffsetRule.h"

namespace pellium {
namespace {

// Collects the warnings logged while it lives.
class WarningCollector {
public:
    WarningCollector() {
        Logger::setSink([this](LogLevel::type level, std::string_view message, std::string_view) {
            if (level == LogLevel::WARNING) {
                messages.emplace_back(message);
            }
        });
    }
    ~WarningCollector() { Logger::restoreDefaults(); }
    WarningCollector(const WarningCollector&) = delete;
    WarningCollector& operator=(const WarningCollector&) = delete;

    std::vector<std::string> messages;
};

// Whether the library holds the committed zone files (a build may compile in another release).
bool isCommittedRelease() {
    const std::optional<std::string_view> zones = CompiledAssets::find(ZoneDataReader::ZONE_ASSET);
    return zones && zones->substr(0, 200).find("release 2018g,") != std::string_view::npos;
}

const char* const VALID_ZONE_ROW = "Test/Zone;CE%sT;3600;EU;1;3999;1;1;-1;0;0";
const char* const VALID_SAVING_ROW = "EU;1981;3999;2;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1;-";

std::string asText(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST(ZoneDataReader, CompiledInFilesReadWithoutAFault) {
    WarningCollector warnings;
    const std::shared_ptr<const ZoneDataReader> reader = ZoneDataReader::getDefault();
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader, ZoneDataReader::getDefault()) << "read once";
    EXPECT_EQ(reader->getSkippedRowCount(), 0U);
    EXPECT_TRUE(warnings.messages.empty());
    const std::vector<std::string> ids = reader->getAllIDs();
    if (isCommittedRelease()) {
        // The 387 zones and 204 links of release 2018g.
        EXPECT_EQ(ids.size(), 591U);
    }
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
    for (const char* id : {"Europe/Berlin", "America/Sao_Paulo", "Australia/Lord_Howe", "Etc/GMT+5", "UTC",
                           "US/Eastern", "Asia/Calcutta", "Asia/Kolkata"}) {
        EXPECT_TRUE(reader->isValidID(id)) << id;
    }
    for (const char* id : {"", "europe/berlin", "Europe/Nowhere", "Europe/Berlin ", "EU"}) {
        EXPECT_FALSE(reader->isValidID(id)) << id;
    }
}

TEST(ZoneDataReader, ZoneRowsComeNewestFirstWithTheirSavingRows) {
    if (!isCommittedRelease()) {
        GTEST_SKIP() << "reads rows of the committed release 2018g";
    }
    const std::vector<std::shared_ptr<ZoneOffsetRule>> rules =
        ZoneDataReader::getDefault()->getAllRules("Africa/Algiers");
    ASSERT_EQ(rules.size(), 10U);
    // Africa/Algiers;CET;3600;0;1;3999;1;1;-1;0;0
    EXPECT_EQ(*rules[0]->getID(), "Africa/Algiers");
    EXPECT_EQ(*rules[0]->getFormat(), "CET");
    EXPECT_EQ(rules[0]->getRawOffset(), 3600.0);
    EXPECT_FALSE(rules[0]->hasSavingRules());
    EXPECT_EQ(rules[0]->getUntilRule(), TimeRule(DateMode::DayOfMonth, 3999, 1, 1, -1, 0));
    // Africa/Algiers;WE%sT;0;Algeria;1;1981;5;1;-1;0;0
    EXPECT_EQ(*rules[1]->getFormat(), "WE%sT");
    EXPECT_EQ(rules[1]->getRawOffset(), 0.0);
    EXPECT_EQ(rules[1]->getUntilRule(), TimeRule(DateMode::DayOfMonth, 1981, 5, 1, -1, 0));
    EXPECT_EQ(rules[1]->getUntilType(), DateType::Wall);
    ASSERT_TRUE(rules[1]->hasSavingRules());
    for (const auto& row : rules[1]->getSavingRules()) {
        EXPECT_EQ(*row->getName(), "Algeria");
    }
    // The local mean time row comes last.
    EXPECT_EQ(*rules.back()->getFormat(), "LMT");
    EXPECT_EQ(rules.back()->getRawOffset(), 732.0);
    EXPECT_TRUE(ZoneDataReader::getDefault()->getAllRules("Nowhere").empty());
}

TEST(ZoneDataReader, SavingRowsCarryBothHalvesOrOne) {
    if (!isCommittedRelease()) {
        GTEST_SKIP() << "reads rows of the committed release 2018g";
    }
    const std::shared_ptr<const ZoneDataReader> reader = ZoneDataReader::getDefault();
    // AN;2008;3999;3;10;1;1;7200;2;3600;D;3;4;1;1;7200;2;S
    const auto& an = reader->getSavingRules("AN");
    ASSERT_FALSE(an.empty());
    const SavingRule& latest = *an.front();
    EXPECT_EQ(latest.getFirstYear(), 2008);
    EXPECT_EQ(latest.getLastYear(), SavingRule::NO_END_YEAR);
    EXPECT_EQ(latest.getStartRule(), TimeRule(DateMode::WeekdayOnOrAfter, 2008, 10, 1, 1, 7200));
    EXPECT_EQ(latest.getStartType(), DateType::Standard);
    EXPECT_EQ(latest.getEndRule(), TimeRule(DateMode::WeekdayOnOrAfter, 2008, 4, 1, 1, 7200));
    EXPECT_EQ(latest.getSaving(), 3600.0);
    EXPECT_EQ(*latest.getStartLetter(), "D");
    EXPECT_EQ(*latest.getEndLetter(), "S");
    EXPECT_TRUE(latest.contains(2008));
    EXPECT_TRUE(latest.contains(5000)) << "a last year of 3999 has no end";
    EXPECT_FALSE(latest.contains(2007));
    // AQ;1992;1992;0;0;0;0;0;0;0;$;3;3;1;1;7200;2;S only ends daylight time.
    const auto& aq = reader->getSavingRules("AQ");
    ASSERT_FALSE(aq.empty());
    EXPECT_EQ(aq.front()->getFirstYear(), 1992);
    EXPECT_FALSE(aq.front()->getStartRule().isValid());
    EXPECT_EQ(aq.front()->getEndRule(), TimeRule(DateMode::WeekdayOnOrAfter, 1992, 3, 1, 1, 7200));
    EXPECT_EQ(*aq.front()->getStartLetter(), "$");
    EXPECT_TRUE(reader->getSavingRules("NoSuchRules").empty());
}

TEST(ZoneDataReader, LinksAreZonesWithTheRowsOfTheirTarget) {
    const std::shared_ptr<const ZoneDataReader> reader = ZoneDataReader::getDefault();
    const auto link = reader->getAllRules("US/Eastern");
    const auto target = reader->getAllRules("America/New_York");
    ASSERT_EQ(link.size(), target.size());
    for (std::size_t index = 0; index < link.size(); ++index) {
        EXPECT_EQ(*link[index]->getID(), "US/Eastern");
        EXPECT_EQ(link[index]->getFormat(), target[index]->getFormat());
        EXPECT_EQ(link[index]->getRawOffset(), target[index]->getRawOffset());
        EXPECT_EQ(link[index]->getUntilRule(), target[index]->getUntilRule());
        EXPECT_EQ(link[index]->getSavingRules(), target[index]->getSavingRules()) << "shared saving rows";
    }
}

TEST(ZoneDataReader, LatestRuleGivesTheCurrentOffsetAndSaving) {
    const std::shared_ptr<const ZoneDataReader> reader = ZoneDataReader::getDefault();
    struct Case {
        const char* id;
        double rawOffset;
        double saving;
    };
    for (const Case& test : std::vector<Case>{{"Australia/Sydney", 36000, 3600},
                                              {"Australia/Lord_Howe", 37800, 1800},
                                              {"Asia/Tokyo", 32400, 0},
                                              {"America/St_Johns", -12600, 3600},
                                              {"Etc/UTC", 0, 0}}) {
        double rawOffset = -1;
        double saving = -1;
        const std::shared_ptr<ZoneOffsetRule> latest = reader->getLatestRule(test.id, rawOffset, saving);
        ASSERT_NE(latest, nullptr) << test.id;
        EXPECT_EQ(latest->getUntilRule().getYear(), SavingRule::NO_END_YEAR);
        EXPECT_EQ(rawOffset, test.rawOffset) << test.id;
        EXPECT_EQ(saving, test.saving) << test.id;
    }
    double rawOffset = 7;
    double saving = 7;
    EXPECT_EQ(reader->getLatestRule("Nowhere", rawOffset, saving), nullptr);
    EXPECT_EQ(rawOffset + saving, 14.0) << "outputs stay unchanged";
}

TEST(ZoneDataReader, MalformedZoneRowsAreSkippedWithAWarning) {
    const std::vector<std::string> malformed = {
        "Test/Zone;CET;3600;0;1;3999;1;1;-1;0",           // 10 fields
        "Test/Zone;CET;3600;0;1;3999;1;1;-1;0;0;0",       // 12 fields
        ";CET;3600;0;1;3999;1;1;-1;0;0",                  // no identifier
        "Test/Zone;;3600;0;1;3999;1;1;-1;0;0",            // no format
        "Test/Zone;CET;one hour;0;1;3999;1;1;-1;0;0",     // offset is no number
        "Test/Zone;CET;NaN;0;1;3999;1;1;-1;0;0",          // offset is NaN
        "Test/Zone;CET;172801;0;1;3999;1;1;-1;0;0",       // offset beyond 48 hours
        "Test/Zone;CET;3600;;1;3999;1;1;-1;0;0",          // no save
        "Test/Zone;CET;3600;999999;1;3999;1;1;-1;0;0",    // saving beyond 48 hours
        "Test/Zone;CET;3600;0;0;3999;1;1;-1;0;0",         // mode None for an end
        "Test/Zone;CET;3600;0;4;3999;1;1;-1;0;0",         // no such mode
        "Test/Zone;CET;3600;0;1;1000;1;1;-1;0;0",         // year before 1582
        "Test/Zone;CET;3600;0;1;20001;1;1;-1;0;0",        // year after 20000
        "Test/Zone;CET;3600;0;1;1990;13;1;-1;0;0",        // month 13
        "Test/Zone;CET;3600;0;1;1990;1;0;-1;0;0",         // day 0
        "Test/Zone;CET;3600;0;1;1990;1;32;-1;0;0",        // day 32
        "Test/Zone;CET;3600;0;2;1990;1;-1;-1;0;0",        // last weekday without a weekday
        "Test/Zone;CET;3600;0;3;1990;1;8;8;0;0",          // weekday 8
        "Test/Zone;CET;3600;0;1;1990;1;1;0;0;0",          // weekday 0 with a day of the month
        "Test/Zone;CET;3600;0;1;1990;1;1;-1;604801;0",    // seconds beyond a week
        "Test/Zone;CET;3600;0;1;1990;1;1;-1;0;3",         // no such clock
        "Test/Zone;CET;3600;0;1;1990x;1;1;-1;0;0",        // junk after a number
        "Test/Zone;CET;3600;0;1;99999999999;1;1;-1;0;0",  // beyond an int
    };
    for (const std::string& row : malformed) {
        WarningCollector warnings;
        const auto reader = ZoneDataReader::create(row + "\n", VALID_SAVING_ROW);
        EXPECT_EQ(reader->getSkippedRowCount(), 1U) << row;
        EXPECT_FALSE(reader->isValidID("Test/Zone")) << row;
        ASSERT_EQ(warnings.messages.size(), 1U) << row;
        EXPECT_NE(warnings.messages[0].find("vek_historictimezone.txt line 1: "), std::string::npos)
            << warnings.messages[0];
    }
}

TEST(ZoneDataReader, MalformedSavingRowsAreSkippedWithAWarning) {
    const std::vector<std::string> malformed = {
        "EU;1981;3999;2;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1",    // 17 fields
        ";1981;3999;2;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1;-",    // no name
        "EU;1981;1980;2;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1;-",  // ends before it starts
        "EU;1981;3999;5;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1;-",  // no such start mode
        "EU;1981;3999;2;3;-1;1;3600;1;3600;S;2;10;-1;9;3600;1;-",  // end weekday 9
        "EU;1981;3999;2;3;-1;1;3600;1;many;S;2;10;-1;1;3600;1;-",  // saving is no number
        "EU;1981;3999;2;3;-1;1;3600;1;3600;;2;10;-1;1;3600;1;-",   // no start letter
        "EU;1981;3999;0;0;0;0;0;0;0;$;0;0;0;0;0;0;$",              // neither start nor end
        "EU;1581;3999;2;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1;-",  // first year before 1582
    };
    for (const std::string& row : malformed) {
        WarningCollector warnings;
        const auto reader = ZoneDataReader::create(VALID_ZONE_ROW, row);
        EXPECT_EQ(reader->getSkippedRowCount(), 1U) << row;
        EXPECT_TRUE(reader->getSavingRules("EU").empty()) << row;
        // The zone stays, without daylight saving, and that is logged too.
        ASSERT_EQ(warnings.messages.size(), 2U) << row;
        EXPECT_NE(warnings.messages[0].find("vek_saving.txt line 1: "), std::string::npos) << warnings.messages[0];
        EXPECT_NE(warnings.messages[1].find("names the rule set EU, which does not exist"), std::string::npos);
        const auto rules = reader->getAllRules("Test/Zone");
        ASSERT_EQ(rules.size(), 1U);
        EXPECT_FALSE(rules[0]->hasSavingRules());
    }
}

TEST(ZoneDataReader, CommentsBlankLinesLineEndsAndSpacesAroundFields) {
    WarningCollector warnings;
    const auto reader = ZoneDataReader::create(
        "# comment\r\n\r\n   \n  # indented comment\r\n Test/Zone ; CE%sT ; 3600 ; EU ; 1;3999;1;1;-1;0;0 \r\n"
        "Test/Fixed;+0130;5400;1800;1;3999;1;1;-1;0;0",
        std::string("#saving;from;to\n") + VALID_SAVING_ROW + "\r\n");
    EXPECT_EQ(reader->getSkippedRowCount(), 0U);
    EXPECT_TRUE(warnings.messages.empty());
    EXPECT_EQ(reader->getAllIDs(), (std::vector<std::string>{"Test/Fixed", "Test/Zone"}));
    const auto zone = reader->getAllRules("Test/Zone");
    ASSERT_EQ(zone.size(), 1U);
    EXPECT_EQ(*zone[0]->getFormat(), "CE%sT");
    ASSERT_EQ(zone[0]->getSavingRules().size(), 1U);
    EXPECT_EQ(*zone[0]->getSavingRules()[0]->getEndLetter(), "-");
    // A number in the save field is a fixed saving, carried as one numeric row.
    const auto fixed = reader->getAllRules("Test/Fixed");
    ASSERT_EQ(fixed.size(), 1U);
    ASSERT_EQ(fixed[0]->getSavingRules().size(), 1U);
    EXPECT_TRUE(fixed[0]->getSavingRules()[0]->isNumeric());
    EXPECT_EQ(fixed[0]->getSavingRules()[0]->getSaving(), 1800.0);
}

TEST(ZoneDataReader, RowsOfAZoneKeepTheirOrderWhereverTheyStand) {
    const auto reader = ZoneDataReader::create(asText({
                                                   "B/Zone;BST;3600;0;1;3999;1;1;-1;0;0",
                                                   "A/Zone;NEW;7200;0;1;3999;1;1;-1;0;0",
                                                   "B/Zone;BMT;1800;0;1;1950;1;1;-1;0;0",
                                                   "A/Zone;OLD;3600;0;1;2000;1;1;-1;0;0",
                                               }),
                                               "");
    const auto zone = reader->getAllRules("A/Zone");
    ASSERT_EQ(zone.size(), 2U);
    EXPECT_EQ(*zone[0]->getFormat(), "NEW");
    EXPECT_EQ(*zone[1]->getFormat(), "OLD");
    EXPECT_EQ(reader->getAllRules("B/Zone").size(), 2U);
}

TEST(ZoneDataReader, ManyMalformedRowsAreSummedUpInsteadOfLoggedOneByOne) {
    WarningCollector warnings;
    const auto reader = ZoneDataReader::create(asText(std::vector<std::string>(25, std::string(1000, ';'))),
                                               asText(std::vector<std::string>(100, "x")));
    EXPECT_EQ(reader->getSkippedRowCount(), 125U);
    // Ten rows named one by one and one sum of the rest, for each file.
    ASSERT_EQ(warnings.messages.size(), 22U);
    EXPECT_EQ(warnings.messages[10], "vek_saving.txt: 90 more malformed rows skipped");
    EXPECT_EQ(warnings.messages[21], "vek_historictimezone.txt: 15 more malformed rows skipped");
}

TEST(SavingRule, NumericNamesAreFixedSavings) {
    for (const char* name : {"3600", "-3600", "+60", "1200.5", "0"}) {
        EXPECT_TRUE(SavingRule::isNumericName(name)) << name;
    }
    for (const char* name : {"", "-", "EU", "1e3", "1.2.3", "3600s", " 3600"}) {
        EXPECT_FALSE(SavingRule::isNumericName(name)) << name;
    }
    const auto& empty = SavingRule::getEmptyRule();
    EXPECT_FALSE(empty->isValid());
    EXPECT_FALSE(empty->getStartRule().isValid());
    EXPECT_FALSE(empty->getEndRule().isValid());
    EXPECT_EQ(empty, SavingRule::getEmptyRule());
}

}  // namespace
}  // namespace pellium
