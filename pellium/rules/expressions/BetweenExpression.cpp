#include "pellium/rules/expressions/BetweenExpression.h"

#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

std::shared_ptr<BetweenExpression> BetweenExpression::create(std::shared_ptr<Expression> itemToCompare,
                                                             std::shared_ptr<Expression> leftBoundary,
                                                             std::shared_ptr<Expression> rightBoundary,
                                                             bool includesBoundaries, bool isInvertedToMatchOutside) {
    auto node = std::shared_ptr<BetweenExpression>(new BetweenExpression(includesBoundaries, isInvertedToMatchOutside));
    node->operands_ = {std::move(itemToCompare), std::move(leftBoundary), std::move(rightBoundary)};
    return node;
}

FunctionExpressionType::type BetweenExpression::updateFunctionType() const {
    if (isInvertedToMatchOutside_) {
        return includesBoundaries_ ? FunctionExpressionType::F_OUTSIDE_INCLUDING_BOUNDS
                                   : FunctionExpressionType::F_OUTSIDE_EXCLUDING_BOUNDS;
    }
    return includesBoundaries_ ? FunctionExpressionType::F_BETWEEN : FunctionExpressionType::F_BETWEEN_EXCLUDING_BOUNDS;
}

bool BetweenExpression::setFunctionType(FunctionExpressionType::type function) {
    if (!FunctionExpressionType::isRange(function)) {
        return false;
    }
    includesBoundaries_ = includesBoundariesOf(function);
    isInvertedToMatchOutside_ = matchesOutsideOf(function);
    return true;
}

bool BetweenExpression::test(const Expression* item, const Expression* left, const Expression* right,
                             const ExpressionDataContext& context, bool includesBoundaries, bool isInverted) {
    using Operator = BinaryRelationalOperator;
    if (!item || !left || !right) {
        return false;
    }
    const bool asTexts = item->getDataTypeInContext(context) == DataTypeExt::CHARACTER;
    const auto compare = [&](Operator::type op, const Expression* boundary) {
        return BinaryRelationalExpression::compareAs(op, item, boundary, context, asTexts, false);
    };
    if (!isInverted) {
        return compare(includesBoundaries ? Operator::GE : Operator::GT, left) &&
               compare(includesBoundaries ? Operator::LE : Operator::LT, right);
    }
    return compare(includesBoundaries ? Operator::LE : Operator::LT, left) ||
           compare(includesBoundaries ? Operator::GE : Operator::GT, right);
}

int BetweenExpression::getWrapperTypeId() const {
    return WrapperTypeIds::BETWEEN_EXPRESSION;
}

DataTypeExt::type BetweenExpression::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool BetweenExpression::isLeaf() const {
    return false;
}

bool BetweenExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> BetweenExpression::clone() const {
    return std::shared_ptr<BetweenExpression>(new BetweenExpression(*this));
}

bool BetweenExpression::isBooleanExpression() const {
    return true;
}

bool BetweenExpression::evaluateAsBoolean(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement()) {
        return false;
    }
    return test(operands_[0].get(), operands_[1].get(), operands_[2].get(), context, includesBoundaries_,
                isInvertedToMatchOutside_);
}

std::shared_ptr<AbstractWhereClauseExpression> BetweenExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void BetweenExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void BetweenExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    printAsFunctionCall(stream, context, getTokenName());
}

std::string_view BetweenExpression::getTokenName() const {
    return FunctionExpressionType::getName(updateFunctionType());
}

void BetweenExpression::synchronizeSpecializedOperands() {
    operands_.resize(3);
}

bool BetweenExpression::validateStructure() const {
    return operands_.size() == 3 && operandsHaveValidStructure();
}

bool BetweenExpression::validateTypeAgreement() const {
    if (!operandsHaveValidTypeAgreement()) {
        return false;
    }
    const DataTypeExt::type itemType = operands_[0]->getDataType();
    return DataTypeExt::agree(itemType, operands_[1]->getDataType()) &&
           DataTypeExt::agree(itemType, operands_[2]->getDataType());
}

bool BetweenExpression::hasEqualAttributes(const Expression& other) const {
    const auto& between = static_cast<const BetweenExpression&>(other);
    return includesBoundaries_ == between.includesBoundaries_ &&
           isInvertedToMatchOutside_ == between.isInvertedToMatchOutside_;
}

}  // namespace pellium
