#include "pellium/rules/expressions/NegatedExpression.h"

#include <ostream>

#include "pellium/rules/expressions/FunctionExpressionType.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

std::shared_ptr<NegatedExpression> NegatedExpression::create(std::shared_ptr<Expression> subExpression) {
    auto node = std::shared_ptr<NegatedExpression>(new NegatedExpression());
    node->operands_ = {std::move(subExpression)};
    return node;
}

int NegatedExpression::getWrapperTypeId() const {
    return WrapperTypeIds::NEGATED_EXPRESSION;
}

DataTypeExt::type NegatedExpression::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool NegatedExpression::isLeaf() const {
    return false;
}

bool NegatedExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> NegatedExpression::clone() const {
    return std::shared_ptr<NegatedExpression>(new NegatedExpression(*this));
}

bool NegatedExpression::isBooleanExpression() const {
    return true;
}

bool NegatedExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement() || operands_.empty()) {
        return false;
    }
    const auto& operand = operands_.front();
    return operand->isBooleanExpression() && !operand->evaluateAsBoolean(context);
}

std::shared_ptr<AbstractWhereClauseExpression> NegatedExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void NegatedExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void NegatedExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    stream << "NOT ";
    printOperand(stream, getSubExpression().get(), context, NOT_PRECEDENCE);
}

std::string_view NegatedExpression::getTokenName() const {
    return FunctionExpressionType::getName(FunctionExpressionType::F_NOT);
}

int NegatedExpression::getPrintPrecedence() const {
    return NOT_PRECEDENCE;
}

bool NegatedExpression::validateStructure() const {
    return operands_.size() == 1 && operandsHaveValidStructure();
}

bool NegatedExpression::validateTypeAgreement() const {
    return operandsHaveValidTypeAgreement();
}

}  // namespace pellium
