#include "pellium/rules/expressions/ExpressionConditionVariable.h"

#include <ostream>

#include "pellium/rules/expressions/DataItemExpression.h"

namespace pellium {

std::shared_ptr<ExpressionConditionVariable> ExpressionConditionVariable::create(SharedString name) {
    if (!name) {
        return nullptr;
    }
    return std::shared_ptr<ExpressionConditionVariable>(new ExpressionConditionVariable(std::move(name)));
}

int ExpressionConditionVariable::getWrapperTypeId() const {
    return WrapperTypeIds::EXPRESSION_CONDITION_VARIABLE;
}

DataTypeExt::type ExpressionConditionVariable::getDataType() const {
    return DataTypeExt::BOOLEAN;
}

bool ExpressionConditionVariable::isLeaf() const {
    return true;
}

bool ExpressionConditionVariable::isVariable() const {
    return true;
}

std::shared_ptr<Expression> ExpressionConditionVariable::clone() const {
    return std::shared_ptr<ExpressionConditionVariable>(new ExpressionConditionVariable(*this));
}

void ExpressionConditionVariable::printToStream(std::ostream& stream, const ExpressionDescriptionContext&) const {
    stream << '$';
    DataItemExpression::printName(stream, *name_);
}

bool ExpressionConditionVariable::validateStructure() const {
    return !name_->empty();
}

bool ExpressionConditionVariable::validateTypeAgreement() const {
    return true;
}

bool ExpressionConditionVariable::hasEqualAttributes(const Expression& other) const {
    return *name_ == *static_cast<const ExpressionConditionVariable&>(other).name_;
}

}  // namespace pellium
