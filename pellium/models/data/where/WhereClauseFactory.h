#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

class AbstractWhereClauseExpression;
class Hierarchy;
class MetadataProvider;

/// Builds where clauses from the text of the expression language, as report definitions and hosts
/// write filters ("Region = 'East' and Sales > 500"). The text is parsed into an expression tree,
/// which converts itself into a where clause for the given hierarchies and metadata.
class PELLIUM_EXPORT WhereClauseFactory {
public:
    using Hierarchies = std::vector<std::shared_ptr<Hierarchy>>;

    WhereClauseFactory() = delete;

    /// The where clause that `text`, written in the expression language (ExpressionUtil), describes:
    /// the parsed expression's asWhereExpression without a data set, so that column types come
    /// from the hierarchies' levels or from the constants compared with, and labels and formats
    /// from the provider (else from the levels). Null when the text does not parse or is no filter
    /// that a where clause can express (Sales > Cost, BeginsWith(Region, 'E')).
    static std::shared_ptr<AbstractWhereClauseExpression> createFromString(
        std::string_view text, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider);
};

}  // namespace pellium
