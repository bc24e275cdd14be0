#include <gtest/gtest.h>
#include <random>
#include <string>
#include <unicode/dcfmtsym.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/ucurr.h>
#include <unicode/unistr.h>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/NumericSymbols.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/util/StringUtilities.h"

// ICU 72 carries CLDR 42, the release the locale bundles are generated from, so every shipped
// locale must agree with it. The library writes European digits everywhere, so ICU is asked for
// the Latin numbering system.
namespace pellium {
namespace {

std::string toUtf8(const icu::UnicodeString& text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

icu::Locale icuLocale(const std::string& locale) {
    return icu::Locale((locale + "@numbers=latn").c_str());
}

std::vector<std::string> shippedLocales() {
    auto locales = ResourceManager::instance().getAvailableLocales("vek_portable_formatters");
    EXPECT_GE(locales.size(), 30U);
    return locales;
}

bool hasRegion(const std::string& locale) {
    return locale.find('_') != std::string::npos;
}

TEST(NumericSymbolsIcuTest, SeparatorsOfEveryShippedLocaleAgreeWithIcu) {
    for (const auto& locale : shippedLocales()) {
        UErrorCode status = U_ZERO_ERROR;
        const icu::DecimalFormatSymbols icu(icuLocale(locale), status);
        ASSERT_TRUE(U_SUCCESS(status)) << locale;
        const auto symbols = NumericSymbols::forFormatLocale(*LocalizationContext::create(locale));
        EXPECT_EQ(symbols.decimalSeparator.text,
                  toUtf8(icu.getSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol)))
            << locale;
        EXPECT_EQ(symbols.groupingSeparator.text,
                  toUtf8(icu.getSymbol(icu::DecimalFormatSymbols::kGroupingSeparatorSymbol)))
            << locale;
        EXPECT_EQ(symbols.percentSign.text, toUtf8(icu.getSymbol(icu::DecimalFormatSymbols::kPercentSymbol))) << locale;
        EXPECT_EQ(symbols.minusSign.text, toUtf8(icu.getSymbol(icu::DecimalFormatSymbols::kMinusSignSymbol))) << locale;
    }
}

TEST(NumericSymbolsIcuTest, CurrencyOfEveryShippedRegionAgreesWithIcu) {
    int regions = 0;
    for (const auto& locale : shippedLocales()) {
        if (!hasRegion(locale) || locale == "en_US") {
            continue;
        }
        ++regions;
        const auto context = LocalizationContext::create(locale);
        const auto code = NumericSymbols::currencyCodeOf(*context);
        UErrorCode status = U_ZERO_ERROR;
        UChar icuCode[4] = {};
        ucurr_forLocale(locale.c_str(), icuCode, 4, &status);
        ASSERT_TRUE(U_SUCCESS(status)) << locale;
        EXPECT_EQ(code, toUtf8(icu::UnicodeString(icuCode, 3))) << locale;

        UBool isChoiceFormat = false;
        int32_t length = 0;
        const UChar* name =
            ucurr_getName(icuCode, locale.c_str(), UCURR_SYMBOL_NAME, &isChoiceFormat, &length, &status);
        ASSERT_TRUE(U_SUCCESS(status)) << locale;
        EXPECT_EQ(NumericSymbols::currencySymbolOf(*context, code, true), toUtf8(icu::UnicodeString(name, length)))
            << locale;
    }
    EXPECT_GE(regions, 30);
}

// Grouping (by three, by two in India, not at all for four digits in Spanish) and rounding half
// away from zero on the shortest digits, written by COMMA and by ICU for random values.
TEST(NumericSymbolsIcuTest, CommaWritesWhatIcuWritesForRandomValues) {
    std::mt19937_64 random(20240601);
    std::uniform_real_distribution<double> exponent(-3, 12);
    std::uniform_int_distribution<int> decimals(0, 3);
    for (const auto& locale : shippedLocales()) {
        for (int round = 0; round < 40; ++round) {
            const double value = std::floor(std::pow(10.0, exponent(random)) * 1000) / 1000;
            const int places = decimals(random);
            UErrorCode status = U_ZERO_ERROR;
            const auto icuText = icu::number::NumberFormatter::withLocale(icuLocale(locale))
                                     .precision(icu::number::Precision::fixedFraction(places))
                                     .roundingMode(UNUM_ROUND_HALFUP)
                                     .formatDouble(value, status)
                                     .toString(status);
            ASSERT_TRUE(U_SUCCESS(status));
            const auto name = "COMMA32." + std::to_string(places);
            const auto text =
                FormatterFactory::instance()->getFormatter(LocalizationContext::create(locale), name)->format(value);
            EXPECT_EQ(StringUtilities::removeBidiControls(StringUtilities::trim(*Formatter::unfinalizeString(text))),
                      StringUtilities::removeBidiControls(toUtf8(icuText)))
                << locale << " " << name << " of " << value;
        }
    }
}

}  // namespace
}  // namespace pellium
