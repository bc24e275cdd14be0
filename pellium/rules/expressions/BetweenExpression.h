#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"

namespace pellium {

/// A range test of an item against two boundaries, written in function form with one of four
/// words chosen by the two flags: BetweenInclusive(Sales, 100, 200) (left ≤ item ≤ right),
/// BetweenExclusive (left < item < right), NotBetweenInclusive (item ≤ left or item ≥ right) and
/// NotBetweenExclusive (item < left or item > right). The outside forms are thus the complement
/// of the inside form with the other boundary rule.
///
/// Items, boundaries and their missing values compare as in BinaryRelationalExpression (as texts
/// when the item is a text); the suppressed value anywhere makes the test false.
class PELLIUM_EXPORT BetweenExpression final : public Expression {
public:
    static std::shared_ptr<BetweenExpression> create(std::shared_ptr<Expression> itemToCompare,
                                                     std::shared_ptr<Expression> leftBoundary,
                                                     std::shared_ptr<Expression> rightBoundary,
                                                     bool includesBoundaries = true,
                                                     bool isInvertedToMatchOutside = false);

    const std::shared_ptr<Expression>& getItemToCompare() const { return getOperand(0); }
    const std::shared_ptr<Expression>& getLeftBoundary() const { return getOperand(1); }
    const std::shared_ptr<Expression>& getRightBoundary() const { return getOperand(2); }
    bool includesBoundaries() const { return includesBoundaries_; }
    bool isInvertedToMatchOutside() const { return isInvertedToMatchOutside_; }
    void setIncludesBoundaries(bool includes) { includesBoundaries_ = includes; }
    void setInvertedToMatchOutside(bool inverted) { isInvertedToMatchOutside_ = inverted; }

    /// The function the two flags make: between, betweenExcludingBounds, outsideIncludingBounds
    /// or outsideExcludingBounds.
    FunctionExpressionType::type updateFunctionType() const;
    /// The flags of one of the four range functions; false, and nothing changes, for another.
    bool setFunctionType(FunctionExpressionType::type function);
    /// Whether the range function `function` includes its boundaries (between,
    /// outsideIncludingBounds); false for any other function.
    static constexpr bool includesBoundariesOf(FunctionExpressionType::type function) {
        return function == FunctionExpressionType::F_BETWEEN ||
               function == FunctionExpressionType::F_OUTSIDE_INCLUDING_BOUNDS;
    }
    /// Whether the range function `function` matches outside the range (the two outside forms).
    static constexpr bool matchesOutsideOf(FunctionExpressionType::type function) {
        return function == FunctionExpressionType::F_OUTSIDE_INCLUDING_BOUNDS ||
               function == FunctionExpressionType::F_OUTSIDE_EXCLUDING_BOUNDS;
    }

    /// The range test of `item` in `context`; false for a null operand.
    static bool test(const Expression* item, const Expression* left, const Expression* right,
                     const ExpressionDataContext& context, bool includesBoundaries, bool isInverted);

    int getWrapperTypeId() const override;
    /// BOOLEAN.
    DataTypeExt::type getDataType() const override;
    bool isLeaf() const override;
    bool isValidForContext(const ExpressionDataContext& context) const override;
    std::shared_ptr<Expression> clone() const override;
    bool isBooleanExpression() const override;
    bool evaluateAsBoolean(const ExpressionDataContext& context) const override;
    std::shared_ptr<AbstractWhereClauseExpression> asWhereExpression(
        const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider) const override;
    void resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    std::string_view getTokenName() const override;
    void synchronizeSpecializedOperands() override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    BetweenExpression(bool includesBoundaries, bool isInvertedToMatchOutside)
        : includesBoundaries_(includesBoundaries), isInvertedToMatchOutside_(isInvertedToMatchOutside) {}
    BetweenExpression(const BetweenExpression&) = default;

    bool includesBoundaries_;
    bool isInvertedToMatchOutside_;
};

}  // namespace pellium
