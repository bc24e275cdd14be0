// Building the tree of a crosstab over 10,000,000 rows (Region with 8 members > Product with 50, by
// Year with 10), with the measures SUM and FREQUENCY, and separately SUM and COUNT_DISTINCT of a
// customer number with 10,000 values; then the rectangular form of the whole crosstab, totals
// included. The baseline is the least a GROUP BY of these rows can do: one fused pass that turns the
// three precomputed member codes of a row into a cell number and adds its measures to flat arrays.
// Rows per second are the rows classified and aggregated per second of wall time.

#include <benchmark/benchmark.h>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"

namespace {

using namespace pellium;

constexpr std::int32_t ROW_COUNT = 10'000'000;
constexpr std::int32_t REGIONS = 8;
constexpr std::int32_t PRODUCTS = 50;
constexpr std::int32_t YEARS = 10;
constexpr std::int32_t CUSTOMERS = 10'000;

SharedString text(const std::string& value) {
    return StringUtilities::internString(value);
}

struct SalesData {
    std::shared_ptr<DataSet> dataSet;
    // Member codes of each row, for the baseline.
    std::vector<std::int32_t> region;
    std::vector<std::int32_t> product;
    std::vector<std::int32_t> year;
};

std::shared_ptr<Column> stringColumn(const std::string& name, std::vector<std::int32_t> indices) {
    auto column = Column::create(text(name), DataType::STRING);
    column->setStringIndices(std::make_shared<Column::IndexVector>(std::move(indices)));
    return column;
}

std::shared_ptr<Column> numberColumn(const std::string& name, std::vector<double> numbers,
                                     StatisticType::type statistic) {
    auto column = Column::create(text(name), DataType::NUMERIC);
    column->setNumbers(std::make_shared<Column::NumberVector>(std::move(numbers)));
    column->setAggregation(statistic);
    return column;
}

SalesData makeSales() {
    SalesData sales;
    std::mt19937_64 random(11);
    auto table = std::make_shared<DataSet::StringTable>();
    for (std::int32_t index = 0; index < REGIONS; ++index) {
        table->push_back(text("Region " + std::to_string(index)));
    }
    for (std::int32_t index = 0; index < PRODUCTS; ++index) {
        table->push_back(text("Product " + std::to_string(index)));
    }
    for (std::int32_t index = 0; index < YEARS; ++index) {
        table->push_back(text(std::to_string(2015 + index)));
    }
    std::vector<std::int32_t> regionIndices;
    std::vector<std::int32_t> productIndices;
    std::vector<std::int32_t> yearIndices;
    std::vector<double> yearNumbers;
    std::vector<double> amounts;
    std::vector<double> quantities;
    std::vector<double> customers;
    for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
        const auto bits = random();
        const auto region = static_cast<std::int32_t>(bits % REGIONS);
        const auto product = static_cast<std::int32_t>((bits >> 8) % PRODUCTS);
        const auto year = static_cast<std::int32_t>((bits >> 16) % YEARS);
        sales.region.push_back(region);
        sales.product.push_back(product);
        sales.year.push_back(year);
        regionIndices.push_back(region);
        productIndices.push_back(REGIONS + product);
        yearIndices.push_back(REGIONS + PRODUCTS + year);
        yearNumbers.push_back(2015.0 + year);
        amounts.push_back(static_cast<double>((bits >> 24) % 100000) / 100);
        quantities.push_back(static_cast<double>((bits >> 44) % 20));
        customers.push_back(static_cast<double>((bits >> 32) % CUSTOMERS));
    }
    auto columns = std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{
        stringColumn("Region", std::move(regionIndices)), stringColumn("Product", std::move(productIndices)),
        stringColumn("Year", std::move(yearIndices)),
        numberColumn("YearNumber", std::move(yearNumbers), StatisticType::SUM),
        numberColumn("Amount", std::move(amounts), StatisticType::SUM),
        numberColumn("Quantity", std::move(quantities), StatisticType::FREQUENCY),
        numberColumn("Customer", std::move(customers), StatisticType::COUNT_DISTINCT)});
    sales.dataSet = DataSet::create(columns);
    sales.dataSet->setName(text("sales"));
    sales.dataSet->setStringTable(table);
    sales.dataSet->assignStringValuesFromIndices();
    return sales;
}

const SalesData& sales() {
    static const SalesData made = makeSales();
    return made;
}

std::shared_ptr<HierarchyDataSet> makeCrosstab(const std::string& yearColumn, const std::string& secondMeasure) {
    const auto& dataSet = sales().dataSet;
    const auto level = [&](const std::string& name) {
        return Level::createForColumn(*dataSet->getColumnWithName(name));
    };
    auto rows = Hierarchy::create(text("Geography"), nullptr, {level("Region"), level("Product")});
    auto columns = Hierarchy::create(text("Time"), nullptr, {level(yearColumn)});
    return HierarchyDataSet::create({rows, columns}, {text("Amount"), text(secondMeasure)});
}

void buildTree(benchmark::State& state, const std::string& yearColumn, const std::string& secondMeasure) {
    const auto& dataSet = sales().dataSet;
    for (auto _ : state) {
        auto crosstab = makeCrosstab(yearColumn, secondMeasure);
        crosstab->setDataSet(dataSet);
        benchmark::DoNotOptimize(crosstab->getDataTreeRoot());
    }
    state.counters["rows_per_second"] = benchmark::Counter(
        static_cast<double>(ROW_COUNT) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_BuildTree_SumAndFrequency_StringLevels(benchmark::State& state) {
    buildTree(state, "Year", "Quantity");
}
BENCHMARK(BM_BuildTree_SumAndFrequency_StringLevels)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BuildTree_SumAndFrequency_NumericYear(benchmark::State& state) {
    buildTree(state, "YearNumber", "Quantity");
}
BENCHMARK(BM_BuildTree_SumAndFrequency_NumericYear)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BuildTree_SumAndCountDistinct_StringLevels(benchmark::State& state) {
    buildTree(state, "Year", "Customer");
}
BENCHMARK(BM_BuildTree_SumAndCountDistinct_StringLevels)->Unit(benchmark::kMillisecond)->UseRealTime();

// The least work a GROUP BY of these rows can do, with member codes already known.
void BM_Baseline_FusedGroupByPass(benchmark::State& state) {
    const auto& data = sales();
    const auto& amounts = *data.dataSet->getColumnWithName("Amount")->getNumbers();
    const auto& quantities = *data.dataSet->getColumnWithName("Quantity")->getNumbers();
    for (auto _ : state) {
        std::vector<double> sum(REGIONS * PRODUCTS * YEARS, 0.0);
        std::vector<double> count(REGIONS * PRODUCTS * YEARS, 0.0);
        for (std::size_t row = 0; row < amounts.size(); ++row) {
            const auto cell =
                static_cast<std::size_t>((data.region[row] * PRODUCTS + data.product[row]) * YEARS + data.year[row]);
            sum[cell] += amounts[row];
            count[cell] += std::isnan(quantities[row]) ? 0.0 : 1.0;
        }
        benchmark::DoNotOptimize(sum.data());
        benchmark::DoNotOptimize(count.data());
    }
    state.counters["rows_per_second"] = benchmark::Counter(
        static_cast<double>(ROW_COUNT) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Baseline_FusedGroupByPass)->Unit(benchmark::kMillisecond)->UseRealTime();

void normalizedCrossings(benchmark::State& state, const std::string& secondMeasure) {
    auto crosstab = makeCrosstab("Year", secondMeasure);
    crosstab->setDataSet(sales().dataSet);
    const auto rows = crosstab->getHierarchies()[0];
    const auto columns = crosstab->getHierarchies()[1];
    for (auto _ : state) {
        // Every member and both totals: all nodes, collapsed subtrees included.
        auto normalized =
            crosstab->getNormalizedCrossings(rows, columns, true, false, true, false, true, false, true, false);
        benchmark::DoNotOptimize(normalized);
    }
}

void BM_NormalizedCrossings_SumAndFrequency(benchmark::State& state) {
    normalizedCrossings(state, "Quantity");
}
BENCHMARK(BM_NormalizedCrossings_SumAndFrequency)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_NormalizedCrossings_SumAndCountDistinct(benchmark::State& state) {
    normalizedCrossings(state, "Customer");
}
BENCHMARK(BM_NormalizedCrossings_SumAndCountDistinct)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
