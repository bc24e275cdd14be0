#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/models/data/hierarchy/AxisDimension.h"
#include "pellium/models/data/hierarchy/HierarchyCrossings.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class Column;
class DataSet;
class DataTreeNode;
class DataTreeSortContext;
class Hierarchy;
class SerialReader;
class SerialWriter;

/// A flat data set turned into an aggregated, drillable result: its hierarchies classify the rows
/// into one tree of members (the levels of the first hierarchy, then those of the second...), each
/// leaf carrying one aggregator per measure column, from which the value at any crossing of row and
/// column members is aggregated on demand. It backs drillable tables, crosstabs (row axis = first
/// hierarchy, column axis = second) and hierarchical charts.
///
/// Setting a data set (re)builds the tree and every hierarchy's display tree; drilling and
/// expanding change only the hierarchies. Measures take their statistic from their column's
/// aggregation. Data that was summarized before it arrived may weigh each row by frequency columns
/// (setFrequencyColumnNames), and partially aggregated measure columns read the statistics that
/// cannot be merged from their sub-columns.
///
/// Build on one thread; the built object may be read from several. Look-ups answer null, and a
/// crossing that does not exist answers sparse values, never an error.
class PELLIUM_EXPORT HierarchyDataSet : public Wrappable {
    struct Token {};

public:
    using HierarchyList = std::vector<std::shared_ptr<Hierarchy>>;
    using ColumnList = std::vector<std::shared_ptr<Column>>;
    using NameList = std::vector<SharedString>;
    using NodeList = std::vector<std::shared_ptr<DataTreeNode>>;

    // --- Creation --------------------------------------------------------------------------------

    /// From ready hierarchies; a data set is attached later (setDataSet or attach).
    static std::shared_ptr<HierarchyDataSet> create(HierarchyList hierarchies, NameList measureNames);
    /// One single-level hierarchy per classification column, built over `dataSet` (only `rowIndices`
    /// when given) down to the current levels (`levelIndices`, when given, caps each hierarchy's
    /// level); `keepRowIndices` is the second build option.
    static std::shared_ptr<HierarchyDataSet> create(const std::shared_ptr<DataSet>& dataSet,
                                                    std::shared_ptr<std::vector<std::int32_t>> rowIndices,
                                                    std::shared_ptr<std::vector<std::uint32_t>> levelIndices,
                                                    SharedString name, const NameList& classificationColumnNames,
                                                    NameList measureNames, bool keepRowIndices);
    static std::shared_ptr<HierarchyDataSet> create(const std::shared_ptr<DataSet>& dataSet, SharedString name,
                                                    const NameList& classificationColumnNames, NameList measureNames,
                                                    bool keepRowIndices);
    /// A deep copy (tree and hierarchies copied, data set shared); null for null.
    static std::shared_ptr<HierarchyDataSet> create(const std::shared_ptr<const HierarchyDataSet>& other);
    /// One single-level hierarchy per named column of `dataSet`, named after the column; names the
    /// data set lacks are skipped.
    static HierarchyList createDegenerateHierarchies(const std::shared_ptr<const DataSet>& dataSet,
                                                     const NameList& classificationColumnNames);

    HierarchyDataSet(Token, HierarchyList hierarchies, NameList measureNames);
    ~HierarchyDataSet() override;

    /// WrapperTypeIds::HIERARCHY_DATA_SET.
    int getWrapperTypeId() const override;

    // --- Data set and build ----------------------------------------------------------------------

    /// Rebuilds everything for `dataSet`: nothing when it is the data set already set; for null,
    /// the tree and displays are cleared. Expanded members stay expanded by path.
    void setDataSet(const std::shared_ptr<DataSet>& dataSet);
    /// Stores the build options, then setDataSet(dataSet): `currentLevelsOnly` builds each
    /// hierarchy's levels only down to its current one; `keepRowIndices` gives the leaves their
    /// source rows.
    void setDataSet(const std::shared_ptr<DataSet>& dataSet, bool currentLevelsOnly, bool keepRowIndices);
    /// Binds a data set without building (after reading a tree from a stream): resolves the
    /// measure, frequency, classification and sort-on-raw columns.
    void attach(const std::shared_ptr<DataSet>& dataSet);
    const std::shared_ptr<DataSet>& getDataSet() const { return dataSet_; }
    bool buildsCurrentLevelsOnly() const { return currentLevelsOnly_; }
    bool keepsRowIndices() const { return keepRowIndices_; }
    /// A partially aggregated frequency column held NaN in the last build ("FATAL DATA ERROR:
    /// partially aggregated frequency columns can never contain NaN." was logged); those rows were
    /// counted as missing values without weight.
    bool hadFatalDataError() const { return hadFatalDataError_; }

    const SharedString& getName() const { return name_; }
    const HierarchyList& getHierarchies() const { return hierarchies_; }
    std::shared_ptr<Hierarchy> getHierarchyForName(std::string_view name) const;
    std::shared_ptr<Hierarchy> getHierarchyForName(const SharedString& name) const;

    const NameList& getMeasureNames() const { return measureNames_; }
    /// Takes effect at the next build (or attach).
    void setMeasureNames(NameList measureNames) { measureNames_ = std::move(measureNames); }
    /// The measure columns, in measure order; null where the data set lacks one.
    const ColumnList& getMeasureColumns() const { return measureColumns_; }
    std::shared_ptr<Column> getMeasureColumnForName(std::string_view name) const;
    /// Columns whose values weigh each row (count, and count with missing values); null names for
    /// none. Takes effect at the next build.
    void setFrequencyColumnNames(SharedString frequency, SharedString frequencyWithMissing);
    const ColumnList& getClassificationColumns() const { return classificationColumns_; }
    const ColumnList& getSortOnRawColumns() const { return sortOnRawColumns_; }

    /// The root of the classification tree (formatted text "root"); null before a build.
    const std::shared_ptr<DataTreeNode>& getDataTreeRoot() const { return dataTreeRoot_; }
    double getComparisonEpsilon() const { return comparisonEpsilon_; }
    bool isCrosstabDataSet() const { return crosstabDataSet_; }
    void setCrosstabDataSet(bool crosstab) { crosstabDataSet_ = crosstab; }
    bool shouldBrushWithPartialSelection() const { return shouldBrushWithPartialSelection_; }
    void setShouldBrushWithPartialSelection(bool brush) { shouldBrushWithPartialSelection_ = brush; }
    bool shouldMeasureSortsIgnoreLeafStatus() const { return measureSortsIgnoreLeafStatus_; }
    void setMeasureSortsIgnoreLeafStatus(bool ignore) { measureSortsIgnoreLeafStatus_ = ignore; }

    // --- Queries ---------------------------------------------------------------------------------

    /// The measure values at the crossing of one member path per hierarchy (outermost first, by
    /// formatted text; an empty or missing path, or a matches-all node, stands for all members):
    /// aggregated from the tree, or its explicit values when it holds them. Sparse values for a
    /// crossing that does not exist and for a measure the data set lacks.
    CrossingValues getMeasureValuesAtCrossing(const std::vector<CrossingPath>& paths) const;

    /// The query path of `member` of `hierarchy`'s display tree: a node per level above the current
    /// one carrying the drilled value (matches-all where none is drilled), then the member's path
    /// below the display root. A null member, or the display root, stands for the axis total.
    static CrossingPath getQueryPathForMember(const Hierarchy& hierarchy, const std::shared_ptr<DataTreeNode>& member);

    /// The axis ranges of the hierarchies inside the tree (first level, number of levels).
    std::vector<AxisRange> getAxisRanges() const;

    /// The crosstab in rectangular form: one row per member of the row hierarchy's display tree,
    /// the level columns of both hierarchies (drilled values above the current level, the member's
    /// path, matches-all below), then for every member of the column hierarchy one column per
    /// measure, named measure|member|path. Per axis: `includeRoot` lists the axis total,
    /// `collapsedAreLeaves` makes a collapsed member a leaf, `allNodes` lists every member (else
    /// leaves only), `skipCollapsedSubtrees` leaves out members below collapsed ones. A null
    /// hierarchy is one all-members axis. The result is named after the source with
    /// "_normalized_" appended, and takes its comparison epsilon. Null without a built tree.
    std::shared_ptr<DataSet> getNormalizedCrossings(const std::shared_ptr<Hierarchy>& rowHierarchy,
                                                    const std::shared_ptr<Hierarchy>& columnHierarchy,
                                                    bool rowIncludeRoot, bool rowCollapsedAreLeaves, bool rowAllNodes,
                                                    bool rowSkipCollapsedSubtrees, bool columnIncludeRoot,
                                                    bool columnCollapsedAreLeaves, bool columnAllNodes,
                                                    bool columnSkipCollapsedSubtrees,
                                                    const DataTreeSortContext* sortContext = nullptr) const;

    /// The rows of the data set under the current drill path of every hierarchy; null without a
    /// data set.
    std::shared_ptr<DataSet> getCurrentDrillStateRectangularDataSet() const;
    /// For every source row, the position of its leaf in a depth-first listing of the tree's
    /// leaves (-1 for rows not classified); empty when the leaves keep no rows.
    std::vector<std::int32_t> getSourceToSummarizedIndices() const;
    /// A current-levels-only tree lacks levels that the drill or expand state now needs.
    bool requiresAdditionalData() const;
    /// A copy of `dataSet` whose classification columns carry their levels' labels and formats;
    /// null for null.
    std::shared_ptr<DataSet> renameLevelColumns(const std::shared_ptr<const DataSet>& dataSet) const;

    /// The columns of `dataSet` for every level, hierarchy then level order (null where absent);
    /// with `currentLevelsOnly` each hierarchy stops at its current level.
    static ColumnList getResolvedClassificationColumns(const std::shared_ptr<const DataSet>& dataSet,
                                                       const HierarchyList& hierarchies, bool currentLevelsOnly);
    /// The same for the levels' sort-on-raw columns (null for a level without one).
    static ColumnList getResolvedSortOnRawColumns(const std::shared_ptr<const DataSet>& dataSet,
                                                  const HierarchyList& hierarchies, bool currentLevelsOnly);
    /// The rows of `dataSet` classified by `columns`, without measures.
    static std::shared_ptr<DataTreeNode> getClassificationDataTree(const std::shared_ptr<const DataSet>& dataSet,
                                                                   const ColumnList& columns);

    /// A multi-line dump of the display trees of one axis (ROW the first hierarchy, COLUMN the
    /// second, PAGE the others in hierarchy order, NONE the classification tree), for diagnostics;
    /// children in the order of `sortContext` (may be null: data order).
    static std::string getDescription(const std::shared_ptr<const HierarchyDataSet>& hierarchyDataSet,
                                      const DataTreeSortContext* sortContext, AxisDimension::type axis);

    // --- Stream form -----------------------------------------------------------------------------
    // Version mark, presence, the tree, the hierarchies (object vector), the settings ("b" bools:
    // crosstab, brush with partial selection, measure sorts ignore leaf status, current levels
    // only, keep row indices), the measure names (shared string vector), the name and the two
    // frequency column names. No data set travels: bind one with attach().

    static bool serialize(SerialWriter& writer, const std::shared_ptr<const HierarchyDataSet>& hierarchyDataSet);
    static bool unserialize(SerialReader& reader, std::shared_ptr<HierarchyDataSet>& hierarchyDataSet);
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;

private:
    void refreshMeasureAndCountColumns();
    void refreshClassificationColumns();
    void refreshSortOnRawColumns();
    void buildDataTree();
    std::vector<std::size_t> builtLevelCounts() const;
    std::vector<StatisticType::type> measureStatistics() const;
    std::shared_ptr<const Aggregator::AggregatorList> templateAggregators() const;
    bool writeBody(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);

    SharedString name_;
    std::shared_ptr<DataSet> dataSet_;
    HierarchyList hierarchies_;
    NameList measureNames_;
    ColumnList measureColumns_;
    SharedString frequencyColumnName_;
    SharedString frequencyWithMissingColumnName_;
    std::shared_ptr<Column> frequencyColumn_;
    std::shared_ptr<Column> frequencyWithMissingColumn_;
    ColumnList classificationColumns_;
    ColumnList sortOnRawColumns_;
    std::shared_ptr<DataTreeNode> dataTreeRoot_;
    std::shared_ptr<std::vector<std::int32_t>> rowIndices_;
    std::shared_ptr<std::vector<std::uint32_t>> levelIndices_;
    std::vector<std::size_t> treeLevelCounts_;
    double comparisonEpsilon_ = 0;
    bool crosstabDataSet_ = false;
    bool shouldBrushWithPartialSelection_ = false;
    bool measureSortsIgnoreLeafStatus_ = false;
    bool currentLevelsOnly_ = false;
    bool keepRowIndices_ = true;
    bool hadFatalDataError_ = false;
};

}  // namespace pellium
