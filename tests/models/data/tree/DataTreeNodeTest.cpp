#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/DataTreeNodeBreadthFirstIterator.h"
#include "pellium/models/data/tree/DataTreeNodeDepthFirstIterator.h"

namespace pellium {

namespace {

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

// root > a(a1, a2 > a21), b(b1)
std::shared_ptr<DataTreeNode> sampleTree() {
    auto root = DataTreeNode::createRoot();
    auto a = DataTreeNode::create(text("a"));
    auto a2 = DataTreeNode::create(text("a2"));
    auto b = DataTreeNode::create(text("b"));
    root->addChild(a);
    root->addChild(b);
    a->addChild(DataTreeNode::create(text("a1")));
    a->addChild(a2);
    a2->addChild(DataTreeNode::create(text("a21")));
    b->addChild(DataTreeNode::create(text("b1")));
    return root;
}

std::string names(const DataTreeNode::NodeList& nodes) {
    std::string joined;
    for (const auto& node : nodes) {
        joined += (joined.empty() ? "" : " ") + *node->getFormattedValue();
    }
    return joined;
}

std::shared_ptr<DataTreeNode> leafWithSum(std::string_view name, double value) {
    auto leaf = DataTreeNode::create(text(name));
    auto aggregators = std::make_shared<Aggregator::AggregatorList>();
    aggregators->push_back(Aggregator::create(false));
    aggregators->front()->aggregate(value, 1, 0);
    leaf->setMeasureAggregators(aggregators);
    return leaf;
}

TEST(DataTreeNodeTest, AddingALeafWithAKnownTextMergesItsAggregators) {
    auto root = DataTreeNode::createRoot();
    root->addChild(leafWithSum("x", 2));
    root->addChild(leafWithSum("y", 5));
    EXPECT_EQ((*root->getMeasureAggregators())[0]->getSum(), 7);  // merged lazily, then kept
    root->addChild(leafWithSum("x", 3));
    ASSERT_EQ(root->getNumberOfChildren(), 2U);
    EXPECT_EQ((*root->getChildForFormattedValue("x")->getMeasureAggregators())[0]->getSum(), 5);
    EXPECT_EQ((*root->getMeasureAggregators())[0]->getSum(), 10);  // the merge dropped the stale total
}

TEST(DataTreeNodeTest, AddingABranchWithAKnownTextMergesItsChildren) {
    auto root = sampleTree();
    auto otherA = DataTreeNode::create(text("a"));
    otherA->addChild(DataTreeNode::create(text("a3")));
    otherA->addChild(DataTreeNode::create(text("a1")));
    root->addChild(otherA);
    EXPECT_EQ(names(root->getChildren()), "a b");
    EXPECT_EQ(names(root->getChildForFormattedValue("a")->getChildren()), "a1 a2 a3");
    EXPECT_EQ(root->getChildForFormattedValue("a")->getChildForFormattedValue("a3")->getLevel(), 2U);
}

TEST(DataTreeNodeTest, ListingsFollowTheExpandState) {
    auto root = sampleTree();
    struct Case {
        const char* name;
        DataTreeNode::NodeList nodes;
        const char* expected;
    };
    const std::vector<Case> collapsedTree{
        {"all nodes, collapsed subtrees too", root->getDepthFirstListOfAllNodesUnderThisNode(true, true),
         "root a a1 a2 a21 b b1"},
        {"all nodes below a collapsed root", root->getDepthFirstListOfAllNodesUnderThisNode(false, false), ""},
        {"children of the start regardless",
         root->getDepthFirstListOfAllNodesUnderThisNode(false, true, false, nullptr), "a b"},
        {"true leaves", root->getDepthFirstListOfAllLeafNodesUnderThisNode(false), "a1 a21 b1"},
        {"visible leaves", root->getDepthFirstListOfAllLeafNodesUnderThisNode(false, true, true, nullptr), "a b"},
        {"at level 2", root->getDepthFirstListOfNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(2, false), "a b"},
    };
    for (const auto& check : collapsedTree) {
        EXPECT_EQ(names(check.nodes), check.expected) << check.name;
    }
    root->expandAllToLevel(1);
    EXPECT_FALSE(root->getChildForFormattedValue("a")->isCollapsed());
    EXPECT_TRUE(root->getNodeFromChildNodePath(std::vector<SharedString>{text("a"), text("a2")})->isCollapsed());
    EXPECT_EQ(names(root->getDepthFirstListOfAllNodesUnderThisNode(false, false)), "a a1 a2 b b1");
    EXPECT_EQ(names(root->getDepthFirstListOfAllLeafNodesUnderThisNode(true)), "a1 a2 b1");
    EXPECT_EQ(names(root->getDepthFirstListOfNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(3, false)), "a1 a2 b1");
    EXPECT_EQ(names(root->getDepthFirstListOfAllNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(2, true)),
              "root a a1 a2 b b1");
    EXPECT_EQ(names(root->getExpandedSubNodes()), "root a b a1 a2 b1");
}

TEST(DataTreeNodeTest, PathsLeadBackToTheirNodes) {
    auto root = sampleTree();
    for (const auto& node : root->getDepthFirstListOfAllNodesUnderThisNode(false, true)) {
        const auto path = DataTreeNode::getPathForNode(node);
        EXPECT_EQ(path.size(), node->getLevel());
        EXPECT_EQ(DataTreeNode::getNodeForPath(root, path), node);
        EXPECT_EQ(root->getNodeFromChildNodePath(node->getUniqueNodePath()), node);
        EXPECT_EQ(node->getParentNodeAtLevel(0), root);
    }
    EXPECT_EQ(DataTreeNode::getNodeForPath(root, {text("a"), text("zz")}), nullptr);
    const auto a21 = DataTreeNode::getNodeForPath(root, {text("a"), text("a2"), text("a21")});
    EXPECT_EQ(names(a21->getUniqueNodePath(2)), "a2 a21");
    EXPECT_TRUE(a21->isFirstChild());
    EXPECT_TRUE(a21->isLastChild());
    EXPECT_FALSE(root->getChildForFormattedValue("a")->isLastChild());
}

TEST(DataTreeNodeTest, IteratorsVisitLevelByLevelAndInPreOrder) {
    auto root = sampleTree();
    DataTreeNode::NodeList breadth;
    for (DataTreeNodeBreadthFirstIterator iterator(root); iterator.hasNext();) {
        breadth.push_back(iterator.next());
    }
    EXPECT_EQ(names(breadth), "root a b a1 a2 b1 a21");
    DataTreeNode::NodeList depth;
    for (auto iterator = DataTreeNodeDepthFirstIterator::create(root); iterator->hasNext();) {
        depth.push_back(iterator->next());
    }
    EXPECT_EQ(names(depth), names(root->getDepthFirstListOfAllNodesUnderThisNode(true, true)));
    EXPECT_FALSE(DataTreeNodeDepthFirstIterator(nullptr).hasNext());
}

TEST(DataTreeNodeTest, MakeRootDetachesAndLevelsFollow) {
    auto root = sampleTree();
    auto a = root->getChildForFormattedValue("a");
    a->makeRoot();
    EXPECT_TRUE(a->isRoot());
    EXPECT_EQ(names(root->getChildren()), "b");
    EXPECT_EQ(root->getChildForFormattedValue("a"), nullptr);
    a->setLevel(0);
    EXPECT_EQ(a->getChildForFormattedValue("a2")->getChildForFormattedValue("a21")->getLevel(), 2U);
}

TEST(DataTreeNodeTest, ConvertedTreesHoldExplicitValues) {
    auto root = DataTreeNode::createRoot();
    root->addChild(leafWithSum("x", 2));
    root->addChild(leafWithSum("y", 5));
    DataTreeNode::convertAggregatorsToValuesAccordingToTheseStatistics(root, nullptr, {StatisticType::FREQUENCY});
    EXPECT_EQ(root->getMeasureAggregators(), nullptr);
    EXPECT_EQ((*root->getMeasureValues())[0]->getNumericValue(), 2);
    EXPECT_EQ((*root->getChildForFormattedValue("y")->getMeasureValues())[0]->getNumericValue(), 1);
    const std::string description = root->getDescription();
    EXPECT_NE(description.find("<root level=\"0\" collapsed 2>"), std::string::npos) << description;
    EXPECT_NE(description.find("</x>"), std::string::npos);
}

}  // namespace

}  // namespace pellium
