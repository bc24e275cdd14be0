#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/MemberSortState.h"

namespace pellium {

class Collator;
class Hierarchy;
class HierarchyDataSet;
class LocalizationContext;

/// The member sorting of hierarchy trees: which levels are sorted and how (one MemberSortState per
/// level), and the locale whose collation orders texts. Views pass it to the depth-first listings
/// and iterators of DataTreeNode, to HierarchyDataSet::getNormalizedCrossings and to
/// getDescription; each then visits the children of every node in this context's order. Levels
/// without a state keep their data order, so an empty context lists trees as they were built.
///
/// Levels are named per hierarchy level: by the level's (column) name, or by its index in its
/// hierarchy, for one hierarchy or for all. A state by name wins over one by index for the named
/// hierarchy, which wins over one by index for all. Which level a node's children belong to is
/// found from the tree the node is in:
/// - a hierarchy's display tree: the children of a node at depth d are members of the level
///   currentLevelIndex + d of that hierarchy;
/// - the hierarchy data set's classification tree: the levels of the hierarchies one after the
///   other (its axis ranges);
/// - any other tree, or without a hierarchy data set: the children of a node at depth d are level
///   d, and only states by index for all hierarchies apply.
///
/// Sorting by measure reads, for a member of a hierarchy's display tree, the value at the crossing
/// of the member's path with the state's crossing path on the other axis (the second hierarchy for
/// members of the first, the first for members of any other), all other hierarchies taken whole,
/// as getNormalizedCrossings shows it. Members of any other tree sort by their own value of the
/// measure: their explicit measure value, or their aggregated value under the measure column's
/// statistic (the crossing path does not apply). A measure that neither the hierarchy data set nor
/// the tree names leaves every member tied, so the data order stays.
///
/// The key of every member is computed once per sort of its siblings, never per comparison:
/// collation ranks of the labels, numeric ranks of the values. Sorting is stable, so ties keep
/// the data order. A context is not a SortContext: its direction differs from level to level.
///
/// Threads: sorting reads the context, its states and the trees only, so several threads may list
/// with one context at once; change states only while nobody lists.
class PELLIUM_EXPORT DataTreeSortContext {
    struct Token {};

public:
    using NodeList = DataTreeNode::NodeList;

    /// A context without states. `hierarchyDataSet` (may be null) names the levels of the trees it
    /// holds and answers measure values at crossings; texts collate by `collationLocale` ("sv_SE";
    /// empty or unknown names collate by the root rules).
    static std::shared_ptr<DataTreeSortContext> create(std::shared_ptr<const HierarchyDataSet> hierarchyDataSet,
                                                       std::string_view collationLocale = {});
    /// As above, collating by the locale of `localization`.
    static std::shared_ptr<DataTreeSortContext> create(std::shared_ptr<const HierarchyDataSet> hierarchyDataSet,
                                                       const LocalizationContext& localization);

    DataTreeSortContext(Token, std::shared_ptr<const HierarchyDataSet> hierarchyDataSet,
                        std::string_view collationLocale);
    ~DataTreeSortContext();

    const std::shared_ptr<const HierarchyDataSet>& getHierarchyDataSet() const { return hierarchyDataSet_; }
    const std::string& getCollationLocale() const { return collationLocale_; }
    void setCollationLocale(std::string_view collationLocale);

    // --- Sort states -----------------------------------------------------------------------------

    /// Sorts the members of the level named `levelName` (in any hierarchy) by `state`; a null
    /// state removes the level's state.
    void setSortStateForLevel(std::string_view levelName, std::shared_ptr<MemberSortState> state);
    /// Sorts the members of level `levelIndex` of the hierarchy named `hierarchyName`, or of every
    /// hierarchy and plain tree when the name is empty; a null state removes it.
    void setSortStateForLevelIndex(std::uint32_t levelIndex, std::shared_ptr<MemberSortState> state,
                                   std::string_view hierarchyName = {});
    void clearSortStates();
    bool hasSortStates() const { return !statesByName_.empty() || !statesByIndex_.empty(); }

    /// The state that applies to level `levelIndex` of `hierarchy` (null for a plain tree), by the
    /// precedence above; null when the level keeps its data order.
    std::shared_ptr<MemberSortState> getSortState(const Hierarchy* hierarchy, std::uint32_t levelIndex) const;

    // --- Sorting ---------------------------------------------------------------------------------

    /// The children of `parent` in this context's order: copied into `out` (which is replaced).
    /// Answers false, leaving `out` empty, when their level keeps the data order, so the caller can
    /// use the children as they are.
    bool sortChildren(const DataTreeNode& parent, NodeList& out) const;
    /// The children of `parent` in this context's order (as they are for an unsorted level).
    NodeList getSortedChildren(const DataTreeNode& parent) const;

private:
    struct LevelOfChildren;

    LevelOfChildren findLevelOfChildren(const DataTreeNode& parent) const;
    std::vector<std::int32_t> computeKeys(const LevelOfChildren& level, const MemberSortState& state,
                                          const NodeList& children) const;
    std::vector<std::int32_t> computeLabelKeys(const MemberSortState& state, const NodeList& children) const;
    std::vector<std::int32_t> computeRawValueKeys(const MemberSortState& state, const NodeList& children) const;
    std::vector<std::int32_t> computeMeasureKeys(const LevelOfChildren& level, const MemberSortState& state,
                                                 const NodeList& children) const;
    std::vector<double> measureValuesAtCrossings(const LevelOfChildren& level, const MemberSortState& state,
                                                 std::size_t measureIndex, const NodeList& children) const;
    const Collator* collatorFor(const MemberSortState& state) const;

    std::shared_ptr<const HierarchyDataSet> hierarchyDataSet_;
    std::string collationLocale_;
    std::shared_ptr<const Collator> collator_;
    std::map<std::string, std::shared_ptr<MemberSortState>, std::less<>> statesByName_;
    // Keyed by hierarchy name ("" for all) and level index.
    std::map<std::pair<std::string, std::uint32_t>, std::shared_ptr<MemberSortState>, std::less<>> statesByIndex_;
};

}  // namespace pellium
