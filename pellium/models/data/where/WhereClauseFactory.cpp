#include "pellium/models/data/where/WhereClauseFactory.h"

#include "pellium/models/data/where/AbstractWhereClauseExpression.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {

std::shared_ptr<AbstractWhereClauseExpression> WhereClauseFactory::createFromString(
    std::string_view text, const std::shared_ptr<const Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) {
    const auto expression = ExpressionUtil::createExpression(text);
    if (!expression) {
        return nullptr;
    }
    return expression->asWhereExpression(nullptr, hierarchies, provider);
}

}  // namespace pellium
