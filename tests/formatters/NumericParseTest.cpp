#include <charconv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {
namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::shared_ptr<Formatter> formatterFor(const char* locale, const std::string& format) {
    return FormatterFactory::instance()->getFormatter(LocalizationContext::create(locale), format);
}

TEST(NumericParseTest, ReadsOwnTextsAndPlainNumbers) {
    struct Case {
        const char* locale;
        const char* format;
        std::string text;
        double expected;
    };
    for (const auto& [locale, format, text, expected] : {
             Case{"en_US", "DOLLAR12.2", "$1,234.56", 1234.56},
             Case{"en_US", "DOLLAR12.2", "  -$1,234.56  ", -1234.56},
             Case{"en_US", "DOLLAR12.2", "1234.56", 1234.56},
             Case{"en_US", "DOLLAR12.2", "USD 5", 5},
             Case{"en_US", "PERCENT8.1", "(12.3%)", -0.123},
             Case{"en_US", "PERCENT8.1", "12.3%", 0.123},
             Case{"en_US", "PERCENT8.1", "0.5", 0.5},
             Case{"en_US", "CBF8.1", "1.2K", 1200},
             Case{"en_US", "CBDOLLAR8.1", "-$3.4M", -3.4e6},
             Case{"en_US", "CBF8.1", "5.6B", 5.6e9},
             Case{"en_US", "CBF8.1", "7.8T", 7.8e12},
             Case{"de_DE", "COMMA12.2", "1.234,56", 1234.56},
             Case{"de_DE", "COMMA12.2", "1234,56", 1234.56},
             Case{"de_DE", "COMMA12.2", "1.5", 1.5},
             Case{"de_DE", "CURRENCY12.2", "1.234,56\u00A0\u20AC", 1234.56},
             Case{"fr_FR", "COMMA12.2", "1 234,5", 1234.5},
             Case{"fr_FR", "COMMA12.2", "1\u202F234,5", 1234.5},
             Case{"de_CH", "COMMA12.2", "1'234.5", 1234.5},
             Case{"en_IN", "COMMA14.2", "12,34,567.00", 1234567},
             Case{"en_US", "BEST6.", "1.23E6", 1.23e6},
             Case{"en_US", "BEST6.", "1.2E-4", 1.2e-4},
             Case{"en_US", "BEST6.", ".5", 0.5},
             Case{"en_US", "E10.", " 1.235E+06", 1.235e6},
             Case{"en_US", "PVALUE6.4", "<.0001", 0.0001},
             Case{"en_US", "SIZEKMG9.2", "1.50KB", 1536},
             Case{"en_US", "SIZEKMG9.2", "512B", 512},
             Case{"en_US", "NLSTRMON.", "  march", 3},
             Case{"en_US", "NLSTRMON.", "Mar", 3},
             Case{"en_US", "NLSTRWK.", "Saturday", 7},
             Case{"en_US", "NLSTRQTR.", "Q2", 2},
             Case{"en_US", "NLSTRQTR.", "3", 3},
             Case{"de_DE", "NLSTRMON.", "M\u00E4rz", 3},
             Case{"ar_SA", "BEST12.", "\u202B   \u200E-1.5\u202C", -1.5},
             Case{"en_US", "BEST12.", "\u221E", std::numeric_limits<double>::infinity()},
             Case{"en_US", "F8.2", "-1.5e3", -1500},
         }) {
        EXPECT_DOUBLE_EQ(formatterFor(locale, format)->parse(text), expected) << locale << " " << format << " " << text;
    }
}

TEST(NumericParseTest, AnswersNaNForAnythingElse) {
    struct Case {
        const char* locale;
        const char* format;
        std::string text;
    };
    for (const auto& [locale, format, text] : {
             Case{"en_US", "DOLLAR12.2", ""},
             Case{"en_US", "DOLLAR12.2", "   "},
             Case{"en_US", "DOLLAR12.2", "$"},
             Case{"en_US", "DOLLAR12.2", "$1,23.4"},
             Case{"en_US", "DOLLAR12.2", "1,2345"},
             Case{"en_US", "COMMA12.2", "1234,567"},
             Case{"en_IN", "COMMA12.2", "123,456"},
             Case{"en_US", "COMMA12.2", "1,234,"},
             Case{"en_US", "DOLLAR12.2", "1.2.3"},
             Case{"en_US", "DOLLAR12.2", "--1"},
             Case{"en_US", "DOLLAR12.2", "0x10"},
             Case{"en_US", "DOLLAR12.2", "12abc"},
             Case{"en_US", "DOLLAR12.2", "************"},
             Case{"en_US", "PERCENT8.1", "(12.3%"},
             Case{"en_US", "PERCENT8.1", "%%"},
             Case{"en_US", "CBF8.1", "1.2KK"},
             Case{"en_US", "BEST12.", "1E"},
             Case{"en_US", "BEST12.", "NaN"},
             Case{"en_US", "NLSTRMON.", "13"},
             Case{"en_US", "NLSTRMON.", "Marchy"},
             Case{"en_US", "NLSTRWK.", "T"},
             Case{"en_US", "F8.2", std::string(100000, '9')},
         }) {
        EXPECT_TRUE(std::isnan(formatterFor(locale, format)->parse(text)))
            << format << " [" << text.substr(0, 20) << "]";
    }
    EXPECT_TRUE(std::isnan(formatterFor("en_US", "F8.2")->parse(SharedString())));
}

// Whatever a formatter writes reads back to a value it writes the same way. BEST chooses its
// layout by the digits of the value, so the value it reads back (fewer digits) may take another
// layout; it must still read back to itself. "<.0001" names a bound, not the value.
TEST(NumericParseTest, EveryTextReadsBackToAValueWrittenTheSameWay) {
    const char* locales[] = {"en_US", "de_DE", "fr_FR", "de_CH", "en_IN", "ar_SA", "he_IL", "fa_IR", "sv_SE", "tr_TR"};
    const char* formats[] = {"BEST12.",   "BEST5.",       "F10.3",        "Z10.2",        "COMMA14.2",  "DOLLAR12.2",
                             "EURO9.1",   "CURRENCY14.2", "NLMNLEUR14.2", "NLMNIUSD16.2", "PERCENT9.2", "E11.",
                             "PVALUE7.4", "CBDOLLAR9.1",  "CBBEST8.",     "SIZEKMG10.2",  "NLSTRMON.",  "NLSTRWK."};
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> exponent(-8, 16);
    std::uniform_int_distribution<int> sign(0, 1);
    for (const auto* locale : locales) {
        for (const auto* format : formats) {
            const auto formatter = formatterFor(locale, format);
            for (int round = 0; round < 200; ++round) {
                double value = std::pow(10.0, exponent(random)) * (sign(random) ? -1 : 1);
                if (std::string_view(format).starts_with("NLSTR")) {
                    value = 1 + round % 7;
                }
                const auto text = formatter->format(value);
                if (text->find('*') != std::string::npos) {
                    continue;
                }
                const double read = formatter->parse(*text);
                ASSERT_FALSE(std::isnan(read)) << locale << " " << format << " [" << *text << "]";
                if (std::string_view(format).find("BEST") != std::string_view::npos) {
                    EXPECT_EQ(formatter->parse(*formatter->format(read)), read)
                        << locale << " " << format << " " << *text;
                } else if (text->find('<') == std::string::npos) {
                    EXPECT_EQ(*formatter->format(read), *text) << locale << " " << format << " of " << value;
                }
            }
        }
    }
}

// Rounding to d decimals done on the shortest decimal text, digit by digit, as on paper.
std::string roundOnPaper(double value, int decimals) {
    char buffer[400];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value), std::chars_format::fixed).ptr;
    std::string text(buffer, end);
    if (text.find('.') == std::string::npos) {
        text += '.';
    }
    text.append(static_cast<std::size_t>(decimals + 1), '0');
    const std::size_t point = text.find('.');
    const bool roundUp = text[point + static_cast<std::size_t>(decimals) + 1] >= '5';
    text.resize(point + static_cast<std::size_t>(decimals) + 1);
    for (std::size_t index = text.size(); roundUp && index-- > 0;) {
        if (text[index] == '.') {
            continue;
        }
        if (text[index] == '9') {
            text[index] = '0';
            if (index == 0) {
                text = "1" + text;
            }
            continue;
        }
        ++text[index];
        break;
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    const bool zero = text.find_first_not_of("0.") == std::string::npos;
    return (value < 0 && !zero ? "-" : "") + text;
}

TEST(NumericParseTest, FixedRoundingMatchesRoundingOnPaper) {
    std::mt19937_64 random(99);
    std::uniform_int_distribution<int> digits(1, 999999);
    std::uniform_int_distribution<int> scale(0, 7);
    std::uniform_int_distribution<int> places(0, 5);
    for (int round = 0; round < 20000; ++round) {
        // Short decimals such as 2.675 or 0.145, whose doubles lie just below or above the tie.
        const double value = digits(random) / std::pow(10.0, scale(random)) * (round % 2 ? -1 : 1);
        const int decimals = places(random);
        const auto text = formatterFor("en_US", "F32." + std::to_string(decimals))->format(value);
        EXPECT_EQ(std::string(StringUtilities::trim(*text)), roundOnPaper(value, decimals)) << value << " " << decimals;
    }
}

}  // namespace
}  // namespace pellium
