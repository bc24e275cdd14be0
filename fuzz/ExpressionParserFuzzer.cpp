// Feeds arbitrary text to the expression parser. A text that parses must print as text that
// parses again to an equal tree, and evaluating it against a row must not fail; deep nesting must
// come back as an error, never as a stack overflow. A filter that has a where clause must select
// the rows of a small data set that evaluating it row by row selects.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>

#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/where/AbstractWhereClauseExpression.h"
#include "pellium/rules/expressions/DataSetExpressionContext.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/rules/expressions/ValueMapExpressionContext.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace {

// Columns x (numbers with a missing and a suppressed one) and t (texts with a blank one).
std::shared_ptr<pellium::DataSet> makeDataSet() {
    using namespace pellium;
    auto numbers = std::make_shared<Column::NumberVector>(
        Column::NumberVector{2.5, -1, 0, std::numeric_limits<double>::quiet_NaN(), DataTokens::SUPPRESSED_NUMERIC});
    auto x = Column::create(StringUtilities::internString("x"), DataType::NUMERIC);
    x->setNumbers(numbers);
    auto texts = std::make_shared<Column::StringVector>();
    for (const char* text : {"East", "West", " ", "east", "E"}) {
        texts->push_back(StringUtilities::internString(text));
    }
    auto t = Column::create(StringUtilities::internString("t"), DataType::STRING);
    t->setStrings(texts);
    return DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{x, t}));
}

void checkWhereClause(const pellium::Expression& expression) {
    static const auto dataSet = makeDataSet();
    expression.asWhereExpression(nullptr, nullptr, nullptr);
    const auto clause = expression.asWhereExpression(dataSet, nullptr, nullptr);
    if (!clause) {
        return;
    }
    const auto selected = dataSet->filter(clause);
    auto row = pellium::DataSetExpressionContext::create(dataSet);
    for (std::int32_t index = 0; index < dataSet->getNumberOfRows(); ++index) {
        row->setRow(index);
        if (expression.evaluateAsBoolean(*row) != (selected->count(static_cast<std::uint32_t>(index)) > 0)) {
            __builtin_trap();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    pellium::ExpressionParseError error;
    const auto expression = pellium::ExpressionUtil::createExpressionTree(text, error);
    if (!expression) {
        if (error.message.empty() || error.offset > size) {
            __builtin_trap();
        }
        return 0;
    }
    const auto reread = pellium::ExpressionUtil::createExpression(expression->toString());
    if (!reread || !reread->isEqual(*expression)) {
        __builtin_trap();
    }
    static const auto context = [] {
        auto row = pellium::ValueMapExpressionContext::create();
        row->setNumber("x", 2.5);
        row->setText("t", "East");
        return row;
    }();
    expression->hasValidTypeAgreement();
    expression->evaluateAsBoolean(*context);
    expression->evaluateAsNumber(*context);
    expression->evaluateAsString(*context);
    checkWhereClause(*expression);
    // Format(x, name) caches a formatter per name; keep the cache from growing without bound.
    if (pellium::FormatterFactory::instance()->getNumberOfCachedFormatters() > 10000) {
        pellium::FormatterFactory::instance()->clearFormatterCache();
    }
    return 0;
}
