#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A list of data item references in square brackets, [Region, {Product Line}]: the items a
/// grouping or a sort function works on. Valid when every operand is a variable.
class PELLIUM_EXPORT VariableListExpression final : public Expression {
public:
    static std::shared_ptr<VariableListExpression> create(ExpressionList variables = {});

    int getWrapperTypeId() const override;
    /// LIST.
    DataTypeExt::type getDataType() const override;
    std::shared_ptr<Expression> clone() const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;

private:
    explicit VariableListExpression(ExpressionList variables) { operands_ = std::move(variables); }
    VariableListExpression(const VariableListExpression&) = default;
};

}  // namespace pellium
