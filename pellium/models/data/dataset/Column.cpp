#include "pellium/models/data/dataset/Column.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <unordered_map>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/FormattedValueCache.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/serializers/SerialMarks.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

std::int32_t sizeAsRowCount(std::size_t size) {
    return static_cast<std::int32_t>(std::min<std::size_t>(size, std::numeric_limits<std::int32_t>::max()));
}

template <typename Vector>
void keepFirstRows(const std::shared_ptr<Vector>& vector, std::size_t count) {
    if (vector && vector->size() > count) {
        vector->resize(count);
    }
}

// Where a distinct value goes when the unique values are put in order.
struct UniqueValueKey {
    enum Band { MISSING, SUPPRESSED, ORDINARY, ALL_OTHERS };

    Band band = ORDINARY;
    double number = 0;
    bool isOutsideTable = false;  // texts without a table index sort after those with one
    std::int32_t index = 0;
    std::string_view text;

    bool operator<(const UniqueValueKey& other) const {
        if (band != other.band) {
            return band < other.band;
        }
        if (number != other.number) {
            return number < other.number;
        }
        if (isOutsideTable != other.isOutsideTable) {
            return !isOutsideTable;
        }
        return isOutsideTable ? text < other.text : index < other.index;
    }
};

}  // namespace

// --- Row selections --------------------------------------------------------------------------------

Column::RowSelection Column::RowSelection::all() {
    RowSelection selection;
    selection.isAll_ = true;
    return selection;
}

Column::RowSelection Column::RowSelection::firstRows(std::size_t count) {
    RowSelection selection;
    selection.firstCount_ = count;
    return selection;
}

Column::RowSelection Column::RowSelection::listed(const RowIndexSet& rows) {
    RowSelection selection;
    selection.rows_ = &rows;
    return selection;
}

// --- Creation --------------------------------------------------------------------------------------

Column::Column(Token, DataType::type dataType, SharedString name, SharedString label, SharedString formatName)
    : Variable(dataType, name, label ? std::move(label) : name, std::move(formatName), StatisticType::SUM),
      dataUsage_(dataType == DataType::NUMERIC ? DataUsage::QUANTITATIVE : DataUsage::CATEGORICAL) {}

Column::~Column() {
    delete formattedValueCache_.load(std::memory_order_relaxed);
}

std::shared_ptr<Column> Column::create() {
    return create(nullptr, DataType::NUMERIC);
}

std::shared_ptr<Column> Column::create(SharedString name, DataType::type dataType, SharedString label,
                                       SharedString formatName) {
    return std::make_shared<Column>(Token{}, dataType, std::move(name), std::move(label), std::move(formatName));
}

std::shared_ptr<Column> Column::create(const std::shared_ptr<const Column>& column, std::int32_t numberOfRows) {
    if (!column) {
        return nullptr;
    }
    return column->copyRows(RowSelection::firstRows(static_cast<std::size_t>(std::max(numberOfRows, 0))));
}

int Column::getWrapperTypeId() const {
    return WrapperTypeIds::COLUMN;
}

std::shared_ptr<Column> Column::clone() const {
    return copyRows(RowSelection::all());
}

std::shared_ptr<Column> Column::createSubset(const RowIndexSet& rows) const {
    return copyRows(RowSelection::listed(rows));
}

std::shared_ptr<Column> Column::createEmptyCopy() const {
    return std::make_shared<Column>(Token{}, getDataType(), getName(), getLabel(), getFormatName());
}

std::shared_ptr<Column> Column::copyRows(const RowSelection& rows) const {
    auto copy = createEmptyCopy();
    copy->setAggregation(getAggregation());
    copy->dataUsage_ = dataUsage_;
    copy->numbers_ = rows.apply(numbers_);
    copy->stringIndices_ = rows.apply(stringIndices_);
    copy->strings_ = rows.apply(strings_);
    copy->stringTable_ = stringTable_;
    copy->updateNumberOfRows();
    if (rows.isAll()) {
        copy->givenTotal_ = givenTotal_;  // the same rows, so a total given for them still holds
    }
    return copy;
}

// --- Data ------------------------------------------------------------------------------------------

void Column::setNumbers(std::shared_ptr<NumberVector> numbers) {
    numbers_ = std::move(numbers);
    dataChanged(true);
}

void Column::setStringIndices(std::shared_ptr<IndexVector> indices) {
    stringIndices_ = std::move(indices);
    dataChanged(true);
}

void Column::setStrings(std::shared_ptr<StringVector> strings) {
    strings_ = std::move(strings);
    dataChanged(true);
}

std::shared_ptr<Column::StringVector> Column::getStrings() const {
    if (strings_ || !stringIndices_) {
        return strings_;
    }
    auto strings = std::make_shared<StringVector>();
    strings->reserve(stringIndices_->size());
    for (const std::int32_t index : *stringIndices_) {
        strings->push_back(resolveIndex(index));
    }
    return strings;
}

void Column::resolveStringIndices(std::shared_ptr<const StringVector> stringTable) {
    stringTable_ = std::move(stringTable);
    strings_.reset();
    dataChanged(false);
}

void Column::remapStringIndices(const std::vector<std::int32_t>& newPositions,
                                std::shared_ptr<const StringVector> newTable) {
    stringTable_ = std::move(newTable);
    if (stringIndices_) {
        for (std::int32_t& index : *stringIndices_) {
            if (index >= 0 && static_cast<std::size_t>(index) < newPositions.size()) {
                index = newPositions[static_cast<std::size_t>(index)];
            }
        }
    }
    // The texts are the same; only the order of the unique values follows the new positions.
    std::lock_guard lock(lazyStateMutex_);
    uniqueFormattedValueIndices_.reset();
}

void Column::setNumberAtIndex(double number, std::int32_t row, bool notify) {
    if (!numbers_) {
        throwHasNo("numbers");
    }
    (*numbers_)[checkedRow(row, numbers_->size())] = number;
    dataChanged(notify);
}

void Column::setStringAtIndex(SharedString text, std::int32_t row, bool notify) {
    checkedRow(row, static_cast<std::size_t>(numberOfRows_));
    makeStringsExplicit();
    (*strings_)[checkedRow(row, strings_->size())] = std::move(text);
    if (stringIndices_ && static_cast<std::size_t>(row) < stringIndices_->size()) {
        (*stringIndices_)[static_cast<std::size_t>(row)] = DataTokens::UNRESOLVABLE_DATA_VALUE;
    }
    dataChanged(notify);
}

void Column::setStringIndexAtIndex(std::int32_t index, std::int32_t row) {
    if (!stringIndices_) {
        throwHasNo("string indices");
    }
    const std::size_t position = checkedRow(row, stringIndices_->size());
    (*stringIndices_)[position] = index;
    if (strings_ && position < strings_->size() && (stringTable_ || index < 0)) {
        (*strings_)[position] = resolveIndex(index);
    }
    dataChanged(true);
}

bool Column::setDataValueAtIndex(const DataValue& value, std::int32_t row, bool notify) {
    if (value.isString() != (getDataType() == DataType::STRING)) {
        return false;
    }
    if (!value.isString()) {
        setNumberAtIndex(value.getNumericValue(), row, notify);
        return true;
    }
    const std::int32_t index = value.getStringIndex();
    const SharedString text = value.getStringValue();
    const bool indexNamesTheText =
        !strings_ && stringIndices_ && index != DataTokens::UNRESOLVABLE_DATA_VALUE && resolveIndex(index) == text;
    if (indexNamesTheText) {
        (*stringIndices_)[checkedRow(row, stringIndices_->size())] = index;
        dataChanged(notify);
        return true;
    }
    setStringAtIndex(text, row, false);
    if (stringIndices_) {
        (*stringIndices_)[static_cast<std::size_t>(row)] = index;
    }
    dataChanged(notify);
    return true;
}

std::shared_ptr<DataValue> Column::getDataValueAtIndex(std::int32_t row, bool useFormattedValueCache) const {
    if (getDataType() != DataType::STRING) {
        auto value = DataValue::create(getNumberAtIndex(row));
        value->setFormattedValue(getFormattedValueAtIndex(row, useFormattedValueCache));
        return value;
    }
    // A text is its own formatted value unless it is special, so the usual case sets nothing more.
    const SharedString& text = textAtIndex(row);
    const std::int32_t index = getStringIndexAtIndex(row);
    auto value = DataValue::create(text, index);
    if (SharedString formatted = DataValue::formatStringValue(text, index); formatted != text) {
        value->setFormattedValue(std::move(formatted));
    }
    return value;
}

std::shared_ptr<DataValue::ValueList> Column::getDataValuesAtIndices(const RowIndexSet& rows) const {
    auto values = std::make_shared<DataValue::ValueList>();
    values->reserve(rows.size());
    for (const std::uint32_t row : rows) {
        if (row > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
            throw std::out_of_range("Column::getDataValuesAtIndices: row beyond the column");
        }
        values->push_back(getDataValueAtIndex(static_cast<std::int32_t>(row)));
    }
    return values;
}

void Column::setNumberOfRows(std::int32_t numberOfRows) {
    const auto count = static_cast<std::size_t>(std::max(numberOfRows, 0));
    if (getDataType() == DataType::STRING) {
        if (stringIndices_ || !strings_) {
            if (!stringIndices_) {
                stringIndices_ = std::make_shared<IndexVector>();
            }
            stringIndices_->resize(count, DataTokens::TOKEN_MISSING);
        }
        if (strings_) {
            strings_->resize(count, DataTokens::getStringConstant(DataTokens::TOKEN_MISSING));
        }
    } else {
        if (!numbers_) {
            numbers_ = std::make_shared<NumberVector>();
        }
        numbers_->resize(count, DataTokens::MISSING_NUMERIC);
    }
    dataChanged(true);
}

std::int32_t Column::updateNumberOfRows() {
    if (getDataType() == DataType::STRING) {
        const std::size_t rows = stringIndices_ ? stringIndices_->size() : (strings_ ? strings_->size() : 0);
        numberOfRows_ = sizeAsRowCount(rows);
    } else {
        numberOfRows_ = sizeAsRowCount(numbers_ ? numbers_->size() : 0);
    }
    return numberOfRows_;
}

void Column::truncate(std::int32_t numberOfRows) {
    const auto count = static_cast<std::size_t>(std::max(numberOfRows, 0));
    keepFirstRows(numbers_, count);
    keepFirstRows(stringIndices_, count);
    keepFirstRows(strings_, count);
    dataChanged(true);
}

std::shared_ptr<RowIndexSet> Column::getMissingValueIndices() const {
    auto rows = std::make_shared<RowIndexSet>();
    for (std::int32_t row = 0; row < numberOfRows_; ++row) {
        if (valueIsMissing(row)) {
            rows->insert(rows->end(), static_cast<std::uint32_t>(row));
        }
    }
    return rows;
}

bool Column::valueIsMissing(std::int32_t row) const {
    if (getDataType() == DataType::STRING) {
        return StringUtilities::isStringMissing(getStringAtIndex(row));
    }
    return std::isnan(getNumberAtIndex(row));
}

bool Column::valueIsAllOther(std::int32_t row) const {
    if (getDataType() == DataType::STRING) {
        return getStringIndexAtIndex(row) == DataTokens::TOKEN_ALL_OTHERS;
    }
    return getNumberAtIndex(row) == DataTokens::ALL_OTHERS_NUMERIC;
}

bool Column::valueIsMatchesAll(std::int32_t row) const {
    if (getDataType() == DataType::STRING) {
        return getStringIndexAtIndex(row) == DataTokens::TOKEN_MATCHES_ALL;
    }
    return getNumberAtIndex(row) == DataTokens::MATCHES_ALL_NUMERIC;
}

std::int32_t Column::findMatchingValue(const DataValue& value) const {
    const bool isStringColumn = getDataType() == DataType::STRING;
    if (value.isString() != isStringColumn) {
        return -1;
    }
    for (std::int32_t row = 0; row < numberOfRows_; ++row) {
        const bool matches =
            isStringColumn ? DataValue(getStringAtIndex(row), 0) == value : DataValue(getNumberAtIndex(row)) == value;
        if (matches) {
            return row;
        }
    }
    return -1;
}

// --- Formatting ------------------------------------------------------------------------------------

SharedString Column::getFormattedValueAtIndex(std::int32_t row, bool useCache) const {
    if (getDataType() == DataType::STRING) {
        return DataValue::formatStringValue(textAtIndex(row), getStringIndexAtIndex(row));
    }
    if (!useCache) {
        return DataValue::formatNumericValue(getNumberAtIndex(row), getFormatName());
    }
    if (!numbers_) {
        throwHasNo("numbers");
    }
    return formattedValueCache().get(*numbers_, checkedRow(row, numbers_->size()));
}

std::shared_ptr<Column::StringVector> Column::getFormattedValues() const {
    auto texts = std::make_shared<StringVector>();
    texts->reserve(static_cast<std::size_t>(numberOfRows_));
    for (std::int32_t row = 0; row < numberOfRows_; ++row) {
        texts->push_back(getFormattedValueAtIndex(row));
    }
    return texts;
}

std::shared_ptr<const std::vector<std::int32_t>> Column::getUniqueFormattedValueIndices() const {
    std::lock_guard lock(lazyStateMutex_);
    if (uniqueFormattedValueIndices_) {
        return uniqueFormattedValueIndices_;
    }
    const bool isStringColumn = getDataType() == DataType::STRING;
    std::vector<SharedString> texts;  // keeps the keys of `firstRowOfText` alive
    std::unordered_map<std::string_view, std::int32_t> firstRowOfText;
    std::vector<std::pair<UniqueValueKey, std::int32_t>> unique;
    for (std::int32_t row = 0; row < numberOfRows_; ++row) {
        SharedString text = getFormattedValueAtIndex(row);
        const std::string_view key = text ? std::string_view(*text) : std::string_view("\0null", 5);
        if (!firstRowOfText.emplace(key, row).second) {
            continue;
        }
        UniqueValueKey sortKey;
        if (isStringColumn) {
            const std::int32_t index = getStringIndexAtIndex(row);
            const SharedString value = getStringAtIndex(row);
            sortKey.band = index == DataTokens::TOKEN_ALL_OTHERS     ? UniqueValueKey::ALL_OTHERS
                           : StringUtilities::isStringMissing(value) ? UniqueValueKey::MISSING
                           : index == DataTokens::TOKEN_SUPPRESSED   ? UniqueValueKey::SUPPRESSED
                                                                     : UniqueValueKey::ORDINARY;
            sortKey.isOutsideTable = index < 0;
            sortKey.index = index;
            sortKey.text = value ? std::string_view(*value) : std::string_view();
        } else {
            const double number = getNumberAtIndex(row);
            sortKey.band = number == DataTokens::ALL_OTHERS_NUMERIC   ? UniqueValueKey::ALL_OTHERS
                           : std::isnan(number)                       ? UniqueValueKey::MISSING
                           : number == DataTokens::SUPPRESSED_NUMERIC ? UniqueValueKey::SUPPRESSED
                                                                      : UniqueValueKey::ORDINARY;
            sortKey.number = sortKey.band == UniqueValueKey::ORDINARY ? number : 0;
        }
        unique.emplace_back(sortKey, row);
        texts.push_back(std::move(text));
    }
    std::stable_sort(unique.begin(), unique.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    auto rows = std::make_shared<std::vector<std::int32_t>>();
    rows->reserve(unique.size());
    for (const auto& entry : unique) {
        rows->push_back(entry.second);
    }
    uniqueFormattedValueIndices_ = std::move(rows);
    return uniqueFormattedValueIndices_;
}

std::shared_ptr<Column::StringVector> Column::getUniqueFormattedValues() const {
    const auto rows = getUniqueFormattedValueIndices();
    auto texts = std::make_shared<StringVector>();
    texts->reserve(rows->size());
    for (const std::int32_t row : *rows) {
        texts->push_back(getFormattedValueAtIndex(row));
    }
    return texts;
}

SharedString Column::getFormattedTotal() const {
    if (getDataType() == DataType::STRING) {
        return nullptr;
    }
    return DataValue::formatNumericValue(getTotal(), getFormatName());
}

void Column::clearFormattedValueCache() {
    delete formattedValueCache_.exchange(nullptr, std::memory_order_acq_rel);
    std::lock_guard lock(lazyStateMutex_);
    uniqueFormattedValueIndices_.reset();
}

FormattedValueCache& Column::formattedValueCache() const {
    FormattedValueCache* cache = formattedValueCache_.load(std::memory_order_acquire);
    if (cache) {
        return *cache;
    }
    auto made = std::make_unique<FormattedValueCache>(numbers_ ? numbers_->size() : 0, resolveFormatter());
    if (formattedValueCache_.compare_exchange_strong(cache, made.get(), std::memory_order_acq_rel,
                                                     std::memory_order_acquire)) {
        cache = made.release();
    }
    return *cache;
}

std::shared_ptr<Formatter> Column::resolveFormatter() const {
    auto& factory = *FormatterFactory::instance();
    const SharedString& formatName = getFormatName();
    auto formatter = formatName ? factory.getFormatterForFormatName(formatName) : nullptr;
    return formatter ? formatter : factory.getDefaultNumericFormatter();
}

// --- Role ------------------------------------------------------------------------------------------

bool Column::isContinuous() const {
    return getDataType() == DataType::NUMERIC && dataUsage_ != DataUsage::CATEGORICAL;
}

// --- Summary ---------------------------------------------------------------------------------------

void Column::updateMetaData() {
    std::lock_guard lock(lazyStateMutex_);
    summary_ = computeSummary();
    metaDataIsCurrent_.store(true, std::memory_order_release);
}

const Column::Summary& Column::currentSummary() const {
    if (!metaDataIsCurrent_.load(std::memory_order_acquire)) {
        std::lock_guard lock(lazyStateMutex_);
        if (!metaDataIsCurrent_.load(std::memory_order_relaxed)) {
            summary_ = computeSummary();
            metaDataIsCurrent_.store(true, std::memory_order_release);
        }
    }
    return summary_;
}

Column::Summary Column::computeSummary() const {
    Summary summary;
    if (getDataType() == DataType::STRING) {
        summarizeStrings(summary);
    } else {
        summarizeNumbers(summary);
    }
    return summary;
}

void Column::summarizeNumbers(Summary& summary) const {
    if (!numbers_) {
        return;
    }
    for (const double number : *numbers_) {
        if (std::isnan(number)) {
            summary.containsMissing = true;
        } else if (number == DataTokens::ALL_OTHERS_NUMERIC) {
            summary.containsAllOther = true;
        } else if (number == DataTokens::MATCHES_ALL_NUMERIC) {
            summary.containsMatchesAll = true;
        } else if (number != DataTokens::SPARSE_NUMERIC && number != DataTokens::SUPPRESSED_NUMERIC) {
            // std::fmin and std::fmax take the number when the extreme is still NaN.
            summary.total += number;
            summary.minimumNumber = std::fmin(summary.minimumNumber, number);
            summary.maximumNumber = std::fmax(summary.maximumNumber, number);
            if (number > 0) {
                summary.minimumPositive = std::fmin(summary.minimumPositive, number);
            } else if (number < 0) {
                summary.minimumNegative = std::fmax(summary.minimumNegative, number);
            }
        }
    }
}

void Column::summarizeStrings(Summary& summary) const {
    std::size_t longest = 0;
    const auto summarize = [&](const SharedString& text, std::int32_t index) {
        if (index == DataTokens::TOKEN_ALL_OTHERS) {
            summary.containsAllOther = true;
        } else if (index == DataTokens::TOKEN_MATCHES_ALL) {
            summary.containsMatchesAll = true;
        } else if (index == DataTokens::TOKEN_SPARSE || index == DataTokens::TOKEN_SUPPRESSED) {
            return;
        } else if (StringUtilities::isStringMissing(text)) {
            summary.containsMissing = true;
        } else if (const std::size_t length = StringUtilities::countUtf8CodePoints(*text);
                   length > longest || !summary.maximumString) {
            longest = length;
            summary.maximumString = text;
        }
    };
    if (strings_) {
        for (std::size_t row = 0; row < strings_->size(); ++row) {
            const bool hasIndex = stringIndices_ && row < stringIndices_->size();
            summarize((*strings_)[row], hasIndex ? (*stringIndices_)[row] : DataTokens::UNRESOLVABLE_DATA_VALUE);
        }
        return;
    }
    if (!stringIndices_) {
        return;
    }
    // Each text of the table is looked at once, however many rows point to it.
    std::vector<bool> isSummarized(stringTable_ ? stringTable_->size() : 0, false);
    for (const std::int32_t index : *stringIndices_) {
        if (index >= 0 && static_cast<std::size_t>(index) < isSummarized.size()) {
            if (isSummarized[static_cast<std::size_t>(index)]) {
                continue;
            }
            isSummarized[static_cast<std::size_t>(index)] = true;
        }
        summarize(resolveIndex(index), index);
    }
}

double Column::getMinimumNumber() const {
    return currentSummary().minimumNumber;
}
double Column::getMaximumNumber() const {
    return currentSummary().maximumNumber;
}
double Column::getMinimumPositive() const {
    return currentSummary().minimumPositive;
}
double Column::getMinimumNegative() const {
    return currentSummary().minimumNegative;
}
double Column::getTotal() const {
    return givenTotal_ ? *givenTotal_ : currentSummary().total;
}
void Column::setTotal(double total) {
    givenTotal_ = total;
}
SharedString Column::getMaximumString() const {
    return currentSummary().maximumString;
}
bool Column::containsMissing() const {
    return currentSummary().containsMissing;
}
bool Column::containsAllOther() const {
    return currentSummary().containsAllOther;
}
bool Column::containsMatchesAll() const {
    return currentSummary().containsMatchesAll;
}

std::string Column::getDescription() const {
    const auto textOrNull = [](const SharedString& text) { return text ? *text : std::string("NULL"); };
    std::ostringstream description;
    description.imbue(std::locale::classic());
    description << "Column{ name=\"" << textOrNull(getName()) << "\" label=\"" << textOrNull(getLabel())
                << "\" dataType=\"" << DataType::getStringFromValue(getDataType()) << "\" formatName=\""
                << textOrNull(getFormatName()) << "\" usage=\"" << DataUsage::getStringFromValue(dataUsage_)
                << "\" aggregation=\"" << StatisticType::getStringFromValue(getAggregation()) << "\" numberOfRows=\""
                << numberOfRows_ << "\" }";
    return description.str();
}

// --- Internals -------------------------------------------------------------------------------------

void Column::throwRowOutOfRange(std::int32_t row, std::size_t size) const {
    throw std::out_of_range("Column: row " + std::to_string(row) + " is outside the " + std::to_string(size) +
                            " rows of column '" + (getName() ? *getName() : std::string()) + "'");
}

void Column::throwHasNo(const char* what) const {
    throw std::out_of_range(std::string("Column: column '") + (getName() ? *getName() : std::string()) + "' has no " +
                            what);
}

// Token codes give their internal texts; an index the table lacks gives null.
const SharedString& Column::resolveOtherIndex(std::int32_t index) const {
    return index < 0 ? DataTokens::getStringConstant(index) : StringUtilities::getNullString();
}

void Column::makeStringsExplicit() {
    if (!strings_) {
        strings_ = getStrings();
        if (!strings_) {
            strings_ = std::make_shared<StringVector>();
        }
    }
}

void Column::dataChanged(bool notify) {
    updateNumberOfRows();
    givenTotal_.reset();
    metaDataIsCurrent_.store(false, std::memory_order_release);
    clearFormattedValueCache();
    if (notify) {
        dispatchEvent(VALUES_CHANGED);
    }
}

void Column::attributesChanged() {
    clearFormattedValueCache();
}

}  // namespace pellium

// --- Stream form -----------------------------------------------------------------------------------

namespace pellium {

namespace {

// The rows a column has in the stream: those of the vector of its type.
std::size_t rowsInStream(std::int32_t dataType, const std::shared_ptr<Column::NumberVector>& numbers,
                         const std::shared_ptr<Column::IndexVector>& stringIndices) {
    if (dataType == DataType::STRING) {
        return stringIndices ? stringIndices->size() : 0;
    }
    return numbers ? numbers->size() : 0;
}

}  // namespace

// The body of a column as it stands in the stream, read before the column is made, since the
// class byte and the attributes decide how it is made.
struct Column::StreamFields {
    std::int32_t dataType = DataType::NUMERIC;
    SharedString name;
    SharedString label;
    SharedString formatName;
    std::int32_t aggregation = StatisticType::SUM;
    std::shared_ptr<NumberVector> numbers;
    std::shared_ptr<IndexVector> stringIndices;
    std::int32_t dataUsage = DataUsage::UNDEFINED;
    std::int32_t numberOfRows = 0;
    Summary summary;
    bool metaDataIsCurrent = false;

    bool read(SerialReader& reader) {
        if (!reader.readPrimitive(SerialMarks::TAG_C, dataType)) {
            return false;
        }
        if (!reader.readString(name) || !reader.readString(label) || !reader.readString(formatName)) {
            return false;
        }
        if (!reader.readPrimitive(SerialMarks::TAG_C, aggregation)) {
            return false;
        }
        if (!reader.readSharedPrimitiveVector(numbers) || !reader.readSharedPrimitiveVector(stringIndices)) {
            return false;
        }
        if (!reader.readPrimitive(SerialMarks::TAG_C, dataUsage)) {
            return false;
        }
        if (!reader.readPrimitive(SerialMarks::TAG_B, numberOfRows)) {
            return false;
        }
        if (!reader.readPrimitive(SerialMarks::TAG_B, summary.minimumPositive) ||
            !reader.readPrimitive(SerialMarks::TAG_B, summary.minimumNumber) ||
            !reader.readPrimitive(SerialMarks::TAG_B, summary.maximumNumber) ||
            !reader.readPrimitive(SerialMarks::TAG_B, summary.minimumNegative) ||
            !reader.readPrimitive(SerialMarks::TAG_B, summary.total)) {
            return false;
        }
        if (!reader.readString(summary.maximumString)) {
            return false;
        }
        // Missing, matches-all, all-others: the stream's order, not the fields'.
        if (!reader.readPrimitive(SerialMarks::TAG_C, summary.containsMissing) ||
            !reader.readPrimitive(SerialMarks::TAG_C, summary.containsMatchesAll) ||
            !reader.readPrimitive(SerialMarks::TAG_C, summary.containsAllOther) ||
            !reader.readPrimitive(SerialMarks::TAG_C, metaDataIsCurrent)) {
            return false;
        }
        // The rows of the column are those of the vector of its type; a count that differs marks a
        // damaged stream.
        return numberOfRows >= 0 &&
               static_cast<std::size_t>(numberOfRows) == rowsInStream(dataType, numbers, stringIndices);
    }
};

bool Column::serialize(std::ostream& stream, const std::shared_ptr<const Column>& column) {
    SerialWriter writer(stream);
    return serialize(writer, column);
}

bool Column::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeStreamForm(writer);
}

std::uint8_t Column::getClassByte() const {
    return dynamic_cast<const PartiallyAggregatedColumn*>(this) ? PARTIALLY_AGGREGATED_COLUMN_CLASS_BYTE
                                                                : COLUMN_CLASS_BYTE;
}

bool Column::serialize(SerialWriter& writer, const std::shared_ptr<const Column>& column) {
    if (!column) {
        return writer.writeVersionMark() && writer.writePresence(false);
    }
    return column->writeStreamForm(writer);
}

bool Column::writeStreamForm(SerialWriter& writer) const {
    if (!writer.writeVersionMark() || !writer.writePresence(true) || !writer.writeMark(getClassByte()) ||
        !writeBody(writer)) {
        return false;
    }
    const auto* aggregated = dynamic_cast<const PartiallyAggregatedColumn*>(this);
    return !aggregated || writer.writeSharedObjectVector(aggregated->getSubColumns(), [&](const auto& subColumn) {
        return serialize(writer, subColumn);
    });
}

bool Column::writeBody(SerialWriter& writer) const {
    if (givenTotal_ && !isMetaDataCurrent()) {
        currentSummary();  // so that the given total travels as a current summary's total
    }
    Summary summary;
    bool isCurrent = false;
    {
        std::lock_guard lock(lazyStateMutex_);
        summary = summary_;
        isCurrent = metaDataIsCurrent_.load(std::memory_order_acquire);
    }
    const double total = givenTotal_ ? *givenTotal_ : summary.total;
    const std::size_t rows = rowsInStream(getDataType(), numbers_, stringIndices_);
    return writer.writePrimitive(SerialMarks::TAG_C, static_cast<std::int32_t>(getDataType())) &&
           writer.writeString(getName()) && writer.writeString(getLabel()) && writer.writeString(getFormatName()) &&
           writer.writePrimitive(SerialMarks::TAG_C, static_cast<std::int32_t>(getAggregation())) &&
           writer.writeSharedPrimitiveVector(numbers_) && writer.writeSharedPrimitiveVector(stringIndices_) &&
           writer.writePrimitive(SerialMarks::TAG_C, static_cast<std::int32_t>(dataUsage_)) &&
           writer.writePrimitive(SerialMarks::TAG_B, sizeAsRowCount(rows)) &&
           writer.writePrimitive(SerialMarks::TAG_B, summary.minimumPositive) &&
           writer.writePrimitive(SerialMarks::TAG_B, summary.minimumNumber) &&
           writer.writePrimitive(SerialMarks::TAG_B, summary.maximumNumber) &&
           writer.writePrimitive(SerialMarks::TAG_B, summary.minimumNegative) &&
           writer.writePrimitive(SerialMarks::TAG_B, total) && writer.writeString(summary.maximumString) &&
           writer.writePrimitive(SerialMarks::TAG_C, summary.containsMissing) &&
           writer.writePrimitive(SerialMarks::TAG_C, summary.containsMatchesAll) &&
           writer.writePrimitive(SerialMarks::TAG_C, summary.containsAllOther) &&
           writer.writePrimitive(SerialMarks::TAG_C, isCurrent);
}

bool Column::unserialize(std::istream& stream, std::shared_ptr<Column>& column) {
    SerialReader reader(stream);
    return unserialize(reader, column, nullptr, 0);
}

bool Column::unserialize(SerialReader& reader, std::shared_ptr<Column>& column,
                         std::shared_ptr<const StringVector> stringTable) {
    return unserialize(reader, column, stringTable, 0);
}

bool Column::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    bool isPresent = false;
    std::uint8_t classByte = 0;
    return reader.readVersionMark() && reader.readPresence(isPresent) && isPresent && reader.readMark(classByte) &&
           classByte == getClassByte() && readStreamForm(reader, stringTable_, 0);
}

bool Column::unserialize(SerialReader& reader, std::shared_ptr<Column>& column,
                         const std::shared_ptr<const StringVector>& stringTable, int depth) {
    column.reset();
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    if (!isPresent) {
        return true;
    }
    // The class byte decides the class made.
    std::uint8_t classByte = 0;
    if (!reader.readMark(classByte)) {
        return false;
    }
    std::shared_ptr<Column> made;
    if (classByte == COLUMN_CLASS_BYTE) {
        made = create();
    } else if (classByte == PARTIALLY_AGGREGATED_COLUMN_CLASS_BYTE) {
        made = PartiallyAggregatedColumn::create(nullptr, DataType::NUMERIC);
    } else {
        return false;
    }
    if (!made->readStreamForm(reader, stringTable, depth)) {
        return false;
    }
    column = std::move(made);
    return true;
}

// Reads what follows the class byte into this column; the caller has checked or read the byte.
bool Column::readStreamForm(SerialReader& reader, const std::shared_ptr<const StringVector>& stringTable, int depth) {
    StreamFields fields;
    if (!fields.read(reader)) {
        return false;
    }
    applyStreamFields(fields, stringTable);
    auto* aggregated = dynamic_cast<PartiallyAggregatedColumn*>(this);
    if (!aggregated) {
        return true;
    }
    if (depth >= MAXIMUM_STREAM_NESTING) {
        return false;
    }
    aggregated->removeAllSubColumns();
    std::shared_ptr<std::vector<std::shared_ptr<Column>>> subColumns;
    if (!reader.readSharedObjectVector(subColumns, [&](std::shared_ptr<Column>& subColumn) {
            return unserialize(reader, subColumn, stringTable, depth + 1);
        })) {
        return false;
    }
    if (subColumns) {
        for (const auto& subColumn : *subColumns) {
            if (subColumn) {
                aggregated->setColumnForAggregation(subColumn, subColumn->getAggregation());
            }
        }
    }
    return true;
}

void Column::applyStreamFields(StreamFields& fields, const std::shared_ptr<const StringVector>& stringTable) {
    setDataType(static_cast<DataType::type>(fields.dataType));
    setName(fields.name);
    setLabel(fields.label);
    setFormatName(fields.formatName);
    setAggregation(static_cast<StatisticType::type>(fields.aggregation));
    dataUsage_ = static_cast<DataUsage::type>(fields.dataUsage);
    numbers_ = std::move(fields.numbers);
    stringIndices_ = std::move(fields.stringIndices);
    strings_.reset();
    stringTable_ = getDataType() == DataType::STRING ? stringTable : nullptr;
    givenTotal_.reset();
    clearFormattedValueCache();
    updateNumberOfRows();
    fields.summary.maximumString = StringUtilities::internString(fields.summary.maximumString);
    std::lock_guard lock(lazyStateMutex_);
    summary_ = std::move(fields.summary);
    metaDataIsCurrent_.store(fields.metaDataIsCurrent, std::memory_order_release);
}

}  // namespace pellium
