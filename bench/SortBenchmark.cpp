// Sorting the 10,000,000 row indices of a table by one column, against std::sort of the column's
// raw doubles in the same run. The comparators compute one collation key per row first (a rank
// of its value), then sort the keys; the "PerPair" variants drive std::sort with the comparator
// itself over the same keys, to show what sorting the keys saves.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/sorting/ColumnSortComparator.h"

namespace {

using pellium::Column;
using pellium::ColumnSortComparator;
using pellium::DataSet;
using pellium::DataType;
using pellium::SortContext;
using pellium::SortDirection;
using pellium::StringUtilities;
using Mode = pellium::AbstractDataValueSortComparator::Mode;

constexpr std::int32_t ROW_COUNT = 10'000'000;
constexpr std::size_t DISTINCT_TEXTS = 10'000;

std::string randomWord(std::mt19937_64& random) {
    static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzAEIOUäöüéß";
    std::string word;
    const std::size_t length = 4 + random() % 9;
    while (word.size() < length) {
        const std::size_t position = random() % letters.size();
        // Take whole UTF-8 characters: a lead byte and its continuation bytes.
        std::size_t end = position + 1;
        while (end < letters.size() && (static_cast<unsigned char>(letters[end]) & 0xC0) == 0x80) {
            ++end;
        }
        if ((static_cast<unsigned char>(letters[position]) & 0xC0) != 0x80) {
            word.append(letters.substr(position, end - position));
        }
    }
    return word;
}

const std::shared_ptr<DataSet>& dataSet() {
    static const std::shared_ptr<DataSet> made = [] {
        std::mt19937_64 random(17);
        std::uniform_real_distribution<double> amounts(-1e6, 1e6);
        auto numbers = std::make_shared<Column::NumberVector>();
        auto indices = std::make_shared<Column::IndexVector>();
        numbers->reserve(ROW_COUNT);
        indices->reserve(ROW_COUNT);
        for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
            numbers->push_back(amounts(random));
            indices->push_back(static_cast<std::int32_t>(random() % DISTINCT_TEXTS));
        }
        auto table = std::make_shared<DataSet::StringTable>();
        for (std::size_t index = 0; index < DISTINCT_TEXTS; ++index) {
            table->push_back(StringUtilities::internString(randomWord(random) + " " + std::to_string(index)));
        }
        auto amount = Column::create(StringUtilities::internString("amount"), DataType::NUMERIC);
        amount->setNumbers(numbers);
        auto customer = Column::create(StringUtilities::internString("customer"), DataType::STRING);
        customer->setStringIndices(indices);
        auto data = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{amount, customer}));
        data->setStringTable(table);
        data->assignStringValuesFromIndices();
        return data;
    }();
    return made;
}

std::vector<std::uint32_t> allRows() {
    std::vector<std::uint32_t> rows(ROW_COUNT);
    std::iota(rows.begin(), rows.end(), 0u);
    return rows;
}

void BM_StdSortOfRawDoubles(benchmark::State& state) {
    const auto& numbers = *dataSet()->getColumnAtIndex(0)->getNumbers();
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<double> copy = numbers;
        state.ResumeTiming();
        std::sort(copy.begin(), copy.end());
        benchmark::DoNotOptimize(copy.data());
    }
}

// Keys computed and rows sorted, as a table view sorts on a click of a column header.
void sortRows(benchmark::State& state, std::int32_t column, Mode::type mode, bool perPair) {
    const auto context = SortContext::create(SortDirection::ASCENDING, "de_DE");
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::uint32_t> rows = allRows();
        state.ResumeTiming();
        const auto comparator = ColumnSortComparator::create(context, dataSet(), dataSet()->getColumnAtIndex(column));
        comparator->setMode(mode);
        comparator->computeCollationKeys();
        if (perPair) {
            std::sort(rows.begin(), rows.end(), std::cref(*comparator));
        } else {
            comparator->sortIndices(rows);
        }
        benchmark::DoNotOptimize(rows.data());
    }
}

void BM_SortRowsByNumericColumn(benchmark::State& state) {
    sortRows(state, 0, Mode::NUMERIC, false);
}
void BM_SortRowsByNumericColumnPerPair(benchmark::State& state) {
    sortRows(state, 0, Mode::NUMERIC, true);
}
void BM_SortRowsByStringColumnByteOrder(benchmark::State& state) {
    sortRows(state, 1, Mode::STRING_BYTE_ORDER, false);
}
void BM_SortRowsByStringColumnCollated(benchmark::State& state) {
    sortRows(state, 1, Mode::STRING_COLLATED, false);
}
void BM_SortRowsByStringColumnCollatedPerPair(benchmark::State& state) {
    sortRows(state, 1, Mode::STRING_COLLATED, true);
}

// The keys alone: what a re-sort in the other direction does not need again.
void BM_CollationKeysOfStringColumnCollated(benchmark::State& state) {
    const auto context = SortContext::create(SortDirection::ASCENDING, "de_DE");
    for (auto _ : state) {
        const auto comparator = ColumnSortComparator::create(context, dataSet(), dataSet()->getColumnAtIndex(1));
        comparator->setMode(Mode::STRING_COLLATED);
        comparator->computeCollationKeys();
        benchmark::DoNotOptimize(comparator->getCollationKeys().get());
    }
}

}  // namespace

BENCHMARK(BM_StdSortOfRawDoubles)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_SortRowsByNumericColumn)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_SortRowsByNumericColumnPerPair)->Unit(benchmark::kMillisecond)->Repetitions(3)->ReportAggregatesOnly(true);
BENCHMARK(BM_SortRowsByStringColumnByteOrder)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_SortRowsByStringColumnCollated)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_SortRowsByStringColumnCollatedPerPair)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_CollationKeysOfStringColumnCollated)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
