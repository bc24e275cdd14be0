#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "pellium/models/data/hierarchy/StatisticType.h"

namespace pellium {

class Column;
class DataTreeNode;

/// Classifies the rows of a data set into a tree of members and aggregates the measures of each
/// leaf, for hierarchy data sets and the display trees of hierarchies. Internal to the hierarchy
/// code.
///
/// The build is columnar rather than a walk down the tree per row. Each level column is first
/// turned into a member code per key: a string cell's formatted text is its own text, so each
/// distinct string-table index is resolved to its member once; a numeric level formats each
/// distinct number once. One pass over the rows then adds up, per row, one table look-up per level
/// into a crossing number, and aggregates the plain measures into flat per-crossing summaries.
/// Nodes, display trees and aggregators are made only at the end, once per crossing that occurs,
/// in the order of the crossings' first rows (the order a walk over the rows would add the
/// children). COUNT_DISTINCT sets reach the leaves as bits over the measure's sorted numbers, so
/// that totals merge them word by word.
class HierarchyTreeBuilder {
public:
    struct Measure {
        std::shared_ptr<Column> column;
        StatisticType::type statistic = StatisticType::SUM;
    };

    struct Request {
        /// One column per tree level, outermost first. Null columns are not allowed.
        std::vector<std::shared_ptr<Column>> levelColumns;
        /// Per level, the column of raw values to sort on, or null.
        std::vector<std::shared_ptr<Column>> sortOnRawColumns;
        /// The measures; none for a classification tree. A measure without column keeps fresh
        /// aggregators.
        std::vector<Measure> measures;
        /// Row weights of data that was summarized before it arrived; null for one row each.
        std::shared_ptr<Column> frequencyColumn;
        std::shared_ptr<Column> frequencyWithMissingColumn;
        /// The rows to classify, in order; null for all rows.
        const std::vector<std::int32_t>* rows = nullptr;
        /// The rows the data set holds; rows at or beyond it (or beyond a column) are skipped.
        std::int32_t numberOfRows = 0;
        /// Give the leaves their source row indices.
        bool keepRowIndices = true;
        /// Per wanted display tree: the first level and the number of levels it classifies by
        /// (without measures or rows), made in the same pass.
        std::vector<std::pair<std::size_t, std::size_t>> displayRanges;
    };

    struct Result {
        std::shared_ptr<DataTreeNode> root;
        /// One per display range, in order.
        std::vector<std::shared_ptr<DataTreeNode>> displayTrees;
        /// A partially aggregated frequency column held NaN: those rows were counted as missing
        /// values with no weight.
        bool hadFatalDataError = false;
    };

    static Result build(const Request& request);

    /// The positions (in `rows`, or in all rows when null) whose cell of `column` formats to
    /// `formattedValue`.
    static std::vector<std::int32_t> selectRowsWithFormattedValue(const Column& column, std::string_view formattedValue,
                                                                  const std::vector<std::int32_t>* rows,
                                                                  std::int32_t numberOfRows);
};

}  // namespace pellium
