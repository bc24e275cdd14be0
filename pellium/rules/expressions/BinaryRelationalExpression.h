#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/BinaryRelationalOperator.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A comparison of two operands: Sales > 500, Region = 'East'. Written infix with the operator's
/// symbol; a comparison that trims its texts first is written in function form with the keyword
/// LeadingAndTrailing: Equal(Region, 'East', LeadingAndTrailing).
///
/// Evaluation: when the right operand is a text (in the context), both sides compare as texts;
/// otherwise as numbers, tolerantly when the context has a tolerance. Missing is the lowest value
/// and equals only missing; the suppressed value makes the comparison false.
class PELLIUM_EXPORT BinaryRelationalExpression final : public Expression {
public:
    static std::shared_ptr<BinaryRelationalExpression> create(BinaryRelationalOperator::type op,
                                                              std::shared_ptr<Expression> left,
                                                              std::shared_ptr<Expression> right,
                                                              bool trimsTexts = false);

    BinaryRelationalOperator::type getOperator() const { return operator_; }
    void setOperator(BinaryRelationalOperator::type op) { operator_ = op; }
    bool trimsTexts() const { return trimsTexts_; }
    void setTrimsTexts(bool trimsTexts) { trimsTexts_ = trimsTexts; }
    const std::shared_ptr<Expression>& getLeftOperand() const { return getOperand(0); }
    const std::shared_ptr<Expression>& getRightOperand() const { return getOperand(1); }

    /// `left op right` in `context` by the rules above; false for a null operand.
    static bool compare(BinaryRelationalOperator::type op, const Expression* left, const Expression* right,
                        const ExpressionDataContext& context, bool trimsTexts);
    /// The same, comparing as texts when `asTexts` and as numbers otherwise.
    static bool compareAs(BinaryRelationalOperator::type op, const Expression* left, const Expression* right,
                          const ExpressionDataContext& context, bool asTexts, bool trimsTexts);

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
    /// "eq", "ne", "gt", "ge", "lt" or "le"; empty for NONE.
    std::string_view getTokenName() const override;
    void synchronizeSpecializedOperands() override;
    int getPrintPrecedence() const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    BinaryRelationalExpression(BinaryRelationalOperator::type op, bool trimsTexts)
        : operator_(op), trimsTexts_(trimsTexts) {}
    BinaryRelationalExpression(const BinaryRelationalExpression&) = default;

    BinaryRelationalOperator::type operator_;
    bool trimsTexts_;
};

}  // namespace pellium
