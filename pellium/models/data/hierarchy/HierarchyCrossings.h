#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/util/StringUtilities.h"

// The building blocks of crossing queries on hierarchy trees: the values at one crossing of row
// and column members, found as explicit values or aggregated on demand, and the helpers that lay
// crossings out as a rectangular data set. HierarchyDataSet answers its queries with them; hosts
// that keep their own trees may call them directly.

namespace pellium {

class Column;
class DataSet;
class DataTreeNode;
class DataValue;
class Hierarchy;

using CrossingPath = std::vector<std::shared_ptr<DataTreeNode>>;
using CrossingValues = std::vector<std::shared_ptr<DataValue>>;
/// Per axis: the first tree level of the axis inside the combined tree (0 for the first level
/// below the root) and its number of levels.
using AxisRange = std::pair<std::int32_t, std::int32_t>;

/// What a level column of a rectangular (normalized) data set is made from.
struct PELLIUM_EXPORT LevelColumnMetaData {
    SharedString name;
    SharedString label;
    SharedString formatName;
    DataType::type dataType = DataType::STRING;
};

/// The statistic of each measure column, in order (SUM for a null column). Without
/// `keepFrequencies`, FREQUENCY and FREQUENCY_WITH_MISSING become SUM, for crossings of data whose
/// frequencies are already values to be summed.
PELLIUM_EXPORT std::vector<StatisticType::type> getMeasureStatistics(
    const std::vector<std::shared_ptr<Column>>& measureColumns, bool keepFrequencies);

/// Per level of every hierarchy, in hierarchy then level order: the name, label, format and type of
/// the level's column in `dataSet` (the level's own when the data set lacks the column or is null).
/// With `currentLevelsOnly`, each hierarchy stops at its current level.
PELLIUM_EXPORT std::vector<LevelColumnMetaData> getHierarchyLevelMetaData(
    const std::shared_ptr<const DataSet>& dataSet, const std::vector<std::shared_ptr<Hierarchy>>& hierarchies,
    bool currentLevelsOnly);

/// `length` query nodes carrying the matches-all value: each matches every member of its level.
PELLIUM_EXPORT CrossingPath getMatchesAllQueryNodePathWithLength(std::size_t length);

/// The explicit measure values at the end of the axis paths, followed from `root` one after the
/// other (each path continues below the node the previous one reached); `measureCount` sparse
/// values when a step misses or the node has no values.
PELLIUM_EXPORT CrossingValues getExplicitValuesAtCrossing(const std::shared_ptr<DataTreeNode>& root,
                                                          std::size_t measureCount,
                                                          const std::vector<CrossingPath>& paths);

/// The aggregated values at a crossing: starting from `root`, each axis's path (padded with
/// matches-all nodes to the axis's number of levels; an empty path matches everything) selects the
/// child with its formatted text, or every node of its level for a matches-all node; the
/// aggregators of the nodes reached at the end are merged into fresh copies of `aggregators`, and
/// value i is the number of `statistics[i]` (PERCENT of the root's sum). One sparse value per
/// measure when nothing is reached.
PELLIUM_EXPORT CrossingValues getAggregateValuesAtCrossing(
    const std::shared_ptr<DataTreeNode>& root, const std::shared_ptr<const Aggregator::AggregatorList>& aggregators,
    const std::vector<AxisRange>& axisRanges, const std::vector<StatisticType::type>& statistics,
    const std::vector<CrossingPath>& paths);

/// Writes `values[i]` into `columns[block * n + i]` at `row`, n being the number of values; stops
/// at the first column position beyond `columns`, a null column, or a row beyond a column.
PELLIUM_EXPORT void updateNormalizedCrossings(const std::vector<std::shared_ptr<Column>>& columns,
                                              const CrossingValues& values, std::size_t block, std::int32_t row);

}  // namespace pellium
