// The per-cell accessors of a column of 1,000,000 rows, against the plain operations they are made
// of: reading a double from a vector, allocating a small shared object, and formatting a double
// with snprintf. Also the whole-column operations a view runs once: the combined CSV text, sorting
// the string table, and sorting values by the value ordering against sorting plain doubles.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataValue.h"

namespace {

using pellium::Column;
using pellium::DataSet;
using pellium::DataType;
using pellium::StringUtilities;

constexpr std::int32_t ROW_COUNT = 1'000'000;
constexpr std::size_t DISTINCT_TEXTS = 10'000;

std::shared_ptr<DataSet> makeDataSet() {
    std::mt19937_64 random(5);
    auto numbers = std::make_shared<Column::NumberVector>();
    auto indices = std::make_shared<Column::IndexVector>();
    for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
        numbers->push_back(static_cast<double>(random() % 10000000) / 100);
        indices->push_back(static_cast<std::int32_t>(random() % DISTINCT_TEXTS));
    }
    auto table = std::make_shared<DataSet::StringTable>();
    for (std::size_t index = 0; index < DISTINCT_TEXTS; ++index) {
        table->push_back(StringUtilities::internString("Customer " + std::to_string(index * 7919 % 100000)));
    }
    auto amount = Column::create(StringUtilities::internString("amount"), DataType::NUMERIC, nullptr,
                                 StringUtilities::internString("BEST12."));
    amount->setNumbers(numbers);
    auto customer = Column::create(StringUtilities::internString("customer"), DataType::STRING);
    customer->setStringIndices(indices);
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{amount, customer}));
    dataSet->setStringTable(table);
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

const std::shared_ptr<DataSet>& dataSet() {
    static const auto made = makeDataSet();
    return made;
}

const Column& amounts() {
    return *dataSet()->getColumnAtIndex(0);
}
const Column& customers() {
    return *dataSet()->getColumnAtIndex(1);
}

void setCellsProcessed(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * ROW_COUNT);
}

// Baseline: the number of each row read from the column's vector.
void readNumbersFromTheVector(benchmark::State& state) {
    const auto& numbers = *amounts().getNumbers();
    for (auto _ : state) {
        double sum = 0;
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            sum += numbers[static_cast<std::size_t>(row)];
        }
        benchmark::DoNotOptimize(sum);
    }
    setCellsProcessed(state);
}
BENCHMARK(readNumbersFromTheVector)->Unit(benchmark::kMillisecond);

void getNumberAtIndex(benchmark::State& state) {
    const Column& column = amounts();
    for (auto _ : state) {
        double sum = 0;
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            sum += column.getNumberAtIndex(row);
        }
        benchmark::DoNotOptimize(sum);
    }
    setCellsProcessed(state);
}
BENCHMARK(getNumberAtIndex)->Unit(benchmark::kMillisecond);

// Baseline: one small shared allocation per cell, which any accessor returning a new value pays.
void makeSharedPerCell(benchmark::State& state) {
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(std::make_shared<pellium::DataValue>(static_cast<double>(row)));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(makeSharedPerCell)->Unit(benchmark::kMillisecond);

void getDataValueAtIndexNumeric(benchmark::State& state) {
    const Column& column = amounts();
    column.getFormattedValues();  // the formatted texts are cached beforehand
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(column.getDataValueAtIndex(row));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(getDataValueAtIndexNumeric)->Unit(benchmark::kMillisecond);

void getDataValueAtIndexString(benchmark::State& state) {
    const Column& column = customers();
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(column.getDataValueAtIndex(row));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(getDataValueAtIndexString)->Unit(benchmark::kMillisecond);

void getFormattedValueAtIndexCached(benchmark::State& state) {
    const Column& column = amounts();
    column.getFormattedValues();
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(column.getFormattedValueAtIndex(row));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(getFormattedValueAtIndexCached)->Unit(benchmark::kMillisecond);

// Baseline: a double formatted with snprintf, shortest-exact precision.
void snprintfPerCell(benchmark::State& state) {
    const auto& numbers = *amounts().getNumbers();
    char text[32];
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(
                std::snprintf(text, sizeof(text), "%.17g", numbers[static_cast<std::size_t>(row)]));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(snprintfPerCell)->Unit(benchmark::kMillisecond);

// Every row formatted afresh through the formatter factory: the cost of a first, uncached read.
void getFormattedValueAtIndexUncached(benchmark::State& state) {
    const Column& column = amounts();
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(column.getFormattedValueAtIndex(row, false));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(getFormattedValueAtIndexUncached)->Unit(benchmark::kMillisecond);

// Filling the cache of a whole column: formats every block once with the formatter resolved once.
void fillFormattedValueCache(benchmark::State& state) {
    const auto column = Column::create(dataSet()->getColumnAtIndex(0), ROW_COUNT);
    for (auto _ : state) {
        column->clearFormattedValueCache();
        for (std::int32_t row = 0; row < ROW_COUNT; row += 1024) {
            benchmark::DoNotOptimize(column->getFormattedValueAtIndex(row));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(fillFormattedValueCache)->Unit(benchmark::kMillisecond);

void getFormattedValueAtIndexString(benchmark::State& state) {
    const Column& column = customers();
    for (auto _ : state) {
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            benchmark::DoNotOptimize(column.getFormattedValueAtIndex(row));
        }
    }
    setCellsProcessed(state);
}
BENCHMARK(getFormattedValueAtIndexString)->Unit(benchmark::kMillisecond);

void getCombinedCSV(benchmark::State& state) {
    std::size_t bytes = 0;
    for (auto _ : state) {
        bytes = dataSet()->getCombinedCSV()->size();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(getCombinedCSV)->Unit(benchmark::kMillisecond);

void sortOrderedUniqueStringValues(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        const auto copy = DataSet::create(dataSet(), ROW_COUNT);
        state.ResumeTiming();
        copy->sortOrderedUniqueStringValues();
    }
    setCellsProcessed(state);
}
BENCHMARK(sortOrderedUniqueStringValues)->Unit(benchmark::kMillisecond);

// Baseline: the doubles of 100,000 rows sorted as doubles.
void sortDoubles(benchmark::State& state) {
    const auto& numbers = *amounts().getNumbers();
    for (auto _ : state) {
        std::vector<double> copy(numbers.begin(), numbers.begin() + 100000);
        std::ranges::sort(copy);
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 100000);
}
BENCHMARK(sortDoubles)->Unit(benchmark::kMillisecond);

// The same rows sorted as values by the value ordering (special states first and last).
void sortValues(benchmark::State& state) {
    std::vector<std::shared_ptr<pellium::DataValue>> values;
    for (std::int32_t row = 0; row < 100000; ++row) {
        values.push_back(amounts().getDataValueAtIndex(row, false));
    }
    for (auto _ : state) {
        auto copy = values;
        std::ranges::sort(copy, [](const auto& a, const auto& b) { return *a < *b; });
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 100000);
}
BENCHMARK(sortValues)->Unit(benchmark::kMillisecond);

}  // namespace
