#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"

namespace pellium {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

std::shared_ptr<Column> numericColumn(std::string_view name, std::vector<double> numbers) {
    auto column = Column::create(text(name), DataType::NUMERIC, nullptr, text("BEST12."));
    column->setNumbers(std::make_shared<Column::NumberVector>(std::move(numbers)));
    return column;
}

std::shared_ptr<Column> stringColumn(std::string_view name, std::vector<std::int32_t> indices) {
    auto column = Column::create(text(name), DataType::STRING, nullptr, text("BEST12."));
    column->setStringIndices(std::make_shared<Column::IndexVector>(std::move(indices)));
    return column;
}

std::shared_ptr<DataSet::StringTable> table(std::initializer_list<std::string_view> texts) {
    auto strings = std::make_shared<DataSet::StringTable>();
    for (const auto entry : texts) {
        strings->push_back(std::make_shared<const std::string>(entry));
    }
    return strings;
}

// Cities and amounts: "Zagreb", "amsterdam", "Bern" in an unsorted table.
std::shared_ptr<DataSet> citiesAndAmounts() {
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{
        stringColumn("city", {0, 1, 2, -99, 0}), numericColumn("amount", {1.5, NaN, -2, 4, 1e21})}));
    dataSet->setName(text("sales"));
    dataSet->setStringTable(table({"Zagreb", "amsterdam", "Bern"}));
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

std::vector<int> codesOf(const std::vector<DataSet::ValidationProblem>& problems) {
    std::vector<int> codes;
    for (const auto& problem : problems) {
        codes.push_back(problem.code);
    }
    return codes;
}

}  // namespace

TEST(DataSet, TheRowCountIsTheShortestColumn) {
    const auto dataSet = citiesAndAmounts();
    EXPECT_EQ(dataSet->getNumberOfRows(), 5);
    dataSet->addColumn(numericColumn("short", {1, 2}));
    EXPECT_EQ(dataSet->getNumberOfRows(), 2);
    dataSet->addColumn(nullptr);
    EXPECT_EQ(dataSet->getNumberOfColumns(), 3);
    EXPECT_EQ(DataSet::create()->computeNumberOfRows(), 0);
}

TEST(DataSet, ColumnsAreFoundByExactNameAndLabel) {
    const auto dataSet = citiesAndAmounts();
    dataSet->addColumn(numericColumn("city", {1, 2, 3, 4, 5}));
    EXPECT_EQ(dataSet->getIndexOfColumnWithName("city"), 0) << "the first match wins";
    EXPECT_EQ(dataSet->getIndexOfColumnWithName("City"), -1);
    EXPECT_EQ(dataSet->getColumnWithName("amount"), dataSet->getColumnAtIndex(1));
    EXPECT_EQ(dataSet->getColumnWithLabel("amount"), dataSet->getColumnAtIndex(1));
    EXPECT_EQ(dataSet->getColumnAtIndex(3), nullptr);
    EXPECT_EQ(dataSet->getColumnAtIndex(-1), nullptr);
    EXPECT_EQ(dataSet->getNumberColumns()->size(), 2U);
    EXPECT_EQ(dataSet->getStringColumns()->size(), 1U);
    EXPECT_EQ(dataSet->getColumnsWithUsage(DataUsage::CATEGORICAL)->size(), 1U);
    EXPECT_FALSE(dataSet->setColumnAtIndex(nullptr, 3));
}

TEST(DataSet, TheCSVTextsWriteIndicesTextsAndTokens) {
    const auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{
        stringColumn("name", {0, 1, -1, -99}),
        numericColumn("value", {1.5, DataTokens::MATCHES_ALL_NUMERIC, NaN, DataTokens::SPARSE_NUMERIC}),
        numericColumn("flag", {DataTokens::ALL_OTHERS_NUMERIC, DataTokens::SUPPRESSED_NUMERIC, 0, -0.0})}));
    dataSet->setStringTable(table({"say \"hi\"", "a,b\nc"}));
    dataSet->assignStringValuesFromIndices();
    EXPECT_EQ(*dataSet->getIndexedCSV(), "0,1.5,~O\n1,,~S\n-1,.,0\n-99,~N,-0\n");
    EXPECT_EQ(*dataSet->getStringTableCSV(), "\"say \"\"hi\"\"\"\n\"a,b\nc\"\n");
    EXPECT_EQ(*dataSet->getCombinedCSV(), "\"say \"\"hi\"\"\",1.5,~O\n\"a,b\nc\",,~S\n\" \",.,0\n\"~O\",~N,-0\n");

    EXPECT_EQ(*DataSet::create()->getCombinedCSV(), "");
    EXPECT_EQ(*DataSet::create()->getStringTableCSV(), "");
    std::ostringstream number;
    DataSet::printNumericValueToStream(number, DataTokens::MATCHES_ALL_NUMERIC);
    DataSet::printNumericValueToStream(number, 0.25);
    EXPECT_EQ(number.str(), "0.25");
}

TEST(DataSet, SortingTheStringTableKeepsEveryRowsTextAndMakesIndexOrderByteOrder) {
    std::mt19937 random(99);
    const std::vector<std::string_view> words{"pear", "Apple", "apple", "", "Äpfel", "app", "Zoo", "zoo", "~O"};
    auto strings = std::make_shared<DataSet::StringTable>();
    for (const auto word : words) {
        strings->push_back(text(word));
    }
    std::vector<std::int32_t> first(200);
    std::vector<std::int32_t> second(200);
    for (std::size_t row = 0; row < first.size(); ++row) {
        first[row] = static_cast<std::int32_t>(random() % words.size());
        second[row] = random() % 10 == 0 ? -99 : static_cast<std::int32_t>(random() % words.size());
    }
    auto aggregated = PartiallyAggregatedColumn::create(text("agg"), DataType::STRING);
    aggregated->setStringIndices(std::make_shared<Column::IndexVector>(second));
    aggregated->setColumnForAggregation(stringColumn("sub", first), StatisticType::MODE);
    const auto dataSet = DataSet::create(
        std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{stringColumn("first", first), aggregated}));
    dataSet->setStringTable(strings);
    dataSet->assignStringValuesFromIndices();

    const auto textsOf = [](const std::shared_ptr<Column>& column) {
        std::vector<std::string> texts;
        for (std::int32_t row = 0; row < column->getNumberOfRows(); ++row) {
            const auto value = column->getStringAtIndex(row);
            texts.push_back(value ? *value : "<null>");
        }
        return texts;
    };
    const auto sub = aggregated->getColumnForAggregation(StatisticType::MODE);
    const auto before = std::vector{textsOf(dataSet->getColumnAtIndex(0)), textsOf(aggregated), textsOf(sub)};
    dataSet->sortOrderedUniqueStringValues();
    EXPECT_EQ((std::vector{textsOf(dataSet->getColumnAtIndex(0)), textsOf(aggregated), textsOf(sub)}), before);

    const auto& sorted = *dataSet->getStringTable();
    EXPECT_TRUE(std::ranges::is_sorted(sorted, {}, [](const SharedString& s) { return std::string_view(*s); }));
    EXPECT_EQ(*sorted.front(), "");
    EXPECT_LT(dataSet->getSortIndexForString("Zoo"), dataSet->getSortIndexForString("apple"));
    const auto column = dataSet->getColumnAtIndex(0);
    for (std::int32_t a = 0; a < column->getNumberOfRows(); ++a) {
        for (std::int32_t b = 0; b < column->getNumberOfRows(); ++b) {
            ASSERT_EQ(*column->getDataValueAtIndex(a) < *column->getDataValueAtIndex(b),
                      *column->getStringAtIndex(a) < *column->getStringAtIndex(b));
        }
    }
    EXPECT_EQ(
        aggregated->getStringIndexAtIndex(static_cast<std::int32_t>(std::ranges::find(second, -99) - second.begin())),
        -99)
        << "token codes stay";
}

TEST(DataSet, StringPositionsAreFoundByText) {
    const auto dataSet = citiesAndAmounts();
    EXPECT_EQ(dataSet->getSortIndexForString("Bern"), 2);
    EXPECT_EQ(dataSet->getSortIndexForString(text("amsterdam")), 1);
    EXPECT_EQ(dataSet->getSortIndexForString("Paris"), DataTokens::UNRESOLVABLE_DATA_VALUE);
    EXPECT_EQ(dataSet->getSortIndexForString(SharedString()), DataTokens::UNRESOLVABLE_DATA_VALUE);
    dataSet->setStringTable(table({"Paris"}));
    EXPECT_EQ(dataSet->getSortIndexForString("Paris"), 0);
    EXPECT_EQ(dataSet->getStringTable()->front(), text("Paris")) << "the table holds interned texts";
    EXPECT_EQ(DataSet::create()->getSortIndexForString("x"), DataTokens::UNRESOLVABLE_DATA_VALUE);
}

TEST(DataSet, ValidationReportsEveryProblemInCheckOrderWithItsMessage) {
    auto unnamed = Column::create(nullptr, DataType::STRING, text(""), text("NOSUCHFORMAT"));
    unnamed->setDataUsage(DataUsage::QUANTITATIVE);
    unnamed->setStringIndices(std::make_shared<Column::IndexVector>(3, 0));
    auto duplicate = numericColumn("amount", {1, 2, 3});
    auto untyped = Column::create(text("odd"), static_cast<DataType::type>(7), text("odd label"), nullptr);
    untyped->setNumbers(std::make_shared<Column::NumberVector>(5, 0.0));
    const auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(
        DataSet::ColumnList{numericColumn("amount", {1, 2, 3}), unnamed, nullptr, duplicate, untyped}));
    dataSet->setComparisonEpsilon(1.0);

    const std::vector<std::pair<int, std::string>> expected{
        {DataSet::DATASET_NO_NAME, "Null or 0-length dataset name"},
        {DataSet::DATASET_INVALID_EXPSILON, "Invalid epsilon value: 1.000000"},
        {DataSet::COLUMN_NO_NAME, "No name for column at position 1"},
        {DataSet::COLUMN_NO_LABEL, "No label for column at position: 1"},
        {DataSet::COLUMN_INVALID_FORMAT, "Invalid format (NOSUCHFORMAT) for column at position: 1"},
        {DataSet::COLUMN_INVALID_USAGE, "String dataType with quantitative usage at position: 1"},
        {DataSet::DATASET_NULL_COLUMN, "Null column at position 2"},
        {DataSet::COLUMN_DUPLICATE_NAME, "Duplicate column with name: 'amount'"},
        {DataSet::COLUMN_DUPLICATE_LABEL, "Duplicate column labels: 'amount'"},
        {DataSet::COLUMN_NO_FORMAT, "Missing format for column at position: 4"},
        {DataSet::COLUMN_UNDEFINED_DATA_TYPE, "No DataType for column at position: 4"},
        {DataSet::DATASET_NONRECTANGULAR, "DataSet has 3 rows but column at position 4 has 5 values"}};
    std::vector<std::pair<int, std::string>> reported;
    for (const auto& problem : dataSet->validate()) {
        reported.emplace_back(problem.code, *DataSet::getValidationMessage(problem));
    }
    EXPECT_EQ(reported, expected);
    EXPECT_EQ(DataSet::getValidationCodeName(10014), "DATASET_INVALID_EXPSILON");
    EXPECT_EQ(DataSet::getValidationMessage({12, {}}), nullptr);
}

TEST(DataSet, TheEpsilonIsAcceptedBelowOneTenth) {
    struct Case {
        double epsilon;
        std::vector<int> codes;
    };
    const std::vector<Case> cases{
        {0.1, {DataSet::DATASET_EXTREME_EPSILON}},
        {0.999, {DataSet::DATASET_EXTREME_EPSILON}},
        {1.0, {DataSet::DATASET_INVALID_EXPSILON}},
        {-0.5, {DataSet::DATASET_INVALID_EXPSILON}},
        {0.0999, {}},
        {0.0, {}},
        {std::numeric_limits<double>::quiet_NaN(), {}},
    };
    for (const Case& c : cases) {
        const auto dataSet = citiesAndAmounts();
        dataSet->setComparisonEpsilon(c.epsilon);
        EXPECT_EQ(codesOf(dataSet->validate()), c.codes) << c.epsilon;
    }
    const auto dataSet = citiesAndAmounts();
    dataSet->setComparisonEpsilon(0.1);
    EXPECT_EQ(*DataSet::getValidationMessage(dataSet->validate().front()),
              "Extreme epsilon value: 0.100000, typically in range [0,0.1]");
    EXPECT_EQ(codesOf(DataSet::create()->validate()),
              (std::vector<int>{DataSet::DATASET_NO_NAME, DataSet::DATASET_ZERO_COLUMNS}));
}

TEST(DataSet, CopiesSubsetsAndTotalsKeepTheTableAndOwnTheirRows) {
    const auto dataSet = citiesAndAmounts();
    dataSet->setComparisonEpsilon(0.01);

    const auto subset = DataSet::getSubsetDefinedBySpecifiedIndices(dataSet, {0, 2, 4, 17});
    EXPECT_EQ(subset->getNumberOfRows(), 3);
    EXPECT_EQ(*subset->getCombinedCSV(), "\"Zagreb\",1.5\n\"Bern\",-2\n\"Zagreb\",1e+21\n");
    EXPECT_EQ(subset->getComparisonEpsilon(), 0.01);
    EXPECT_EQ(subset->getStringTable(), dataSet->getStringTable());
    EXPECT_EQ(*subset->getName(), "sales");

    const auto firstTwo = DataSet::create(dataSet, 2);
    EXPECT_EQ(*firstTwo->getCombinedCSV(), "\"Zagreb\",1.5\n\"amsterdam\",.\n");

    const auto copy = dataSet->clone();
    copy->getColumnAtIndex(1)->setNumberAtIndex(7, 0);
    EXPECT_EQ(dataSet->getColumnAtIndex(1)->getNumberAtIndex(0), 1.5);
    EXPECT_EQ(*copy->getIndexedCSV(), "0,7\n1,.\n2,-2\n-99,4\n0,1e+21\n");

    const auto totals = DataSet::computeTotals(dataSet);
    EXPECT_EQ(*totals->getCombinedCSV(), "\"MATCHES_ALL\",1e+21\n");
    EXPECT_TRUE(totals->getColumnAtIndex(0)->valueIsMatchesAll(0));

    dataSet->truncate(1);
    EXPECT_EQ(dataSet->getNumberOfRows(), 1);
    EXPECT_EQ(copy->getNumberOfRows(), 5);
    EXPECT_EQ(DataSet::getSubsetDefinedBySpecifiedIndices(nullptr, {}), nullptr);
}

TEST(DataSet, ColumnChangesReachTheDataSetsListeners) {
    const auto dataSet = citiesAndAmounts();
    const auto amounts = dataSet->getColumnAtIndex(1);
    std::vector<bool> relayedFromColumn;
    dataSet->addListener(Column::VALUES_CHANGED, [&](const std::shared_ptr<Event>& event) {
        relayedFromColumn.push_back(event->isSource(dataSet.get()) && event->isOriginalSource(amounts.get()));
    });
    amounts->setNumberOfRows(3);
    EXPECT_EQ(dataSet->getNumberOfRows(), 3) << "the row count follows the column";
    EXPECT_EQ(relayedFromColumn, std::vector<bool>{true});

    dataSet->setColumnAtIndex(numericColumn("other", {1, 2, 3}), 1);
    amounts->setNumberOfRows(1);
    EXPECT_EQ(relayedFromColumn.size(), 1U) << "a replaced column is no longer heard";
    EXPECT_EQ(dataSet->getNumberOfRows(), 3);
}

TEST(DataSet, TheDescriptionAndTableShowNamesAndCells) {
    const auto dataSet = citiesAndAmounts();
    EXPECT_EQ(dataSet->getDescription().substr(0, 90),
              "DataSet{ name=\"sales\" numberOfRows=\"5\" numberOfColumns=\"2\" stringTableSize=\"3\" comparisonE");
    std::ostringstream table;
    dataSet->printTable(table, 2);
    EXPECT_EQ(table.str(), "city\tamount\nZagreb\t" + *dataSet->getFormattedValueAtIndex(1, 0) + "\namsterdam\t" +
                               *dataSet->getFormattedValueAtIndex(1, 1) + "\n");
    EXPECT_EQ(dataSet->getFormattedValueAtIndex(5, 0), nullptr);
}

}  // namespace pellium
