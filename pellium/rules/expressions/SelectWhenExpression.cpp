#include "pellium/rules/expressions/SelectWhenExpression.h"

#include <ostream>

#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/FunctionExpressionType.h"

namespace pellium {

std::shared_ptr<SelectWhenExpression> SelectWhenExpression::create(ExpressionList branches,
                                                                   std::shared_ptr<Expression> otherwise) {
    auto node = std::shared_ptr<SelectWhenExpression>(new SelectWhenExpression(otherwise != nullptr));
    node->operands_ = std::move(branches);
    if (otherwise) {
        node->operands_.push_back(std::move(otherwise));
    }
    return node;
}

const std::shared_ptr<Expression>& SelectWhenExpression::getOtherwise() const {
    static const std::shared_ptr<Expression> none;
    return hasOtherwise_ && !operands_.empty() ? operands_.back() : none;
}

const Expression* SelectWhenExpression::calculateReturnExpression(const ExpressionDataContext& context) const {
    const std::size_t branches = getNumberOfWhenBranches();
    for (std::size_t branch = 0; branch < branches; ++branch) {
        const auto& condition = operands_[2 * branch];
        if (condition && condition->evaluateAsBoolean(context)) {
            return operands_[2 * branch + 1].get();
        }
    }
    return getOtherwise().get();
}

template <typename Test>
bool SelectWhenExpression::allValues(Test&& test) const {
    const std::size_t branches = getNumberOfWhenBranches();
    for (std::size_t branch = 0; branch < branches; ++branch) {
        if (!test(operands_[2 * branch + 1])) {
            return false;
        }
    }
    return !hasOtherwise_ || test(operands_.back());
}

int SelectWhenExpression::getWrapperTypeId() const {
    return WrapperTypeIds::SELECT_WHEN_EXPRESSION;
}

DataTypeExt::type SelectWhenExpression::getDataType() const {
    const auto& first = getNumberOfWhenBranches() > 0 ? getReturnExpression(0) : getOtherwise();
    return first ? first->getDataType() : DataTypeExt::UNKNOWN;
}

bool SelectWhenExpression::isLeaf() const {
    return false;
}

bool SelectWhenExpression::isValidForContext(const ExpressionDataContext& context) const {
    return Expression::isValidForContext(context);
}

std::shared_ptr<Expression> SelectWhenExpression::clone() const {
    return std::shared_ptr<SelectWhenExpression>(new SelectWhenExpression(*this));
}

bool SelectWhenExpression::isNumericExpression() const {
    return allValues([](const std::shared_ptr<Expression>& value) { return value && value->isNumericExpression(); });
}

bool SelectWhenExpression::isCharacterExpression() const {
    return allValues([](const std::shared_ptr<Expression>& value) { return value && value->isCharacterExpression(); });
}

double SelectWhenExpression::evaluateAsNumber(const ExpressionDataContext& context) const {
    const Expression* chosen = hasValidTypeAgreement() ? calculateReturnExpression(context) : nullptr;
    return chosen ? chosen->evaluateAsNumber(context) : Expression::evaluateAsNumber(context);
}

SharedString SelectWhenExpression::evaluateAsString(const ExpressionDataContext& context) const {
    const Expression* chosen = hasValidTypeAgreement() ? calculateReturnExpression(context) : nullptr;
    return chosen ? chosen->evaluateAsString(context) : nullptr;
}

void SelectWhenExpression::resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) {
    Expression::resolveParameters(dataItemMap, expressions);
}

void SelectWhenExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const {
    const auto wordOf = [&](FunctionExpressionType::type function) {
        return context.writesFunctionNames ? FunctionExpressionType::getName(function)
                                           : ExpressionTokens::getWord(function);
    };
    stream << wordOf(FunctionExpressionType::F_SELECT) << '(';
    const std::size_t branches = getNumberOfWhenBranches();
    for (std::size_t branch = 0; branch < branches; ++branch) {
        stream << (branch > 0 ? ", " : "") << wordOf(FunctionExpressionType::F_WHEN) << '(';
        printOperand(stream, getCondition(branch).get(), context, OR_PRECEDENCE);
        stream << ", ";
        printOperand(stream, getReturnExpression(branch).get(), context, OR_PRECEDENCE);
        stream << ')';
    }
    if (hasOtherwise_) {
        stream << (branches > 0 ? ", " : "") << wordOf(FunctionExpressionType::F_OTHERWISE) << '(';
        printOperand(stream, getOtherwise().get(), context, OR_PRECEDENCE);
        stream << ')';
    }
    stream << ')';
}

std::string_view SelectWhenExpression::getTokenName() const {
    return FunctionExpressionType::getName(FunctionExpressionType::F_SELECT);
}

bool SelectWhenExpression::validateStructure() const {
    const std::size_t expected = 2 * getNumberOfWhenBranches() + (hasOtherwise_ ? 1 : 0);
    return getNumberOfWhenBranches() > 0 && operands_.size() == expected && operandsHaveValidStructure();
}

bool SelectWhenExpression::validateTypeAgreement() const {
    if (!operandsHaveValidTypeAgreement()) {
        return false;
    }
    for (std::size_t branch = 0; branch < getNumberOfWhenBranches(); ++branch) {
        if (!getCondition(branch)->isBooleanExpression()) {
            return false;
        }
    }
    const DataTypeExt::type type = getDataType();
    return allValues(
        [type](const std::shared_ptr<Expression>& value) { return DataTypeExt::agree(type, value->getDataType()); });
}

bool SelectWhenExpression::hasEqualAttributes(const Expression& other) const {
    return hasOtherwise_ == static_cast<const SelectWhenExpression&>(other).hasOtherwise_;
}

}  // namespace pellium
