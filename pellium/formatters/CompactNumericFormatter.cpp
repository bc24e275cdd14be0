#include "pellium/formatters/CompactNumericFormatter.h"

#include <algorithm>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/NumericTextBuilder.h"

namespace pellium {

namespace {

constexpr std::string_view compactPrefix = "CB";
constexpr std::string_view magnitudeLetters[] = {"K", "M", "B", "T"};
constexpr int largestMagnitude = 4;

std::string_view innerName(const FormatInfo& info) {
    std::string_view name = *info.getName();
    return name.starts_with(compactPrefix) ? name.substr(compactPrefix.size()) : name;
}

}  // namespace

CompactNumericFormatter::Limits CompactNumericFormatter::compactLimitsOf(const FormatInfo& info) {
    return {8, 1, MAXIMUM_WIDTH, innerName(info) == "BEST" ? 15 : 1};
}

CompactNumericFormatter::CompactNumericFormatter(const std::shared_ptr<FormatInfo>& info)
    : BaseNumericFormatter(info, compactLimitsOf(*info)) {
    const auto inner = innerName(*info);
    configureFamily(inner);
    if (inner == "BEST") {
        setDecimalWidth(compactLimitsOf(*info).defaultDecimals);  // as many as fit, whatever the name says
    } else if (!decimalsGiven()) {
        setDefaultDecimals(compactLimitsOf(*info).defaultDecimals);  // not the currency's two
    }
    style().trimTrailingZeros = true;
    for (int magnitude = 0; magnitude < largestMagnitude; ++magnitude) {
        magnitudes_[magnitude] = NumericSymbol::of(magnitudeLetters[magnitude]);
        parser().addAffix(magnitudeLetters[magnitude], 3 * (magnitude + 1));
    }
}

CompactNumericFormatter::~CompactNumericFormatter() = default;

std::shared_ptr<Formatter> CompactNumericFormatter::create(const std::shared_ptr<FormatInfo>& info) {
    if (!info || !info->getName()) {
        return nullptr;
    }
    return std::shared_ptr<CompactNumericFormatter>(new CompactNumericFormatter(info));
}

DecimalDigits CompactNumericFormatter::roundForDisplay(double /*value*/, const DecimalDigits& digits, int& decimals,
                                                       const NumericSymbol*& unit) const {
    int magnitude = digits.isZero() ? 0 : std::clamp((digits.pointPosition - 1) / 3, 0, largestMagnitude);
    for (;;) {
        DecimalDigits scaled = digits;
        scaled.shiftDecimalPoint(-3 * magnitude);
        scaled.roundToDecimals(decimals);
        if (scaled.pointPosition > 3 && magnitude < largestMagnitude) {
            ++magnitude;  // 999.96K rounds to 1000K: that is 1M
            continue;
        }
        unit = magnitude > 0 ? &magnitudes_[magnitude - 1] : nullptr;
        return scaled;
    }
}

}  // namespace pellium
