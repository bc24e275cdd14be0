#include "pellium/rules/expressions/VariableListExpression.h"

#include "pellium/rules/expressions/CompoundConstantExpression.h"

namespace pellium {

std::shared_ptr<VariableListExpression> VariableListExpression::create(ExpressionList variables) {
    return std::shared_ptr<VariableListExpression>(new VariableListExpression(std::move(variables)));
}

int VariableListExpression::getWrapperTypeId() const {
    return WrapperTypeIds::VARIABLE_LIST_EXPRESSION;
}

DataTypeExt::type VariableListExpression::getDataType() const {
    return DataTypeExt::LIST;
}

std::shared_ptr<Expression> VariableListExpression::clone() const {
    return std::shared_ptr<VariableListExpression>(new VariableListExpression(*this));
}

void VariableListExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    CompoundConstantExpression::printList(stream, operands_, context);
}

bool VariableListExpression::validateStructure() const {
    for (const auto& operand : operands_) {
        if (!operand || !operand->isVariable() || !operand->hasValidStructure()) {
            return false;
        }
    }
    return true;
}

bool VariableListExpression::validateTypeAgreement() const {
    return true;
}

}  // namespace pellium
