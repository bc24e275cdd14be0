#pragma once

#include <memory>

#include "pellium/Export.h"

namespace pellium {

class AbstractWhereClauseExpression;
class CompoundWhereClauseExpression;

/// Four independent rewrites of a compound where clause into a simpler one that selects the same
/// rows. Callers pick the rewrites they need and their order; the disjunctive normal form of a
/// WhereClauseStatement applies reduceSingularCompoundExpressions.
///
/// Each rewrite returns a new tree and never changes its argument; leaves are shared between the
/// two. Common frame: a null argument gives null; the new compound keeps the argument's operator,
/// name and hierarchical flag, its children in order, null children dropped; then no child left
/// gives null, one child left in a compound that is not hierarchical gives that child in place of
/// the compound (a hierarchical compound of one child stays, deliberately), and otherwise the new
/// compound is the result.
class PELLIUM_EXPORT WhereClauseSimplification {
public:
    using Clause = std::shared_ptr<AbstractWhereClauseExpression>;
    using Compound = std::shared_ptr<const CompoundWhereClauseExpression>;

    WhereClauseSimplification() = delete;

    /// Collapses every chain of one-child compounds that are not hierarchical to its end, bottom
    /// up: AND(OR(x)) gives x.
    static Clause reduceSingularCompoundExpressions(const Compound& compound);
    /// Folds TRUE and FALSE leaves: a TRUE child ends an OR as that TRUE leaf and is dropped from
    /// an AND; a FALSE child ends an AND as that FALSE leaf and is dropped from an OR (under other
    /// operators both are kept). An AND of only TRUE leaves, or an OR of only FALSE leaves, gives
    /// null rather than a constant.
    static Clause reduceBooleanSubExpressions(const Compound& compound);
    /// Keeps the first of every group of children that are equal under the where-clause ordering
    /// (operator<), after deduplicating compound children recursively. A non-hierarchical compound
    /// of one child gives that child at once.
    static Clause removeDuplicateSubExpressions(const Compound& compound);
    /// Lifts the children of a compound child with the same operator into the parent (AND inside
    /// AND, OR inside OR), recursively; children with another operator stay one level down. A
    /// hierarchical child is not lifted, so that its name and flag survive; a child that collapses
    /// to a single clause is replaced by that clause.
    static Clause collapseRedundantCompoundLevels(const Compound& compound);
};

}  // namespace pellium
