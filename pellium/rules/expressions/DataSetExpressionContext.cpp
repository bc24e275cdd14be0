#include "pellium/rules/expressions/DataSetExpressionContext.h"

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"

namespace pellium {

std::shared_ptr<DataSetExpressionContext> DataSetExpressionContext::create(
    const std::shared_ptr<const DataSet>& dataSet) {
    if (!dataSet) {
        return nullptr;
    }
    return std::shared_ptr<DataSetExpressionContext>(new DataSetExpressionContext(*dataSet));
}

DataSetExpressionContext::DataSetExpressionContext(const DataSet& dataSet) : numberOfRows_(dataSet.getNumberOfRows()) {
    setTolerance(dataSet.getComparisonEpsilon());
    if (const auto& columns = dataSet.getColumns()) {
        for (const auto& column : *columns) {
            Item item;
            item.column = column;
            if (column && column->getDataType() == DataType::NUMERIC && column->getNumbers()) {
                item.numbers = column->getNumbers()->data();
                item.numberCount = column->getNumbers()->size();
            } else if (column && column->getDataType() == DataType::STRING) {
                item.texts = column->getStrings();
            }
            items_.push_back(std::move(item));
        }
    }
}

bool DataSetExpressionContext::setRow(std::int32_t row) {
    if (row < 0 || row >= numberOfRows_) {
        return false;
    }
    row_ = row;
    return true;
}

int DataSetExpressionContext::findDataItem(std::string_view name) const {
    for (std::size_t index = 0; index < items_.size(); ++index) {
        const auto& column = items_[index].column;
        if (column && column->getName() && *column->getName() == name) {
            return static_cast<int>(index);
        }
    }
    return NO_ITEM;
}

DataTypeExt::type DataSetExpressionContext::getDataItemType(int item) const {
    if (item < 0 || static_cast<std::size_t>(item) >= items_.size() || !items_[static_cast<std::size_t>(item)].column) {
        return DataTypeExt::UNKNOWN;
    }
    return items_[static_cast<std::size_t>(item)].column->getDataType() == DataType::STRING ? DataTypeExt::CHARACTER
                                                                                            : DataTypeExt::NUMERIC;
}

SharedString DataSetExpressionContext::getString(int item) const {
    if (item < 0 || static_cast<std::size_t>(item) >= items_.size()) {
        return nullptr;
    }
    const Item& cell = items_[static_cast<std::size_t>(item)];
    if (!cell.column || row_ >= numberOfRows_) {
        return nullptr;
    }
    if (cell.column->getDataType() == DataType::NUMERIC) {
        const double number = getNumber(item);
        return std::make_shared<const std::string>(StringUtilities::createStringFromDouble(number));
    }
    if (!cell.texts || static_cast<std::size_t>(row_) >= cell.texts->size()) {
        return nullptr;
    }
    return (*cell.texts)[static_cast<std::size_t>(row_)];
}

}  // namespace pellium
