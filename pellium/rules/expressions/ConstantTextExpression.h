#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A text written in expression text between single quotes, a quote inside doubled
/// ('O''Brien'). A null text prints and reads back as the empty text ''.
class PELLIUM_EXPORT ConstantTextExpression final : public Expression {
public:
    static std::shared_ptr<ConstantTextExpression> create(SharedString text);
    static std::shared_ptr<ConstantTextExpression> create(std::string_view text);

    const SharedString& getText() const { return text_; }
    void setText(SharedString text) { text_ = std::move(text); }

    /// Writes `text` quoted, each single quote doubled.
    static void printQuoted(std::ostream& stream, std::string_view text);

    int getWrapperTypeId() const override;
    DataTypeExt::type getDataType() const override;
    bool isConstant() const override;
    bool isLeaf() const override;
    std::shared_ptr<Expression> clone() const override;
    bool isCharacterExpression() const override;
    SharedString evaluateAsString(const ExpressionDataContext& context) const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    explicit ConstantTextExpression(SharedString text) : text_(std::move(text)) {}
    ConstantTextExpression(const ConstantTextExpression&) = default;

    SharedString text_;
};

}  // namespace pellium
