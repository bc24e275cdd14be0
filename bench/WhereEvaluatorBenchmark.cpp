// Filtering 10,000,000 rows by region = 'East' AND sales > 500 (and by each leaf alone) with the
// compiled where evaluator, against a hand-written loop over the raw column vectors that writes
// the same selection vector, and against evaluating the same clause tree on row maps. Also the
// data set entry points end to end: filter (rows as a RowIndexSet) and filterDataset (the subset).

#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/models/data/where/WhereEvaluator.h"

namespace {

using pellium::AbstractWhereClauseExpression;
using pellium::Column;
using pellium::CompoundWhereClauseExpression;
using pellium::DataSet;
using pellium::DataType;
using pellium::DataValue;
using pellium::StringUtilities;
using pellium::WhereClauseExpression;
using pellium::WhereEvaluator;
using Op = pellium::WhereClauseOperators;

constexpr std::int32_t ROW_COUNT = 10'000'000;
constexpr std::int32_t EAST = 0;  // the index of "East" in the string table
constexpr std::int32_t ROW_MAP_COUNT = 200'000;

std::shared_ptr<DataSet> makeDataSet() {
    std::mt19937_64 random(17);
    auto regions = std::make_shared<Column::IndexVector>();
    auto sales = std::make_shared<Column::NumberVector>();
    regions->reserve(ROW_COUNT);
    sales->reserve(ROW_COUNT);
    for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
        regions->push_back(static_cast<std::int32_t>(random() % 4));
        // One row in a hundred is missing.
        sales->push_back(random() % 100 == 0 ? std::nan("") : static_cast<double>(random() % 100000) / 100);
    }
    auto region = Column::create(StringUtilities::internString("region"), DataType::STRING);
    region->setStringIndices(regions);
    auto amount = Column::create(StringUtilities::internString("sales"), DataType::NUMERIC, nullptr,
                                 StringUtilities::internString("BEST12."));
    amount->setNumbers(sales);
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{region, amount}));
    auto table = std::make_shared<DataSet::StringTable>();
    for (const char* text : {"East", "West", "North", "South"}) {
        table->push_back(StringUtilities::internString(text));
    }
    dataSet->setStringTable(table);
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

const std::shared_ptr<DataSet>& dataSet() {
    static const auto made = makeDataSet();
    return made;
}

std::shared_ptr<AbstractWhereClauseExpression> regionIsEast() {
    return WhereClauseExpression::create(StringUtilities::internString("region"), Op::EQ,
                                         DataValue::create(StringUtilities::internString("East"), -1000));
}
std::shared_ptr<AbstractWhereClauseExpression> salesOver500() {
    return WhereClauseExpression::create(StringUtilities::internString("sales"), Op::GT, DataValue::create(500.0));
}
std::shared_ptr<AbstractWhereClauseExpression> both() {
    return CompoundWhereClauseExpression::create(Op::AND, {regionIsEast(), salesOver500()});
}

void setRowsProcessed(benchmark::State& state, std::int64_t rows) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * rows);
}

// --- Baselines: the same selection written by hand over the raw vectors ------------------------------

template <typename Test>
void handWrittenLoop(benchmark::State& state, Test test) {
    std::vector<std::uint32_t> selection(ROW_COUNT);
    for (auto _ : state) {
        std::size_t count = 0;
        for (std::uint32_t row = 0; row < static_cast<std::uint32_t>(ROW_COUNT); ++row) {
            selection[count] = row;
            count += test(row) ? 1 : 0;
        }
        benchmark::DoNotOptimize(count);
        benchmark::DoNotOptimize(selection.data());
    }
    setRowsProcessed(state, ROW_COUNT);
}

void baselineNumericGreaterThan(benchmark::State& state) {
    const double* sales = dataSet()->getColumnAtIndex(1)->getNumbers()->data();
    handWrittenLoop(state, [sales](std::uint32_t row) { return sales[row] > 500; });
}
BENCHMARK(baselineNumericGreaterThan)->Unit(benchmark::kMillisecond);

void baselineStringEquals(benchmark::State& state) {
    const std::int32_t* regions = dataSet()->getColumnAtIndex(0)->getStringIndices()->data();
    handWrittenLoop(state, [regions](std::uint32_t row) { return regions[row] == EAST; });
}
BENCHMARK(baselineStringEquals)->Unit(benchmark::kMillisecond);

void baselineAnd(benchmark::State& state) {
    const std::int32_t* regions = dataSet()->getColumnAtIndex(0)->getStringIndices()->data();
    const double* sales = dataSet()->getColumnAtIndex(1)->getNumbers()->data();
    handWrittenLoop(state, [regions, sales](std::uint32_t row) { return regions[row] == EAST && sales[row] > 500; });
}
BENCHMARK(baselineAnd)->Unit(benchmark::kMillisecond);

// --- The compiled evaluator, compiled anew in every iteration ----------------------------------------

void evaluatorBatches(benchmark::State& state, const std::shared_ptr<AbstractWhereClauseExpression>& clause) {
    std::vector<std::uint32_t> selection(ROW_COUNT);
    std::size_t count = 0;
    for (auto _ : state) {
        const auto evaluator = WhereEvaluator::create(clause, dataSet(), true, false);
        count = evaluator->selectRows(0, ROW_COUNT, selection.data());
        benchmark::DoNotOptimize(count);
    }
    state.counters["selected"] = static_cast<double>(count);
    setRowsProcessed(state, ROW_COUNT);
}

void evaluatorNumericGreaterThan(benchmark::State& state) {
    evaluatorBatches(state, salesOver500());
}
BENCHMARK(evaluatorNumericGreaterThan)->Unit(benchmark::kMillisecond);

void evaluatorStringEquals(benchmark::State& state) {
    evaluatorBatches(state, regionIsEast());
}
BENCHMARK(evaluatorStringEquals)->Unit(benchmark::kMillisecond);

void evaluatorAnd(benchmark::State& state) {
    evaluatorBatches(state, both());
}
BENCHMARK(evaluatorAnd)->Unit(benchmark::kMillisecond);

// One indirect call per node and row, as a caller testing single rows pays.
void evaluatorPerRowAnd(benchmark::State& state) {
    const auto evaluator = WhereEvaluator::create(both(), dataSet(), true, false);
    for (auto _ : state) {
        std::size_t count = 0;
        for (std::uint32_t row = 0; row < static_cast<std::uint32_t>(ROW_COUNT); ++row) {
            count += evaluator->evaluate(row) ? 1 : 0;
        }
        benchmark::DoNotOptimize(count);
    }
    setRowsProcessed(state, ROW_COUNT);
}
BENCHMARK(evaluatorPerRowAnd)->Unit(benchmark::kMillisecond);

// --- The clause tree on row maps (the first ROW_MAP_COUNT rows, maps made beforehand) ---------------

void rowMaps(benchmark::State& state, const std::shared_ptr<AbstractWhereClauseExpression>& clause) {
    std::vector<std::shared_ptr<const AbstractWhereClauseExpression::RowMap>> maps;
    maps.reserve(ROW_MAP_COUNT);
    const auto region = dataSet()->getColumnAtIndex(0);
    const auto sales = dataSet()->getColumnAtIndex(1);
    for (std::int32_t row = 0; row < ROW_MAP_COUNT; ++row) {
        auto map = std::make_shared<AbstractWhereClauseExpression::RowMap>();
        map->insert_or_assign("region", region->getDataValueAtIndex(row, false));
        map->insert_or_assign("sales", sales->getDataValueAtIndex(row, false));
        maps.push_back(std::move(map));
    }
    for (auto _ : state) {
        std::size_t count = 0;
        for (const auto& map : maps) {
            count += clause->evaluate(map) ? 1 : 0;
        }
        benchmark::DoNotOptimize(count);
    }
    setRowsProcessed(state, ROW_MAP_COUNT);
}

void rowMapsNumericGreaterThan(benchmark::State& state) {
    rowMaps(state, salesOver500());
}
BENCHMARK(rowMapsNumericGreaterThan)->Unit(benchmark::kMillisecond);

void rowMapsStringEquals(benchmark::State& state) {
    rowMaps(state, regionIsEast());
}
BENCHMARK(rowMapsStringEquals)->Unit(benchmark::kMillisecond);

void rowMapsAnd(benchmark::State& state) {
    rowMaps(state, both());
}
BENCHMARK(rowMapsAnd)->Unit(benchmark::kMillisecond);

// --- The data set entry points end to end ------------------------------------------------------------

void dataSetFilterAnd(benchmark::State& state) {
    const auto clause = both();
    for (auto _ : state) {
        benchmark::DoNotOptimize(dataSet()->filter(clause));
    }
    setRowsProcessed(state, ROW_COUNT);
}
BENCHMARK(dataSetFilterAnd)->Unit(benchmark::kMillisecond);

void dataSetFilterDatasetAnd(benchmark::State& state) {
    const auto clause = both();
    for (auto _ : state) {
        benchmark::DoNotOptimize(DataSet::filterDataset(dataSet(), clause));
    }
    setRowsProcessed(state, ROW_COUNT);
}
BENCHMARK(dataSetFilterDatasetAnd)->Unit(benchmark::kMillisecond);

}  // namespace
