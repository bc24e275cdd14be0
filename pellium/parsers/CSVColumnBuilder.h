#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/dataset/StringTableBuilder.h"
#include "pellium/parsers/CSVParsedTextCache.h"
#include "pellium/parsers/CSVRecordScanner.h"

namespace pellium {

class Column;
class Formatter;

/// Collects the cells of one CSV column and decides its type: the numbers of a numeric column, or
/// the string-table indices of a string column. A column whose type is inferred starts numeric
/// and turns into a string column at the first field that is no number; the rows before that
/// field are then filled by a second look at the source (fillText). Internal to CSVDataSetReader.
class CSVColumnBuilder {
public:
    enum class Outcome {
        OK,
        /// A field of a numeric column given by the caller is not a number.
        NOT_A_NUMBER,
        INVALID_UTF8,
        TOO_MANY_TEXTS,
    };

    /// `givenType` empty: the type is inferred. `formatName` is the column's format; empty: the
    /// default of the column's final type, given to makeColumn.
    CSVColumnBuilder(std::string name, std::optional<DataType::type> givenType, std::string formatName,
                     bool quotedFieldsAreText);
    ~CSVColumnBuilder();

    CSVColumnBuilder(CSVColumnBuilder&&) noexcept;
    CSVColumnBuilder& operator=(CSVColumnBuilder&&) noexcept;

    /// Appends the field of the next row (`row` is its number, from 0).
    Outcome append(const CSVField& field, std::size_t row, StringTableBuilder& strings);

    /// Starts loading what append will look at for `field`, so that the look-ups of a row's
    /// fields overlap. Changes nothing.
    void prefetch(const CSVField& field, const StringTableBuilder& strings) const {
        if (kind_ == Kind::STRING && !field.hasDoubledQuotes) {
            strings.prefetch(field.text, stringIndex_);
        }
    }

    /// Whether the column turned into a string column after its first row, so that rows before
    /// getFirstTextRow() need their texts from a second reading.
    bool needsEarlierTexts() const { return firstTextRow_ > 0; }
    std::size_t getFirstTextRow() const { return firstTextRow_; }
    /// Sets the text of an earlier `row` (below getFirstTextRow()).
    Outcome fillText(const CSVField& field, std::size_t row, StringTableBuilder& strings);

    void reserve(std::size_t rows);
    /// The finished column; the builder is empty afterwards.
    std::shared_ptr<Column> makeColumn(const std::string& defaultNumericFormatName,
                                       const std::string& defaultStringFormatName);

private:
    enum class Kind { INFERRED_NUMERIC, NUMERIC, STRING };

    Outcome appendNumber(const CSVField& field, std::size_t row, StringTableBuilder& strings);
    Outcome appendParsedNumber(std::string_view text);
    Outcome textIndexFor(const CSVField& field, StringTableBuilder& strings, std::int32_t& index);
    void turnIntoText(std::size_t row);

    std::string name_;
    std::string formatName_;
    Kind kind_;
    bool quotedFieldsAreText_;
    std::size_t firstTextRow_ = 0;
    std::vector<double> numbers_;
    std::vector<std::int32_t> indices_;
    std::string unescaped_;
    StringTableBuilder::Index stringIndex_;  // this column's texts, for look-ups that stay in cache
    std::shared_ptr<Formatter> parser_;      // reads the numbers of a given numeric column that are not plain
    CSVParsedTextCache parsed_;              // what parser_ read, by text
};

}  // namespace pellium
