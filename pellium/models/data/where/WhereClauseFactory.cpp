#include "pellium/models/data/where/WhereClauseFactory.h"

#include "pellium/models/data/where/AbstractWhereClauseExpression.h"

namespace pellium {

// The expression parser and its conversion into where clauses arrive with the expression tree;
// this is the one place that then changes.
std::shared_ptr<AbstractWhereClauseExpression> WhereClauseFactory::createFromString(
    std::string_view /*text*/, const std::shared_ptr<const Hierarchies>& /*hierarchies*/,
    const std::shared_ptr<const MetadataProvider>& /*provider*/) {
    return nullptr;
}

}  // namespace pellium
