#include "pellium/models/data/hierarchy/HierarchyCrossings.h"

#include <algorithm>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"

namespace pellium {

namespace {

CrossingValues sparseValues(std::size_t measureCount) {
    CrossingValues values;
    values.reserve(measureCount);
    for (std::size_t index = 0; index < measureCount; ++index) {
        values.push_back(DataValue::create(DataTokens::SPARSE_NUMERIC));
    }
    return values;
}

std::string_view formattedKey(const std::shared_ptr<DataTreeNode>& node) {
    const SharedString& text = node->getFormattedValue();
    return text ? std::string_view(*text) : std::string_view();
}

// One step of a crossing walk: the children of `nodes` that `step` selects.
void stepDown(const DataTreeNode::NodeList& nodes, const std::shared_ptr<DataTreeNode>& step,
              DataTreeNode::NodeList& next) {
    next.clear();
    const bool matchesAll = !step || step->isMatchesAll();
    for (const auto& node : nodes) {
        if (matchesAll) {
            DataTreeNode::collectDescendentsAtLevel(node->getLevel() + 1, node, next);
        } else if (auto child = node->getChildForFormattedValue(formattedKey(step))) {
            next.push_back(std::move(child));
        }
    }
}

}  // namespace

std::vector<StatisticType::type> getMeasureStatistics(const std::vector<std::shared_ptr<Column>>& measureColumns,
                                                      bool keepFrequencies) {
    std::vector<StatisticType::type> statistics;
    statistics.reserve(measureColumns.size());
    for (const auto& column : measureColumns) {
        StatisticType::type statistic = column ? column->getAggregation() : StatisticType::SUM;
        if (!keepFrequencies &&
            (statistic == StatisticType::FREQUENCY || statistic == StatisticType::FREQUENCY_WITH_MISSING)) {
            statistic = StatisticType::SUM;
        }
        statistics.push_back(statistic);
    }
    return statistics;
}

std::vector<LevelColumnMetaData> getHierarchyLevelMetaData(const std::shared_ptr<const DataSet>& dataSet,
                                                           const std::vector<std::shared_ptr<Hierarchy>>& hierarchies,
                                                           bool currentLevelsOnly) {
    std::vector<LevelColumnMetaData> metaData;
    for (const auto& hierarchy : hierarchies) {
        if (!hierarchy) {
            continue;
        }
        const auto& levels = hierarchy->getLevels();
        const std::size_t count = currentLevelsOnly
                                      ? std::min<std::size_t>(hierarchy->getCurrentLevelIndex() + 1, levels.size())
                                      : levels.size();
        for (std::size_t index = 0; index < count; ++index) {
            const Level& level = *levels[index];
            const auto column = dataSet && level.getName() ? dataSet->getColumnWithName(*level.getName()) : nullptr;
            LevelColumnMetaData entry;
            entry.name = level.getName();
            entry.label = column ? column->getLabel() : level.getLabel();
            entry.formatName = column ? column->getFormatName() : level.getFormatName();
            entry.dataType = column ? column->getDataType() : level.getDataType();
            metaData.push_back(std::move(entry));
        }
    }
    return metaData;
}

CrossingPath getMatchesAllQueryNodePathWithLength(std::size_t length) {
    CrossingPath path;
    path.reserve(length);
    const auto& text = DataTokens::getStringConstant(DataTokens::TOKEN_MATCHES_ALL);
    for (std::size_t index = 0; index < length; ++index) {
        path.push_back(
            DataTreeNode::create(text, DataTokens::makeDataValue(DataType::STRING, DataTokens::TOKEN_MATCHES_ALL)));
    }
    return path;
}

CrossingValues getExplicitValuesAtCrossing(const std::shared_ptr<DataTreeNode>& root, std::size_t measureCount,
                                           const std::vector<CrossingPath>& paths) {
    std::shared_ptr<DataTreeNode> node = root;
    for (const auto& path : paths) {
        node = node ? node->getNodeFromChildNodePath(path) : nullptr;
    }
    if (!node || !node->getMeasureValues()) {
        return sparseValues(measureCount);
    }
    CrossingValues values;
    for (const auto& value : *node->getMeasureValues()) {
        values.push_back(value ? DataValue::create(*value) : DataValue::create(DataTokens::SPARSE_NUMERIC));
    }
    return values;
}

CrossingValues getAggregateValuesAtCrossing(const std::shared_ptr<DataTreeNode>& root,
                                            const std::shared_ptr<const Aggregator::AggregatorList>& aggregators,
                                            const std::vector<AxisRange>& axisRanges,
                                            const std::vector<StatisticType::type>& statistics,
                                            const std::vector<CrossingPath>& paths) {
    const std::size_t measureCount = statistics.size();
    if (!root) {
        return sparseValues(measureCount);
    }
    DataTreeNode::NodeList reached{root};
    DataTreeNode::NodeList next;
    for (std::size_t axis = 0; axis < axisRanges.size() && !reached.empty(); ++axis) {
        const auto length = static_cast<std::size_t>(std::max(axisRanges[axis].second, 0));
        const CrossingPath* path = axis < paths.size() ? &paths[axis] : nullptr;
        for (std::size_t step = 0; step < length && !reached.empty(); ++step) {
            // Steps beyond a shorter path match everything, as an empty path does.
            const std::shared_ptr<DataTreeNode> query = path && step < path->size() ? (*path)[step] : nullptr;
            stepDown(reached, query, next);
            reached.swap(next);
        }
    }
    if (reached.empty()) {
        return sparseValues(measureCount);
    }
    const auto merged = Aggregator::createEmptyCopy(aggregators);
    if (!merged) {
        return sparseValues(measureCount);
    }
    for (const auto& node : reached) {
        Aggregator::aggregate(merged, node->getMeasureAggregators());
    }
    // A percentage is of the grand total, the sum over the whole tree.
    const auto totals = root->getMeasureAggregators();
    CrossingValues values;
    values.reserve(measureCount);
    for (std::size_t index = 0; index < measureCount; ++index) {
        if (index >= merged->size()) {
            values.push_back(DataValue::create(DataTokens::SPARSE_NUMERIC));
            continue;
        }
        const double total = totals && index < totals->size() && (*totals)[index] ? (*totals)[index]->getSum()
                                                                                  : DataTokens::MISSING_NUMERIC;
        values.push_back(DataValue::create((*merged)[index]->getNumericValue(statistics[index], total)));
    }
    return values;
}

void updateNormalizedCrossings(const std::vector<std::shared_ptr<Column>>& columns, const CrossingValues& values,
                               std::size_t block, std::int32_t row) {
    const std::size_t count = values.size();
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t position = block * count + index;
        if (position >= columns.size() || !columns[position] || row < 0 ||
            row >= columns[position]->getNumberOfRows()) {
            return;
        }
        if (values[index]) {
            columns[position]->setDataValueAtIndex(*values[index], row, false);
        }
    }
}

}  // namespace pellium
