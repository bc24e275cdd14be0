#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/EventDispatcher.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataUsage.h"
#include "pellium/models/data/dataset/RowIndexSet.h"
#include "pellium/models/data/dataset/RowStates.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

class AbstractWhereClauseExpression;
class SerialReader;
class SerialWriter;

/// The columnar table in which report data arrives: a named list of columns of equal length (rows
/// are observations), one string table shared by all string columns, and a comparison epsilon for
/// the numeric tests of filters. Hierarchies, filters and views read data through it.
///
/// The string table holds each text once, interned; a string column's rows index it. The table
/// vector is shared by a data set and the data sets copied from it (subsets, truncated copies,
/// clones, totals), so it is replaced (setStringTable, sortOrderedUniqueStringValues) and never
/// changed in place.
///
/// The data set listens to its columns: a change of a column's data updates the row count and is
/// passed on to the data set's own listeners (with the column as original source).
///
/// Threads: build a data set on one thread, then read it from any number of threads; nobody may
/// change it while it is read. Look-ups answer null or -1 for what is not there; reading a cell
/// of a row beyond a column throws std::out_of_range.
class PELLIUM_EXPORT DataSet : public EventDispatcher {
    struct Token {};

public:
    using ColumnList = std::vector<std::shared_ptr<Column>>;
    using StringTable = std::vector<SharedString>;

    // --- Validation codes, in the order of the message table -------------------------------------

    static constexpr int DATASET_NO_NAME = 10016;
    static constexpr int DATASET_ZERO_COLUMNS = 10015;
    /// Spelled so on purpose: hosts know the code by this name.
    static constexpr int DATASET_INVALID_EXPSILON = 10014;
    static constexpr int DATASET_EXTREME_EPSILON = 10013;
    static constexpr int DATASET_NULL_COLUMN = 10012;
    static constexpr int DATASET_NONRECTANGULAR = 10011;
    static constexpr int COLUMN_NO_NAME = 10010;
    static constexpr int COLUMN_DUPLICATE_NAME = 10009;
    static constexpr int COLUMN_NO_LABEL = 10008;
    static constexpr int COLUMN_DUPLICATE_LABEL = 10007;
    static constexpr int COLUMN_NO_FORMAT = 10006;
    static constexpr int COLUMN_INVALID_FORMAT = 10005;
    static constexpr int COLUMN_INVALID_USAGE = 10004;
    static constexpr int COLUMN_UNDEFINED_DATA_TYPE = 10003;

    /// One problem found by validate: its code and the texts that fill the placeholders {0},
    /// {1}, {2} of the code's message.
    struct ValidationProblem {
        int code;
        std::vector<std::string> arguments;

        bool operator==(const ValidationProblem& other) const = default;
    };

    // --- Creation --------------------------------------------------------------------------------

    /// An empty data set with no columns and 0 rows. `createOptionFirst` is kept as given;
    /// `summarizedRowStates` chooses row states that keep a selected fraction per row.
    static std::shared_ptr<DataSet> create(bool createOptionFirst = false, bool summarizedRowStates = false);
    /// A data set over `columns` (see setColumns).
    static std::shared_ptr<DataSet> create(const std::shared_ptr<ColumnList>& columns);
    /// A copy of the first `numberOfRows` rows of `dataSet` (all when it has fewer, none for a
    /// negative count); null for a null data set.
    static std::shared_ptr<DataSet> create(const std::shared_ptr<const DataSet>& dataSet, std::int32_t numberOfRows);

    DataSet(Token, bool createOptionFirst, bool summarizedRowStates);
    ~DataSet() override;

    /// WrapperTypeIds::DATA_SET (40).
    int getWrapperTypeId() const override;

    /// A deep copy: new columns with copies of their rows, sharing the string table.
    std::shared_ptr<DataSet> clone() const;

    const SharedString& getName() const { return name_; }
    void setName(SharedString name) { name_ = std::move(name); }
    bool getCreateOptionFirst() const { return createOptionFirst_; }
    bool hasSummarizedRowStates() const { return summarizedRowStates_; }

    // --- Columns ---------------------------------------------------------------------------------

    /// Replaces the columns (null entries are kept, and reported by validate) and recomputes the
    /// row count. The data set stops listening to the old columns and listens to the new ones.
    void setColumns(const std::shared_ptr<ColumnList>& columns);
    const std::shared_ptr<ColumnList>& getColumns() const { return columns_; }
    /// Appends `column` and recomputes the row count; ignores a null column.
    void addColumn(const std::shared_ptr<Column>& column);
    /// Replaces the column at `index`; false, changing nothing, when there is no such position.
    bool setColumnAtIndex(const std::shared_ptr<Column>& column, std::int32_t index);
    /// Null when there is no such position.
    std::shared_ptr<Column> getColumnAtIndex(std::int32_t index) const;
    std::int32_t getNumberOfColumns() const;
    /// The first column whose name has exactly these bytes; null when none has.
    std::shared_ptr<Column> getColumnWithName(std::string_view name) const;
    /// The position of getColumnWithName(name); -1 when none has it.
    std::int32_t getIndexOfColumnWithName(std::string_view name) const;
    /// The first column whose label has exactly these bytes; null when none has.
    std::shared_ptr<Column> getColumnWithLabel(std::string_view label) const;
    /// The numeric columns, in order.
    std::shared_ptr<ColumnList> getNumberColumns() const;
    /// The string columns, in order.
    std::shared_ptr<ColumnList> getStringColumns() const;
    std::shared_ptr<ColumnList> getColumnsWithUsage(DataUsage::type usage) const;

    // --- Rows ------------------------------------------------------------------------------------

    /// Sets the row count to the smallest row count of the columns (each column re-derives its
    /// own first); 0 without columns. Answers it.
    std::int32_t computeNumberOfRows();
    std::int32_t getNumberOfRows() const { return numberOfRows_; }
    /// Keeps the first `numberOfRows` rows of every column (none for a negative count).
    void truncate(std::int32_t numberOfRows);
    /// A new data set holding only `rows` of `dataSet`, in ascending order, with the same name,
    /// flags, epsilon and string table; rows beyond the data set are left out. Null for null.
    static std::shared_ptr<DataSet> getSubsetDefinedBySpecifiedIndices(const std::shared_ptr<const DataSet>& dataSet,
                                                                       const RowIndexSet& rows);
    /// Recomputes the row count.
    void update();

    // --- Text ------------------------------------------------------------------------------------

    /// The formatted text of a cell; null when there is no column at `columnIndex`. Throws
    /// std::out_of_range for a row beyond the column.
    SharedString getFormattedValueAtIndex(std::int32_t columnIndex, std::int32_t row) const;

    /// One line per row, fields separated by ",": a string column writes the row's string index,
    /// a numeric column its number as DataTokens::writeCSVNumber writes it (matches-all as an
    /// empty field). No header line; every line ends with a line feed.
    SharedString getIndexedCSV() const;
    /// One line per entry of the string table: the text between double quotes, inner double
    /// quotes doubled. Empty for a null or empty table.
    SharedString getStringTableCSV() const;
    /// As getIndexedCSV, but a string column writes the row's text between double quotes, inner
    /// double quotes doubled. Empty for a data set without rows.
    SharedString getCombinedCSV() const;
    /// Writes a number as the CSV texts do.
    static void printNumericValueToStream(std::ostream& stream, double number);

    /// Writes getDescription() to standard output.
    void print() const;
    /// Writes the column names and then up to `maximumRows` rows of formatted cells, separated by
    /// tabs, one row per line (all rows for a negative count).
    void printTable(std::ostream& stream, std::int32_t maximumRows = -1) const;
    /// A debugging text: the data set's fields, then one line per column.
    std::string getDescription() const;

    // --- String table ----------------------------------------------------------------------------

    const std::shared_ptr<StringTable>& getStringTable() const { return stringTable_; }
    /// Replaces the table; its texts are replaced by their interned instances. Columns read the
    /// new table after assignStringValuesFromIndices().
    void setStringTable(std::shared_ptr<StringTable> stringTable);
    /// The position of `text` in the string table; UNRESOLVABLE_DATA_VALUE (-1000) when the table
    /// lacks it or is null. The first look-up indexes the table; later ones are one hash look-up.
    std::int32_t getSortIndexForString(std::string_view text) const;
    std::int32_t getSortIndexForString(const SharedString& text) const;
    /// Sorts the string table into ascending byte order (a proper prefix first, no collation),
    /// stably, and rewrites the indices of every string column to match; token codes stay. After
    /// it, ordering string values by index is ordering them by text.
    void sortOrderedUniqueStringValues();
    /// Makes every string column, sub-columns of partially aggregated columns included, read its
    /// texts from the string table.
    void assignStringValuesFromIndices();

    // --- Comparison, totals, validation ----------------------------------------------------------

    /// Stored as given; validate reports values outside [0, 0.1).
    void setComparisonEpsilon(double epsilon) { comparisonEpsilon_ = epsilon; }
    double getComparisonEpsilon() const { return comparisonEpsilon_; }

    /// A one-row data set of the totals of `dataSet`, as a report's total line shows them: each
    /// numeric column holds its column's total (the sum of its ordinary numbers), each string
    /// column matches-all. Null for null.
    static std::shared_ptr<DataSet> computeTotals(const std::shared_ptr<const DataSet>& dataSet);

    /// The problems of the data set, in the order the checks run: the name, the epsilon, the
    /// column list, then per column its presence, name, label, format, usage, type and row
    /// count. With `logWarnings`, each problem's message is also logged as a warning.
    std::vector<ValidationProblem> validate(bool logWarnings = false) const;
    /// The constant name of a validation code ("DATASET_NO_NAME"); empty for other numbers.
    static std::string_view getValidationCodeName(int code);
    /// The localized message of a problem, its placeholders filled; null for an unknown code.
    static SharedString getValidationMessage(const ValidationProblem& problem);

    /// Drops the formatted texts of every column, for example after the host changed the
    /// localization context.
    void clearFormattedValueCaches();

    /// Receives the events of the columns: updates the row count and passes the event on.
    void changeEventHandler(const std::shared_ptr<Event>& event);

    // --- Filtering -------------------------------------------------------------------------------
    // A where clause is compiled once against the columns (WhereEvaluator) and then tested on
    // every row in batches. A leaf that cannot be compiled (a column the data set lacks, a number
    // against a string column, LIKE) is false for every row; a null clause is no filter and
    // selects every row. These answer row indices; the host keeps them as row states.

    /// The rows that `whereClause` selects, ascending.
    std::shared_ptr<RowIndexSet> filter(const std::shared_ptr<const AbstractWhereClauseExpression>& whereClause) const;
    /// A new data set of the rows of `dataSet` that `whereClause` selects, as
    /// getSubsetDefinedBySpecifiedIndices makes it. Null for a null data set.
    static std::shared_ptr<DataSet> filterDataset(const std::shared_ptr<const DataSet>& dataSet,
                                                  const std::shared_ptr<const AbstractWhereClauseExpression>& whereClause);
    /// The rows for which `whereClause` evaluates to `state`: the selected rows for true, the
    /// others for false.
    std::shared_ptr<RowIndexSet> getRowIndicesThatEvaluateToState(
        const std::shared_ptr<const AbstractWhereClauseExpression>& whereClause, bool state) const;
    // --- Row states ------------------------------------------------------------------------------
    // The selection and exclusion of the rows. Their events reach the data set's listeners with
    // the data set as source and the row states as original source.

    /// Makes new row states for the current row count (summarized ones when the data set was
    /// created so), nothing selected or excluded, and relays their events from now on.
    void generateRowStates();
    /// The row states, made on first use. When the row count changed since they were made, they
    /// are made anew with the selection and exclusion of the rows that remain.
    const std::shared_ptr<RowStates>& getRowStates();
    /// Selects exactly `rows` (rows beyond the data set are ignored); whether anything changed.
    bool selectRows(const RowIndexSet& rows);
    /// Selects or deselects one row; whether anything changed.
    bool selectRows(std::int32_t row, bool selected);
    /// The values of the named column at the selected rows, in ascending row order; null when no
    /// column has the name.
    std::shared_ptr<DataValue::ValueList> getSelectedValues(std::string_view columnName);
    /// Whether some selected row holds all-others in some column.
    bool selectionContainsAllOther();

    // --- Stream form -----------------------------------------------------------------------------
    // The data set travels as one tagged byte stream: its name, string table, columns, row states,
    // row count, flags and epsilon. Readers check every marker, count and length against the bytes
    // that remain and answer false or null for a short, damaged or hostile stream.

    /// Writes the stream form; "V", 1, "a" for a null data set. False when the stream fails; what
    /// was written before stays in the stream.
    static bool serialize(std::ostream& stream, const std::shared_ptr<const DataSet>& dataSet);
    static bool serialize(SerialWriter& writer, const std::shared_ptr<const DataSet>& dataSet);
    /// Reads the stream form into a new data set; a null mark gives null and true. The string
    /// table is interned, string columns read their texts from it, the row count is recomputed
    /// from the columns, and the row states are made for it, carrying the selection and exclusion
    /// read. False for a short or damaged stream; `dataSet` is then null.
    static bool unserialize(std::istream& stream, std::shared_ptr<DataSet>& dataSet);
    static bool unserialize(SerialReader& reader, std::shared_ptr<DataSet>& dataSet);
    /// Writes this data set's stream form.
    bool serialize(std::ostream& stream) const override;
    /// Replaces this data set's content with the data set read; false for a null mark or a short
    /// or damaged stream, when the data set is left as far as it was read.
    bool unserialize(std::istream& stream) override;
    /// The data set read from `stream`; null when reading failed.
    static std::shared_ptr<DataSet> createFromSerialData(std::istream& stream);
    /// The stream form as standard base64 text (no compression, no line breaks); null when the
    /// data set cannot be written (a vector longer than 2^31 - 1 elements).
    static SharedString serializeAsBase64String(const std::shared_ptr<const DataSet>& dataSet);
    /// Decodes base64 `text` (line breaks allowed) and reads the data set; null when the text or
    /// the stream is damaged.
    static std::shared_ptr<DataSet> createFromBase64SerialData(std::string_view text);
    /// Writes the stream form to the file at `path`, replacing it. False, with an error logged,
    /// when the file cannot be written.
    static bool serialize(const std::string& path, const std::shared_ptr<const DataSet>& dataSet);
    /// The data set read from the file at `path`. Null when reading fails; a file that cannot be
    /// opened also logs " Failed to open file at path: <path>because : <reason>".
    static std::shared_ptr<DataSet> create(const std::string& path);
    /// The same; without it a text literal would pick create(bool, bool).
    static std::shared_ptr<DataSet> create(const char* path);

private:
    bool writeStreamForm(SerialWriter& writer) const;
    bool readBody(SerialReader& reader);

    std::shared_ptr<RowStates> rowStates_;

private:
    void listenTo(const std::shared_ptr<Column>& column);
    void stopListeningTo(const Column* column);
    void stopListeningToAll();
    /// Every column that holds data of its own, sub-columns of partially aggregated columns
    /// included, each once.
    std::vector<std::shared_ptr<Column>> getAllColumnsWithData() const;
    static void collectColumnsWithData(const std::shared_ptr<Column>& column,
                                       std::unordered_set<const Column*>& visited,
                                       std::vector<std::shared_ptr<Column>>& all);
    std::shared_ptr<DataSet> createEmptyCopy() const;
    template <typename Keep>
    std::shared_ptr<ColumnList> selectColumns(Keep&& keep) const;
    void appendRowsAsCSV(std::string& text, bool writeTexts) const;

    SharedString name_;
    std::shared_ptr<StringTable> stringTable_;
    std::shared_ptr<ColumnList> columns_;
    std::int32_t numberOfRows_ = 0;
    bool createOptionFirst_;
    bool summarizedRowStates_;
    double comparisonEpsilon_ = 0;

    std::vector<std::pair<std::weak_ptr<Column>, ListenerId>> columnListeners_;

    // The index from text to position behind getSortIndexForString, made on first use.
    mutable std::mutex stringIndexMutex_;
    mutable std::unordered_map<std::string_view, std::int32_t> stringPositions_;
    mutable const StringTable* indexedTable_ = nullptr;
    mutable std::size_t indexedTableSize_ = 0;
};

}  // namespace pellium
