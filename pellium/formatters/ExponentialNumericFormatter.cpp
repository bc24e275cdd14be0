#include "pellium/formatters/ExponentialNumericFormatter.h"

#include <algorithm>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/NumericTextBuilder.h"

namespace pellium {

namespace {

constexpr int exponentDigits = 2;

}  // namespace

ExponentialNumericFormatter::ExponentialNumericFormatter(const std::shared_ptr<FormatInfo>& info)
    : BaseNumericFormatter(info, {12, 7, MAXIMUM_WIDTH, -1}) {}

ExponentialNumericFormatter::~ExponentialNumericFormatter() = default;

std::shared_ptr<Formatter> ExponentialNumericFormatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    return std::shared_ptr<ExponentialNumericFormatter>(new ExponentialNumericFormatter(info));
}

bool ExponentialNumericFormatter::writeFinite(double value, NumericTextBuilder& out) const {
    const auto digits = DecimalDigits::fromDouble(value);
    const auto& vocabulary = symbols();
    // Sign, leading digit, separator, exponent separator, exponent sign and two digits.
    const int fixedWidth = negativeSign().width + 1 + vocabulary.decimalSeparator.width +
                           vocabulary.exponentSeparator.width +
                           std::max(vocabulary.plusSign.width, negativeSign().width) + exponentDigits;
    const int wanted = decimalsGiven() ? decimals() : std::max(width() - fixedWidth, 0);
    for (int shown = std::min(wanted, MAXIMUM_DECIMALS); shown >= 0; --shown) {
        DecimalDigits rounded = digits;
        rounded.roundToSignificant(shown + 1);
        out.clear();
        writeScientific(rounded, shown, false, exponentDigits, true, false, out);
        if (out.width() <= width()) {
            return true;
        }
    }
    return false;
}

}  // namespace pellium
