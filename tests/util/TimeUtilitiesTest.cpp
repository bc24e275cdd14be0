#include <array>
#include <chrono>
#include <climits>
#include <cmath>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "pellium/util/TimeUtilities.h"

namespace pellium {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

// Days from 1970 to 1960 (the library's epoch) in the C++ calendar, which is the proleptic
// Gregorian one and so agrees with the library's before 29 February 4000.
constexpr int DAYS_FROM_1960_TO_1970 = 3653;

int libraryDayOf(std::chrono::year_month_day date) {
    return std::chrono::sys_days(date).time_since_epoch().count() + DAYS_FROM_1960_TO_1970;
}

TEST(TimeUtilities, EveryDayMatchesAnIndependentDayByDayCalendar) {
    // Walks the whole range one day at a time with a calendar that only knows month lengths and
    // the leap-year rule, checking each conversion both ways.
    int year = 1581;
    int month = 12;
    int day = 22;
    int dayOfYear = 356;
    int weekday = 3;  // 22 December 1581 (proleptic Gregorian) was a Tuesday.
    const auto isLeap = [](int candidate) {
        return candidate % 4 == 0 && (candidate % 100 != 0 || candidate % 400 == 0) && candidate % 4000 != 0;
    };
    const auto monthLength = [&](int candidateMonth, int candidateYear) {
        static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        return candidateMonth == 2 && isLeap(candidateYear) ? 29 : lengths[candidateMonth - 1];
    };
    int failures = 0;
    for (int dayNumber = TimeUtilities::FIRST_DAY_NUMBER; dayNumber <= TimeUtilities::LAST_DAY_NUMBER; ++dayNumber) {
        int actualYear = 0;
        int actualMonth = 0;
        int actualDay = 0;
        const bool converted = TimeUtilities::getDate(dayNumber, actualYear, actualMonth, actualDay);
        const bool agrees = converted && actualYear == year && actualMonth == month && actualDay == day &&
                            TimeUtilities::doy(dayNumber) == dayOfYear && TimeUtilities::dow(dayNumber) == weekday &&
                            TimeUtilities::qtr(dayNumber) == (month - 1) / 3 + 1 &&
                            (year < TimeUtilities::FIRST_YEAR || TimeUtilities::mdy(month, day, year) == dayNumber);
        if (!agrees && ++failures <= 5) {
            ADD_FAILURE() << "day " << dayNumber << " should be " << year << "-" << month << "-" << day;
        }
        weekday = weekday % 7 + 1;
        ++dayOfYear;
        if (++day > monthLength(month, year)) {
            day = 1;
            if (++month > 12) {
                month = 1;
                ++year;
                dayOfYear = 1;
            }
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(year, 20001);
}

TEST(TimeUtilities, DayNumbersAgreeWithTheStandardCalendarUntilTheFirstYearDivisibleBy4000) {
    using namespace std::chrono;
    for (sys_days date = sys_days(1582y / January / 1); date < sys_days(4000y / February / 29); date += days(1)) {
        const year_month_day civil(date);
        const int year = static_cast<int>(civil.year());
        const int month = static_cast<int>(static_cast<unsigned>(civil.month()));
        const int day = static_cast<int>(static_cast<unsigned>(civil.day()));
        ASSERT_EQ(TimeUtilities::mdy(month, day, year), libraryDayOf(civil)) << year << "-" << month << "-" << day;
    }
    // 4000 is no leap year here, so from its 1 March on the library's days run one behind.
    EXPECT_TRUE(std::isnan(TimeUtilities::mdy(2, 29, 4000)));
    EXPECT_EQ(TimeUtilities::mdy(3, 1, 4000), libraryDayOf(4000y / March / 1) - 1);
    EXPECT_EQ(TimeUtilities::mdy(12, 31, 20000), libraryDayOf(20000y / December / 31) - 5);
}

TEST(TimeUtilities, MdyAppliesTheTwoDigitYearAndRangeRules) {
    // Four-digit years are checked day by day above. Below 100 a year is a two-digit year, in
    // 2000 + year below 40 (negative years too) and in 1900 + year from 40 to 99.
    const std::vector<std::pair<int, int>> twoDigitYears = {{60, 1960}, {39, 2039}, {40, 1940},
                                                            {99, 1999}, {0, 2000},  {-5, 1995}};
    for (const auto& [year, fullYear] : twoDigitYears) {
        EXPECT_EQ(TimeUtilities::mdy(1, 1, year), TimeUtilities::mdy(1, 1, fullYear)) << year;
    }
    // No 29 February in 1900 (divisible by 100, not by 400), 4000 and 8000 (divisible by 4000) or
    // 2023; no day 0 or 32, month 0 or 13; years 100 to 1581 are no dates, nor is -1000 (1000).
    const std::vector<std::array<int, 3>> invalid = {{2, 29, 1900}, {2, 29, 4000},   {2, 29, 8000},  {2, 29, 2023},
                                                     {4, 31, 2023}, {1, 0, 2023},    {1, 32, 2023},  {0, 1, 2023},
                                                     {13, 1, 2023}, {1, 1, 100},     {12, 31, 1581}, {1, 1, 20001},
                                                     {1, 1, -1000}, {1, 1, INT_MIN}, {1, 1, INT_MAX}};
    for (const auto& [month, day, year] : invalid) {
        EXPECT_TRUE(std::isnan(TimeUtilities::mdy(month, day, year))) << month << "/" << day << "/" << year;
    }
}

TEST(TimeUtilities, FieldsAnswerMinusOneOutsideTheRange) {
    for (const double dayNumber : {static_cast<double>(TimeUtilities::FIRST_DAY_NUMBER) - 1.0,
                                   static_cast<double>(TimeUtilities::LAST_DAY_NUMBER) + 1.0, NOT_A_NUMBER, INFINITE,
                                   -INFINITE, 1e300, -1e300}) {
        int year = 7;
        int month = 7;
        int day = 7;
        EXPECT_FALSE(TimeUtilities::getDate(dayNumber, year, month, day));
        EXPECT_EQ(year * 100 + month * 10 + day, 777) << "outputs stay unchanged";
        EXPECT_EQ(TimeUtilities::dow(dayNumber), -1) << dayNumber;
        EXPECT_EQ(TimeUtilities::year(dayNumber), -1);
        EXPECT_EQ(TimeUtilities::month(dayNumber), -1);
        EXPECT_EQ(TimeUtilities::dom(dayNumber), -1);
        EXPECT_EQ(TimeUtilities::doy(dayNumber), -1);
        EXPECT_EQ(TimeUtilities::qtr(dayNumber), -1);
        EXPECT_EQ(TimeUtilities::isoWeek(dayNumber), -1);
        EXPECT_EQ(TimeUtilities::isoWeekYear(dayNumber), -1);
    }
    // A fractional day number counts as the day it falls in.
    EXPECT_EQ(TimeUtilities::dow(0.999), 6);
    EXPECT_EQ(TimeUtilities::dow(-0.5), 5);
    EXPECT_EQ(TimeUtilities::dom(-0.5), 31);
}

TEST(TimeUtilities, IsoWeeksAgreeWithTheCLibrary) {
    // The C library's %G and %V give the ISO week-numbering year and week of a UTC date.
    for (int dayNumber = static_cast<int>(TimeUtilities::mdy(1, 1, 1583));
         dayNumber < static_cast<int>(TimeUtilities::mdy(1, 1, 3999)); ++dayNumber) {
        const std::time_t time = static_cast<std::time_t>(dayNumber - DAYS_FROM_1960_TO_1970) * 86400;
        std::tm date{};
        ASSERT_NE(gmtime_r(&time, &date), nullptr);
        char text[32];
        ASSERT_GT(std::strftime(text, sizeof text, "%G %V", &date), 0U);
        const std::string expected = text;
        const std::string actual = std::to_string(TimeUtilities::isoWeekYear(dayNumber)) + " " +
                                   (TimeUtilities::isoWeek(dayNumber) < 10 ? "0" : "") +
                                   std::to_string(TimeUtilities::isoWeek(dayNumber));
        ASSERT_EQ(actual, expected) << "day " << dayNumber;
    }
}

TEST(TimeUtilities, YearQuarterDates) {
    EXPECT_EQ(TimeUtilities::yyq(2024, 1), TimeUtilities::mdy(1, 1, 2024));
    EXPECT_EQ(TimeUtilities::yyq(2024, 4), TimeUtilities::mdy(10, 1, 2024));
    EXPECT_EQ(TimeUtilities::yyq(24, 2), TimeUtilities::mdy(4, 1, 2024));
    EXPECT_TRUE(std::isnan(TimeUtilities::yyq(2024, 0)));
    EXPECT_TRUE(std::isnan(TimeUtilities::yyq(2024, 5)));
}

TEST(TimeUtilities, SecondCountsSplitIntoDaysAndTimesOfDay) {
    struct Case {
        double dateTime;
        double datepart;
        double timepart;
        int hour;
        int minute;
        double second;
    };
    const std::vector<Case> cases = {
        {0.0, 0.0, 0.0, 0, 0, 0.0},
        {86399.5, 0.0, 86399.5, 23, 59, 59.5},
        {86400.0, 1.0, 0.0, 0, 0, 0.0},
        {-1.0, -1.0, 86399.0, 23, 59, 59.0},
        {-86400.0, -1.0, 0.0, 0, 0, 0.0},
        {TimeUtilities::dhms(TimeUtilities::mdy(7, 4, 1776), 13, 45, 30.25), TimeUtilities::mdy(7, 4, 1776), 49530.25,
         13, 45, 30.25},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(TimeUtilities::datepart(test.dateTime), test.datepart) << test.dateTime;
        EXPECT_EQ(TimeUtilities::timepart(test.dateTime), test.timepart) << test.dateTime;
        EXPECT_EQ(TimeUtilities::hour(test.dateTime), test.hour) << test.dateTime;
        EXPECT_EQ(TimeUtilities::minute(test.dateTime), test.minute) << test.dateTime;
        EXPECT_EQ(TimeUtilities::second(test.dateTime), test.second) << test.dateTime;
    }
    // A negative value too small to show below a whole day stays in the day before.
    EXPECT_LT(TimeUtilities::timepart(-1e-20), 86400.0);
    EXPECT_EQ(TimeUtilities::hour(-1e-20), 23);

    EXPECT_EQ(TimeUtilities::hms(1, 90, 30), 3600.0 + 5400.0 + 30.0);
    EXPECT_EQ(TimeUtilities::dhms(1, 0, 0, 1), 86401.0);
    EXPECT_TRUE(std::isnan(TimeUtilities::hms(NOT_A_NUMBER, 0, 0)));
    for (const double invalid : {NOT_A_NUMBER, INFINITE, -INFINITE}) {
        EXPECT_TRUE(std::isnan(TimeUtilities::datepart(invalid)));
        EXPECT_TRUE(std::isnan(TimeUtilities::timepart(invalid)));
        EXPECT_EQ(TimeUtilities::hour(invalid), -1);
        EXPECT_EQ(TimeUtilities::minute(invalid), -1);
        EXPECT_TRUE(std::isnan(TimeUtilities::second(invalid)));
    }
}

TEST(TimeUtilities, UnixTimesAndTheClock) {
    EXPECT_EQ(TimeUtilities::fromUnixTime(0.0), TimeUtilities::mdy(1, 1, 1970) * 86400.0);
    EXPECT_EQ(TimeUtilities::toUnixTime(TimeUtilities::UNIX_EPOCH), 0.0);
    const double before = TimeUtilities::fromUnixTime(static_cast<double>(std::time(nullptr)));
    const double now = TimeUtilities::now();
    EXPECT_GE(now, before);
    EXPECT_LT(now, before + 60.0);
}

}  // namespace
}  // namespace pellium
