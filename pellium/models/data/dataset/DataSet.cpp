#include "pellium/models/data/dataset/DataSet.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iostream>
#include <locale>
#include <numeric>
#include <sstream>
#include <unordered_set>

#include "pellium/formatters/VekFormat.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/models/data/dataset/SummarizedRowStates.h"
#include "pellium/models/data/where/WhereEvaluator.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialMarks.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"
#include "pellium/util/TranscodingUtilities.h"
#include "pellium/util/vector_map.h"

namespace pellium {

namespace {

constexpr std::string_view resourceBundle = "vek_pellium";

bool isEmptyText(const SharedString& text) {
    return !text || text->empty();
}

std::string textOrNull(const SharedString& text) {
    return text ? *text : std::string("NULL");
}

void appendQuoted(std::string& text, const SharedString& value) {
    StringUtilities::appendQuotedField(text, value ? std::string_view(*value) : std::string_view());
}

void appendInteger(std::string& text, std::int32_t number) {
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof(digits), number);
    text.append(digits, result.ptr);
}

// The code-to-message table: each code's message is the localized text of its constant name
// followed by ".txt".
const vector_map<int, std::string_view>& validationCodeNames() {
    static const vector_map<int, std::string_view> names{
        {DataSet::DATASET_NO_NAME, "DATASET_NO_NAME"},
        {DataSet::DATASET_ZERO_COLUMNS, "DATASET_ZERO_COLUMNS"},
        {DataSet::DATASET_INVALID_EXPSILON, "DATASET_INVALID_EXPSILON"},
        {DataSet::DATASET_EXTREME_EPSILON, "DATASET_EXTREME_EPSILON"},
        {DataSet::DATASET_NULL_COLUMN, "DATASET_NULL_COLUMN"},
        {DataSet::DATASET_NONRECTANGULAR, "DATASET_NONRECTANGULAR"},
        {DataSet::COLUMN_NO_NAME, "COLUMN_NO_NAME"},
        {DataSet::COLUMN_DUPLICATE_NAME, "COLUMN_DUPLICATE_NAME"},
        {DataSet::COLUMN_NO_LABEL, "COLUMN_NO_LABEL"},
        {DataSet::COLUMN_DUPLICATE_LABEL, "COLUMN_DUPLICATE_LABEL"},
        {DataSet::COLUMN_NO_FORMAT, "COLUMN_NO_FORMAT"},
        {DataSet::COLUMN_INVALID_FORMAT, "COLUMN_INVALID_FORMAT"},
        {DataSet::COLUMN_INVALID_USAGE, "COLUMN_INVALID_USAGE"},
        {DataSet::COLUMN_UNDEFINED_DATA_TYPE, "COLUMN_UNDEFINED_DATA_TYPE"},
    };
    return names;
}

// Collects the problems of the columns; names and labels are compared by their bytes.
class ColumnValidator {
public:
    ColumnValidator(std::int32_t numberOfRows, std::vector<DataSet::ValidationProblem>& problems)
        : numberOfRows_(numberOfRows), problems_(problems) {}

    void validate(const Column* column, std::int32_t position) {
        const std::string where = std::to_string(position);
        if (!column) {
            report(DataSet::DATASET_NULL_COLUMN, {where});
            return;
        }
        checkUnique(column->getName(), seenNames_, DataSet::COLUMN_NO_NAME, DataSet::COLUMN_DUPLICATE_NAME, where);
        checkUnique(column->getLabel(), seenLabels_, DataSet::COLUMN_NO_LABEL, DataSet::COLUMN_DUPLICATE_LABEL, where);
        const SharedString& formatName = column->getFormatName();
        if (isEmptyText(formatName)) {
            report(DataSet::COLUMN_NO_FORMAT, {where});
        } else if (!VekFormat::isValidFormat(formatName)) {
            report(DataSet::COLUMN_INVALID_FORMAT, {*formatName, where});
        }
        if (column->getDataType() == DataType::STRING && column->getDataUsage() == DataUsage::QUANTITATIVE) {
            report(DataSet::COLUMN_INVALID_USAGE, {where});
        }
        if (!DataType::isValid(column->getDataType())) {
            report(DataSet::COLUMN_UNDEFINED_DATA_TYPE, {where});
        }
        if (column->getNumberOfRows() != numberOfRows_) {
            report(DataSet::DATASET_NONRECTANGULAR,
                   {std::to_string(numberOfRows_), where, std::to_string(column->getNumberOfRows())});
        }
    }

private:
    void checkUnique(const SharedString& text, std::unordered_set<std::string>& seen, int missingCode,
                     int duplicateCode, const std::string& where) {
        if (isEmptyText(text)) {
            report(missingCode, {where});
        } else if (!seen.insert(*text).second) {
            report(duplicateCode, {*text});
        }
    }

    void report(int code, std::vector<std::string> arguments) { problems_.push_back({code, std::move(arguments)}); }

    std::int32_t numberOfRows_;
    std::vector<DataSet::ValidationProblem>& problems_;
    std::unordered_set<std::string> seenNames_;
    std::unordered_set<std::string> seenLabels_;
};

}  // namespace

// --- Creation --------------------------------------------------------------------------------------

DataSet::DataSet(Token, bool createOptionFirst, bool summarizedRowStates)
    : createOptionFirst_(createOptionFirst), summarizedRowStates_(summarizedRowStates) {}

DataSet::~DataSet() {
    stopListeningToAll();
}

std::shared_ptr<DataSet> DataSet::create(bool createOptionFirst, bool summarizedRowStates) {
    return std::make_shared<DataSet>(Token{}, createOptionFirst, summarizedRowStates);
}

std::shared_ptr<DataSet> DataSet::create(const std::shared_ptr<ColumnList>& columns) {
    auto dataSet = create(false, false);
    dataSet->setColumns(columns);
    return dataSet;
}

std::shared_ptr<DataSet> DataSet::create(const std::shared_ptr<const DataSet>& dataSet, std::int32_t numberOfRows) {
    if (!dataSet) {
        return nullptr;
    }
    auto copy = dataSet->createEmptyCopy();
    copy->setColumns(dataSet->selectColumns([&](const auto& column) { return Column::create(column, numberOfRows); }));
    return copy;
}

int DataSet::getWrapperTypeId() const {
    return WrapperTypeIds::DATA_SET;
}

std::shared_ptr<DataSet> DataSet::clone() const {
    auto copy = createEmptyCopy();
    copy->setColumns(selectColumns([](const auto& column) { return column->clone(); }));
    return copy;
}

std::shared_ptr<DataSet> DataSet::createEmptyCopy() const {
    auto copy = create(createOptionFirst_, summarizedRowStates_);
    copy->name_ = name_;
    copy->stringTable_ = stringTable_;
    copy->comparisonEpsilon_ = comparisonEpsilon_;
    return copy;
}

template <typename Keep>
std::shared_ptr<DataSet::ColumnList> DataSet::selectColumns(Keep&& keep) const {
    if (!columns_) {
        return nullptr;
    }
    auto selected = std::make_shared<ColumnList>();
    selected->reserve(columns_->size());
    for (const auto& column : *columns_) {
        selected->push_back(column ? keep(column) : nullptr);
    }
    return selected;
}

// --- Columns ---------------------------------------------------------------------------------------

void DataSet::setColumns(const std::shared_ptr<ColumnList>& columns) {
    stopListeningToAll();
    columns_ = columns;
    if (columns_) {
        for (const auto& column : *columns_) {
            listenTo(column);
        }
    }
    computeNumberOfRows();
}

void DataSet::addColumn(const std::shared_ptr<Column>& column) {
    if (!column) {
        return;
    }
    if (!columns_) {
        columns_ = std::make_shared<ColumnList>();
    }
    listenTo(column);
    columns_->push_back(column);
    computeNumberOfRows();
}

bool DataSet::setColumnAtIndex(const std::shared_ptr<Column>& column, std::int32_t index) {
    if (index < 0 || index >= getNumberOfColumns()) {
        return false;
    }
    auto& slot = (*columns_)[static_cast<std::size_t>(index)];
    stopListeningTo(slot.get());
    slot = column;
    listenTo(column);
    computeNumberOfRows();
    return true;
}

std::shared_ptr<Column> DataSet::getColumnAtIndex(std::int32_t index) const {
    if (index < 0 || index >= getNumberOfColumns()) {
        return nullptr;
    }
    return (*columns_)[static_cast<std::size_t>(index)];
}

std::int32_t DataSet::getNumberOfColumns() const {
    return columns_ ? static_cast<std::int32_t>(columns_->size()) : 0;
}

std::shared_ptr<Column> DataSet::getColumnWithName(std::string_view name) const {
    return getColumnAtIndex(getIndexOfColumnWithName(name));
}

std::int32_t DataSet::getIndexOfColumnWithName(std::string_view name) const {
    for (std::int32_t index = 0; index < getNumberOfColumns(); ++index) {
        const auto& column = (*columns_)[static_cast<std::size_t>(index)];
        if (column && column->getName() && *column->getName() == name) {
            return index;
        }
    }
    return -1;
}

std::shared_ptr<Column> DataSet::getColumnWithLabel(std::string_view label) const {
    if (!columns_) {
        return nullptr;
    }
    const auto found = std::ranges::find_if(
        *columns_, [&](const auto& column) { return column && column->getLabel() && *column->getLabel() == label; });
    return found != columns_->end() ? *found : nullptr;
}

std::shared_ptr<DataSet::ColumnList> DataSet::getNumberColumns() const {
    auto selected = std::make_shared<ColumnList>();
    if (columns_) {
        std::ranges::copy_if(*columns_, std::back_inserter(*selected),
                             [](const auto& column) { return column && column->getDataType() == DataType::NUMERIC; });
    }
    return selected;
}

std::shared_ptr<DataSet::ColumnList> DataSet::getStringColumns() const {
    auto selected = std::make_shared<ColumnList>();
    if (columns_) {
        std::ranges::copy_if(*columns_, std::back_inserter(*selected),
                             [](const auto& column) { return column && column->getDataType() == DataType::STRING; });
    }
    return selected;
}

std::shared_ptr<DataSet::ColumnList> DataSet::getColumnsWithUsage(DataUsage::type usage) const {
    auto selected = std::make_shared<ColumnList>();
    if (columns_) {
        std::ranges::copy_if(*columns_, std::back_inserter(*selected),
                             [&](const auto& column) { return column && column->getDataUsage() == usage; });
    }
    return selected;
}

std::vector<std::shared_ptr<Column>> DataSet::getAllColumnsWithData() const {
    std::vector<std::shared_ptr<Column>> all;
    if (columns_) {
        std::unordered_set<const Column*> visited;
        for (const auto& column : *columns_) {
            collectColumnsWithData(column, visited, all);
        }
    }
    return all;
}

void DataSet::collectColumnsWithData(const std::shared_ptr<Column>& column, std::unordered_set<const Column*>& visited,
                                     std::vector<std::shared_ptr<Column>>& all) {
    if (!column || !visited.insert(column.get()).second) {
        return;
    }
    all.push_back(column);
    if (const auto aggregated = std::dynamic_pointer_cast<PartiallyAggregatedColumn>(column)) {
        const auto subColumns = aggregated->getSubColumns();
        for (const auto& subColumn : *subColumns) {
            collectColumnsWithData(subColumn, visited, all);
        }
    }
}

void DataSet::listenTo(const std::shared_ptr<Column>& column) {
    if (!column) {
        return;
    }
    std::weak_ptr<EventDispatcher> self = weak_from_this();
    const ListenerId id = column->addListenerForAllEvents([self](const std::shared_ptr<Event>& event) {
        if (const auto dataSet = self.lock()) {
            static_cast<DataSet&>(*dataSet).changeEventHandler(event);
        }
    });
    columnListeners_.emplace_back(column, id);
}

void DataSet::stopListeningTo(const Column* column) {
    const auto found = std::ranges::find_if(
        columnListeners_, [&](const auto& listener) { return listener.first.lock().get() == column; });
    if (found == columnListeners_.end()) {
        return;
    }
    if (const auto listened = found->first.lock()) {
        listened->removeListener(found->second);
    }
    columnListeners_.erase(found);
}

void DataSet::stopListeningToAll() {
    for (const auto& [column, id] : columnListeners_) {
        if (const auto listened = column.lock()) {
            listened->removeListener(id);
        }
    }
    columnListeners_.clear();
}

void DataSet::changeEventHandler(const std::shared_ptr<Event>& event) {
    update();
    relayEvent(event);
}

// --- Rows ------------------------------------------------------------------------------------------

std::int32_t DataSet::computeNumberOfRows() {
    bool hasColumn = false;
    std::int32_t smallest = 0;
    if (columns_) {
        for (const auto& column : *columns_) {
            if (!column) {
                continue;
            }
            const std::int32_t rows = column->updateNumberOfRows();
            smallest = hasColumn ? std::min(smallest, rows) : rows;
            hasColumn = true;
        }
    }
    numberOfRows_ = smallest;
    return numberOfRows_;
}

void DataSet::update() {
    computeNumberOfRows();
}

void DataSet::truncate(std::int32_t numberOfRows) {
    if (columns_) {
        for (const auto& column : *columns_) {
            if (column) {
                column->truncate(numberOfRows);
            }
        }
    }
    computeNumberOfRows();
    if (rowStates_) {
        rowStates_->truncate(numberOfRows_);
    }
}

std::shared_ptr<DataSet> DataSet::getSubsetDefinedBySpecifiedIndices(const std::shared_ptr<const DataSet>& dataSet,
                                                                     const RowIndexSet& rows) {
    if (!dataSet) {
        return nullptr;
    }
    auto subset = dataSet->createEmptyCopy();
    subset->setColumns(dataSet->selectColumns([&](const auto& column) { return column->createSubset(rows); }));
    return subset;
}

// --- Text ------------------------------------------------------------------------------------------

SharedString DataSet::getFormattedValueAtIndex(std::int32_t columnIndex, std::int32_t row) const {
    const auto column = getColumnAtIndex(columnIndex);
    return column ? column->getFormattedValueAtIndex(row) : nullptr;
}

void DataSet::appendRowsAsCSV(std::string& text, bool writeTexts) const {
    for (std::int32_t row = 0; row < numberOfRows_; ++row) {
        for (std::size_t position = 0; position < columns_->size(); ++position) {
            if (position > 0) {
                text.push_back(',');
            }
            const Column* column = (*columns_)[position].get();
            if (!column) {
                continue;
            }
            if (column->getDataType() != DataType::STRING) {
                DataTokens::appendCSVNumber(text, column->getNumberAtIndex(row));
            } else if (writeTexts) {
                appendQuoted(text, column->getStringAtIndex(row));
            } else {
                appendInteger(text, column->getStringIndexAtIndex(row));
            }
        }
        text.push_back('\n');
    }
}

SharedString DataSet::getIndexedCSV() const {
    std::string text;
    if (columns_) {
        appendRowsAsCSV(text, false);
    }
    return std::make_shared<const std::string>(std::move(text));
}

SharedString DataSet::getCombinedCSV() const {
    std::string text;
    if (columns_) {
        appendRowsAsCSV(text, true);
    }
    return std::make_shared<const std::string>(std::move(text));
}

SharedString DataSet::getStringTableCSV() const {
    std::string text;
    if (stringTable_) {
        for (const auto& entry : *stringTable_) {
            appendQuoted(text, entry);
            text.push_back('\n');
        }
    }
    return std::make_shared<const std::string>(std::move(text));
}

void DataSet::printNumericValueToStream(std::ostream& stream, double number) {
    DataTokens::writeCSVNumber(stream, number);
}

void DataSet::print() const {
    std::cout << getDescription() << std::endl;
}

void DataSet::printTable(std::ostream& stream, std::int32_t maximumRows) const {
    const std::int32_t rows = maximumRows < 0 ? numberOfRows_ : std::min(maximumRows, numberOfRows_);
    const std::int32_t columns = getNumberOfColumns();
    for (std::int32_t position = 0; position < columns; ++position) {
        const auto column = getColumnAtIndex(position);
        stream << (position > 0 ? "\t" : "") << (column && column->getName() ? *column->getName() : std::string());
    }
    stream << '\n';
    for (std::int32_t row = 0; row < rows; ++row) {
        for (std::int32_t position = 0; position < columns; ++position) {
            const SharedString text = getFormattedValueAtIndex(position, row);
            stream << (position > 0 ? "\t" : "") << (text ? *text : std::string());
        }
        stream << '\n';
    }
}

std::string DataSet::getDescription() const {
    std::ostringstream description;
    description.imbue(std::locale::classic());
    description << "DataSet{ name=\"" << textOrNull(name_) << "\" numberOfRows=\"" << numberOfRows_
                << "\" numberOfColumns=\"" << getNumberOfColumns() << "\" stringTableSize=\""
                << (stringTable_ ? stringTable_->size() : 0) << "\" comparisonEpsilon=\"" << comparisonEpsilon_
                << "\" }";
    for (std::int32_t position = 0; position < getNumberOfColumns(); ++position) {
        const auto column = getColumnAtIndex(position);
        description << "\n  " << (column ? column->getDescription() : std::string("NULL"));
    }
    return description.str();
}

// --- String table ----------------------------------------------------------------------------------

void DataSet::setStringTable(std::shared_ptr<StringTable> stringTable) {
    if (stringTable) {
        for (auto& text : *stringTable) {
            text = StringUtilities::internString(text);
        }
    }
    std::lock_guard lock(stringIndexMutex_);
    stringTable_ = std::move(stringTable);
    indexedTable_ = nullptr;
}

std::int32_t DataSet::getSortIndexForString(const SharedString& text) const {
    return text ? getSortIndexForString(std::string_view(*text)) : DataTokens::UNRESOLVABLE_DATA_VALUE;
}

std::int32_t DataSet::getSortIndexForString(std::string_view text) const {
    std::lock_guard lock(stringIndexMutex_);
    if (!stringTable_) {
        return DataTokens::UNRESOLVABLE_DATA_VALUE;
    }
    if (indexedTable_ != stringTable_.get() || indexedTableSize_ != stringTable_->size()) {
        stringPositions_.clear();
        stringPositions_.reserve(stringTable_->size());
        for (std::size_t position = 0; position < stringTable_->size(); ++position) {
            if (const auto& entry = (*stringTable_)[position]) {
                // The first position of a text wins, as a search from the start would find.
                stringPositions_.emplace(*entry, static_cast<std::int32_t>(position));
            }
        }
        indexedTable_ = stringTable_.get();
        indexedTableSize_ = stringTable_->size();
    }
    const auto found = stringPositions_.find(text);
    return found != stringPositions_.end() ? found->second : DataTokens::UNRESOLVABLE_DATA_VALUE;
}

void DataSet::sortOrderedUniqueStringValues() {
    if (!stringTable_) {
        return;
    }
    const StringTable& table = *stringTable_;
    std::vector<std::int32_t> order(table.size());
    std::iota(order.begin(), order.end(), 0);
    const auto textOf = [&](std::int32_t position) {
        const auto& text = table[static_cast<std::size_t>(position)];
        return text ? std::string_view(*text) : std::string_view();
    };
    // std::string_view compares bytes as unsigned characters, a proper prefix first.
    std::ranges::stable_sort(order,
                             [&](std::int32_t left, std::int32_t right) { return textOf(left) < textOf(right); });
    auto sorted = std::make_shared<StringTable>(table.size());
    std::vector<std::int32_t> newPositions(table.size());
    for (std::size_t position = 0; position < order.size(); ++position) {
        const auto oldPosition = static_cast<std::size_t>(order[position]);
        (*sorted)[position] = table[oldPosition];
        newPositions[oldPosition] = static_cast<std::int32_t>(position);
    }
    for (const auto& column : getAllColumnsWithData()) {
        if (column->getDataType() == DataType::STRING) {
            column->remapStringIndices(newPositions, sorted);
        }
    }
    std::lock_guard lock(stringIndexMutex_);
    stringTable_ = std::move(sorted);
    indexedTable_ = nullptr;
}

void DataSet::assignStringValuesFromIndices() {
    for (const auto& column : getAllColumnsWithData()) {
        if (column->getDataType() == DataType::STRING) {
            column->resolveStringIndices(stringTable_);
        }
    }
}

// --- Totals and validation -------------------------------------------------------------------------

std::shared_ptr<DataSet> DataSet::computeTotals(const std::shared_ptr<const DataSet>& dataSet) {
    if (!dataSet) {
        return nullptr;
    }
    auto totals = dataSet->createEmptyCopy();
    totals->setColumns(dataSet->selectColumns([&](const std::shared_ptr<Column>& column) {
        auto total =
            Column::create(column->getName(), column->getDataType(), column->getLabel(), column->getFormatName());
        total->setDataUsage(column->getDataUsage());
        total->setAggregation(column->getAggregation());
        if (column->getDataType() == DataType::STRING) {
            total->setStringIndices(std::make_shared<Column::IndexVector>(1, DataTokens::TOKEN_MATCHES_ALL));
            total->resolveStringIndices(dataSet->stringTable_);
        } else {
            total->setNumbers(std::make_shared<Column::NumberVector>(1, column->getTotal()));
        }
        return total;
    }));
    return totals;
}

std::vector<DataSet::ValidationProblem> DataSet::validate(bool logWarnings) const {
    std::vector<ValidationProblem> problems;
    if (isEmptyText(name_)) {
        problems.push_back({DATASET_NO_NAME, {}});
    }
    // A NaN epsilon fails both comparisons and is accepted.
    if (comparisonEpsilon_ < 0 || comparisonEpsilon_ >= 1.0) {
        problems.push_back({DATASET_INVALID_EXPSILON, {std::to_string(comparisonEpsilon_)}});
    } else if (comparisonEpsilon_ >= 0.1) {
        problems.push_back({DATASET_EXTREME_EPSILON, {std::to_string(comparisonEpsilon_)}});
    }
    if (!columns_ || columns_->empty()) {
        problems.push_back({DATASET_ZERO_COLUMNS, {}});
    } else {
        ColumnValidator validator(numberOfRows_, problems);
        for (std::size_t position = 0; position < columns_->size(); ++position) {
            validator.validate((*columns_)[position].get(), static_cast<std::int32_t>(position));
        }
    }
    if (logWarnings && Logger::isEnabled(LogLevel::WARNING)) {
        for (const auto& problem : problems) {
            if (const auto message = getValidationMessage(problem)) {
                Logger::warning(*message);
            }
        }
    }
    return problems;
}

std::string_view DataSet::getValidationCodeName(int code) {
    const auto& names = validationCodeNames();
    const auto found = names.find(code);
    return found != names.end() ? found->second : std::string_view();
}

SharedString DataSet::getValidationMessage(const ValidationProblem& problem) {
    const std::string_view name = getValidationCodeName(problem.code);
    if (name.empty()) {
        return nullptr;
    }
    std::string key(name);
    key.append(".txt");
    return ResourceManager::instance().getCurrentContext()->getFormattedString(resourceBundle, key, problem.arguments);
}

void DataSet::clearFormattedValueCaches() {
    for (const auto& column : getAllColumnsWithData()) {
        column->clearFormattedValueCache();
    }
}

// --- Filtering -------------------------------------------------------------------------------------

std::shared_ptr<RowIndexSet> DataSet::filter(
    const std::shared_ptr<const AbstractWhereClauseExpression>& whereClause) const {
    return getRowIndicesThatEvaluateToState(whereClause, true);
}

std::shared_ptr<DataSet> DataSet::filterDataset(
    const std::shared_ptr<const DataSet>& dataSet,
    const std::shared_ptr<const AbstractWhereClauseExpression>& whereClause) {
    if (!dataSet) {
        return nullptr;
    }
    return getSubsetDefinedBySpecifiedIndices(dataSet, *dataSet->filter(whereClause));
}

std::shared_ptr<RowIndexSet> DataSet::getRowIndicesThatEvaluateToState(
    const std::shared_ptr<const AbstractWhereClauseExpression>& whereClause, bool state) const {
    const auto rowCount = static_cast<std::uint32_t>(std::max(numberOfRows_, 0));
    std::vector<std::uint32_t> selected;
    if (whereClause) {
        // The evaluator keeps the columns alive through its own pointers; the data set is only read.
        const std::shared_ptr<const DataSet> self(std::shared_ptr<const DataSet>(), this);
        selected = WhereEvaluator::create(whereClause, self, true, false)->selectRows(0, rowCount);
    } else {
        selected.resize(rowCount);
        std::iota(selected.begin(), selected.end(), 0U);
    }
    if (state) {
        return std::make_shared<RowIndexSet>(selected.begin(), selected.end());
    }
    auto others = std::make_shared<RowIndexSet>();
    std::size_t next = 0;
    for (std::uint32_t row = 0; row < rowCount; ++row) {
        if (next < selected.size() && selected[next] == row) {
            ++next;
        } else {
            others->insert(others->end(), row);
        }
    }
    return others;
}

// --- Row states ------------------------------------------------------------------------------------

void DataSet::generateRowStates() {
    if (rowStates_) {
        stopRelayingEventsFrom(rowStates_.get());
    }
    rowStates_ = summarizedRowStates_ ? SummarizedRowStates::create(numberOfRows_) : RowStates::create(numberOfRows_);
    relayEventsFrom(rowStates_);
}

const std::shared_ptr<RowStates>& DataSet::getRowStates() {
    if (!rowStates_) {
        generateRowStates();
    } else if (rowStates_->getNumberOfRows() != numberOfRows_) {
        const auto previous = rowStates_;
        generateRowStates();
        rowStates_->applyRowStates(*previous);
    }
    return rowStates_;
}

bool DataSet::selectRows(const RowIndexSet& rows) {
    return getRowStates()->setSelectedOnlyAtSpecifiedIndices(true, rows);
}

bool DataSet::selectRows(std::int32_t row, bool selected) {
    return getRowStates()->setSelectedAtIndex(selected, row);
}

std::shared_ptr<DataValue::ValueList> DataSet::getSelectedValues(std::string_view columnName) {
    const auto column = getColumnWithName(columnName);
    if (!column) {
        return nullptr;
    }
    return column->getDataValuesAtIndices(*getRowStates()->getSelectedIndices());
}

bool DataSet::selectionContainsAllOther() {
    const RowIndexSet& selected = *getRowStates()->getSelectedIndices();
    if (selected.empty() || !columns_) {
        return false;
    }
    return std::ranges::any_of(*columns_, [&](const std::shared_ptr<Column>& column) {
        return column && column->containsAllOther() && std::ranges::any_of(selected, [&](std::uint32_t row) {
                   return row < static_cast<std::uint32_t>(column->getNumberOfRows()) &&
                          column->valueIsAllOther(static_cast<std::int32_t>(row));
               });
    });
}

// --- Stream form -----------------------------------------------------------------------------------

bool DataSet::serialize(std::ostream& stream, const std::shared_ptr<const DataSet>& dataSet) {
    SerialWriter writer(stream);
    return serialize(writer, dataSet);
}

bool DataSet::serialize(SerialWriter& writer, const std::shared_ptr<const DataSet>& dataSet) {
    if (!dataSet) {
        return writer.writeVersionMark() && writer.writePresence(false);
    }
    return dataSet->writeStreamForm(writer);
}

bool DataSet::serialize(std::ostream& stream) const {
    SerialWriter writer(stream);
    return writeStreamForm(writer);
}

bool DataSet::writeStreamForm(SerialWriter& writer) const {
    return writer.writeVersionMark() && writer.writePresence(true) && writer.writeString(name_) &&
           writer.writeSharedStringVector(stringTable_) &&
           writer.writeSharedObjectVector(columns_,
                                          [&](const auto& column) { return Column::serialize(writer, column); }) &&
           RowStates::serialize(writer, rowStates_) && writer.writePrimitive(SerialMarks::TAG_B, numberOfRows_) &&
           writer.writePrimitive(SerialMarks::TAG_C, createOptionFirst_) &&
           writer.writePrimitive(SerialMarks::TAG_C, summarizedRowStates_) &&
           writer.writePrimitive(SerialMarks::TAG_B, comparisonEpsilon_);
}

bool DataSet::unserialize(std::istream& stream) {
    SerialReader reader(stream);
    bool isPresent = false;
    return reader.readVersionMark() && reader.readPresence(isPresent) && isPresent && readBody(reader);
}

bool DataSet::unserialize(std::istream& stream, std::shared_ptr<DataSet>& dataSet) {
    SerialReader reader(stream);
    return unserialize(reader, dataSet);
}

bool DataSet::unserialize(SerialReader& reader, std::shared_ptr<DataSet>& dataSet) {
    dataSet.reset();
    bool isPresent = false;
    if (!reader.readVersionMark() || !reader.readPresence(isPresent)) {
        return false;
    }
    if (!isPresent) {
        return true;
    }
    auto made = create(false, false);
    if (!made->readBody(reader)) {
        return false;
    }
    dataSet = std::move(made);
    return true;
}

bool DataSet::readBody(SerialReader& reader) {
    if (!reader.readString(name_)) {
        return false;
    }
    std::shared_ptr<StringTable> stringTable;
    if (!reader.readSharedStringVector(stringTable)) {
        return false;
    }
    // Interned now, so that the columns read next resolve their texts to the shared instances.
    setStringTable(std::move(stringTable));
    std::shared_ptr<ColumnList> columns;
    if (!reader.readSharedObjectVector(columns, [&](std::shared_ptr<Column>& column) {
            return Column::unserialize(reader, column, stringTable_);
        })) {
        return false;
    }
    std::shared_ptr<RowStates> rowStatesRead;
    if (!RowStates::unserialize(reader, rowStatesRead)) {
        return false;
    }
    std::int32_t numberOfRows = 0;
    if (!reader.readPrimitive(SerialMarks::TAG_B, numberOfRows) ||
        !reader.readPrimitive(SerialMarks::TAG_C, createOptionFirst_) ||
        !reader.readPrimitive(SerialMarks::TAG_C, summarizedRowStates_) ||
        !reader.readPrimitive(SerialMarks::TAG_B, comparisonEpsilon_)) {
        return false;
    }
    setColumns(columns);  // listens to the columns and recomputes the row count
    generateRowStates();
    if (rowStatesRead) {
        rowStates_->applyRowStates(*rowStatesRead);
        // Fractions are carried only for the rows they were made for; a stream that claims other
        // rows must not make this reader allocate for them.
        auto* fractionsRead = dynamic_cast<SummarizedRowStates*>(rowStatesRead.get());
        auto* fractions = dynamic_cast<SummarizedRowStates*>(rowStates_.get());
        if (fractionsRead && fractions && rowStatesRead->getNumberOfRows() == numberOfRows_) {
            fractions->setPercentSelectedOnlyAtSpecifiedIndices(*fractionsRead->getPercentSelected(),
                                                                *rowStatesRead->getSelectedIndices());
        }
    }
    return true;
}

std::shared_ptr<DataSet> DataSet::createFromSerialData(std::istream& stream) {
    std::shared_ptr<DataSet> dataSet;
    return unserialize(stream, dataSet) ? dataSet : nullptr;
}

SharedString DataSet::serializeAsBase64String(const std::shared_ptr<const DataSet>& dataSet) {
    std::ostringstream stream;
    if (!serialize(stream, dataSet)) {
        return nullptr;
    }
    return std::make_shared<const std::string>(TranscodingUtilities::encodeBase64(std::move(stream).str()));
}

std::shared_ptr<DataSet> DataSet::createFromBase64SerialData(std::string_view text) {
    std::string bytes;
    if (!TranscodingUtilities::decodeBase64(text, bytes)) {
        return nullptr;
    }
    MemoryInputStream stream(bytes);
    return createFromSerialData(stream);
}

bool DataSet::serialize(const std::string& path, const std::shared_ptr<const DataSet>& dataSet) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) {
        Logger::error(" Failed to open file at path: " + path + "because : " + std::strerror(errno));
        return false;
    }
    return serialize(file, dataSet) && file.flush().good();
}

std::shared_ptr<DataSet> DataSet::create(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        Logger::error(" Failed to open file at path: " + path + "because : " + std::strerror(errno));
        return nullptr;
    }
    return createFromSerialData(file);
}

std::shared_ptr<DataSet> DataSet::create(const char* path) {
    return create(std::string(path ? path : ""));
}

}  // namespace pellium
