#include "pellium/rules/expressions/KeywordExpression.h"

#include <ostream>

#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/WhereClauseConversion.h"

namespace pellium {

std::shared_ptr<KeywordExpression> KeywordExpression::create(ExpressionKeywords::type keyword) {
    return std::shared_ptr<KeywordExpression>(new KeywordExpression(keyword));
}

int KeywordExpression::getWrapperTypeId() const {
    return WrapperTypeIds::KEYWORD_EXPRESSION;
}

DataTypeExt::type KeywordExpression::getDataType() const {
    return keyword_ == ExpressionKeywords::KW_FALSE || keyword_ == ExpressionKeywords::KW_TRUE ? DataTypeExt::BOOLEAN
                                                                                               : DataTypeExt::UNKNOWN;
}

bool KeywordExpression::isConstant() const {
    return true;
}

bool KeywordExpression::isKeyword() const {
    return true;
}

bool KeywordExpression::isLeaf() const {
    return true;
}

std::shared_ptr<Expression> KeywordExpression::clone() const {
    return std::shared_ptr<KeywordExpression>(new KeywordExpression(*this));
}

bool KeywordExpression::isBooleanExpression() const {
    return getDataType() == DataTypeExt::BOOLEAN;
}

bool KeywordExpression::evaluateAsBoolean(const ExpressionDataContext&) const {
    return keyword_ == ExpressionKeywords::KW_TRUE;
}

std::shared_ptr<AbstractWhereClauseExpression> KeywordExpression::asWhereExpression(
    const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) const {
    return WhereClauseConversion::convert(*this, dataSet, hierarchies, provider);
}

void KeywordExpression::printToStream(std::ostream& stream, const ExpressionDescriptionContext&) const {
    const std::string_view word = ExpressionTokens::getWord(keyword_);
    stream << (word.empty() ? ExpressionTokens::getWord(ExpressionKeywords::KW_UNKNOWN) : word);
}

std::string_view KeywordExpression::getTokenName() const {
    return ExpressionTokens::getTokenName(keyword_);
}

bool KeywordExpression::validateStructure() const {
    return ExpressionKeywords::isValid(keyword_);
}

bool KeywordExpression::validateTypeAgreement() const {
    return true;
}

bool KeywordExpression::hasEqualAttributes(const Expression& other) const {
    return keyword_ == static_cast<const KeywordExpression&>(other).keyword_;
}

}  // namespace pellium
