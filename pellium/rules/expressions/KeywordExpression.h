#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/rules/expressions/ExpressionKeywords.h"

namespace pellium {

/// A keyword in expression text: True and False are boolean constants; the others (Sum, ByYear,
/// Ascending...) are options of the functions that take them and have no value of their own.
class PELLIUM_EXPORT KeywordExpression final : public Expression {
public:
    static std::shared_ptr<KeywordExpression> create(ExpressionKeywords::type keyword);

    ExpressionKeywords::type getKeyword() const { return keyword_; }

    int getWrapperTypeId() const override;
    /// BOOLEAN for True and False, UNKNOWN for every other keyword.
    DataTypeExt::type getDataType() const override;
    bool isConstant() const override;
    bool isKeyword() const override;
    bool isLeaf() const override;
    std::shared_ptr<Expression> clone() const override;
    bool isBooleanExpression() const override;
    /// True exactly for the keyword True.
    bool evaluateAsBoolean(const ExpressionDataContext& context) const override;
    /// TRUE for the keyword true, FALSE for false; null for the others.
    std::shared_ptr<AbstractWhereClauseExpression> asWhereExpression(
        const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider) const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    std::string_view getTokenName() const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit KeywordExpression(ExpressionKeywords::type keyword) : keyword_(keyword) {}
    KeywordExpression(const KeywordExpression&) = default;

    ExpressionKeywords::type keyword_;
};

}  // namespace pellium
