#include "pellium/rules/expressions/CompoundBooleanExpression.h"

#include <ostream>

#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

std::shared_ptr<CompoundBooleanExpression> CompoundBooleanExpression::create(int op, ExpressionList children) {
    auto node = std::shared_ptr<CompoundBooleanExpression>(new CompoundBooleanExpression(op));
    node->operands_ = std::move(children);
    return node;
}

bool CompoundBooleanExpression::combine(bool isConjunction, std::span<const std::shared_ptr<Expression>> children,
                                        const ExpressionDataContext& context) {
    for (const auto& child : children) {
        const bool isUsable = child && child->isBooleanExpression();
        if (isConjunction) {
            if (isUsable && !child->evaluateAsBoolean(context)) {
                return false;
            }
        } else if (!isUsable || child->evaluateAsBoolean(context)) {
            return true;
        }
    }
    return isConjunction;
}

int CompoundBooleanExpression::getWrapperTypeId() const {
    return WrapperTypeIds::COMPOUND_BOOLEAN_EXPRESSION;
}

DataTypeExt::type CompoundBooleanExpression::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool CompoundBooleanExpression::isLeaf() const {
    return false;
}

bool CompoundBooleanExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> CompoundBooleanExpression::clone() const {
    return std::shared_ptr<CompoundBooleanExpression>(new CompoundBooleanExpression(*this));
}

bool CompoundBooleanExpression::isBooleanExpression() const {
    return true;
}

bool CompoundBooleanExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    return hasValidTypeAgreement() && combine(isConjunction(), operands_, context);
}

std::shared_ptr<AbstractWhereClauseExpression> CompoundBooleanExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void CompoundBooleanExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void CompoundBooleanExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    if (operands_.size() < 2) {
        // The upper-case name, as the words AND and OR would read as the logical operators.
        stream << FunctionExpressionType::getUpperCaseName(isConjunction() ? FunctionExpressionType::F_AND
                                                                           : FunctionExpressionType::F_OR)
               << '(';
        if (!operands_.empty()) {
            printTemplateArgumentWithIndex(stream, context, 0);
        }
        stream << ')';
        return;
    }
    const std::string_view separator = isConjunction() ? " AND " : " OR ";
    for (std::size_t index = 0; index < operands_.size(); ++index) {
        if (index > 0) {
            stream << separator;
        }
        printOperand(stream, operands_[index].get(), context, getPrintPrecedence() + 1);
    }
}

std::string_view CompoundBooleanExpression::getTokenName() const {
    return FunctionExpressionType::getName(isConjunction() ? FunctionExpressionType::F_AND
                                                           : FunctionExpressionType::F_OR);
}

int CompoundBooleanExpression::getPrintPrecedence() const {
    if (operands_.size() < 2) {
        return PRIMARY_PRECEDENCE;
    }
    return isConjunction() ? AND_PRECEDENCE : OR_PRECEDENCE;
}

bool CompoundBooleanExpression::validateStructure() const {
    for (const auto& child : operands_) {
        if (child && !child->hasValidStructure()) {
            return false;
        }
    }
    return true;
}

bool CompoundBooleanExpression::validateTypeAgreement() const {
    for (const auto& child : operands_) {
        if (child && !child->hasValidTypeAgreement()) {
            return false;
        }
    }
    return true;
}

bool CompoundBooleanExpression::hasEqualAttributes(const Expression& other) const {
    return isConjunction() == static_cast<const CompoundBooleanExpression&>(other).isConjunction();
}

}  // namespace pellium
