#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"

namespace pellium {

class Column;
class DataSet;

/// Evaluates expressions row by row over a data set: the data items are the data set's columns
/// (by name), and the current row is chosen with setRow. The columns are taken when the context
/// is made; columns added to the data set later are not seen. Reading a cell is an array access.
class PELLIUM_EXPORT DataSetExpressionContext final : public ExpressionDataContext {
public:
    /// Null for a null data set. The tolerance is the data set's comparison epsilon.
    static std::shared_ptr<DataSetExpressionContext> create(const std::shared_ptr<const DataSet>& dataSet);

    /// Makes `row` current; false, and the row stays, when it is not a row of the data set.
    bool setRow(std::int32_t row);
    std::int32_t getRow() const { return row_; }
    std::int32_t getNumberOfRows() const { return numberOfRows_; }

    int findDataItem(std::string_view name) const override;
    DataTypeExt::type getDataItemType(int item) const override;
    double getNumber(int item) const override {
        if (item < 0 || static_cast<std::size_t>(item) >= items_.size()) {
            return MISSING;
        }
        const Item& cell = items_[static_cast<std::size_t>(item)];
        return static_cast<std::size_t>(row_) < cell.numberCount ? cell.numbers[row_] : MISSING;
    }
    SharedString getString(int item) const override;

private:
    struct Item {
        std::shared_ptr<const Column> column;
        const double* numbers = nullptr;  // of a numeric column, owned by `column`
        std::size_t numberCount = 0;
        std::shared_ptr<const std::vector<SharedString>> texts;  // of a text column, taken once
    };
    static constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

    explicit DataSetExpressionContext(const DataSet& dataSet);

    std::vector<Item> items_;
    std::int32_t numberOfRows_ = 0;
    std::int32_t row_ = 0;
};

}  // namespace pellium
