#include "pellium/rules/expressions/CompoundConstantExpression.h"

#include <ostream>

namespace pellium {

std::shared_ptr<CompoundConstantExpression> CompoundConstantExpression::create(ExpressionList constants) {
    return std::shared_ptr<CompoundConstantExpression>(new CompoundConstantExpression(std::move(constants)));
}

int CompoundConstantExpression::getWrapperTypeId() const {
    return WrapperTypeIds::COMPOUND_CONSTANT_EXPRESSION;
}

DataTypeExt::type CompoundConstantExpression::getDataType() const {
    return DataTypeExt::LIST;
}

bool CompoundConstantExpression::isConstant() const {
    return true;
}

std::shared_ptr<Expression> CompoundConstantExpression::clone() const {
    return std::shared_ptr<CompoundConstantExpression>(new CompoundConstantExpression(*this));
}

std::vector<double> CompoundConstantExpression::evaluateAsNumberList(const ExpressionDataContext& context) const {
    std::vector<double> numbers;
    numbers.reserve(operands_.size());
    for (const auto& operand : operands_) {
        numbers.push_back(operand ? operand->evaluateAsNumber(context) : Expression::evaluateAsNumber(context));
    }
    return numbers;
}

std::vector<SharedString> CompoundConstantExpression::evaluateAsStringList(const ExpressionDataContext& context) const {
    std::vector<SharedString> texts;
    texts.reserve(operands_.size());
    for (const auto& operand : operands_) {
        texts.push_back(operand ? operand->evaluateAsString(context) : nullptr);
    }
    return texts;
}

void CompoundConstantExpression::printToStream(std::ostream& stream,
                                               const ExpressionDescriptionContext& context) const {
    printList(stream, operands_, context);
}

void CompoundConstantExpression::printList(std::ostream& stream, const ExpressionList& operands,
                                           const ExpressionDescriptionContext& context) {
    stream << '[';
    for (std::size_t index = 0; index < operands.size(); ++index) {
        if (index > 0) {
            stream << ", ";
        }
        printOperand(stream, operands[index].get(), context, OR_PRECEDENCE);
    }
    stream << ']';
}

bool CompoundConstantExpression::validateStructure() const {
    for (const auto& operand : operands_) {
        if (!operand || !operand->isConstant() || !operand->isLeaf() || operand->isKeyword()) {
            return false;
        }
    }
    return true;
}

bool CompoundConstantExpression::validateTypeAgreement() const {
    for (const auto& operand : operands_) {
        if (operand->getDataType() != operands_.front()->getDataType()) {
            return false;
        }
    }
    return true;
}

}  // namespace pellium
