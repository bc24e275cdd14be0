#include "pellium/rules/expressions/ConstantTextExpression.h"

#include <ostream>

namespace pellium {

std::shared_ptr<ConstantTextExpression> ConstantTextExpression::create(SharedString text) {
    return std::shared_ptr<ConstantTextExpression>(new ConstantTextExpression(std::move(text)));
}

std::shared_ptr<ConstantTextExpression> ConstantTextExpression::create(std::string_view text) {
    return create(StringUtilities::internString(text));
}

void ConstantTextExpression::printQuoted(std::ostream& stream, std::string_view text) {
    stream << '\'';
    std::size_t start = 0;
    for (std::size_t quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'', start)) {
        stream << text.substr(start, quote + 1 - start) << '\'';
        start = quote + 1;
    }
    stream << text.substr(start) << '\'';
}

int ConstantTextExpression::getWrapperTypeId() const {
    return WrapperTypeIds::CONSTANT_TEXT_EXPRESSION;
}

DataTypeExt::type ConstantTextExpression::getDataType() const {
    return DataTypeExt::CHARACTER;
}

bool ConstantTextExpression::isConstant() const {
    return true;
}

bool ConstantTextExpression::isLeaf() const {
    return true;
}

std::shared_ptr<Expression> ConstantTextExpression::clone() const {
    return std::shared_ptr<ConstantTextExpression>(new ConstantTextExpression(*this));
}

bool ConstantTextExpression::isCharacterExpression() const {
    return true;
}

SharedString ConstantTextExpression::evaluateAsString(const ExpressionDataContext&) const {
    return text_;
}

void ConstantTextExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext&) const {
    printQuoted(stream, text_ ? std::string_view(*text_) : std::string_view());
}

bool ConstantTextExpression::validateStructure() const {
    return true;
}

bool ConstantTextExpression::validateTypeAgreement() const {
    return true;
}

bool ConstantTextExpression::hasEqualAttributes(const Expression& other) const {
    const SharedString& otherText = static_cast<const ConstantTextExpression&>(other).text_;
    const std::string_view mine = text_ ? std::string_view(*text_) : std::string_view();
    const std::string_view theirs = otherText ? std::string_view(*otherText) : std::string_view();
    return mine == theirs;
}

}  // namespace pellium
