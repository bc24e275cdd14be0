// Sorting the members of a crosstab: 1,000,000 rows classified by Customer (10,000 members with
// names in mixed case and accents) by Year (10 members), measure SUM of sales. Each benchmark lists
// the customers of the row display tree in depth-first order, as a view lays out its rows:
// unsorted (the baseline), by label collated for German, by label in byte order, by the customers'
// total descending and by their value in one year. A second baseline is std::sort of 10,000 raw
// doubles, the least any sort of the members costs. The last pair builds the whole rectangular
// crosstab unsorted and sorted by total, the cost a report viewer sees.

#include <algorithm>
#include <benchmark/benchmark.h>
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
#include "pellium/models/data/tree/DataTreeSortContext.h"
#include "pellium/models/data/tree/MemberSortState.h"

namespace {

using namespace pellium;

constexpr std::int32_t ROW_COUNT = 1'000'000;
constexpr std::int32_t CUSTOMERS = 10'000;
constexpr std::int32_t YEARS = 10;

SharedString text(const std::string& value) {
    return StringUtilities::internString(value);
}

// Distinct names that collation and byte order put in different orders.
std::string customerName(std::int32_t index) {
    static const std::vector<std::string> syllables{"ä",   "Ber", "cor", "Dal", "éra", "fin", "Gus", "hol",
                                                    "Ils", "jö",  "Kar", "lun", "Mø",  "nor", "Öst", "pa"};
    std::string name;
    for (std::int32_t rest = index + CUSTOMERS; rest > 0; rest /= 16) {
        name += syllables[static_cast<std::size_t>(rest % 16)];
    }
    return name;
}

struct Crosstab {
    std::shared_ptr<HierarchyDataSet> hierarchyDataSet;
    std::shared_ptr<Hierarchy> customers;
    std::shared_ptr<Hierarchy> years;
};

Crosstab makeCrosstab() {
    std::mt19937_64 random(5);
    auto table = std::make_shared<DataSet::StringTable>();
    for (std::int32_t index = 0; index < CUSTOMERS; ++index) {
        table->push_back(text(customerName(index)));
    }
    auto customerIndices = std::make_shared<Column::IndexVector>();
    auto yearNumbers = std::make_shared<Column::NumberVector>();
    auto sales = std::make_shared<Column::NumberVector>();
    for (std::int32_t row = 0; row < ROW_COUNT; ++row) {
        const auto bits = random();
        customerIndices->push_back(static_cast<std::int32_t>(bits % CUSTOMERS));
        yearNumbers->push_back(2015.0 + static_cast<double>((bits >> 20) % YEARS));
        sales->push_back(static_cast<double>((bits >> 32) % 100000) / 100.0);
    }
    auto customer = Column::create(text("Customer"), DataType::STRING);
    customer->setStringIndices(customerIndices);
    auto year = Column::create(text("Year"), DataType::NUMERIC);
    year->setNumbers(yearNumbers);
    auto amount = Column::create(text("Sales"), DataType::NUMERIC);
    amount->setNumbers(sales);
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{customer, year, amount}));
    dataSet->setName(text("sales"));
    dataSet->setStringTable(table);
    dataSet->assignStringValuesFromIndices();

    Crosstab crosstab;
    crosstab.customers = Hierarchy::create(text("Customers"), nullptr, {Level::createForColumn(*customer)});
    crosstab.years = Hierarchy::create(text("Years"), nullptr, {Level::createForColumn(*year)});
    crosstab.hierarchyDataSet = HierarchyDataSet::create({crosstab.customers, crosstab.years}, {text("Sales")});
    crosstab.hierarchyDataSet->setCrosstabDataSet(true);
    crosstab.hierarchyDataSet->setDataSet(dataSet);
    return crosstab;
}

const Crosstab& crosstab() {
    static const Crosstab built = makeCrosstab();
    return built;
}

void listCustomers(benchmark::State& state, const std::shared_ptr<MemberSortState>& sortState) {
    const Crosstab& data = crosstab();
    std::shared_ptr<DataTreeSortContext> context;
    if (sortState) {
        context = DataTreeSortContext::create(data.hierarchyDataSet, "de_DE");
        context->setSortStateForLevel("Customer", sortState);
    }
    for (auto _ : state) {
        const auto members =
            data.customers->getDisplay()->getDepthFirstListOfAllNodesUnderThisNode(false, true, true, context.get());
        benchmark::DoNotOptimize(members.data());
    }
    state.SetItemsProcessed(state.iterations() * CUSTOMERS);
}

void BM_ListCustomersInDataOrder(benchmark::State& state) {
    listCustomers(state, nullptr);
}
BENCHMARK(BM_ListCustomersInDataOrder)->Unit(benchmark::kMicrosecond);

void BM_StdSortOfRawDoubles(benchmark::State& state) {
    std::mt19937_64 random(7);
    std::vector<double> numbers(CUSTOMERS);
    for (double& number : numbers) {
        number = static_cast<double>(random() % 1000000) / 100.0;
    }
    for (auto _ : state) {
        std::vector<double> sorted = numbers;
        std::sort(sorted.begin(), sorted.end());
        benchmark::DoNotOptimize(sorted.data());
    }
    state.SetItemsProcessed(state.iterations() * CUSTOMERS);
}
BENCHMARK(BM_StdSortOfRawDoubles)->Unit(benchmark::kMicrosecond);

void BM_ListCustomersByLabelCollated(benchmark::State& state) {
    listCustomers(state, MemberSortState::createByLabel(SortDirection::ASCENDING));
}
BENCHMARK(BM_ListCustomersByLabelCollated)->Unit(benchmark::kMicrosecond);

void BM_ListCustomersByLabelByteOrder(benchmark::State& state) {
    listCustomers(state, MemberSortState::createByLabel(SortDirection::ASCENDING, false));
}
BENCHMARK(BM_ListCustomersByLabelByteOrder)->Unit(benchmark::kMicrosecond);

void BM_ListCustomersByTotalDescending(benchmark::State& state) {
    listCustomers(state, MemberSortState::createByMeasure(SortDirection::DESCENDING, text("Sales")));
}
BENCHMARK(BM_ListCustomersByTotalDescending)->Unit(benchmark::kMicrosecond);

void BM_ListCustomersByYearValueDescending(benchmark::State& state) {
    listCustomers(state, MemberSortState::createByMeasure(SortDirection::DESCENDING, text("Sales"), {text("2020")}));
}
BENCHMARK(BM_ListCustomersByYearValueDescending)->Unit(benchmark::kMicrosecond);

void normalizedCrossings(benchmark::State& state, bool sorted) {
    const Crosstab& data = crosstab();
    std::shared_ptr<DataTreeSortContext> context;
    if (sorted) {
        context = DataTreeSortContext::create(data.hierarchyDataSet);
        context->setSortStateForLevel("Customer",
                                      MemberSortState::createByMeasure(SortDirection::DESCENDING, text("Sales")));
    }
    for (auto _ : state) {
        const auto table = data.hierarchyDataSet->getNormalizedCrossings(
            data.customers, data.years, true, false, true, false, true, false, true, false, context.get());
        benchmark::DoNotOptimize(table.get());
    }
    state.SetItemsProcessed(state.iterations() * CUSTOMERS);
}

void BM_NormalizedCrossingsInDataOrder(benchmark::State& state) {
    normalizedCrossings(state, false);
}
BENCHMARK(BM_NormalizedCrossingsInDataOrder)->Unit(benchmark::kMillisecond);

void BM_NormalizedCrossingsSortedByTotal(benchmark::State& state) {
    normalizedCrossings(state, true);
}
BENCHMARK(BM_NormalizedCrossingsSortedByTotal)->Unit(benchmark::kMillisecond);

}  // namespace
