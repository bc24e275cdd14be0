#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/where/AbstractWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseOperators.h"

namespace pellium {

/// The flat form of a filter, as a user types it into a filter box: where clauses joined one
/// after another by AND or OR. It is read from text, evaluated against one row map, and turned
/// into a where-clause tree (asDisjunctiveNormalFormExpression) for the compiled evaluator.
///
/// Two readings of the same statement, deliberately different:
/// - evaluate walks left to right without precedence: a false first clause makes the statement
///   false whatever follows, and "a OR b" is the value of a (a true clause ends the walk only when
///   the operator before it is OR, a false one only when it is AND).
/// - asDisjunctiveNormalFormExpression gives AND precedence over OR: "a AND b OR c" becomes
///   OR(AND(a, b), c).
///
/// Text form (create(text)); words are case-insensitive, blanks separate tokens:
///
///     statement := clause { joiner clause }
///     joiner    := AND | OR | && | ||
///     clause    := TRUE | FALSE | column IS [NOT] MISSING | column operator value
///     column    := word | "double-quoted name" | [bracketed name]
///     operator  := = | == | EQ | EQUALS | != | <> | NE | < | LT | <= | LE | LTE
///                | > | GT | >= | GE | GTE | LIKE | IS | IS NOT | IS_NOT
///     value     := 'single-quoted text' | number | . | MISSING
///
/// A word is a run of characters other than blanks, quotes, brackets and the operator symbols
/// = ! < > & |, so "Sales>500" reads as three tokens. Inside quotes a doubled quote stands for
/// one; a bracketed name ends at the first "]". A number is read in the C locale ("-12.5e3");
/// "." and MISSING are the missing value. "=" is accepted here although the operator name table
/// refuses it. Examples:
///
///     Region = 'East' AND Sales > 500
///     "Sales Region" EQ 'North East' OR Profit <= -12.5e3
///     [Order Date] IS NOT MISSING && Name <> 'O''Brien'
class PELLIUM_EXPORT WhereClauseStatement {
    struct Token {};

public:
    using Clause = std::shared_ptr<AbstractWhereClauseExpression>;
    using Expressions = std::vector<Clause>;
    using Operators = std::vector<WhereClauseOperators::type>;

    /// An empty statement, which every row satisfies.
    static std::shared_ptr<WhereClauseStatement> create();
    /// The expressions joined by one operator.
    static std::shared_ptr<WhereClauseStatement> create(const Expressions& expressions, WhereClauseOperators::type op);
    /// The expressions joined by `operators` (operator i joins expression i and i + 1). Either
    /// vector may be null; isValid tells whether they fit together.
    static std::shared_ptr<WhereClauseStatement> create(std::shared_ptr<Expressions> expressions,
                                                        std::shared_ptr<Operators> operators);
    /// The statement that `text` writes (see the text form above); null when the text does not
    /// follow it. An empty or blank text gives an empty statement.
    static std::shared_ptr<WhereClauseStatement> create(std::string_view text);

    WhereClauseStatement(Token, std::shared_ptr<Expressions> expressions, std::shared_ptr<Operators> operators);

    /// Valid without operators; otherwise there must be one expression more than operators, and
    /// every operator must be AND or OR.
    bool isValid() const;
    /// The left-to-right value for `row` (see above); true without expressions.
    bool evaluate(const std::shared_ptr<const AbstractWhereClauseExpression::RowMap>& row) const;

    const std::shared_ptr<Expressions>& getExpressions() const { return expressions_; }
    const std::shared_ptr<Operators>& getOperators() const { return operators_; }
    AbstractWhereClauseExpression::ColumnNames getReferencedColumnNames() const;
    /// The expressions' machine forms joined by " AND " or " OR " as the operators say; empty for
    /// an empty statement.
    SharedString getStringRepresentation() const;

    /// The statement as a tree with AND before OR: an OR of AND groups, one-member groups replaced
    /// by their clause. A single expression gives that expression and several without operators
    /// one AND compound; null for an invalid statement or one without expressions. The answer is
    /// a leaf or a compound, so it is returned as a clause.
    Clause asDisjunctiveNormalFormExpression() const;

    /// Kept for callers that ask a statement to simplify itself: a statement is already flat,
    /// so nothing happens.
    void simplify(unsigned options);

private:
    std::shared_ptr<Expressions> expressions_;
    std::shared_ptr<Operators> operators_;
};

}  // namespace pellium
