#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/hierarchy/HierarchyTreeBuilder.h"
#include "pellium/models/data/hierarchy/build/RowSource.h"

namespace pellium {

class Column;

/// The running values of one measure in one crossing, before they become an Aggregator. The sum
/// starts at 0 rather than NaN so that adding needs no test; a crossing that got no number (its
/// extremes are still apart the wrong way) has its sum made NaN on hand-over.
struct LeafSummary {
    Aggregator::RunningValues values{.sum = 0.0};
    std::int32_t firstRow = -1;

    bool hasNumber() const { return values.min <= values.max; }

    /// Adds the number of a row that weighs one value, with one test for the common case of a
    /// finite number (not a sentinel: both sentinels lie at the ends of the finite range).
    [[gnu::always_inline]] void addUnweightedNumber(std::int32_t row, double value) {
        if (!(std::fabs(value) < DataTokens::SUPPRESSED_NUMERIC)) [[unlikely]] {
            addUnweightedSpecialValue(row, value);
            return;
        }
        if (firstRow < 0) [[unlikely]] {
            firstRow = row;
        }
        values.count += 1;
        values.sum += value;
        values.min = std::min(values.min, value);
        values.max = std::max(values.max, value);
    }

    /// A missing number, a sentinel or an infinity, of a row that weighs one value.
    void addUnweightedSpecialValue(std::int32_t row, double value);
};

/// The distinct numbers of a measure per crossing, for COUNT_DISTINCT: either bits per crossing over
/// the measure's sorted distinct numbers (a row of `words` words per crossing), or a list per
/// crossing.
struct DistinctNumbers {
    std::shared_ptr<const std::vector<double>> sorted;
    bool asBits = false;
    std::size_t words = 0;
    std::vector<std::uint64_t> bits;
    std::vector<std::vector<double>> lists;
};

/// The flat per-crossing summaries of one measure, made in passes over the rows and handed to the
/// leaves' aggregators once the leaves exist.
struct MeasureSummaries {
    std::vector<LeafSummary> leaves;
    DistinctNumbers distinctNumbers;
    std::vector<std::vector<SharedString>> distinctStrings;
    bool isString = false;
    // The column and row that give a leaf's first value.
    std::shared_ptr<Column> valueColumn;

    /// The summaries of `measure` over the rows, each row weighted by the frequency columns when
    /// `frequency` is given (otherwise one value per row). A partially aggregated measure reads
    /// its own sub-columns; a NaN frequency there sets `hadFatalDataError`, logged once.
    static MeasureSummaries summarize(const HierarchyTreeBuilder::Measure& measure, const RowSource& rows,
                                      const std::vector<std::uint32_t>& crossingOfPosition, std::size_t crossingCount,
                                      const double* frequency, const double* frequencyWithMissing,
                                      bool& hadFatalDataError);

    /// The distinct numbers per crossing, for the COUNT_DISTINCT of a measure whose leaves were
    /// summed elsewhere.
    void collectDistinctNumbers(const RowSource& rows, const std::vector<std::uint32_t>& crossingOfPosition,
                                const double* numbers, std::size_t crossingCount);

    /// The aggregator of crossing `leaf`.
    std::shared_ptr<Aggregator> makeAggregator(std::size_t leaf, bool countDistinct) const;
};

}  // namespace pellium
