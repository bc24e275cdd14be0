#pragma once

#include <cstdint>
#include <memory>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/Column.h"

namespace pellium {

class MutableDataSet;

/// A column of a mutable data set. It describes its values like any column (type, name, label,
/// format) but does not hold them: its rows are read from and written to its data set's
/// observations, so that a row inserted or deleted there moves every column at once.
///
/// The row operations of this class hide the vector-based ones of Column; called through a
/// `Column&`, a mutable column has no rows. A column that belongs to no data set has no rows;
/// its getters answer null or 0 and its setter answers false.
class PELLIUM_EXPORT MutableColumn : public Column {
public:
    static std::shared_ptr<MutableColumn> create(DataType::type dataType, SharedString name,
                                                 SharedString label = nullptr, SharedString formatName = nullptr);

    MutableColumn(Token, DataType::type dataType, SharedString name, SharedString label, SharedString formatName);
    ~MutableColumn() override;

    /// WrapperTypeIds::MUTABLE_COLUMN (48).
    int getWrapperTypeId() const override;

    /// Called by the data set that takes the column in; the column holds it weakly.
    void setMutableDataSet(const std::shared_ptr<MutableDataSet>& dataSet);
    std::shared_ptr<MutableDataSet> dataSet() const;
    /// The position of the column in its data set; -1 without one.
    std::int32_t getColumnIndex() const;

    std::int32_t getNumberOfRows() const;
    /// A copy of the row's value, with its formatted text set when `formatted`; null for a row
    /// outside the data set.
    std::shared_ptr<DataValue> getDataValueAtIndex(std::int32_t row, bool formatted = true) const;
    std::shared_ptr<DataValue::ValueList> getDataValues(bool formatted = true) const;
    /// The values of the rows of `rows` that exist, in ascending order.
    std::shared_ptr<DataValue::ValueList> getDataValuesAtIndices(const RowIndexSet& rows, bool formatted = true) const;
    /// Null for a row outside the data set.
    SharedString getFormattedValueAtIndex(std::int32_t row) const;
    /// Writes through the data set (a copy of `value` enters); false for a row outside it.
    bool setDataValueAtIndex(const std::shared_ptr<const DataValue>& value, std::int32_t row);

private:
    std::weak_ptr<MutableDataSet> dataSet_;
};

}  // namespace pellium
