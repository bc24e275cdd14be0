// Checks the bundles compiled into the library: the en_US texts other parts of the library rely
// on, the completeness of the expression words and currency tables, and the translations.

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/localization/PropertiesReader.h"
#include "pellium/resources/localization/ResourceBundle.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/rules/expressions/ExpressionKeywords.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {
namespace {

std::shared_ptr<const ResourceBundle> compiled(const char* bundleName, const char* locale) {
    return ResourceBundle::createFromCompiledAssets(bundleName, locale);
}

struct QuotedText {
    const char* bundle;
    const char* key;
    const char* text;
};

// Every en_US text that callers elsewhere in the library quote by key, exactly, save those checked
// where they are shown: by ResourceManagerTest, the data set's validation messages (DataSetTest),
// the CSV reader's (CSVDataSetReaderTest) and the patterns of the calendar formats (CalendarFormatTest).
// Keys no code reads (the hierarchy, frequency and deprecation messages, which are logged as the code
// writes them) are left out.
const QuotedText QUOTED_EN_US_TEXTS[] = {
    {"vek_pellium", "DATASET_ZERO_COLUMNS.txt", "Null or 0-length column list"},
    {"vek_pellium", "DATASET_EXTREME_EPSILON.txt", "Extreme epsilon value: {0}, typically in range [0,0.1]"},
    {"vek_portable_formatters", "weekdate.1", "cccc"},
    {"vek_portable_formatters", "worddate.0", "LLL"},
    {"vek_portable_formatters", "worddate.2", "MMM d, yyyy"},
    {"vek_portable_formatters", "monname.1", "LLL"},
    {"vek_portable_formatters", "negativeSign", "-"},
    {"vek_expression_tokens", "expression.token.between", "BetweenInclusive"},
    {"vek_expression_tokens", "expression.token.betweenExcludingBounds", "BetweenExclusive"},
    {"vek_expression_tokens", "expression.token.outsideIncludingBounds", "NotBetweenInclusive"},
    {"vek_expression_tokens", "expression.token.outsideExcludingBounds", "NotBetweenExclusive"},
    {"vek_expression_tokens", "expression.token.int", "Trunc"},
    {"vek_expression_tokens", "expression.token.upper", "UpCase"},
    {"vek_expression_tokens", "expression.token.applyVekFormat", "Format"},
    {"vek_expression_tokens", "expression.token.applyVekInformat", "Parse"},
    {"vek_expression_tokens", "expression.token.kw.double", "NUMBER"},
    {"vek_expression_tokens", "expression.token.kw.countDistinct", "Distinct"},
    {"vek_expression_tokens", "expression.token.kw.countMissing", "NumMiss"},
    {"AllCurrencySymbols", "currencyCode.en_US", "USD"},
};

TEST(CompiledBundles, EveryQuotedEnUsTextIsThereExactly) {
    for (const auto& quoted : QUOTED_EN_US_TEXTS) {
        const auto bundle = compiled(quoted.bundle, "en_US");
        ASSERT_NE(bundle, nullptr) << quoted.bundle;
        const auto text = bundle->getString(quoted.key);
        ASSERT_NE(text, nullptr) << quoted.bundle << " " << quoted.key;
        EXPECT_EQ(*text, quoted.text) << quoted.bundle << " " << quoted.key;
    }
}

TEST(CompiledBundles, EveryFunctionAndKeywordHasOneWordNoOtherWordEqualsIgnoringCase) {
    const auto tokens = compiled("vek_expression_tokens", "en_US");
    ASSERT_NE(tokens, nullptr);
    // The keys are the names of the enumerations: functions 1 to 119, keywords 0 to 59.
    std::vector<std::string> keys;
    for (int value = 1; value <= FunctionExpressionType::NUMBER_OF_FUNCTIONS; ++value) {
        keys.push_back("expression.token." +
                       std::string(FunctionExpressionType::getName(static_cast<FunctionExpressionType::type>(value))));
    }
    for (int value = 0; value < ExpressionKeywords::NUMBER_OF_KEYWORDS; ++value) {
        keys.push_back("expression.token.kw." +
                       std::string(ExpressionKeywords::getName(static_cast<ExpressionKeywords::type>(value))));
    }
    EXPECT_EQ(tokens->size(), keys.size()) << "the bundle holds words for nothing else";

    std::map<std::string, std::string> keyOfFoldedWord;
    for (const auto& key : keys) {
        const auto word = tokens->getString(key);
        ASSERT_NE(word, nullptr) << key;
        EXPECT_FALSE(word->empty()) << key;
        for (const char character : *word) {
            EXPECT_TRUE((character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
                        (character >= '0' && character <= '9'))
                << key << " = " << *word << " is not one word";
        }
        const auto [existing, inserted] = keyOfFoldedWord.emplace(StringUtilities::toLowerAscii(*word), key);
        EXPECT_TRUE(inserted) << key << " and " << existing->second << " share the word " << *word;
    }
}

TEST(CompiledBundles, CurrencyTablesCoverEveryCurrencyFormatAndLocale) {
    const char* const CURRENCY_FORMAT_CODES[] = {
        "AED", "ALL", "ARS", "AUD", "BAM", "BGN", "BHD", "BOB", "BRL", "BWP", "BYN", "BYR", "CAD", "CHF",
        "CLP", "CNY", "COP", "CRC", "CZK", "DKK", "DOP", "DZD", "EEK", "EGP", "EUR", "GBP", "GTQ", "HKD",
        "HNL", "HRK", "HUF", "IDR", "ILS", "INR", "IQD", "IRR", "ISK", "JMD", "JOD", "JPY", "KRW", "KWD",
        "KZT", "LBP", "LTL", "LVL", "LYD", "MAD", "MKD", "MOP", "MXN", "MYR", "NIO", "NOK", "NZD", "OMR",
        "PAB", "PEN", "PHP", "PLN", "PYG", "QAR", "RON", "RSD", "RUB", "SAR", "SDG", "SEK", "SGD", "SYP",
        "THB", "TND", "TRY", "TWD", "UAH", "USD", "UYU", "VEF", "VES", "VND", "YER", "ZAR"};
    const auto currencies = compiled("AllCurrencySymbols", "en_US");
    ASSERT_NE(currencies, nullptr);
    std::set<std::string> formatCodes;
    for (const char* code : CURRENCY_FORMAT_CODES) {
        formatCodes.insert(code);
        const auto symbol = currencies->getString(std::string("currencySymbol.") + code);
        const auto digits = currencies->getString(std::string("currencyDigits.") + code);
        ASSERT_NE(symbol, nullptr) << code;
        ASSERT_NE(digits, nullptr) << code;
        EXPECT_FALSE(symbol->empty()) << code;
        EXPECT_TRUE(*digits == "0" || *digits == "2" || *digits == "3") << code;
    }
    EXPECT_EQ(*currencies->getString("currencySymbol.USD"), "$");
    EXPECT_EQ(*currencies->getString("currencySymbol.EUR"), "\xE2\x82\xAC");
    EXPECT_EQ(*currencies->getString("currencyDigits.JPY"), "0");
    EXPECT_EQ(*currencies->getString("currencyDigits.KWD"), "3");

    // Every locale names a currency the formats know, and every shipped country locale has one.
    int locales = 0;
    for (const auto key : currencies->getKeys()) {
        if (key.starts_with("currencyCode.")) {
            ++locales;
            EXPECT_EQ(formatCodes.count(*currencies->getString(key)), 1U) << key;
        }
    }
    EXPECT_GT(locales, 100);
    EXPECT_EQ(*currencies->getString("currencyCode.ar_SA"), "SAR");
}

// Keys whose text every locale must translate (none may fall back to English).
std::vector<std::string> namesEveryLocaleTranslates() {
    std::vector<std::string> keys = {
        "am", "pm", "firstDayOfWeek", "negativeSign", "decimalSeparator", "groupingSeparator"};
    struct Names {
        const char* field;
        std::vector<const char*> widths;
        int first;
        int last;
    };
    for (const auto& [field, widths, first, last] :
         {Names{"era", {"wide", "abbreviated"}, 0, 1}, Names{"month", {"wide", "abbreviated", "narrow"}, 1, 12},
          Names{"day", {"wide", "abbreviated", "short", "narrow"}, 0, 6},
          Names{"quarter", {"wide", "abbreviated"}, 1, 4}}) {
        for (int number = first; number <= last; ++number) {
            for (const char* width : widths) {
                keys.push_back(std::string(field) + "." + width + "." + std::to_string(number));
            }
        }
    }
    return keys;
}

TEST(CompiledBundles, ArabicTranslatesEveryNameAndSpecialValue) {
    const auto arabic = compiled("vek_portable_formatters", "ar");
    ASSERT_NE(arabic, nullptr);
    for (const auto& key : namesEveryLocaleTranslates()) {
        EXPECT_TRUE(arabic->containsKey(key)) << key;
    }
    EXPECT_EQ(*arabic->getString("month.wide.1"), "\xD9\x8A\xD9\x86\xD8\xA7\xD9\x8A\xD8\xB1");        // يناير
    EXPECT_EQ(*arabic->getString("day.wide.5"), "\xD8\xA7\xD9\x84\xD8\xAC\xD9\x85\xD8\xB9\xD8\xA9");  // الجمعة
    EXPECT_EQ(*arabic->getString("negativeSign"), "\xE2\x80\x8E-");                                   // LRM, minus

    const auto messages = compiled("vek_pellium", "ar");
    ASSERT_NE(messages, nullptr);
    for (const char* key : {"ALL_OTHER.txt", "suppressed.txt", "missingValue.txt"}) {
        ASSERT_TRUE(messages->containsKey(key)) << key;
        EXPECT_NE(*messages->getString(key), *compiled("vek_pellium", "en_US")->getString(key)) << key;
    }
}

TEST(CompiledBundles, EveryLocaleUsesOnlyKeysEnUsDefines) {
    // A key that en_US lacks is a misspelling: nobody asks for it.
    for (const char* bundleName :
         {"vek_pellium", "vek_portable_formatters", "vek_expression_tokens", "AllCurrencySymbols"}) {
        const auto english = compiled(bundleName, "en_US");
        ASSERT_NE(english, nullptr) << bundleName;
        for (const auto& locale : ResourceManager::instance().getAvailableLocales(bundleName)) {
            const auto bundle = compiled(bundleName, locale.c_str());
            ASSERT_NE(bundle, nullptr) << bundleName << " " << locale;
            for (const auto key : bundle->getKeys()) {
                EXPECT_TRUE(english->containsKey(key)) << bundleName << "_" << locale << ": " << key;
            }
        }
    }
}

TEST(CompiledBundles, EveryAssetIsWellFormedUtf8WithoutDuplicateKeys) {
    for (const auto path : CompiledAssets::listPaths("localization/")) {
        const auto text = CompiledAssets::find(path);
        ASSERT_TRUE(text.has_value());
        EXPECT_TRUE(StringUtilities::isValidUtf8(*text)) << path;
        std::set<std::string> keys;
        for (const auto& entry : PropertiesReader::read(*text)) {
            EXPECT_TRUE(keys.insert(entry.key).second) << path << ": " << entry.key << " given twice";
        }
    }
}

}  // namespace
}  // namespace pellium
