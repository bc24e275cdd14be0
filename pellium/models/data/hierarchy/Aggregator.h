#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/Wrappable.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class DataValue;
class SerialReader;
class SerialWriter;

/// The running summary of one measure inside one member of a hierarchy tree: fed values one by one
/// (or merged with another aggregator), it keeps a count, a missing count, the first value, the
/// sum, the extremes and, on request, the distinct values, and answers a number per statistic.
///
/// Only statistics that merge incrementally are computed (count, sum, mean, percent, first, min,
/// max, frequency with missing, count distinct). Every other statistic answers the running sum:
/// such statistics reach a hierarchy already computed, one value per summarized row, in the
/// sub-columns of a partially aggregated column, and summing is what a crossing of them does.
///
/// Deliberate rules: sparse and suppressed numbers are ignored entirely; a missing number counts
/// one missing value when its missing count is 0; a merge does not carry over whether a missing
/// number was seen, so a COUNT_DISTINCT of a merged aggregator counts the missing value only when
/// a missing number was aggregated directly into it. Not locked.
class PELLIUM_EXPORT Aggregator : public Wrappable {
    struct Token {};

public:
    using AggregatorList = std::vector<std::shared_ptr<Aggregator>>;

    /// The running quantities, for code that summarizes many rows in flat arrays and hands the
    /// result over in one step (the hierarchy tree builder), and for streams.
    struct RunningValues {
        double count = 0;
        double missingCount = 0;
        double sum = kNaN;
        double min = kLargest;
        double max = -kLargest;
        bool missingSeen = false;
    };

    /// A fresh aggregator; `countDistinct` makes it track distinct values (hierarchies ask for it
    /// exactly when the measure's statistic is COUNT_DISTINCT).
    static std::shared_ptr<Aggregator> create(bool countDistinct);
    /// A deep copy of `other`, distinct values included.
    static std::shared_ptr<Aggregator> create(const Aggregator& other);

    Aggregator(Token, bool countDistinct);
    ~Aggregator() override;

    /// WrapperTypeIds::AGGREGATOR.
    int getWrapperTypeId() const override;

    // --- Feeding ---------------------------------------------------------------------------------

    /// Aggregates one number: `count` non-missing values and `missingCount` missing ones stand
    /// behind it. Sparse and suppressed numbers change nothing; NaN adds `missingCount` (1 when
    /// that is 0) to the missing count; any other number adds to count, sum and extremes.
    void aggregate(double value, std::uint32_t count, std::uint32_t missingCount);
    /// Aggregates one text with its string-table index. Nothing happens for index -2 (sparse) or
    /// a null or empty text; otherwise the counts are added and the text is remembered as first
    /// value and as a distinct value. Sum and extremes are never touched by texts.
    void aggregate(const SharedString& text, std::int32_t index, std::uint32_t count, std::uint32_t missingCount);
    /// Merges `other` into this aggregator; nothing for null. The distinct values are unioned only
    /// when both track them; whether a missing number was seen is not merged.
    void aggregate(const std::shared_ptr<const Aggregator>& other);
    void aggregate(const Aggregator& other);

    /// Merges `source[i]` into `target[i]`. Nothing when either is null or both are empty. A
    /// shorter target is first extended with fresh aggregators (same distinct-value setting) for
    /// the non-null source elements; null elements on either side are skipped.
    static void aggregate(const std::shared_ptr<AggregatorList>& target,
                          const std::shared_ptr<const AggregatorList>& source);

    /// Fresh aggregators with the same distinct-value setting, one per non-null element; null for
    /// null.
    static std::shared_ptr<AggregatorList> createEmptyCopy(const std::shared_ptr<const AggregatorList>& aggregators);

    // --- Reading ---------------------------------------------------------------------------------

    /// The number for `statistic`: FREQUENCY the count; MEAN sum / count; PERCENT sum / `total`
    /// (both NaN while the count is 0); FIRST the first number (NaN without one or for a text);
    /// MIN and MAX the extremes (NaN while the count is 0); FREQUENCY_WITH_MISSING count plus
    /// missing count; COUNT_DISTINCT the distinct numbers (plus one when a missing number was seen)
    /// and texts. SUM, MEDIAN and every other statistic answer the running sum (NaN when nothing
    /// non-missing was aggregated).
    double getNumericValue(StatisticType::type statistic, double total = kNaN) const;

    bool tracksDistinctValues() const { return countDistinct_; }
    double getCount() const { return values_.count; }
    double getMissingCount() const { return values_.missingCount; }
    const std::shared_ptr<DataValue>& getFirst() const { return first_; }
    double getSum() const { return values_.sum; }
    double getMin() const { return values_.min; }
    double getMax() const { return values_.max; }
    bool hasSeenMissingNumber() const { return values_.missingSeen; }
    /// COUNT_DISTINCT as an integer.
    std::size_t getNumberOfUniqueValues() const;
    /// The first value's text (a number's shortest decimal text); null without a first value.
    SharedString getStringValue() const;
    /// A one-line text of the fields, separated by a comma and a blank.
    std::string getDescription() const;

    // --- Bulk hand-over --------------------------------------------------------------------------

    const RunningValues& getRunningValues() const { return values_; }
    void setRunningValues(const RunningValues& values) { values_ = values; }
    void setFirst(std::shared_ptr<DataValue> first) { first_ = std::move(first); }
    /// Makes the set of distinct numbers exist (empty), as the first number aggregated does; only
    /// then does a missing number seen count as a distinct value. Ignored unless distinct values
    /// are tracked.
    void createDistinctNumberSet() {
        if (countDistinct_) {
            ensureDistinctNumbers();
        }
    }
    /// Records a distinct number or text; ignored unless distinct values are tracked (and for NaN).
    void addDistinctNumber(double number);
    void addDistinctString(const SharedString& text);
    /// Records many distinct numbers at once.
    void addDistinctNumbers(std::vector<double> numbers);
    /// Records distinct numbers as bits over `sortedNumbers` (ascending, unique, neither NaN nor -0):
    /// bit i of `bits` stands for sortedNumbers[i]. Aggregators given bits over the same vector merge
    /// by a bitwise or, which keeps the totals of a large tree cheap. Ignored unless distinct values
    /// are tracked; an aggregator that already holds other numbers records them one by one.
    void addDistinctNumberBits(std::shared_ptr<const std::vector<double>> sortedNumbers,
                               std::vector<std::uint64_t> bits);

    // --- Stream form -----------------------------------------------------------------------------
    // Version mark, the distinct-value setting ("b" bool), count, missing count, sum, min, max
    // ("b" doubles), missing seen ("b" bool), the first value (data value static form), the
    // distinct numbers (shared double vector, null when none are tracked) and the distinct texts
    // (shared string vector). Readers answer false on the first block that fails.

    static bool serialize(SerialWriter& writer, const std::shared_ptr<const Aggregator>& aggregator);
    static bool unserialize(SerialReader& reader, std::shared_ptr<Aggregator>& aggregator);
    bool serialize(std::ostream& stream) const override;
    bool unserialize(std::istream& stream) override;

private:
    static constexpr double kNaN = __builtin_nan("");
    static constexpr double kLargest = 1.7976931348623157e308;

    // The distinct values are kept as sorted vectors: merging two is one linear pass, and the
    // values of a leaf arrive in bulk from the tree builder.
    using NumberSet = std::vector<double>;
    using TextSet = std::vector<SharedString>;

    // Distinct numbers handed over as bits (addDistinctNumberBits). They are kept only while the
    // sorted vector is empty; whatever else touches the numbers first turns the bits into it.
    struct NumberBits {
        std::shared_ptr<const std::vector<double>> numbers;
        std::vector<std::uint64_t> bits;
    };

    bool writeBody(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);
    void ensureDistinctNumbers();
    void ensureDistinctStrings();
    /// Merges bits over the same numbers; false when the sets are not both in that form.
    bool mergeNumberBits(const Aggregator& other);
    void decodeNumberBits();
    /// All distinct numbers, sorted, whichever form holds them.
    NumberSet allDistinctNumbers() const;

    bool countDistinct_;
    RunningValues values_;
    std::shared_ptr<DataValue> first_;
    std::unique_ptr<NumberSet> distinctNumbers_;
    std::unique_ptr<NumberBits> numberBits_;
    std::unique_ptr<TextSet> distinctStrings_;
};

}  // namespace pellium
