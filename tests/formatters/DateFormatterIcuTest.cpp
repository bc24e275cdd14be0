#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <unicode/calendar.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#include <vector>

#include "pellium/formatters/DateFormatter.h"
#include "pellium/formatters/HebrewCalendar.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/TimeUtilities.h"

// ICU 72 carries CLDR 42, the release the locale bundles are generated from, so every pattern key
// of every shipped locale must render exactly as ICU's SimpleDateFormat renders the same pattern.
// ICU is asked for the Gregorian calendar and European digits, which the library always uses,
// and for UTC, whose abbreviation both write as "UTC". Dates run from 1600 to 3999: before 1582
// ICU switches to the Julian calendar, and it keeps 4000 a leap year, which the library does not.
namespace pellium {
namespace {

using Kind = DateFormatter::ValueKind;

constexpr int FIRST_DAY = -131494;     // 1 January 1600
constexpr int LAST_DAY = 740985;       // 31 December 3999
constexpr int EN_US_SAMPLES = 100000;  // per key
constexpr int LOCALE_SAMPLES = 2000;   // per key and locale, to keep the run short

std::string toUtf8(const icu::UnicodeString& text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

std::vector<std::string> shippedLocales() {
    auto locales = ResourceManager::instance().getAvailableLocales("vek_portable_formatters");
    EXPECT_GE(locales.size(), 30U);
    return locales;
}

struct PatternKey {
    std::string key;
    Kind kind;
};

std::vector<PatternKey> patternKeys() {
    std::vector<PatternKey> keys;
    auto series = [&keys](const std::string& name, int count, Kind kind) {
        for (int number = 0; number < count; ++number) {
            keys.push_back({name + "." + std::to_string(number), kind});
        }
    };
    series("date", 4, Kind::Date);
    series("datetime", 4, Kind::DateTime);
    series("time", 4, Kind::DateTime);
    series("weekdate", 4, Kind::Date);
    series("worddate", 4, Kind::Date);
    series("monyy", 3, Kind::Date);
    series("quarteryear", 2, Kind::Date);
    series("year", 2, Kind::Date);
    series("mmddyy", 2, Kind::Date);
    series("day", 1, Kind::Date);
    series("downame", 2, Kind::Date);
    series("monname", 3, Kind::Date);
    return keys;
}

// Every field letter in every length, beyond what the keys use.
const std::vector<std::string> letterPatterns = {
    "G GGGG GGGGG y yy yyy yyyyy",
    "Q QQ QQQ QQQQ QQQQQ q qq qqq qqqq qqqqq",
    "M MM MMM MMMM MMMMM",
    "L LL LLL LLLL LLLLL",
    "w ww D DD DDD d dd",
    "E EE EEE EEEE EEEEE EEEEEE",
    "c cc ccc cccc ccccc cccccc",
    "e ee eee eeee eeeee eeeeee",
    "h hh H HH K KK k kk m mm s ss",
    "a hh:mm:ss.SSS 'o''clock' ''",
};

class IcuFormat {
public:
    IcuFormat(const std::string& pattern, const std::string& locale, const char* calendar = "gregorian") {
        UErrorCode status = U_ZERO_ERROR;
        const std::string id = locale + "@calendar=" + calendar + ";numbers=latn";
        format_ = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern),
                                                          icu::Locale(id.c_str()), status);
        valid_ = U_SUCCESS(status);
        if (valid_) {
            format_->adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
        }
    }
    bool isValid() const { return valid_; }
    // A library value of `kind` as ICU's milliseconds since 1970.
    std::string format(double value, Kind kind) const {
        const double seconds = kind == Kind::Date ? value * TimeUtilities::SECONDS_PER_DAY : value;
        icu::UnicodeString text;
        // The samples are whole milliseconds; rounding gives ICU the value they stand for.
        format_->format(std::round(TimeUtilities::toUnixTime(seconds) * 1000.0), text);
        return toUtf8(text);
    }

private:
    std::unique_ptr<icu::SimpleDateFormat> format_;
    bool valid_ = false;
};

double randomValue(std::mt19937_64& random, Kind kind, bool withMilliseconds = false) {
    std::uniform_int_distribution<int> day(FIRST_DAY, LAST_DAY);
    if (kind == Kind::Date) {
        return day(random);
    }
    std::uniform_int_distribution<int> second(0, 86399);
    double value = day(random) * TimeUtilities::SECONDS_PER_DAY + second(random);
    if (withMilliseconds) {
        value += std::uniform_int_distribution<int>(0, 999)(random) / 1000.0;
    }
    return value;
}

// Compares `samples` random values, other than those `skip` names, and reports the first few
// differences.
void expectSameAsIcu(const std::string& pattern, const std::string& locale, Kind kind, int samples, std::uint64_t seed,
                     bool withMilliseconds = false,
                     DateFormatter::Calendar calendar = DateFormatter::Calendar::Gregorian,
                     const std::function<bool(double)>& skip = nullptr) {
    const bool hebrew = calendar == DateFormatter::Calendar::Hebrew;
    const IcuFormat icu(pattern, locale, hebrew ? "hebrew" : "gregorian");
    ASSERT_TRUE(icu.isValid()) << pattern << " " << locale;
    const auto formatter = DateFormatter::create(pattern, *LocalizationContext::create(locale), calendar);
    std::mt19937_64 random(seed);
    int differences = 0;
    std::string ours;
    for (int sample = 0; sample < samples && differences < 3; ++sample) {
        const double value = randomValue(random, kind, withMilliseconds);
        if (skip && skip(value)) {
            continue;
        }
        ours.clear();
        ASSERT_TRUE(formatter->format(value, kind, ours)) << value;
        const std::string expected = icu.format(value, kind);
        if (ours != expected) {
            ++differences;
            ADD_FAILURE() << locale << " \"" << pattern << "\" value " << value << ": \"" << ours << "\", ICU \""
                          << expected << "\"";
        }
    }
}

// en_US, the locale most hosts use, takes many more samples than the others.
TEST(DateFormatterIcuTest, EveryShippedLocalesPatternKeysRenderAsIcu) {
    std::uint64_t seed = 1;
    for (const auto& locale : shippedLocales()) {
        const auto context = LocalizationContext::create(locale);
        for (const auto& [key, kind] : patternKeys()) {
            const auto pattern = context->getFormatString("vek_portable_formatters", key);
            ASSERT_TRUE(pattern) << locale << " " << key;
            expectSameAsIcu(*pattern, locale, kind, locale == "en_US" ? EN_US_SAMPLES : LOCALE_SAMPLES, seed++);
        }
    }
}

// Where CLDR's narrow quarter is a native digit (Arabic, Persian) the bundles keep "1" to "4",
// since the library writes European digits everywhere; those locales skip "QQQQQ" and "qqqqq".
bool hasNativeNarrowQuarter(const std::string& locale) {
    const std::string narrow = IcuFormat("QQQQQ", locale).format(0.0, Kind::Date);
    return narrow.size() != 1;
}

TEST(DateFormatterIcuTest, EveryFieldLetterInEveryLengthRendersAsIcu) {
    std::uint64_t seed = 5000;
    for (const auto& locale : shippedLocales()) {
        for (auto pattern : letterPatterns) {
            if (pattern.starts_with("Q ") && hasNativeNarrowQuarter(locale)) {
                pattern = "Q QQ QQQ QQQQ q qq qqq qqqq";
            }
            expectSameAsIcu(pattern, locale, Kind::DateTime, LOCALE_SAMPLES, seed++, true);
        }
    }
}

// ICU's Hebrew calendar applies the rule that moves a new year from Monday to Tuesday after a
// leap year to a new year that an earlier rule had already moved from Sunday to Monday, so some
// of its years start a day late (5462, 5560, 5807, ...), and the dates of those years and of the
// years before them differ. The late years are found first and checked to be exactly those; every day of
// every other year agrees.
class HebrewCalendarIcuTest : public testing::Test {
protected:
    static constexpr int FIRST_YEAR = 5359;
    static constexpr int LAST_YEAR = 7761;

    void SetUp() override {
        UErrorCode status = U_ZERO_ERROR;
        calendar_.reset(icu::Calendar::createInstance(icu::TimeZone::createTimeZone("UTC"),
                                                      icu::Locale("en_US@calendar=hebrew"), status));
        ASSERT_TRUE(U_SUCCESS(status));
        for (int year = FIRST_YEAR; year <= LAST_YEAR; ++year) {
            calendar_->clear();
            calendar_->set(year, 0, 1);
            const double icuNewYear =
                TimeUtilities::fromUnixTime(calendar_->getTime(status) / 1000.0) / TimeUtilities::SECONDS_PER_DAY;
            const double newYear = HebrewCalendar::getNewYear(year);
            if (icuNewYear != newYear) {
                ASSERT_EQ(icuNewYear, newYear + 1) << year;
                ASSERT_TRUE(HebrewCalendar::isLeapYear(year - 1)) << year;
                ASSERT_EQ(TimeUtilities::dow(newYear), 2) << "a late new year is a Monday in truth: " << year;
                lateYears_.push_back(year);
            }
        }
    }

    bool isInLateYear(double day) const {
        int year = 0;
        int month = 0;
        int dayOfMonth = 0;
        HebrewCalendar::getDate(day, year, month, dayOfMonth);
        // ICU's year before a late one is a day too long, so its months differ from Heshvan on.
        return std::find(lateYears_.begin(), lateYears_.end(), year) != lateYears_.end() ||
               std::find(lateYears_.begin(), lateYears_.end(), year + 1) != lateYears_.end();
    }

    std::unique_ptr<icu::Calendar> calendar_;
    std::vector<int> lateYears_;
};

TEST_F(HebrewCalendarIcuTest, EveryDayAgreesWithIcuOutsideItsLateYears) {
    EXPECT_GT(lateYears_.size(), 0U);
    EXPECT_LT(lateYears_.size(), 40U);
    UErrorCode status = U_ZERO_ERROR;
    for (int day = FIRST_DAY; day <= LAST_DAY; ++day) {
        int year = 0;
        int month = 0;
        int dayOfMonth = 0;
        ASSERT_TRUE(HebrewCalendar::getDate(day, year, month, dayOfMonth));
        ASSERT_EQ(HebrewCalendar::toDayNumber(year, month, dayOfMonth), day);
        if (isInLateYear(day)) {
            continue;
        }
        calendar_->setTime(TimeUtilities::toUnixTime(day * TimeUtilities::SECONDS_PER_DAY) * 1000.0, status);
        ASSERT_EQ(year, calendar_->get(UCAL_YEAR, status)) << day;
        ASSERT_EQ(month, calendar_->get(UCAL_MONTH, status) + 1) << day;
        ASSERT_EQ(dayOfMonth, calendar_->get(UCAL_DATE, status)) << day;
    }
}

TEST_F(HebrewCalendarIcuTest, HebrewPatternKeysRenderAsIcuInEnUs) {
    const auto context = LocalizationContext::create("en_US");
    std::uint64_t seed = 77;
    for (const std::string key : {"hdate.0", "hdate.1", "hdate.2", "hdate.3", "hebdate.0", "hebdate.1", "hebdate.2"}) {
        const auto pattern = context->getFormatString("vek_portable_formatters", key);
        ASSERT_TRUE(pattern) << key;
        expectSameAsIcu(*pattern, "en_US", Kind::Date, EN_US_SAMPLES / 5, seed++, false,
                        DateFormatter::Calendar::Hebrew, [this](double day) { return isInLateYear(day); });
    }
}

}  // namespace
}  // namespace pellium
