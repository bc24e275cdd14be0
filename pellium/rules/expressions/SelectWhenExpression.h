#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A choice among values by conditions, written
/// Select(When(Sales > 1000, 'High'), When(Sales > 100, 'Medium'), Otherwise('Low')).
/// The when-branches are tried in order; the first whose condition is true gives the value; when
/// none is, the otherwise branch does, and without one the result is NaN or a null text.
/// The operands are the condition and value of each branch in turn, then the otherwise value.
class PELLIUM_EXPORT SelectWhenExpression final : public Expression {
public:
    /// `branches` holds condition, value, condition, value...; `otherwise` may be null.
    static std::shared_ptr<SelectWhenExpression> create(ExpressionList branches, std::shared_ptr<Expression> otherwise);

    std::size_t getNumberOfWhenBranches() const { return (operands_.size() - (hasOtherwise_ ? 1 : 0)) / 2; }
    const std::shared_ptr<Expression>& getCondition(std::size_t branch) const { return getOperand(2 * branch); }
    const std::shared_ptr<Expression>& getReturnExpression(std::size_t branch) const {
        return getOperand(2 * branch + 1);
    }
    /// Null when there is no otherwise branch.
    const std::shared_ptr<Expression>& getOtherwise() const;

    /// The value expression chosen in `context`; null when no branch applies.
    const Expression* calculateReturnExpression(const ExpressionDataContext& context) const;

    int getWrapperTypeId() const override;
    /// The type of the first value expression.
    DataTypeExt::type getDataType() const override;
    bool isLeaf() const override;
    bool isValidForContext(const ExpressionDataContext& context) const override;
    std::shared_ptr<Expression> clone() const override;
    bool isNumericExpression() const override;
    bool isCharacterExpression() const override;
    double evaluateAsNumber(const ExpressionDataContext& context) const override;
    SharedString evaluateAsString(const ExpressionDataContext& context) const override;
    void resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    /// "select".
    std::string_view getTokenName() const override;

protected:
    /// At least one branch, every operand present and valid.
    bool validateStructure() const override;
    /// Boolean conditions and value expressions of agreeing types.
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit SelectWhenExpression(bool hasOtherwise) : hasOtherwise_(hasOtherwise) {}
    SelectWhenExpression(const SelectWhenExpression&) = default;

    template <typename Test>
    bool allValues(Test&& test) const;

    bool hasOtherwise_;
};

}  // namespace pellium
