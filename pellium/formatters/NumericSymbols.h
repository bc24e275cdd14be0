#pragma once

#include <string>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

class LocalizationContext;

/// One piece of number text with the number of characters it takes on screen: its code points,
/// less the invisible bidirectional marks (U+200E, U+200F, U+061C) that right-to-left locales put
/// around signs. Widths of formats are counted this way.
struct PELLIUM_EXPORT NumericSymbol {
    std::string text;
    int width = 0;

    static NumericSymbol of(std::string_view text);
    bool empty() const noexcept { return text.empty(); }
};

/// The number vocabulary of one locale as the numeric formatters use it: separators, signs,
/// exponent, the texts of infinity and NaN, digit grouping, and the text that the standard percent
/// and currency patterns put around the digits. Read once from the "vek_portable_formatters"
/// bundle when a formatter is built, so that formatting never looks anything up.
///
/// Digit grouping comes from the decimal pattern: "#,##0.###" groups by three, "#,##,##0.###" by
/// three and then by two (as in India); minimumGroupingDigits 2 leaves four-digit numbers
/// ungrouped (as in Spanish). The affixes keep the pattern's placeholders, "\u00A4" for the
/// currency symbol and "%" for the percent sign, for the formatter to fill in.
class PELLIUM_EXPORT NumericSymbols {
public:
    /// The vocabulary of the context's format locale (how numbers are written for the reader).
    static NumericSymbols forFormatLocale(const LocalizationContext& context);
    /// The vocabulary of the context's data locale (used by CURRENCY, whose locale suffix names
    /// the country the amounts belong to).
    static NumericSymbols forDataLocale(const LocalizationContext& context);

    NumericSymbol decimalSeparator;
    NumericSymbol groupingSeparator;
    NumericSymbol percentSign;
    NumericSymbol plusSign;
    NumericSymbol minusSign;
    NumericSymbol exponentSeparator;
    NumericSymbol infinity;
    NumericSymbol nan;
    int primaryGroupSize = 3;    // 0: the locale does not group digits
    int secondaryGroupSize = 3;  // the size of the groups left of the first one
    int minimumGroupingDigits = 1;
    std::string percentPrefix;  // around the digits in the percent pattern, "%" as placeholder
    std::string percentSuffix;
    std::string currencyPrefix;  // around the digits in the currency pattern, "\u00A4" as placeholder
    std::string currencySuffix;

    /// Whether an integer part of `integerDigits` digits is written with grouping separators.
    bool groupsIntegerOf(int integerDigits) const noexcept {
        return primaryGroupSize > 0 && integerDigits >= primaryGroupSize + minimumGroupingDigits;
    }
    /// Whether a grouping separator follows an integer digit that has `digitsToTheRight` integer
    /// digits right of it (in 1,234,567 the separators follow the digits with 6 and 3).
    bool separatorAfter(int digitsToTheRight) const noexcept {
        if (digitsToTheRight < primaryGroupSize || primaryGroupSize <= 0) {
            return false;
        }
        const int secondary = secondaryGroupSize > 0 ? secondaryGroupSize : primaryGroupSize;
        return (digitsToTheRight - primaryGroupSize) % secondary == 0;
    }

    /// The currency of the context's data locale ("EUR" for de_DE); empty when the data locale
    /// names no country or the country is unknown.
    static std::string currencyCodeOf(const LocalizationContext& context);
    /// The symbol of `code` as the locale writes it: the locale's own form where it has one (the
    /// data locale's when `dataLocale`, else the format locale's), else the form of the currency's
    /// home country, else the code itself.
    static std::string currencySymbolOf(const LocalizationContext& context, std::string_view code, bool dataLocale);
    /// The decimals of `code` (ISO 4217 minor units); 2 when unknown.
    static int currencyDigitsOf(const LocalizationContext& context, std::string_view code);

private:
    template <typename Lookup>
    static NumericSymbols read(Lookup lookup);
};

}  // namespace pellium
