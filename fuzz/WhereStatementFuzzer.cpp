// Reads a where-clause statement from arbitrary text. A statement read must be valid, print, turn
// into its disjunctive normal form, evaluate against a row map, and, compiled against a small data
// set, select the same rows through batches as row by row.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/where/WhereClauseStatement.h"
#include "pellium/models/data/where/WhereEvaluator.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

const std::shared_ptr<pellium::DataSet>& dataSet() {
    static const auto made = [] {
        using pellium::StringUtilities;
        auto numbers = pellium::Column::create(StringUtilities::internString("a"), pellium::DataType::NUMERIC);
        numbers->setNumbers(std::make_shared<pellium::Column::NumberVector>(
            pellium::Column::NumberVector{0, 1, -2.5, std::nan(""), 7}));
        auto texts = pellium::Column::create(StringUtilities::internString("b"), pellium::DataType::STRING);
        texts->setStringIndices(
            std::make_shared<pellium::Column::IndexVector>(pellium::Column::IndexVector{0, 1, -1, 2, 0}));
        auto data = pellium::DataSet::create(
            std::make_shared<pellium::DataSet::ColumnList>(pellium::DataSet::ColumnList{numbers, texts}));
        data->setStringTable(std::make_shared<pellium::DataSet::StringTable>(
            pellium::DataSet::StringTable{StringUtilities::internString("x"), StringUtilities::internString("East"),
                                          StringUtilities::internString("")}));
        data->assignStringValuesFromIndices();
        return data;
    }();
    return made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto statement = pellium::WhereClauseStatement::create(text);
    if (!statement) {
        return 0;
    }
    require(statement->isValid());
    require(statement->getStringRepresentation() != nullptr);
    const auto row = std::make_shared<pellium::AbstractWhereClauseExpression::RowMap>();
    row->insert_or_assign("a", pellium::DataValue::create(1.0));
    (void)statement->evaluate(row);
    const auto tree = statement->asDisjunctiveNormalFormExpression();
    require(!tree == statement->getExpressions()->empty());
    const auto evaluator = pellium::WhereEvaluator::create(tree, dataSet(), true, true);
    const auto rows = static_cast<std::uint32_t>(dataSet()->getNumberOfRows());
    const auto selected = evaluator->selectRows(0, rows);
    std::size_t next = 0;
    for (std::uint32_t index = 0; index < rows; ++index) {
        const bool inBatch = next < selected.size() && selected[next] == index;
        require(evaluator->evaluate(index) == inBatch);
        next += inBatch ? 1 : 0;
    }
    return 0;
}
