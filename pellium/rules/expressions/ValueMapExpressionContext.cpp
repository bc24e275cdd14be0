#include "pellium/rules/expressions/ValueMapExpressionContext.h"

#include <limits>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"

namespace pellium {

std::shared_ptr<ValueMapExpressionContext> ValueMapExpressionContext::create() {
    return std::shared_ptr<ValueMapExpressionContext>(new ValueMapExpressionContext());
}

void ValueMapExpressionContext::setValue(std::string_view name, std::shared_ptr<const DataValue> value) {
    const int item = findDataItem(name);
    if (item != NO_ITEM) {
        values_[static_cast<std::size_t>(item)] = std::move(value);
        return;
    }
    names_.emplace_back(name);
    values_.push_back(std::move(value));
}

void ValueMapExpressionContext::setNumber(std::string_view name, double number) {
    setValue(name, DataValue::create(number));
}

void ValueMapExpressionContext::setText(std::string_view name, std::string_view text) {
    setValue(name, DataValue::create(StringUtilities::internString(text), DataTokens::UNRESOLVABLE_DATA_VALUE));
}

int ValueMapExpressionContext::findDataItem(std::string_view name) const {
    for (std::size_t index = 0; index < names_.size(); ++index) {
        if (names_[index] == name) {
            return static_cast<int>(index);
        }
    }
    return NO_ITEM;
}

DataTypeExt::type ValueMapExpressionContext::getDataItemType(int item) const {
    if (item < 0 || static_cast<std::size_t>(item) >= values_.size()) {
        return DataTypeExt::UNKNOWN;
    }
    const auto& value = values_[static_cast<std::size_t>(item)];
    return value && value->isString() ? DataTypeExt::CHARACTER : DataTypeExt::NUMERIC;
}

double ValueMapExpressionContext::getNumber(int item) const {
    if (item < 0 || static_cast<std::size_t>(item) >= values_.size()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const auto& value = values_[static_cast<std::size_t>(item)];
    return value && !value->isString() ? value->getNumericValue() : std::numeric_limits<double>::quiet_NaN();
}

SharedString ValueMapExpressionContext::getString(int item) const {
    if (item < 0 || static_cast<std::size_t>(item) >= values_.size()) {
        return nullptr;
    }
    const auto& value = values_[static_cast<std::size_t>(item)];
    return value ? value->getStringValue() : nullptr;
}

}  // namespace pellium
