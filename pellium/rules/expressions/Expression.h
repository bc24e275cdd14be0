#pragma once

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/rules/expressions/DataTypeExt.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class AbstractWhereClauseExpression;
class DataSet;
class DataValue;
class ExpressionDataContext;
class Hierarchy;
class MetadataProvider;

/// How printToStream writes a tree. By default functions are written by their words ("UpCase");
/// with `writesFunctionNames` by their lower-camel names ("upper"). The parser reads both.
struct PELLIUM_EXPORT ExpressionDescriptionContext {
    bool writesFunctionNames = false;
};

/// The base of every node of an expression tree: calculated data items, display rules,
/// conditions and advanced filters are trees of these, built by the expression parser
/// (ExpressionUtil) or in code, always held by shared pointer. A tree is evaluated against an
/// ExpressionDataContext (the current row or cell), checked for structure and type agreement,
/// turned into a where clause when it is a plain filter, and printed in the text form the parser
/// reads, so that printing and parsing again gives an equal tree.
///
/// Every node keeps its operands in one generic list (getOperands); the named operands of the
/// node classes are positions in that list. Evaluation never throws and never allocates for
/// numbers and booleans: a node without valid type agreement, a missing value or an unknown data
/// item gives false, NaN or a null text. Validity is computed once and cached; after editing a
/// tree call invalidate on every node above the edit (or on the root with `true`).
///
/// A tree may be evaluated from several threads at once; it must not be edited meanwhile.
class PELLIUM_EXPORT Expression : public virtual Wrappable, public std::enable_shared_from_this<Expression> {
public:
    using ExpressionList = std::vector<std::shared_ptr<Expression>>;
    using Hierarchies = std::vector<std::shared_ptr<Hierarchy>>;
    using ParameterValues = std::map<std::string, std::shared_ptr<const DataValue>, std::less<>>;

    /// How tightly a node binds when printed: an operand that binds less tightly than its place
    /// requires is put in parentheses.
    enum PrintPrecedence : int {
        OR_PRECEDENCE = 1,
        AND_PRECEDENCE = 2,
        NOT_PRECEDENCE = 3,
        COMPARISON_PRECEDENCE = 4,
        ADDITIVE_PRECEDENCE = 5,
        MULTIPLICATIVE_PRECEDENCE = 6,
        UNARY_PRECEDENCE = 7,
        PRIMARY_PRECEDENCE = 8,
    };

    ~Expression() override;

    /// WrapperTypeIds::EXPRESSION for the base; each node class answers its own number.
    int getWrapperTypeId() const override;
    /// UNKNOWN in the base.
    virtual DataTypeExt::type getDataType() const;
    virtual bool isConstant() const;
    virtual bool isKeyword() const;
    /// Whether the node has no operands by nature (constants, data items, keywords).
    virtual bool isLeaf() const;
    virtual bool isVariable() const;
    /// Whether the data type is known only from a context (a data item's column type).
    virtual bool hasContextualDataType() const;
    /// The cached answer of validateStructure.
    virtual bool hasValidStructure() const;
    /// The cached answer of validateTypeAgreement.
    virtual bool hasValidTypeAgreement() const;
    /// Whether the tree is valid and every data item it names exists in `context`.
    virtual bool isValidForContext(const ExpressionDataContext& context) const;
    /// Drops the cached validity of this node, and of all nodes below it when `includingOperands`.
    virtual void invalidate(bool includingOperands);
    /// A deep copy.
    virtual std::shared_ptr<Expression> clone() const = 0;
    virtual bool isBooleanExpression() const;
    virtual bool isNumericExpression() const;
    virtual bool isCharacterExpression() const;
    /// False in the base.
    virtual bool evaluateAsBoolean(const ExpressionDataContext& context) const;
    /// NaN in the base.
    virtual double evaluateAsNumber(const ExpressionDataContext& context) const;
    /// The one number of evaluateAsNumber in the base; lists give each entry.
    virtual std::vector<double> evaluateAsNumberList(const ExpressionDataContext& context) const;
    /// A null text in the base.
    virtual SharedString evaluateAsString(const ExpressionDataContext& context) const;
    /// The one text of evaluateAsString in the base; lists give each entry.
    virtual std::vector<SharedString> evaluateAsStringList(const ExpressionDataContext& context) const;
    /// The where clause that selects the same rows of `dataSet` as evaluating this filter row by
    /// row (see WhereClauseConversion for how missing and suppressed cells are kept apart and how
    /// column types are found without a data set). Null in the base and for every node that has
    /// no equivalent clause (a comparison of two data items, a text test, a computed item).
    virtual std::shared_ptr<AbstractWhereClauseExpression> asWhereExpression(
        const std::shared_ptr<const DataSet>& dataSet, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider) const;
    /// Replaces, below this node, every data item named in `dataItemMap` (a report parameter) by a
    /// constant of its current value, and appends each replaced data item to `expressions`. A
    /// null value gives a missing number. The node itself is never replaced.
    virtual void resolveParameters(const ParameterValues& dataItemMap, ExpressionList& expressions);
    /// Writes the node in the text form the parser reads.
    virtual void printToStream(std::ostream& stream, const ExpressionDescriptionContext& context) const;
    /// The key of the node's word in the token bundle, less "expression.token." ("between",
    /// "kw.true"); empty for nodes that have no word.
    virtual std::string_view getTokenName() const;
    /// Restores the layout of the operand list after an edit (missing positions become null).
    virtual void synchronizeSpecializedOperands();

protected:
    /// Whether the node has the operands its kind requires, each with valid structure.
    virtual bool validateStructure() const = 0;
    /// Whether the operands have the data types the node requires, each with valid agreement.
    virtual bool validateTypeAgreement() const = 0;

public:
    /// Writes operand `index` as an argument of the node's function form; nothing for an index out
    /// of range.
    virtual void printTemplateArgumentWithIndex(std::ostream& stream, const ExpressionDescriptionContext& context,
                                                int index) const;

    /// getDataType, except that a node whose type depends on the context (a data item) answers
    /// the type `context` gives it.
    virtual DataTypeExt::type getDataTypeInContext(const ExpressionDataContext& context) const;
    /// How tightly the printed form binds (PRIMARY_PRECEDENCE in the base).
    virtual int getPrintPrecedence() const;

    const ExpressionList& getOperands() const { return operands_; }
    /// Replaces the operands and drops the cached validity of this node.
    void setOperands(ExpressionList operands);
    /// The operand at `index`; null when out of range.
    const std::shared_ptr<Expression>& getOperand(std::size_t index) const;

    /// Deep equality: same node class, same own fields, equal operands in order.
    bool isEqual(const Expression& other) const;
    /// printToStream into a text, with the default description context.
    std::string toString() const;

    /// Writes `operand` in parentheses when it binds less tightly than `minimumPrecedence`; a
    /// null operand is written as "?".
    static void printOperand(std::ostream& stream, const Expression* operand,
                             const ExpressionDescriptionContext& context, int minimumPrecedence);
    /// Writes "Word(operand, operand...)" with the word of `tokenName`.
    void printAsFunctionCall(std::ostream& stream, const ExpressionDescriptionContext& context,
                             std::string_view tokenName) const;

protected:
    Expression() = default;
    /// Copies the own fields and clones every operand.
    Expression(const Expression& other);
    Expression& operator=(const Expression&) = delete;

    /// Whether the fields other than the operands equal those of `other`, a node of the same
    /// class (true in the base).
    virtual bool hasEqualAttributes(const Expression& other) const;

    /// Whether every operand is present and has valid structure.
    bool operandsHaveValidStructure() const;
    /// Whether every operand is present and has valid type agreement.
    bool operandsHaveValidTypeAgreement() const;

    ExpressionList operands_;

private:
    enum Validity : std::int8_t { NOT_KNOWN = 0, VALID = 1, INVALID = 2 };
    static bool cached(std::atomic<std::int8_t>& state, bool (Expression::*validate)() const, const Expression& node);

    mutable std::atomic<std::int8_t> structureValidity_{NOT_KNOWN};
    mutable std::atomic<std::int8_t> typeAgreementValidity_{NOT_KNOWN};
};

}  // namespace pellium
