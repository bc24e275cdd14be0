#pragma once

#include <memory>
#include <span>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// The conjunction or disjunction of its children, written a AND b AND c or a OR b (F_AND() and
/// F_OR(x) for fewer than two children). The operator is 0 for AND; any other value is OR.
///
/// Deliberate asymmetry, relied upon by rule authors: AND skips children that are null or not
/// boolean, while OR answers true as soon as it meets one. An AND without children is true, an
/// OR without children false. Null and non-boolean children do not make the node invalid.
class PELLIUM_EXPORT CompoundBooleanExpression final : public Expression {
public:
    static constexpr int AND_OPERATOR = 0;
    static constexpr int OR_OPERATOR = 1;

    static std::shared_ptr<CompoundBooleanExpression> create(int op, ExpressionList children = {});

    int getOperator() const { return operator_; }
    bool isConjunction() const { return operator_ == AND_OPERATOR; }
    void setOperator(int op) { operator_ = op; }

    /// The AND or OR of `children` by the rules above (without the node's own validity test).
    static bool combine(bool isConjunction, std::span<const std::shared_ptr<Expression>> children,
                        const ExpressionDataContext& context);

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
    /// "and" or "or".
    std::string_view getTokenName() const override;
    int getPrintPrecedence() const override;

protected:
    /// Every present child has valid structure.
    bool validateStructure() const override;
    /// Every present child has valid type agreement.
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit CompoundBooleanExpression(int op) : operator_(op) {}
    CompoundBooleanExpression(const CompoundBooleanExpression&) = default;

    int operator_;
};

}  // namespace pellium
