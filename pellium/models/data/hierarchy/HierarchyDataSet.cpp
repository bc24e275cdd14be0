#include "pellium/models/data/hierarchy/HierarchyDataSet.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/StringTableBuilder.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyTreeBuilder.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

std::string textOf(const SharedString& text) {
    return text ? *text : std::string();
}

void logMissingLevelColumn(const DataSet& dataSet, const Level& level) {
    Logger::warning("DataSet " + textOf(dataSet.getName()) + " is missing a column for hierarchy level " +
                    textOf(level.getName()) + ".");
}

std::shared_ptr<DataValue> matchesAllValue(DataType::type type) {
    return DataTokens::makeDataValue(type == DataType::STRING ? DataType::STRING : DataType::NUMERIC,
                                     DataTokens::TOKEN_MATCHES_ALL);
}

bool isTokenIndex(std::int32_t index) {
    return index == DataTokens::TOKEN_MATCHES_ALL || index == DataTokens::TOKEN_ALL_OTHERS ||
           index == DataTokens::TOKEN_SUPPRESSED || index == DataTokens::TOKEN_SPARSE ||
           index == DataTokens::TOKEN_MISSING;
}

// The level columns of a normalized data set, filled row by row with member values; string columns
// share one string table.
class LevelColumnFiller {
public:
    LevelColumnFiller(const std::vector<LevelColumnMetaData>& metaData, std::size_t rowCount) {
        for (const auto& entry : metaData) {
            auto column = Column::create(entry.name, entry.dataType, entry.label, entry.formatName);
            if (entry.dataType == DataType::STRING) {
                column->setStringIndices(std::make_shared<Column::IndexVector>(rowCount, DataTokens::TOKEN_MISSING));
            } else {
                column->setNumbers(std::make_shared<Column::NumberVector>(rowCount, DataTokens::MISSING_NUMERIC));
            }
            columns_.push_back(std::move(column));
        }
    }

    void set(std::size_t columnIndex, std::size_t row, const std::shared_ptr<DataValue>& value) {
        Column& column = *columns_[columnIndex];
        if (!value) {
            return;
        }
        if (column.getDataType() != DataType::STRING) {
            (*column.getNumbers())[row] = value->isString() ? DataTokens::MISSING_NUMERIC : value->getNumericValue();
            return;
        }
        std::int32_t index = value->getStringIndex();
        if (!isTokenIndex(index)) {
            const SharedString text = value->isString() ? value->getStringValue() : value->getFormattedValue();
            StringTableBuilder::Refusal refusal = StringTableBuilder::Refusal::NONE;
            index = text ? table_.add(*text, refusal) : DataTokens::TOKEN_MISSING;
            if (index < 0) {
                index = DataTokens::TOKEN_MISSING;
            }
        }
        (*column.getStringIndices())[row] = index;
    }

    const std::vector<std::shared_ptr<Column>>& columns() const { return columns_; }
    std::shared_ptr<std::vector<SharedString>> table() const { return table_.getTable(); }

private:
    std::vector<std::shared_ptr<Column>> columns_;
    StringTableBuilder table_;
};

// The value a level column shows for `member` of `hierarchy`'s display tree: the drilled value
// above the current level, the member's ancestor at the level's depth, matches-all below.
std::shared_ptr<DataValue> levelValueForMember(const Hierarchy& hierarchy, std::size_t levelIndex,
                                               const std::shared_ptr<DataTreeNode>& member) {
    const auto& level = *hierarchy.getLevels()[levelIndex];
    const std::size_t current = hierarchy.getCurrentLevelIndex();
    if (levelIndex < current) {
        return level.getCurrentValue() ? level.getCurrentValue() : matchesAllValue(level.getDataType());
    }
    const auto depth = static_cast<std::uint32_t>(levelIndex - current + 1);
    if (member && depth <= member->getLevel()) {
        if (const auto node = member->getParentNodeAtLevel(depth); node && node->getValue()) {
            return node->getValue();
        }
    }
    return matchesAllValue(level.getDataType());
}

}  // namespace

// --- Creation --------------------------------------------------------------------------------------

std::shared_ptr<HierarchyDataSet> HierarchyDataSet::create(HierarchyList hierarchies, NameList measureNames) {
    return std::make_shared<HierarchyDataSet>(Token{}, std::move(hierarchies), std::move(measureNames));
}

std::shared_ptr<HierarchyDataSet> HierarchyDataSet::create(const std::shared_ptr<DataSet>& dataSet,
                                                           std::shared_ptr<std::vector<std::int32_t>> rowIndices,
                                                           std::shared_ptr<std::vector<std::uint32_t>> levelIndices,
                                                           SharedString name, const NameList& classificationColumnNames,
                                                           NameList measureNames, bool keepRowIndices) {
    auto hierarchyDataSet =
        create(createDegenerateHierarchies(dataSet, classificationColumnNames), std::move(measureNames));
    hierarchyDataSet->rowIndices_ = std::move(rowIndices);
    hierarchyDataSet->levelIndices_ = std::move(levelIndices);
    hierarchyDataSet->name_ = std::move(name);
    hierarchyDataSet->setDataSet(dataSet, true, keepRowIndices);
    return hierarchyDataSet;
}

std::shared_ptr<HierarchyDataSet> HierarchyDataSet::create(const std::shared_ptr<DataSet>& dataSet, SharedString name,
                                                           const NameList& classificationColumnNames,
                                                           NameList measureNames, bool keepRowIndices) {
    return create(dataSet, nullptr, nullptr, std::move(name), classificationColumnNames, std::move(measureNames),
                  keepRowIndices);
}

std::shared_ptr<HierarchyDataSet> HierarchyDataSet::create(const std::shared_ptr<const HierarchyDataSet>& other) {
    if (!other) {
        return nullptr;
    }
    HierarchyList hierarchies;
    for (const auto& hierarchy : other->hierarchies_) {
        hierarchies.push_back(Hierarchy::create(hierarchy));
    }
    auto copy = create(std::move(hierarchies), other->measureNames_);
    copy->name_ = other->name_;
    copy->dataSet_ = other->dataSet_;
    copy->measureColumns_ = other->measureColumns_;
    copy->frequencyColumnName_ = other->frequencyColumnName_;
    copy->frequencyWithMissingColumnName_ = other->frequencyWithMissingColumnName_;
    copy->frequencyColumn_ = other->frequencyColumn_;
    copy->frequencyWithMissingColumn_ = other->frequencyWithMissingColumn_;
    copy->classificationColumns_ = other->classificationColumns_;
    copy->sortOnRawColumns_ = other->sortOnRawColumns_;
    copy->dataTreeRoot_ = DataTreeNode::create(other->dataTreeRoot_);
    copy->rowIndices_ = other->rowIndices_;
    copy->levelIndices_ = other->levelIndices_;
    copy->treeLevelCounts_ = other->treeLevelCounts_;
    copy->comparisonEpsilon_ = other->comparisonEpsilon_;
    copy->crosstabDataSet_ = other->crosstabDataSet_;
    copy->shouldBrushWithPartialSelection_ = other->shouldBrushWithPartialSelection_;
    copy->measureSortsIgnoreLeafStatus_ = other->measureSortsIgnoreLeafStatus_;
    copy->currentLevelsOnly_ = other->currentLevelsOnly_;
    copy->keepRowIndices_ = other->keepRowIndices_;
    copy->hadFatalDataError_ = other->hadFatalDataError_;
    return copy;
}

HierarchyDataSet::HierarchyList HierarchyDataSet::createDegenerateHierarchies(
    const std::shared_ptr<const DataSet>& dataSet, const NameList& classificationColumnNames) {
    HierarchyList hierarchies;
    if (!dataSet) {
        return hierarchies;
    }
    for (const auto& name : classificationColumnNames) {
        const auto column = name ? dataSet->getColumnWithName(*name) : nullptr;
        if (column) {
            hierarchies.push_back(
                Hierarchy::create(column->getName(), column->getLabel(), {Level::createForColumn(*column)}));
        }
    }
    return hierarchies;
}

HierarchyDataSet::HierarchyDataSet(Token, HierarchyList hierarchies, NameList measureNames)
    : hierarchies_(std::move(hierarchies)), measureNames_(std::move(measureNames)) {
    std::erase(hierarchies_, nullptr);
}

HierarchyDataSet::~HierarchyDataSet() = default;

int HierarchyDataSet::getWrapperTypeId() const {
    return WrapperTypeIds::HIERARCHY_DATA_SET;
}

// --- Data set and build ----------------------------------------------------------------------------

void HierarchyDataSet::setDataSet(const std::shared_ptr<DataSet>& dataSet, bool currentLevelsOnly,
                                  bool keepRowIndices) {
    currentLevelsOnly_ = currentLevelsOnly;
    keepRowIndices_ = keepRowIndices;
    setDataSet(dataSet);
}

void HierarchyDataSet::setDataSet(const std::shared_ptr<DataSet>& dataSet) {
    if (dataSet && dataSet == dataSet_ && dataTreeRoot_) {
        return;
    }
    dataSet_ = dataSet;
    if (!dataSet_) {
        comparisonEpsilon_ = 0;
        dataTreeRoot_.reset();
        for (const auto& hierarchy : hierarchies_) {
            hierarchy->updateDisplay(nullptr);
        }
        return;
    }
    attach(dataSet);
    buildDataTree();
}

void HierarchyDataSet::attach(const std::shared_ptr<DataSet>& dataSet) {
    dataSet_ = dataSet;
    comparisonEpsilon_ = dataSet_ ? dataSet_->getComparisonEpsilon() : 0;
    refreshMeasureAndCountColumns();
    refreshClassificationColumns();
    refreshSortOnRawColumns();
}

void HierarchyDataSet::refreshMeasureAndCountColumns() {
    const auto find = [this](const SharedString& name) {
        return dataSet_ && name ? dataSet_->getColumnWithName(*name) : nullptr;
    };
    measureColumns_.clear();
    for (const auto& name : measureNames_) {
        measureColumns_.push_back(find(name));
    }
    frequencyColumn_ = find(frequencyColumnName_);
    frequencyWithMissingColumn_ = find(frequencyWithMissingColumnName_);
}

void HierarchyDataSet::refreshClassificationColumns() {
    classificationColumns_ = getResolvedClassificationColumns(dataSet_, hierarchies_, false);
}

void HierarchyDataSet::refreshSortOnRawColumns() {
    sortOnRawColumns_ = getResolvedSortOnRawColumns(dataSet_, hierarchies_, false);
}

std::vector<std::size_t> HierarchyDataSet::builtLevelCounts() const {
    std::vector<std::size_t> counts;
    for (std::size_t index = 0; index < hierarchies_.size(); ++index) {
        const Hierarchy& hierarchy = *hierarchies_[index];
        std::size_t count = hierarchy.getNumberOfLevels();
        if (currentLevelsOnly_) {
            const std::size_t current = levelIndices_ && index < levelIndices_->size()
                                            ? (*levelIndices_)[index]
                                            : hierarchy.getCurrentLevelIndex();
            count = std::min(count, current + 1);
        }
        counts.push_back(count);
    }
    return counts;
}

void HierarchyDataSet::buildDataTree() {
    HierarchyTreeBuilder::Request request;
    treeLevelCounts_ = builtLevelCounts();
    // The display tree of a hierarchy that is not drilled classifies by its levels, all of which are
    // in the tree: it is made in the same pass. Drilled hierarchies build theirs from their rows.
    std::vector<std::size_t> displayedInPass;
    std::size_t firstLevel = 0;
    for (std::size_t index = 0; index < hierarchies_.size(); ++index) {
        const Hierarchy& hierarchy = *hierarchies_[index];
        if (hierarchy.getCurrentLevelIndex() == 0 && treeLevelCounts_[index] == hierarchy.getNumberOfLevels() &&
            hierarchy.getNumberOfLevels() > 0) {
            request.displayRanges.emplace_back(firstLevel, treeLevelCounts_[index]);
            displayedInPass.push_back(index);
        }
        firstLevel += treeLevelCounts_[index];
    }
    std::size_t position = 0;
    for (std::size_t index = 0; index < hierarchies_.size(); ++index) {
        const auto& levels = hierarchies_[index]->getLevels();
        for (std::size_t level = 0; level < levels.size(); ++level, ++position) {
            if (level >= treeLevelCounts_[index]) {
                continue;
            }
            if (!classificationColumns_[position]) {
                logMissingLevelColumn(*dataSet_, *levels[level]);
                dataTreeRoot_ = DataTreeNode::createRoot();
                for (const auto& hierarchy : hierarchies_) {
                    hierarchy->updateDisplay(dataSet_);
                }
                return;
            }
            request.levelColumns.push_back(classificationColumns_[position]);
            request.sortOnRawColumns.push_back(sortOnRawColumns_[position]);
        }
    }
    const auto statistics = measureStatistics();
    for (std::size_t index = 0; index < measureColumns_.size(); ++index) {
        request.measures.push_back({measureColumns_[index], statistics[index]});
    }
    request.frequencyColumn = frequencyColumn_;
    request.frequencyWithMissingColumn = frequencyWithMissingColumn_;
    request.rows = rowIndices_.get();
    request.numberOfRows = dataSet_->getNumberOfRows();
    request.keepRowIndices = keepRowIndices_;
    auto result = HierarchyTreeBuilder::build(request);
    dataTreeRoot_ = std::move(result.root);
    hadFatalDataError_ = result.hadFatalDataError;
    for (std::size_t index = 0; index < hierarchies_.size(); ++index) {
        const auto found = std::find(displayedInPass.begin(), displayedInPass.end(), index);
        if (found != displayedInPass.end()) {
            hierarchies_[index]->installDisplay(
                dataSet_, result.displayTrees[static_cast<std::size_t>(found - displayedInPass.begin())]);
        } else {
            hierarchies_[index]->updateDisplay(dataSet_);
        }
    }
}

std::shared_ptr<Hierarchy> HierarchyDataSet::getHierarchyForName(std::string_view name) const {
    const auto found = std::find_if(hierarchies_.begin(), hierarchies_.end(), [&](const auto& hierarchy) {
        return hierarchy->getName() && *hierarchy->getName() == name;
    });
    return found == hierarchies_.end() ? nullptr : *found;
}

std::shared_ptr<Hierarchy> HierarchyDataSet::getHierarchyForName(const SharedString& name) const {
    return name ? getHierarchyForName(std::string_view(*name)) : nullptr;
}

std::shared_ptr<Column> HierarchyDataSet::getMeasureColumnForName(std::string_view name) const {
    for (std::size_t index = 0; index < measureNames_.size() && index < measureColumns_.size(); ++index) {
        if (measureNames_[index] && *measureNames_[index] == name) {
            return measureColumns_[index];
        }
    }
    return nullptr;
}

void HierarchyDataSet::setFrequencyColumnNames(SharedString frequency, SharedString frequencyWithMissing) {
    frequencyColumnName_ = std::move(frequency);
    frequencyWithMissingColumnName_ = std::move(frequencyWithMissing);
}

// --- Queries ---------------------------------------------------------------------------------------

std::vector<StatisticType::type> HierarchyDataSet::measureStatistics() const {
    // A weighted row's frequency is already its count, so FREQUENCY stays a count here.
    return getMeasureStatistics(measureColumns_, true);
}

std::shared_ptr<const Aggregator::AggregatorList> HierarchyDataSet::templateAggregators() const {
    auto aggregators = std::make_shared<Aggregator::AggregatorList>();
    for (const auto statistic : measureStatistics()) {
        aggregators->push_back(Aggregator::create(statistic == StatisticType::COUNT_DISTINCT));
    }
    return aggregators;
}

std::vector<AxisRange> HierarchyDataSet::getAxisRanges() const {
    const std::vector<std::size_t> counts =
        treeLevelCounts_.size() == hierarchies_.size() ? treeLevelCounts_ : builtLevelCounts();
    std::vector<AxisRange> ranges;
    std::int32_t first = 0;
    for (const std::size_t count : counts) {
        ranges.emplace_back(first, static_cast<std::int32_t>(count));
        first += static_cast<std::int32_t>(count);
    }
    return ranges;
}

CrossingValues HierarchyDataSet::getMeasureValuesAtCrossing(const std::vector<CrossingPath>& paths) const {
    const std::size_t measureCount = measureNames_.size();
    if (!dataTreeRoot_ || measureCount == 0) {
        return getExplicitValuesAtCrossing(nullptr, measureCount, paths);
    }
    if (!dataTreeRoot_->getMeasureAggregators()) {
        return getExplicitValuesAtCrossing(dataTreeRoot_, measureCount, paths);
    }
    CrossingValues values =
        getAggregateValuesAtCrossing(dataTreeRoot_, templateAggregators(), getAxisRanges(), measureStatistics(), paths);
    for (std::size_t index = 0; index < values.size() && index < measureColumns_.size(); ++index) {
        if (!measureColumns_[index]) {
            values[index] = DataValue::create(DataTokens::SPARSE_NUMERIC);
        }
    }
    return values;
}

CrossingPath HierarchyDataSet::getQueryPathForMember(const Hierarchy& hierarchy,
                                                     const std::shared_ptr<DataTreeNode>& member) {
    CrossingPath path;
    const auto& levels = hierarchy.getLevels();
    for (std::size_t index = 0; index < hierarchy.getCurrentLevelIndex() && index < levels.size(); ++index) {
        const SharedString drilled = levels[index]->getFormattedCurrentValue();
        path.push_back(drilled ? DataTreeNode::create(drilled, levels[index]->getCurrentValue())
                               : getMatchesAllQueryNodePathWithLength(1).front());
    }
    if (member && !member->isRoot()) {
        const auto memberPath = member->getUniqueNodePath(1);
        path.insert(path.end(), memberPath.begin(), memberPath.end());
    }
    return path;
}

std::shared_ptr<DataSet> HierarchyDataSet::getNormalizedCrossings(const std::shared_ptr<Hierarchy>& rowHierarchy,
                                                                  const std::shared_ptr<Hierarchy>& columnHierarchy,
                                                                  bool rowIncludeRoot, bool rowCollapsedAreLeaves,
                                                                  bool rowAllNodes, bool rowSkipCollapsedSubtrees,
                                                                  bool columnIncludeRoot, bool columnCollapsedAreLeaves,
                                                                  bool columnAllNodes, bool columnSkipCollapsedSubtrees,
                                                                  const DataTreeSortContext* sortContext) const {
    if (!dataTreeRoot_ || !dataSet_) {
        return nullptr;
    }
    const auto listMembers = [sortContext](const std::shared_ptr<Hierarchy>& hierarchy, bool includeRoot,
                                           bool collapsedAreLeaves, bool allNodes, bool skipCollapsedSubtrees) {
        if (!hierarchy || !hierarchy->getDisplay()) {
            return NodeList{nullptr};  // one member standing for all
        }
        const auto& display = hierarchy->getDisplay();
        return allNodes ? display->getDepthFirstListOfAllNodesUnderThisNode(includeRoot, true, !skipCollapsedSubtrees,
                                                                            sortContext)
                        : display->getDepthFirstListOfAllLeafNodesUnderThisNode(includeRoot, collapsedAreLeaves, true,
                                                                                sortContext);
    };
    const NodeList rowMembers =
        listMembers(rowHierarchy, rowIncludeRoot, rowCollapsedAreLeaves, rowAllNodes, rowSkipCollapsedSubtrees);
    const NodeList columnMembers = listMembers(columnHierarchy, columnIncludeRoot, columnCollapsedAreLeaves,
                                               columnAllNodes, columnSkipCollapsedSubtrees);
    const auto axisOf = [this](const std::shared_ptr<Hierarchy>& hierarchy) {
        const auto found = std::find(hierarchies_.begin(), hierarchies_.end(), hierarchy);
        return hierarchy && found != hierarchies_.end() ? static_cast<std::ptrdiff_t>(found - hierarchies_.begin())
                                                        : std::ptrdiff_t{-1};
    };
    const std::ptrdiff_t rowAxis = axisOf(rowHierarchy);
    const std::ptrdiff_t columnAxis = axisOf(columnHierarchy);

    // Level columns: the row hierarchy's members, the column hierarchy's drill state.
    HierarchyList axes;
    for (const auto& hierarchy : {rowHierarchy, columnHierarchy}) {
        if (hierarchy) {
            axes.push_back(hierarchy);
        }
    }
    const auto metaData = getHierarchyLevelMetaData(dataSet_, axes, false);
    LevelColumnFiller levelColumns(metaData, rowMembers.size());
    for (std::size_t row = 0; row < rowMembers.size(); ++row) {
        std::size_t columnIndex = 0;
        for (const auto& hierarchy : axes) {
            const auto& member = hierarchy == rowHierarchy ? rowMembers[row] : nullptr;
            for (std::size_t level = 0; level < hierarchy->getNumberOfLevels(); ++level, ++columnIndex) {
                levelColumns.set(columnIndex, row, levelValueForMember(*hierarchy, level, member));
            }
        }
    }

    // Measure columns: one block of measures per column member.
    std::vector<CrossingPath> columnPaths;
    std::vector<std::shared_ptr<Column>> measureColumns;
    for (const auto& member : columnMembers) {
        columnPaths.push_back(columnHierarchy ? getQueryPathForMember(*columnHierarchy, member) : CrossingPath{});
        for (const auto& measureName : measureNames_) {
            std::string name = textOf(measureName);
            for (const auto& step : columnPaths.back()) {
                name.append("|").append(textOf(step->getFormattedValue()));
            }
            auto column = Column::create(StringUtilities::internString(name), DataType::NUMERIC);
            if (const auto source = getMeasureColumnForName(textOf(measureName))) {
                column->setFormatName(source->getFormatName());
            }
            column->setNumbers(std::make_shared<Column::NumberVector>(rowMembers.size(), DataTokens::SPARSE_NUMERIC));
            measureColumns.push_back(std::move(column));
        }
    }
    std::vector<CrossingPath> paths(hierarchies_.size());
    for (std::size_t row = 0; row < rowMembers.size(); ++row) {
        if (rowAxis >= 0) {
            paths[static_cast<std::size_t>(rowAxis)] = getQueryPathForMember(*rowHierarchy, rowMembers[row]);
        }
        for (std::size_t column = 0; column < columnMembers.size(); ++column) {
            if (columnAxis >= 0) {
                paths[static_cast<std::size_t>(columnAxis)] = columnPaths[column];
            }
            updateNormalizedCrossings(measureColumns, getMeasureValuesAtCrossing(paths), column,
                                      static_cast<std::int32_t>(row));
        }
    }

    auto columns = std::make_shared<DataSet::ColumnList>(levelColumns.columns());
    columns->insert(columns->end(), measureColumns.begin(), measureColumns.end());
    auto result = DataSet::create(columns);
    result->setStringTable(levelColumns.table());
    result->assignStringValuesFromIndices();
    result->setName(StringUtilities::internString(textOf(dataSet_->getName()) + "_normalized_"));
    result->setComparisonEpsilon(dataSet_->getComparisonEpsilon());
    return result;
}

std::shared_ptr<DataSet> HierarchyDataSet::getCurrentDrillStateRectangularDataSet() const {
    if (!dataSet_) {
        return nullptr;
    }
    std::vector<std::int32_t> rows;
    const std::vector<std::int32_t>* selected = rowIndices_.get();
    for (const auto& hierarchy : hierarchies_) {
        const auto& levels = hierarchy->getLevels();
        for (std::size_t index = 0; index < hierarchy->getCurrentLevelIndex() && index < levels.size(); ++index) {
            const SharedString drilled = levels[index]->getFormattedCurrentValue();
            const auto column =
                levels[index]->getName() ? dataSet_->getColumnWithName(*levels[index]->getName()) : nullptr;
            if (drilled && column) {
                rows = HierarchyTreeBuilder::selectRowsWithFormattedValue(*column, *drilled, selected,
                                                                          dataSet_->getNumberOfRows());
                selected = &rows;
            }
        }
    }
    if (!selected) {
        return dataSet_->clone();
    }
    RowIndexSet rowSet;
    for (const std::int32_t row : *selected) {
        rowSet.insert(static_cast<std::uint32_t>(row));
    }
    return DataSet::getSubsetDefinedBySpecifiedIndices(dataSet_, rowSet);
}

std::vector<std::int32_t> HierarchyDataSet::getSourceToSummarizedIndices() const {
    if (!dataSet_ || !dataTreeRoot_ || !keepRowIndices_) {
        return {};
    }
    std::vector<std::int32_t> summarized(static_cast<std::size_t>(std::max(dataSet_->getNumberOfRows(), 0)), -1);
    std::int32_t leafIndex = 0;
    for (const auto& leaf : dataTreeRoot_->getDepthFirstListOfAllLeafNodesUnderThisNode(false, false, true, nullptr)) {
        if (const auto& rows = leaf->getRowIndexVector()) {
            for (const std::int32_t row : *rows) {
                if (row >= 0 && static_cast<std::size_t>(row) < summarized.size()) {
                    summarized[static_cast<std::size_t>(row)] = leafIndex;
                }
            }
        }
        ++leafIndex;
    }
    return summarized;
}

bool HierarchyDataSet::requiresAdditionalData() const {
    if (!currentLevelsOnly_) {
        return false;
    }
    const std::vector<std::size_t> built =
        treeLevelCounts_.size() == hierarchies_.size() ? treeLevelCounts_ : builtLevelCounts();
    for (std::size_t index = 0; index < hierarchies_.size(); ++index) {
        const Hierarchy& hierarchy = *hierarchies_[index];
        // An expanded member at display depth d shows the level d below the current one.
        std::size_t needed = std::size_t{hierarchy.getCurrentLevelIndex()} + 1;
        for (const auto& path : hierarchy.getExpandedState()) {
            needed = std::max(needed, std::size_t{hierarchy.getCurrentLevelIndex()} + path.size() + 1);
        }
        if (std::min(needed, hierarchy.getNumberOfLevels()) > built[index]) {
            return true;
        }
    }
    return false;
}

std::shared_ptr<DataSet> HierarchyDataSet::renameLevelColumns(const std::shared_ptr<const DataSet>& dataSet) const {
    if (!dataSet) {
        return nullptr;
    }
    auto copy = dataSet->clone();
    for (const auto& hierarchy : hierarchies_) {
        for (const auto& level : hierarchy->getLevels()) {
            const auto column = level->getName() ? copy->getColumnWithName(*level->getName()) : nullptr;
            if (!column) {
                continue;
            }
            if (level->getLabel()) {
                column->setLabel(level->getLabel());
            }
            if (level->getFormatName()) {
                column->setFormatName(level->getFormatName());
            }
        }
    }
    return copy;
}

HierarchyDataSet::ColumnList HierarchyDataSet::getResolvedClassificationColumns(
    const std::shared_ptr<const DataSet>& dataSet, const HierarchyList& hierarchies, bool currentLevelsOnly) {
    ColumnList columns;
    for (const auto& hierarchy : hierarchies) {
        const auto& levels = hierarchy->getLevels();
        const std::size_t count = currentLevelsOnly
                                      ? std::min<std::size_t>(hierarchy->getCurrentLevelIndex() + 1, levels.size())
                                      : levels.size();
        for (std::size_t index = 0; index < count; ++index) {
            const SharedString& name = levels[index]->getName();
            columns.push_back(dataSet && name ? dataSet->getColumnWithName(*name) : nullptr);
        }
    }
    return columns;
}

HierarchyDataSet::ColumnList HierarchyDataSet::getResolvedSortOnRawColumns(
    const std::shared_ptr<const DataSet>& dataSet, const HierarchyList& hierarchies, bool currentLevelsOnly) {
    ColumnList columns;
    for (const auto& hierarchy : hierarchies) {
        const auto& levels = hierarchy->getLevels();
        const std::size_t count = currentLevelsOnly
                                      ? std::min<std::size_t>(hierarchy->getCurrentLevelIndex() + 1, levels.size())
                                      : levels.size();
        for (std::size_t index = 0; index < count; ++index) {
            const SharedString& name = levels[index]->getSortOnRawColumnName();
            columns.push_back(dataSet && name ? dataSet->getColumnWithName(*name) : nullptr);
        }
    }
    return columns;
}

std::shared_ptr<DataTreeNode> HierarchyDataSet::getClassificationDataTree(const std::shared_ptr<const DataSet>& dataSet,
                                                                          const ColumnList& columns) {
    if (!dataSet || std::find(columns.begin(), columns.end(), nullptr) != columns.end()) {
        return DataTreeNode::createRoot();
    }
    HierarchyTreeBuilder::Request request;
    request.levelColumns = columns;
    request.numberOfRows = dataSet->getNumberOfRows();
    return HierarchyTreeBuilder::build(request).root;
}

std::string HierarchyDataSet::getDescription(const std::shared_ptr<const HierarchyDataSet>& hierarchyDataSet,
                                             const DataTreeSortContext* sortContext, AxisDimension::type axis) {
    if (!hierarchyDataSet) {
        return {};
    }
    std::string text = "HierarchyDataSet " + textOf(hierarchyDataSet->name_) + " axis " +
                       std::string(AxisDimension::getStringFromValue(axis)) + "\n";
    if (axis == AxisDimension::NONE) {
        return hierarchyDataSet->dataTreeRoot_ ? text + hierarchyDataSet->dataTreeRoot_->getDescription(sortContext)
                                               : text;
    }
    const auto& hierarchies = hierarchyDataSet->hierarchies_;
    for (std::size_t index = 0; index < hierarchies.size(); ++index) {
        const bool onAxis = (axis == AxisDimension::ROW && index == 0) ||
                            (axis == AxisDimension::COLUMN && index == 1) || (axis == AxisDimension::PAGE && index > 1);
        if (!onAxis) {
            continue;
        }
        text += "Hierarchy " + textOf(hierarchies[index]->getName()) + "\n";
        if (const auto& display = hierarchies[index]->getDisplay()) {
            text += display->getDescription(sortContext);
        }
    }
    return text;
}

// --- Stream form -----------------------------------------------------------------------------------

bool HierarchyDataSet::writeBody(SerialWriter& writer) const {
    return DataTreeNode::serialize(writer, dataTreeRoot_) &&
           writer.writeSharedObjectVector(
               std::optional<std::size_t>(hierarchies_.size()),
               [&](std::size_t index) { return Hierarchy::serialize(writer, hierarchies_[index]); }) &&
           writer.writePrimitive(SerialMarks::TAG_B, crosstabDataSet_) &&
           writer.writePrimitive(SerialMarks::TAG_B, shouldBrushWithPartialSelection_) &&
           writer.writePrimitive(SerialMarks::TAG_B, measureSortsIgnoreLeafStatus_) &&
           writer.writePrimitive(SerialMarks::TAG_B, currentLevelsOnly_) &&
           writer.writePrimitive(SerialMarks::TAG_B, keepRowIndices_) && writer.writeStringVectorBody(measureNames_) &&
           writer.writeString(name_) && writer.writeString(frequencyColumnName_) &&
           writer.writeString(frequencyWithMissingColumnName_);
}

bool HierarchyDataSet::readBody(SerialReader& reader) {
    if (!DataTreeNode::unserialize(reader, dataTreeRoot_)) {
        return false;
    }
    hierarchies_.clear();
    bool hasHierarchies = false;
    const bool hierarchiesRead = reader.readSharedObjectVector(hasHierarchies, [&](std::size_t) {
        std::shared_ptr<Hierarchy> hierarchy;
        if (!Hierarchy::unserialize(reader, hierarchy) || !hierarchy) {
            return false;
        }
        hierarchies_.push_back(std::move(hierarchy));
        return true;
    });
    if (!hierarchiesRead) {
        return false;
    }
    if (!reader.readPrimitive(SerialMarks::TAG_B, crosstabDataSet_) ||
        !reader.readPrimitive(SerialMarks::TAG_B, shouldBrushWithPartialSelection_) ||
        !reader.readPrimitive(SerialMarks::TAG_B, measureSortsIgnoreLeafStatus_) ||
        !reader.readPrimitive(SerialMarks::TAG_B, currentLevelsOnly_) ||
        !reader.readPrimitive(SerialMarks::TAG_B, keepRowIndices_)) {
        return false;
    }
    if (!reader.readStringVectorBody(measureNames_)) {
        return false;
    }
    if (!reader.readString(name_) || !reader.readString(frequencyColumnName_) ||
        !reader.readString(frequencyWithMissingColumnName_)) {
        return false;
    }
    treeLevelCounts_ = builtLevelCounts();
    return true;
}

bool HierarchyDataSet::serialize(SerialWriter& writer,
                                 const std::shared_ptr<const HierarchyDataSet>& hierarchyDataSet) {
    return writer.writeVersionMark() && writer.writePresence(hierarchyDataSet != nullptr) &&
           (!hierarchyDataSet || hierarchyDataSet->writeBody(writer));
}

bool HierarchyDataSet::unserialize(SerialReader& reader, std::shared_ptr<HierarchyDataSet>& hierarchyDataSet) {
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    hierarchyDataSet = isPresent ? create(HierarchyList{}, NameList{}) : nullptr;
    return !isPresent || hierarchyDataSet->readBody(reader);
}

bool HierarchyDataSet::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeBody(writer);
}

bool HierarchyDataSet::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    return readBody(reader);
}

}  // namespace pellium
