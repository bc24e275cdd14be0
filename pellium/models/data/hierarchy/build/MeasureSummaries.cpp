#include "pellium/models/data/hierarchy/build/MeasureSummaries.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <unordered_set>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/models/data/hierarchy/build/CodeMap.h"
#include "pellium/resources/logging/Logger.h"

namespace pellium {

namespace {

constexpr std::uint32_t NO_CODE = CodeMap::NO_CODE;

std::uint32_t toCount(double weight) {
    if (!(weight > 0)) {
        return 0;
    }
    return weight >= 4294967295.0 ? std::numeric_limits<std::uint32_t>::max()
                                  : static_cast<std::uint32_t>(std::llround(weight));
}

constexpr const char* FATAL_FREQUENCY_MESSAGE =
    "FATAL DATA ERROR: partially aggregated frequency columns can never contain NaN.";

// Every row weighs one value and no missing one.
struct UnitWeights {
    std::uint32_t count(std::int32_t) const { return 1; }
    std::uint32_t missing(std::int32_t) const { return 0; }
};

// Row weights from frequency columns; a NaN frequency of partially aggregated data is a data fault.
struct ColumnWeights {
    const double* frequency = nullptr;
    const double* frequencyWithMissing = nullptr;
    bool nanIsFatal = false;
    bool* hadFatalDataError = nullptr;

    std::uint32_t count(std::int32_t row) const {
        if (!frequency) {
            return 1;
        }
        const double weight = frequency[row];
        if (nanIsFatal && std::isnan(weight)) [[unlikely]] {
            reportFatal();
        }
        return toCount(weight);
    }
    std::uint32_t missing(std::int32_t row) const {
        if (!frequency || !frequencyWithMissing) {
            return 0;
        }
        const double difference = frequencyWithMissing[row] - frequency[row];
        return std::isnan(difference) ? 0 : toCount(difference);
    }
    void reportFatal() const {
        if (!*hadFatalDataError) {
            Logger::error(FATAL_FREQUENCY_MESSAGE);
        }
        *hadFatalDataError = true;
    }
};

struct ArrayValues {
    const double* numbers;
    double operator()(std::int32_t row) const { return numbers[row]; }
};

struct MissingValues {
    double operator()(std::int32_t) const { return DataTokens::MISSING_NUMERIC; }
};

// The numeric aggregation of Aggregator::aggregate(double, count, missing), for one row into its
// leaf's flat summary.
template <typename Weights>
[[gnu::always_inline]] inline void addNumber(LeafSummary& leaf, std::int32_t row, double value,
                                             const Weights& weights) {
    if (value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) [[unlikely]] {
        return;
    }
    if (leaf.firstRow < 0) [[unlikely]] {
        leaf.firstRow = row;
    }
    Aggregator::RunningValues& running = leaf.values;
    if (std::isnan(value)) [[unlikely]] {
        const std::uint32_t missing = weights.missing(row);
        running.missingCount += missing == 0 ? 1.0 : static_cast<double>(missing);
        running.missingSeen = true;
        return;
    }
    running.count += weights.count(row);
    running.missingCount += weights.missing(row);
    running.sum += value;
    running.min = std::min(running.min, value);
    running.max = std::max(running.max, value);
}

template <typename Values, typename Weights>
void aggregateNumbers(const RowSource& rows, const std::vector<std::uint32_t>& crossingOfPosition, Values values,
                      Weights weights, std::vector<LeafSummary>& leaves) {
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        addNumber(leaves[crossingOfPosition[position]], row, values(row), weights);
    }
}

// The rank of each row's number among the distinct numbers (NO_CODE for what is not counted), and
// the distinct numbers in ascending order.
template <typename Values>
std::vector<std::uint32_t> rankNumbers(const RowSource& rows, Values values, std::vector<double>& sorted) {
    std::vector<std::uint32_t> codeOfPosition(rows.size(), NO_CODE);
    CodeMap codeOfNumber;
    for (std::size_t position = 0; position < rows.size(); ++position) {
        double value = values(rows[position]);
        if (std::isnan(value) || value == DataTokens::SPARSE_NUMERIC || value == DataTokens::SUPPRESSED_NUMERIC) {
            continue;
        }
        value = value == 0 ? 0.0 : value;  // -0 and 0 are one value
        std::uint32_t& code = codeOfNumber.find(std::bit_cast<std::uint64_t>(value));
        if (code == NO_CODE) {
            code = static_cast<std::uint32_t>(sorted.size());
            sorted.push_back(value);
        }
        codeOfPosition[position] = code;
    }
    std::vector<std::uint32_t> order(sorted.size());
    for (std::size_t code = 0; code < order.size(); ++code) {
        order[code] = static_cast<std::uint32_t>(code);
    }
    std::sort(order.begin(), order.end(),
              [&](std::uint32_t left, std::uint32_t right) { return sorted[left] < sorted[right]; });
    std::vector<std::uint32_t> rankOfCode(order.size());
    std::vector<double> ranked(order.size());
    for (std::size_t rank = 0; rank < order.size(); ++rank) {
        rankOfCode[order[rank]] = static_cast<std::uint32_t>(rank);
        ranked[rank] = sorted[order[rank]];
    }
    sorted = std::move(ranked);
    for (std::uint32_t& code : codeOfPosition) {
        code = code == NO_CODE ? NO_CODE : rankOfCode[code];
    }
    return codeOfPosition;
}

// The distinct numbers of each crossing. The (crossing, rank) pairs are ticked off in a bitmap while
// it stays small; the bitmap is handed over as is when it takes no more memory than the rows' ranks
// did, and turned into sorted lists otherwise. Past that, pairs are found through a hash map.
template <typename Values>
DistinctNumbers distinctNumbersOf(const RowSource& rows, const std::vector<std::uint32_t>& crossingOfPosition,
                                  Values values, std::size_t crossingCount) {
    DistinctNumbers distinct;
    auto sorted = std::make_shared<std::vector<double>>();
    const std::vector<std::uint32_t> rankOfPosition = rankNumbers(rows, values, *sorted);
    distinct.sorted = sorted;
    const std::size_t words = (sorted->size() + 63) / 64;
    const std::uint64_t bitmapWords = std::uint64_t{words} * crossingCount;
    if (bitmapWords > (std::uint64_t{1} << 24)) {
        distinct.lists.resize(crossingCount);
        CodeMap seenPairs;
        for (std::size_t position = 0; position < rows.size(); ++position) {
            const std::uint32_t rank = rankOfPosition[position];
            if (rank == NO_CODE) {
                continue;
            }
            const std::uint32_t crossing = crossingOfPosition[position];
            std::uint32_t& seen = seenPairs.find((std::uint64_t{crossing} << 32) | rank);
            if (seen == NO_CODE) {
                seen = 1;
                distinct.lists[crossing].push_back((*sorted)[rank]);
            }
        }
        return distinct;
    }
    std::vector<std::uint64_t> bits(static_cast<std::size_t>(bitmapWords), 0);
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::uint32_t rank = rankOfPosition[position];
        if (rank != NO_CODE) {
            const std::size_t bit = crossingOfPosition[position] * words * 64 + rank;
            bits[bit / 64] |= std::uint64_t{1} << (bit % 64);
        }
    }
    if (bitmapWords <= rows.size()) {
        distinct.asBits = true;
        distinct.words = words;
        distinct.bits = std::move(bits);
        return distinct;
    }
    distinct.lists.resize(crossingCount);
    for (std::size_t crossing = 0; crossing < crossingCount; ++crossing) {
        const std::vector<std::uint64_t> row(bits.begin() + static_cast<std::ptrdiff_t>(crossing * words),
                                             bits.begin() + static_cast<std::ptrdiff_t>((crossing + 1) * words));
        for (std::size_t word = 0; word < words; ++word) {
            for (std::uint64_t rest = row[word]; rest != 0; rest &= rest - 1) {
                distinct.lists[crossing].push_back(
                    (*sorted)[word * 64 + static_cast<std::size_t>(std::countr_zero(rest))]);
            }
        }
    }
    return distinct;
}

// Gives an aggregator the distinct numbers of its crossing.
void addDistinctNumbers(Aggregator& aggregator, const DistinctNumbers& distinct, std::size_t crossing) {
    if (distinct.asBits) {
        const auto first = distinct.bits.begin() + static_cast<std::ptrdiff_t>(crossing * distinct.words);
        const auto last = first + static_cast<std::ptrdiff_t>(distinct.words);
        if (std::any_of(first, last, [](std::uint64_t word) { return word != 0; })) {
            aggregator.addDistinctNumberBits(distinct.sorted, std::vector<std::uint64_t>(first, last));
        } else {
            aggregator.addDistinctNumbers({});  // the set exists, empty, as for any counted crossing
        }
    } else if (crossing < distinct.lists.size()) {
        aggregator.addDistinctNumbers(distinct.lists[crossing]);
    }
}

// Counts a leaf's text row in its summary.
template <typename Weights>
void countTextRow(LeafSummary& leaf, std::int32_t row, Weights weights) {
    if (leaf.firstRow < 0) {
        leaf.firstRow = row;
    }
    leaf.values.count += weights.count(row);
    leaf.values.missingCount += weights.missing(row);
}

// The texts of a column that holds indices into its resolved table, read by index. Each index, the
// token codes included, names one slot: its text when the row counts (a non-empty text; sparse
// cells never count), null otherwise. A bit per (crossing, slot) marks the texts a crossing has
// seen, so that no row copies or hashes its text. False, having done nothing, for a column with
// explicit texts, or when that bitmap would outgrow the rows.
template <typename Weights>
bool summarizeIndexedStrings(const Column& column, bool countDistinct, const RowSource& rows,
                             const std::vector<std::uint32_t>& crossingOfPosition, Weights weights,
                             MeasureSummaries& summaries) {
    const auto& indices = column.getStringIndices();
    const auto& table = column.getResolvedStringTable();
    if (column.hasExplicitStrings() || !indices || !table ||
        indices->size() < static_cast<std::size_t>(column.getNumberOfRows())) {
        return false;
    }
    constexpr std::int32_t LOWEST_TOKEN = DataTokens::TOKEN_MATCHES_ALL;
    const std::size_t textCount = table->size();
    const std::size_t slotCount = textCount - LOWEST_TOKEN;  // the table's texts, then the codes -1, -2...
    const std::uint64_t seenBits = countDistinct ? std::uint64_t{slotCount} * summaries.leaves.size() : 0;
    // No more words than rows: clearing the bitmap costs no more than the pass over the rows.
    if (seenBits > std::max<std::uint64_t>(64 * std::uint64_t{rows.size()}, 1 << 16)) {
        return false;
    }
    std::vector<const SharedString*> textOfSlot(slotCount, nullptr);
    const auto countedText = [](const SharedString& text) { return text && !text->empty() ? &text : nullptr; };
    for (std::size_t index = 0; index < textCount; ++index) {
        textOfSlot[index] = countedText((*table)[index]);
    }
    for (std::int32_t code = -1; code >= LOWEST_TOKEN; --code) {
        if (code != DataTokens::TOKEN_SPARSE) {
            textOfSlot[textCount + static_cast<std::size_t>(-code - 1)] =
                countedText(DataTokens::getStringConstant(code));
        }
    }
    const auto slotOf = [textCount](std::int32_t index) {
        if (index >= 0) {
            return static_cast<std::size_t>(index) < textCount ? static_cast<std::size_t>(index) : SIZE_MAX;
        }
        return index >= LOWEST_TOKEN ? textCount + static_cast<std::size_t>(-index - 1) : SIZE_MAX;
    };
    std::vector<std::uint64_t> seen(static_cast<std::size_t>((seenBits + 63) / 64), 0);
    if (countDistinct) {
        summaries.distinctStrings.resize(summaries.leaves.size());
    }
    const std::int32_t* indexOfRow = indices->data();
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const std::size_t slot = slotOf(indexOfRow[row]);
        if (slot == SIZE_MAX || !textOfSlot[slot]) {
            continue;
        }
        const std::uint32_t leafNumber = crossingOfPosition[position];
        countTextRow(summaries.leaves[leafNumber], row, weights);
        if (countDistinct) {
            const std::size_t bit = leafNumber * slotCount + slot;
            const std::uint64_t mask = std::uint64_t{1} << (bit % 64);
            if ((seen[bit / 64] & mask) == 0) {
                seen[bit / 64] |= mask;
                summaries.distinctStrings[leafNumber].push_back(*textOfSlot[slot]);
            }
        }
    }
    return true;
}

template <typename Weights>
void summarizeStringMeasure(const Column& column, bool countDistinct, const RowSource& rows,
                            const std::vector<std::uint32_t>& crossingOfPosition, Weights weights,
                            MeasureSummaries& summaries) {
    if (summarizeIndexedStrings(column, countDistinct, rows, crossingOfPosition, weights, summaries)) {
        return;
    }
    std::vector<std::unordered_set<const std::string*>> seen(countDistinct ? summaries.leaves.size() : 0);
    if (countDistinct) {
        summaries.distinctStrings.resize(summaries.leaves.size());
    }
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const SharedString text = column.getStringAtIndex(row);
        if (column.getStringIndexAtIndex(row) == DataTokens::TOKEN_SPARSE || !text || text->empty()) {
            continue;
        }
        const std::uint32_t leafNumber = crossingOfPosition[position];
        countTextRow(summaries.leaves[leafNumber], row, weights);
        if (countDistinct && seen[leafNumber].insert(text.get()).second) {
            summaries.distinctStrings[leafNumber].push_back(text);
        }
    }
}

template <typename Weights>
MeasureSummaries summarizeMeasure(const HierarchyTreeBuilder::Measure& measure, const RowSource& rows,
                                  const std::vector<std::uint32_t>& crossingOfPosition, std::size_t crossingCount,
                                  Weights weights) {
    MeasureSummaries summaries;
    summaries.leaves.resize(crossingCount);
    const bool countDistinct = measure.statistic == StatisticType::COUNT_DISTINCT;
    if (!measure.column) {
        return summaries;  // a measure the data set lacks keeps fresh aggregators
    }
    const Column& column = *measure.column;
    if (column.getDataType() == DataType::STRING) {
        summaries.isString = true;
        summaries.valueColumn = measure.column;
        summarizeStringMeasure(column, countDistinct, rows, crossingOfPosition, weights, summaries);
        return summaries;
    }
    summaries.valueColumn = measure.column;
    if (const auto& numbers = column.getNumbers()) {
        const ArrayValues values{numbers->data()};
        aggregateNumbers(rows, crossingOfPosition, values, weights, summaries.leaves);
        if (countDistinct) {
            summaries.distinctNumbers = distinctNumbersOf(rows, crossingOfPosition, values, crossingCount);
        }
    } else {
        aggregateNumbers(rows, crossingOfPosition, MissingValues{}, weights, summaries.leaves);
    }
    return summaries;
}

// A partially aggregated measure reads the sub-column of its statistic (MEAN the SUM sub-column,
// PERCENT the FREQUENCY_WITH_MISSING one), weighted by the FREQUENCY and FREQUENCY_WITH_MISSING
// sub-columns.
MeasureSummaries summarizePartiallyAggregatedMeasure(const HierarchyTreeBuilder::Measure& measure,
                                                     const PartiallyAggregatedColumn& column, const RowSource& rows,
                                                     const std::vector<std::uint32_t>& crossingOfPosition,
                                                     std::size_t crossingCount, bool& hadFatalDataError) {
    StatisticType::type valueStatistic = measure.statistic;
    if (valueStatistic == StatisticType::MEAN) {
        valueStatistic = StatisticType::SUM;
    } else if (valueStatistic == StatisticType::PERCENT) {
        valueStatistic = StatisticType::FREQUENCY_WITH_MISSING;
    }
    const auto frequency = column.getColumnForAggregation(StatisticType::FREQUENCY);
    const auto frequencyWithMissing = column.getColumnForAggregation(StatisticType::FREQUENCY_WITH_MISSING);
    const auto valueColumn = column.getColumnForAggregation(valueStatistic);
    ColumnWeights weights;
    weights.frequency = frequency && frequency->getNumbers() ? frequency->getNumbers()->data() : nullptr;
    weights.frequencyWithMissing = frequencyWithMissing && frequencyWithMissing->getNumbers()
                                       ? frequencyWithMissing->getNumbers()->data()
                                       : nullptr;
    weights.nanIsFatal = true;
    weights.hadFatalDataError = &hadFatalDataError;
    if (!valueColumn || !valueColumn->getNumbers()) {
        MeasureSummaries summaries;
        summaries.leaves.resize(crossingCount);
        aggregateNumbers(rows, crossingOfPosition, MissingValues{}, UnitWeights{}, summaries.leaves);
        return summaries;
    }
    HierarchyTreeBuilder::Measure plain{valueColumn, measure.statistic};
    return summarizeMeasure(plain, rows, crossingOfPosition, crossingCount, weights);
}

}  // namespace

void LeafSummary::addUnweightedSpecialValue(std::int32_t row, double value) {
    addNumber(*this, row, value, UnitWeights{});
}

MeasureSummaries MeasureSummaries::summarize(const HierarchyTreeBuilder::Measure& measure, const RowSource& rows,
                                             const std::vector<std::uint32_t>& crossingOfPosition,
                                             std::size_t crossingCount, const double* frequency,
                                             const double* frequencyWithMissing, bool& hadFatalDataError) {
    if (const auto* partial = dynamic_cast<const PartiallyAggregatedColumn*>(measure.column.get())) {
        return summarizePartiallyAggregatedMeasure(measure, *partial, rows, crossingOfPosition, crossingCount,
                                                   hadFatalDataError);
    }
    if (!frequency) {
        return summarizeMeasure(measure, rows, crossingOfPosition, crossingCount, UnitWeights{});
    }
    ColumnWeights weights;
    weights.frequency = frequency;
    weights.frequencyWithMissing = frequencyWithMissing;
    weights.hadFatalDataError = &hadFatalDataError;
    return summarizeMeasure(measure, rows, crossingOfPosition, crossingCount, weights);
}

void MeasureSummaries::collectDistinctNumbers(const RowSource& rows,
                                              const std::vector<std::uint32_t>& crossingOfPosition,
                                              const double* numbers, std::size_t crossingCount) {
    distinctNumbers = distinctNumbersOf(rows, crossingOfPosition, ArrayValues{numbers}, crossingCount);
}

std::shared_ptr<Aggregator> MeasureSummaries::makeAggregator(std::size_t leaf, bool countDistinct) const {
    auto aggregator = Aggregator::create(countDistinct);
    const LeafSummary& summary = leaves[leaf];
    Aggregator::RunningValues values = summary.values;
    if (!summary.hasNumber()) {
        values.sum = DataTokens::MISSING_NUMERIC;
    }
    if (!countDistinct) {
        // Only COUNT_DISTINCT asks whether a missing number was seen.
        values.missingSeen = false;
    }
    aggregator->setRunningValues(values);
    if (summary.firstRow >= 0) {
        if (isString) {
            const Column& column = *valueColumn;
            aggregator->setFirst(DataValue::create(column.getStringAtIndex(summary.firstRow),
                                                   column.getStringIndexAtIndex(summary.firstRow)));
        } else {
            const auto& numbers = valueColumn ? valueColumn->getNumbers() : nullptr;
            aggregator->setFirst(DataValue::create(numbers ? (*numbers)[static_cast<std::size_t>(summary.firstRow)]
                                                           : DataTokens::MISSING_NUMERIC));
            aggregator->createDistinctNumberSet();
        }
    }
    addDistinctNumbers(*aggregator, distinctNumbers, leaf);
    if (leaf < distinctStrings.size()) {
        for (const SharedString& text : distinctStrings[leaf]) {
            aggregator->addDistinctString(text);
        }
    }
    return aggregator;
}

}  // namespace pellium
