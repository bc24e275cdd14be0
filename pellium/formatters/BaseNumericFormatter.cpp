#include "pellium/formatters/BaseNumericFormatter.h"

#include <algorithm>
#include <cmath>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/NumericTextBuilder.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {

namespace {

constexpr std::string_view rightToLeftEmbedding = "\xE2\x80\xAB";      // U+202B
constexpr std::string_view popDirectionalFormatting = "\xE2\x80\xAC";  // U+202C
constexpr std::string_view currencySign = "\xC2\xA4";                  // U+00A4, the pattern's placeholder
constexpr std::string_view noBreakSpace = "\xC2\xA0";
constexpr std::string_view localCurrencyPrefix = "NLMNL";
constexpr std::string_view internationalCurrencyPrefix = "NLMNI";

struct NamedCurrency {
    std::string_view name;
    std::string_view code;
};
constexpr NamedCurrency namedCurrencies[] = {
    {"DOLLAR", "USD"}, {"EURO", "EUR"}, {"POUND", "GBP"}, {"YEN", "JPY"}, {"WON", "KRW"},
};

std::string_view codeOfNamedCurrency(std::string_view name) {
    for (const auto& currency : namedCurrencies) {
        if (currency.name == name) {
            return currency.code;
        }
    }
    return {};
}

std::string replaceAll(std::string text, std::string_view placeholder, std::string_view replacement) {
    for (auto at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + replacement.size())) {
        text.replace(at, placeholder.size(), replacement);
    }
    return text;
}

}  // namespace

BaseNumericFormatter::BaseNumericFormatter(const std::shared_ptr<FormatInfo>& info, const Limits& limits)
    : VekFormat(info),
      limits_(limits),
      width_(limits.defaultWidth),
      decimals_(limits.defaultDecimals),
      decimalsGiven_(info->isDecimalWidthGiven()),
      rightToLeft_(info->getLocalizationContext()->isFormatLocaleRTL()),
      symbols_(NumericSymbols::forFormatLocale(*info->getLocalizationContext())),
      negativeSign_(NumericSymbol::of(info->getNegativeSign() ? *info->getNegativeSign() : "-")) {
    setWidth(info->getWidth());
    setDecimalWidth(info->getDecimalWidth());
    parser_ = NumericTextParser(symbols_, negativeSign_.text);
}

BaseNumericFormatter::~BaseNumericFormatter() = default;

std::shared_ptr<Formatter> BaseNumericFormatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    const std::string_view name = *info->getName();
    std::shared_ptr<BaseNumericFormatter> formatter(new BaseNumericFormatter(info, limitsOf(name)));
    formatter->configureFamily(name);
    return formatter;
}

BaseNumericFormatter::Limits BaseNumericFormatter::limitsOf(std::string_view name) {
    if (name == "Z") {
        return {1, 1, MAXIMUM_WIDTH, 0};
    }
    if (name == "COMMA") {
        return {6, 1, MAXIMUM_WIDTH, 0};
    }
    if (!codeOfNamedCurrency(name).empty()) {
        return {6, 2, MAXIMUM_WIDTH, 0};
    }
    if (name == "PERCENT") {
        return {6, 4, MAXIMUM_WIDTH, 0};
    }
    if (name == "CURRENCY" || name.starts_with(localCurrencyPrefix) || name.starts_with(internationalCurrencyPrefix)) {
        return {12, 1, MAXIMUM_WIDTH, 2};
    }
    return {12, 1, MAXIMUM_WIDTH, 0};
}

void BaseNumericFormatter::configureFamily(std::string_view name) {
    if (name == "Z") {
        style_.zeroPadded = true;
    } else if (name == "COMMA") {
        style_.grouping = true;
    } else if (name == "PERCENT") {
        style_.grouping = true;
        style_.negativeInParentheses = true;
        style_.decimalShift = 2;
        style_.prefix = NumericSymbol::of(replaceAll(symbols_.percentPrefix, "%", symbols_.percentSign.text));
        style_.suffix = NumericSymbol::of(replaceAll(symbols_.percentSuffix, "%", symbols_.percentSign.text));
        parser_.addAffix(symbols_.percentSign.text, -2);
    } else if (const auto code = codeOfNamedCurrency(name); !code.empty()) {
        // The named currencies always put their symbol before the number.
        const auto symbol = NumericSymbols::currencySymbolOf(*getLocalizationContext(), code, false);
        style_.grouping = true;
        style_.affixesDroppable = true;
        style_.prefix = NumericSymbol::of(symbol);
        parser_.addAffix(symbol, 0);
        parser_.addAffix(code, 0);
    } else if (name == "CURRENCY") {
        useDataLocaleSymbols();
        configureCurrency(NumericSymbols::currencyCodeOf(*getLocalizationContext()), true, false);
    } else if (name.starts_with(localCurrencyPrefix)) {
        configureCurrency(name.substr(localCurrencyPrefix.size()), false, false);
    } else if (name.starts_with(internationalCurrencyPrefix)) {
        configureCurrency(name.substr(internationalCurrencyPrefix.size()), false, true);
    }
}

// The currency pattern of the locale with the symbol, or the ISO code kept apart from the digits
// by a no-break space, in place of the placeholder.
void BaseNumericFormatter::configureCurrency(std::string_view code, bool dataLocale, bool isoForm) {
    const auto& context = *getLocalizationContext();
    std::string symbol = code.empty() ? std::string(currencySign)
                         : isoForm    ? std::string(code)
                                      : NumericSymbols::currencySymbolOf(context, code, dataLocale);
    std::string prefix = symbols_.currencyPrefix;
    std::string suffix = symbols_.currencySuffix;
    if (isoForm) {
        if (prefix.ends_with(currencySign)) {
            prefix.append(noBreakSpace);
        }
        if (suffix.starts_with(currencySign)) {
            suffix.insert(0, noBreakSpace);
        }
    }
    style_.grouping = true;
    style_.affixesDroppable = true;
    style_.prefix = NumericSymbol::of(replaceAll(prefix, currencySign, symbol));
    style_.suffix = NumericSymbol::of(replaceAll(suffix, currencySign, symbol));
    if (!code.empty()) {
        setDefaultDecimals(NumericSymbols::currencyDigitsOf(context, code));
        parser_.addAffix(code, 0);
    }
    parser_.addAffix(symbol, 0);
}

void BaseNumericFormatter::useDataLocaleSymbols() {
    symbols_ = NumericSymbols::forDataLocale(*getLocalizationContext());
    parser_ = NumericTextParser(symbols_, negativeSign_.text);
}

void BaseNumericFormatter::setDefaultDecimals(int decimals) {
    limits_.defaultDecimals = decimals;
    if (!decimalsGiven_) {
        decimals_ = decimals;
    }
}

int BaseNumericFormatter::getWidth() const {
    return width_;
}
int BaseNumericFormatter::getDecimalWidth() const {
    return decimals_;
}
bool BaseNumericFormatter::isNumericFormat() const {
    return true;
}
bool BaseNumericFormatter::isDecimalWidthSupported() const {
    return true;
}
int BaseNumericFormatter::getMaxFormattedStringLength() const {
    return width_;
}

void BaseNumericFormatter::setWidth(int width) {
    Formatter::setWidth(width);
    width_ = width <= 0 ? limits_.defaultWidth : std::clamp(width, limits_.minimumWidth, limits_.maximumWidth);
}

void BaseNumericFormatter::setDecimalWidth(int decimalWidth) {
    Formatter::setDecimalWidth(decimalWidth);
    decimalsGiven_ = decimalWidth >= 0;
    decimals_ = decimalWidth < 0 ? limits_.defaultDecimals : std::min(decimalWidth, MAXIMUM_DECIMALS);
}

SharedString BaseNumericFormatter::format(const double& value) const {
    NumericTextBuilder out;
    bool written = true;
    if (std::isfinite(value)) {
        written = writeFinite(value, out);
    } else {
        writeSpecial(value, out);
    }
    if (!written || out.width() > width_ || out.overflowed()) {
        out.clear();
        out.appendRepeated('*', width_);
    }
    return finish(out);
}

void BaseNumericFormatter::writeSpecial(double value, NumericTextBuilder& out) const {
    if (std::isnan(value)) {
        out.append(symbols_.nan);
        return;
    }
    writeSignOpening(value < 0, out);
    out.append(symbols_.infinity);
    writeSignClosing(value < 0, out);
}

// Spaces up to the width, then the text; wrapped in an embedding for right-to-left readers.
SharedString BaseNumericFormatter::finish(const NumericTextBuilder& out) const {
    char text[NumericTextBuilder::CAPACITY + MAXIMUM_WIDTH + 8];
    std::size_t size = 0;
    const auto add = [&](std::string_view bytes) {
        std::copy(bytes.begin(), bytes.end(), text + size);
        size += bytes.size();
    };
    if (rightToLeft_) {
        add(rightToLeftEmbedding);
    }
    const int padding = std::max(0, width_ - out.width());
    std::fill_n(text + size, padding, ' ');
    size += static_cast<std::size_t>(padding);
    add(out.view());
    if (rightToLeft_) {
        add(popDirectionalFormatting);
    }
    return std::make_shared<const std::string>(text, size);
}

double BaseNumericFormatter::parse(const std::string& text) const {
    return parser_.parse(text);
}

DecimalDigits BaseNumericFormatter::roundForDisplay(double /*value*/, const DecimalDigits& digits, int& decimals,
                                                    const NumericSymbol*& unit) const {
    DecimalDigits rounded = digits;
    rounded.roundToDecimals(decimals);
    unit = nullptr;
    return rounded;
}

bool BaseNumericFormatter::writeFinite(double value, NumericTextBuilder& out) const {
    auto digits = DecimalDigits::fromDouble(value);
    digits.shiftDecimalPoint(style_.decimalShift);
    return writeFixedToFit(value, digits, decimals_, out);
}

void BaseNumericFormatter::writeSignOpening(bool negative, NumericTextBuilder& out) const {
    if (!negative) {
        return;
    }
    if (style_.negativeInParentheses) {
        out.appendAscii('(');
    } else {
        out.append(negativeSign_);
    }
}

void BaseNumericFormatter::writeSignClosing(bool negative, NumericTextBuilder& out) const {
    if (negative && style_.negativeInParentheses) {
        out.appendAscii(')');
    }
}

void BaseNumericFormatter::writeFixed(const DecimalDigits& rounded, int decimals, bool negative,
                                      const FixedParts& parts, NumericTextBuilder& out) const {
    writeSignOpening(negative, out);
    if (parts.affixes) {
        out.append(style_.prefix);
    }
    out.appendRepeated('0', parts.zeros);
    out.appendIntegerDigits(rounded, parts.grouping ? &symbols_ : nullptr, parts.leadingZero);
    out.appendFractionDigits(rounded, decimals, symbols_.decimalSeparator);
    if (parts.unit) {
        out.append(*parts.unit);
    }
    if (parts.affixes) {
        out.append(style_.suffix);
    }
    writeSignClosing(negative, out);
}

bool BaseNumericFormatter::writeFixedToFit(double value, const DecimalDigits& digits, int decimals,
                                           NumericTextBuilder& out) const {
    const bool droppable = style_.affixesDroppable && !(style_.prefix.empty() && style_.suffix.empty());
    for (int wanted = decimals; wanted >= 0; --wanted) {
        int shown = wanted;
        const NumericSymbol* unit = nullptr;
        const auto rounded = roundForDisplay(value, digits, shown, unit);
        if (style_.trimTrailingZeros) {
            shown = std::min(shown, rounded.fractionDigitCount());
        }
        const bool negative = digits.negative && !rounded.isZero();
        const auto fits = [&](bool grouping, bool affixes) {
            FixedParts parts{grouping, affixes, true, unit, 0};
            out.clear();
            writeFixed(rounded, shown, negative, parts, out);
            if (out.width() > width_ || out.overflowed()) {
                return false;
            }
            if (style_.zeroPadded && out.width() < width_) {
                parts.zeros = width_ - out.width();
                out.clear();
                writeFixed(rounded, shown, negative, parts, out);
            }
            return true;
        };
        // Detail goes in order: the grouping separators, the currency symbol, then decimals.
        if (wanted == decimals && ((style_.grouping && fits(true, true)) || fits(false, true))) {
            return true;
        }
        if (droppable && fits(false, false)) {
            return true;
        }
        if (!droppable && wanted < decimals && fits(false, true)) {
            return true;
        }
        wanted = std::min(wanted, shown);  // fewer decimals than wanted were shown: go below them
    }
    return writeScientificToFit(digits, DecimalDigits::MAX_DIGITS - 1, !droppable, out) >= 0;
}

void BaseNumericFormatter::writeScientific(const DecimalDigits& rounded, int decimals, bool trim, int exponentDigits,
                                           bool signedExponent, bool affixes, NumericTextBuilder& out) const {
    const bool negative = rounded.negative && !rounded.isZero();
    writeSignOpening(negative, out);
    if (affixes) {
        out.append(style_.prefix);
    }
    const int shown = trim ? std::min(decimals, std::max(rounded.count - 1, 0)) : decimals;
    out.appendMantissa(rounded, shown, symbols_.decimalSeparator);
    out.append(symbols_.exponentSeparator);
    const int exponent = rounded.isZero() ? 0 : rounded.scientificExponent();
    if (exponent < 0) {
        out.append(negativeSign_);
    } else if (signedExponent) {
        out.append(symbols_.plusSign);
    }
    out.appendExponentDigits(exponent, exponentDigits);
    if (affixes) {
        out.append(style_.suffix);
    }
    writeSignClosing(negative, out);
}

int BaseNumericFormatter::scientificDigitLimit(bool negative) const {
    const int fixedWidth = (negative ? negativeSign_.width : 0) + 1 + symbols_.decimalSeparator.width +
                           symbols_.exponentSeparator.width + 1;
    return std::max(width_ - fixedWidth, 0) + 1;
}

int BaseNumericFormatter::writeScientificToFit(const DecimalDigits& digits, int maximumDecimals, bool affixes,
                                               NumericTextBuilder& out) const {
    const int limit = scientificDigitLimit(digits.negative) - 1;
    for (int decimals = std::min({maximumDecimals, std::max(digits.count - 1, 0), limit}); decimals >= 0; --decimals) {
        DecimalDigits rounded = digits;
        rounded.roundToSignificant(decimals + 1);
        out.clear();
        writeScientific(rounded, decimals, true, 1, false, affixes, out);
        if (out.width() <= width_) {
            return std::min(decimals + 1, digits.count);
        }
    }
    out.clear();
    return -1;
}

}  // namespace pellium
