// Reads where-clause trees from arbitrary bytes, one after another, until a read fails. Every tree
// read must be a fixed point of writing (writing it, reading that back and writing again gives
// the same bytes), must survive printing, copying and the four simplifications, and, compiled
// against a small data set, must select the same rows through batches as row by row.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseSimplification.h"
#include "pellium/models/data/where/WhereEvaluator.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"

namespace {

using pellium::AbstractWhereClauseExpression;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string written(const std::shared_ptr<const AbstractWhereClauseExpression>& tree) {
    std::ostringstream stream;
    require(AbstractWhereClauseExpression::serialize(stream, tree));
    return stream.str();
}

// Columns named as short texts are likely to appear in fuzzed names: "a" numeric, "b" texts.
const std::shared_ptr<pellium::DataSet>& dataSet() {
    static const auto made = [] {
        using pellium::StringUtilities;
        auto numbers = pellium::Column::create(StringUtilities::internString("a"), pellium::DataType::NUMERIC);
        numbers->setNumbers(std::make_shared<pellium::Column::NumberVector>(
            pellium::Column::NumberVector{0, 1, -2.5, std::nan(""), 1e300, 7}));
        auto texts = pellium::Column::create(StringUtilities::internString("b"), pellium::DataType::STRING);
        texts->setStringIndices(
            std::make_shared<pellium::Column::IndexVector>(pellium::Column::IndexVector{0, 1, -1, -99, 5, 0}));
        auto data = pellium::DataSet::create(
            std::make_shared<pellium::DataSet::ColumnList>(pellium::DataSet::ColumnList{numbers, texts}));
        data->setStringTable(std::make_shared<pellium::DataSet::StringTable>(
            pellium::DataSet::StringTable{StringUtilities::internString("x"), StringUtilities::internString("")}));
        data->assignStringValuesFromIndices();
        return data;
    }();
    return made;
}

void exercise(const std::shared_ptr<AbstractWhereClauseExpression>& tree) {
    (void)tree->getStringRepresentation();
    (void)tree->getDescription(true, true);
    (void)tree->evaluate(nullptr);
    require(written(tree->clone()) == written(tree));
    if (tree->isCompound()) {
        const auto compound = std::static_pointer_cast<const pellium::CompoundWhereClauseExpression>(tree);
        (void)pellium::WhereClauseSimplification::reduceSingularCompoundExpressions(compound);
        (void)pellium::WhereClauseSimplification::reduceBooleanSubExpressions(compound);
        (void)pellium::WhereClauseSimplification::removeDuplicateSubExpressions(compound);
        (void)pellium::WhereClauseSimplification::collapseRedundantCompoundLevels(compound);
    }
    const auto evaluator = pellium::WhereEvaluator::create(tree, dataSet(), false, false);
    const auto rows = static_cast<std::uint32_t>(dataSet()->getNumberOfRows());
    const auto selected = evaluator->selectRows(0, rows);
    std::size_t next = 0;
    for (std::uint32_t row = 0; row < rows; ++row) {
        const bool inBatch = next < selected.size() && selected[next] == row;
        require(evaluator->evaluate(row) == inBatch);
        next += inBatch ? 1 : 0;
    }
    (void)evaluator->getStringRepresentation();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pellium::MemoryInputStream stream(std::string_view(reinterpret_cast<const char*>(data), size));
    pellium::SerialReader reader(stream);
    for (int count = 0; count < 16; ++count) {
        std::shared_ptr<AbstractWhereClauseExpression> tree;
        if (!AbstractWhereClauseExpression::unserialize(reader, tree)) {
            break;
        }
        const std::string bytes = written(tree);
        pellium::MemoryInputStream again(bytes);
        std::shared_ptr<AbstractWhereClauseExpression> copy;
        require(AbstractWhereClauseExpression::unserialize(again, copy));
        require(again.peek() == std::char_traits<char>::eof());
        require(written(copy) == bytes);
        if (tree) {
            exercise(tree);
        }
    }
    return 0;
}
