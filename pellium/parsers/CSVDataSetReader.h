#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataType.h"

namespace pellium {

class DataSet;

/// The type and format of a named column, instead of inference.
struct CSVColumnDefinition {
    std::string name;
    DataType::type dataType = DataType::NUMERIC;
    /// Empty: the default format name of the type.
    std::string formatName;
};

/// How CSVDataSetReader reads.
struct CSVReadOptions {
    /// Any byte but a double quote, a line feed or a carriage return.
    char delimiter = ',';
    /// Columns whose type is given, matched to the header by exact name. A definition whose
    /// name the header lacks is an error.
    std::vector<CSVColumnDefinition> columnDefinitions;
    /// Whether a quoted field makes an inferred column a string column.
    bool quotedFieldsAreText = true;
    /// Whether the string table is sorted into byte order after reading (indices are then
    /// rewritten once); without it, texts keep the order of their first appearance.
    bool sortStringTable = true;
    /// The data set's name; empty: the file name without its extension (for a file), else
    /// no name.
    std::string dataSetName;
    /// The format names of columns that are not given one. The library has no text format
    /// of its own, and texts show unchanged under any format, so string columns take a
    /// numeric name that keeps the data set valid.
    std::string numericFormatName = "BEST12.";
    std::string stringFormatName = "BEST12.";
    /// Limits against hostile input: a longer field or record stops reading with an error.
    std::size_t maximumFieldBytes = std::size_t{16} << 20;
    std::size_t maximumRecordBytes = std::size_t{64} << 20;
    /// A header with more names than this stops reading with an error. Each column costs several
    /// hundred bytes however short its name, so without a limit one line of commas would cost
    /// hundreds of times its size.
    std::size_t maximumColumns = std::size_t{1} << 16;
};

/// What stopped CSVDataSetReader.
enum class CSVReadError {
    NONE,
    /// The file could not be opened.
    CANNOT_OPEN_FILE,
    /// Reading the file failed part way.
    READ_FAILED,
    /// The options are unusable (a delimiter that is a quote or a line break).
    INVALID_OPTIONS,
    /// The input is empty: there is no header line.
    NO_HEADER,
    /// A column definition names a column the header lacks.
    UNKNOWN_COLUMN,
    UNBALANCED_QUOTE,
    TEXT_AFTER_CLOSING_QUOTE,
    FIELD_TOO_LONG,
    RECORD_TOO_LONG,
    /// A row has more or fewer fields than the header has names.
    WRONG_NUMBER_OF_FIELDS,
    INVALID_UTF8,
    /// A field of a numeric column given by the caller is not a number.
    NOT_A_NUMBER,
    /// More rows than a data set can hold (2^31 - 1), or more distinct texts.
    TOO_MANY_ROWS,
    TOO_MANY_TEXTS,
    /// The header names more columns than CSVReadOptions::maximumColumns.
    TOO_MANY_COLUMNS,
};

/// What CSVDataSetReader read: a data set, or what is wrong with the input and where.
struct CSVReadResult {
    /// The data set read; null when reading failed.
    std::shared_ptr<DataSet> dataSet;
    CSVReadError error = CSVReadError::NONE;
    /// A message for people, naming the line and column when known; empty on success.
    std::string message;
    /// The line where the problem starts, from 1; 0 when it is not about a line.
    std::int64_t line = 0;
    /// The field at fault, from 1; 0 when no single field is.
    std::int64_t column = 0;

    explicit operator bool() const { return dataSet != nullptr; }
};

/// Reads a data set from CSV text or a CSV file, the form in which users bring most of their own
/// data. The first line names the columns; every further line is a row.
///
/// Fields are separated by the delimiter (a comma unless the options say otherwise). A field in
/// double quotes may hold delimiters and line breaks, and writes a double quote as two; a quote
/// inside an unquoted field is an ordinary character. Lines end with a line feed, a carriage
/// return or both. A UTF-8 byte-order mark at the start is skipped. An empty line is skipped when
/// there are several columns; with a single column it is a missing value.
///
/// Cells:
/// - "." and an empty unquoted field are missing; "~O", "~S" and "~N" (quoted or not) are
///   all-others, suppressed and sparse (the tokens the CSV texts of a data set write). In a
///   string column every other field keeps its exact text: a quoted "." is the text ".", and a
///   blank or empty quoted text is kept and is missing by its text.
/// - A column is numeric when every field that is not one of those tokens reads as a decimal
///   number (an optional sign, digits with an optional point, an optional exponent; white space
///   around it is ignored; "Infinity" is one, but "inf", "nan" and hexadecimal are not). A quoted field makes its
///   column a string column, unless the options say that quotes do not decide the type.
/// - Columns may instead be given a type and a format name by the caller. A field of a given
///   numeric column that is not a plain number is read through its format's formatter (a date in
///   the form of a date format, for example); when that fails too, reading stops with an error.
/// - Texts are interned once per distinct text into the data set's single string table, which
///   is then sorted into byte order so that ordering by index is ordering by text.
///
/// Round trip: DataSet::getCombinedCSV() preceded by a line of the column names reads back to a
/// data set with the same columns, types, values and special states, with two exceptions that
/// the CSV form cannot tell apart: a numeric matches-all cell is written as an empty field and so
/// reads back as missing (a string matches-all cell is written as its text "MATCHES_ALL" and reads
/// back as that plain text); and an ordinary text that equals a token ("~O", "~S", "~N") reads
/// back as the token's state.
///
/// Memory: a file is read in chunks of 1 MiB, and the columns grow to about the size the file
/// suggests, so memory stays near the size of the resulting columns. When a column that looked
/// numeric turns out to be text, the rows before that point are read again from the source to
/// get their exact texts (the file is read twice up to that row, at most).
///
/// Failure: malformed input never throws or crashes. The result then holds no data set and says
/// what is wrong and where: the line (counted from 1, line breaks inside quoted fields included)
/// where the offending record or quoted field starts, and the field's position (from 1; 0 when
/// no single field is at fault). Limits on the size of a field and of a record and on the number
/// of columns keep hostile input from exhausting memory.
class PELLIUM_EXPORT CSVDataSetReader {
public:
    using ColumnDefinition = CSVColumnDefinition;
    using Options = CSVReadOptions;
    using Error = CSVReadError;
    using Result = CSVReadResult;

    CSVDataSetReader() = delete;

    /// Reads CSV text held in memory; the text is not copied.
    static Result readText(std::string_view text, const Options& options = Options());

    /// Reads a CSV file in chunks.
    static Result readFile(const std::string& path, const Options& options = Options());
};

}  // namespace pellium
