#include "pellium/models/data/dataset/MutableColumn.h"

#include "pellium/models/data/dataset/MutableDataSet.h"

namespace pellium {

MutableColumn::MutableColumn(Token token, DataType::type dataType, SharedString name, SharedString label,
                             SharedString formatName)
    : Column(token, dataType, std::move(name), std::move(label), std::move(formatName)) {}

MutableColumn::~MutableColumn() = default;

std::shared_ptr<MutableColumn> MutableColumn::create(DataType::type dataType, SharedString name, SharedString label,
                                                     SharedString formatName) {
    return std::make_shared<MutableColumn>(Token{}, dataType, std::move(name), std::move(label), std::move(formatName));
}

int MutableColumn::getWrapperTypeId() const {
    return WrapperTypeIds::MUTABLE_COLUMN;
}

void MutableColumn::setMutableDataSet(const std::shared_ptr<MutableDataSet>& dataSet) {
    dataSet_ = dataSet;
}

std::shared_ptr<MutableDataSet> MutableColumn::dataSet() const {
    return dataSet_.lock();
}

std::int32_t MutableColumn::getColumnIndex() const {
    const auto owner = dataSet();
    return owner ? owner->getColumnIndex(this) : -1;
}

std::int32_t MutableColumn::getNumberOfRows() const {
    const auto owner = dataSet();
    return owner ? owner->getNumberOfRows() : 0;
}

std::shared_ptr<DataValue> MutableColumn::getDataValueAtIndex(std::int32_t row, bool formatted) const {
    const auto owner = dataSet();
    return owner ? owner->getDataValue(row, getColumnIndex(), formatted) : nullptr;
}

std::shared_ptr<DataValue::ValueList> MutableColumn::getDataValues(bool formatted) const {
    const auto owner = dataSet();
    return owner ? owner->getColumnDataValues(getColumnIndex(), formatted) : std::make_shared<DataValue::ValueList>();
}

std::shared_ptr<DataValue::ValueList> MutableColumn::getDataValuesAtIndices(const RowIndexSet& rows,
                                                                            bool formatted) const {
    auto values = std::make_shared<DataValue::ValueList>();
    const auto owner = dataSet();
    if (!owner) {
        return values;
    }
    const std::int32_t column = getColumnIndex();
    for (auto row = rows.begin(); row != rows.end() && *row < static_cast<std::uint32_t>(owner->getNumberOfRows());
         ++row) {
        values->push_back(owner->getDataValue(static_cast<std::int32_t>(*row), column, formatted));
    }
    return values;
}

SharedString MutableColumn::getFormattedValueAtIndex(std::int32_t row) const {
    const auto value = getDataValueAtIndex(row, true);
    return value ? value->getFormattedValue() : nullptr;
}

bool MutableColumn::setDataValueAtIndex(const std::shared_ptr<const DataValue>& value, std::int32_t row) {
    const auto owner = dataSet();
    return owner && owner->setDataValue(value, row, getColumnIndex());
}

}  // namespace pellium
