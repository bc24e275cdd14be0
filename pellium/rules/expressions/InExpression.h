#pragma once

#include <memory>
#include <span>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A membership test, written In(Region, ['East', 'West']) or NotIn(...). The first operand is
/// tested; the others are the members (a literal list among them counts member by member). The
/// test is true when the operand equals a member by the rules of the = comparison (as texts when
/// the tested operand is a text, tolerant for numbers, missing equal to missing); NotIn negates
/// it. A suppressed tested value makes both forms false.
class PELLIUM_EXPORT InExpression final : public Expression {
public:
    static std::shared_ptr<InExpression> create(std::shared_ptr<Expression> testOperand,
                                                ExpressionList membershipOperands, bool hasInvertedMeaning = false);

    const std::shared_ptr<Expression>& getTestOperand() const { return getOperand(0); }
    /// The members: every operand after the first.
    std::span<const std::shared_ptr<Expression>> getMembershipOperands() const;
    bool hasInvertedMeaning() const { return hasInvertedMeaning_; }
    void setInvertedMeaning(bool inverted) { hasInvertedMeaning_ = inverted; }

    /// Whether `operands[0]` equals one of the later operands in `context`; false when there is
    /// no operand or it is suppressed.
    static bool isMember(std::span<const std::shared_ptr<Expression>> operands, const ExpressionDataContext& context);
    /// The In test (NotIn when `isInverted`) of `operands[0]` against the later operands: false
    /// when the tested number is suppressed, whatever the form.
    static bool test(std::span<const std::shared_ptr<Expression>> operands, const ExpressionDataContext& context,
                     bool isInverted);

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
    /// Writes Word(test, [member, member...]), or Word(test, member, member...) when the members
    /// are not all constants or all data items.
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    /// "in" or "notIn".
    std::string_view getTokenName() const override;
    /// Makes sure the tested operand's position exists.
    void synchronizeSpecializedOperands() override;
    /// Argument 0 is the tested operand, argument 1 the list of members.
    void printTemplateArgumentWithIndex(std::ostream& stream, const ExpressionDescriptionContext& context,
                                        int index) const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    /// Whether the members are all constants or all data items, as a literal list holds them.
    bool membersFormALiteralList() const;

    explicit InExpression(bool hasInvertedMeaning) : hasInvertedMeaning_(hasInvertedMeaning) {}
    InExpression(const InExpression&) = default;

    bool hasInvertedMeaning_;
};

}  // namespace pellium
