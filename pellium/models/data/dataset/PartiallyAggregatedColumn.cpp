#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"

namespace pellium {

std::shared_ptr<PartiallyAggregatedColumn> PartiallyAggregatedColumn::create(SharedString name, DataType::type dataType,
                                                                             SharedString label,
                                                                             SharedString formatName) {
    return std::make_shared<PartiallyAggregatedColumn>(Token{}, dataType, std::move(name), std::move(label),
                                                       std::move(formatName));
}

PartiallyAggregatedColumn::PartiallyAggregatedColumn(Token token, DataType::type dataType, SharedString name,
                                                     SharedString label, SharedString formatName)
    : Column(token, dataType, std::move(name), std::move(label), std::move(formatName)) {}

PartiallyAggregatedColumn::~PartiallyAggregatedColumn() = default;

int PartiallyAggregatedColumn::getWrapperTypeId() const {
    return WrapperTypeIds::PARTIALLY_AGGREGATED_COLUMN;
}

void PartiallyAggregatedColumn::setColumnForAggregation(const std::shared_ptr<Column>& column,
                                                        StatisticType::type statistic) {
    if (column) {
        subColumns_.insert_or_assign(statistic, column);
    } else {
        subColumns_.erase(statistic);
    }
}

std::shared_ptr<Column> PartiallyAggregatedColumn::getColumnForAggregation(StatisticType::type statistic) const {
    const auto found = subColumns_.find(statistic);
    return found != subColumns_.end() ? found->second : nullptr;
}

std::shared_ptr<PartiallyAggregatedColumn::ColumnList> PartiallyAggregatedColumn::getSubColumns() const {
    auto columns = std::make_shared<ColumnList>();
    columns->reserve(subColumns_.size());
    for (const auto& [statistic, column] : subColumns_) {
        columns->push_back(column);
    }
    return columns;
}

void PartiallyAggregatedColumn::truncate(std::int32_t numberOfRows) {
    Column::truncate(numberOfRows);
    for (const auto& [statistic, column] : subColumns_) {
        column->truncate(numberOfRows);
    }
}

std::shared_ptr<PartiallyAggregatedColumn::ColumnList> PartiallyAggregatedColumn::getOrderedExpandedColumns(
    const std::shared_ptr<const ColumnList>& columns) {
    if (!columns) {
        return nullptr;
    }
    auto expanded = std::make_shared<ColumnList>();
    expanded->reserve(columns->size());
    for (const auto& column : *columns) {
        const auto aggregated = std::dynamic_pointer_cast<PartiallyAggregatedColumn>(column);
        if (!aggregated || aggregated->subColumns_.empty()) {
            expanded->push_back(column);
            continue;
        }
        for (const auto& [statistic, subColumn] : aggregated->subColumns_) {
            expanded->push_back(subColumn);
        }
    }
    return expanded;
}

std::shared_ptr<Column> PartiallyAggregatedColumn::createEmptyCopy() const {
    return create(getName(), getDataType(), getLabel(), getFormatName());
}

std::shared_ptr<Column> PartiallyAggregatedColumn::copyRows(const RowSelection& rows) const {
    auto copy = std::static_pointer_cast<PartiallyAggregatedColumn>(Column::copyRows(rows));
    for (const auto& [statistic, column] : subColumns_) {
        copy->subColumns_.insert_or_assign(statistic, column->copyRows(rows));
    }
    return copy;
}

}  // namespace pellium
