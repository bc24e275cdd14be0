#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataUsage.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/RowIndexSet.h"
#include "pellium/models/data/dataset/Variable.h"

namespace pellium {

class FormattedValueCache;
class SerialReader;
class SerialWriter;

/// One column of a data set: the values of its rows plus what describes them (Variable), its role
/// (DataUsage) and a cached summary (extremes, total, longest text, which special states occur).
///
/// A numeric column keeps one double per row; special states are the sentinels of DataTokens. A
/// string column keeps one index per row into its data set's string table (or a token code of
/// DataTokens). Its texts come either from that table, once resolveStringIndices() gave it, or
/// from per-row texts set explicitly (setStrings, setStringAtIndex); explicit texts win.
///
/// Rows are addressed by a signed 32-bit number; a row outside the column's vector throws
/// std::out_of_range, as does any row of a vector the column does not have (the numbers of a
/// string column without numbers, for example). Other look-ups answer null, NaN or false.
///
/// Threads: build a column on one thread, then read it from any number of threads. The lazily
/// made state (the per-row formatted texts, the summary, the unique formatted values) is made
/// safely while several threads read. Changing a column while another thread reads it is not
/// allowed. Changes of the data raise VALUES_CHANGED (unless the setter is told not to notify),
/// which the owning data set hears.
class PELLIUM_EXPORT Column : public Variable {
protected:
    struct Token {};

public:
    using NumberVector = std::vector<double>;
    using IndexVector = std::vector<std::int32_t>;
    using StringVector = std::vector<SharedString>;

    /// Raised after the data of the column changed.
    static constexpr int VALUES_CHANGED = 10022;

    /// An empty numeric column without a name.
    static std::shared_ptr<Column> create();
    /// An empty column. The label defaults to the name; the usage is QUANTITATIVE for a numeric
    /// column and CATEGORICAL otherwise; the aggregation is SUM.
    static std::shared_ptr<Column> create(SharedString name, DataType::type dataType, SharedString label = nullptr,
                                          SharedString formatName = nullptr);
    /// A copy of the first `numberOfRows` rows of `column` (all rows when it has fewer; none for a
    /// negative count), of the same class; null for a null column.
    static std::shared_ptr<Column> create(const std::shared_ptr<const Column>& column, std::int32_t numberOfRows);

    Column(Token, DataType::type dataType, SharedString name, SharedString label, SharedString formatName);
    ~Column() override;

    /// WrapperTypeIds::COLUMN (41).
    int getWrapperTypeId() const override;

    /// A deep copy of the same class (the per-row vectors are copied; the texts are shared).
    std::shared_ptr<Column> clone() const;
    /// A copy holding only `rows`, in ascending order; rows beyond the column are left out.
    std::shared_ptr<Column> createSubset(const RowIndexSet& rows) const;

    // --- Data ------------------------------------------------------------------------------------

    /// The row count follows the vector of the column's type (numbers, else indices, else texts).
    void setNumbers(std::shared_ptr<NumberVector> numbers);
    const std::shared_ptr<NumberVector>& getNumbers() const { return numbers_; }
    void setStringIndices(std::shared_ptr<IndexVector> indices);
    const std::shared_ptr<IndexVector>& getStringIndices() const { return stringIndices_; }
    /// Sets explicit per-row texts, which then take precedence over the string table.
    void setStrings(std::shared_ptr<StringVector> strings);
    /// The per-row texts: the explicit ones when set, else a new vector resolved through the
    /// string table (keep it rather than asking per row); null when the column has neither.
    std::shared_ptr<StringVector> getStrings() const;

    /// Makes the column read its texts from `stringTable` through its indices (token codes give
    /// the internal texts of DataTokens; an index the table lacks gives null). Explicit texts are
    /// dropped. The table is shared, not copied.
    void resolveStringIndices(std::shared_ptr<const StringVector> stringTable);
    const std::shared_ptr<const StringVector>& getResolvedStringTable() const { return stringTable_; }
    /// Whether the column holds explicit per-row texts (setStrings, setStringAtIndex), which win
    /// over the string table; without them every text is resolved from the row's index.
    bool hasExplicitStrings() const { return strings_ != nullptr; }
    /// For a data set that reordered its string table into `newTable`: rewrites every index of 0
    /// or more to `newPositions[index]` (indices the vector lacks stay) and reads texts from
    /// `newTable` from now on; explicit texts stay. Raises no event.
    void remapStringIndices(const std::vector<std::int32_t>& newPositions,
                            std::shared_ptr<const StringVector> newTable);

    void setNumberAtIndex(double number, std::int32_t row, bool notify = true);
    /// Sets the row's text (making the texts explicit first, when they came from the table). The
    /// row's index becomes UNRESOLVABLE_DATA_VALUE, since the column cannot know where its data
    /// set's table holds the text.
    void setStringAtIndex(SharedString text, std::int32_t row, bool notify = true);
    /// Sets the row's index; explicit texts follow it when the column knows its table or the
    /// index is a token code.
    void setStringIndexAtIndex(std::int32_t index, std::int32_t row);
    /// Sets the row from a value of the column's kind (the number, or the text with its index);
    /// false, changing nothing, for a value of the other kind.
    bool setDataValueAtIndex(const DataValue& value, std::int32_t row, bool notify = true);

    // The per-cell getters are inline, for loops over rows.

    double getNumberAtIndex(std::int32_t row) const {
        if (!numbers_) {
            throwHasNo("numbers");
        }
        return (*numbers_)[checkedRow(row, numbers_->size())];
    }
    /// The row's text; null for an index the table lacks or UNRESOLVABLE_DATA_VALUE.
    SharedString getStringAtIndex(std::int32_t row) const { return textAtIndex(row); }
    /// The row's index; UNRESOLVABLE_DATA_VALUE for a column with explicit texts and no indices.
    std::int32_t getStringIndexAtIndex(std::int32_t row) const {
        if (stringIndices_) {
            return (*stringIndices_)[checkedRow(row, stringIndices_->size())];
        }
        if (!strings_) {
            throwHasNo("texts");
        }
        checkedRow(row, strings_->size());
        return UNRESOLVED_INDEX;
    }

    /// A new value for the row: for a string column its text and index, else its number; its
    /// formatted text is getFormattedValueAtIndex(row, useFormattedValueCache).
    std::shared_ptr<DataValue> getDataValueAtIndex(std::int32_t row, bool useFormattedValueCache = true) const;
    /// getDataValueAtIndex of each row, in ascending order.
    std::shared_ptr<DataValue::ValueList> getDataValuesAtIndices(const RowIndexSet& rows) const;

    std::int32_t getNumberOfRows() const { return numberOfRows_; }
    /// Grows or shrinks the vector of the column's type to `numberOfRows` rows (0 for a negative
    /// count); new rows are missing.
    void setNumberOfRows(std::int32_t numberOfRows);
    /// Re-derives the row count from the vectors, after a caller resized one directly.
    std::int32_t updateNumberOfRows();
    /// Keeps the first `numberOfRows` rows of every vector (none for a negative count).
    virtual void truncate(std::int32_t numberOfRows);

    /// The missing rows (a NaN number, a null or blank text).
    std::shared_ptr<RowIndexSet> getMissingValueIndices() const;
    bool valueIsMissing(std::int32_t row) const;
    bool valueIsAllOther(std::int32_t row) const;
    bool valueIsMatchesAll(std::int32_t row) const;

    /// The first row whose value equals `value` (DataValue equality); -1 when none does.
    std::int32_t findMatchingValue(const DataValue& value) const;

    // --- Formatting ------------------------------------------------------------------------------

    /// The row's text: DataValue::formatNumericValue under the column's format for a number,
    /// DataValue::formatStringValue for a text. With `useCache`, a numeric column answers from
    /// its per-row cache, formatting on first use; without it the text is made afresh. A string
    /// column needs no cache: its texts are their own formatted values.
    SharedString getFormattedValueAtIndex(std::int32_t row, bool useCache = true) const;
    /// The formatted text of every row.
    std::shared_ptr<StringVector> getFormattedValues() const;
    /// One row per distinct formatted text (its first row), in the order the values sort:
    /// missing, suppressed, numbers ascending or texts in string-table order (texts outside the
    /// table bytewise after them), all-others last.
    std::shared_ptr<const std::vector<std::int32_t>> getUniqueFormattedValueIndices() const;
    /// The formatted texts of getUniqueFormattedValueIndices().
    std::shared_ptr<StringVector> getUniqueFormattedValues() const;
    /// The total under the column's format; null for a string column.
    SharedString getFormattedTotal() const;
    /// Drops the formatted texts, for example after the host changed the localization context.
    void clearFormattedValueCache();

    // --- Role ------------------------------------------------------------------------------------

    DataUsage::type getDataUsage() const { return dataUsage_; }
    void setDataUsage(DataUsage::type usage) { dataUsage_ = usage; }
    /// A numeric column that is not categorical.
    bool isContinuous() const;
    bool isCategorical() const { return !isContinuous(); }

    // --- Summary ---------------------------------------------------------------------------------
    // The getters bring the summary up to date first when the data changed. "Ordinary" numbers
    // are all but NaN and the four sentinels; without any, the extremes are NaN and the total 0.

    /// Recomputes the summary now.
    void updateMetaData();
    bool isMetaDataCurrent() const { return metaDataIsCurrent_.load(std::memory_order_acquire); }
    double getMinimumNumber() const;
    double getMaximumNumber() const;
    /// The smallest number above zero; NaN when none is.
    double getMinimumPositive() const;
    /// The largest number below zero; NaN when none is.
    double getMinimumNegative() const;
    /// The sum of the ordinary numbers, or the total given by setTotal until the data changes.
    double getTotal() const;
    void setTotal(double total);
    /// The longest text (in code points) of a string column that is neither missing nor special;
    /// null for a numeric column or when there is none.
    SharedString getMaximumString() const;
    bool containsMissing() const;
    bool containsAllOther() const;
    bool containsMatchesAll() const;

    /// A debugging text of the attributes and the row count.
    std::string getDescription() const;

    // --- Stream form -----------------------------------------------------------------------------
    // A column travels as "V", 1, "a" for null or "g", its class byte and its body: the attributes,
    // the numbers, the string indices, the usage, the row count and the summary. A partially
    // aggregated column appends its sub-columns, which are keyed by their own aggregation when
    // read back. Per-row texts do not travel: they come from the data set's string table, so
    // explicit texts (setStrings, setStringAtIndex) are not written. The summary travels as it
    // stands, with its flag; a total given by setTotal travels as the summary's total.

    static constexpr std::uint8_t COLUMN_CLASS_BYTE = 0xC0;
    static constexpr std::uint8_t PARTIALLY_AGGREGATED_COLUMN_CLASS_BYTE = 0xC1;
    /// How deep partially aggregated columns may nest in a stream; deeper streams are refused.
    static constexpr int MAXIMUM_STREAM_NESTING = 8;

    /// Writes the stream form; false when the stream fails or a vector is too long for it.
    static bool serialize(std::ostream& stream, const std::shared_ptr<const Column>& column);
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const Column>& column);
    /// Reads the stream form; the class byte decides the class made, and "a" gives null and
    /// true. A string column reads its texts from `stringTable` when one is given. False for a
    /// short or damaged stream, an unknown class byte, a row count that differs from the length
    /// of the column's vector, or nesting deeper than MAXIMUM_STREAM_NESTING; `column` is then null.
    static bool unserialize(std::istream& stream, std::shared_ptr<Column>& column);
    static bool unserialize(SerialReader& reader, std::shared_ptr<Column>& column,
                            std::shared_ptr<const StringVector> stringTable = nullptr);
    /// Writes this column's stream form.
    bool serialize(std::ostream& stream) const override;
    /// Replaces this column's attributes and data with a stream form of its own class; false for
    /// "a", another class byte, or a short or damaged stream (the column is then left as far as
    /// it was read). Raises VARIABLE_CHANGED for the attributes that change.
    bool unserialize(std::istream& stream) override;

protected:
    /// Which rows a copy keeps.
    class RowSelection {
    public:
        static RowSelection all();
        static RowSelection firstRows(std::size_t count);
        static RowSelection listed(const RowIndexSet& rows);

        bool isAll() const { return isAll_; }

        /// The selected elements of `source`; null for null.
        template <typename T>
        std::shared_ptr<std::vector<T>> apply(const std::shared_ptr<std::vector<T>>& source) const;

    private:
        std::size_t firstCount_ = 0;
        const RowIndexSet* rows_ = nullptr;
        bool isAll_ = false;
    };

    /// An empty column of the same class with the same attributes.
    virtual std::shared_ptr<Column> createEmptyCopy() const;
    /// A copy of the selected rows of the same class.
    virtual std::shared_ptr<Column> copyRows(const RowSelection& rows) const;

    void attributesChanged() override;

private:
    // Stream form.
    struct StreamFields;
    bool writeStreamForm(SerialWriter& writer) const;
    bool writeBody(SerialWriter& writer) const;
    static bool unserialize(SerialReader& reader, std::shared_ptr<Column>& column,
                            const std::shared_ptr<const StringVector>& stringTable, int depth);
    bool readStreamForm(SerialReader& reader, const std::shared_ptr<const StringVector>& stringTable, int depth);
    void applyStreamFields(StreamFields& fields, const std::shared_ptr<const StringVector>& stringTable);
    std::uint8_t getClassByte() const;

    // Copies its sub-columns through copyRows.
    friend class PartiallyAggregatedColumn;

    // What the summary holds before it is first computed, and for a column without ordinary values.
    struct Summary {
        double minimumPositive = std::numeric_limits<double>::quiet_NaN();
        double minimumNumber = std::numeric_limits<double>::quiet_NaN();
        double maximumNumber = std::numeric_limits<double>::quiet_NaN();
        double minimumNegative = std::numeric_limits<double>::quiet_NaN();
        double total = 0;
        SharedString maximumString;
        bool containsMissing = false;
        bool containsAllOther = false;
        bool containsMatchesAll = false;
    };

    // DataTokens::UNRESOLVABLE_DATA_VALUE, without including DataTokens here.
    static constexpr std::int32_t UNRESOLVED_INDEX = -1000;

    std::size_t checkedRow(std::int32_t row, std::size_t size) const {
        if (row < 0 || static_cast<std::size_t>(row) >= size) [[unlikely]] {
            throwRowOutOfRange(row, size);
        }
        return static_cast<std::size_t>(row);
    }
    [[noreturn]] void throwRowOutOfRange(std::int32_t row, std::size_t size) const;
    [[noreturn]] void throwHasNo(const char* what) const;

    const SharedString& textAtIndex(std::int32_t row) const {
        if (strings_) {
            return (*strings_)[checkedRow(row, strings_->size())];
        }
        if (!stringIndices_) {
            throwHasNo("texts");
        }
        return resolveIndex((*stringIndices_)[checkedRow(row, stringIndices_->size())]);
    }
    const SharedString& resolveIndex(std::int32_t index) const {
        if (index >= 0 && stringTable_ && static_cast<std::size_t>(index) < stringTable_->size()) {
            return (*stringTable_)[static_cast<std::size_t>(index)];
        }
        return resolveOtherIndex(index);
    }
    const SharedString& resolveOtherIndex(std::int32_t index) const;
    void makeStringsExplicit();
    void dataChanged(bool notify);
    const Summary& currentSummary() const;
    Summary computeSummary() const;
    void summarizeNumbers(Summary& summary) const;
    void summarizeStrings(Summary& summary) const;
    FormattedValueCache& formattedValueCache() const;
    std::shared_ptr<Formatter> resolveFormatter() const;

    std::shared_ptr<NumberVector> numbers_;
    std::shared_ptr<StringVector> strings_;
    std::shared_ptr<IndexVector> stringIndices_;
    std::shared_ptr<const StringVector> stringTable_;
    DataUsage::type dataUsage_;
    std::int32_t numberOfRows_ = 0;

    // Lazily made state; made under `lazyStateMutex_` or published atomically.
    mutable std::mutex lazyStateMutex_;
    mutable std::shared_ptr<const std::vector<std::int32_t>> uniqueFormattedValueIndices_;
    mutable std::atomic<FormattedValueCache*> formattedValueCache_{nullptr};
    mutable Summary summary_;
    mutable std::atomic<bool> metaDataIsCurrent_{false};
    std::optional<double> givenTotal_;
};

template <typename T>
std::shared_ptr<std::vector<T>> Column::RowSelection::apply(const std::shared_ptr<std::vector<T>>& source) const {
    if (!source) {
        return nullptr;
    }
    if (isAll_) {
        return std::make_shared<std::vector<T>>(*source);
    }
    if (!rows_) {
        const std::size_t count = std::min(firstCount_, source->size());
        return std::make_shared<std::vector<T>>(source->begin(), source->begin() + static_cast<std::ptrdiff_t>(count));
    }
    auto selected = std::make_shared<std::vector<T>>();
    selected->reserve(std::min(rows_->size(), source->size()));
    for (const std::uint32_t row : *rows_) {
        if (row >= source->size()) {
            break;
        }
        selected->push_back((*source)[row]);
    }
    return selected;
}

}  // namespace pellium
