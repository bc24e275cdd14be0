#include <cmath>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "pellium/resources/logging/Logger.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"
#include "pellium/util/ZoneDataReader.h"

namespace pellium {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double HOUR = 3600.0;

double at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    return TimeUtilities::dhms(TimeUtilities::mdy(month, day, year), hour, minute, second);
}

std::shared_ptr<TimeZone> zoneNamed(std::string_view id) {
    std::shared_ptr<TimeZone> zone = TimeZone::create(id);
    EXPECT_NE(zone, nullptr) << id;
    return zone;
}

struct Expected {
    double offset;
    double rawOffset;
    double saving;
    bool inDaylightTime;
    const char* name;
};

void expectState(const TimeZone& zone, double time, DateType::type type, const Expected& expected) {
    const std::string where =
        *zone.getID() + " at " + std::to_string(time) + " (" + std::string(DateType::getStringFromValue(type)) + ")";
    EXPECT_EQ(zone.getOffset(time, type), expected.offset) << where;
    EXPECT_EQ(zone.getRawOffset(time, type), expected.rawOffset) << where;
    EXPECT_EQ(zone.getDaylightSavings(time, type), expected.saving) << where;
    EXPECT_EQ(zone.inDaylightTime(time, type), expected.inDaylightTime) << where;
    ASSERT_NE(zone.getName(time, type), nullptr) << where;
    EXPECT_EQ(*zone.getName(time, type), expected.name) << where;
    const std::shared_ptr<TimeZoneInfo> info = zone.getInfo(time, type);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->getID(), zone.getID());
    EXPECT_EQ(info->getOffset(), expected.offset) << where;
    EXPECT_EQ(info->getRawOffset(), expected.rawOffset) << where;
    EXPECT_EQ(info->getDaylightSavings(), expected.saving) << where;
    EXPECT_EQ(info->inDaylightTime(), expected.inDaylightTime) << where;
    EXPECT_EQ(*info->getName(), expected.name) << where;
}

const Expected CET = {HOUR, HOUR, 0, false, "CET"};
const Expected CEST = {2 * HOUR, HOUR, HOUR, true, "CEST"};
const Expected EST = {-5 * HOUR, -5 * HOUR, 0, false, "EST"};
const Expected EDT = {-4 * HOUR, -5 * HOUR, HOUR, true, "EDT"};

TEST(TimeZone, TheDaylightTimeOfBerlinIn2018) {
    const auto berlin = zoneNamed("Europe/Berlin");
    // Daylight time ran from 25 March 01:00 UTC to 28 October 01:00 UTC.
    expectState(*berlin, at(2018, 3, 25, 0, 59, 59), DateType::Universal, CET);
    expectState(*berlin, at(2018, 3, 25, 1), DateType::Universal, CEST);
    expectState(*berlin, at(2018, 10, 28, 0, 59, 59), DateType::Universal, CEST);
    expectState(*berlin, at(2018, 10, 28, 1), DateType::Universal, CET);
    expectState(*berlin, at(2018, 7, 1, 12), DateType::Wall, CEST);
    expectState(*berlin, at(2018, 7, 1, 12), DateType::Standard, CEST);
    expectState(*berlin, at(2018, 12, 24, 18), DateType::Wall, CET);
    // Before standard time, local mean time.
    expectState(*berlin, at(1850, 1, 1), DateType::Universal, {3208, 3208, 0, false, "LMT"});
    // Far beyond the table, the final rules still apply.
    expectState(*berlin, at(2500, 7, 1), DateType::Universal, CEST);
    expectState(*berlin, at(2500, 12, 1), DateType::Wall, CET);
    expectState(*berlin, at(19999, 7, 1), DateType::Standard, CEST);
}

TEST(TimeZone, SkippedWallTimesReadAsStandardTimeAndRepeatedOnesAsTheEarlierInstant) {
    const auto newYork = zoneNamed("America/New_York");
    // 11 March 2018: clocks went from 02:00 EST to 03:00 EDT.
    expectState(*newYork, at(2018, 3, 11, 1, 59, 59), DateType::Wall, EST);
    expectState(*newYork, at(2018, 3, 11, 2), DateType::Wall, EST);
    expectState(*newYork, at(2018, 3, 11, 2, 30), DateType::Wall, EST);
    expectState(*newYork, at(2018, 3, 11, 2, 59, 59), DateType::Wall, EST);
    expectState(*newYork, at(2018, 3, 11, 3), DateType::Wall, EDT);
    EXPECT_EQ(newYork->convertTime(at(2018, 3, 11, 2, 30), DateType::Wall, DateType::Universal),
              at(2018, 3, 11, 7, 30));
    // 4 November 2018: clocks went from 02:00 EDT back to 01:00 EST; 01:00 to 01:59 happened twice.
    expectState(*newYork, at(2018, 11, 4, 0, 59, 59), DateType::Wall, EDT);
    expectState(*newYork, at(2018, 11, 4, 1), DateType::Wall, EDT);
    expectState(*newYork, at(2018, 11, 4, 1, 59, 59), DateType::Wall, EDT);
    expectState(*newYork, at(2018, 11, 4, 2), DateType::Wall, EST);
    EXPECT_EQ(newYork->convertTime(at(2018, 11, 4, 1, 30), DateType::Wall, DateType::Universal),
              at(2018, 11, 4, 5, 30));
    // Standard time has no gap or overlap when only the saving changes.
    expectState(*newYork, at(2018, 11, 4, 0, 59, 59), DateType::Standard, EDT);
    expectState(*newYork, at(2018, 11, 4, 1), DateType::Standard, EST);
}

TEST(TimeZone, ZonesOfEveryKind) {
    // Ireland describes its winter time as a negative saving from Irish Standard Time.
    const auto dublin = zoneNamed("Europe/Dublin");
    expectState(*dublin, at(2018, 1, 15), DateType::Universal, {0, HOUR, -HOUR, true, "GMT"});
    expectState(*dublin, at(2018, 7, 15), DateType::Universal, {HOUR, HOUR, 0, false, "IST"});
    // Lord Howe Island saves half an hour.
    const auto lordHowe = zoneNamed("Australia/Lord_Howe");
    expectState(*lordHowe, at(2018, 1, 15), DateType::Universal, {11 * HOUR, 10.5 * HOUR, 0.5 * HOUR, true, "+11"});
    expectState(*lordHowe, at(2018, 7, 15), DateType::Universal, {10.5 * HOUR, 10.5 * HOUR, 0, false, "+1030"});
    // In release 2018g Brazil's daylight time started on the first Sunday of November.
    const auto saoPaulo = zoneNamed("America/Sao_Paulo");
    expectState(*saoPaulo, at(2018, 11, 4, 2, 59, 59), DateType::Universal, {-3 * HOUR, -3 * HOUR, 0, false, "-03"});
    expectState(*saoPaulo, at(2018, 11, 4, 3), DateType::Universal, {-2 * HOUR, -3 * HOUR, HOUR, true, "-02"});
    expectState(*zoneNamed("Asia/Kolkata"), at(2018, 6, 1), DateType::Wall, {19800, 19800, 0, false, "IST"});
    expectState(*zoneNamed("Etc/GMT+5"), at(2018, 6, 1), DateType::Wall, {-5 * HOUR, -5 * HOUR, 0, false, "-05"});
    expectState(*zoneNamed("UTC"), at(1800, 1, 1), DateType::Wall, {0, 0, 0, false, "UTC"});
    // A link answers as its target.
    expectState(*zoneNamed("US/Eastern"), at(2018, 7, 4, 12), DateType::Wall, EDT);
}

TEST(TimeZone, CreationAndIdentifiers) {
    EXPECT_EQ(TimeZone::create("Europe/Nowhere"), nullptr);
    EXPECT_EQ(TimeZone::create(""), nullptr);
    EXPECT_EQ(TimeZone::create("Europe/Berlin", nullptr), nullptr);
    EXPECT_TRUE(TimeZone::isValidID("Pacific/Chatham"));
    EXPECT_FALSE(TimeZone::isValidID("pacific/chatham"));
    const std::vector<std::string> ids = TimeZone::getAvailableIDs();
    EXPECT_EQ(ids, ZoneDataReader::getDefault()->getAllIDs());
    EXPECT_NE(std::find(ids.begin(), ids.end(), "America/Argentina/Buenos_Aires"), ids.end());
    const auto zone = zoneNamed("Asia/Tokyo");
    // The state at creation is the state now.
    EXPECT_EQ(zone->getOffset(), 9 * HOUR);
    EXPECT_EQ(zone->getRawOffset(), 9 * HOUR);
    EXPECT_EQ(zone->getDaylightSavings(), 0.0);
    EXPECT_FALSE(zone->inDaylightTime());
    EXPECT_EQ(*zone->getName(), "JST");
    const auto berlin = zoneNamed("Europe/Berlin");
    EXPECT_EQ(berlin->getOffset(), berlin->getOffset(TimeUtilities::now(), DateType::Universal));
    // Compiled-in zones share what they read; zones of a reader of run-time texts do not.
    EXPECT_EQ(zoneNamed("Europe/Berlin")->getRules()[0], berlin->getRules()[0]);
    const auto reader = ZoneDataReader::create("A/B;X;0;0;1;3999;1;1;-1;0;0", "");
    EXPECT_NE(TimeZone::create("A/B", reader)->getRules()[0], TimeZone::create("A/B", reader)->getRules()[0]);
}

TEST(TimeZone, IdentifiersForFixedOffsets) {
    const std::vector<std::pair<double, std::string>> hoursEast = {{0, "Etc/GMT"},      {1, "Etc/GMT-1"},
                                                                   {-5, "Etc/GMT+5"},   {14, "Etc/GMT-14"},
                                                                   {-12, "Etc/GMT+12"}, {-0.0, "Etc/GMT"}};
    for (const auto& [hours, id] : hoursEast) {
        EXPECT_EQ(TimeZone::getIDFromOffset(hours * HOUR), id) << hours;
        EXPECT_EQ(zoneNamed(id)->getOffset(0.0, DateType::Universal), hours * HOUR);
    }
    for (const double offset : {5.5 * HOUR, 15 * HOUR, -13 * HOUR, 1.0, NOT_A_NUMBER, INFINITE}) {
        EXPECT_EQ(TimeZone::getIDFromOffset(offset), "") << offset;
    }
}

TEST(TimeZone, QueriesWithoutATimeOrAClockAnswerNothing) {
    const auto zone = zoneNamed("Europe/Paris");
    const auto invalid = static_cast<DateType::type>(3);
    for (const auto& [time, type] : std::vector<std::pair<double, DateType::type>>{
             {NOT_A_NUMBER, DateType::Wall}, {0.0, invalid}, {0.0, static_cast<DateType::type>(-1)}}) {
        EXPECT_TRUE(std::isnan(zone->getOffset(time, type)));
        EXPECT_TRUE(std::isnan(zone->getRawOffset(time, type)));
        EXPECT_TRUE(std::isnan(zone->getDaylightSavings(time, type)));
        EXPECT_FALSE(zone->inDaylightTime(time, type));
        EXPECT_EQ(zone->getName(time, type), nullptr);
        EXPECT_EQ(zone->getInfo(time, type), nullptr);
        EXPECT_TRUE(std::isnan(zone->convertTime(time, type, DateType::Universal)));
    }
    EXPECT_TRUE(std::isnan(zone->convertTime(0.0, DateType::Wall, invalid)));
    EXPECT_TRUE(std::isnan(zone->getNextTransition(NOT_A_NUMBER)));
    // Infinite times read as the first and the final state.
    EXPECT_EQ(*zone->getName(-INFINITE, DateType::Universal), "LMT");
    EXPECT_FALSE(std::isnan(zone->getOffset(INFINITE, DateType::Wall)));
}

TEST(TimeZone, NextTransitionsInsideAndBeyondTheTable) {
    const auto berlin = zoneNamed("Europe/Berlin");
    EXPECT_EQ(berlin->getNextTransition(at(2018, 1, 1)), at(2018, 3, 25, 1));
    EXPECT_EQ(berlin->getNextTransition(at(2018, 3, 25, 1)), at(2018, 10, 28, 1));
    EXPECT_EQ(berlin->getNextTransition(at(2150, 6, 1)), at(2150, 10, 25, 1));
    EXPECT_EQ(berlin->getNextTransition(at(2150, 10, 25, 1)), at(2151, 3, 28, 1));
    EXPECT_TRUE(std::isnan(zoneNamed("Etc/UTC")->getNextTransition(0.0)));
    EXPECT_TRUE(std::isnan(zoneNamed("Asia/Kolkata")->getNextTransition(at(2000, 1, 1))));
    EXPECT_EQ(zoneNamed("Asia/Kolkata")->getNextTransition(at(1942, 1, 1)), at(1942, 5, 14, 17, 30));
}

// A zone of three periods over the rule set EU (daylight time from the last Sunday of March to
// the last Sunday of October, both at 01:00 UTC); the middle period ends in summer, with daylight
// time in force, at a time given in the clock `untilClock`.
std::shared_ptr<TimeZone> threePeriodZone(const std::string& untilClock) {
    const std::string zones = "Test/Zone;CE%sT;3600;EU;1;3999;1;1;-1;0;0\nTest/Zone;EE%sT;7200;EU;1;2000;7;1;-1;7200;" +
                              untilClock + "\nTest/Zone;LMT;1000;0;1;1900;1;1;-1;0;0\n";
    return TimeZone::create("Test/Zone",
                            ZoneDataReader::create(zones, "EU;1981;3999;2;3;-1;1;3600;1;3600;S;2;10;-1;1;3600;1;-\n"));
}

TEST(TimeZone, PeriodEndsInEachClock) {
    struct Case {
        const char* untilClock;
        double untilUniversal;
    };
    // 2000-07-01 02:00 in the middle period (raw +2, saving 1 hour): as wall time 23:00 UTC the
    // day before, as standard time 00:00 UTC, as UTC 02:00.
    for (const Case& test :
         std::vector<Case>{{"0", at(2000, 6, 30, 23)}, {"2", at(2000, 7, 1, 0)}, {"1", at(2000, 7, 1, 2)}}) {
        const auto zone = threePeriodZone(test.untilClock);
        ASSERT_NE(zone, nullptr);
        const auto& middle = *zone->getRules()[1];
        EXPECT_EQ(zone->getUntilTime(middle, DateType::Universal), test.untilUniversal) << test.untilClock;
        EXPECT_EQ(zone->getUntilTime(middle, DateType::Wall), test.untilUniversal + 3 * HOUR) << test.untilClock;
        EXPECT_EQ(zone->getUntilTime(middle, DateType::Standard), test.untilUniversal + 2 * HOUR) << test.untilClock;
        // The zone changes periods exactly there.
        EXPECT_EQ(*zone->getName(test.untilUniversal - 1, DateType::Universal), "EEST");
        EXPECT_EQ(*zone->getName(test.untilUniversal, DateType::Universal), "CEST");
        // The state each period gives, inside it and clamped to it.
        EXPECT_EQ(*zone->getRuleInfo(middle, at(1990, 1, 1), DateType::Universal)->getName(), "EET");
        EXPECT_EQ(*zone->getRuleInfo(middle, at(2010, 1, 1), DateType::Universal)->getName(), "EEST");
        EXPECT_EQ(*zone->getRuleInfo(*zone->getRules()[0], at(1990, 1, 1), DateType::Universal)->getName(), "CEST");
        EXPECT_EQ(*zone->getRuleInfo(*zone->getRules()[2], at(2010, 1, 1), DateType::Universal)->getName(), "LMT");
    }
    const auto zone = threePeriodZone("0");
    const auto other = zoneNamed("Europe/Berlin");
    EXPECT_EQ(zone->getRuleInfo(*other->getRules()[0], 0.0, DateType::Universal), nullptr);
    EXPECT_TRUE(std::isnan(zone->getUntilTime(*other->getRules()[0], DateType::Universal)));
}

TEST(TimeZone, DaylightTimeStartsInTheRequestedClock) {
    // EU: 01:00 UTC, which is 02:00 standard and wall time in Berlin.
    const auto berlin = zoneNamed("Europe/Berlin");
    const ZoneOffsetRule& current = *berlin->getRules()[0];
    const SavingRule& eu = *current.getSavingRules()[0];
    EXPECT_EQ(berlin->getDSTStartSeconds(current, eu, DateType::Universal, 2018), HOUR);
    EXPECT_EQ(berlin->getDSTStartSeconds(current, eu, DateType::Standard, 2018), 2 * HOUR);
    EXPECT_EQ(berlin->getDSTStartSeconds(current, eu, DateType::Wall, 2018), 2 * HOUR);
    // British double summer time started at 01:00 standard time while summer time was in force,
    // so at 02:00 on the wall clock.
    const auto london = zoneNamed("Europe/London");
    bool found = false;
    for (const auto& period : london->getRules()) {
        if (period->getUntilRule().getYear() != 1968) {
            continue;  // the period from 1847 to 1968
        }
        for (const auto& row : period->getSavingRules()) {
            if (row->getSaving() == 2 * HOUR && row->contains(1941) && row->getStartRule().getMonth() == 5) {
                found = true;
                EXPECT_EQ(london->getDSTStartSeconds(*period, *row, DateType::Wall, 1941), 2 * HOUR);
                EXPECT_EQ(london->getDSTStartSeconds(*period, *row, DateType::Standard, 1941), HOUR);
                EXPECT_EQ(london->getDSTStartSeconds(*period, *row, DateType::Universal, 1941), HOUR);
            }
        }
    }
    EXPECT_TRUE(found);
    // A row that only ends daylight time, or one of another period, has no start.
    const auto brisbane = zoneNamed("Australia/Brisbane");
    const ZoneOffsetRule& aq = *brisbane->getRules()[0];
    EXPECT_TRUE(std::isnan(brisbane->getDSTStartSeconds(aq, *aq.getSavingRules()[0], DateType::Wall, 1992)));
    EXPECT_TRUE(std::isnan(brisbane->getDSTStartSeconds(aq, eu, DateType::Wall, 1992)));
}

TEST(TimeZone, SearchingTheRowsThatStartAndEndDaylightTime) {
    // AQ, latest first: 1992 (end only), 1990-1991 (both), 1989 (start only), 1972 (end only),
    // 1971 (start only).
    const auto brisbane = zoneNamed("Australia/Brisbane");
    const ZoneOffsetRule& period = *brisbane->getRules()[0];
    const auto& rows = period.getSavingRules();
    ASSERT_EQ(rows.size(), 5U);
    ASSERT_EQ(rows[1]->getFirstYear(), 1990);
    // The row itself when it qualifies, else the next row, else the previous one.
    EXPECT_EQ(brisbane->searchDSTEndRule(period, *rows[0], 1992), rows[0]);
    EXPECT_EQ(brisbane->searchDSTStartRule(period, *rows[0], 1991), rows[1]);
    EXPECT_EQ(brisbane->searchDSTEndRule(period, *rows[2], 1990), rows[1]);
    EXPECT_EQ(brisbane->searchDSTStartRule(period, *rows[2], 1989), rows[2]);
    EXPECT_EQ(brisbane->searchDSTStartRule(period, *rows[3], 1971), rows[4]);
    // None qualifies: the shared empty rule.
    EXPECT_EQ(brisbane->searchDSTStartRule(period, *rows[0], 1992), SavingRule::getEmptyRule());
    EXPECT_EQ(brisbane->searchDSTEndRule(period, *rows[4], 1989), SavingRule::getEmptyRule());
    EXPECT_EQ(brisbane->searchDSTStartRule(period, *SavingRule::getEmptyRule(), 1990), SavingRule::getEmptyRule());
}

TEST(TimeZone, DamagedRulesNeverHangOrCrash) {
    // The logged warnings are expected here.
    Logger::setSink([](LogLevel::type, std::string_view, std::string_view) {});
    const std::vector<std::pair<std::string, std::string>> cases = {
        // A period ending on a day that does not exist is left out.
        {"Z;A;0;0;1;3999;1;1;-1;0;0\nZ;B;3600;0;1;2001;2;29;-1;0;0\nZ;C;7200;0;1;1990;1;1;-1;0;0\n", ""},
        // Periods out of order.
        {"Z;A;0;R;1;3999;1;1;-1;0;0\nZ;B;3600;R;1;1950;1;1;-1;0;0\nZ;C;7200;R;1;2000;1;1;-1;0;0\n",
         "R;1582;3999;1;3;1;-1;0;0;3600;S;1;10;1;-1;0;0;-\n"},
        // Rules over every year the calendar has, one of them moving times by a week.
        {"Z;%z;0;R;1;3999;1;1;-1;0;0\n",
         "R;1582;20000;1;3;1;-1;604800;0;3600;S;1;3;2;-1;-604800;0;-\n"
         "R;19000;20000;3;12;31;7;0;1;-172800;S;2;1;-1;1;0;2;-\n"},
        // Two rules at the same instant.
        {"Z;%z;0;R;1;3999;1;1;-1;0;0\n",
         "R;2000;2010;1;3;1;-1;0;0;3600;S;0;0;0;0;0;0;$\nR;2000;2010;1;3;1;-1;0;0;7200;T;0;0;0;0;0;0;$\n"},
    };
    for (const auto& [zones, savings] : cases) {
        const auto zone = TimeZone::create("Z", ZoneDataReader::create(zones, savings));
        ASSERT_NE(zone, nullptr) << zones;
        for (double time = at(1600, 1, 1); time < at(20000, 1, 1); time += 1e9) {
            for (const DateType::type type : DateType::allValues()) {
                EXPECT_FALSE(std::isnan(zone->getOffset(time, type))) << zones;
            }
        }
        double time = -1e12;
        for (int count = 0; !std::isnan(time) && count < 100000; ++count) {
            const double next = zone->getNextTransition(time);
            EXPECT_TRUE(std::isnan(next) || next > time);
            time = next;
        }
    }
    Logger::restoreDefaults();
}

TEST(TimeZone, ManyThreadsReadOneZoneAndGetWhatOneThreadGets) {
    const std::vector<std::string> ids = {"America/New_York", "Europe/London", "Australia/Lord_Howe",
                                          "Africa/Casablanca", "Asia/Tehran"};
    std::vector<std::shared_ptr<TimeZone>> zones;
    for (const std::string& id : ids) {
        zones.push_back(zoneNamed(id));
    }
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> times(at(1900, 1, 1), at(2200, 1, 1));
    std::vector<double> samples(20000);
    for (double& sample : samples) {
        sample = std::floor(times(random));
    }
    const auto answerAll = [&] {
        double sum = 0;
        // Creating zones, the first time or again, while others are read.
        for (const char* id : {"Europe/Vienna", "Asia/Manila", "America/Halifax", "Europe/London"}) {
            sum += TimeZone::create(id)->getOffset(0.0, DateType::Universal);
        }
        for (const auto& zone : zones) {
            for (const double sample : samples) {
                sum += zone->getOffset(sample, static_cast<DateType::type>(std::fmod(std::fabs(sample), 3.0)));
            }
        }
        return sum;
    };
    const double expected = answerAll();
    constexpr int THREADS = 8;
    std::vector<double> sums(THREADS);
    std::latch start(THREADS);
    std::vector<std::thread> threads;
    for (int index = 0; index < THREADS; ++index) {
        threads.emplace_back([&, index] {
            start.arrive_and_wait();
            sums[static_cast<std::size_t>(index)] = answerAll();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const double sum : sums) {
        EXPECT_EQ(sum, expected);
    }
}

}  // namespace
}  // namespace pellium
