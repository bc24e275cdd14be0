#include "pellium/rules/expressions/BinaryRelationalExpression.h"

#include <ostream>

#include "pellium/rules/expressions/ExpressionComparisons.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/ExpressionKeywords.h"
#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

std::shared_ptr<BinaryRelationalExpression> BinaryRelationalExpression::create(BinaryRelationalOperator::type op,
                                                                               std::shared_ptr<Expression> left,
                                                                               std::shared_ptr<Expression> right,
                                                                               bool trimsTexts) {
    auto node = std::shared_ptr<BinaryRelationalExpression>(new BinaryRelationalExpression(op, trimsTexts));
    node->operands_ = {std::move(left), std::move(right)};
    return node;
}

bool BinaryRelationalExpression::compare(BinaryRelationalOperator::type op, const Expression* left,
                                         const Expression* right, const ExpressionDataContext& context,
                                         bool trimsTexts) {
    if (!left || !right) {
        return false;
    }
    return compareAs(op, left, right, context, right->getDataTypeInContext(context) == DataTypeExt::CHARACTER,
                     trimsTexts);
}

bool BinaryRelationalExpression::compareAs(BinaryRelationalOperator::type op, const Expression* left,
                                           const Expression* right, const ExpressionDataContext& context, bool asTexts,
                                           bool trimsTexts) {
    if (asTexts) {
        const SharedString leftText = left->evaluateAsString(context);
        const SharedString rightText = right->evaluateAsString(context);
        return ExpressionComparisons::compareTexts(op, leftText.get(), rightText.get(), trimsTexts);
    }
    return ExpressionComparisons::compareNumbers(op, left->evaluateAsNumber(context), right->evaluateAsNumber(context),
                                                 context.getTolerance());
}

int BinaryRelationalExpression::getWrapperTypeId() const {
    return WrapperTypeIds::BINARY_RELATIONAL_EXPRESSION;
}

DataTypeExt::type BinaryRelationalExpression::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool BinaryRelationalExpression::isLeaf() const {
    return false;
}

bool BinaryRelationalExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> BinaryRelationalExpression::clone() const {
    return std::shared_ptr<BinaryRelationalExpression>(new BinaryRelationalExpression(*this));
}

bool BinaryRelationalExpression::isBooleanExpression() const {
    return true;
}

bool BinaryRelationalExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement()) {
        return false;
    }
    return compare(operator_, operands_[0].get(), operands_[1].get(), context, trimsTexts_);
}

std::shared_ptr<AbstractWhereClauseExpression> BinaryRelationalExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void BinaryRelationalExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void BinaryRelationalExpression::printToStream(std::ostream& stream,
                                               const ExpressionDescriptionContext& context) const {
    if (trimsTexts_) {
        const std::string_view word = ExpressionTokens::getWordForTokenName(getTokenName());
        stream << (context.writesFunctionNames || word.empty() ? getTokenName() : word) << '(';
        printOperand(stream, getLeftOperand().get(), context, OR_PRECEDENCE);
        stream << ", ";
        printOperand(stream, getRightOperand().get(), context, OR_PRECEDENCE);
        stream << ", " << ExpressionTokens::getWord(ExpressionKeywords::KW_LEADING_AND_TRAILING) << ')';
        return;
    }
    printOperand(stream, getLeftOperand().get(), context, ADDITIVE_PRECEDENCE);
    stream << ' ' << BinaryRelationalOperator::getSymbol(operator_) << ' ';
    printOperand(stream, getRightOperand().get(), context, ADDITIVE_PRECEDENCE);
}

std::string_view BinaryRelationalExpression::getTokenName() const {
    if (operator_ == BinaryRelationalOperator::NONE || !BinaryRelationalOperator::isValid(operator_)) {
        return {};
    }
    // The comparison functions are numbered 1 to 6 in the operators' order.
    return FunctionExpressionType::getName(static_cast<FunctionExpressionType::type>(operator_));
}

void BinaryRelationalExpression::synchronizeSpecializedOperands() {
    operands_.resize(2);
}

int BinaryRelationalExpression::getPrintPrecedence() const {
    return trimsTexts_ ? PRIMARY_PRECEDENCE : COMPARISON_PRECEDENCE;
}

bool BinaryRelationalExpression::validateStructure() const {
    return operands_.size() == 2 && BinaryRelationalOperator::isValid(operator_) && operandsHaveValidStructure();
}

bool BinaryRelationalExpression::validateTypeAgreement() const {
    return operandsHaveValidTypeAgreement() &&
           DataTypeExt::agree(operands_[0]->getDataType(), operands_[1]->getDataType());
}

bool BinaryRelationalExpression::hasEqualAttributes(const Expression& other) const {
    const auto& relational = static_cast<const BinaryRelationalExpression&>(other);
    return operator_ == relational.operator_ && trimsTexts_ == relational.trimsTexts_;
}

}  // namespace pellium
