#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A named condition defined elsewhere in a report (a display rule's condition), written with a
/// leading dollar sign: $HighSales or ${High Sales}. Its value comes from the report, not from a
/// row, so it evaluates to false here.
class PELLIUM_EXPORT ExpressionConditionVariable final : public Expression {
public:
    /// Null for a null name.
    static std::shared_ptr<ExpressionConditionVariable> create(SharedString name);

    const SharedString& getName() const { return name_; }

    int getWrapperTypeId() const override;
    /// BOOLEAN.
    DataTypeExt::type getDataType() const override;
    bool isLeaf() const override;
    bool isVariable() const override;
    std::shared_ptr<Expression> clone() const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit ExpressionConditionVariable(SharedString name) : name_(std::move(name)) {}
    ExpressionConditionVariable(const ExpressionConditionVariable&) = default;

    SharedString name_;
};

}  // namespace pellium
