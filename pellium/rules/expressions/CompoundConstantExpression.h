#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A literal list in square brackets, [1, 2.5, .] or ['East', 'West']: the members of an In test.
/// Its operands are number and text constants; the list is valid when they are all of one kind.
class PELLIUM_EXPORT CompoundConstantExpression final : public Expression {
public:
    static std::shared_ptr<CompoundConstantExpression> create(ExpressionList constants = {});

    int getWrapperTypeId() const override;
    /// LIST.
    DataTypeExt::type getDataType() const override;
    bool isConstant() const override;
    std::shared_ptr<Expression> clone() const override;
    std::vector<double> evaluateAsNumberList(const ExpressionDataContext& context) const override;
    std::vector<SharedString> evaluateAsStringList(const ExpressionDataContext& context) const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;

    /// Writes "[" and the operands separated by ", " and "]", as lists are written.
    static void printList(std::ostream& stream, const ExpressionList& operands,
                          const ExpressionDescriptionContext& context);

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;

private:
    explicit CompoundConstantExpression(ExpressionList constants) { operands_ = std::move(constants); }
    CompoundConstantExpression(const CompoundConstantExpression&) = default;
};

}  // namespace pellium
