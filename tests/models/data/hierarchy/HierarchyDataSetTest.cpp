#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>

#include "HierarchyTestData.h"

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium::test {

namespace {

std::shared_ptr<Level> levelFor(const DataSet& dataSet, std::string_view name) {
    return Level::createForColumn(*dataSet.getColumnWithName(name));
}

SharedString formattedCell(const Column& column, std::int32_t row) {
    if (column.getDataType() == DataType::STRING) {
        return DataValue::formatStringValue(column.getStringAtIndex(row), column.getStringIndexAtIndex(row));
    }
    return DataValue::formatNumericValue(column.getNumberAtIndex(row), column.getFormatName());
}

// The columnar build must give every leaf exactly what a walk down the tree per row would: its rows
// in order, classified by their formatted texts, and aggregators fed row by row.
TEST(HierarchyDataSetTest, LeavesHoldWhatFeedingTheirRowsOneByOneGives) {
    for (std::uint32_t seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE(seed);
        const auto dataSet = RandomSales::generate(seed, 300).makeDataSet();
        const auto crosstab = salesCrosstab(dataSet);
        const std::vector<const Column*> levels{dataSet->getColumnWithName("Region").get(),
                                                dataSet->getColumnWithName("Product").get(),
                                                dataSet->getColumnWithName("Year").get()};
        const auto& value = *dataSet->getColumnWithName("Value");
        const auto& label = *dataSet->getColumnWithName("Label");
        std::set<std::int32_t> seen;
        std::int32_t previousFirstRow = -1;
        for (const auto& leaf : crosstab->getDataTreeRoot()->getLeafNodes()) {
            const auto& rows = *leaf->getRowIndexVector();
            ASSERT_FALSE(rows.empty());
            EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end()));
            const auto path = leaf->getUniqueNodePath();
            ASSERT_EQ(path.size(), 3U);
            auto naiveValue = Aggregator::create(false);
            auto naiveDistinct = Aggregator::create(true);
            auto naiveLabel = Aggregator::create(true);
            for (const std::int32_t row : rows) {
                EXPECT_TRUE(seen.insert(row).second) << "row " << row << " in two leaves";
                for (std::size_t level = 0; level < 3; ++level) {
                    EXPECT_EQ(*formattedCell(*levels[level], row), *path[level]->getFormattedValue());
                }
                naiveValue->aggregate(value.getNumberAtIndex(row), 1, 0);
                naiveDistinct->aggregate(value.getNumberAtIndex(row), 1, 0);
                naiveLabel->aggregate(label.getStringAtIndex(row), label.getStringIndexAtIndex(row), 1, 0);
            }
            const auto& aggregators = *leaf->getMeasureAggregators();
            for (int statistic = 0; statistic < StatisticType::NUMBER_OF_VALUES; ++statistic) {
                const auto type = static_cast<StatisticType::type>(statistic);
                EXPECT_PRED2(sameNumber, aggregators[0]->getNumericValue(type, 7),
                             naiveValue->getNumericValue(type, 7));
                EXPECT_PRED2(sameNumber, aggregators[1]->getNumericValue(type, 7),
                             naiveDistinct->getNumericValue(type, 7));
                EXPECT_PRED2(sameNumber, aggregators[2]->getNumericValue(type, 7),
                             naiveLabel->getNumericValue(type, 7));
            }
            // Leaves come in the order rows first reach their branch, so siblings by first row.
            const auto parent = leaf->getParent();
            ASSERT_NE(parent, nullptr);
            const auto& siblings = parent->getChildren();
            if (!siblings.empty() && siblings.front() != leaf) {
                EXPECT_GT(rows.front(), previousFirstRow);
            }
            previousFirstRow = rows.front();
        }
        EXPECT_EQ(seen.size(), static_cast<std::size_t>(dataSet->getNumberOfRows()));
        // Every source row points at its leaf.
        const auto summarized = crosstab->getSourceToSummarizedIndices();
        const auto leaves = crosstab->getDataTreeRoot()->getLeafNodes();
        for (std::int32_t row = 0; row < dataSet->getNumberOfRows(); ++row) {
            const auto& rows =
                *leaves[static_cast<std::size_t>(summarized[static_cast<std::size_t>(row)])]->getRowIndexVector();
            EXPECT_TRUE(std::binary_search(rows.begin(), rows.end(), row));
        }
    }
}

TEST(HierarchyDataSetTest, ValuesThatFormatAlikeAreOneMember) {
    const auto dataSet =
        DataSetMaker().numbers("Amount", {1.0, 1.0000000000001, 2.0, 1.0}).numbers("Value", {1, 2, 4, 8}).make();
    dataSet->getColumnWithName("Amount")->setFormatName(text("F8.2"));
    const auto tree = HierarchyDataSet::create(dataSet, text("amounts"), {text("Amount")}, {text("Value")}, true);
    const auto& members = tree->getDataTreeRoot()->getChildren();
    ASSERT_EQ(members.size(), 2U);
    EXPECT_EQ((*members[0]->getMeasureAggregators())[0]->getSum(), 11);
    EXPECT_EQ(members[0]->getValue()->getNumericValue(), 1.0);  // the first row's value
}

TEST(HierarchyDataSetTest, PartiallyAggregatedMeasuresReadTheirSubColumns) {
    auto sales = PartiallyAggregatedColumn::create(text("Sales"), DataType::NUMERIC);
    sales->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{10, 20, 30}));
    const auto sub = [](std::vector<double> numbers) {
        auto column = Column::create(text("sub"), DataType::NUMERIC);
        column->setNumbers(std::make_shared<Column::NumberVector>(std::move(numbers)));
        return column;
    };
    sales->setColumnForAggregation(sub({10, 20, 30}), StatisticType::SUM);
    sales->setColumnForAggregation(sub({2, 3, 5}), StatisticType::FREQUENCY);
    sales->setColumnForAggregation(sub({3, 3, 6}), StatisticType::FREQUENCY_WITH_MISSING);
    sales->setColumnForAggregation(sub({4, 7, 6}), StatisticType::MEDIAN);
    sales->setAggregation(StatisticType::MEAN);
    auto region = Column::create(text("Region"), DataType::STRING);
    region->setStringIndices(std::make_shared<Column::IndexVector>(Column::IndexVector{0, 0, 0}));
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{region, sales}));
    dataSet->setStringTable(std::make_shared<DataSet::StringTable>(DataSet::StringTable{text("East")}));
    dataSet->assignStringValuesFromIndices();

    const auto summarize = [&] {
        return HierarchyDataSet::create(dataSet, text("t"), {text("Region")}, {text("Sales")}, true);
    };
    const auto tree = summarize();
    const auto values = tree->getMeasureValuesAtCrossing({{}});
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(values[0]->getNumericValue(), 60.0 / 10.0);  // sum of sums over sum of frequencies
    const auto& aggregator = *(*tree->getDataTreeRoot()->getChildren()[0]->getMeasureAggregators())[0];
    EXPECT_EQ(aggregator.getNumericValue(StatisticType::FREQUENCY_WITH_MISSING), 12);

    sales->setAggregation(StatisticType::MEDIAN);
    const auto medians = summarize();
    EXPECT_EQ(medians->getMeasureValuesAtCrossing({{}})[0]->getNumericValue(), 17);  // medians are summed
    EXPECT_FALSE(medians->hadFatalDataError());

    sales->setAggregation(StatisticType::MODE);  // no sub-column: missing values, one each
    const auto modes = summarize();
    const auto& modeAggregator = *(*modes->getDataTreeRoot()->getChildren()[0]->getMeasureAggregators())[0];
    EXPECT_TRUE(std::isnan(modeAggregator.getSum()));
    EXPECT_EQ(modeAggregator.getMissingCount(), 3);

    sales->setColumnForAggregation(sub({2, NaN, 5}), StatisticType::FREQUENCY);
    sales->setAggregation(StatisticType::SUM);
    const auto broken = summarize();
    EXPECT_TRUE(broken->hadFatalDataError());
}

TEST(HierarchyDataSetTest, FrequenciesAreSummedOnlyWhenAsked) {
    auto count = Column::create(text("Count"), DataType::NUMERIC);
    count->setAggregation(StatisticType::FREQUENCY);
    auto total = Column::create(text("Total"), DataType::NUMERIC);
    total->setAggregation(StatisticType::FREQUENCY_WITH_MISSING);
    auto mean = Column::create(text("Mean"), DataType::NUMERIC);
    mean->setAggregation(StatisticType::MEAN);
    const std::vector<std::shared_ptr<Column>> columns{count, total, mean, nullptr};
    EXPECT_EQ(getMeasureStatistics(columns, true),
              (std::vector<StatisticType::type>{StatisticType::FREQUENCY, StatisticType::FREQUENCY_WITH_MISSING,
                                                StatisticType::MEAN, StatisticType::SUM}));
    EXPECT_EQ(getMeasureStatistics(columns, false),
              (std::vector<StatisticType::type>{StatisticType::SUM, StatisticType::SUM, StatisticType::MEAN,
                                                StatisticType::SUM}));
}

TEST(HierarchyDataSetTest, AMissingMeasureColumnAnswersSparseValues) {
    const auto dataSet = DataSetMaker().strings("Region", {"East", "West"}).numbers("Value", {1, 2}).make();
    const auto tree =
        HierarchyDataSet::create(dataSet, text("t"), {text("Region")}, {text("Value"), text("Nowhere")}, true);
    const auto values = tree->getMeasureValuesAtCrossing({{DataTreeNode::create(text("East"))}});
    ASSERT_EQ(values.size(), 2U);
    EXPECT_EQ(values[0]->getNumericValue(), 1);
    EXPECT_TRUE(values[1]->isSparse());
    const auto nowhere = tree->getMeasureValuesAtCrossing({{DataTreeNode::create(text("North"))}});
    EXPECT_TRUE(nowhere[0]->isSparse());
    EXPECT_TRUE(nowhere[1]->isSparse());
}

TEST(HierarchyDataSetTest, UpdateNormalizedCrossingsWritesOneBlockAndStopsAtTheEnd) {
    std::vector<std::shared_ptr<Column>> columns;
    for (int index = 0; index < 3; ++index) {
        auto column = Column::create(text("c"), DataType::NUMERIC);
        column->setNumbers(std::make_shared<Column::NumberVector>(2, 0.0));
        columns.push_back(column);
    }
    updateNormalizedCrossings(columns, {}, 1, 0);
    updateNormalizedCrossings(columns, {DataValue::create(5.0), DataValue::create(6.0)}, 1, 1);
    EXPECT_EQ(columns[2]->getNumberAtIndex(1), 5);  // block 1 of two values starts at column 2
    EXPECT_EQ(columns[1]->getNumberAtIndex(1), 0);
    updateNormalizedCrossings(columns, {DataValue::create(7.0)}, 0, 5);  // no such row: nothing
    EXPECT_EQ(columns[0]->getNumberAtIndex(0), 0);
}

TEST(HierarchyDataSetTest, NormalizedCrossingsLayOutEveryMemberAndTotal) {
    const auto dataSet = DataSetMaker()
                             .strings("Region", {"East", "West", "East", "West"})
                             .strings("Product", {"Pens", "Pens", "Inks", "Inks"})
                             .numbers("Year", {2020, 2020, 2021, 2021})
                             .numbers("Value", {1, 2, 4, 8})
                             .make("sales");
    auto rows = Hierarchy::create(text("Rows"), nullptr, {levelFor(*dataSet, "Region"), levelFor(*dataSet, "Product")});
    auto years = Hierarchy::create(text("Years"), nullptr, {levelFor(*dataSet, "Year")});
    auto crosstab = HierarchyDataSet::create({rows, years}, {text("Value")});
    crosstab->setDataSet(dataSet);
    const auto normalized =
        crosstab->getNormalizedCrossings(rows, years, true, false, true, false, true, false, true, false);
    ASSERT_NE(normalized, nullptr);
    EXPECT_EQ(*normalized->getName(), "sales_normalized_");
    // Rows: the total, East, East/Pens, East/Inks, West, West/Pens, West/Inks.
    ASSERT_EQ(normalized->getNumberOfRows(), 7);
    // Level columns Region, Product, Year; then Value for the total, 2020 and 2021.
    ASSERT_EQ(normalized->getNumberOfColumns(), 6);
    EXPECT_EQ(*normalized->getColumnAtIndex(4)->getName(), "Value|2020");
    const auto cell = [&](int column, int row) { return normalized->getColumnAtIndex(column)->getNumberAtIndex(row); };
    EXPECT_EQ(cell(3, 0), 15);                          // grand total
    EXPECT_EQ(cell(3, 1), 5);                           // East
    EXPECT_EQ(cell(4, 1), 1);                           // East in 2020
    EXPECT_EQ(cell(5, 2), DataTokens::SPARSE_NUMERIC);  // East/Pens in 2021: no row
    EXPECT_EQ(cell(5, 6), 8);                           // West/Inks in 2021
    const auto& region = *normalized->getColumnAtIndex(0);
    EXPECT_TRUE(region.valueIsMatchesAll(0));
    EXPECT_EQ(*region.getStringAtIndex(2), "East");
    EXPECT_TRUE(normalized->getColumnAtIndex(1)->valueIsMatchesAll(1));
}

std::string serialized(const std::shared_ptr<const HierarchyDataSet>& tree) {
    std::stringstream stream;
    SerialWriter writer(stream);
    EXPECT_TRUE(HierarchyDataSet::serialize(writer, tree));
    return stream.str();
}

bool readBack(std::string_view bytes, std::shared_ptr<HierarchyDataSet>& tree) {
    MemoryInputStream input(bytes);
    SerialReader reader(input);
    return HierarchyDataSet::unserialize(reader, tree);
}

TEST(HierarchyDataSetTest, ABuiltCrosstabTravelsThroughTheStream) {
    const auto dataSet = RandomSales::generate(4, 200).makeDataSet();
    const auto crosstab = salesCrosstab(dataSet);
    crosstab->getHierarchies()[0]->expandToPath({text("North")});
    const std::string bytes = serialized(crosstab);
    std::shared_ptr<HierarchyDataSet> read;
    ASSERT_TRUE(readBack(bytes, read));
    ASSERT_NE(read, nullptr);
    read->attach(dataSet);
    EXPECT_EQ(serialized(read), bytes);
    EXPECT_EQ(read->getDataTreeRoot()->getDescription(), crosstab->getDataTreeRoot()->getDescription());
    EXPECT_EQ(read->getHierarchies()[0]->getExpandedState(), crosstab->getHierarchies()[0]->getExpandedState());
    const std::vector<CrossingPath> total{{}, {}};
    const auto before = crosstab->getMeasureValuesAtCrossing(total);
    const auto after = read->getMeasureValuesAtCrossing(total);
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t index = 0; index < before.size(); ++index) {
        EXPECT_PRED2(sameNumber, before[index]->getNumericValue(), after[index]->getNumericValue());
    }
}

TEST(HierarchyDataSetTest, HostileStreamsFailCleanly) {
    const auto dataSet = RandomSales::generate(5, 60).makeDataSet();
    const std::string bytes = serialized(salesCrosstab(dataSet));
    for (std::size_t length = 0; length < bytes.size(); length += 1 + length / 50) {
        std::shared_ptr<HierarchyDataSet> read;
        EXPECT_FALSE(readBack(std::string_view(bytes).substr(0, length), read)) << length;
    }
    // Flipped bytes either fail or read something; neither crashes nor hangs.
    std::mt19937 random(9);
    for (int trial = 0; trial < 300; ++trial) {
        std::string damaged = bytes;
        for (int flips = 0; flips < 3; ++flips) {
            damaged[std::uniform_int_distribution<std::size_t>(0, damaged.size() - 1)(random)] ^=
                static_cast<char>(1 << std::uniform_int_distribution<int>(0, 7)(random));
        }
        std::shared_ptr<HierarchyDataSet> read;
        if (readBack(damaged, read) && read) {
            read->attach(dataSet);
            read->getMeasureValuesAtCrossing({{}, {}});
        }
    }
    // A tree nested deeper than any report is refused.
    std::stringstream deep;
    SerialWriter writer(deep);
    std::shared_ptr<DataTreeNode> chain = DataTreeNode::createRoot();
    const auto root = chain;
    for (int depth = 0; depth < 300; ++depth) {
        auto child = DataTreeNode::create(text("n"));
        chain->addChild(child);
        chain = child;
    }
    ASSERT_TRUE(DataTreeNode::serialize(writer, root));
    const std::string deepBytes = deep.str();
    MemoryInputStream input(deepBytes);
    SerialReader reader(input);
    std::shared_ptr<DataTreeNode> read;
    EXPECT_FALSE(DataTreeNode::unserialize(reader, read));
}

}  // namespace

}  // namespace pellium::test
