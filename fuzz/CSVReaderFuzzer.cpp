// Reads arbitrary bytes as CSV. Byte 0 chooses the options (delimiter, whether quotes decide the
// type, whether the table is sorted, small limits); the rest is the text. Besides surviving any
// input, a data set that is read must be consistent and must survive its own round trip: its
// combined CSV text under a header line reads back to the same columns, types and texts, numeric
// matches-all excepted (written as an empty field, it reads back as missing).
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/parsers/CSVDataSetReader.h"

namespace {

using pellium::Column;
using pellium::DataSet;
using pellium::DataTokens;
using pellium::DataType;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void checkConsistency(const DataSet& dataSet, bool isTableSorted) {
    const auto& table = *dataSet.getStringTable();
    for (std::size_t index = 1; isTableSorted && index < table.size(); ++index) {
        require(*table[index - 1] < *table[index]);
    }
    for (std::int32_t position = 0; position < dataSet.getNumberOfColumns(); ++position) {
        const Column& column = *dataSet.getColumnAtIndex(position);
        require(column.getNumberOfRows() == dataSet.getNumberOfRows());
        if (column.getDataType() == DataType::STRING) {
            for (const std::int32_t index : *column.getStringIndices()) {
                require(index == DataTokens::TOKEN_MISSING || index == DataTokens::TOKEN_ALL_OTHERS ||
                        index == DataTokens::TOKEN_SUPPRESSED || index == DataTokens::TOKEN_SPARSE ||
                        (index >= 0 && static_cast<std::size_t>(index) < table.size()));
            }
        }
    }
}

std::string headerOf(const DataSet& dataSet) {
    std::string header;
    for (std::int32_t position = 0; position < dataSet.getNumberOfColumns(); ++position) {
        header += position > 0 ? ",\"" : "\"";
        for (const char character : *dataSet.getColumnAtIndex(position)->getName()) {
            header += character;
            if (character == '"') {
                header += '"';
            }
        }
        header += '"';
    }
    return header + "\n";
}

bool haveSameCell(const Column& original, const Column& copy, std::int32_t row) {
    if (original.getDataType() == DataType::STRING) {
        const auto before = original.getDataValueAtIndex(row, false);
        const auto after = copy.getDataValueAtIndex(row, false);
        return *before == *after &&
               DataTokens::getSortPlaneForValue(*before) == DataTokens::getSortPlaneForValue(*after);
    }
    const double before = original.getNumberAtIndex(row);
    const double after = copy.getNumberAtIndex(row);
    if (before == DataTokens::MATCHES_ALL_NUMERIC) {
        return std::isnan(after);
    }
    return before == after || (std::isnan(before) && std::isnan(after));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    pellium::CSVReadOptions options;
    options.delimiter = ",;\t|"[data[0] & 3];
    options.quotedFieldsAreText = (data[0] & 4) == 0;
    options.sortStringTable = (data[0] & 8) == 0;
    if ((data[0] & 16) != 0) {
        options.maximumFieldBytes = 16;
        options.maximumRecordBytes = 64;
    }
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    const auto result = pellium::CSVDataSetReader::readText(text, options);
    if (!result) {
        require(result.error != pellium::CSVReadError::NONE && !result.message.empty());
        return 0;
    }
    const DataSet& original = *result.dataSet;
    checkConsistency(original, options.sortStringTable);

    const auto copied = pellium::CSVDataSetReader::readText(headerOf(original) + *original.getCombinedCSV());
    require(static_cast<bool>(copied));
    const DataSet& copy = *copied.dataSet;
    checkConsistency(copy, true);
    require(copy.getNumberOfColumns() == original.getNumberOfColumns());
    require(copy.getNumberOfRows() == original.getNumberOfRows());
    for (std::int32_t position = 0; position < original.getNumberOfColumns(); ++position) {
        const Column& before = *original.getColumnAtIndex(position);
        const Column& after = *copy.getColumnAtIndex(position);
        require(*before.getName() == *after.getName());
        require(before.getDataType() == after.getDataType());
        for (std::int32_t row = 0; row < original.getNumberOfRows(); ++row) {
            require(haveSameCell(before, after, row));
        }
    }
    return 0;
}
