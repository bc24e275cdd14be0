#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// A reference to a data item (a column) by name. Its value is the item's value in the current
/// row of the context; its type is the item's type there, or the type declared with setDataType
/// when no context is at hand. Expression text writes the name bare when it reads back as a name
/// (Sales, Unit_Price) and in braces otherwise ({Unit Price}, {2024}, {a}}b} for "a}b").
///
/// The position of the item in a context is found once per context and remembered, so that
/// evaluation over many rows does no name look-up.
class PELLIUM_EXPORT DataItemExpression final : public Expression {
public:
    /// Null for a null name.
    static std::shared_ptr<DataItemExpression> create(SharedString name,
                                                      DataTypeExt::type dataType = DataTypeExt::UNKNOWN);

    const SharedString& getName() const { return name_; }
    void setDataType(DataTypeExt::type dataType) { dataType_ = dataType; }

    /// Writes `name` bare or in braces, as described above.
    static void printName(std::ostream& stream, std::string_view name);
    /// Whether `name` can be written bare.
    static bool canBeWrittenBare(std::string_view name);

    /// The position of the item in `context`; ExpressionDataContext::NO_ITEM when absent.
    int findItem(const ExpressionDataContext& context) const;

    int getWrapperTypeId() const override;
    DataTypeExt::type getDataType() const override;
    bool isLeaf() const override;
    bool isVariable() const override;
    bool hasContextualDataType() const override;
    bool isValidForContext(const ExpressionDataContext& context) const override;
    std::shared_ptr<Expression> clone() const override;
    /// True unless the declared type is not a number type.
    bool isNumericExpression() const override;
    /// True unless the declared type is not CHARACTER.
    bool isCharacterExpression() const override;
    double evaluateAsNumber(const ExpressionDataContext& context) const override;
    std::vector<double> evaluateAsNumberList(const ExpressionDataContext& context) const override;
    SharedString evaluateAsString(const ExpressionDataContext& context) const override;
    std::vector<SharedString> evaluateAsStringList(const ExpressionDataContext& context) const override;
    void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const override;
    DataTypeExt::type getDataTypeInContext(const ExpressionDataContext& context) const override;

protected:
    bool validateStructure() const override;
    bool validateTypeAgreement() const override;
    bool hasEqualAttributes(const Expression& other) const override;

private:
    DataItemExpression(SharedString name, DataTypeExt::type dataType) : name_(std::move(name)), dataType_(dataType) {}
    DataItemExpression(const DataItemExpression& other)
        : Wrappable(other), Expression(other), name_(other.name_), dataType_(other.dataType_) {}

    SharedString name_;
    DataTypeExt::type dataType_;
    // The context serial number in the high 40 bits and the item position + 1 in the low 24, in
    // one word so that threads evaluating with different contexts never see a torn pair.
    mutable std::atomic<std::uint64_t> cachedItem_{0};
};

}  // namespace pellium
