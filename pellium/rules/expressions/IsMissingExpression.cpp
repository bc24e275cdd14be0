#include "pellium/rules/expressions/IsMissingExpression.h"

#include "pellium/rules/expressions/ExpressionComparisons.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

std::shared_ptr<IsMissingExpression> IsMissingExpression::create(std::shared_ptr<Expression> subExpression,
                                                                 bool hasInvertedMeaning) {
    auto node = std::shared_ptr<IsMissingExpression>(new IsMissingExpression(hasInvertedMeaning));
    node->operands_ = {std::move(subExpression)};
    return node;
}

bool IsMissingExpression::test(const Expression* operand, const ExpressionDataContext& context, bool isInverted) {
    if (!operand) {
        return false;
    }
    if (operand->getDataTypeInContext(context) == DataTypeExt::CHARACTER) {
        return StringUtilities::isStringMissing(operand->evaluateAsString(context)) != isInverted;
    }
    const double number = operand->evaluateAsNumber(context);
    if (ExpressionComparisons::isSuppressed(number)) {
        return false;
    }
    return ExpressionComparisons::isMissing(number) != isInverted;
}

int IsMissingExpression::getWrapperTypeId() const {
    return WrapperTypeIds::IS_MISSING_EXPRESSION;
}

DataTypeExt::type IsMissingExpression::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool IsMissingExpression::isLeaf() const {
    return false;
}

bool IsMissingExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> IsMissingExpression::clone() const {
    return std::shared_ptr<IsMissingExpression>(new IsMissingExpression(*this));
}

bool IsMissingExpression::isBooleanExpression() const {
    return true;
}

bool IsMissingExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    return hasValidTypeAgreement() && test(operands_[0].get(), context, hasInvertedMeaning_);
}

std::shared_ptr<AbstractWhereClauseExpression> IsMissingExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void IsMissingExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void IsMissingExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    printAsFunctionCall(stream, context, getTokenName());
}

std::string_view IsMissingExpression::getTokenName() const {
    return FunctionExpressionType::getName(hasInvertedMeaning_ ? FunctionExpressionType::F_NOT_MISSING
                                                               : FunctionExpressionType::F_IS_MISSING);
}

bool IsMissingExpression::validateStructure() const {
    return operands_.size() == 1 && operandsHaveValidStructure();
}

bool IsMissingExpression::validateTypeAgreement() const {
    return operandsHaveValidTypeAgreement();
}

bool IsMissingExpression::hasEqualAttributes(const Expression& other) const {
    return hasInvertedMeaning_ == static_cast<const IsMissingExpression&>(other).hasInvertedMeaning_;
}

}  // namespace pellium
