#pragma once

#include <cmath>
#include <limits>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/rules/expressions/BinaryRelationalOperator.h"
#include "pellium/util/MathUtilities.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// The comparison rules every relational node shares (relational, between, in and the comparison
/// functions), written once. Numbers: NaN and the most negative finite double are missing, and
/// missing behaves as the lowest value (two missing values are equal); the suppressed value makes
/// every comparison false. Texts: a null, empty or blank text is missing, with the same rules;
/// other texts compare bytewise. Inline, because they run per row.
class PELLIUM_EXPORT ExpressionComparisons {
public:
    ExpressionComparisons() = delete;

    static constexpr double SUPPRESSED = DataTokens::SUPPRESSED_NUMERIC;
    static constexpr double LOWEST = std::numeric_limits<double>::lowest();

    static bool isMissing(double number) noexcept { return std::isnan(number) || number == LOWEST; }
    static bool isSuppressed(double number) noexcept { return number == SUPPRESSED; }

    /// `left op right` for numbers, tolerant when `tolerance` is not 0.
    static bool compareNumbers(BinaryRelationalOperator::type op, double left, double right,
                               double tolerance) noexcept {
        if (isSuppressed(left) || isSuppressed(right)) {
            return false;
        }
        const bool leftIsMissing = isMissing(left);
        const bool rightIsMissing = isMissing(right);
        if (leftIsMissing || rightIsMissing) {
            return compareMissing(op, leftIsMissing, rightIsMissing);
        }
        if (tolerance != 0) {
            return compareTolerantly(op, left, right, tolerance);
        }
        return compareExactly(op, left, right);
    }

    /// `left op right` as plain doubles, without the rules for missing and suppressed values.
    static constexpr bool compareExactly(BinaryRelationalOperator::type op, double left, double right) noexcept {
        switch (op) {
            case BinaryRelationalOperator::EQ:
                return left == right;
            case BinaryRelationalOperator::NE:
                return left != right;
            case BinaryRelationalOperator::GT:
                return left > right;
            case BinaryRelationalOperator::GE:
                return left >= right;
            case BinaryRelationalOperator::LT:
                return left < right;
            case BinaryRelationalOperator::LE:
                return left <= right;
            default:
                return false;
        }
    }

    /// `left op right` for texts (null texts are missing), both trimmed first when `trims`.
    static bool compareTexts(BinaryRelationalOperator::type op, const std::string* left, const std::string* right,
                             bool trims = false) noexcept {
        const bool leftIsMissing = !left || StringUtilities::isStringMissing(*left);
        const bool rightIsMissing = !right || StringUtilities::isStringMissing(*right);
        if (leftIsMissing || rightIsMissing) {
            return compareMissing(op, leftIsMissing, rightIsMissing);
        }
        const std::string_view leftText = trims ? StringUtilities::trim(*left) : std::string_view(*left);
        const std::string_view rightText = trims ? StringUtilities::trim(*right) : std::string_view(*right);
        const int order = leftText.compare(rightText);
        switch (op) {
            case BinaryRelationalOperator::EQ:
                return order == 0;
            case BinaryRelationalOperator::NE:
                return order != 0;
            case BinaryRelationalOperator::GT:
                return order > 0;
            case BinaryRelationalOperator::GE:
                return order >= 0;
            case BinaryRelationalOperator::LT:
                return order < 0;
            case BinaryRelationalOperator::LE:
                return order <= 0;
            default:
                return false;
        }
    }

    /// The answer when at least one side is missing: missing is the lowest value.
    static constexpr bool compareMissing(BinaryRelationalOperator::type op, bool leftIsMissing,
                                         bool rightIsMissing) noexcept {
        switch (op) {
            case BinaryRelationalOperator::EQ:
                return leftIsMissing && rightIsMissing;
            case BinaryRelationalOperator::NE:
                return leftIsMissing != rightIsMissing;
            case BinaryRelationalOperator::GT:
                return !leftIsMissing && rightIsMissing;
            case BinaryRelationalOperator::GE:
                return rightIsMissing;
            case BinaryRelationalOperator::LT:
                return leftIsMissing && !rightIsMissing;
            case BinaryRelationalOperator::LE:
                return leftIsMissing;
            default:
                return false;
        }
    }

private:
    static bool compareTolerantly(BinaryRelationalOperator::type op, double left, double right,
                                  double tolerance) noexcept {
        switch (op) {
            case BinaryRelationalOperator::EQ:
                return MathUtilities::epsilon_eq(left, right, tolerance);
            case BinaryRelationalOperator::NE:
                return MathUtilities::epsilon_ne(left, right, tolerance);
            case BinaryRelationalOperator::GT:
                return MathUtilities::epsilon_gt(left, right, tolerance);
            case BinaryRelationalOperator::GE:
                return MathUtilities::epsilon_ge(left, right, tolerance);
            case BinaryRelationalOperator::LT:
                return MathUtilities::epsilon_lt(left, right, tolerance);
            case BinaryRelationalOperator::LE:
                return MathUtilities::epsilon_le(left, right, tolerance);
            default:
                return false;
        }
    }
};

}  // namespace pellium
