#include "pellium/parsers/CSVDataSetReader.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <unordered_map>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/StringTableBuilder.h"
#include "pellium/parsers/CSVColumnBuilder.h"
#include "pellium/parsers/CSVInput.h"
#include "pellium/parsers/CSVRecordScanner.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {

namespace {

using Error = CSVDataSetReader::Error;
using Options = CSVDataSetReader::Options;
using Result = CSVDataSetReader::Result;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
// After this many rows the reader knows the bytes of a typical row and reserves the columns.
constexpr std::size_t rowsBeforeEstimate = 4096;
constexpr std::size_t maximumRows = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t quotedTextLimit = 40;

Result failure(Error error, std::string message, std::int64_t line = 0, std::int64_t column = 0) {
    Result result;
    result.error = error;
    result.message = std::move(message);
    result.line = line;
    result.column = column;
    return result;
}

std::string inQuotes(std::string_view text) {
    std::string out("'");
    out.append(text.substr(0, quotedTextLimit));
    out.append(text.size() > quotedTextLimit ? "...'" : "'");
    return out;
}

Error errorOf(CSVRecordScanner::Fault fault) {
    switch (fault) {
        case CSVRecordScanner::Fault::UNBALANCED_QUOTE:
            return Error::UNBALANCED_QUOTE;
        case CSVRecordScanner::Fault::TEXT_AFTER_CLOSING_QUOTE:
            return Error::TEXT_AFTER_CLOSING_QUOTE;
        default:
            return Error::FIELD_TOO_LONG;
    }
}

// One reading of one input: the header, the rows, the texts of columns that turned out to be
// string columns late, and the data set.
class CSVReading {
public:
    CSVReading(CSVInput& input, const Options& options)
        : input_(input), options_(options), scanner_(options.delimiter, options.maximumFieldBytes) {}

    Result read(const std::string& defaultName) {
        if (!readHeader() || !readRows() || !fillEarlierTexts()) {
            return std::move(failure_.result);
        }
        Result result;
        result.dataSet = makeDataSet(options_.dataSetName.empty() ? defaultName : options_.dataSetName);
        return result;
    }

private:
    enum class Next { RECORD, END, FAILED };

    bool readHeader() {
        if (!skipByteOrderMark()) {
            return false;
        }
        const Next next = nextRecord();
        if (next != Next::RECORD) {
            return next == Next::END ? fail(Error::NO_HEADER, "the input is empty: there is no header line", 1) : false;
        }
        if (fields_.size() > options_.maximumColumns) {
            return fail(Error::TOO_MANY_COLUMNS,
                        "the header names " + std::to_string(fields_.size()) + " columns, more than the " +
                            std::to_string(options_.maximumColumns) + " allowed",
                        recordLine_);
        }
        std::unordered_map<std::string_view, const CSVColumnDefinition*> definitions;
        for (const auto& definition : options_.columnDefinitions) {
            definitions.emplace(definition.name, &definition);
        }
        for (const CSVField& field : fields_) {
            std::string name;
            if (field.isQuoted) {
                CSVRecordScanner::appendUnescaped(field.text, name);
            } else {
                name.assign(field.text);
            }
            if (!StringUtilities::isValidUtf8(name)) {
                return fail(Error::INVALID_UTF8, "the column name is not valid UTF-8", recordLine_, names_.size() + 1);
            }
            names_.push_back(std::move(name));
        }
        for (const std::string& name : names_) {
            const auto found = definitions.find(name);
            if (found == definitions.end()) {
                builders_.emplace_back(name, std::nullopt, std::string(), options_.quotedFieldsAreText);
            } else {
                builders_.emplace_back(name, found->second->dataType, found->second->formatName,
                                       options_.quotedFieldsAreText);
            }
        }
        for (const auto& definition : options_.columnDefinitions) {
            if (std::ranges::find(names_, definition.name) == names_.end()) {
                return fail(Error::UNKNOWN_COLUMN, "the header has no column named " + inQuotes(definition.name), 1);
            }
        }
        dataStart_ = input_.getConsumedBytes();
        return true;
    }

    bool readRows() {
        for (Next next = nextRecord(); next == Next::RECORD; next = nextRecord()) {
            if (isSkippedBlankLine()) {
                continue;
            }
            if (!hasOneFieldPerColumn()) {
                return false;
            }
            if (rows_ == maximumRows) {
                return fail(Error::TOO_MANY_ROWS, "there are more rows than a data set can hold", recordLine_);
            }
            for (std::size_t column = 0; column < builders_.size(); ++column) {
                builders_[column].prefetch(fields_[column], strings_);
            }
            for (std::size_t column = 0; column < builders_.size(); ++column) {
                if (!check(builders_[column].append(fields_[column], rows_, strings_), column)) {
                    return false;
                }
            }
            ++rows_;
            if (rows_ == rowsBeforeEstimate) {
                reserveForEstimatedRows();
            }
        }
        return !failure_.error.has_value();
    }

    // Reads the source again up to the last row before which a column turned into text, and gives
    // those earlier rows their exact texts.
    bool fillEarlierTexts() {
        std::size_t rowsToFill = 0;
        for (const auto& builder : builders_) {
            rowsToFill = std::max(rowsToFill, builder.needsEarlierTexts() ? builder.getFirstTextRow() : 0);
        }
        if (rowsToFill == 0) {
            return true;
        }
        if (!input_.rewind()) {
            return fail(Error::READ_FAILED, "the input could not be read a second time");
        }
        nextLine_ = 1;
        if (!skipByteOrderMark() || nextRecord() != Next::RECORD) {
            return fail(Error::READ_FAILED, "the input changed while it was read");
        }
        std::size_t row = 0;
        while (row < rowsToFill) {
            if (nextRecord() != Next::RECORD) {
                return failure_.error ? false : fail(Error::READ_FAILED, "the input changed while it was read");
            }
            if (isSkippedBlankLine()) {
                continue;
            }
            if (!hasOneFieldPerColumn()) {
                return false;
            }
            for (std::size_t column = 0; column < builders_.size(); ++column) {
                auto& builder = builders_[column];
                if (builder.needsEarlierTexts() && row < builder.getFirstTextRow() &&
                    !check(builder.fillText(fields_[column], row, strings_), column)) {
                    return false;
                }
            }
            ++row;
        }
        return true;
    }

    std::shared_ptr<DataSet> makeDataSet(const std::string& name) {
        auto columns = std::make_shared<DataSet::ColumnList>();
        columns->reserve(builders_.size());
        for (auto& builder : builders_) {
            columns->push_back(builder.makeColumn(options_.numericFormatName, options_.stringFormatName));
        }
        auto dataSet = DataSet::create(columns);
        dataSet->setName(StringUtilities::internString(name));
        dataSet->setStringTable(strings_.getTable());
        dataSet->assignStringValuesFromIndices();
        if (options_.sortStringTable) {
            dataSet->sortOrderedUniqueStringValues();
        }
        return dataSet;
    }

    bool skipByteOrderMark() {
        while (input_.available().size() < byteOrderMark.size() && !input_.isFinal()) {
            if (!input_.fetchMore()) {
                return fail(Error::READ_FAILED, "reading the input failed");
            }
        }
        if (input_.available().starts_with(byteOrderMark)) {
            input_.consume(byteOrderMark.size());
        }
        return true;
    }

    // Scans the next record into `fields_`, fetching more input while the record runs past what
    // is available. The fields stay valid until the next call.
    Next nextRecord() {
        while (true) {
            const std::string_view window = input_.available();
            const auto scan = scanner_.scan(window, input_.isFinal(), fields_);
            switch (scan.status) {
                case CSVRecordScanner::Status::RECORD:
                    if (scan.consumed > options_.maximumRecordBytes) {
                        return failRecordTooLong();
                    }
                    input_.consume(scan.consumed);
                    recordLine_ = nextLine_;
                    nextLine_ += static_cast<std::int64_t>(scan.lineBreaks);
                    return Next::RECORD;
                case CSVRecordScanner::Status::END:
                    return Next::END;
                case CSVRecordScanner::Status::ERROR:
                    failAtField(errorOf(scan.fault), scan.faultField,
                                nextLine_ + static_cast<std::int64_t>(scan.faultLineBreaks));
                    return Next::FAILED;
                case CSVRecordScanner::Status::NEED_MORE:
                    if (window.size() > options_.maximumRecordBytes) {
                        return failRecordTooLong();
                    }
                    if (!input_.fetchMore()) {
                        fail(Error::READ_FAILED, "reading the input failed", nextLine_);
                        return Next::FAILED;
                    }
                    break;
            }
        }
    }

    Next failRecordTooLong() {
        fail(Error::RECORD_TOO_LONG,
             "the record is longer than " + std::to_string(options_.maximumRecordBytes) + " bytes", nextLine_);
        return Next::FAILED;
    }

    bool isSkippedBlankLine() const {
        return builders_.size() > 1 && fields_.size() == 1 && !fields_[0].isQuoted && fields_[0].text.empty();
    }

    bool hasOneFieldPerColumn() {
        if (fields_.size() == builders_.size()) {
            return true;
        }
        return fail(Error::WRONG_NUMBER_OF_FIELDS,
                    "the row has " + std::to_string(fields_.size()) + " fields, but the header names " +
                        std::to_string(builders_.size()) + " columns",
                    recordLine_, std::min(fields_.size(), builders_.size()) + 1);
    }

    bool check(CSVColumnBuilder::Outcome outcome, std::size_t column) {
        switch (outcome) {
            case CSVColumnBuilder::Outcome::OK:
                return true;
            case CSVColumnBuilder::Outcome::NOT_A_NUMBER:
                return failAtField(Error::NOT_A_NUMBER, column, recordLine_);
            case CSVColumnBuilder::Outcome::INVALID_UTF8:
                return failAtField(Error::INVALID_UTF8, column, recordLine_);
            case CSVColumnBuilder::Outcome::TOO_MANY_TEXTS:
                return failAtField(Error::TOO_MANY_TEXTS, column, recordLine_);
        }
        return false;
    }

    bool failAtField(Error error, std::size_t column, std::int64_t line) {
        std::string what;
        switch (error) {
            case Error::UNBALANCED_QUOTE:
                what = "the quoted field that starts here has no closing quote";
                break;
            case Error::TEXT_AFTER_CLOSING_QUOTE:
                what = "the closing quote is followed by text instead of a delimiter or the end of the line";
                break;
            case Error::FIELD_TOO_LONG:
                what = "the field is longer than " + std::to_string(options_.maximumFieldBytes) + " bytes";
                break;
            case Error::NOT_A_NUMBER:
                what = inQuotes(fields_[column].text) + " is neither a number nor a value the column's format reads";
                break;
            case Error::INVALID_UTF8:
                what = "the text is not valid UTF-8";
                break;
            default:
                what = "there are more distinct texts than a data set can hold";
                break;
        }
        return fail(error, std::move(what), line, column + 1);
    }

    // Records the first failure, with its place written in front of the message.
    bool fail(Error error, std::string what, std::int64_t line = 0, std::size_t column = 0) {
        if (failure_.error) {
            return false;
        }
        std::string where;
        if (line > 0) {
            where = "line " + std::to_string(line);
        }
        if (column > 0) {
            where += (where.empty() ? "column " : ", column ") + std::to_string(column);
            if (column <= names_.size()) {
                where += " (" + inQuotes(names_[column - 1]) + ")";
            }
        }
        failure_.error = error;
        failure_.result = failure(error, where.empty() ? std::move(what) : where + ": " + what, line,
                                  static_cast<std::int64_t>(column));
        return false;
    }

    void reserveForEstimatedRows() {
        const auto total = input_.getTotalBytes();
        const std::uint64_t read = input_.getConsumedBytes() - dataStart_;
        if (!total || read == 0) {
            return;
        }
        // Five percent more than the rows so far promise, so that the vectors rarely grow again.
        const std::uint64_t remaining = *total > dataStart_ ? *total - dataStart_ : 0;
        const auto estimate = static_cast<std::size_t>(
            std::min<std::uint64_t>(remaining * rows_ / read * 21 / 20 + rowsBeforeEstimate, maximumRows));
        for (auto& builder : builders_) {
            builder.reserve(estimate);
        }
    }

    struct Failure {
        std::optional<Error> error;
        Result result;
    };

    CSVInput& input_;
    const Options& options_;
    CSVRecordScanner scanner_;
    std::vector<CSVField> fields_;
    std::vector<std::string> names_;
    std::vector<CSVColumnBuilder> builders_;
    StringTableBuilder strings_;
    std::int64_t nextLine_ = 1;    // the line on which the next record starts
    std::int64_t recordLine_ = 1;  // the line on which the current record started
    std::size_t rows_ = 0;
    std::uint64_t dataStart_ = 0;  // the bytes before the first row
    Failure failure_;
};

std::optional<Result> checkOptions(const Options& options) {
    if (options.delimiter == '"' || options.delimiter == '\n' || options.delimiter == '\r') {
        return failure(Error::INVALID_OPTIONS, "the delimiter cannot be a double quote or a line break");
    }
    return std::nullopt;
}

}  // namespace

CSVDataSetReader::Result CSVDataSetReader::readText(std::string_view text, const Options& options) {
    if (auto invalid = checkOptions(options)) {
        return std::move(*invalid);
    }
    MemoryCSVInput input(text);
    return CSVReading(input, options).read(std::string());
}

CSVDataSetReader::Result CSVDataSetReader::readFile(const std::string& path, const Options& options) {
    if (auto invalid = checkOptions(options)) {
        return std::move(*invalid);
    }
    std::string reason;
    const auto input = FileCSVInput::open(path, reason);
    if (!input) {
        const auto message = ResourceManager::instance().getCurrentContext()->getFormattedString(
            "vek_pellium", "DATASET_FILE_OPEN_FAILED.txt", {path, reason});
        return failure(Error::CANNOT_OPEN_FILE, message ? *message : path + ": " + reason);
    }
    return CSVReading(*input, options).read(std::filesystem::path(path).stem().string());
}

}  // namespace pellium
