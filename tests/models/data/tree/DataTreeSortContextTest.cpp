#include <cctype>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/models/data/hierarchy/HierarchyTestData.h"

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/DataTreeNodeBreadthFirstIterator.h"
#include "pellium/models/data/tree/DataTreeNodeDepthFirstIterator.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"
#include "pellium/models/data/tree/MemberSortState.h"

namespace pellium::test {

namespace {

constexpr auto ASCENDING = SortDirection::ASCENDING;
constexpr auto DESCENDING = SortDirection::DESCENDING;
constexpr auto DATA = SortDirection::DATA;

// A member as the tests name it: its text, or <missing> and <others> for those members.
std::string nameOf(bool allOthers, const DataValue* value, const SharedString& text) {
    return allOthers ? "<others>" : value && value->isMissing() ? "<missing>" : text ? *text : "NULL";
}

std::string nameOf(const DataTreeNode& node) {
    return nameOf(node.isAllOthers(), node.getValue().get(), node.getFormattedValue());
}

std::string names(const DataTreeNode::NodeList& nodes) {
    std::string joined;
    for (const auto& node : nodes) {
        joined.append(joined.empty() ? "" : " ").append(nameOf(*node));
    }
    return joined;
}

// The visible leaves of a hierarchy's display tree, in listing order.
std::string leaves(const Hierarchy& hierarchy, const DataTreeSortContext& context) {
    return names(hierarchy.getDisplay()->getDepthFirstListOfAllLeafNodesUnderThisNode(false, false, true, &context));
}

// Region > Product by Year, a sales measure, and a month level sorted by its number.
struct Sales {
    std::shared_ptr<DataSet> dataSet;
    std::shared_ptr<Hierarchy> rows;
    std::shared_ptr<Hierarchy> years;
    std::shared_ptr<HierarchyDataSet> crosstab;

    static Sales make() {
        Sales sales;
        sales.dataSet =
            DataSetMaker()
                .strings("Region", {"zebra", "Äpfel", "~O", "apple", "Zorn", " ", "ärlig", "Bär", "zebra", "apple"})
                .strings("Product", {"p1", "p2", "p3", "p1", "p2", "p3", "p1", "p2", "p3", "p2"})
                .numbers("Year", {2021, 2019, 2020, NaN, 2021, 2019, 2020, 2021, 2019, 2020})
                .numbers("Sales", {5, 9, 100, 2, 7, 1, 3, 9, 4, 6})
                .make("sales");
        const auto level = [&](std::string_view name) {
            return Level::createForColumn(*sales.dataSet->getColumnWithName(name));
        };
        sales.rows = Hierarchy::create(text("Rows"), nullptr, {level("Region"), level("Product")});
        sales.years = Hierarchy::create(text("Years"), nullptr, {level("Year")});
        sales.crosstab = HierarchyDataSet::create({sales.rows, sales.years}, {text("Sales")});
        sales.crosstab->setCrosstabDataSet(true);
        sales.crosstab->setDataSet(sales.dataSet);
        return sales;
    }

    std::shared_ptr<DataTreeSortContext> context(std::string_view locale = "de") const {
        return DataTreeSortContext::create(crosstab, locale);
    }

    // The members of one level of the row display tree, in listing order.
    std::string regions(const DataTreeSortContext* context) const {
        return names(rows->getDisplay()->getDepthFirstListOfNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(
            1, false, context));
    }
};

TEST(DataTreeSortContextTest, RegionsSortByLabelCollatedOrByBytesWithTheBandsAndAllOthersLast) {
    const Sales sales = Sales::make();
    struct Case {
        const char* what;
        std::string locale;
        std::shared_ptr<MemberSortState> state;
        const char* expected;
    };
    const std::vector<Case> cases{
        {"German, ascending", "de", MemberSortState::createByLabel(ASCENDING),
         "<missing> Äpfel apple ärlig Bär zebra Zorn <others>"},
        {"German, descending", "de", MemberSortState::createByLabel(DESCENDING),
         "Zorn zebra Bär ärlig apple Äpfel <missing> <others>"},
        {"Swedish puts ä after z", "sv", MemberSortState::createByLabel(ASCENDING),
         "<missing> apple Bär zebra Zorn Äpfel ärlig <others>"},
        {"bytes, ascending", "de", MemberSortState::createByLabel(ASCENDING, false),
         "<missing> Bär Zorn apple zebra Äpfel ärlig <others>"},
        {"bytes, descending", "de", MemberSortState::createByLabel(DESCENDING, false),
         "ärlig Äpfel zebra apple Zorn Bär <missing> <others>"},
        {"data order still puts all-others last", "de", MemberSortState::createByLabel(DATA),
         "zebra Äpfel apple Zorn <missing> ärlig Bär <others>"},
        {"raw texts collate as labels do", "de", MemberSortState::createByRawValue(ASCENDING),
         "<missing> Äpfel apple ärlig Bär zebra Zorn <others>"},
    };
    EXPECT_EQ(sales.regions(nullptr), "zebra Äpfel <others> apple Zorn <missing> ärlig Bär");
    for (const auto& testCase : cases) {
        const auto context = sales.context(testCase.locale);
        context->setSortStateForLevel("Region", testCase.state);
        EXPECT_EQ(sales.regions(context.get()), testCase.expected) << testCase.what;
    }
}

TEST(DataTreeSortContextTest, MeasureSortsKeepAllOthersLastAndTiesInDataOrder) {
    const Sales sales = Sales::make();
    const SharedString measure = text("Sales");
    const std::string year2021 = *sales.years->getDisplay()->getChildren().front()->getFormattedValue();
    // Totals: zebra 9, Äpfel 9, others 100, apple 8, Zorn 7, missing 1, ärlig 3, Bär 9.
    // In 2021: zebra 5, Zorn 7, Bär 9; the others have no cell there (sparse).
    struct Case {
        const char* what;
        std::shared_ptr<MemberSortState> state;
        const char* expected;
    };
    const std::vector<Case> cases{
        {"total, descending", MemberSortState::createByMeasure(DESCENDING, measure),
         "zebra Äpfel Bär apple Zorn ärlig <missing> <others>"},
        {"total, ascending", MemberSortState::createByMeasure(ASCENDING, measure),
         "<missing> ärlig Zorn apple zebra Äpfel Bär <others>"},
        {"one year, descending: sparse cells after the values",
         MemberSortState::createByMeasure(DESCENDING, measure, {text(year2021)}),
         "Bär Zorn zebra Äpfel apple <missing> ärlig <others>"},
        {"one year, ascending: sparse cells first",
         MemberSortState::createByMeasure(ASCENDING, measure, {text(year2021)}),
         "Äpfel apple <missing> ärlig zebra Zorn Bär <others>"},
        {"a measure nobody has keeps the data order", MemberSortState::createByMeasure(DESCENDING, text("Nope")),
         "zebra Äpfel apple Zorn <missing> ärlig Bär <others>"},
    };
    for (const auto& testCase : cases) {
        const auto context = sales.context();
        context->setSortStateForLevel("Region", testCase.state);
        EXPECT_EQ(sales.regions(context.get()), testCase.expected) << testCase.what;
    }
}

TEST(DataTreeSortContextTest, ColumnMembersSortByTheirValuesInARowMemberOrByTheRowTotal) {
    const Sales sales = Sales::make();
    const auto context = sales.context();
    const auto years = [&] { return leaves(*sales.years, *context); };
    EXPECT_EQ(years(), "2021 2019 2020 <missing>");
    // Totals: 2021 21, 2019 14, 2020 109, missing 2.
    context->setSortStateForLevel("Year", MemberSortState::createByMeasure(DESCENDING, text("Sales")));
    EXPECT_EQ(years(), "2020 2021 2019 <missing>");
    // zebra sold 5 in 2021 and 4 in 2019; its other years have no cell and follow in data order.
    context->setSortStateForLevel("Year", MemberSortState::createByMeasure(DESCENDING, text("Sales"), {text("zebra")}));
    EXPECT_EQ(years(), "2021 2019 2020 <missing>");
    context->setSortStateForLevel(
        "Year", MemberSortState::createByMeasure(ASCENDING, text("Sales"), {text("zebra"), text("p3")}));
    EXPECT_EQ(years(), "2021 2020 <missing> 2019");
}

TEST(DataTreeSortContextTest, NestedLevelsSortIndependentlyWithinEachParent) {
    const Sales sales = Sales::make();
    const auto context = sales.context();
    context->setSortStateForLevel("Region", MemberSortState::createByLabel(ASCENDING, false));
    context->setSortStateForLevel("Product", MemberSortState::createByMeasure(DESCENDING, text("Sales")));
    const auto listed =
        sales.rows->getDisplay()->getDepthFirstListOfAllNodesUnderThisNode(false, true, true, context.get());
    // Within apple, p2 (6) comes before p1 (2); within zebra, p1 (5) before p3 (4).
    EXPECT_EQ(names(listed), "<missing> p3 Bär p2 Zorn p2 apple p2 p1 zebra p1 p3 Äpfel p2 ärlig p1 <others> p3");
    // Products keep their data order where only regions are sorted.
    context->setSortStateForLevel("Product", nullptr);
    EXPECT_EQ(leaves(*sales.rows, *context), "p3 p2 p2 p1 p2 p1 p3 p2 p1 p3");
}

TEST(DataTreeSortContextTest, StatesByNameWinOverStatesByIndexForTheHierarchyOverStatesForAll) {
    const Sales sales = Sales::make();
    const auto context = sales.context();
    const auto byBytes = MemberSortState::createByLabel(ASCENDING, false);
    const auto descending = MemberSortState::createByLabel(DESCENDING, false);
    const auto byTotal = MemberSortState::createByMeasure(DESCENDING, text("Sales"));
    context->setSortStateForLevelIndex(0, byBytes);
    EXPECT_EQ(context->getSortState(sales.rows.get(), 0), byBytes);
    EXPECT_EQ(context->getSortState(sales.years.get(), 0), byBytes);
    EXPECT_EQ(context->getSortState(nullptr, 0), byBytes);
    context->setSortStateForLevelIndex(0, descending, "Rows");
    EXPECT_EQ(context->getSortState(sales.rows.get(), 0), descending);
    EXPECT_EQ(context->getSortState(sales.years.get(), 0), byBytes);
    context->setSortStateForLevel("Region", byTotal);
    EXPECT_EQ(context->getSortState(sales.rows.get(), 0), byTotal);
    EXPECT_EQ(context->getSortState(sales.rows.get(), 1), nullptr);
    context->setSortStateForLevel("Region", nullptr);
    EXPECT_EQ(context->getSortState(sales.rows.get(), 0), descending);
    context->clearSortStates();
    EXPECT_EQ(context->getSortState(sales.rows.get(), 0), nullptr);
    EXPECT_EQ(sales.regions(context.get()), sales.regions(nullptr));
}

TEST(DataTreeSortContextTest, FlippingASharedStateResortsWithTheSameContext) {
    const Sales sales = Sales::make();
    const auto context = sales.context();
    const auto state = MemberSortState::createByLabel(ASCENDING, false);
    context->setSortStateForLevel("Region", state);
    const std::string ascending = sales.regions(context.get());
    state->setDirection(DESCENDING);
    EXPECT_EQ(sales.regions(context.get()), "ärlig Äpfel zebra apple Zorn Bär <missing> <others>");
    state->setDirection(static_cast<SortDirection::type>(7));  // no direction: data order
    EXPECT_EQ(state->getDirection(), DATA);
    EXPECT_NE(sales.regions(context.get()), ascending);
}

TEST(DataTreeSortContextTest, RawValuesSortNumbersNumericallyAndUseTheSortOnRawColumn) {
    const auto dataSet = DataSetMaker()
                             .strings("Month", {"Mar", "Jan", "Dec", "Feb", "Jan"})
                             .numbers("MonthNumber", {3, 1, 12, 2, 1})
                             .numbers("Year", {2021, 2019, NaN, 2020, 100})
                             .numbers("Sales", {1, 2, 3, 4, 5})
                             .make();
    auto month = Level::createForColumn(*dataSet->getColumnWithName("Month"));
    month->setSortOnRawColumnName(text("MonthNumber"));
    auto months = Hierarchy::create(text("Months"), nullptr, {month});
    auto years =
        Hierarchy::create(text("Years"), nullptr, {Level::createForColumn(*dataSet->getColumnWithName("Year"))});
    auto crosstab = HierarchyDataSet::create({months, years}, {text("Sales")});
    crosstab->setDataSet(dataSet);
    const auto context = DataTreeSortContext::create(crosstab, "en");
    context->setSortStateForLevel("Month", MemberSortState::createByRawValue(ASCENDING));
    context->setSortStateForLevel("Year", MemberSortState::createByRawValue(DESCENDING));
    EXPECT_EQ(leaves(*months, *context), "Jan Feb Mar Dec");
    EXPECT_EQ(leaves(*years, *context), "2021 2020 2019 100 <missing>");  // numbers, not texts ("100" < "2019")
    context->setSortStateForLevel("Month", MemberSortState::createByLabel(ASCENDING));
    EXPECT_EQ(leaves(*months, *context), "Dec Feb Jan Mar");
}

TEST(DataTreeSortContextTest, ADrilledDisplayTreeSortsTheLevelItShowsByItsSortOnRawValues) {
    const auto dataSet = DataSetMaker()
                             .numbers("Year", {2020, 2020, 2021, 2020})
                             .strings("Month", {"Mar", "Jan", "Dec", "Feb"})
                             .numbers("MonthNumber", {3, 1, 12, 2})
                             .numbers("Sales", {1, 2, 3, 4})
                             .make();
    auto month = Level::createForColumn(*dataSet->getColumnWithName("Month"));
    month->setSortOnRawColumnName(text("MonthNumber"));
    auto time =
        Hierarchy::create(text("Time"), nullptr, {Level::createForColumn(*dataSet->getColumnWithName("Year")), month});
    auto crosstab = HierarchyDataSet::create({time}, {text("Sales")});
    crosstab->setDataSet(dataSet);
    time->drillDown(time->getDisplay()->getChildren().front());  // 2020
    const auto context = DataTreeSortContext::create(crosstab);
    context->setSortStateForLevelIndex(1, MemberSortState::createByRawValue(DESCENDING), "Time");
    EXPECT_EQ(leaves(*time, *context), "Mar Feb Jan");
    context->setSortStateForLevelIndex(1, MemberSortState::createByLabel(DESCENDING), "Time");
    EXPECT_EQ(leaves(*time, *context), "Mar Jan Feb");
}

TEST(DataTreeSortContextTest, IteratorsAndDescriptionsVisitChildrenInSortedOrder) {
    const Sales sales = Sales::make();
    const auto made = sales.context();
    made->setSortStateForLevel("Region", MemberSortState::createByLabel(DESCENDING, false));
    made->setSortStateForLevel("Product", MemberSortState::createByLabel(DESCENDING, false));
    const std::shared_ptr<const DataTreeSortContext> context = made;
    const auto display = sales.rows->getDisplay();
    DataTreeNode::NodeList depthFirst;
    for (DataTreeNodeDepthFirstIterator iterator(display, context); iterator.hasNext();) {
        depthFirst.push_back(iterator.next());
    }
    depthFirst.erase(depthFirst.begin());  // the display root
    EXPECT_EQ(names(depthFirst),
              names(display->getDepthFirstListOfAllNodesUnderThisNode(false, true, true, context.get())));
    DataTreeNode::NodeList breadthFirst;
    for (DataTreeNodeBreadthFirstIterator iterator(display, context); iterator.hasNext();) {
        breadthFirst.push_back(iterator.next());
    }
    EXPECT_EQ(names({breadthFirst.begin() + 1, breadthFirst.begin() + 9}),
              "ärlig Äpfel zebra apple Zorn Bär <missing> <others>");
    EXPECT_EQ(names({breadthFirst.begin() + 9, breadthFirst.begin() + 13}), "p1 p2 p3 p1");

    const std::string description = HierarchyDataSet::getDescription(sales.crosstab, context.get(), AxisDimension::ROW);
    EXPECT_LT(description.find("<ärlig"), description.find("<Äpfel"));
    const std::string unsorted = HierarchyDataSet::getDescription(sales.crosstab, nullptr, AxisDimension::ROW);
    EXPECT_GT(unsorted.find("<ärlig"), unsorted.find("<Äpfel"));
}

TEST(DataTreeSortContextTest, NormalizedCrossingsListBothAxesInSortedOrder) {
    const Sales sales = Sales::make();
    const auto context = sales.context();
    context->setSortStateForLevel("Region", MemberSortState::createByMeasure(DESCENDING, text("Sales")));
    context->setSortStateForLevel("Year", MemberSortState::createByRawValue(DESCENDING));
    const auto table = sales.crosstab->getNormalizedCrossings(sales.rows, sales.years, false, true, true, true, false,
                                                              true, true, true, context.get());
    ASSERT_NE(table, nullptr);
    std::string regions;
    const auto& region = *table->getColumnWithName("Region");
    for (std::int32_t row = 0; row < table->getNumberOfRows(); ++row) {
        const auto value = region.getDataValueAtIndex(row, false);
        regions.append(regions.empty() ? "" : " ")
            .append(nameOf(value->isAllOthers(), value.get(), value->getStringValue()));
    }
    EXPECT_EQ(regions, "zebra Äpfel Bär apple Zorn ärlig <missing> <others>");
    std::vector<std::string> measureColumns;
    for (std::int32_t index = 3; index < table->getNumberOfColumns(); ++index) {
        measureColumns.push_back(*table->getColumnAtIndex(index)->getName());
    }
    ASSERT_EQ(measureColumns.size(), 4U);
    EXPECT_EQ(measureColumns.front(), "Sales|2021");
    EXPECT_EQ(measureColumns[2], "Sales|2019");
    // The missing year sorts last when descending.
    EXPECT_NE(measureColumns.back().find("Sales|"), std::string::npos);
    EXPECT_EQ(table->getColumnWithName("Sales|2021")->getNumberAtIndex(0), 5);  // zebra in 2021
}

TEST(DataTreeSortContextTest, PlainTreesSortByDepthAndTheirOwnMeasures) {
    // A tree without a hierarchy data set: level index = depth of the parent, measures are the
    // nodes' explicit values by their measure names.
    auto root = DataTreeNode::createRoot();
    const auto names2 = std::make_shared<SharedStringVector>(SharedStringVector{text("Count"), text("Sum")});
    for (const auto& [name, sum] : std::vector<std::pair<std::string, double>>{{"b", 3}, {"a", 7}, {"c", 3}}) {
        auto node = DataTreeNode::create(text(name));
        node->setMeasureValues(std::make_shared<DataTreeNode::ValueList>(
            DataTreeNode::ValueList{DataValue::create(1.0), DataValue::create(sum)}));
        node->setMeasureNames(names2);
        root->addChild(node);
    }
    const auto context = DataTreeSortContext::create(nullptr);
    context->setSortStateForLevelIndex(0, MemberSortState::createByMeasure(DESCENDING, text("Sum")));
    EXPECT_EQ(names(context->getSortedChildren(*root)), "a b c");
    context->setSortStateForLevelIndex(0, MemberSortState::createByLabel(DESCENDING));
    EXPECT_EQ(names(root->getDepthFirstListOfAllNodesUnderThisNode(false, true, context.get())), "c b a");
    context->setSortStateForLevelIndex(0, MemberSortState::createByLabel(ASCENDING), "AnyHierarchy");
    EXPECT_EQ(names(root->getDepthFirstListOfAllNodesUnderThisNode(false, true, context.get())), "c b a");
}

TEST(DataTreeSortContextTest, TheClassificationTreeSortsEachHierarchysLevelsByTheirOwnAggregates) {
    const Sales sales = Sales::make();
    const auto context = sales.context();
    context->setSortStateForLevel("Region", MemberSortState::createByMeasure(DESCENDING, text("Sales")));
    context->setSortStateForLevel("Product", MemberSortState::createByMeasure(DESCENDING, text("Sales")));
    // The tree holds Region > Product > Year; each member sorts by its own aggregate.
    const auto listed =
        sales.crosstab->getDataTreeRoot()->getDepthFirstListOfAllNodesUnderThisNode(false, true, true, context.get());
    EXPECT_EQ(names(listed),
              "zebra p1 2021 p3 2019 Äpfel p2 2019 Bär p2 2021 apple p2 2020 p1 <missing> Zorn p2 2021 ärlig p1 2020 "
              "<missing> p3 2019 <others> p3 2020");
}

TEST(DataTreeSortContextTest, KeyNamesReadBackCaseInsensitively) {
    for (int value = 0; value < MemberSortState::Key::NUMBER_OF_VALUES; ++value) {
        const auto key = static_cast<MemberSortState::Key::type>(value);
        const std::string name(MemberSortState::Key::getStringFromValue(key));
        std::string lower;
        for (const char c : name) {
            lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
        EXPECT_EQ(MemberSortState::Key::getValueFromString(lower), key);
    }
    EXPECT_EQ(MemberSortState::Key::getValueFromString("BY_COLOUR"), std::nullopt);
    EXPECT_EQ(MemberSortState::Key::getStringFromValue(static_cast<MemberSortState::Key::type>(3)), "");
}

}  // namespace

}  // namespace pellium::test
