// The library's promise to its hosts: objects built on one thread may then be read from many.
// This stress test builds one data set, one compiled where evaluator and one crosstab, and reads
// them from eight threads at once while two more threads resolve formatters and time zones. Every
// answer is compared with the answer of an identical set of objects read on one thread beforehand;
// the objects under test are fresh, so the lazily made parts (formatted-text caches, merged
// aggregators, string positions) are made while the threads race for them.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/models/data/where/WhereEvaluator.h"
#include "pellium/util/DateType.h"
#include "pellium/util/TimeZone.h"

namespace pellium::test {

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr int WORK_SCALE = 1;  // ThreadSanitizer runs everything many times slower
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr int WORK_SCALE = 1;
#else
constexpr int WORK_SCALE = 24;
#endif
#else
constexpr int WORK_SCALE = 24;
#endif

constexpr std::int32_t ROWS = 100'000;
constexpr int READERS = 8;
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

using Op = WhereClauseOperators;

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

const std::vector<std::string> REGIONS = {"North", "South", "East", "West", "Central"};
const std::vector<std::string> PRODUCTS = {"Apples", "Pears", "Plums", "Kiwis", "Figs", "Dates", "Limes", "Grapes"};
const std::vector<double> YEARS = {2019, 2020, 2021, 2022};

// One report's data: two text columns with missing cells, and numbers in four formats with
// missing, sparse and suppressed cells. The same seed always gives the same data set.
std::shared_ptr<DataSet> makeSales() {
    std::mt19937 random(2026);
    const auto below = [&random](std::size_t count) {
        return static_cast<std::size_t>(std::uniform_int_distribution<std::size_t>(0, count - 1)(random));
    };
    auto table = std::make_shared<DataSet::StringTable>();
    for (const auto& name : REGIONS) {
        table->push_back(text(name));
    }
    for (const auto& name : PRODUCTS) {
        table->push_back(text(name));
    }
    auto region = std::make_shared<Column::IndexVector>();
    auto product = std::make_shared<Column::IndexVector>();
    auto year = std::make_shared<Column::NumberVector>();
    auto sales = std::make_shared<Column::NumberVector>();
    auto units = std::make_shared<Column::NumberVector>();
    auto day = std::make_shared<Column::NumberVector>();
    for (std::int32_t row = 0; row < ROWS; ++row) {
        region->push_back(below(40) == 0 ? DataTokens::TOKEN_MISSING
                                         : static_cast<std::int32_t>(below(REGIONS.size())));
        product->push_back(static_cast<std::int32_t>(REGIONS.size() + below(PRODUCTS.size())));
        year->push_back(below(30) == 0 ? NaN : YEARS[below(YEARS.size())]);
        double amount = static_cast<double>(below(2'000'000)) / 100.0 - 5000.0;
        switch (below(25)) {
            case 0:
                amount = NaN;
                break;
            case 1:
                amount = DataTokens::SPARSE_NUMERIC;
                break;
            case 2:
                amount = DataTokens::SUPPRESSED_NUMERIC;
                break;
            default:
                break;
        }
        sales->push_back(amount);
        units->push_back(static_cast<double>(below(5000)));
        day->push_back(static_cast<double>(21'000 + below(3000)));
    }
    const auto numbers = [](std::string_view name, std::shared_ptr<Column::NumberVector> values,
                            std::string_view format) {
        auto column = Column::create(text(name), DataType::NUMERIC, nullptr, text(format));
        column->setNumbers(std::move(values));
        return column;
    };
    const auto strings = [](std::string_view name, std::shared_ptr<Column::IndexVector> indices) {
        auto column = Column::create(text(name), DataType::STRING);
        column->setStringIndices(std::move(indices));
        return column;
    };
    auto columns = std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{
        strings("Region", region), strings("Product", product), numbers("Year", year, "4."),
        numbers("Sales", sales, "DOLLAR14.2"), numbers("Units", units, "COMMA8."), numbers("Day", day, "DATE9.")});
    auto dataSet = DataSet::create(columns);
    dataSet->setName(text("sales"));
    dataSet->setStringTable(table);
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

std::shared_ptr<WhereClauseExpression> leaf(std::string_view column, Op::type op, std::shared_ptr<DataValue> value) {
    return WhereClauseExpression::create(text(column), op, std::move(value));
}

// Mixes every kind of routine: numeric and string comparisons, a missing test, a number compared
// with its formatted text, and nested AND, OR and NOT.
std::shared_ptr<const AbstractWhereClauseExpression> makeFilter() {
    using Compound = CompoundWhereClauseExpression;
    const auto textValue = [](std::string_view value) { return DataValue::create(text(value), -1000); };
    return Compound::create(
        Op::OR, {Compound::create(Op::AND, {leaf("Region", Op::EQ, textValue("East")),
                                            leaf("Sales", Op::GT, DataValue::create(2500.0))}),
                 Compound::create(Op::AND,
                                  {leaf("Product", Op::GE, textValue("Pears")), leaf("Year", Op::EQ, textValue("2021")),
                                   Compound::create(Op::NOT, {leaf("Units", Op::LT, DataValue::create(1000.0))})}),
                 leaf("Region", Op::IS, DataValue::create(NaN))});
}

std::shared_ptr<HierarchyDataSet> makeCrosstab(const std::shared_ptr<DataSet>& dataSet) {
    const auto level = [&dataSet](std::string_view name) {
        return Level::createForColumn(*dataSet->getColumnWithName(name));
    };
    auto rows = Hierarchy::create(text("Rows"), nullptr, {level("Region"), level("Product")});
    auto columns = Hierarchy::create(text("Years"), nullptr, {level("Year")});
    auto crosstab = HierarchyDataSet::create({rows, columns}, {text("Sales"), text("Units")});
    crosstab->setDataSet(dataSet);
    return crosstab;
}

// The crossings a crosstab display asks for: every region, region and product, by every year and
// by all years, and the totals.
std::vector<std::vector<CrossingPath>> makeCrossingQueries() {
    std::vector<CrossingPath> rowPaths = {{}};
    for (const auto& region : REGIONS) {
        rowPaths.push_back({DataTreeNode::create(text(region))});
        for (const auto& product : PRODUCTS) {
            rowPaths.push_back({DataTreeNode::create(text(region)), DataTreeNode::create(text(product))});
        }
    }
    std::vector<CrossingPath> columnPaths = {{}};
    for (const double year : YEARS) {
        columnPaths.push_back({DataTreeNode::create(text(std::to_string(static_cast<int>(year))))});
    }
    std::vector<std::vector<CrossingPath>> queries;
    for (const auto& rowPath : rowPaths) {
        for (const auto& columnPath : columnPaths) {
            queries.push_back({rowPath, columnPath});
        }
    }
    return queries;
}

// Numbers as exact texts, so that NaN equals NaN and answers compare as strings.
std::string describe(const CrossingValues& values) {
    std::string description;
    for (const auto& value : values) {
        description += value ? std::to_string(value->getNumericValue()) : "null";
        description += ';';
    }
    return description;
}

std::string describe(const DataTreeNode::NodeList& nodes) {
    std::string description;
    for (const auto& node : nodes) {
        description += node->getFormattedValue() ? *node->getFormattedValue() : "NULL";
        description += '/';
        description += std::to_string(node->getLevel());
        description += ';';
    }
    return description;
}

std::string normalizedText(const HierarchyDataSet& crosstab) {
    const auto& hierarchies = crosstab.getHierarchies();
    const auto normalized = crosstab.getNormalizedCrossings(hierarchies[0], hierarchies[1], true, false, true, false,
                                                            true, false, true, false);
    return normalized ? *normalized->getCombinedCSV() : "null";
}

const std::vector<std::string> FORMAT_NAMES = {"DOLLAR12.2",  "COMMA10.1", "BEST8.",    "PERCENT8.1", "DATE9.",
                                               "DATETIME20.", "TIME8.",    "MMDDYY10.", "E10.",       "Z6.",
                                               "NLNUM12.2",   "F7.3",      "YEAR4.",    "HEX8.",      "WORDS20."};
const std::vector<double> FORMAT_SAMPLES = {0, -1.5, 1234.5678, 1e9, 21'915, 1'893'456'000.25, NaN};

std::string formatAll() {
    std::string texts;
    for (const auto& name : FORMAT_NAMES) {
        const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(name);
        for (const double sample : FORMAT_SAMPLES) {
            const auto formatted = formatter ? formatter->format(sample) : nullptr;
            texts += formatted ? *formatted : "null";
            texts += '|';
        }
    }
    return texts;
}

const std::vector<std::string> ZONE_IDS = {"America/New_York", "Europe/London", "Australia/Lord_Howe",
                                           "Asia/Kolkata",     "Europe/Berlin", "America/Sao_Paulo"};

double offsetSum() {
    double sum = 0;
    for (const auto& id : ZONE_IDS) {
        const auto zone = TimeZone::create(id);
        if (!zone) {
            return NaN;
        }
        for (double time = 0; time < 3e9; time += 7.3e7) {
            for (const DateType::type type : DateType::allValues()) {
                sum += zone->getOffset(time, type);
            }
        }
    }
    return sum;
}

// What one thread sees when it reads the objects alone.
struct Answers {
    std::vector<std::vector<std::string>> cells;  // per column, per row
    std::vector<std::uint32_t> selected;
    std::vector<std::string> crossings;
    std::string normalized;
    std::string allNodes;
    std::string leaves;
    std::string formatted;
    double offsets = 0;
};

Answers answer(const DataSet& dataSet, const WhereEvaluator& evaluator, const HierarchyDataSet& crosstab,
               const std::vector<std::vector<CrossingPath>>& queries) {
    Answers answers;
    for (std::int32_t column = 0; column < dataSet.getNumberOfColumns(); ++column) {
        auto& texts = answers.cells.emplace_back();
        for (std::int32_t row = 0; row < ROWS; ++row) {
            const auto cell = dataSet.getFormattedValueAtIndex(column, row);
            texts.push_back(cell ? *cell : "null");
        }
    }
    answers.selected = evaluator.selectRows(0, ROWS);
    for (const auto& query : queries) {
        answers.crossings.push_back(describe(crosstab.getMeasureValuesAtCrossing(query)));
    }
    answers.normalized = normalizedText(crosstab);
    answers.allNodes = describe(crosstab.getDataTreeRoot()->getDepthFirstListOfAllNodesUnderThisNode(true, true));
    answers.leaves = describe(crosstab.getDataTreeRoot()->getDepthFirstListOfAllLeafNodesUnderThisNode(false));
    answers.formatted = formatAll();
    answers.offsets = offsetSum();
    return answers;
}

// The shared objects and the answers they must give.
struct Fixture {
    std::shared_ptr<DataSet> dataSet;
    std::shared_ptr<WhereEvaluator> evaluator;
    std::shared_ptr<HierarchyDataSet> crosstab;
    std::vector<std::vector<CrossingPath>> queries;
    Answers expected;
};

// One reader's share of a round: a stretch of cells of every column (the threads start in
// different blocks so that they race for the same lazily formatted blocks from different
// ends), single-row tests and batches of the filter, a few crossings, and one listing.
void readOnce(const Fixture& fixture, int thread, int round, std::vector<std::uint32_t>& buffer, int& failures) {
    const auto check = [&failures](bool same) { failures += same ? 0 : 1; };
    const std::int32_t stretch = 4096;
    const std::int32_t first = static_cast<std::int32_t>((thread * 12'289 + round * 40'961) % (ROWS - stretch));
    const auto columnCount = fixture.dataSet->getNumberOfColumns();
    for (std::int32_t column = 0; column < columnCount; ++column) {
        const auto& expected = fixture.expected.cells[static_cast<std::size_t>(column)];
        for (std::int32_t row = first; row < first + stretch; row += 1 + (thread & 1)) {
            const auto cell = fixture.dataSet->getFormattedValueAtIndex(column, row);
            check(cell && *cell == expected[static_cast<std::size_t>(row)]);
        }
    }
    const auto& selected = fixture.expected.selected;
    auto next = std::lower_bound(selected.begin(), selected.end(), static_cast<std::uint32_t>(first));
    for (std::int32_t row = first; row < first + stretch; ++row) {
        const bool isSelected = next != selected.end() && *next == static_cast<std::uint32_t>(row);
        check(fixture.evaluator->evaluate(static_cast<std::uint32_t>(row)) == isSelected);
        next += isSelected ? 1 : 0;
    }
    const std::uint32_t batchBegin = static_cast<std::uint32_t>(first);
    const std::uint32_t batchEnd =
        std::min(batchBegin + 2 * static_cast<std::uint32_t>(stretch), static_cast<std::uint32_t>(ROWS));
    const std::size_t count = fixture.evaluator->selectRows(batchBegin, batchEnd, buffer.data());
    const auto from = std::lower_bound(selected.begin(), selected.end(), batchBegin);
    const auto to = std::lower_bound(selected.begin(), selected.end(), batchEnd);
    check(std::equal(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count), from, to));
    for (std::size_t query = static_cast<std::size_t>(thread + round) % 7; query < fixture.queries.size(); query += 7) {
        check(describe(fixture.crosstab->getMeasureValuesAtCrossing(fixture.queries[query])) ==
              fixture.expected.crossings[query]);
    }
    const auto& root = fixture.crosstab->getDataTreeRoot();
    switch ((thread + round) % 3) {
        case 0:
            check(normalizedText(*fixture.crosstab) == fixture.expected.normalized);
            break;
        case 1:
            check(describe(root->getDepthFirstListOfAllNodesUnderThisNode(true, true)) == fixture.expected.allNodes);
            break;
        default:
            check(describe(root->getDepthFirstListOfAllLeafNodesUnderThisNode(false)) == fixture.expected.leaves);
            break;
    }
}

TEST(ConcurrentReaders, EightThreadsReadOneBuiltModelAndGetWhatOneThreadGets) {
    // The oracle: an identical set of objects, read on this thread only.
    Fixture fixture;
    fixture.queries = makeCrossingQueries();
    {
        const auto dataSet = makeSales();
        const auto evaluator = WhereEvaluator::create(makeFilter(), dataSet, true, false);
        const auto crosstab = makeCrosstab(dataSet);
        fixture.expected = answer(*dataSet, *evaluator, *crosstab, fixture.queries);
    }
    ASSERT_FALSE(std::isnan(fixture.expected.offsets));
    ASSERT_GT(fixture.expected.selected.size(), 1000U);
    ASSERT_LT(fixture.expected.selected.size(), static_cast<std::size_t>(ROWS) / 2);
    // The objects under test, built on this thread and never read before the readers start.
    fixture.dataSet = makeSales();
    fixture.evaluator = WhereEvaluator::create(makeFilter(), fixture.dataSet, true, false);
    fixture.crosstab = makeCrosstab(fixture.dataSet);
    // The formatter cache and the time zone cache start empty too.
    FormatterFactory::instance()->clearFormatterCache();

    const int rounds = 2 * WORK_SCALE;
    std::atomic<bool> readersDone{false};
    std::vector<int> failures(READERS + 2, 0);
    std::latch start(READERS + 2);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < READERS; ++thread) {
        threads.emplace_back([&, thread] {
            std::vector<std::uint32_t> buffer(2 * 4096);
            start.arrive_and_wait();
            for (int round = 0; round < rounds; ++round) {
                readOnce(fixture, thread, round, buffer, failures[static_cast<std::size_t>(thread)]);
            }
        });
    }
    // The resolvers run until the readers finish, and at least a fixed number of times.
    const auto resolveUntilDone = [&](int index, const auto& resolve) {
        return [&, index, resolve] {
            start.arrive_and_wait();
            for (int pass = 0; pass < 2 * WORK_SCALE || !readersDone.load(); ++pass) {
                failures[static_cast<std::size_t>(index)] += resolve() ? 0 : 1;
            }
        };
    };
    threads.emplace_back(resolveUntilDone(READERS, [&] { return formatAll() == fixture.expected.formatted; }));
    threads.emplace_back(resolveUntilDone(READERS + 1, [&] { return offsetSum() == fixture.expected.offsets; }));
    for (int thread = 0; thread < READERS; ++thread) {
        threads[static_cast<std::size_t>(thread)].join();
    }
    readersDone = true;
    threads[READERS].join();
    threads[READERS + 1].join();

    for (int thread = 0; thread < READERS; ++thread) {
        EXPECT_EQ(failures[static_cast<std::size_t>(thread)], 0) << "reader " << thread;
    }
    EXPECT_EQ(failures[READERS], 0) << "formatter resolution";
    EXPECT_EQ(failures[READERS + 1], 0) << "time zone offsets";
}

}  // namespace

}  // namespace pellium::test
