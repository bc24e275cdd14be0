#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/serializers/SerialTypes.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class DataValue;
class DataTreeSortContext;
class PendingRowIndices;
class SerialReader;
class SerialWriter;

/// One member of a classification tree: the rows of a data set classified by the levels of one or
/// more hierarchies, one tree level per hierarchy level. A node knows its member value and that
/// value's formatted text (children are unique by formatted text within a parent), its parent, its
/// children in insertion order, its depth, whether the user collapsed it, the source rows that fell
/// into it (leaves) and one aggregator per measure (leaves; inner nodes merge their children's on
/// first request). A tree made from data that arrived already aggregated holds explicit measure
/// values instead of aggregators.
///
/// Hierarchy data sets build these trees; hierarchies keep one as the tree they display; views walk
/// them through the listings and iterators. Listings accept the member sorting as an optional
/// `DataTreeSortContext`; without one children come in insertion order. Build a tree on one thread;
/// it may then be read from several (the lazily merged aggregators of inner nodes are made under a
/// lock). Look-ups answer null for what is not there.
class PELLIUM_EXPORT DataTreeNode : public Wrappable, public std::enable_shared_from_this<DataTreeNode> {
    struct Token {};

public:
    using NodeList = std::vector<std::shared_ptr<DataTreeNode>>;
    using AggregatorList = Aggregator::AggregatorList;
    using ValueList = std::vector<std::shared_ptr<DataValue>>;
    using RowIndexVector = std::vector<std::int32_t>;

    /// The formatted text of a tree's root.
    static const SharedString& getRootFormattedValue();

    /// A collapsed node at level 0 without parent or children.
    static std::shared_ptr<DataTreeNode> create(SharedString formattedValue = nullptr,
                                                std::shared_ptr<DataValue> value = nullptr);
    /// A root: formatted text "root", no value.
    static std::shared_ptr<DataTreeNode> createRoot();
    /// A deep copy of `node` and its subtree (aggregators and values copied, texts shared); the
    /// copy has no parent. Null for null.
    static std::shared_ptr<DataTreeNode> create(const std::shared_ptr<const DataTreeNode>& node);

    DataTreeNode(Token, SharedString formattedValue, std::shared_ptr<DataValue> value);
    ~DataTreeNode() override;

    /// WrapperTypeIds::DATA_TREE_NODE.
    int getWrapperTypeId() const override;

    // --- Member ----------------------------------------------------------------------------------

    const SharedString& getFormattedValue() const { return formattedValue_; }
    const std::shared_ptr<DataValue>& getValue() const { return value_; }
    void setValue(std::shared_ptr<DataValue> value) { value_ = std::move(value); }
    /// The value to show: the member value, or a string value of the formatted text when the node
    /// has no value (a root, a query node).
    std::shared_ptr<DataValue> getPresentableValue() const;
    const std::shared_ptr<DataValue>& getSortOnRawValue() const { return sortOnRawValue_; }
    void setSortOnRawValue(std::shared_ptr<DataValue> value) { sortOnRawValue_ = std::move(value); }
    /// The member is the all-others bucket (a number equal to the all-others sentinel or a text
    /// with index -99).
    bool isAllOthers() const;
    /// The node stands for every member of its level in a crossing query.
    bool isMatchesAll() const;

    // --- Structure -------------------------------------------------------------------------------

    std::shared_ptr<DataTreeNode> getParent() const { return parent_.lock(); }
    bool isRoot() const { return parent_.expired(); }
    std::shared_ptr<DataTreeNode> getRoot();
    /// Detaches the node from its parent (which forgets it) and makes it the root of its subtree.
    void makeRoot();

    const NodeList& getChildren() const { return children_; }
    /// Replaces the children (null entries are dropped; nodes with a formatted text already seen
    /// are merged as addChild merges them).
    void setChildren(const NodeList& children);
    std::size_t getNumberOfChildren() const { return children_.size(); }
    bool isLeaf() const { return children_.empty(); }
    /// The child with this formatted text; null when none has it.
    std::shared_ptr<DataTreeNode> getChildForFormattedValue(std::string_view formattedValue) const;
    /// Rebuilds the map from formatted text to child, after children were changed directly.
    void refreshFormattedValueToChildMap();

    /// Adds `child` below this node; nothing for null. When a child with the same formatted text
    /// exists, `child` is merged into it instead: its children are added to the existing child (and
    /// merged in turn), or, for a leaf, its aggregators are merged into the existing child's.
    void addChild(const std::shared_ptr<DataTreeNode>& child);
    /// Removes `child` when it is a child of this node; answers whether it was.
    bool removeChild(const std::shared_ptr<DataTreeNode>& child);

    /// Depth below the root of the tree (root 0).
    std::uint32_t getLevel() const { return level_; }
    std::uint32_t getDepth() const { return level_; }
    /// Sets the depth, and the depth of every descendant below it.
    void setLevel(std::uint32_t level);
    /// Sets the parent link of every descendant (after a tree was read from a stream).
    void attachParents();

    /// The ancestor (or this node) at depth `level`; null when there is none.
    std::shared_ptr<DataTreeNode> getParentNodeAtLevel(std::uint32_t level);
    /// A root is both first and last child.
    bool isFirstChild() const;
    bool isLastChild() const;

    // --- Expand state ----------------------------------------------------------------------------

    bool isCollapsed() const { return collapsed_; }
    void expand() { collapsed_ = false; }
    void collapse() { collapsed_ = true; }
    void expandAll();
    void collapseAll();
    /// Expands every node down to depth `level` that has children; deeper nodes keep their state.
    void expandAllToLevel(std::uint32_t level);

    // --- Rows and measures -----------------------------------------------------------------------

    /// The source rows of a leaf (null when none were recorded); rows recorded in bulk are expanded
    /// on the first request.
    const std::shared_ptr<RowIndexVector>& getRowIndexVector() const;
    void setRowIndexVector(std::shared_ptr<RowIndexVector> rows) { rowIndexVector_ = std::move(rows); }
    /// Rows a builder recorded in bulk; they reach this node through setRowIndexVector when first
    /// asked for.
    void setPendingRowIndices(std::shared_ptr<PendingRowIndices> pending) { pendingRowIndices_ = std::move(pending); }

    /// Null for a node holding explicit measure values; a leaf's own aggregators; for an inner node
    /// the element-wise merge of its children's, made on first request and kept (null when the
    /// merge is empty).
    std::shared_ptr<const AggregatorList> getMeasureAggregators() const;
    /// Gives a leaf its aggregators; drops the merged aggregators of the ancestors.
    void setMeasureAggregators(std::shared_ptr<AggregatorList> aggregators);
    const std::shared_ptr<ValueList>& getMeasureValues() const { return measureValues_; }
    void setMeasureValues(std::shared_ptr<ValueList> values) { measureValues_ = std::move(values); }
    const std::shared_ptr<SharedStringVector>& getMeasureNames() const { return measureNames_; }
    void setMeasureNames(std::shared_ptr<SharedStringVector> names) { measureNames_ = std::move(names); }
    /// The number of measure values, else of aggregators.
    std::size_t getNumberOfMeasures() const;

    /// Replaces, in `node` and its subtree, the aggregators by explicit values: value i is the
    /// number of `statistics[i]` of aggregator i, merged from `aggregators` when a node has none of
    /// its own. Nothing for a null node.
    static void convertAggregatorsToValuesAccordingToTheseStatistics(
        const std::shared_ptr<DataTreeNode>& node, const std::shared_ptr<const AggregatorList>& aggregators,
        const std::vector<StatisticType::type>& statistics);

    // --- Paths -----------------------------------------------------------------------------------

    /// The nodes from the ancestor at depth `fromLevel` down to this node (empty when this node is
    /// above that depth).
    NodeList getUniqueNodePath(std::uint32_t fromLevel);
    /// The nodes from the root's child down to this node.
    NodeList getUniqueNodePath() { return getUniqueNodePath(1); }
    /// Follows, from this node, the children whose formatted texts are those of `nodes` in order;
    /// null on the first miss. An empty path gives this node.
    std::shared_ptr<DataTreeNode> getNodeFromChildNodePath(const NodeList& nodes);
    std::shared_ptr<DataTreeNode> getNodeFromChildNodePath(const std::vector<SharedString>& formattedValues);
    /// The pair used to keep expand state across rebuilds: the formatted texts from below the root
    /// down to `node`, and the node a root reaches along such texts (null on a miss).
    static std::vector<SharedString> getPathForNode(const std::shared_ptr<const DataTreeNode>& node);
    static std::shared_ptr<DataTreeNode> getNodeForPath(const std::shared_ptr<DataTreeNode>& root,
                                                        const std::vector<SharedString>& formattedValues);

    // --- Listings --------------------------------------------------------------------------------
    // Depth first, a node before its children. With a sort context the children of each node come
    // in its order, otherwise in insertion order. "Collapsed subtrees" are the descendants of a
    // collapsed node; a new node is collapsed, so a listing of a freshly built tree that leaves
    // them out must be told to list the children of the node it starts from regardless.

    /// This node (when `includeThisNode`) and its descendants; below a collapsed node only when
    /// `includeCollapsedSubtrees`.
    NodeList getDepthFirstListOfAllNodesUnderThisNode(bool includeThisNode, bool includeCollapsedSubtrees,
                                                      const DataTreeSortContext* sortContext = nullptr);
    /// The same; with `alwaysListChildrenOfThisNode` the children of this node are listed even when
    /// it is collapsed.
    NodeList getDepthFirstListOfAllNodesUnderThisNode(bool includeThisNode, bool alwaysListChildrenOfThisNode,
                                                      bool includeCollapsedSubtrees,
                                                      const DataTreeSortContext* sortContext);
    /// The leaves below this node; with `collapsedNodesAreLeaves` a collapsed node stands for its
    /// subtree as a leaf.
    NodeList getDepthFirstListOfAllLeafNodesUnderThisNode(bool collapsedNodesAreLeaves,
                                                          const DataTreeSortContext* sortContext = nullptr);
    /// The same; `includeThisNodeWhenLeaf` lists this node when it has nothing below it to list,
    /// and `alwaysListChildrenOfThisNode` looks below this node even when it is collapsed.
    NodeList getDepthFirstListOfAllLeafNodesUnderThisNode(bool includeThisNodeWhenLeaf, bool collapsedNodesAreLeaves,
                                                          bool alwaysListChildrenOfThisNode,
                                                          const DataTreeSortContext* sortContext);
    /// The nodes at depth `level`, and the collapsed nodes above it, which stand for their subtree.
    NodeList getDepthFirstListOfNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(
        std::int32_t level, bool includeThisNode, const DataTreeSortContext* sortContext = nullptr);
    /// As above, with the expanded nodes on the way to them listed too.
    NodeList getDepthFirstListOfAllNodesUnderThisNodeAtOrCollapsedAboveSpecifiedLevel(
        std::int32_t level, bool includeThisNode, const DataTreeSortContext* sortContext = nullptr);

    /// This node and, recursively, the children of every node that is not collapsed.
    NodeList getExpandedSubNodes();
    /// Appends every descendant of `node` at depth `level`, in depth-first order.
    static void collectDescendentsAtLevel(std::uint32_t level, const std::shared_ptr<DataTreeNode>& node,
                                          NodeList& out);
    NodeList getLeafNodes();
    NodeList getChildNodesAtLevel(std::uint32_t level);

    // --- Text ------------------------------------------------------------------------------------

    /// An indented XML-like text of the subtree: per node its formatted text ("NULL" without one),
    /// level="n", expanded or collapsed and the measure values; children indented two blanks, in
    /// the order of `sortContext` when one is given.
    std::string getDescription(const DataTreeSortContext* sortContext = nullptr) const;
    /// Writes getDescription() to standard output.
    void print() const;

    // --- Stream form -----------------------------------------------------------------------------
    // Version mark, presence, the formatted text, the value (data value static form), the children
    // (object vector, each in this form), depth ("c" uint32) and collapsed ("b" bool), the row
    // indices (shared int32 vector), the measure values (object vector of data values), the measure
    // names (shared string vector) and the leaf's own aggregators (object vector). Trees deeper
    // than MAXIMUM_STREAM_DEPTH are refused. Parent links are restored after reading.

    static constexpr std::uint32_t MAXIMUM_STREAM_DEPTH = 256;

    static bool serialize(SerialWriter& writer, const std::shared_ptr<const DataTreeNode>& node);
    static bool unserialize(SerialReader& reader, std::shared_ptr<DataTreeNode>& node);
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;

private:
    struct ListingOptions;

    // The order in which a listing visits the children: the sort context's, copied into `sorted`,
    // or insertion order (the children themselves) when there is none or it leaves them be.
    const NodeList& orderedChildren(const DataTreeSortContext* sortContext, NodeList& sorted) const;
    void listNodes(const ListingOptions& options, bool isStart, NodeList& out);
    void appendDescription(std::string& text, std::size_t indent, const DataTreeSortContext* sortContext) const;
    void dropMergedAggregatorsUpwards() const;
    void mergeInto(const std::shared_ptr<DataTreeNode>& existing);
    bool writeBody(SerialWriter& writer) const;
    static bool readNode(SerialReader& reader, std::shared_ptr<DataTreeNode>& node, std::uint32_t depth);
    bool readBody(SerialReader& reader, std::uint32_t depth);

    SharedString formattedValue_;
    std::shared_ptr<DataValue> value_;
    std::shared_ptr<DataValue> sortOnRawValue_;
    std::weak_ptr<DataTreeNode> parent_;
    NodeList children_;
    std::unique_ptr<std::unordered_map<std::string_view, std::size_t>> childIndexByFormattedValue_;
    std::uint32_t level_ = 0;
    bool collapsed_ = true;
    std::shared_ptr<RowIndexVector> rowIndexVector_;
    std::shared_ptr<PendingRowIndices> pendingRowIndices_;
    std::shared_ptr<AggregatorList> measureAggregators_;
    std::shared_ptr<ValueList> measureValues_;
    std::shared_ptr<SharedStringVector> measureNames_;

    // The merged aggregators of an inner node, made on first request by whichever reader comes
    // first.
    mutable std::mutex mergedAggregatorsMutex_;
    mutable std::shared_ptr<AggregatorList> mergedAggregators_;
    mutable bool mergedAggregatorsAreCurrent_ = false;
};

}  // namespace pellium
