#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "pellium/Export.h"

namespace pellium {

/// Tolerant comparisons of doubles, used per row by the where evaluator and by expressions.
/// `a` is the value under test (a cell), `b` the value it is compared with and `e` the tolerance.
/// Two values are equal when they differ by at most `e`, or by at most `e` times the larger
/// magnitude. NaN stands for a missing value and sorts below every number: it equals only NaN,
/// and is less than everything else. An infinity equals only the same infinity. The comparisons,
/// and the integer floor beside them, are inline because they sit in per-row loops.
class PELLIUM_EXPORT MathUtilities {
public:
    MathUtilities() = delete;

    static bool epsilon_eq(double a, double b, double e) noexcept {
        const bool aIsNaN = std::isnan(a);
        const bool bIsNaN = std::isnan(b);
        if (aIsNaN || bIsNaN) {
            return aIsNaN && bIsNaN;
        }
        if (std::isinf(a) || std::isinf(b)) {
            return a == b;
        }
        if (a == b) {
            return true;
        }
        const double difference = std::fabs(a - b);
        return difference <= e || difference <= e * largerMagnitude(a, b);
    }

    /// a >= b within the tolerance; a NaN `b` is below everything, so anything is >= it.
    static bool epsilon_ge(double a, double b, double e) noexcept {
        if (std::isnan(b)) {
            return true;
        }
        if (std::isnan(a)) {
            return false;
        }
        if (a == POSITIVE_INFINITY) {
            return true;
        }
        if (a == -POSITIVE_INFINITY) {
            return b == -POSITIVE_INFINITY;
        }
        if (std::isinf(b)) {
            return b < 0;
        }
        return a >= b - e || a >= b - e * largerMagnitude(a, b);
    }

    /// a <= b within the tolerance: the mirror of epsilon_ge, so a NaN `a` is <= everything.
    static bool epsilon_le(double a, double b, double e) noexcept { return epsilon_ge(b, a, e); }

    static bool epsilon_ne(double a, double b, double e) noexcept { return !epsilon_eq(a, b, e); }
    static bool epsilon_lt(double a, double b, double e) noexcept { return !epsilon_ge(a, b, e); }
    static bool epsilon_gt(double a, double b, double e) noexcept { return !epsilon_le(a, b, e); }

    /// std::floor as an integer, for a `value` of magnitude below 2^63, which the caller checks:
    /// a conversion and a comparison, where std::floor is a call or a long instruction sequence
    /// on the baseline x86-64.
    static std::int64_t floorToInteger(double value) noexcept {
        const auto truncated = static_cast<std::int64_t>(value);
        return value < static_cast<double>(truncated) ? truncated - 1 : truncated;
    }

private:
    static constexpr double POSITIVE_INFINITY = std::numeric_limits<double>::infinity();

    static double largerMagnitude(double a, double b) noexcept { return std::max(std::fabs(a), std::fabs(b)); }
};

}  // namespace pellium
