#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class DataSet;
class DataTreeNode;
class DataValue;
class Level;
class SerialReader;
class SerialWriter;

/// A named dimension of a report (Geography: Region > Country > City) with the user's drill and
/// expand state: an ordered list of levels, outermost first, the level currently drilled to (with
/// the member drilled into at each level above it), and the tree it currently displays.
///
/// The display tree holds the members below the current drill path: its root stands for the drill
/// path, its children are the members of the current level, and deeper nodes the members of the
/// levels below, which the user reveals by expanding nodes. Drilling rebuilds the display tree from
/// the data set it was last built from; expanded members are remembered by their path of formatted
/// texts, so they stay expanded when the tree is rebuilt on new data. A hierarchy formed from
/// relational (flat) data is never expanded or collapsed.
///
/// Queries answer null, false or empty for what is not there. Not locked.
class PELLIUM_EXPORT Hierarchy : public Wrappable {
    struct Token {};

public:
    using LevelList = std::vector<std::shared_ptr<Level>>;
    using NodeList = std::vector<std::shared_ptr<DataTreeNode>>;
    using ValueList = std::vector<std::shared_ptr<DataValue>>;
    using Path = std::vector<SharedString>;

    static std::shared_ptr<Hierarchy> create(SharedString name, SharedString label, LevelList levels);
    static std::shared_ptr<Hierarchy> create();
    /// A deep copy: levels, display tree and expand state; null for null.
    static std::shared_ptr<Hierarchy> create(const std::shared_ptr<const Hierarchy>& hierarchy);

    Hierarchy(Token, SharedString name, SharedString label, LevelList levels);
    ~Hierarchy() override;

    /// WrapperTypeIds::HIERARCHY.
    int getWrapperTypeId() const override;

    const SharedString& getName() const { return name_; }
    void setName(SharedString name) { name_ = std::move(name); }
    const SharedString& getLabel() const { return label_; }
    void setLabel(SharedString label) { label_ = std::move(label); }
    const LevelList& getLevels() const { return levels_; }
    std::size_t getNumberOfLevels() const { return levels_.size(); }
    /// One level standing for one classification column, as createDegenerateHierarchies makes it.
    bool isDegenerate() const;
    bool isFromRelational() const { return fromRelational_; }
    void fromRelational(bool fromRelational) { fromRelational_ = fromRelational; }

    // --- Levels and drilling ---------------------------------------------------------------------

    std::uint32_t getCurrentLevelIndex() const { return currentLevelIndex_; }
    /// Null for a hierarchy without levels.
    std::shared_ptr<Level> getCurrentLevel() const;
    std::shared_ptr<Level> getLevelFromIndex(std::size_t index) const;
    /// The first level whose name has exactly these bytes; null for an empty name or none.
    std::shared_ptr<Level> getLevelWithName(std::string_view name) const;
    /// The level's position; -1 when it is not one of this hierarchy's.
    std::int32_t getIndexOfLevel(const std::shared_ptr<const Level>& level) const;

    /// Above the first level, with a drillable level above the current one.
    bool canDrillUp() const;
    std::shared_ptr<Level> getOneLevelUp() const;
    bool canDrillDown() const;
    std::shared_ptr<Level> getOneLevelDown() const;
    /// The levels from the current one to the last.
    LevelList getLevelsDown() const;

    /// Drills into `value` at the current level: the value becomes that level's current value and
    /// the next level the current one. Nothing below the last level.
    void drillDown(const std::shared_ptr<DataValue>& value);
    void drillDown(const std::shared_ptr<DataValue>& value, std::string_view levelName);
    /// Drills along the path of a node of the display tree, so that it and its ancestors become the
    /// current values of their levels.
    void drillDown(const std::shared_ptr<DataTreeNode>& node);
    /// Drills up to `levelIndex`, then into `value`.
    void drillDownFromLevel(std::uint32_t levelIndex, const std::shared_ptr<DataValue>& value);
    /// Whether one drill per value fits in the levels below the current one.
    bool canDrillToPath(const ValueList& values) const;
    void drillToPath(const ValueList& values);
    /// Drills up to `levelIndex` when canDrillUp() and it is above the current level: the levels
    /// from there down lose their current values, the display tree collapses and the expanded
    /// members are forgotten. Nothing otherwise.
    void drillUp(std::uint32_t levelIndex);
    /// The current values of the levels above the current one.
    ValueList getCurrentDrillPath() const;
    /// Whether the user may drill into `node` of the display tree: not for the all-others member,
    /// and only while a level lies below the one the node stands for.
    bool canDrillDown(const std::shared_ptr<const DataTreeNode>& node) const;

    // --- Display and expand state ----------------------------------------------------------------

    const std::shared_ptr<DataTreeNode>& getDisplay() const { return display_; }
    std::int32_t getDisplayRootLevelIndex() const { return displayRootLevelIndex_; }
    /// Installs `tree` as the display tree for drill level `levelIndex` (-1 and null to clear),
    /// expanding the members remembered as expanded.
    void setDisplay(std::shared_ptr<DataTreeNode> tree, std::int32_t levelIndex);
    /// Rebuilds the display tree from `dataSet`: its rows under the current drill path classified by
    /// the levels from the current one down. When the data set lacks a level's column, logs "DataSet
    /// <name> is missing a column for hierarchy level <level>." and keeps the display, answering
    /// false. A null data set clears the display. Later drills rebuild from the same data set.
    bool updateDisplay(const std::shared_ptr<const DataSet>& dataSet);
    /// Installs a display tree that the owner classified from `dataSet` along with its own tree
    /// (for a hierarchy that is not drilled); later drills rebuild from `dataSet`.
    void installDisplay(const std::shared_ptr<const DataSet>& dataSet, std::shared_ptr<DataTreeNode> tree);

    const NodeList& getExpandedNodes() const { return expandedNodes_; }
    /// The paths of the expanded members, which survive rebuilds.
    const std::vector<Path>& getExpandedState() const { return expandedState_; }
    /// Re-derives the expanded paths from the expanded nodes.
    void updateExpandState();

    bool canExpand(const std::shared_ptr<const DataTreeNode>& node) const;
    bool canCollapse(const std::shared_ptr<const DataTreeNode>& node) const;
    void expand(const std::shared_ptr<DataTreeNode>& node);
    void collapse(const std::shared_ptr<DataTreeNode>& node);
    /// Expands every node along the formatted texts from the display root; answers whether the
    /// whole path exists.
    bool expandToPath(const Path& formattedValues);
    /// Collapses the node at the end of the path; answers whether it exists.
    bool collapseAtPath(const Path& formattedValues);
    /// The display tree's nodes at depth `depth`.
    NodeList getNodesAtLevel(std::uint32_t depth) const;
    /// Whether some shown, collapsed node at `depth` (a level lies below it) can be expanded; never
    /// for a relational hierarchy. The display root's children are always shown.
    bool canExpandAll(std::uint32_t depth) const;
    void expandAll(std::uint32_t depth);
    bool canCollapseAll(std::uint32_t depth) const;
    void collapseAll(std::uint32_t depth);
    /// The nodes from the display root's child down to `node`.
    NodeList getPathToTreeNode(const std::shared_ptr<DataTreeNode>& node) const;

    // Stream form: version mark, presence, name, label, the levels (object vector), the display
    // tree, the current level index ("c" uint32), the display root level index ("c" int32) and
    // from-relational ("b" bool). A current level index beyond the levels is logged as
    // "CurrentLevelIndex was invalid." and reset to 0.
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const Hierarchy>& hierarchy);
    static bool unserialize(SerialReader& reader, std::shared_ptr<Hierarchy>& hierarchy);
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;

private:
    bool writeBody(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);
    bool isExpandable(const std::shared_ptr<const DataTreeNode>& node) const;
    bool hasLevelBelowDepth(std::uint32_t depth) const;
    static bool isShown(const std::shared_ptr<DataTreeNode>& node);
    void drillOneLevel(const std::shared_ptr<DataValue>& value);
    void rebuildDisplay();
    void forgetExpandedNodes();
    void rememberExpanded(const std::shared_ptr<DataTreeNode>& node);
    void forgetExpanded(const std::shared_ptr<DataTreeNode>& node);

    SharedString name_;
    SharedString label_;
    LevelList levels_;
    std::uint32_t currentLevelIndex_ = 0;
    std::int32_t displayRootLevelIndex_ = -1;
    std::shared_ptr<DataTreeNode> display_;
    NodeList expandedNodes_;
    std::vector<Path> expandedState_;
    bool fromRelational_ = false;
    std::weak_ptr<const DataSet> displayDataSet_;
};

}  // namespace pellium
