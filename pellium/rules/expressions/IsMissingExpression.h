#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A test for a missing value, written Missing(Sales) or NotMissing(Sales). A text is missing when
/// it is null, empty or blank; a number when it is NaN or the most negative finite double. The
/// suppressed value makes both forms false.
class PELLIUM_EXPORT IsMissingExpression final : public Expression {
public:
    static std::shared_ptr<IsMissingExpression> create(std::shared_ptr<Expression> subExpression,
                                                       bool hasInvertedMeaning = false);

    const std::shared_ptr<Expression>& getSubExpression() const { return getOperand(0); }
    bool hasInvertedMeaning() const { return hasInvertedMeaning_; }
    void setInvertedMeaning(bool inverted) { hasInvertedMeaning_ = inverted; }

    /// Whether `operand` is missing in `context`, negated when `isInverted`; false when it is
    /// null or suppressed.
    static bool test(const Expression* operand, const ExpressionDataContext& context, bool isInverted);

    int getWrapperTypeId() const override;
    /// BOOLEAN.
    DataTypeExt::type getDataType() const override;
    bool isLeaf() const override;
    bool isValidForContext(const ExpressionDataContext& context) const override;
    std::shared_ptr<Expression> clone() const override;
    bool isBooleanExpression() const override;
    bool evaluateAsBoolean(const ExpressionDataContext& context) const override;
    std::shared_ptr<AbstractWhereClauseExpression> asWhereExpression(
        const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider) const override;
    void resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions) override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    /// "isMissing" or "notMissing".
    std::string_view getTokenName() const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit IsMissingExpression(bool hasInvertedMeaning) : hasInvertedMeaning_(hasInvertedMeaning) {}
    IsMissingExpression(const IsMissingExpression&) = default;

    bool hasInvertedMeaning_;
};

}  // namespace pellium
