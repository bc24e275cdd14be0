// A calculated item, (Sales - Cost) / Sales * 100, evaluated over 1,000,000 rows of a data set by
// the expression tree row by row and in blocks (NumericBatchEvaluator), against the same formula
// written as a plain loop over the two columns in the same run. Also a filter (Region = 'East' AND
// Sales > 500) row by row and as its where clause through DataSet::filter, and the parse of the
// formula. The ns/row counters are the time of one iteration divided by its rows.

#include <benchmark/benchmark.h>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/rules/expressions/DataSetExpressionContext.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/rules/expressions/NumericBatchEvaluator.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace {

using namespace pellium;

constexpr std::int32_t ROW_COUNT = 1'000'000;

std::shared_ptr<DataSet> makeDataSet() {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> amount(1, 1000);
    auto sales = std::make_shared<Column::NumberVector>();
    auto cost = std::make_shared<Column::NumberVector>();
    auto regions = std::make_shared<Column::StringVector>();
    const SharedString names[] = {StringUtilities::internString("East"), StringUtilities::internString("West")};
    for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
        sales->push_back(amount(random));
        cost->push_back(amount(random));
        regions->push_back(names[random() % 2]);
    }
    auto salesColumn = Column::create(StringUtilities::internString("Sales"), DataType::NUMERIC);
    salesColumn->setNumbers(sales);
    auto costColumn = Column::create(StringUtilities::internString("Cost"), DataType::NUMERIC);
    costColumn->setNumbers(cost);
    auto regionColumn = Column::create(StringUtilities::internString("Region"), DataType::STRING);
    regionColumn->setStrings(regions);
    return DataSet::create(
        std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{salesColumn, costColumn, regionColumn}));
}

const std::shared_ptr<DataSet>& dataSet() {
    static const auto instance = makeDataSet();
    return instance;
}

// Rows per second per iteration, inverted: seconds per row, scaled to nanoseconds.
void reportPerRow(benchmark::State& state) {
    state.counters["ns/row"] = benchmark::Counter(
        ROW_COUNT * 1e-9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The baseline: the formula as a plain loop writing every row's margin, as the batch does.
void BM_HandWrittenMarginLoop(benchmark::State& state) {
    const auto& sales = *dataSet()->getColumnWithName("Sales")->getNumbers();
    const auto& cost = *dataSet()->getColumnWithName("Cost")->getNumbers();
    std::vector<double> margins(ROW_COUNT);
    for (auto _ : state) {
        for (std::size_t row = 0; row < sales.size(); ++row) {
            margins[row] = (sales[row] - cost[row]) / sales[row] * 100;
        }
        benchmark::DoNotOptimize(margins.data());
        benchmark::ClobberMemory();
    }
    reportPerRow(state);
}
BENCHMARK(BM_HandWrittenMarginLoop)->Unit(benchmark::kMillisecond);

void BM_ExpressionMarginPerRow(benchmark::State& state) {
    const auto margin = ExpressionUtil::createExpression("(Sales - Cost) / Sales * 100");
    auto context = DataSetExpressionContext::create(dataSet());
    for (auto _ : state) {
        double sum = 0;
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            context->setRow(row);
            sum += margin->evaluateAsNumber(*context);
        }
        benchmark::DoNotOptimize(sum);
    }
    reportPerRow(state);
}
BENCHMARK(BM_ExpressionMarginPerRow)->Unit(benchmark::kMillisecond);

void BM_ExpressionMarginBatch(benchmark::State& state) {
    const auto evaluator =
        NumericBatchEvaluator::create(ExpressionUtil::createExpression("(Sales - Cost) / Sales * 100"), dataSet());
    std::vector<double> margins(ROW_COUNT);
    for (auto _ : state) {
        evaluator->evaluate(0, ROW_COUNT, margins.data());
        benchmark::DoNotOptimize(margins.data());
        benchmark::ClobberMemory();
    }
    reportPerRow(state);
}
BENCHMARK(BM_ExpressionMarginBatch)->Unit(benchmark::kMillisecond);

constexpr const char* FILTER = "Region = 'East' AND Sales > 500";

void BM_ExpressionFilterPerRow(benchmark::State& state) {
    const auto filter = ExpressionUtil::createExpression(FILTER);
    auto context = DataSetExpressionContext::create(dataSet());
    for (auto _ : state) {
        std::int32_t selected = 0;
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            context->setRow(row);
            selected += filter->evaluateAsBoolean(*context) ? 1 : 0;
        }
        benchmark::DoNotOptimize(selected);
    }
    reportPerRow(state);
}
BENCHMARK(BM_ExpressionFilterPerRow)->Unit(benchmark::kMillisecond);

void BM_ExpressionFilterAsWhereClause(benchmark::State& state) {
    const auto clause = ExpressionUtil::createExpression(FILTER)->asWhereExpression(dataSet(), nullptr, nullptr);
    for (auto _ : state) {
        benchmark::DoNotOptimize(dataSet()->filter(clause)->size());
    }
    reportPerRow(state);
}
BENCHMARK(BM_ExpressionFilterAsWhereClause)->Unit(benchmark::kMillisecond);

void BM_ParseMargin(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(ExpressionUtil::createExpression("(Sales - Cost) / Sales * 100"));
    }
}
BENCHMARK(BM_ParseMargin);

}  // namespace
