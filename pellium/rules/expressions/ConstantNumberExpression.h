#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A number written in expression text (12.5, -3, 1e+21, Infinity); NaN is the missing number and
/// is written ".".
class PELLIUM_EXPORT ConstantNumberExpression final : public Expression {
public:
    static std::shared_ptr<ConstantNumberExpression> create(double value);

    double getValue() const { return value_; }
    void setValue(double value) { value_ = value; }

    int getWrapperTypeId() const override;
    DataTypeExt::type getDataType() const override;
    bool isConstant() const override;
    bool isLeaf() const override;
    std::shared_ptr<Expression> clone() const override;
    bool isNumericExpression() const override;
    double evaluateAsNumber(const ExpressionDataContext& context) const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit ConstantNumberExpression(double value) : value_(value) {}
    ConstantNumberExpression(const ConstantNumberExpression&) = default;

    double value_;
};

}  // namespace pellium
