#pragma once

#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/util/vector_map.h"

namespace pellium {

/// A column whose values arrive already aggregated, one row per summarized group, together with
/// one sub-column per statistic it was aggregated with (the group's MEDIAN, its
/// STANDARD_DEVIATION...). Hierarchies read the statistics that cannot be merged incrementally
/// from these sub-columns. String resolution and the CSV outputs see the sub-columns in place of
/// the column (getOrderedExpandedColumns).
class PELLIUM_EXPORT PartiallyAggregatedColumn : public Column {
public:
    using ColumnList = std::vector<std::shared_ptr<Column>>;

    /// An empty column, as Column::create makes one.
    static std::shared_ptr<PartiallyAggregatedColumn> create(SharedString name, DataType::type dataType,
                                                             SharedString label = nullptr,
                                                             SharedString formatName = nullptr);

    PartiallyAggregatedColumn(Token, DataType::type dataType, SharedString name, SharedString label,
                              SharedString formatName);
    ~PartiallyAggregatedColumn() override;

    /// WrapperTypeIds::PARTIALLY_AGGREGATED_COLUMN (42).
    int getWrapperTypeId() const override;

    /// Makes `column` the sub-column of `statistic`, replacing any earlier one; a null column
    /// removes it.
    void setColumnForAggregation(const std::shared_ptr<Column>& column, StatisticType::type statistic);
    /// The sub-column of `statistic`; null when there is none.
    std::shared_ptr<Column> getColumnForAggregation(StatisticType::type statistic) const;
    /// The sub-columns in statistic order.
    std::shared_ptr<ColumnList> getSubColumns() const;
    void removeAllSubColumns() { subColumns_.clear(); }

    /// Truncates the sub-columns too.
    void truncate(std::int32_t numberOfRows) override;

    /// `columns` with each partially aggregated column replaced by its sub-columns in statistic
    /// order (one without sub-columns stays as it is); null entries are kept. Null for null.
    static std::shared_ptr<ColumnList> getOrderedExpandedColumns(const std::shared_ptr<const ColumnList>& columns);

protected:
    std::shared_ptr<Column> createEmptyCopy() const override;
    std::shared_ptr<Column> copyRows(const RowSelection& rows) const override;

private:
    vector_map<StatisticType::type, std::shared_ptr<Column>> subColumns_;
};

}  // namespace pellium
