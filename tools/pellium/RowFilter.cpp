#include "tools/pellium/RowFilter.h"

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/where/WhereClauseStatement.h"
#include "tools/pellium/Command.h"

namespace pellium::cli {

std::shared_ptr<RowIndexSet> selectRows(const DataSet& dataSet, const std::string& text) {
    std::shared_ptr<WhereClauseStatement> statement = WhereClauseStatement::create(text);
    if (!statement || !statement->isValid()) {
        throw UsageError("cannot read the filter \"" + text + "\"");
    }
    for (const std::string& name : statement->getReferencedColumnNames()) {
        requireColumn(dataSet, name);
    }
    return dataSet.filter(statement->asDisjunctiveNormalFormExpression());
}

}  // namespace pellium::cli
