#include <gtest/gtest.h>

#include "HierarchyTestData.h"

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/AxisDimension.h"
#include "pellium/models/data/hierarchy/DataModel.h"
#include "pellium/models/data/tree/DataTreeNode.h"

namespace pellium::test {

namespace {

std::shared_ptr<DataSet> geography(std::vector<std::string> regions, std::vector<std::string> countries,
                                   std::vector<std::string> cities) {
    std::vector<double> values(regions.size(), 1.0);
    return DataSetMaker()
        .strings("Region", regions)
        .strings("Country", countries)
        .strings("City", cities)
        .numbers("Value", values)
        .make("geo");
}

std::shared_ptr<DataSet> firstGeography() {
    return geography({"Europe", "Europe", "Europe", "Asia", "~O"}, {"France", "France", "Spain", "Japan", "~O"},
                     {"Paris", "Lyon", "Madrid", "Tokyo", "~O"});
}

struct Fixture {
    std::shared_ptr<DataSet> dataSet = firstGeography();
    std::shared_ptr<Hierarchy> hierarchy;
    std::shared_ptr<HierarchyDataSet> tree;

    Fixture() {
        const auto level = [this](std::string_view name) {
            return Level::createForColumn(*dataSet->getColumnWithName(name));
        };
        hierarchy = Hierarchy::create(text("Geography"), nullptr, {level("Region"), level("Country"), level("City")});
        tree = HierarchyDataSet::create({hierarchy}, {text("Value")});
        tree->setDataSet(dataSet);
    }

    std::shared_ptr<DataTreeNode> member(std::vector<std::string> path) const {
        std::vector<SharedString> texts;
        for (const auto& step : path) {
            texts.push_back(text(step));
        }
        return DataTreeNode::getNodeForPath(hierarchy->getDisplay(), texts);
    }

    std::vector<std::string> displayedMembers() const {
        std::vector<std::string> names;
        for (const auto& node : hierarchy->getDisplay()->getChildren()) {
            names.push_back(*node->getFormattedValue());
        }
        return names;
    }
};

TEST(HierarchyTest, DrillsDownAndUpThroughTheLevels) {
    Fixture fixture;
    auto& hierarchy = *fixture.hierarchy;
    EXPECT_FALSE(hierarchy.canDrillUp());
    EXPECT_TRUE(hierarchy.canDrillDown());
    EXPECT_EQ(fixture.displayedMembers(), (std::vector<std::string>{"Europe", "Asia", "All Other"}));

    hierarchy.drillDown(fixture.member({"Europe"}));
    EXPECT_EQ(hierarchy.getCurrentLevelIndex(), 1U);
    EXPECT_EQ(*hierarchy.getLevelFromIndex(0)->getFormattedCurrentValue(), "Europe");
    EXPECT_EQ(fixture.displayedMembers(), (std::vector<std::string>{"France", "Spain"}));
    EXPECT_EQ(hierarchy.getCurrentDrillPath().size(), 1U);
    EXPECT_EQ(hierarchy.getOneLevelUp(), hierarchy.getLevelFromIndex(0));

    hierarchy.drillDown(fixture.member({"France"})->getValue());
    EXPECT_EQ(fixture.displayedMembers(), (std::vector<std::string>{"Paris", "Lyon"}));
    EXPECT_FALSE(hierarchy.canDrillDown());
    hierarchy.drillDown(fixture.member({"Paris"})->getValue());  // no level below: nothing
    EXPECT_EQ(hierarchy.getCurrentLevelIndex(), 2U);

    hierarchy.drillUp(2);  // not above the current level: nothing
    EXPECT_EQ(hierarchy.getCurrentLevelIndex(), 2U);
    hierarchy.drillUp(0);
    EXPECT_EQ(hierarchy.getCurrentLevelIndex(), 0U);
    EXPECT_EQ(hierarchy.getLevelFromIndex(0)->getCurrentValue(), nullptr);
    EXPECT_EQ(hierarchy.getLevelFromIndex(1)->getCurrentValue(), nullptr);
    EXPECT_EQ(fixture.displayedMembers().size(), 3U);
    EXPECT_TRUE(hierarchy.getExpandedNodes().empty());
}

TEST(HierarchyTest, TheAllOthersMemberIsNeitherDrilledNorExpanded) {
    Fixture fixture;
    const auto allOthers = fixture.member({"All Other"});
    ASSERT_NE(allOthers, nullptr);
    EXPECT_FALSE(fixture.hierarchy->canDrillDown(allOthers));
    EXPECT_FALSE(fixture.hierarchy->canExpand(allOthers));
    EXPECT_FALSE(fixture.hierarchy->canCollapse(allOthers));
    EXPECT_TRUE(fixture.hierarchy->canDrillDown(fixture.member({"Asia"})));
    EXPECT_FALSE(fixture.hierarchy->canDrillDown(fixture.member({"Asia", "Japan", "Tokyo"})));
}

TEST(HierarchyTest, RelationalHierarchiesAreNeverExpandedOrCollapsed) {
    Fixture fixture;
    const auto europe = fixture.member({"Europe"});
    EXPECT_TRUE(fixture.hierarchy->canExpand(europe));
    EXPECT_TRUE(fixture.hierarchy->canExpandAll(1));
    fixture.hierarchy->fromRelational(true);
    EXPECT_FALSE(fixture.hierarchy->canExpand(europe));
    EXPECT_FALSE(fixture.hierarchy->canExpandAll(1));
    fixture.hierarchy->fromRelational(false);
    fixture.hierarchy->expand(europe);
    fixture.hierarchy->fromRelational(true);
    EXPECT_FALSE(fixture.hierarchy->canCollapse(europe));
}

TEST(HierarchyTest, ExpandAndCollapseAtEveryDepth) {
    Fixture fixture;
    auto& hierarchy = *fixture.hierarchy;
    EXPECT_TRUE(hierarchy.expandToPath({text("Europe"), text("France")}));
    EXPECT_FALSE(fixture.member({"Europe", "France"})->isCollapsed());
    EXPECT_FALSE(fixture.member({"Europe"})->isCollapsed());
    EXPECT_FALSE(hierarchy.expandToPath({text("Europe"), text("Italy")}));
    EXPECT_FALSE(hierarchy.canExpandAll(3));  // the last level has nothing below
    EXPECT_TRUE(hierarchy.canExpandAll(1));   // Asia is collapsed
    hierarchy.expandAll(1);
    EXPECT_FALSE(fixture.member({"Asia"})->isCollapsed());
    EXPECT_TRUE(fixture.member({"All Other"})->isCollapsed());
    EXPECT_TRUE(hierarchy.canCollapseAll(2));
    hierarchy.collapseAll(2);
    EXPECT_TRUE(fixture.member({"Europe", "France"})->isCollapsed());
    EXPECT_TRUE(hierarchy.collapseAtPath({text("Asia")}));
    EXPECT_TRUE(fixture.member({"Asia"})->isCollapsed());
}

// A new data set rebuilds the trees; members expanded before stay expanded by their path, even
// when they moved or lost siblings.
TEST(HierarchyTest, ExpandedMembersSurviveARebuildOnNewData) {
    Fixture fixture;
    auto& hierarchy = *fixture.hierarchy;
    hierarchy.expandToPath({text("Europe"), text("Spain")});
    hierarchy.expandToPath({text("Asia")});
    const auto newData =
        geography({"Asia", "Europe", "Africa"}, {"Japan", "Spain", "Kenya"}, {"Osaka", "Seville", "Nairobi"});
    fixture.tree->setDataSet(newData);
    EXPECT_EQ(fixture.displayedMembers(), (std::vector<std::string>{"Asia", "Europe", "Africa"}));
    EXPECT_FALSE(fixture.member({"Europe", "Spain"})->isCollapsed());
    EXPECT_FALSE(fixture.member({"Asia"})->isCollapsed());
    EXPECT_TRUE(fixture.member({"Africa"})->isCollapsed());
    EXPECT_EQ(hierarchy.getExpandedNodes().size(), 4U);  // the root, Europe, Spain and Asia

    // Drilled, the hierarchy keeps its expanded members below the drilled one.
    hierarchy.drillDown(fixture.member({"Europe"}));
    EXPECT_EQ(fixture.displayedMembers(), (std::vector<std::string>{"Spain"}));
    EXPECT_FALSE(fixture.member({"Spain"})->isCollapsed());
    fixture.tree->setDataSet(firstGeography());
    EXPECT_EQ(fixture.displayedMembers(), (std::vector<std::string>{"France", "Spain"}));
    EXPECT_FALSE(fixture.member({"Spain"})->isCollapsed());
    EXPECT_TRUE(fixture.member({"France"})->isCollapsed());
}

TEST(HierarchyTest, ADisplayNeedsEveryLevelColumn) {
    Fixture fixture;
    const auto before = fixture.hierarchy->getDisplay();
    const auto partial = DataSetMaker().strings("Region", {"Europe"}).make("partial");
    EXPECT_FALSE(fixture.hierarchy->updateDisplay(partial));
    EXPECT_EQ(fixture.hierarchy->getDisplay(), before);
    EXPECT_TRUE(fixture.hierarchy->updateDisplay(nullptr));
    EXPECT_EQ(fixture.hierarchy->getDisplay(), nullptr);
}

TEST(HierarchyTest, ACurrentLevelsOnlyTreeAsksForMoreDataWhenExpanded) {
    Fixture fixture;
    fixture.tree->setDataSet(firstGeography(), true, true);
    EXPECT_EQ(fixture.tree->getAxisRanges(), (std::vector<AxisRange>{{0, 1}}));
    EXPECT_FALSE(fixture.tree->requiresAdditionalData());
    fixture.hierarchy->expandToPath({text("Europe")});
    EXPECT_TRUE(fixture.tree->requiresAdditionalData());
}

TEST(HierarchyTest, AxisNamesReadWithoutRegardToCase) {
    EXPECT_EQ(AxisDimension::getValueFromString("column"), AxisDimension::COLUMN);
    EXPECT_FALSE(AxisDimension::getValueFromString("rows").has_value());
}

TEST(HierarchyTest, TheDataModelRefusesANullMapProvider) {
    auto model = DataModel::create(text("report"));
    model->addMapProvider(nullptr, nullptr);
    EXPECT_TRUE(model->getAllMapProviderNames().empty());
}

}  // namespace

}  // namespace pellium::test
