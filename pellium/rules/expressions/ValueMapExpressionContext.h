#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/rules/expressions/ExpressionDataContext.h"

namespace pellium {

class DataValue;

/// An expression context over named values, for a single row or cell that is not held in a data
/// set (a host's form values, a crosstab cell, a test). Setting a name that is already present
/// replaces its value in place, so positions found earlier stay valid.
class PELLIUM_EXPORT ValueMapExpressionContext final : public ExpressionDataContext {
public:
    static std::shared_ptr<ValueMapExpressionContext> create();

    /// Sets the value of the item `name`; a null value reads as missing.
    void setValue(std::string_view name, std::shared_ptr<const DataValue> value);
    void setNumber(std::string_view name, double number);
    void setText(std::string_view name, std::string_view text);

    int findDataItem(std::string_view name) const override;
    /// The type of the item's current value: CHARACTER for a string value, else NUMERIC.
    DataTypeExt::type getDataItemType(int item) const override;
    double getNumber(int item) const override;
    SharedString getString(int item) const override;

private:
    ValueMapExpressionContext() = default;

    std::vector<std::string> names_;
    std::vector<std::shared_ptr<const DataValue>> values_;
};

}  // namespace pellium
