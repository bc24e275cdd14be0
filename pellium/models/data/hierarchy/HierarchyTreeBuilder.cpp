#include "pellium/models/data/hierarchy/HierarchyTreeBuilder.h"

#include <algorithm>
#include <string_view>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/hierarchy/build/CodeMap.h"
#include "pellium/models/data/hierarchy/build/LevelMembers.h"
#include "pellium/models/data/hierarchy/build/MeasureSummaries.h"
#include "pellium/models/data/hierarchy/build/RecordedLeafRows.h"
#include "pellium/models/data/hierarchy/build/RowCrossings.h"
#include "pellium/models/data/hierarchy/build/RowSource.h"
#include "pellium/models/data/tree/DataTreeNode.h"

namespace pellium {

namespace {

constexpr std::uint32_t NO_CODE = CodeMap::NO_CODE;

// The nodes of one tree level, numbered in the order rows first reach them.
struct LevelNodes {
    std::vector<std::uint32_t> parent;
    std::vector<std::uint32_t> code;
    std::vector<std::int32_t> firstRow;

    std::uint32_t add(std::uint32_t parentNode, std::uint32_t memberCode, std::int32_t row) {
        parent.push_back(parentNode);
        code.push_back(memberCode);
        firstRow.push_back(row);
        return static_cast<std::uint32_t>(parent.size() - 1);
    }
};

// Classifies the crossings that occur, in the order of their first rows, by levels [first, first +
// count): each crossing walks down the levels, making the children it reaches first. A node's first
// row is the least first row of its crossings, so this makes the nodes in the order a walk over all
// rows would, and gives each crossing its node at the last of the levels.
std::vector<LevelNodes> classifyCrossings(const std::vector<std::uint32_t>& crossingsInOrder,
                                          const std::vector<std::int32_t>& firstRowOfCrossing,
                                          const std::vector<std::unique_ptr<LevelMembers>>& levels, std::size_t first,
                                          std::size_t count, std::vector<std::uint32_t>* nodeOfCrossing) {
    std::vector<LevelNodes> nodes(count);
    std::vector<CodeMap> childOf(count);
    for (const std::uint32_t crossing : crossingsInOrder) {
        const std::int32_t row = firstRowOfCrossing[crossing];
        std::uint32_t node = 0;
        for (std::size_t level = 0; level < count; ++level) {
            const std::uint32_t code = levels[first + level]->memberOfRow(row);
            std::uint32_t& child = childOf[level].find((std::uint64_t{node} << 32) | code);
            if (child == NO_CODE) {
                child = nodes[level].add(node, code, row);
            }
            node = child;
        }
        if (nodeOfCrossing) {
            (*nodeOfCrossing)[crossing] = node;
        }
    }
    return nodes;
}

std::shared_ptr<DataValue> memberValue(const Column& column, std::int32_t row, const SharedString& formattedValue) {
    if (column.getDataType() == DataType::STRING) {
        auto value = DataValue::create(column.getStringAtIndex(row), column.getStringIndexAtIndex(row));
        if (value->getFormattedValue() != formattedValue) {
            value->setFormattedValue(formattedValue);
        }
        return value;
    }
    const auto& numbers = column.getNumbers();
    auto value = DataValue::create(numbers ? (*numbers)[static_cast<std::size_t>(row)] : DataTokens::MISSING_NUMERIC);
    value->setFormattedValue(formattedValue);
    return value;
}

const double* numbersOf(const std::shared_ptr<Column>& column) {
    return column && column->getNumbers() ? column->getNumbers()->data() : nullptr;
}

// Limits the rows to what every column of the build holds.
std::int32_t usableRowCount(const HierarchyTreeBuilder::Request& request) {
    std::int32_t count = request.numberOfRows;
    const auto limit = [&count](const std::shared_ptr<Column>& column) {
        if (column) {
            count = std::min(count, column->getNumberOfRows());
        }
    };
    for (const auto& column : request.levelColumns) {
        limit(column);
    }
    for (const auto& column : request.sortOnRawColumns) {
        limit(column);
    }
    for (const auto& measure : request.measures) {
        limit(measure.column);
        if (const auto* partial = dynamic_cast<const PartiallyAggregatedColumn*>(measure.column.get())) {
            if (const auto subColumns = partial->getSubColumns()) {
                for (const auto& subColumn : *subColumns) {
                    limit(subColumn);
                }
            }
        }
    }
    limit(request.frequencyColumn);
    limit(request.frequencyWithMissingColumn);
    return std::max(count, 0);
}

// Makes the nodes of levels [0, levelNodes.size()) below a new root, each parent's children in the
// order rows reach them; answers the nodes of the last level.
std::vector<std::shared_ptr<DataTreeNode>> makeNodes(const std::shared_ptr<DataTreeNode>& root,
                                                     const std::vector<LevelNodes>& levelNodes,
                                                     const std::vector<const Column*>& columns,
                                                     const std::vector<const LevelMembers*>& members,
                                                     const std::vector<const Column*>& sortOnRawColumns) {
    std::vector<std::shared_ptr<DataTreeNode>> parents{root};
    for (std::size_t level = 0; level < levelNodes.size(); ++level) {
        const LevelNodes& nodes = levelNodes[level];
        const auto& texts = members[level]->texts();
        const Column* sortOnRaw = sortOnRawColumns[level];
        std::vector<std::shared_ptr<DataTreeNode>> made(nodes.parent.size());
        for (std::size_t number = 0; number < made.size(); ++number) {
            const SharedString& text = texts[nodes.code[number]];
            auto node = DataTreeNode::create(text, memberValue(*columns[level], nodes.firstRow[number], text));
            if (sortOnRaw) {
                node->setSortOnRawValue(sortOnRaw->getDataValueAtIndex(nodes.firstRow[number], false));
            }
            parents[nodes.parent[number]]->addChild(node);
            made[number] = std::move(node);
        }
        parents = std::move(made);
    }
    return parents;
}

// The plain numeric measures of unweighted rows, aggregated in the classifying pass itself.
struct FusedMeasures {
    std::vector<std::size_t> measures;
    std::vector<const double*> values;
    std::vector<LeafSummary*> summaries;
};

FusedMeasures chooseFusedMeasures(const HierarchyTreeBuilder::Request& request) {
    FusedMeasures fused;
    if (request.frequencyColumn) {
        return fused;
    }
    for (std::size_t index = 0; index < request.measures.size(); ++index) {
        const auto& column = request.measures[index].column;
        if (column && column->getDataType() != DataType::STRING && column->getNumbers() &&
            !dynamic_cast<const PartiallyAggregatedColumn*>(column.get())) {
            fused.measures.push_back(index);
            fused.values.push_back(column->getNumbers()->data());
        }
    }
    return fused;
}

bool isFused(const FusedMeasures& fused, std::size_t measure) {
    return std::find(fused.measures.begin(), fused.measures.end(), measure) != fused.measures.end();
}

// The one pass over the rows: each row's crossing, its first row, and the fused measures; the
// crossing per row is kept only when asked for. A measure count known at compile time unrolls the
// measures.
template <std::size_t FusedCount>
struct RowClassifier {
    std::int32_t* firstRowOfCrossing;
    std::uint32_t* crossingOfPosition;
    const double* const* values;
    LeafSummary* const* summaries;
    std::size_t fusedCount;

    [[gnu::always_inline]] void operator()(std::size_t position, std::int32_t row, std::uint32_t crossing) const {
        if (firstRowOfCrossing[crossing] < 0) [[unlikely]] {
            firstRowOfCrossing[crossing] = row;
        }
        const std::size_t count = FusedCount > 0 ? FusedCount : fusedCount;
        for (std::size_t measure = 0; measure < count; ++measure) {
            summaries[measure][crossing].addUnweightedNumber(row, values[measure][row]);
        }
        if (crossingOfPosition) {
            crossingOfPosition[position] = crossing;
        }
    }
};

template <std::size_t FusedCount>
void classifyRows(const RowCrossings& crossings, const FusedMeasures& fused, std::int32_t* firstRowOfCrossing,
                  std::uint32_t* crossingOfPosition) {
    crossings.forEachRow(RowClassifier<FusedCount>{firstRowOfCrossing, crossingOfPosition, fused.values.data(),
                                                   fused.summaries.data(), fused.measures.size()});
}

void classifyRows(const RowCrossings& crossings, const FusedMeasures& fused, std::int32_t* firstRowOfCrossing,
                  std::uint32_t* crossingOfPosition) {
    switch (fused.measures.size()) {
        case 1:
            classifyRows<1>(crossings, fused, firstRowOfCrossing, crossingOfPosition);
            break;
        case 2:
            classifyRows<2>(crossings, fused, firstRowOfCrossing, crossingOfPosition);
            break;
        default:
            classifyRows<0>(crossings, fused, firstRowOfCrossing, crossingOfPosition);
            break;
    }
}

// The crossings that occur, in the order of their first rows.
std::vector<std::uint32_t> crossingsInRowOrder(const std::vector<std::int32_t>& firstRowOfCrossing) {
    std::vector<std::uint32_t> crossings;
    for (std::size_t crossing = 0; crossing < firstRowOfCrossing.size(); ++crossing) {
        if (firstRowOfCrossing[crossing] >= 0) {
            crossings.push_back(static_cast<std::uint32_t>(crossing));
        }
    }
    std::sort(crossings.begin(), crossings.end(), [&](std::uint32_t left, std::uint32_t right) {
        return firstRowOfCrossing[left] < firstRowOfCrossing[right];
    });
    return crossings;
}

template <typename Element>
std::vector<Element> sliceOf(const std::vector<Element>& all, std::size_t first, std::size_t count) {
    return std::vector<Element>(all.begin() + static_cast<std::ptrdiff_t>(first),
                                all.begin() + static_cast<std::ptrdiff_t>(first + count));
}

}  // namespace

HierarchyTreeBuilder::Result HierarchyTreeBuilder::build(const Request& request) {
    Result result;
    const RowSource rows(request.rows, usableRowCount(request));
    const std::size_t levelCount = request.levelColumns.size();

    std::vector<std::unique_ptr<LevelMembers>> levels;
    std::vector<const LevelMembers*> members;
    std::vector<const Column*> columns;
    std::vector<const Column*> sortOnRawColumns;
    for (std::size_t level = 0; level < levelCount; ++level) {
        levels.push_back(std::make_unique<LevelMembers>(*request.levelColumns[level], rows));
        members.push_back(levels.back().get());
        columns.push_back(request.levelColumns[level].get());
        sortOnRawColumns.push_back(level < request.sortOnRawColumns.size() ? request.sortOnRawColumns[level].get()
                                                                           : nullptr);
    }
    const RowCrossings crossings(levels, rows);
    const std::size_t crossingCount = crossings.crossingCount();

    FusedMeasures fused = chooseFusedMeasures(request);
    std::vector<MeasureSummaries> summaries(request.measures.size());
    for (const std::size_t index : fused.measures) {
        summaries[index].valueColumn = request.measures[index].column;
        summaries[index].leaves.resize(crossingCount);
        fused.summaries.push_back(summaries[index].leaves.data());
    }
    // The other measures, COUNT_DISTINCT and the leaves' rows read the crossing of each row.
    bool needsCrossingOfPosition = request.keepRowIndices;
    for (std::size_t index = 0; index < request.measures.size(); ++index) {
        needsCrossingOfPosition = needsCrossingOfPosition || !isFused(fused, index) ||
                                  request.measures[index].statistic == StatisticType::COUNT_DISTINCT;
    }
    std::vector<std::uint32_t> crossingOfPosition(needsCrossingOfPosition ? rows.size() : 0);
    std::vector<std::int32_t> firstRowOfCrossing(crossingCount, -1);
    classifyRows(crossings, fused, firstRowOfCrossing.data(),
                 needsCrossingOfPosition ? crossingOfPosition.data() : nullptr);

    // Nodes are made per crossing that occurs, never per row.
    const std::vector<std::uint32_t> inRowOrder = crossingsInRowOrder(firstRowOfCrossing);
    std::vector<std::uint32_t> leafOfCrossing(crossingCount, NO_CODE);
    const std::vector<LevelNodes> levelNodes =
        classifyCrossings(inRowOrder, firstRowOfCrossing, levels, 0, levelCount, &leafOfCrossing);
    result.root = DataTreeNode::createRoot();
    const std::vector<std::shared_ptr<DataTreeNode>> leaves =
        makeNodes(result.root, levelNodes, columns, members, sortOnRawColumns);

    // Display trees: a range from the first level is the top of the tree; one further down
    // classifies the same crossings by its own levels.
    for (const auto& [firstLevel, count] : request.displayRanges) {
        auto displayRoot = DataTreeNode::createRoot();
        if (count > 0 && firstLevel + count <= levelCount) {
            const std::vector<LevelNodes> displayNodes =
                firstLevel == 0 ? sliceOf(levelNodes, 0, count)
                                : classifyCrossings(inRowOrder, firstRowOfCrossing, levels, firstLevel, count, nullptr);
            makeNodes(displayRoot, displayNodes, sliceOf(columns, firstLevel, count),
                      sliceOf(members, firstLevel, count), sliceOf(sortOnRawColumns, firstLevel, count));
        }
        result.displayTrees.push_back(std::move(displayRoot));
    }

    // Without rows a tree with levels has no leaf to give aggregators to.
    if (levelCount > 0 && rows.size() == 0) {
        return result;
    }
    // A tree without levels is its root, the one crossing.
    std::vector<std::uint32_t> crossingOfLeaf = levelCount == 0 ? std::vector<std::uint32_t>{0} : inRowOrder;
    if (levelCount == 0) {
        leafOfCrossing[0] = 0;
    }

    // Aggregate the other measures into flat per-crossing summaries, then hand them to the leaves.
    const double* frequency = numbersOf(request.frequencyColumn);
    const double* frequencyWithMissing = numbersOf(request.frequencyWithMissingColumn);
    for (std::size_t index = 0; index < request.measures.size(); ++index) {
        const auto& measure = request.measures[index];
        if (!isFused(fused, index)) {
            summaries[index] = MeasureSummaries::summarize(measure, rows, crossingOfPosition, crossingCount, frequency,
                                                           frequencyWithMissing, result.hadFatalDataError);
        } else if (measure.statistic == StatisticType::COUNT_DISTINCT) {
            summaries[index].collectDistinctNumbers(rows, crossingOfPosition, measure.column->getNumbers()->data(),
                                                    crossingCount);
        }
    }
    for (std::size_t leaf = 0; leaf < leaves.size(); ++leaf) {
        auto aggregators = std::make_shared<Aggregator::AggregatorList>();
        aggregators->reserve(request.measures.size());
        for (std::size_t measure = 0; measure < request.measures.size(); ++measure) {
            aggregators->push_back(summaries[measure].makeAggregator(
                crossingOfLeaf[leaf], request.measures[measure].statistic == StatisticType::COUNT_DISTINCT));
        }
        leaves[leaf]->setMeasureAggregators(std::move(aggregators));
    }
    if (request.keepRowIndices) {
        auto recorded =
            std::make_shared<RecordedLeafRows>(rows, std::move(crossingOfPosition), std::move(leafOfCrossing), leaves);
        for (const auto& leaf : leaves) {
            leaf->setPendingRowIndices(recorded);
        }
    }
    return result;
}

std::vector<std::int32_t> HierarchyTreeBuilder::selectRowsWithFormattedValue(const Column& column,
                                                                             std::string_view formattedValue,
                                                                             const std::vector<std::int32_t>* rows,
                                                                             std::int32_t numberOfRows) {
    const RowSource source(rows, std::min(numberOfRows, column.getNumberOfRows()));
    const LevelMembers members(column, source);
    std::vector<std::int32_t> selected;
    const auto& texts = members.texts();
    const auto found =
        std::find_if(texts.begin(), texts.end(), [&](const SharedString& text) { return *text == formattedValue; });
    if (found == texts.end()) {
        return selected;
    }
    const auto code = static_cast<std::uint32_t>(found - texts.begin());
    for (std::size_t position = 0; position < source.size(); ++position) {
        if (members.memberOfRow(source[position]) == code) {
            selected.push_back(source[position]);
        }
    }
    return selected;
}

}  // namespace pellium
