#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "pellium/util/DateMode.h"
#include "pellium/util/DateType.h"
#include "pellium/util/TimeRule.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZoneUtilities.h"

namespace pellium {
namespace {

constexpr double DAY = TimeUtilities::SECONDS_PER_DAY;

// The weekday rule as the rule files describe it, one day at a time: from the first day of the
// next month backwards to the weekday for a day below 1, else from the day forwards.
double stepToWeekday(int month, int day, int weekday, int year) {
    if (day < 1) {
        year = TimeUtilities::expandTwoDigitYear(year);
        double candidate = (month == 12 ? TimeUtilities::mdy(1, 1, year + 1) : TimeUtilities::mdy(month + 1, 1, year));
        do {
            candidate -= 1;
        } while (TimeUtilities::dow(candidate) != weekday);
        return candidate;
    }
    double candidate = TimeUtilities::mdy(month, day, year);
    while (!std::isnan(candidate) && TimeUtilities::dow(candidate) != weekday) {
        candidate += 1;
    }
    return candidate;
}

TEST(TimeZoneUtilities, WeekdayRulesAgreeWithSteppingOneDayAtATime) {
    for (int year = 1582; year <= 2500; ++year) {
        for (int month = 1; month <= 12; ++month) {
            for (int weekday = 1; weekday <= 7; ++weekday) {
                for (int day = -1; day <= TimeUtilities::getDaysInMonth(month, year); ++day) {
                    if (day == 0) {
                        continue;
                    }
                    const double expected = stepToWeekday(month, day, weekday, year);
                    const double actual = TimeZoneUtilities::getFirstLastDay(month, day, weekday, year);
                    ASSERT_EQ(actual, expected) << year << "-" << month << " day " << day << " weekday " << weekday;
                }
            }
        }
    }
}

TEST(TimeZoneUtilities, RuleANStartsOnTheFirstSundayOfOctober) {
    // AN;2008;3999;3;10;1;1;7200;2;...: the first Sunday on or after 1 October, 02:00 standard time.
    using namespace std::chrono;
    const TimeRule start(DateMode::WeekdayOnOrAfter, 2008, 10, 1, 1, 7200);
    for (int year = 2008; year <= 2400; ++year) {
        const sys_days firstSunday(std::chrono::year(year) / October / Sunday[1]);
        const double expectedDay = firstSunday.time_since_epoch().count() + 3653;
        EXPECT_EQ(start.getTime(year), expectedDay * DAY + 7200) << year;
    }
    EXPECT_EQ(start.getTime(), TimeUtilities::mdy(10, 5, 2008) * DAY + 7200);
}

TEST(TimeZoneUtilities, LastWeekdayOfDecemberLooksBackFromTheNextJanuary) {
    using namespace std::chrono;
    for (int year = 1900; year <= 2100; ++year) {
        const sys_days lastSunday(std::chrono::year(year) / December / Sunday[last]);
        const double expectedDay = lastSunday.time_since_epoch().count() + 3653;
        EXPECT_EQ(TimeZoneUtilities::getFirstLastDay(12, -1, 1, year), expectedDay) << year;
        EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::LastWeekday, year, 12, -1, 1, 0), expectedDay * DAY) << year;
    }
    // A two-digit year 99 is 1999, whose next January is in 2000; the calendar's last December too.
    EXPECT_EQ(TimeZoneUtilities::getFirstLastDay(12, -1, 6, 99), TimeUtilities::mdy(12, 31, 1999));
    EXPECT_EQ(TimeZoneUtilities::getFirstLastDay(12, -1, TimeUtilities::dow(TimeUtilities::LAST_DAY_NUMBER), 20000),
              TimeUtilities::LAST_DAY_NUMBER);
}

TEST(TimeZoneUtilities, RuleSecondsPastMidnightFallOnTheFollowingDay) {
    const double firstOfMarch = TimeUtilities::mdy(3, 1, 2020) * DAY;
    EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 2020, 3, 1, -1, 86400), firstOfMarch + DAY);
    EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 2020, 3, 1, -1, 90000), firstOfMarch + DAY + 3600);
    EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 2020, 3, 1, -1, -3600), firstOfMarch - 3600);
    // 25:00 on the last Saturday of February 2020 (the 29th) is 01:00 on 1 March.
    EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::LastWeekday, 2020, 2, -1, 7, 90000), firstOfMarch + 3600);
    // A day of the month is read without its sign.
    EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 2020, 3, -1, -1, 0), firstOfMarch);
}

TEST(TimeZoneUtilities, AbsentAndImpossibleRules) {
    EXPECT_EQ(TimeZoneUtilities::calcTime(DateMode::None, 2020, 3, 1, 1, 0), -1.0);
    EXPECT_EQ(TimeZoneUtilities::calcTime(static_cast<DateMode::type>(9), 2020, 3, 1, 1, 0), -1.0);
    EXPECT_EQ(TimeRule().getTime(2020), -1.0);
    EXPECT_FALSE(TimeRule().isValid());
    const std::vector<double> impossible = {
        TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 2021, 2, 29, -1, 0),
        TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 1500, 1, 1, -1, 0),
        TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 20001, 1, 1, -1, 0),
        TimeZoneUtilities::calcTime(DateMode::DayOfMonth, 2020, 1, std::numeric_limits<int>::min(), -1, 0),
        TimeZoneUtilities::calcTime(DateMode::WeekdayOnOrAfter, 2020, 4, 31, 1, 0),
        TimeZoneUtilities::calcTime(DateMode::WeekdayOnOrAfter, 2020, 13, 1, 1, 0),
        TimeZoneUtilities::calcTime(DateMode::LastWeekday, 2020, 0, -1, 1, 0),
        TimeZoneUtilities::getFirstLastDay(3, 1, 0, 2020),
        TimeZoneUtilities::getFirstLastDay(3, -1, 8, 2020),
    };
    for (const double time : impossible) {
        EXPECT_TRUE(std::isnan(time));
    }
    // The first weekday on or after a day may fall in the next month.
    EXPECT_EQ(TimeZoneUtilities::getFirstLastDay(2, 29, 1, 2020), TimeUtilities::mdy(3, 1, 2020));
}

TEST(TimeZoneUtilities, ClockConversionTable) {
    struct Case {
        DateType::type from;
        DateType::type to;
        double added;
    };
    // A zone one hour east of UTC with one hour of daylight saving in force.
    const std::vector<Case> cases = {
        {DateType::Wall, DateType::Wall, 0},           {DateType::Wall, DateType::Universal, -7200},
        {DateType::Wall, DateType::Standard, -3600},   {DateType::Universal, DateType::Wall, 7200},
        {DateType::Universal, DateType::Universal, 0}, {DateType::Universal, DateType::Standard, 3600},
        {DateType::Standard, DateType::Wall, 3600},    {DateType::Standard, DateType::Universal, -3600},
        {DateType::Standard, DateType::Standard, 0},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(TimeZoneUtilities::convertTime(1000.0, test.from, test.to, 3600, 3600), 1000.0 + test.added)
            << DateType::getStringFromValue(test.from) << " to " << DateType::getStringFromValue(test.to);
    }
    // Converting there and back is the identity for any offsets.
    for (const DateType::type from : DateType::allValues()) {
        for (const DateType::type to : DateType::allValues()) {
            const double there = TimeZoneUtilities::convertTime(5e8, from, to, -12600, 1800);
            EXPECT_EQ(TimeZoneUtilities::convertTime(there, to, from, -12600, 1800), 5e8);
        }
    }
    EXPECT_TRUE(
        std::isnan(TimeZoneUtilities::convertTime(0.0, static_cast<DateType::type>(3), DateType::Universal, 3600, 0)));
}

TEST(TimeZoneUtilities, AbbreviationFormats) {
    struct Case {
        const char* format;
        const char* letter;
        bool inDaylightTime;
        double offset;
        const char* expected;
    };
    const std::vector<Case> cases = {
        {"CE%sT", "S", true, 7200, "CEST"}, {"CE%sT", "-", false, 3600, "CET"}, {"CE%sT", "", false, 3600, "CET"},
        {"GMT/BST", "", true, 3600, "BST"}, {"GMT/BST", "", false, 0, "GMT"},   {"IST/GMT", "", true, 0, "GMT"},
        {"%z", "", false, -10800, "-03"},   {"%z", "S", true, 19800, "+0530"},  {"%z", "", false, 0, "+00"},
        {"%z", "", false, -968, "-001608"}, {"<%z>", "", false, 3600, "<+01>"}, {"+0245", "", false, 9900, "+0245"},
        {"LMT", "D", true, 1, "LMT"},       {"%s", "WAT", false, 3600, "WAT"},  {"100%", "", false, 0, "100%"},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(TimeZoneUtilities::formatAbbreviation(test.format, test.letter, test.inDaylightTime, test.offset),
                  test.expected)
            << test.format;
    }
}

TEST(TimeZoneUtilities, TimeRulesEvaluateWithTheirOwnOrReplacedFields) {
    const TimeRule rule(DateMode::LastWeekday, 2021, 3, -1, 1, 3600);
    const double lastSundayOfMarch2021 = TimeUtilities::mdy(3, 28, 2021) * DAY;
    EXPECT_TRUE(rule.isValid());
    EXPECT_EQ(rule.getTime(), lastSundayOfMarch2021 + 3600);
    EXPECT_EQ(rule.getTime(2022), TimeUtilities::mdy(3, 27, 2022) * DAY + 3600);
    EXPECT_EQ(rule.getTime(2021, 7200), lastSundayOfMarch2021 + 7200);
    EXPECT_EQ(rule, TimeRule(DateMode::LastWeekday, 2021, 3, -1, 1, 3600));
    EXPECT_NE(rule, TimeRule(DateMode::LastWeekday, 2021, 3, -1, 1, 7200));
}

}  // namespace
}  // namespace pellium
