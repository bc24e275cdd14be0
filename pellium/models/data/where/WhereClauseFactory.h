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

    /// The where clause that `text` describes; null when the text does not parse or names no
    /// clause. Until the expression parser is part of the library this answers null for every
    /// text; callers must already handle null, which is the answer for text that does not parse.
    /// WhereClauseStatement reads the flat "column operator value AND ..." form today.
    static std::shared_ptr<AbstractWhereClauseExpression> createFromString(
        std::string_view text, const std::shared_ptr<const Hierarchies>& hierarchies,
        const std::shared_ptr<const MetadataProvider>& provider);
};

}  // namespace pellium
