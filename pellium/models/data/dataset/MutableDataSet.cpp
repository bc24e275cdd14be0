#include "pellium/models/data/dataset/MutableDataSet.h"

#include <algorithm>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValueUtils.h"
#include "pellium/models/data/dataset/MutableDataSetChangeEvent.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

void appendQuoted(std::string& text, const SharedString& value) {
    StringUtilities::appendQuotedField(text, value ? std::string_view(*value) : std::string_view());
}

// Texts of token codes (all-others, suppressed...) are internal and never trimmed.
bool isOrdinaryTextIndex(std::int32_t index) {
    return index == DataTokens::UNRESOLVABLE_DATA_VALUE || index >= DataTokens::TOKEN_MISSING;
}

}  // namespace

// --- Creation --------------------------------------------------------------------------------------

MutableDataSet::MutableDataSet(Token, bool trimTexts) : observations_(0, 0), trimTexts_(trimTexts) {}

MutableDataSet::~MutableDataSet() = default;

std::shared_ptr<MutableDataSet> MutableDataSet::create(bool trimTexts) {
    return std::make_shared<MutableDataSet>(Token{}, trimTexts);
}

std::shared_ptr<MutableDataSet> MutableDataSet::create(const ColumnList& columns, bool trimTexts) {
    auto dataSet = create(trimTexts);
    for (const auto& column : columns) {
        dataSet->adoptColumn(column);
    }
    return dataSet;
}

std::shared_ptr<MutableDataSet> MutableDataSet::create(const std::shared_ptr<DataSet>& dataSet) {
    if (!dataSet) {
        return nullptr;
    }
    auto copy = create(false);
    copy->setName(dataSet->getName());
    const std::int32_t rows = dataSet->getNumberOfRows();
    for (std::int32_t position = 0; position < dataSet->getNumberOfColumns(); ++position) {
        const auto source = dataSet->getColumnAtIndex(position);
        if (!source) {
            continue;
        }
        auto column = MutableColumn::create(source->getDataType(), source->getName(), source->getLabel(),
                                            source->getFormatName());
        column->setLabel(source->getLabel());
        column->setDataUsage(source->getDataUsage());
        column->setAggregation(source->getAggregation());
        ValueList values;
        values.reserve(static_cast<std::size_t>(rows));
        for (std::int32_t row = 0; row < rows; ++row) {
            values.push_back(source->getDataValueAtIndex(row, false));
        }
        copy->appendColumn(column, std::make_shared<const ValueList>(std::move(values)));
    }
    const auto& states = dataSet->getRowStates();
    copy->carryRowStates(*states->getSelectedIndices(), *states->getExcludedIndices());
    return copy;
}

int MutableDataSet::getWrapperTypeId() const {
    return WrapperTypeIds::MUTABLE_DATA_SET;
}

std::shared_ptr<MutableDataSet> MutableDataSet::clone() const {
    auto copy = create(trimTexts_);
    copy->name_ = name_;
    for (std::int32_t position = 0; position < getNumberOfColumns(); ++position) {
        const auto& source = columns_[static_cast<std::size_t>(position)];
        auto column = MutableColumn::create(source->getDataType(), source->getName(), source->getLabel(),
                                            source->getFormatName());
        column->setLabel(source->getLabel());
        column->setDataUsage(source->getDataUsage());
        column->setAggregation(source->getAggregation());
        copy->appendColumn(column, getColumnDataValues(position, false));
    }
    if (rowStates_) {
        copy->carryRowStates(*rowStates_->getSelectedIndices(), *rowStates_->getExcludedIndices());
    }
    return copy;
}

bool MutableDataSet::adoptColumn(const std::shared_ptr<MutableColumn>& column) {
    if (!column || column->dataSet()) {
        return false;
    }
    const auto values = copyDataValuesColumn(nullptr, column->getDataType(), rowCount());
    if (!observations_.appendColumn(values)) {
        return false;
    }
    column->setMutableDataSet(sharedFromThisAs<MutableDataSet>());
    columns_.push_back(column);
    return true;
}

// --- Shape -----------------------------------------------------------------------------------------

std::size_t MutableDataSet::rowCount() const {
    return static_cast<std::size_t>(getNumberOfRows());
}

std::shared_ptr<MutableColumn> MutableDataSet::getColumnAtIndex(std::int32_t index) const {
    return isValidColumnIndex(index) ? columns_[static_cast<std::size_t>(index)] : nullptr;
}

std::int32_t MutableDataSet::getColumnIndex(const Column* column) const {
    const auto found = std::ranges::find_if(columns_, [&](const auto& candidate) { return candidate.get() == column; });
    return found != columns_.end() && column ? static_cast<std::int32_t>(found - columns_.begin()) : -1;
}

std::int32_t MutableDataSet::getColumnIndexByName(std::string_view name) const {
    const auto found = std::ranges::find_if(
        columns_, [&](const auto& column) { return column->getName() && *column->getName() == name; });
    return found != columns_.end() ? static_cast<std::int32_t>(found - columns_.begin()) : -1;
}

// --- Cells, rows, columns --------------------------------------------------------------------------

std::shared_ptr<DataValue> MutableDataSet::formattedCopy(const DataValue& value, std::int32_t column,
                                                         bool formatted) const {
    auto copy = DataValue::create(value);
    if (formatted) {
        const auto& owner = *columns_[static_cast<std::size_t>(column)];
        if (value.isString()) {
            copy->setFormattedValue(DataValue::formatStringValue(value.getStringValue(), value.getStringIndex()));
        } else if (value.isMissing()) {
            copy->setFormattedValue(DataTokens::getMissingNumericDisplayString());
        } else {
            copy->setFormattedValue(DataValue::formatNumericValue(value.getNumericValue(), owner.getFormatName()));
        }
    }
    return copy;
}

std::shared_ptr<DataValue> MutableDataSet::getDataValue(std::int32_t row, std::int32_t column, bool formatted) const {
    const auto value = observations_.getDataValue(row, column);
    return value ? formattedCopy(*value, column, formatted) : nullptr;
}

bool MutableDataSet::setDataValue(const std::shared_ptr<const DataValue>& value, std::int32_t row,
                                  std::int32_t column) {
    if (!isValidRowIndex(row) || !isValidColumnIndex(column)) {
        return false;
    }
    observations_.setDataValue(row, column,
                               copyDataValue(value, columns_[static_cast<std::size_t>(column)]->getDataType()));
    raise(MutableDataSetChangeEvent::CELLCHANGE, row, column);
    return true;
}

std::shared_ptr<MutableDataSet::ValueList> MutableDataSet::getRowAtIndex(std::int32_t row, bool formatted) const {
    const auto* observation = observations_.getObservation(row);
    if (!observation) {
        return nullptr;
    }
    auto values = std::make_shared<ValueList>();
    values->reserve(observation->size());
    for (std::size_t column = 0; column < observation->size(); ++column) {
        values->push_back(formattedCopy(*(*observation)[column], static_cast<std::int32_t>(column), formatted));
    }
    return values;
}

std::shared_ptr<MutableDataSet::ValueList> MutableDataSet::getColumnDataValues(std::int32_t column,
                                                                               bool formatted) const {
    if (!isValidColumnIndex(column)) {
        return nullptr;
    }
    auto values = std::make_shared<ValueList>();
    values->reserve(static_cast<std::size_t>(getNumberOfRows()));
    for (std::int32_t row = 0; row < getNumberOfRows(); ++row) {
        values->push_back(getDataValue(row, column, formatted));
    }
    return values;
}

bool MutableDataSet::appendRow(const std::shared_ptr<const ValueList>& values) {
    return insertRow(values, getNumberOfRows());
}

bool MutableDataSet::insertRow(const std::shared_ptr<const ValueList>& values, std::int32_t row) {
    if (!values || values->empty() || values->size() != columns_.size() || row < 0 || row > getNumberOfRows()) {
        return false;
    }
    const auto& states = getRowStates();
    const RowIndexSet selected = *states->getSelectedIndices();
    const RowIndexSet excluded = *states->getExcludedIndices();
    if (!observations_.insertObservation(copyDataValuesRow(*values), row)) {
        return false;
    }
    const auto at = static_cast<std::uint32_t>(row);
    carryRowStates(adjustSelectedIndicesForInsert(selected, at), adjustSelectedIndicesForInsert(excluded, at));
    raise(MutableDataSetChangeEvent::ROWCHANGE, row, -1);
    return true;
}

bool MutableDataSet::setRow(const std::shared_ptr<const ValueList>& values, std::int32_t row) {
    if (!values || values->size() != columns_.size() ||
        !observations_.setObservation(copyDataValuesRow(*values), row)) {
        return false;
    }
    raise(MutableDataSetChangeEvent::ROWCHANGE, row, -1);
    return true;
}

bool MutableDataSet::deleteRow(std::int32_t row) {
    if (!isValidRowIndex(row)) {
        return false;
    }
    const auto& states = getRowStates();
    const RowIndexSet selected = *states->getSelectedIndices();
    const RowIndexSet excluded = *states->getExcludedIndices();
    observations_.deleteObservation(row);
    const auto at = static_cast<std::uint32_t>(row);
    carryRowStates(deleteFromSelectedIndices(selected, at), deleteFromSelectedIndices(excluded, at));
    raise(MutableDataSetChangeEvent::ROWDELETION, -1, -1);
    return true;
}

bool MutableDataSet::appendColumn(const std::shared_ptr<MutableColumn>& column,
                                  const std::shared_ptr<const ValueList>& values) {
    if (!column || column->dataSet()) {
        return false;
    }
    if (columns_.empty() && values && values->size() != rowCount()) {
        // The first column brings the rows.
        const auto rows = static_cast<std::int32_t>(std::min<std::size_t>(values->size(), INT32_MAX));
        observations_ = ObservationDeque(rows, 0);
    }
    const auto copied = copyDataValuesColumn(values.get(), column->getDataType(), rowCount());
    if (copied.size() != rowCount() || !observations_.appendColumn(copied)) {
        return false;
    }
    column->setMutableDataSet(sharedFromThisAs<MutableDataSet>());
    columns_.push_back(column);
    if (!rowStates_ || rowStates_->getNumberOfRows() != getNumberOfRows()) {
        generateRowStates();
    }
    raise(MutableDataSetChangeEvent::COLUMNCHANGE, -1, getNumberOfColumns() - 1);
    return true;
}

bool MutableDataSet::setColumn(const std::shared_ptr<const Column>& column,
                               const std::shared_ptr<const ValueList>& values) {
    const std::int32_t position = getColumnIndex(column);
    if (position < 0 || !values) {
        return false;
    }
    const auto copied = copyDataValuesColumn(values.get(), column->getDataType(), rowCount());
    if (copied.size() != rowCount() || !observations_.setColumn(position, copied)) {
        return false;
    }
    raise(MutableDataSetChangeEvent::COLUMNCHANGE, -1, position);
    return true;
}

// --- Copying in ------------------------------------------------------------------------------------

std::string MutableDataSet::trimWhiteSpace(std::string_view text) {
    return std::string(StringUtilities::trimLeft(StringUtilities::trimRight(text)));
}

std::shared_ptr<DataValue> MutableDataSet::copyDataValue(const std::shared_ptr<const DataValue>& value,
                                                         DataType::type type) const {
    const bool wantsText = type == DataType::STRING;
    const auto missing = [&] {
        return DataTokens::makeDataValue(wantsText ? DataType::STRING : DataType::NUMERIC, DataTokens::TOKEN_MISSING);
    };
    if (!value) {
        return missing();
    }
    if (value->isString() != wantsText) {
        if (value->isMissing()) {
            return missing();
        }
        // A text entering a numeric column is read as a number; a number entering a text column
        // is written as its shortest text.
        return wantsText ? DataValue::create(StringUtilities::internString(*value->getStringValue()),
                                             DataTokens::UNRESOLVABLE_DATA_VALUE)
                         : DataValueUtils::getValueForText(value->getStringValue(), DataType::NUMERIC, nullptr);
    }
    auto copy = DataValue::create(*value);
    if (wantsText && trimTexts_ && copy->getStringValue() && isOrdinaryTextIndex(copy->getStringIndex())) {
        const SharedString trimmed = StringUtilities::internString(trimWhiteSpace(*copy->getStringValue()));
        copy->setStringValue(trimmed, copy->getStringIndex());
        copy->setFormattedValue(trimmed);
    }
    return copy;
}

ObservationDeque::Observation MutableDataSet::copyDataValuesRow(const ValueList& values) const {
    ObservationDeque::Observation row;
    if (values.size() != columns_.size()) {
        return row;
    }
    row.reserve(values.size());
    for (std::size_t column = 0; column < values.size(); ++column) {
        row.push_back(copyDataValue(values[column], columns_[column]->getDataType()));
    }
    return row;
}

std::vector<std::shared_ptr<DataValue>> MutableDataSet::copyDataValuesColumn(const ValueList* values,
                                                                             DataType::type type,
                                                                             std::size_t rows) const {
    std::vector<std::shared_ptr<DataValue>> column;
    if (values && values->size() != rows) {
        return column;
    }
    column.reserve(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        column.push_back(copyDataValue(values ? (*values)[row] : nullptr, type));
    }
    return column;
}

// --- Row states ------------------------------------------------------------------------------------

bool MutableDataSet::selectRows(const RowIndexSet& rows) {
    return getRowStates()->setSelectedOnlyAtSpecifiedIndices(true, rows);
}

const std::shared_ptr<RowStates>& MutableDataSet::getRowStates() {
    if (!rowStates_) {
        generateRowStates();
    }
    return rowStates_;
}

void MutableDataSet::generateRowStates() {
    if (rowStates_) {
        stopRelayingEventsFrom(rowStates_.get());
    }
    rowStates_ = RowStates::create(getNumberOfRows());
    relayEventsFrom(rowStates_);
}

void MutableDataSet::relayRowStatesEvent(const std::shared_ptr<Event>& event) {
    relayEvent(event);
}

void MutableDataSet::carryRowStates(const RowIndexSet& selected, const RowIndexSet& excluded) {
    generateRowStates();
    if (!selected.empty()) {
        selectRows(selected);
    }
    if (!excluded.empty()) {
        rowStates_->setExcludedAtSpecifiedIndices(true, excluded);
    }
}

RowIndexSet MutableDataSet::adjustSelectedIndicesForInsert(const RowIndexSet& rows, std::uint32_t row) {
    RowIndexSet adjusted(rows.begin(), rows.lower_bound(row));
    for (auto moved = rows.lower_bound(row); moved != rows.end(); ++moved) {
        adjusted.emplace_hint(adjusted.end(), *moved + 1);
    }
    return adjusted;
}

RowIndexSet MutableDataSet::deleteFromSelectedIndices(const RowIndexSet& rows, std::uint32_t row) {
    RowIndexSet adjusted(rows.begin(), rows.lower_bound(row));
    for (auto moved = rows.upper_bound(row); moved != rows.end(); ++moved) {
        adjusted.emplace_hint(adjusted.end(), *moved - 1);
    }
    return adjusted;
}

// --- Text ------------------------------------------------------------------------------------------

SharedString MutableDataSet::getCombinedCSV() const {
    std::string text;
    for (std::int32_t row = 0; row < getNumberOfRows(); ++row) {
        const auto& observation = *observations_.getObservation(row);
        for (std::size_t column = 0; column < observation.size(); ++column) {
            if (column > 0) {
                text.push_back(',');
            }
            const DataValue& value = *observation[column];
            if (value.isString()) {
                appendQuoted(text, value.getStringValue());
            } else {
                DataTokens::appendCSVNumber(text, value.getNumericValue());
            }
        }
        text.push_back('\n');
    }
    return std::make_shared<const std::string>(std::move(text));
}

// --- Events ----------------------------------------------------------------------------------------

void MutableDataSet::raise(int eventType, std::int32_t row, std::int32_t column) {
    if (hasListenersFor(eventType)) {
        dispatchEvent(MutableDataSetChangeEvent::create(eventType, row, column, this));
    }
}

}  // namespace pellium
