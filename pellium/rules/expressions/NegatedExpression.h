#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// The negation of a boolean operand, written NOT x. An operand that is not boolean makes it
/// false (not true), so that NOT never selects rows its operand cannot judge.
class PELLIUM_EXPORT NegatedExpression final : public Expression {
public:
    static std::shared_ptr<NegatedExpression> create(std::shared_ptr<Expression> subExpression);

    const std::shared_ptr<Expression>& getSubExpression() const { return getOperand(0); }

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
    /// "not".
    std::string_view getTokenName() const override;
    int getPrintPrecedence() const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;

private:
    NegatedExpression() = default;
    NegatedExpression(const NegatedExpression&) = default;
};

}  // namespace pellium
