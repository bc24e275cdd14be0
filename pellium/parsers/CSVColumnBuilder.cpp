#include "pellium/parsers/CSVColumnBuilder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/parsers/CSVNumberReader.h"

namespace pellium {

namespace {

// StringUtilities::trim, without a call for the fields that have no white space to trim.
std::string_view trimmed(std::string_view text) {
    const bool hasSpaceAtAnEnd =
        !text.empty() && (StringUtilities::isWhiteSpace(text.front()) || StringUtilities::isWhiteSpace(text.back()));
    return hasSpaceAtAnEnd ? StringUtilities::trim(text) : text;
}

// The token codes the CSV texts of a data set write; TOKEN_MISSING for "." and empty unquoted
// fields; 0 for anything else.
std::int32_t tokenOf(std::string_view text, bool isQuoted) {
    if (!isQuoted && (text.empty() || text == ".")) {
        return DataTokens::TOKEN_MISSING;
    }
    if (text.size() == 2 && text[0] == '~') {
        switch (text[1]) {
            case 'O':
                return DataTokens::TOKEN_ALL_OTHERS;
            case 'S':
                return DataTokens::TOKEN_SUPPRESSED;
            case 'N':
                return DataTokens::TOKEN_SPARSE;
            default:
                break;
        }
    }
    return 0;
}

}  // namespace

CSVColumnBuilder::CSVColumnBuilder(std::string name, std::optional<DataType::type> givenType, std::string formatName,
                                   bool quotedFieldsAreText)
    : name_(std::move(name)),
      formatName_(std::move(formatName)),
      kind_(!givenType                       ? Kind::INFERRED_NUMERIC
            : *givenType == DataType::STRING ? Kind::STRING
                                             : Kind::NUMERIC),
      quotedFieldsAreText_(quotedFieldsAreText) {
    if (kind_ == Kind::NUMERIC && !formatName_.empty()) {
        parser_ = FormatterFactory::instance()->getFormatterForFormatName(formatName_);
    }
}

CSVColumnBuilder::~CSVColumnBuilder() = default;
CSVColumnBuilder::CSVColumnBuilder(CSVColumnBuilder&&) noexcept = default;
CSVColumnBuilder& CSVColumnBuilder::operator=(CSVColumnBuilder&&) noexcept = default;

CSVColumnBuilder::Outcome CSVColumnBuilder::append(const CSVField& field, std::size_t row,
                                                   StringTableBuilder& strings) {
    if (kind_ != Kind::STRING) {
        return appendNumber(field, row, strings);
    }
    std::int32_t index = 0;
    const Outcome outcome = textIndexFor(field, strings, index);
    indices_.push_back(index);
    return outcome;
}

CSVColumnBuilder::Outcome CSVColumnBuilder::appendNumber(const CSVField& field, std::size_t row,
                                                         StringTableBuilder& strings) {
    const bool quotesMakeText = field.isQuoted && quotedFieldsAreText_ && kind_ == Kind::INFERRED_NUMERIC;
    if (!quotesMakeText) {
        const std::string_view text = trimmed(field.text);
        if (const std::int32_t token = tokenOf(text, false)) {
            numbers_.push_back(DataTokens::getNumericConstant(token));
            return Outcome::OK;
        }
        double number = 0;
        if (!field.hasDoubledQuotes && CSVNumberReader::read(text, number)) {
            numbers_.push_back(number);
            return Outcome::OK;
        }
        if (kind_ == Kind::NUMERIC) {
            return appendParsedNumber(text);
        }
    }
    turnIntoText(row);
    return append(field, row, strings);
}

CSVColumnBuilder::Outcome CSVColumnBuilder::appendParsedNumber(std::string_view text) {
    double number = 0;
    if (!parsed_.find(text, number)) {
        unescaped_.clear();
        CSVRecordScanner::appendUnescaped(text, unescaped_);
        number = parser_ ? parser_->parse(unescaped_) : DataTokens::MISSING_NUMERIC;
        if (std::isnan(number)) {
            return Outcome::NOT_A_NUMBER;
        }
        parsed_.remember(text, number);
    }
    numbers_.push_back(number);
    return Outcome::OK;
}

// The rows before `row` keep the missing index until fillText gives them their texts.
void CSVColumnBuilder::turnIntoText(std::size_t row) {
    const std::size_t expectedRows = std::max(numbers_.capacity(), row + 1);
    kind_ = Kind::STRING;
    firstTextRow_ = row;
    std::vector<double>().swap(numbers_);
    indices_.reserve(expectedRows);
    indices_.assign(row, DataTokens::TOKEN_MISSING);
}

CSVColumnBuilder::Outcome CSVColumnBuilder::fillText(const CSVField& field, std::size_t row,
                                                     StringTableBuilder& strings) {
    return textIndexFor(field, strings, indices_[row]);
}

CSVColumnBuilder::Outcome CSVColumnBuilder::textIndexFor(const CSVField& field, StringTableBuilder& strings,
                                                         std::int32_t& index) {
    if (const std::int32_t token = tokenOf(field.text, field.isQuoted)) {
        index = token;
        return Outcome::OK;
    }
    std::string_view text = field.text;
    if (field.hasDoubledQuotes) {
        unescaped_.clear();
        CSVRecordScanner::appendUnescaped(text, unescaped_);
        text = unescaped_;
    }
    StringTableBuilder::Refusal refusal = StringTableBuilder::Refusal::NONE;
    index = strings.add(text, stringIndex_, refusal);
    switch (refusal) {
        case StringTableBuilder::Refusal::INVALID_UTF8:
            return Outcome::INVALID_UTF8;
        case StringTableBuilder::Refusal::TABLE_FULL:
            return Outcome::TOO_MANY_TEXTS;
        default:
            return Outcome::OK;
    }
}

void CSVColumnBuilder::reserve(std::size_t rows) {
    if (kind_ == Kind::STRING) {
        indices_.reserve(rows);
    } else {
        numbers_.reserve(rows);
    }
}

std::shared_ptr<Column> CSVColumnBuilder::makeColumn(const std::string& defaultNumericFormatName,
                                                     const std::string& defaultStringFormatName) {
    const bool isText = kind_ == Kind::STRING;
    const std::string& formatName = !formatName_.empty() ? formatName_
                                    : isText             ? defaultStringFormatName
                                                         : defaultNumericFormatName;
    const auto name = StringUtilities::internString(name_);
    auto column = Column::create(name, isText ? DataType::STRING : DataType::NUMERIC, name,
                                 StringUtilities::internString(formatName));
    // Give back what growth left unused, when that is worth a copy.
    const auto fitted = [](auto& vector) {
        if (vector.capacity() - vector.size() > vector.size() / 8) {
            vector.shrink_to_fit();
        }
        return std::make_shared<std::remove_reference_t<decltype(vector)>>(std::move(vector));
    };
    if (isText) {
        column->setStringIndices(fitted(indices_));
    } else {
        column->setNumbers(fitted(numbers_));
    }
    return column;
}

}  // namespace pellium
