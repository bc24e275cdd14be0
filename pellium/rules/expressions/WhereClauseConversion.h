#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/rules/expressions/Expression.h"

namespace pellium {

/// Turns a filter expression into the where clause that selects the same rows of a data set:
/// the work behind Expression::asWhereExpression of the comparison, between, in, is-missing,
/// AND/OR, NOT and keyword nodes and of the functions of the same names. Hosts call
/// asWhereExpression; WhereClauseFactory::createFromString calls it on parsed text.
///
/// Where clauses and expressions disagree on special cells. For an expression NaN and the sparse
/// number are missing, missing is the lowest value, and a suppressed cell fails every test; the
/// compiled where evaluator (DataSet::filter) sees only NaN as missing, lets NE drop it, and
/// compares the sparse and suppressed values as ordinary numbers. So each test becomes its
/// comparison plus the few leaves that put missing, sparse and suppressed cells where the
/// expression puts them (Sales > 5 is (Sales GT 5) AND (Sales NE <suppressed>)), and NOT is pushed
/// down to the leaves, as a where clause has no negation that every evaluator honours.
///
/// The clause is exact, row for row, on the data set given (whose columns decide whether an item
/// compares as a number or a text; a column it lacks is missing in every row). Without one, the
/// column type comes from a hierarchy level of the same name, else from the constants compared
/// with, else from the data item's declared type. Where nothing tells (Missing(x)), missing cells
/// are found by leaves that serve both types; NotMissing(x) then takes the text form, which on a
/// number column also keeps suppressed cells. With a comparison tolerance (the data set's
/// epsilon) a tolerant clause cannot tell the sparse or the suppressed value from the numbers
/// within the tolerance of it: the largest double (matches-all) then counts as suppressed.
/// A comparison of two constants becomes TRUE or FALSE at once, under the data set's tolerance;
/// without a data set it is decided exactly.
class PELLIUM_EXPORT WhereClauseConversion {
public:
    WhereClauseConversion() = delete;

    /// The clause, or null when `expression` is no boolean filter over data items compared with
    /// constants: it has no valid type agreement, compares two data items or a computed value,
    /// trims texts before comparing, tests texts (BeginsWith, Contains...), or holds a node of
    /// another kind. A filter without data items becomes the TRUE or FALSE clause.
    static std::shared_ptr<AbstractWhereClauseExpression> convert(
        const Expression& expression, const std::shared_ptr<const DataSet>& dataSet,
        const std::shared_ptr<const Expression::Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider);
};

}  // namespace pellium
