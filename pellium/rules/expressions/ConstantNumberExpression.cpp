#include "pellium/rules/expressions/ConstantNumberExpression.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <ostream>

namespace pellium {

std::shared_ptr<ConstantNumberExpression> ConstantNumberExpression::create(double value) {
    return std::shared_ptr<ConstantNumberExpression>(new ConstantNumberExpression(value));
}

int ConstantNumberExpression::getWrapperTypeId() const {
    return WrapperTypeIds::CONSTANT_NUMBER_EXPRESSION;
}

DataTypeExt::type ConstantNumberExpression::getDataType() const {
    return DataTypeExt::NUMERIC;
}

bool ConstantNumberExpression::isConstant() const {
    return true;
}

bool ConstantNumberExpression::isLeaf() const {
    return true;
}

std::shared_ptr<Expression> ConstantNumberExpression::clone() const {
    return std::shared_ptr<ConstantNumberExpression>(new ConstantNumberExpression(*this));
}

bool ConstantNumberExpression::isNumericExpression() const {
    return true;
}

double ConstantNumberExpression::evaluateAsNumber(const ExpressionDataContext&) const {
    return value_;
}

void ConstantNumberExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext&) const {
    if (std::isnan(value_)) {
        stream << '.';
    } else {
        stream << StringUtilities::createStringFromDouble(value_);
    }
}

bool ConstantNumberExpression::validateStructure() const {
    return true;
}

bool ConstantNumberExpression::validateTypeAgreement() const {
    return true;
}

bool ConstantNumberExpression::hasEqualAttributes(const Expression& other) const {
    const double otherValue = static_cast<const ConstantNumberExpression&>(other).value_;
    // Every NaN is the one missing number; otherwise the bits decide, so that -0 differs from 0.
    if (std::isnan(value_) || std::isnan(otherValue)) {
        return std::isnan(value_) && std::isnan(otherValue);
    }
    return std::bit_cast<std::uint64_t>(value_) == std::bit_cast<std::uint64_t>(otherValue);
}

}  // namespace pellium
