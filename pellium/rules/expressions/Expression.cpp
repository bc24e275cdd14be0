#include "pellium/rules/expressions/Expression.h"

#include <limits>
#include <ostream>
#include <sstream>

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/ConstantTextExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"
#include "pellium/rules/expressions/ExpressionTokens.h"

namespace pellium {

namespace {

std::shared_ptr<Expression> createConstantForValue(const std::shared_ptr<const DataValue>& value) {
    if (value && value->isString()) {
        return ConstantTextExpression::create(value->getStringValue());
    }
    return ConstantNumberExpression::create(value ? value->getNumericValue()
                                                  : std::numeric_limits<double>::quiet_NaN());
}

}  // namespace

Expression::Expression(const Expression& other) : Wrappable(other), std::enable_shared_from_this<Expression>() {
    operands_.reserve(other.operands_.size());
    for (const auto& operand : other.operands_) {
        operands_.push_back(operand ? operand->clone() : nullptr);
    }
}

Expression::~Expression() = default;

int Expression::getWrapperTypeId() const {
    return WrapperTypeIds::EXPRESSION;
}

DataTypeExt::type Expression::getDataType() const {
    return DataTypeExt::UNKNOWN;
}

bool Expression::isConstant() const {
    return false;
}

bool Expression::isKeyword() const {
    return false;
}

bool Expression::isLeaf() const {
    return false;
}

bool Expression::isVariable() const {
    return false;
}

bool Expression::hasContextualDataType() const {
    return false;
}

bool Expression::cached(std::atomic<std::int8_t>& state, bool (Expression::*validate)() const, const Expression& node) {
    const std::int8_t known = state.load(std::memory_order_relaxed);
    if (known != NOT_KNOWN) {
        return known == VALID;
    }
    const bool isValid = (node.*validate)();
    state.store(isValid ? VALID : INVALID, std::memory_order_relaxed);
    return isValid;
}

bool Expression::hasValidStructure() const {
    return cached(structureValidity_, &Expression::validateStructure, *this);
}

bool Expression::hasValidTypeAgreement() const {
    return hasValidStructure() && cached(typeAgreementValidity_, &Expression::validateTypeAgreement, *this);
}

bool Expression::isValidForContext(const ExpressionDataContext& context) const {
    if (!hasValidTypeAgreement()) {
        return false;
    }
    for (const auto& operand : operands_) {
        if (operand && !operand->isValidForContext(context)) {
            return false;
        }
    }
    return true;
}

void Expression::invalidate(bool includingOperands) {
    structureValidity_.store(NOT_KNOWN, std::memory_order_relaxed);
    typeAgreementValidity_.store(NOT_KNOWN, std::memory_order_relaxed);
    if (!includingOperands) {
        return;
    }
    for (const auto& operand : operands_) {
        if (operand) {
            operand->invalidate(true);
        }
    }
}

bool Expression::isBooleanExpression() const {
    return false;
}

bool Expression::isNumericExpression() const {
    return false;
}

bool Expression::isCharacterExpression() const {
    return false;
}

bool Expression::evaluateAsBoolean(const ExpressionDataContext&) const {
    return false;
}

double Expression::evaluateAsNumber(const ExpressionDataContext&) const {
    return std::numeric_limits<double>::quiet_NaN();
}

std::vector<double> Expression::evaluateAsNumberList(const ExpressionDataContext& context) const {
    return {evaluateAsNumber(context)};
}

SharedString Expression::evaluateAsString(const ExpressionDataContext&) const {
    return nullptr;
}

std::vector<SharedString> Expression::evaluateAsStringList(const ExpressionDataContext& context) const {
    return {evaluateAsString(context)};
}

std::shared_ptr<AbstractWhereClauseExpression> Expression::asWhereExpression(
    const std::shared_ptr<const DataSet>&, const std::shared_ptr<const Hierarchies>&,
    const std::shared_ptr<const MetadataProvider>&) const {
    return nullptr;
}

void Expression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    const std::size_t replacedBefore = expressions.size();
    bool hasReplaced = false;
    for (auto& operand : operands_) {
        if (!operand) {
            continue;
        }
        const auto* dataItem = dynamic_cast<const DataItemExpression*>(operand.get());
        const auto found = dataItem && dataItem->getName() ? dataItemMap.find(*dataItem->getName()) : dataItemMap.end();
        if (found == dataItemMap.end()) {
            operand->resolveParameters(dataItemMap, expressions);
            continue;
        }
        expressions.push_back(operand);
        operand = createConstantForValue(found->second);
        hasReplaced = true;
    }
    if (hasReplaced) {
        synchronizeSpecializedOperands();
    }
    // A replacement anywhere below changes what this node's validity was computed from.
    if (expressions.size() != replacedBefore) {
        invalidate(false);
    }
}

void Expression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    printAsFunctionCall(stream, context, getTokenName());
}

std::string_view Expression::getTokenName() const {
    return {};
}

void Expression::synchronizeSpecializedOperands() {}

void Expression::printTemplateArgumentWithIndex(std::ostream& stream, const ExpressionDescriptionContext& context,
                                                int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= operands_.size()) {
        return;
    }
    printOperand(stream, operands_[static_cast<std::size_t>(index)].get(), context, OR_PRECEDENCE);
}

DataTypeExt::type Expression::getDataTypeInContext(const ExpressionDataContext&) const {
    return getDataType();
}

int Expression::getPrintPrecedence() const {
    return PRIMARY_PRECEDENCE;
}

void Expression::setOperands(ExpressionList operands) {
    operands_ = std::move(operands);
    synchronizeSpecializedOperands();
    invalidate(false);
}

const std::shared_ptr<Expression>& Expression::getOperand(std::size_t index) const {
    static const std::shared_ptr<Expression> none;
    return index < operands_.size() ? operands_[index] : none;
}

bool Expression::isEqual(const Expression& other) const {
    if (this == &other) {
        return true;
    }
    if (getWrapperTypeId() != other.getWrapperTypeId() || !hasEqualAttributes(other) ||
        operands_.size() != other.operands_.size()) {
        return false;
    }
    for (std::size_t index = 0; index < operands_.size(); ++index) {
        const auto& mine = operands_[index];
        const auto& theirs = other.operands_[index];
        if (!mine || !theirs ? mine != theirs : !mine->isEqual(*theirs)) {
            return false;
        }
    }
    return true;
}

std::string Expression::toString() const {
    std::ostringstream stream;
    printToStream(stream, ExpressionDescriptionContext());
    return stream.str();
}

void Expression::printOperand(std::ostream& stream, const Expression* operand,
                              const ExpressionDescriptionContext& context, int minimumPrecedence) {
    if (!operand) {
        stream << '?';
        return;
    }
    const bool needsParentheses = operand->getPrintPrecedence() < minimumPrecedence;
    if (needsParentheses) {
        stream << '(';
    }
    operand->printToStream(stream, context);
    if (needsParentheses) {
        stream << ')';
    }
}

void Expression::printAsFunctionCall(std::ostream& stream, const ExpressionDescriptionContext& context,
                                     std::string_view tokenName) const {
    const std::string_view word = ExpressionTokens::getWordForTokenName(tokenName);
    stream << (context.writesFunctionNames || word.empty() ? tokenName : word) << '(';
    for (std::size_t index = 0; index < operands_.size(); ++index) {
        if (index > 0) {
            stream << ", ";
        }
        printTemplateArgumentWithIndex(stream, context, static_cast<int>(index));
    }
    stream << ')';
}

bool Expression::hasEqualAttributes(const Expression&) const {
    return true;
}

bool Expression::operandsHaveValidStructure() const {
    for (const auto& operand : operands_) {
        if (!operand || !operand->hasValidStructure()) {
            return false;
        }
    }
    return true;
}

bool Expression::operandsHaveValidTypeAgreement() const {
    for (const auto& operand : operands_) {
        if (!operand || !operand->hasValidTypeAgreement()) {
            return false;
        }
    }
    return true;
}

}  // namespace pellium
