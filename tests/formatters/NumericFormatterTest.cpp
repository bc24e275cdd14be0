#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double denormal = std::numeric_limits<double>::denorm_min();
// The sentinels data values use for their special states; formatters see them only by mistake,
// but must still write something sensible.
const double matchesAll = DBL_MAX;
const double suppressed = std::nextafter(DBL_MAX, 0.0);
const double allOthers = DBL_MIN;
const double sparse = -DBL_MAX;

const std::string nbsp = "\u00A0";
const std::string narrowNbsp = "\u202F";
const std::string lrm = "\u200E";
const std::string rlm = "\u200F";
const std::string rle = "\u202B";
const std::string pdf = "\u202C";

struct Case {
    const char* locale;
    const char* format;
    double value;
    std::string expected;  // right-aligned in the width, as written
};

std::shared_ptr<Formatter> formatterFor(const char* locale, const char* format) {
    return FormatterFactory::instance()->getFormatter(LocalizationContext::create(locale), format);
}

void expectCases(const std::vector<Case>& cases) {
    for (const auto& [locale, format, value, expected] : cases) {
        const auto formatter = formatterFor(locale, format);
        ASSERT_TRUE(formatter) << format;
        const auto text = formatter->format(value);
        ASSERT_TRUE(text) << format;
        EXPECT_EQ(*text, expected) << locale << " " << format << " of " << value;
    }
}

TEST(NumericFormatterTest, BestWritesTheMostPreciseTextThatFits) {
    expectCases({
        {"en_US", "BEST12.", 1.0 / 3, "0.3333333333"},
        {"en_US", "BEST6.", 1234567, "1.23E6"},
        {"en_US", "BEST12.", 1234567, "     1234567"},
        {"en_US", "BEST12.", 123456789012, "123456789012"},
        {"en_US", "BEST12.", 1234567890123, "1.2345679E12"},
        {"en_US", "BEST12.", -1234567890123, "-1.234568E12"},
        {"en_US", "BEST12.", 0.1 + 0.2, "         0.3"},
        {"en_US", "BEST12.", 2.675, "       2.675"},
        {"en_US", "BEST4.", 2.675, "2.68"},
        {"en_US", "BEST4.", 1.005, "1.01"},
        {"en_US", "BEST4.", 9.9999, "  10"},
        {"en_US", "BEST5.", -9.9999, "  -10"},
        {"en_US", "BEST12.", 1e-11, "       1E-11"},
        {"en_US", "BEST6.", 0.00001, "  1E-5"},
        {"en_US", "BEST12.", 0.00001, "     0.00001"},
        {"en_US", "BEST6.", 0.000123456, "1.2E-4"},
        {"en_US", "BEST2.", 0.5, ".5"},
        {"en_US", "BEST3.", 0.04, ".04"},
        {"en_US", "BEST1.", 5, "5"},
        {"en_US", "BEST1.", 12, "*"},
        {"en_US", "BEST2.", 1234567, "**"},
        {"en_US", "BEST.", 1.0 / 3, "0.3333333333"},
        {"en_US", "BEST12.", -0.0, "           0"},
        {"en_US", "BEST12.", 0, "           0"},
        {"en_US", "BEST6.", -1234.5, " -1235"},
        {"en_US", "BEST12.", notANumber, "         NaN"},
        {"en_US", "BEST12.", infinity, "           \u221E"},
        {"en_US", "BEST12.", -infinity, "          -\u221E"},
        {"en_US", "BEST12.", matchesAll, "1.797693E308"},
        {"en_US", "BEST12.", suppressed, "1.797693E308"},
        {"en_US", "BEST12.", sparse, "-1.79769E308"},
        {"en_US", "BEST12.", allOthers, "2.22507E-308"},
        {"en_US", "BEST12.", denormal, "      5E-324"},
        {"en_US", "BEST32.", 0.1, "                             0.1"},
        {"de_DE", "BEST12.", 1234.5, "      1234,5"},
        {"de_DE", "BEST6.", 1234567, "1,23E6"},
        {"en_US", "BESTD12.", 1.0 / 3, "0.3333333333"},
        {"en_US", "NLBEST6.", 1234567, "1.23E6"},
        {"en_US", "D8.", 2.5, "     2.5"},
        {"ar_SA", "BEST6.", -1.5, rle + "  " + lrm + "-1.5" + pdf},
    });
}

TEST(NumericFormatterTest, FixedDecimalsRoundHalfAwayFromZeroOnTheDigitsUsersSee) {
    expectCases({
        {"en_US", "F8.2", 2.675, "    2.68"},
        {"en_US", "F8.2", 1.005, "    1.01"},
        {"en_US", "F8.2", -1.005, "   -1.01"},
        {"en_US", "F8.2", 0.145, "    0.15"},
        {"en_US", "F8.2", -0.001, "    0.00"},
        {"en_US", "F8.2", -0.0, "    0.00"},
        {"en_US", "F3.", 2.5, "  3"},
        {"en_US", "F3.", -2.5, " -3"},
        {"en_US", "F3.", 0.5, "  1"},
        {"en_US", "F3.", 1.5, "  2"},
        {"en_US", "F3.", 0.49999999999999994, "  0"},
        {"en_US", "F8.2", 999.995, " 1000.00"},
        {"en_US", "F12.", 1234.5, "        1235"},
        {"en_US", "F", 2.5, "           3"},
        {"en_US", "F8.123456", 1.5, "1.500000"},
        {"en_US", "F5.2", 1234.5, " 1235"},
        {"en_US", "F6.2", 1234.5, "1234.5"},
        {"en_US", "F4.2", 123456, " 1E5"},
        {"en_US", "F5.", 123456, "1.2E5"},
        {"en_US", "F2.", 123456, "**"},
        {"en_US", "F8.2", notANumber, "     NaN"},
        {"en_US", "F2.", -infinity, "-\u221E"},
        {"en_US", "F1.", -infinity, "*"},
        {"en_US", "F8.2", allOthers, "    0.00"},
        {"en_US", "F8.2", denormal, "    0.00"},
        {"en_US", "F12.2", matchesAll, "1.797693E308"},
        {"de_DE", "F8.2", 1234.5, " 1234,50"},
        {"en_US", "NUMX8.2", 1234.5, " 1234.50"},
        {"en_US", "Z8.2", -1.5, "-0001.50"},
        {"en_US", "Z5.", 42, "00042"},
        {"en_US", "Z3.", -0.4, "000"},
        {"en_US", "Z3.", 12345, "1E4"},
        {"en_US", "Z", 7, "7"},
    });
}

TEST(NumericFormatterTest, CommaGroupsAsTheLocaleDoes) {
    expectCases({
        {"en_US", "COMMA12.2", 1234567.891, "1,234,567.89"},
        {"en_US", "COMMA10.2", 1234567.891, "1234567.89"},
        {"en_US", "COMMA6.", -1234, "-1,234"},
        {"en_US", "COMMA6.", 999.5, " 1,000"},
        {"en_US", "COMMA", 123, "   123"},
        {"en_US", "COMMA12.2", sparse, "-1.79769E308"},
        {"en_US", "COMMA6.", matchesAll, " 2E308"},
        {"es_ES", "COMMA10.", 1234, "      1234"},
        {"es_ES", "COMMA10.", 12345, "    12.345"},
        {"en_IN", "COMMA14.2", 1234567, "  12,34,567.00"},
        {"hi_IN", "COMMA14.", 123456789, "  12,34,56,789"},
        {"de_CH", "COMMA12.2", 1234567.5, "1\u2019234\u2019567.50"},
        {"fr_FR", "COMMA12.", 1234567, "   1" + narrowNbsp + "234" + narrowNbsp + "567"},
        {"sv_SE", "COMMA10.", -1234567, "\u22121" + nbsp + "234" + nbsp + "567"},
        {"de_DE", "COMMA13.2", -1234567.5, "-1.234.567,50"},
        {"de_DE", "COMMA12.2", -1234567.5, " -1234567,50"},
        {"en_US", "COMMAX10.2", 1234.5, "  1,234.50"},
        {"en_US", "NEGPAREN10.2", -1234.5, " -1,234.50"},
    });
}

TEST(NumericFormatterTest, CurrenciesGiveUpGroupingThenTheirSymbolThenDecimals) {
    expectCases({
        {"en_US", "DOLLAR12.2", 1234.5, "   $1,234.50"},
        {"en_US", "DOLLAR12.2", -1234.5, "  -$1,234.50"},
        {"en_US", "DOLLAR9.2", 1234.5, "$1,234.50"},
        {"en_US", "DOLLAR8.2", 1234.5, "$1234.50"},
        {"en_US", "DOLLAR7.2", 1234.5, "1234.50"},
        {"en_US", "DOLLAR6.2", 1234.5, "1234.5"},
        {"en_US", "DOLLAR4.2", 1234.5, "1235"},
        {"en_US", "DOLLAR3.2", 1234.5, "1E3"},
        {"en_US", "DOLLAR2.2", 1234.5, "**"},
        {"en_US", "DOLLAR6.", 1234.5, "$1,235"},
        {"en_US", "DOLLAR", 1234.5, "$1,235"},
        {"en_US", "DOLLAR12.2", 2.675, "       $2.68"},
        {"en_US", "DOLLAR12.2", -0.004, "       $0.00"},
        {"en_US", "DOLLAR12.2", matchesAll, "1.797693E308"},
        {"en_US", "DOLLAR12.2", notANumber, "         NaN"},
        {"en_US", "DOLLARX12.2", 1234.5, "   $1,234.50"},
        {"de_DE", "DOLLAR12.2", 1234.5, "   $1.234,50"},
        {"en_US", "EURO10.2", 1234.5, " \u20AC1,234.50"},
        {"en_US", "POUND10.2", -1234.5, "-\u00A31,234.50"},
        {"en_US", "YEN8.", 1234.5, "  \u00A51,235"},
        {"en_US", "WON8.", 1234.5, "  \u20A91,235"},
        {"en_US", "CURRENCY12.2", 1234.5, "   $1,234.50"},
        {"en_US", "CURRENCY_de_DE12.2", 1234.5, "  1.234,50" + nbsp + "\u20AC"},
        {"en_US", "CURRENCY_de_DE12.2", -1234.5, " -1.234,50" + nbsp + "\u20AC"},
        {"en_US", "CURRENCY_de_DE9.2", 1234.5, "1234,50" + nbsp + "\u20AC"},
        {"en_US", "CURRENCY_de_DE8.2", 1234.5, " 1234,50"},
        {"de_DE", "CURRENCY12.2", 1234.5, "  1.234,50" + nbsp + "\u20AC"},
        {"ja_JP", "CURRENCY10.", 1234.5, "    \uFFE51,235"},
        {"en_US", "CURRENCY_ja_JP10.", 1234.5, "    \uFFE51,235"},
        {"en_US", "CURRENCY_de_CH14.2", 1234.5, "  CHF" + nbsp + "1\u2019234.50"},
        {"en_US", "CURRENCY_ar_SA14.2", 1234.5, " " + rlm + "1,234.50" + nbsp + "\u0631.\u0633." + rlm},
        {"fr", "CURRENCY12.2", 1234.5, "  1" + narrowNbsp + "234,50" + nbsp + "\u00A4"},
        {"en_US", "NLMNLUSD12.2", 1234.5, "   $1,234.50"},
        {"de_DE", "NLMNLEUR12.2", 1234.5, "  1.234,50" + nbsp + "\u20AC"},
        {"en_US", "NLMNLJPY12.", 1234.5, "      \u00A51,235"},
        {"en_US", "NLMNLBHD14.", 1.2345,
         "      \u062F.\u0628"
         "1.235"},
        {"en_US", "NLMNLGBP12.2", 1234.5, "   \u00A31,234.50"},
        {"en_US", "NLMNIUSD14.2", 1234.5, "  USD" + nbsp + "1,234.50"},
        {"en_US", "NLMNIUSD14.2", -1234.5, " -USD" + nbsp + "1,234.50"},
        {"de_DE", "NLMNIEUR14.2", 1234.5, "  1.234,50" + nbsp + "EUR"},
        {"en_US", "NLMNLK12.2", 1234.5, "   $1,234.50"},
    });
}

TEST(NumericFormatterTest, PercentMultipliesByAHundredAndParenthesizesNegatives) {
    expectCases({
        {"en_US", "PERCENT8.1", 0.1234, "   12.3%"},
        {"en_US", "PERCENT8.1", -0.1234, " (12.3%)"},
        {"en_US", "PERCENT6.", 0.5, "   50%"},
        {"en_US", "PERCENT8.2", 0.145, "  14.50%"},
        {"en_US", "PERCENT8.1", 0.0005, "    0.1%"},
        {"en_US", "PERCENT8.1", -0.0004, "    0.0%"},
        {"en_US", "PERCENT6.", 12.345, "1,235%"},
        {"en_US", "PERCENT5.", 12.345, "1235%"},
        {"en_US", "PERCENT4.", 12.345, "1E3%"},
        {"en_US", "PERCENT", 0.25, "   25%"},
        {"en_US", "PERCENT8.", sparse, "(2E310%)"},
        {"en_US", "PERCENT8.", -infinity, "     (\u221E)"},
        {"de_DE", "PERCENT8.1", 0.1234, "  12,3" + nbsp + "%"},
        {"tr_TR", "PERCENT8.1", 0.1234, "   %12,3"},
        {"en_US", "NLPCT8.1", 0.1234, "   12.3%"},
    });
}

TEST(NumericFormatterTest, ExponentialKeepsAPlaceForTheSign) {
    expectCases({
        {"en_US", "E10.", 1234567, " 1.235E+06"},
        {"en_US", "E10.", -1234567, "-1.235E+06"},
        {"en_US", "E10.", 0, " 0.000E+00"},
        {"en_US", "E10.", -0.0, " 0.000E+00"},
        {"en_US", "E10.", 2.675, " 2.675E+00"},
        {"en_US", "E10.", 9.9996, " 1.000E+01"},
        {"en_US", "E10.", 1e-300, "1.000E-300"},
        {"en_US", "E10.", -1e-300, "-1.00E-300"},
        {"en_US", "E10.", denormal, "5.000E-324"},
        {"en_US", "E10.", sparse, "-1.80E+308"},
        {"en_US", "E7.", 1234567, "  1E+06"},
        {"en_US", "E12.2", 1234567, "    1.23E+06"},
        {"en_US", "E", 1234567, " 1.23457E+06"},
        {"en_US", "E10.", notANumber, "       NaN"},
        {"de_DE", "E10.", 1234567, " 1,235E+06"},
    });
}

TEST(NumericFormatterTest, PvalueShowsTheSmallestItCanForTinyProbabilities) {
    expectCases({
        {"en_US", "PVALUE6.4", 0.00001, "<.0001"},
        {"en_US", "PVALUE6.4", 0, "<.0001"},
        {"en_US", "PVALUE6.4", -0.0, "<.0001"},
        {"en_US", "PVALUE6.4", 0.00005, "<.0001"},
        {"en_US", "PVALUE6.4", 0.0001, "0.0001"},
        {"en_US", "PVALUE6.4", 0.0123, "0.0123"},
        {"en_US", "PVALUE6.4", 0.5, "0.5000"},
        {"en_US", "PVALUE6.4", -0.5, "-0.500"},
        {"en_US", "PVALUE5.2", 0.001, " <.01"},
        {"en_US", "PVALUE", 0.03, "0.0300"},
        {"en_US", "PVALUE6.4", allOthers, "<.0001"},
        {"en_US", "NILPVALUE6.4", 0.00001, "<.0001"},
        {"en_US", "NLPVALUE6.4", 0.00001, "<.0001"},
        {"de_DE", "PVALUE6.4", 0.00001, "<,0001"},
    });
}

TEST(NumericFormatterTest, CompactAbbreviatesMagnitudes) {
    expectCases({
        {"en_US", "CBDOLLAR8.1", 1234567, "   $1.2M"},
        {"en_US", "CBBEST8.", 1234, "  1.234K"},
        {"en_US", "CBCOMMA8.1", 1200, "    1.2K"},
        {"en_US", "CBF8.1", 5.6e9, "    5.6B"},
        {"en_US", "CBF8.1", 7.8e12, "    7.8T"},
        {"en_US", "CBF8.1", 1.234e15, "   1234T"},
        {"en_US", "CBF8.1", 999960, "      1M"},
        {"en_US", "CBF8.1", 999.96, "      1K"},
        {"en_US", "CBF8.1", -1250, "   -1.3K"},
        {"en_US", "CBF8.1", 3000, "      3K"},
        {"en_US", "CBF8.1", 0.25, "     0.3"},
        {"en_US", "CBF8.1", -0.0, "       0"},
        {"en_US", "CBEURO8.1", 1234567, "   \u20AC1.2M"},
        {"en_US", "CBDOLLAR4.1", 1234567, "1.2M"},
        {"en_US", "CBDOLLAR3.1", 1234567, " 1M"},
        {"en_US", "CBF8.1", matchesAll, " 1.8E308"},
        {"de_DE", "CBNLMNLEUR8.1", 1234567, "  1,2M" + nbsp + "\u20AC"},
        {"de_DE", "CBCURRENCY8.1", 1234567, "  1,2M" + nbsp + "\u20AC"},
    });
}

TEST(NumericFormatterTest, SizesUseBinaryUnits) {
    expectCases({
        {"en_US", "SIZEKMG9.2", 512, "     512B"},
        {"en_US", "SIZEKMG9.2", 1536, "   1.50KB"},
        {"en_US", "SIZEKMG9.2", 1048576, "   1.00MB"},
        {"en_US", "SIZEKMG9.2", 3.0 * 1073741824, "   3.00GB"},
        {"en_US", "SIZEKMG9.2", 1023.999 * 1024, "   1.00MB"},
        {"en_US", "SIZEKMG9.2", -1536, "  -1.50KB"},
        {"en_US", "SIZEKMG9.2", std::ldexp(1.0, 70), "1024.00EB"},
        {"en_US", "SIZEKMG.", 1.5, "       2B"},
        {"en_US", "SIZEKMG9.", 1536, "      2KB"},
        {"de_DE", "SIZEKMG9.1", 1536, "    1,5KB"},
    });
}

TEST(NumericFormatterTest, LookupFormatsNameMonthsQuartersAndWeekdays) {
    expectCases({
        {"en_US", "NLSTRMON.", 1, "  January"},
        {"en_US", "NLSTRMON3.", 2, "Feb"},
        {"en_US", "NLSTRMON1.", 5, "M"},
        {"en_US", "NLSTRMON.", 13, "*********"},
        {"en_US", "NLSTRMON.", 2.5, "*********"},
        {"en_US", "NLSTRMON.", notANumber, "*********"},
        {"en_US", "NLSTRWK.", 1, "   Sunday"},
        {"en_US", "NLSTRWK3.", 7, "Sat"},
        {"en_US", "NLSTRQTR.", 4, "4th quarter"},
        {"en_US", "NLSTRQTR2.", 4, "Q4"},
        {"de_DE", "NLSTRMON.", 3, "     M\u00E4rz"},
        {"de_DE", "NLSTRMON3.", 3, "M\u00E4r"},
        {"ar_SA", "NLSTRMON6.", 1, rle + " \u064A\u0646\u0627\u064A\u0631" + pdf},
    });
}

TEST(NumericFormatterTest, WidthsAreClampedToEachFamilysRange) {
    struct WidthCase {
        const char* format;
        int width;
        int decimals;
    };
    for (const auto& [format, width, decimals] : {
             WidthCase{"F500.2", 32, 2},
             WidthCase{"BEST", 12, 0},
             WidthCase{"DOLLAR1.", 2, 0},
             WidthCase{"E3.", 7, -1},
             WidthCase{"PERCENT.", 6, 0},
             WidthCase{"PVALUE", 6, 4},
             WidthCase{"F8.123456", 8, 10},
             WidthCase{"NLMNLJPY", 12, 0},
             WidthCase{"NLMNLBHD", 12, 3},
             WidthCase{"CURRENCY_de_DE", 12, 2},
             WidthCase{"CBDOLLAR", 8, 1},
             WidthCase{"SIZEKMG", 9, 0},
             WidthCase{"NLSTRMON", 9, -1},
             WidthCase{"Z", 1, 0},
         }) {
        const auto formatter = formatterFor("en_US", format);
        EXPECT_EQ(formatter->getWidth(), width) << format;
        EXPECT_EQ(formatter->getDecimalWidth(), decimals) << format;
        EXPECT_TRUE(formatter->isNumericFormat()) << format;
    }
}

}  // namespace
}  // namespace pellium
