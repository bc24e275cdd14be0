#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/models/data/sorting/AbstractDataValueSortComparator.h"

namespace pellium {

class Column;

/// Orders the rows of one column of a data set: index i stands for row i. This is the comparator
/// of a table sorted by a column. Its keys are read straight from the column: the numbers of a
/// numeric column, and for a string column the texts of the data set's string table, ranked once
/// per distinct text (rows whose texts are not in the table are ranked with them).
///
///     auto comparator = ColumnSortComparator::create(context, dataSet, column);
///     comparator->computeCollationKeys();
///     comparator->sortIndices(rows);   // or std::stable_sort(..., std::cref(*comparator))
class PELLIUM_EXPORT ColumnSortComparator final : public AbstractDataValueSortComparator {
    struct Token {};

public:
    /// Null for a null column or a column whose data type is no DataType. The data set may be
    /// null; its string table then comes from the column alone.
    static std::shared_ptr<ColumnSortComparator> create(std::shared_ptr<SortContext> sortContext,
                                                        std::shared_ptr<const DataSet> dataSet,
                                                        std::shared_ptr<const Column> column);

    ColumnSortComparator(Token, std::shared_ptr<SortContext> sortContext, std::shared_ptr<const DataSet> dataSet,
                         std::shared_ptr<const Column> column);

    /// A new value for the row (Column::getDataValueAtIndex); std::out_of_range beyond the column.
    std::shared_ptr<DataValue> getDataValue(std::uint32_t index) const override;
    std::size_t getDataValueCount() const override;
    const std::shared_ptr<const Column>& getColumn() const { return column_; }

protected:
    std::vector<std::int32_t> buildNumericKeys() const override;
    std::vector<std::int32_t> buildStringKeys(const Collator* collator) const override;

private:
    std::shared_ptr<const Column> column_;
};

}  // namespace pellium
