#include "pellium/formatters/NumericSymbols.h"

#include <algorithm>

#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::string_view formatterBundle = "vek_portable_formatters";
constexpr std::string_view currencyBundle = "AllCurrencySymbols";
constexpr int defaultCurrencyDigits = 2;

bool isPatternDigitCharacter(char character) {
    return character == '#' || character == '0' || character == ',' || character == '.' ||
           (character >= '1' && character <= '9') || character == '@';
}

// The pattern's literal text with LDML quoting removed: 'x' is x and '' is a quote.
std::string unquote(std::string_view text) {
    std::string result;
    bool quoted = false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '\'') {
            if (index + 1 < text.size() && text[index + 1] == '\'') {
                result.push_back('\'');
                ++index;
            } else {
                quoted = !quoted;
            }
        } else {
            result.push_back(text[index]);
        }
    }
    return result;
}

struct PatternParts {
    std::string prefix;
    std::string suffix;
    std::string_view number;
};

// "#,##0.00 \u00A4" -> prefix "", number "#,##0.00", suffix " \u00A4". Only the positive part of
// a pattern is read; negative numbers get the sign in front.
PatternParts splitPattern(std::string_view pattern) {
    pattern = pattern.substr(0, pattern.find(';'));
    const auto first = std::find_if(pattern.begin(), pattern.end(), isPatternDigitCharacter);
    const auto last = std::find_if(pattern.rbegin(), pattern.rend(), isPatternDigitCharacter).base();
    if (first >= last) {
        return {std::string(pattern), {}, {}};
    }
    return {unquote(std::string_view(pattern.begin(), first)), unquote(std::string_view(last, pattern.end())),
            std::string_view(first, last)};
}

// The group sizes of a number pattern: "#,##,##0.###" groups by 3, then by 2.
void readGrouping(std::string_view number, int& primary, int& secondary) {
    const auto integerPart = number.substr(0, number.find('.'));
    const auto lastComma = integerPart.rfind(',');
    if (lastComma == std::string_view::npos) {
        primary = 0;
        secondary = 0;
        return;
    }
    primary = static_cast<int>(integerPart.size() - lastComma - 1);
    const auto previousComma = lastComma > 0 ? integerPart.rfind(',', lastComma - 1) : std::string_view::npos;
    secondary = previousComma == std::string_view::npos ? primary : static_cast<int>(lastComma - previousComma - 1);
}

std::string textOr(const SharedString& text, std::string_view fallback) {
    return text ? *text : std::string(fallback);
}

}  // namespace

NumericSymbol NumericSymbol::of(std::string_view text) {
    const auto visible = StringUtilities::removeBidiControls(text);
    return {std::string(text), static_cast<int>(StringUtilities::countUtf8CodePoints(visible))};
}

template <typename Lookup>
NumericSymbols NumericSymbols::read(Lookup lookup) {
    NumericSymbols symbols;
    const auto symbol = [&](std::string_view key, std::string_view fallback) {
        return NumericSymbol::of(textOr(lookup(key), fallback));
    };
    symbols.decimalSeparator = symbol("decimalSeparator", ".");
    symbols.groupingSeparator = symbol("groupingSeparator", ",");
    symbols.percentSign = symbol("percentSign", "%");
    symbols.plusSign = symbol("plusSign", "+");
    symbols.minusSign = symbol("negativeSign", "-");
    symbols.exponentSeparator = symbol("exponentSeparator", "E");
    symbols.infinity = symbol("infinity", "\u221E");
    symbols.nan = symbol("nan", "NaN");

    const auto decimalPattern = textOr(lookup("decimalPattern"), "#,##0.###");  // the parts view into it
    const auto decimal = splitPattern(decimalPattern);
    readGrouping(decimal.number, symbols.primaryGroupSize, symbols.secondaryGroupSize);
    int minimumGrouping = 1;
    if (StringUtilities::tryParseInt(textOr(lookup("minimumGroupingDigits"), "1"), minimumGrouping) &&
        minimumGrouping >= 1 && minimumGrouping <= 4) {
        symbols.minimumGroupingDigits = minimumGrouping;
    }
    auto percent = splitPattern(textOr(lookup("percentPattern"), "#,##0%"));
    symbols.percentPrefix = std::move(percent.prefix);
    symbols.percentSuffix = std::move(percent.suffix);
    auto currency = splitPattern(textOr(lookup("currencyPattern"), "\u00A4#,##0.00"));
    symbols.currencyPrefix = std::move(currency.prefix);
    symbols.currencySuffix = std::move(currency.suffix);
    return symbols;
}

NumericSymbols NumericSymbols::forFormatLocale(const LocalizationContext& context) {
    return read([&](std::string_view key) { return context.getFormatString(formatterBundle, key); });
}

NumericSymbols NumericSymbols::forDataLocale(const LocalizationContext& context) {
    return read([&](std::string_view key) { return context.getDataString(formatterBundle, key); });
}

std::string NumericSymbols::currencyCodeOf(const LocalizationContext& context) {
    std::string key("currencyCode.");
    key.append(context.getDataLocale());
    return textOr(context.getDataString(currencyBundle, key), "");
}

std::string NumericSymbols::currencySymbolOf(const LocalizationContext& context, std::string_view code,
                                             bool dataLocale) {
    std::string key("currencySymbol.");
    key.append(code);
    const auto symbol =
        dataLocale ? context.getDataString(currencyBundle, key) : context.getFormatString(currencyBundle, key);
    return textOr(symbol, code);
}

int NumericSymbols::currencyDigitsOf(const LocalizationContext& context, std::string_view code) {
    std::string key("currencyDigits.");
    key.append(code);
    int digits = defaultCurrencyDigits;
    const auto text = context.getFormatString(currencyBundle, key);
    if (!text || !StringUtilities::tryParseInt(*text, digits) || digits < 0 || digits > 4) {
        return defaultCurrencyDigits;
    }
    return digits;
}

}  // namespace pellium
