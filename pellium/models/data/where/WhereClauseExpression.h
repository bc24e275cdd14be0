#pragma once

#include <concepts>
#include <memory>

#include "pellium/Export.h"
#include "pellium/models/data/where/AbstractWhereClauseExpression.h"
#include "pellium/models/data/where/MetadataProvider.h"
#include "pellium/models/data/where/WhereClauseOperators.h"

namespace pellium {

class Column;

/// The leaf of a where clause: one named column compared with one constant value by one operator,
/// or a constant TRUE or FALSE clause. It also carries the column's label and format name, so that
/// it can be shown to people without the data set.
///
/// Against a row map (evaluate):
/// - EQ, NE, LT, LE, GT, GE compare the row's value (left) with the constant (right) by the data
///   value operators; an absent column or a null value makes them false.
/// - IS is true for a missing row value when the constant is missing, else it is EQ; IS_NOT is
///   its negation, so an absent column satisfies IS_NOT.
/// - TRUE and FALSE are constant; LIKE never matches a row, deliberately.
class PELLIUM_EXPORT WhereClauseExpression final : public AbstractWhereClauseExpression {
    struct Token {};

public:
    /// A clause on `column`, taking its name, label and format name. Null for a null column or
    /// value, a column without a name, or an operator that is not one of the fourteen.
    static std::shared_ptr<WhereClauseExpression> create(const std::shared_ptr<const Column>& column,
                                                         WhereClauseOperators::type op,
                                                         std::shared_ptr<DataValue> value);
    /// A clause on anything that names itself as a column does (a hierarchy level): its
    /// getName(), getLabel() and getFormatName() give the name, label and format name.
    template <typename Named>
    requires(!std::derived_from<Named, Column>) && requires(const Named& named) {
        { named.getName() } -> std::convertible_to<SharedString>;
        { named.getLabel() } -> std::convertible_to<SharedString>;
        { named.getFormatName() } -> std::convertible_to<SharedString>;
    }
    static std::shared_ptr<WhereClauseExpression> create(const std::shared_ptr<const Named>& named,
                                                         WhereClauseOperators::type op,
                                                         std::shared_ptr<DataValue> value) {
        if (!named) {
            return nullptr;
        }
        return createWithAttributes(named->getName(), named->getLabel(), named->getFormatName(), op, std::move(value));
    }
    /// A clause on the column `name`; with a provider, the label and format name are the
    /// provider's for that name (format kind 0). Null for a null name or value, or an operator
    /// that is not one of the fourteen.
    static std::shared_ptr<WhereClauseExpression> create(
        const SharedString& name, WhereClauseOperators::type op, std::shared_ptr<DataValue> value,
        const std::shared_ptr<const MetadataProvider>& provider = nullptr);
    /// A constant clause: TRUE or FALSE, with the number 1 as value and no column.
    static std::shared_ptr<WhereClauseExpression> create(bool result);
    /// An empty leaf with no column, no value and no operator (UNKNOWN), for the stream reader.
    static std::shared_ptr<WhereClauseExpression> create();

    explicit WhereClauseExpression(Token);
    WhereClauseExpression(Token, SharedString columnName, SharedString label, SharedString formatName,
                          std::shared_ptr<DataValue> value, WhereClauseOperators::type op);

    bool evaluate(const std::shared_ptr<const RowMap>& row) const override;
    ColumnNames getReferencedColumnNames() const override;
    /// "TRUE", "FALSE", "(name OP value)" with the value bare (a text unquoted, "NULL" for a null
    /// text, a number as a stream prints it with six significant digits), or
    /// "__ERROR_INVALID_WHERE_CLAUSE_EXPRESSION__" for a leaf without a column name or value.
    SharedString getStringRepresentation() const override;
    /// As the machine form, followed inside the parentheses by ", label=..." and ", format=..."
    /// when asked for and set.
    SharedString getDescription(bool withLabel, bool withFormat) const override;
    bool isEmpty() const override { return false; }
    /// A leaf on `name` with the same operator, value, label and format name; null when this leaf
    /// has no column name or value.
    std::shared_ptr<AbstractWhereClauseExpression> getCopyAppliedToNewColumn(const SharedString& name) const override;
    std::shared_ptr<AbstractWhereClauseExpression> clone() const override;
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;
    void replaceLabel(const std::shared_ptr<const LabelMap>& labels) override;

    const SharedString& getColumnName() const { return columnName_; }
    const SharedString& getColumnLabel() const { return label_; }
    void setColumnLabel(SharedString label) { label_ = std::move(label); }
    const SharedString& getFormatName() const { return formatName_; }
    void setFormatName(SharedString formatName) { formatName_ = std::move(formatName); }
    const std::shared_ptr<DataValue>& getValue() const { return value_; }
    WhereClauseOperators::type getOperatorType() const { return operator_; }
    void setOperatorType(WhereClauseOperators::type op) { operator_ = op; }
    /// The value under the leaf's format: a number as the format writes it, a text as the format
    /// renders it; null without a value.
    SharedString getFormattedValue() const;

    /// The body alone (see AbstractWhereClauseExpression for the bytes).
    bool writeBody(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);

private:
    static std::shared_ptr<WhereClauseExpression> createWithAttributes(SharedString name, SharedString label,
                                                                       SharedString formatName,
                                                                       WhereClauseOperators::type op,
                                                                       std::shared_ptr<DataValue> value);
    bool evaluateComparison(const DataValue& cell) const;
    /// "(name OP value" without the closing parenthesis.
    std::string openRepresentation() const;

    SharedString columnName_;
    SharedString label_;
    SharedString formatName_;
    std::shared_ptr<DataValue> value_;
    WhereClauseOperators::type operator_ = WhereClauseOperators::UNKNOWN;
};

}  // namespace pellium
