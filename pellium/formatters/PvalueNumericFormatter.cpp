#include "pellium/formatters/PvalueNumericFormatter.h"

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/NumericTextBuilder.h"

namespace pellium {

PvalueNumericFormatter::PvalueNumericFormatter(const std::shared_ptr<FormatInfo>& info)
    : BaseNumericFormatter(info, {6, 3, MAXIMUM_WIDTH, 4}) {
    parser().addAffix("<", 0);
}

PvalueNumericFormatter::~PvalueNumericFormatter() = default;

std::shared_ptr<Formatter> PvalueNumericFormatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    return std::shared_ptr<PvalueNumericFormatter>(new PvalueNumericFormatter(info));
}

bool PvalueNumericFormatter::writeFinite(double value, NumericTextBuilder& out) const {
    const auto digits = DecimalDigits::fromDouble(value);
    // 0.d1d2... x 10^p is below 10^-d in magnitude exactly when p <= -d. A tiny negative value is
    // no probability either way; it is shown as the tiny value it is.
    const bool belowSmallest = digits.isZero() || digits.pointPosition <= -decimals();
    if (!belowSmallest) {
        return BaseNumericFormatter::writeFinite(value, out);
    }
    out.appendAscii('<');
    if (decimals() > 0) {
        out.append(symbols().decimalSeparator);
        out.appendRepeated('0', decimals() - 1);
    }
    out.appendAscii('1');
    return out.width() <= width();
}

}  // namespace pellium
