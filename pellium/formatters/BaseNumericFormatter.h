#pragma once

#include <memory>
#include <string>

#include "pellium/Export.h"
#include "pellium/formatters/DecimalDigits.h"
#include "pellium/formatters/NumericSymbols.h"
#include "pellium/formatters/NumericTextParser.h"
#include "pellium/formatters/VekFormat.h"

namespace pellium {

class NumericTextBuilder;

/// The numeric formats that write a number with a fixed count of decimals, and the base of every
/// other numeric family (BEST, E, PVALUE, the compact CB family, SIZEKMG). Built by the formatter
/// factory from a FormatInfo; all symbols, separators and affixes are resolved once, at
/// construction, so that `format` does no look-up and no allocation beyond its result.
///
/// | Name        | Writes                                                  | Width: default, range | Decimals   |
/// |-------------|---------------------------------------------------------|-----------------------|------------|
/// | F           | 1234.57, no grouping                                    | 12, 1-32              | 0          |
/// | Z           | 001234.57: F padded with zeros to the width             | 1, 1-32               | 0          |
/// | COMMA       | 1,234.57                                                | 6, 1-32               | 0          |
/// | DOLLAR      | $1,234.57 (EURO, POUND, YEN, WON with their symbol)     | 6, 2-32               | 0          |
/// | CURRENCY    | the data locale's currency, pattern and separators      | 12, 1-32              | currency's |
/// |             | (CURRENCY_de_DE: 1.234,57 €)                            |                       |            |
/// | NLMNL<code> | that currency in the format locale's local form         | 12, 1-32              | currency's |
/// | NLMNI<code> | the same with the ISO code (USD 1,234.57)               | 12, 1-32              | currency's |
/// | PERCENT     | 12.3%: the value times 100; negatives as (12.3%)        | 6, 4-32               | 0          |
///
/// Any other numeric name that reaches this class writes as F. The named currencies always put
/// their symbol before the number; CURRENCY and NLMNL follow the locale's currency pattern
/// ("$1,234.57" in en_US, "1.234,57 €" in de_DE); a negative amount has the sign in front.
///
/// A width of 0 (no width in the name) takes the default; a width outside the range is moved to
/// its nearest end; decimals are 0 to 31. Texts are right-aligned in the width with spaces; the
/// width counts characters on screen (invisible bidirectional marks do not count). In a
/// right-to-left format locale the text is wrapped in a right-to-left embedding.
///
/// Rounding is half away from zero on the shortest decimal form of the value (DecimalDigits):
/// 2.675 and 1.005 with two decimals are 2.68 and 1.01. A value that rounds to zero is written
/// without a sign. When the text does not fit, detail goes in this order: the grouping
/// separators, then the currency symbol, then decimals one by one, then the number is written
/// in scientific notation with as many digits as fit (1.2E10), and when even that does not fit
/// the text is the width in asterisks. NaN and the infinities are written with the locale's
/// symbols ("NaN", "∞", "-∞"), or asterisks when they do not fit.
///
/// `parse` reads the formatter's own texts and plain numbers ("$1,234.56", "(12.3%)",
/// "1.234,56" in a German context, "1234.56") and answers NaN for anything else.
class PELLIUM_EXPORT BaseNumericFormatter : public VekFormat {
public:
    static constexpr int MAXIMUM_WIDTH = 32;
    static constexpr int MAXIMUM_DECIMALS = 31;

    /// The formatter for `info`'s bare name (one of the table above; any other numeric name
    /// writes as F). Null for a null `info`.
    static std::shared_ptr<Formatter> create(const std::shared_ptr<FormatInfo>& info);

    ~BaseNumericFormatter() override;

    using Formatter::format;
    using Formatter::parse;
    SharedString format(const double& value) const override;
    /// The number the text shows, or NaN when it is not one of this formatter's texts or a plain
    /// number.
    double parse(const std::string& text) const override;

    /// The width in effect (the default when the name gave none).
    int getWidth() const override;
    /// The decimals in effect.
    int getDecimalWidth() const override;
    bool isNumericFormat() const override;
    bool isDecimalWidthSupported() const override;
    int getMaxFormattedStringLength() const override;
    /// Both setters apply the limits of the format, as a width in a name does.
    void setWidth(int width) override;
    void setDecimalWidth(int decimalWidth) override;

protected:
    /// The width and decimals a family accepts.
    struct Limits {
        int defaultWidth;
        int minimumWidth;
        int maximumWidth;
        int defaultDecimals;
    };

    /// How the fixed layout of a family looks.
    struct Style {
        bool grouping = false;               // grouping separators in the integer part
        bool zeroPadded = false;             // Z: leading zeros up to the width
        bool negativeInParentheses = false;  // PERCENT
        bool affixesDroppable = false;       // a currency symbol may be dropped to make room
        bool trimTrailingZeros = false;      // decimals are a maximum, not a count (compact)
        int decimalShift = 0;                // the value is shown times 10^shift (PERCENT: 2)
        NumericSymbol prefix;                // written before the digits, after the sign
        NumericSymbol suffix;                // written after the digits
    };

    BaseNumericFormatter(const std::shared_ptr<FormatInfo>& info, const Limits& limits);

    /// Writes a finite `value` into `out`, at most width() characters wide, and answers true; false
    /// when no layout fits, and the text becomes the width in asterisks. The base writes the fixed
    /// layout of style().
    virtual bool writeFinite(double value, NumericTextBuilder& out) const;

    /// The digits shown for `value` with `decimals` decimals, and the unit written after them
    /// (null for none). The base rounds; the compact and size formats scale first. May lower
    /// `decimals` where a unit allows fewer (whole bytes).
    virtual DecimalDigits roundForDisplay(double value, const DecimalDigits& digits, int& decimals,
                                          const NumericSymbol*& unit) const;

    /// The fixed layout with `decimals` decimals, giving up detail until it fits: grouping,
    /// affixes (when droppable), decimals, then scientific notation. False when nothing fits.
    bool writeFixedToFit(double value, const DecimalDigits& digits, int decimals, NumericTextBuilder& out) const;
    /// What a fixed layout includes besides the digits.
    struct FixedParts {
        bool grouping = false;
        bool affixes = false;
        bool leadingZero = true;  // "0.5" rather than ".5"
        const NumericSymbol* unit = nullptr;
        int zeros = 0;  // leading zeros (Z)
    };
    /// The fixed layout of already rounded digits with exactly `decimals` decimals.
    void writeFixed(const DecimalDigits& rounded, int decimals, bool negative, const FixedParts& parts,
                    NumericTextBuilder& out) const;
    /// Scientific notation (1.2345E6, -1.2E-7) with as many mantissa digits as fit, at most
    /// `maximumDecimals` decimals. The number of the value's significant digits that survive the
    /// rounding, or -1 when nothing fits.
    int writeScientificToFit(const DecimalDigits& digits, int maximumDecimals, bool affixes,
                             NumericTextBuilder& out) const;
    /// The most significant digits scientific notation can show in the width (at least a sign
    /// when `negative`, one digit, the separator, the exponent separator and one exponent digit).
    int scientificDigitLimit(bool negative) const;
    /// Scientific notation with exactly `decimals` mantissa decimals (trailing zeros kept unless
    /// `trim`), an exponent of at least `exponentDigits` digits, and "+" on positive exponents when
    /// `signedExponent`.
    void writeScientific(const DecimalDigits& rounded, int decimals, bool trim, int exponentDigits, bool signedExponent,
                         bool affixes, NumericTextBuilder& out) const;
    /// The negative sign, or "(" for a family that writes negatives in parentheses.
    void writeSignOpening(bool negative, NumericTextBuilder& out) const;
    void writeSignClosing(bool negative, NumericTextBuilder& out) const;

    const NumericSymbols& symbols() const { return symbols_; }
    const NumericSymbol& negativeSign() const { return negativeSign_; }
    Style& style() { return style_; }
    const Style& style() const { return style_; }
    NumericTextParser& parser() { return parser_; }
    int width() const { return width_; }
    int decimals() const { return decimals_; }
    bool decimalsGiven() const { return decimalsGiven_; }
    /// Uses the data locale's vocabulary instead of the format locale's (CURRENCY).
    void useDataLocaleSymbols();
    /// Sets the decimals used when the name gives none (the currency's).
    void setDefaultDecimals(int decimals);
    /// Sets style() and the parser's affixes for a fixed-decimal family name (F, COMMA, DOLLAR,
    /// CURRENCY, NLMNL<code>, PERCENT, ...), as the table above describes.
    void configureFamily(std::string_view name);
    /// The limits of a fixed-decimal family name.
    static Limits limitsOf(std::string_view name);

private:
    void writeSpecial(double value, NumericTextBuilder& out) const;
    SharedString finish(const NumericTextBuilder& out) const;
    void configureCurrency(std::string_view code, bool dataLocale, bool isoForm);

    Limits limits_;
    int width_;
    int decimals_;
    bool decimalsGiven_;
    bool rightToLeft_;
    NumericSymbols symbols_;
    NumericSymbol negativeSign_;
    Style style_;
    NumericTextParser parser_;
};

}  // namespace pellium
