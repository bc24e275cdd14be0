#include <cctype>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pellium/formatters/DateFormatter.h"
#include "pellium/formatters/FormatType.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/MappedFormats.h"
#include "pellium/formatters/VekCalendarFormat.h"
#include "pellium/formatters/VekFormat.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/TimeUtilities.h"

namespace pellium {
namespace {

using Kind = DateFormatter::ValueKind;

constexpr std::string_view rightToLeftEmbedding = "\xE2\x80\xAB";
constexpr std::string_view popDirectionalFormatting = "\xE2\x80\xAC";

std::shared_ptr<const VekCalendarFormat> calendarFormat(std::string_view name, std::string_view locale = "en_US") {
    const auto formatter = FormatterFactory::instance()->getFormatter(LocalizationContext::create(locale), name);
    return std::dynamic_pointer_cast<const VekCalendarFormat>(formatter);
}

std::vector<std::string> fallbackPatterns(const VekCalendarFormat& format) {
    std::vector<std::string> patterns;
    for (const auto& parser : format.getFallbackParsers()) {
        patterns.push_back(parser->getPattern());
    }
    return patterns;
}

std::vector<std::string> calendarNames() {
    std::vector<std::string> names;
    for (const auto& entry : FormatType::getImplementedFormatTypeInfo()) {
        if (entry.formatType == FormatType::Date || entry.formatType == FormatType::Time ||
            entry.formatType == FormatType::DateTime) {
            names.emplace_back(entry.name);
        }
    }
    return names;
}

// A random value that the format's kind of value can hold, from 1600 to 3999, or from 1940 to
// 2039 where a two-digit year must stand for it.
double randomValue(std::mt19937_64& random, Kind kind, bool fullYear) {
    const double day = fullYear ? std::uniform_int_distribution<int>(-131494, 740985)(random)
                                : std::uniform_int_distribution<int>(-7305, 29219)(random);
    const double second = std::uniform_int_distribution<int>(0, 86399)(random);
    switch (kind) {
        case Kind::Date:
            return day;
        case Kind::Time:
            return second;
        case Kind::DateTime:
            return day * TimeUtilities::SECONDS_PER_DAY + second;
        case Kind::ElapsedTime:
            return std::uniform_int_distribution<int>(-5000000, 5000000)(random) + second / 1000.0;
    }
    return 0.0;
}

// Without the century a text can name a day that its century lacks (29 February, ISO week 53),
// or a weekday that differs in the other century.
bool showsFullYear(const std::string& pattern) {
    return pattern.find("yyyy") != std::string::npos ||
           (pattern.find('y') != std::string::npos && pattern.find("yy") == std::string::npos);
}

TEST(CalendarFormatTest, WidthsChooseTheDisplayPatternAndReplaceInvalidOnes) {
    struct Case {
        const char* name;
        int width;
        const char* pattern;
    };
    const Case cases[] = {
        {"DATE9.", 9, "ddMMMyyyy"},
        {"DATE5.", 5, "ddMMM"},
        {"DATE6.", 6, "ddMMM"},
        {"DATE4.", 7, "ddMMMyy"},
        {"DATE.", 7, "ddMMMyy"},
        {"DATE11.", 11, "MMM/dd/yyyy"},
        {"DATE20.", 11, "MMM/dd/yyyy"},
        {"DTDATE12.", 7, "ddMMMyy"},
        {"DATETIME6.", 16, "MMMM d, yyyy hh:mm:ss a"},
        {"DATETIME41.", 16, "MMMM d, yyyy hh:mm:ss a"},
        {"DATETIME9.", 9, "MM/dd/yy hh:mm a"},
        {"DATETIME14.", 14, "MMM d, yyyy hh:mm a"},
        {"DATETIME40.", 40, "EEEE, MMMM d, yyyy hh:mm:ss a"},
        {"MMDDYY8.", 8, "MM/dd/yyyy"},
        {"MMDDYY7.", 7, "MM/dd/yy"},
        {"MMDDYY11.", 8, "MM/dd/yyyy"},
        {"MMDDYYS10.", 10, "MM/dd/yyyy"},
        {"DDMMYY6.", 6, "dd/MM/yy"},
        {"YYMMDD10.", 10, "yyyy/MM/dd"},
        {"MMYY.", 7, "MM/yy"},
        {"YYMM8.", 8, "yyyy/MM"},
        {"TOD1.", 8, "hh:mm:ss a"},
        {"TOD4.", 4, "HH"},
        {"TIMEAMPM5.", 5, "hh:mm a"},
        {"TIMEAMPM.", 11, "hh:mm:ss a"},
        {"TIMEAMPM19.", 19, "hh:mm:ss a zzz"},
        {"WEEKDATE2.", 29, "EEEE, MMMM d, yyyy"},
        {"WEEKDATE17.", 17, "EEE, MMM d, yy"},
        {"DTWKDATX8.", 8, "ccc"},
        {"WORDDATE.", 28, "MMMM d, yyyy"},
        {"WORDDATE12.", 12, "LLLL"},
        {"DTMONYY9.", 5, "MMMyy"},
        {"MONYY5.", 5, "MMMyy"},
        {"MONYY8.", 8, "MMMM yyyy"},
        {"YEAR1.", 4, "yyyy"},
        {"DTYEAR3.", 3, "yy"},
        {"DTYYQC7.", 4, "QQQ yy"},
        {"YYQC3.", 4, "QQQ yy"},
        {"YYQC10.", 10, "QQQQ yyyy"},
        {"DATEN.", 8, "MM/dd/yy"},
        {"DATEN10.", 10, "MM/dd/yyyy"},
        {"DAY.", 2, "d"},
        {"DOWNAME.", 12, "cccc"},
        {"DOWNAME10.", 10, "ccc"},
        {"MONNAME2.", 2, "M"},
        {"MONNAME.", 9, "LLLL"},
        {"HDATE.", 17, "EEE, d MMMM yyyy"},
        {"HDATE10.", 10, "d MMM yy"},
        {"HEBDATE.", 16, "d MMMM yyyy"},
        {"HEBDATE24.", 24, "EEEE, d MMMM yyyy"},
        {"WEEKV1.", 11, "yyyy'-W'ww-dd"},
        {"WEEKV3.", 3, "'W'ww"},
        {"WEEKV7.", 7, "yy'W'wwdd"},
        {"JULIAN.", 5, "yyDDD"},
        {"JULIAN7.", 7, "yyyyDDD"},
        {"QTR.", 1, "q"},
        {"TIME.", 8, "H:mm:ss"},
        {"TIME12.3", 12, "H:mm:ss.SSS"},
        {"HHMM.", 5, "H:mm"},
        {"MMSS.", 5, "m:ss"},
    };
    for (const auto& [name, width, pattern] : cases) {
        const auto format = calendarFormat(name);
        ASSERT_TRUE(format) << name;
        EXPECT_EQ(format->getWidth(), width) << name;
        ASSERT_TRUE(format->getFormatPattern()) << name;
        EXPECT_EQ(*format->getFormatPattern(), pattern) << name;
    }
}

TEST(CalendarFormatTest, FallbacksAreTheOtherKeysInOrderExceptForMonyy) {
    using Patterns = std::vector<std::string>;
    struct Case {
        const char* name;
        Patterns fallbacks;
    };
    const Case cases[] = {
        {"DATE9.", {"ddMMM", "ddMMMyy", "MMM/dd/yyyy"}},
        {"DATE7.", {"ddMMM", "ddMMMyyyy", "MMM/dd/yyyy"}},
        {"YEAR4.", {"yy"}},
        {"MONNAME4.", {"M", "LLLL"}},
        {"MONYY5.", {"MMMyyyy"}},
        {"MONYY7.", {"MMMyy"}},
        {"MONYY8.", {"MMMyyyy", "MMMyy"}},
        {"DTMONYY7.", {"MMMyy"}},
        {"MMDDYY8.", {"MM/dd/yy"}},
        {"DAY.", {}},
    };
    for (const auto& [name, fallbacks] : cases) {
        const auto format = calendarFormat(name);
        ASSERT_TRUE(format) << name;
        EXPECT_EQ(fallbackPatterns(*format), fallbacks) << name;
    }
}

TEST(CalendarFormatTest, EveryDateTimeAndDateTimeNameGetsAFormatOfItsKind) {
    std::vector<std::pair<std::string, FormatType::type>> names;
    for (const auto& entry : FormatType::getImplementedFormatTypeInfo()) {
        names.emplace_back(entry.name, entry.formatType);
    }
    for (const auto& entry : MappedFormats::getFormatMap()) {
        if (FormatType::getFormatTypeForFormatName(entry.name) == FormatType::NotImplemented) {
            names.emplace_back(entry.name, entry.target.formatType);
        }
    }
    int calendarNames = 0;
    for (const auto& [name, type] : names) {
        if (type != FormatType::Date && type != FormatType::Time && type != FormatType::DateTime) {
            continue;
        }
        ++calendarNames;
        const auto format = calendarFormat(name + ".");
        ASSERT_TRUE(format) << name;
        EXPECT_EQ(format->isDateFormat(), type == FormatType::Date) << name;
        EXPECT_EQ(format->isTimeFormat(), type == FormatType::Time) << name;
        EXPECT_EQ(format->isDateTimeFormat(), type == FormatType::DateTime) << name;
        EXPECT_GT(format->getMaxFormattedStringLength(), 0) << name;
    }
    EXPECT_EQ(calendarNames, 34 + 152);
}

// Every family at every width: the text of a value reads back to a value with the same text,
// which is the value to the precision the pattern shows; and the text of every fallback pattern
// reads back the same way.
TEST(CalendarFormatTest, EveryFamilyAtEveryWidthReadsBackWhatItWrites) {
    std::mt19937_64 random(12);
    for (const auto& name : calendarNames()) {
        for (int width = 1; width <= 41; ++width) {
            const auto format = calendarFormat(name + std::to_string(width) + ".");
            ASSERT_TRUE(format) << name << width;
            const auto& display = *format->getDisplayFormatter();
            for (int sample = 0; sample < 40; ++sample) {
                const double value = randomValue(random, format->getValueKind(), showsFullYear(display.getPattern()));
                const auto text = format->format(value);
                const double parsed = format->parse(*text);
                ASSERT_FALSE(std::isnan(parsed)) << name << width << " \"" << *text << "\" from " << value;
                EXPECT_EQ(*format->format(parsed), *text) << name << width << " from " << value;

                for (const auto& fallback : format->getFallbackParsers()) {
                    const double other =
                        randomValue(random, format->getValueKind(), showsFullYear(fallback->getPattern()));
                    std::string otherText;
                    ASSERT_TRUE(fallback->format(other, format->getValueKind(), otherText));
                    const double fromFallback = format->parse(otherText);
                    std::string again;
                    ASSERT_TRUE(fallback->format(fromFallback, format->getValueKind(), again))
                        << name << width << " \"" << otherText << "\"";
                    EXPECT_EQ(again, otherText) << name << width << " via " << fallback->getPattern();
                }
            }
        }
    }
}

// The same in every shipped locale, at widths that reach every band of the localised families.
TEST(CalendarFormatTest, EveryLocaleReadsBackWhatItWrites) {
    std::mt19937_64 random(13);
    for (const auto& locale : ResourceManager::instance().getAvailableLocales("vek_portable_formatters")) {
        for (const auto& name : calendarNames()) {
            for (const int width : {2, 5, 7, 9, 11, 15, 17, 19, 28, 29}) {
                const auto format = calendarFormat(name + std::to_string(width) + ".", locale);
                ASSERT_TRUE(format) << name << width << " " << locale;
                const bool fullYear = showsFullYear(format->getDisplayFormatter()->getPattern());
                for (int sample = 0; sample < 3; ++sample) {
                    const auto text = format->format(randomValue(random, format->getValueKind(), fullYear));
                    const double parsed = format->parse(*text);
                    ASSERT_FALSE(std::isnan(parsed)) << locale << " " << name << width << " \"" << *text << "\"";
                    EXPECT_EQ(*format->format(parsed), *text) << locale << " " << name << width;
                }
            }
        }
    }
}

TEST(CalendarFormatTest, KnownValuesRenderAsUsersExpect) {
    struct Case {
        const char* name;
        double value;
        const char* text;
    };
    const double november14 = 23694;  // 14 November 2024, a Thursday
    const double december30 = 24105;  // 30 December 2025, in ISO week 1 of 2026
    const Case cases[] = {
        {"DATE9.", november14, "14Nov2024"},
        {"DATE9.", 0, "01Jan1960"},
        {"DATE9.", -138061, "01Jan1582"},
        {"DATETIME20.", november14 * 86400 + 75723, "Thursday, November 14, 2024 09:02:03 PM"},
        {"WEEKV.", december30, "2026-W01-02"},
        {"WEEKV9.", december30, "2026W0102"},
        {"JULIAN7.", november14, "2024319"},
        {"JULIAN5.", november14, "24319"},
        {"JULDAY.", november14, "319"},
        {"QTR.", november14, "4"},
        {"HDATE.", november14, "Thu, 13 Heshvan 5785"},
        {"HEBDATE.", 23682, "1 Heshvan 5785"},
        {"TIME8.", -3661, "-1:01:01"},
        {"TIME8.", 90061, "25:01:01"},
        {"TIME11.2", 3723.456, "1:02:03.45"},
        {"HHMM.", 90061, "25:01"},
        {"MMSS.", 3723, "62:03"},
        {"TIMEAMPM.", 90061, "01:01:01 AM"},
        {"TOD.", november14 * 86400 + 43200, "12:00:00 PM"},
        {"YYQC6.", november14, "4th quarter 2024"},
        {"MMDDYY10.", november14, "11/14/2024"},
        {"DDMMYY8.", november14, "14/11/2024"},
        {"DATE9.", TimeUtilities::LAST_DAY_NUMBER + 1.0, "*********"},
        {"DATE9.", std::nan(""), "NaN"},
    };
    for (const auto& [name, value, text] : cases) {
        const auto format = calendarFormat(name);
        ASSERT_TRUE(format) << name;
        EXPECT_EQ(*format->format(value), text) << name << " " << value;
    }
}

TEST(CalendarFormatTest, ReadsWhatUsersTypeAndRefusesWhatIsNoDate) {
    struct Case {
        const char* name;
        const char* text;
        double value;  // NaN: refused
    };
    const double november14 = 23694;
    const double nan = std::nan("");
    const Case cases[] = {
        {"DATE9.", "14 nov 2024", november14},
        {"DATE9.", "14-NOV-2024", november14},
        {"DATE9.", "  14/Nov/24 ", november14},
        {"DATE9.", "14 November 2024", november14},
        {"DATE9.", "Nov/14/2024", november14},
        {"DATE9.", "14Nov2024 extra", nan},
        {"DATE9.", "31Feb2024", nan},
        {"DATE9.", "", nan},
        {"DATE9.", "garbage", nan},
        {"MMDDYY10.", "11-14-2024", november14},
        {"MMDDYY10.", "11.14.2024", november14},
        {"MMDDYY10.", "11 14 24", november14},
        {"MMDDYY10.", "13/14/2024", nan},
        {"WEEKDATE.", "thursday, november 14, 2024", november14},
        {"WEEKV.", "2024-W46-04", november14},
        {"WEEKV.", "2024-W54-01", nan},
        {"JULIAN7.", "2024319", november14},
        {"JULIAN7.", "2024367", nan},
        {"HEBDATE.", "13 Heshvan 5785", november14},
        {"HEBDATE.", "30 Tevet 5785", nan},
        {"TIMEAMPM.", "9:02:03 pm", 75723},
        {"TIMEAMPM.", "21:02:03", 75723},
        {"TIMEAMPM.", "9:02 PM", 75720},
        {"TIMEAMPM.", "13:02:03 PM", nan},
        {"TIMEAMPM.", "25:00:00", nan},
        {"TIMEAMPM.", "10:61:00", nan},
        {"TIME8.", "-1:01:01", -3661},
        {"TIME8.", "100:00:00", 360000},
        {"DATETIME20.", "November 14, 2024 09:02:03 PM", november14 * 86400 + 75723},
        {"DATETIME20.", "11/14/24 09:02 PM", november14 * 86400 + 75720},
    };
    for (const auto& [name, text, value] : cases) {
        const auto format = calendarFormat(name);
        ASSERT_TRUE(format) << name;
        const double parsed = format->parse(std::string(text));
        if (std::isnan(value)) {
            EXPECT_TRUE(std::isnan(parsed)) << name << " \"" << text << "\" gave " << parsed;
        } else {
            EXPECT_DOUBLE_EQ(parsed, value) << name << " \"" << text << "\"";
        }
    }
}

// Texts in a pattern's exact digits take a shorter road than texts with other spacing; both must
// find the same value, and refuse the same impossible dates.
TEST(CalendarFormatTest, ExactDigitsReadAsLooselyTypedOnesDo) {
    const auto context = LocalizationContext::create("en_US");
    std::mt19937 random(7);
    const std::string separators = " \t/-.,:'";
    for (const std::string_view pattern :
         {"yyyy/MM/dd", "yyyyMMdd", "dd.MM.yyyy HH:mm:ss", "yyDDD", "yy/MM/dd", "MM-dd-yy hh:mm", "HH:mm:ss.SSS"}) {
        const auto formatter = DateFormatter::create(pattern, *context);
        const Kind kind = formatter->hasDateFields() ? Kind::DateTime : Kind::Time;
        int read = 0;
        for (int attempt = 0; attempt < 3000; ++attempt) {
            std::string text;
            for (std::size_t position = 0; position < pattern.size(); ++position) {
                const bool isLetter = std::isalpha(static_cast<unsigned char>(pattern[position])) != 0;
                // Small leading digits, so that many texts name real dates.
                const char digit = static_cast<char>('0' + random() % (attempt % 2 == 0 ? 10 : 3));
                text.push_back(isLetter ? digit : separators[random() % separators.size()]);
            }
            double exact = -1;
            double loose = -1;
            const bool readExact = formatter->parse(text, kind, exact);
            ASSERT_EQ(readExact, formatter->parse(text + " ", kind, loose)) << pattern << " \"" << text << "\"";
            if (readExact) {
                ASSERT_EQ(exact, loose) << pattern << " \"" << text << "\"";
                ++read;
            }
        }
        EXPECT_GT(read, 100) << pattern;
    }
}

TEST(CalendarFormatTest, FieldsWiderThanAnyNumberReadWithoutOverflow) {
    const auto context = LocalizationContext::create("en_US");
    const auto formatter = DateFormatter::create(std::string(29, 'm') + "ss", *context);
    std::string text;
    ASSERT_TRUE(formatter->format(125.0, Kind::ElapsedTime, text));
    EXPECT_EQ(text, std::string(28, '0') + "205");
    double parsed = 0;
    ASSERT_TRUE(formatter->parse(text, Kind::ElapsedTime, parsed));
    EXPECT_EQ(parsed, 125.0);
    EXPECT_FALSE(formatter->parse(std::string(31, '9'), Kind::ElapsedTime, parsed));
}

TEST(CalendarFormatTest, RightToLeftLocalesWrapTheTextAndReadItBack) {
    const auto format = calendarFormat("DATE9.", "ar_SA");
    ASSERT_TRUE(format);
    const auto text = format->format(23694.0);
    EXPECT_TRUE(text->starts_with(rightToLeftEmbedding) && text->ends_with(popDirectionalFormatting)) << *text;
    EXPECT_EQ(format->parse(*text), 23694.0);
}

TEST(CalendarFormatTest, ZoneAbbreviationFollowsTheContextsZoneAtThatTime) {
    auto context = LocalizationContext::create("en_US");
    ASSERT_TRUE(context->setTimeZoneId("America/New_York"));
    const auto formatter = DateFormatter::create("yyyy-MM-dd HH:mm zzz", *context);
    const double january = TimeUtilities::mdy(1, 15, 2024) * 86400 + 43200;
    const double july = TimeUtilities::mdy(7, 15, 2024) * 86400 + 43200;
    std::string text;
    ASSERT_TRUE(formatter->format(january, Kind::DateTime, text));
    EXPECT_EQ(text, "2024-01-15 12:00 EST");
    text.clear();
    ASSERT_TRUE(formatter->format(july, Kind::DateTime, text));
    EXPECT_EQ(text, "2024-07-15 12:00 EDT");
    double parsed = 0;
    ASSERT_TRUE(formatter->parse(text, Kind::DateTime, parsed));
    EXPECT_EQ(parsed, july);
}

TEST(CalendarFormatTest, MaximumLengthCoversTheLongestNames) {
    const auto context = LocalizationContext::create("en_US");
    EXPECT_EQ(VekFormat::getMaxFormattedStringLength(StringUtilities::internString("ddMMMyyyy"), context), 9);
    // "Wednesday, September 30, 2024"
    EXPECT_EQ(VekFormat::getMaxFormattedStringLength(StringUtilities::internString("EEEE, MMMM d, yyyy"), context), 29);
    EXPECT_EQ(VekFormat::getMaxFormattedStringLength(nullptr, context), 0);
    EXPECT_EQ(calendarFormat("DATETIME20.")->getMaxFormattedStringLength(), 41);
}

TEST(CalendarFormatTest, PeriodsFollowTheUnitsThePatternShows) {
    EXPECT_EQ(calendarFormat("DATE9.")->getDateTimeIncrementPeriod(), 86400.0);
    EXPECT_EQ(calendarFormat("DATE9.")->getDateTimeCyclePeriod(), 0.0);
    EXPECT_EQ(calendarFormat("DOWNAME.")->getDateTimeCyclePeriod(), 7 * 86400.0);
    EXPECT_EQ(calendarFormat("TIMEAMPM5.")->getDateTimeIncrementPeriod(), 60.0);
    EXPECT_EQ(calendarFormat("TIMEAMPM5.")->getDateTimeCyclePeriod(), 86400.0);
}

}  // namespace
}  // namespace pellium
