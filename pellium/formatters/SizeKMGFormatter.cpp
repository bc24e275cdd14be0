#include "pellium/formatters/SizeKMGFormatter.h"

#include <cmath>

#include "pellium/formatters/FormatInfo.h"

namespace pellium {

namespace {

constexpr std::string_view unitTexts[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
constexpr int bitsPerUnit = 10;  // 1024 = 2^10

// Whether rounded digits show 1024 or more, so that the next unit is due.
bool reachesNextUnit(const DecimalDigits& rounded) {
    if (rounded.pointPosition != 4) {
        return rounded.pointPosition > 4;
    }
    const int leading = (rounded.digitAt(0) - '0') * 1000 + (rounded.digitAt(1) - '0') * 100 +
                        (rounded.digitAt(2) - '0') * 10 + (rounded.digitAt(3) - '0');
    return leading >= 1024;
}

}  // namespace

SizeKMGFormatter::SizeKMGFormatter(const std::shared_ptr<FormatInfo>& info)
    : BaseNumericFormatter(info, {9, 2, MAXIMUM_WIDTH, 0}) {
    for (int unit = 0; unit < UNIT_COUNT; ++unit) {
        units_[unit] = NumericSymbol::of(unitTexts[unit]);
        parser().addAffix(unitTexts[unit], 0, std::ldexp(1.0, bitsPerUnit * unit));
    }
}

SizeKMGFormatter::~SizeKMGFormatter() = default;

std::shared_ptr<Formatter> SizeKMGFormatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    return std::shared_ptr<SizeKMGFormatter>(new SizeKMGFormatter(info));
}

DecimalDigits SizeKMGFormatter::roundForDisplay(double value, const DecimalDigits& /*digits*/, int& decimals,
                                                const NumericSymbol*& unit) const {
    int index = 0;
    for (double magnitude = std::fabs(value); magnitude >= 1024 && index < UNIT_COUNT - 1; magnitude /= 1024) {
        ++index;
    }
    for (;;) {
        // Scaling by a power of two is exact, so the unit's digits are those of the scaled double.
        auto scaled = DecimalDigits::fromDouble(std::ldexp(value, -bitsPerUnit * index));
        const int shown = index == 0 ? 0 : decimals;
        scaled.roundToDecimals(shown);
        if (reachesNextUnit(scaled) && index < UNIT_COUNT - 1) {
            ++index;
            continue;
        }
        decimals = shown;
        unit = &units_[index];
        return scaled;
    }
}

}  // namespace pellium
