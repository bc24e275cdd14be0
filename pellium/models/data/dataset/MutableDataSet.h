#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/EventDispatcher.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/MutableColumn.h"
#include "pellium/models/data/dataset/ObservationDeque.h"
#include "pellium/models/data/dataset/RowIndexSet.h"
#include "pellium/models/data/dataset/RowStates.h"

namespace pellium {

class DataSet;

/// A data set that is built or edited cell by cell and row by row: data that a user types, or that
/// arrives one observation at a time. Its rows are observations (one value per column) kept in an
/// ObservationDeque; its columns are MutableColumns that read their rows from there; its row
/// states follow insertions and deletions.
///
/// Every value that enters is copied, so the data set never shares a value object with its
/// caller, and values handed out are copies too. A null value enters as the missing value of its
/// column's type; a value of the other kind is converted (a text read as a number, a number
/// written as its shortest text); with `trimTexts`, texts enter without leading and trailing
/// white space.
///
/// Changes raise MutableDataSetChangeEvents: CELLCHANGE (setDataValue), ROWCHANGE (appendRow,
/// insertRow, setRow), ROWDELETION (deleteRow) and COLUMNCHANGE (appendColumn, setColumn); the
/// row states' events reach the data set's listeners too. Operations given rows, columns or
/// values that do not fit answer false and change nothing. Not locked: edit on one thread.
class PELLIUM_EXPORT MutableDataSet : public EventDispatcher {
    struct Token {};

public:
    using ValueList = DataValue::ValueList;
    using ColumnList = std::vector<std::shared_ptr<MutableColumn>>;

    /// An empty data set; `trimTexts` trims every text that enters.
    static std::shared_ptr<MutableDataSet> create(bool trimTexts = false);
    /// A data set of `columns` with no rows; null entries and columns already in another data set
    /// are left out.
    static std::shared_ptr<MutableDataSet> create(const ColumnList& columns, bool trimTexts = false);
    /// An editable copy of `dataSet`: one mutable column per column (same type, name, label,
    /// format, usage and aggregation; a partially aggregated column counts as its own values),
    /// every cell copied, the selection and exclusion carried over. Null for null.
    static std::shared_ptr<MutableDataSet> create(const std::shared_ptr<DataSet>& dataSet);

    MutableDataSet(Token, bool trimTexts);
    ~MutableDataSet() override;

    /// WrapperTypeIds::MUTABLE_DATA_SET (47).
    int getWrapperTypeId() const override;

    /// A deep copy with new columns, copies of every value and the same states; no listeners.
    std::shared_ptr<MutableDataSet> clone() const;

    void setName(SharedString name) { name_ = std::move(name); }
    const SharedString& getName() const { return name_; }
    bool isTrimmingTexts() const { return trimTexts_; }

    // --- Shape -----------------------------------------------------------------------------------

    std::int32_t getNumberOfRows() const { return observations_.getNumberOfRows(); }
    std::int32_t getNumberOfColumns() const { return static_cast<std::int32_t>(columns_.size()); }
    /// Null when there is no such position.
    std::shared_ptr<MutableColumn> getColumnAtIndex(std::int32_t index) const;
    /// -1 when the column is not in this data set.
    std::int32_t getColumnIndex(const Column* column) const;
    std::int32_t getColumnIndex(const std::shared_ptr<const Column>& column) const {
        return getColumnIndex(column.get());
    }
    /// The first column with exactly this name; -1 when none has it.
    std::int32_t getColumnIndexByName(std::string_view name) const;
    bool isColumnInDataSet(const std::shared_ptr<const Column>& column) const { return getColumnIndex(column) >= 0; }
    bool isValidRowIndex(std::int32_t row) const { return observations_.isValidRowIndex(row); }
    bool isValidColumnIndex(std::int32_t index) const { return index >= 0 && index < getNumberOfColumns(); }

    // --- Cells, rows, columns --------------------------------------------------------------------

    /// A copy of the cell's value, its formatted text set under the column's format when
    /// `formatted`; null for a cell outside the data set.
    std::shared_ptr<DataValue> getDataValue(std::int32_t row, std::int32_t column, bool formatted = true) const;
    /// Raises CELLCHANGE with the row and column.
    bool setDataValue(const std::shared_ptr<const DataValue>& value, std::int32_t row, std::int32_t column);
    /// Copies of the row's values; null for a row outside the data set.
    std::shared_ptr<ValueList> getRowAtIndex(std::int32_t row, bool formatted = true) const;
    /// Copies of the column's values; null for a column outside the data set.
    std::shared_ptr<ValueList> getColumnDataValues(std::int32_t column, bool formatted = true) const;

    /// Appends a row of one value per column; keeps the selection; raises ROWCHANGE with the new
    /// row. False, raising nothing, for a null list or one of another length.
    bool appendRow(const std::shared_ptr<const ValueList>& values);
    /// Inserts a row before `row` (the row count appends); selected and excluded rows at or after
    /// it move down with their rows. Raises ROWCHANGE with `row`.
    bool insertRow(const std::shared_ptr<const ValueList>& values, std::int32_t row);
    /// Replaces the values of a row; raises ROWCHANGE with `row`.
    bool setRow(const std::shared_ptr<const ValueList>& values, std::int32_t row);
    /// Removes a row; the states of later rows move up with them. Raises ROWDELETION with row and
    /// column -1. False for a row outside the data set.
    bool deleteRow(std::int32_t row);

    /// Adds `column` with `values` (one per row; null for all missing). The first column of an
    /// empty data set may bring any number of rows. Raises COLUMNCHANGE with the new column's
    /// position. False for a null column or one that already belongs to a data set.
    bool appendColumn(const std::shared_ptr<MutableColumn>& column, const std::shared_ptr<const ValueList>& values);
    /// Replaces the values of a column of this data set (one per row); raises COLUMNCHANGE.
    bool setColumn(const std::shared_ptr<const Column>& column, const std::shared_ptr<const ValueList>& values);

    // --- Copying in ------------------------------------------------------------------------------

    /// The value that enters a column of `type` for `value` (see the class comment).
    std::shared_ptr<DataValue> copyDataValue(const std::shared_ptr<const DataValue>& value, DataType::type type) const;
    /// A row as it enters: one copied value per column; empty when the length differs.
    ObservationDeque::Observation copyDataValuesRow(const ValueList& values) const;
    /// A column as it enters: `rows` copied values (all missing for a null list); empty when the
    /// length differs.
    std::vector<std::shared_ptr<DataValue>> copyDataValuesColumn(const ValueList* values, DataType::type type,
                                                                 std::size_t rows) const;
    /// `text` without trailing and then leading white space.
    static std::string trimWhiteSpace(std::string_view text);

    // --- Row states ------------------------------------------------------------------------------

    /// Selects exactly `rows`; whether anything changed.
    bool selectRows(const RowIndexSet& rows);
    /// The row states, made on first use for the current row count.
    const std::shared_ptr<RowStates>& getRowStates();
    /// New row states for the current row count, nothing selected; their events are relayed.
    void generateRowStates();
    /// Passes a row-state event on to this data set's listeners.
    void relayRowStatesEvent(const std::shared_ptr<Event>& event);

    /// `rows` after a row was inserted at `row`: indices below stay, the others move up by one.
    static RowIndexSet adjustSelectedIndicesForInsert(const RowIndexSet& rows, std::uint32_t row);
    /// `rows` after `row` was deleted: indices below stay, `row` goes, the others move down by one.
    static RowIndexSet deleteFromSelectedIndices(const RowIndexSet& rows, std::uint32_t row);

    // --- Text ------------------------------------------------------------------------------------

    /// One line per row: numbers as the data set CSV texts write them, texts between double quotes
    /// with inner double quotes doubled, fields separated by ","; empty without rows.
    SharedString getCombinedCSV() const;

private:
    std::size_t rowCount() const;
    void raise(int eventType, std::int32_t row, std::int32_t column);
    /// Regenerates the row states for the new row count and gives them the carried states.
    void carryRowStates(const RowIndexSet& selected, const RowIndexSet& excluded);
    std::shared_ptr<DataValue> formattedCopy(const DataValue& value, std::int32_t column, bool formatted) const;
    bool adoptColumn(const std::shared_ptr<MutableColumn>& column);

    SharedString name_;
    ColumnList columns_;
    ObservationDeque observations_;
    std::shared_ptr<RowStates> rowStates_;
    bool trimTexts_;
};

}  // namespace pellium
