#include "pellium/formatters/BestNumericFormatter.h"

#include <algorithm>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/NumericTextBuilder.h"

namespace pellium {

BestNumericFormatter::BestNumericFormatter(const std::shared_ptr<FormatInfo>& info)
    : BaseNumericFormatter(info, {12, 1, MAXIMUM_WIDTH, 0}) {}

BestNumericFormatter::~BestNumericFormatter() = default;

std::shared_ptr<Formatter> BestNumericFormatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    return std::shared_ptr<BestNumericFormatter>(new BestNumericFormatter(info));
}

bool BestNumericFormatter::isDecimalWidthSupported() const {
    return false;
}

int BestNumericFormatter::writePlainToFit(const DecimalDigits& digits, bool leadingZero,
                                          NumericTextBuilder& out) const {
    const int signWidth = digits.negative ? negativeSign().width : 0;
    const int integerWidth = digits.pointPosition > 0 ? digits.pointPosition : (leadingZero ? 1 : 0);
    const int room = width() - signWidth - integerWidth - symbols().decimalSeparator.width;
    const FixedParts parts{false, false, leadingZero, nullptr, 0};
    for (int decimals = std::min(std::max(room, 0), digits.fractionDigitCount()); decimals >= 0; --decimals) {
        DecimalDigits rounded = digits;
        rounded.roundToDecimals(decimals);
        if (!leadingZero && rounded.pointPosition > 0) {
            return -1;  // rounded up to 1: the form with the leading digit covers it
        }
        out.clear();
        writeFixed(rounded, rounded.fractionDigitCount(), digits.negative && !rounded.isZero(), parts, out);
        if (out.width() <= width() && !out.overflowed()) {
            return std::clamp(digits.pointPosition + decimals, 0, digits.count);  // digits kept
        }
    }
    return -1;
}

bool BestNumericFormatter::writeFinite(double value, NumericTextBuilder& out) const {
    const auto digits = DecimalDigits::fromDouble(value);
    const int plainShown = writePlainToFit(digits, true, out);
    if (plainShown == digits.count || plainShown >= scientificDigitLimit(digits.negative)) {
        return true;  // every digit shows, or more than scientific notation could show
    }
    const int scientificShown = writeScientificToFit(digits, DecimalDigits::MAX_DIGITS - 1, false, out);
    if (scientificShown > plainShown || (scientificShown > 0 && plainShown <= 0)) {
        return true;
    }
    // Nothing shows a digit with the leading zero and scientific notation does not fit: ".5".
    if (plainShown <= 0 && digits.pointPosition <= 0 && writePlainToFit(digits, false, out) > 0) {
        return true;
    }
    return writePlainToFit(digits, true, out) >= 0;
}

}  // namespace pellium
