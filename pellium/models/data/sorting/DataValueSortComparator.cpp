#include "pellium/models/data/sorting/DataValueSortComparator.h"

#include <stdexcept>
#include <string>

namespace pellium {

std::shared_ptr<DataValueSortComparator> DataValueSortComparator::create(
    std::shared_ptr<SortContext> sortContext, DataType::type dataType,
    std::shared_ptr<const DataValue::ValueList> values, std::shared_ptr<const DataSet> dataSet) {
    if (!DataType::isValid(dataType)) {
        return nullptr;
    }
    return std::make_shared<DataValueSortComparator>(Token{}, std::move(sortContext), dataType, std::move(values),
                                                     std::move(dataSet));
}

DataValueSortComparator::DataValueSortComparator(Token, std::shared_ptr<SortContext> sortContext,
                                                 DataType::type dataType,
                                                 std::shared_ptr<const DataValue::ValueList> values,
                                                 std::shared_ptr<const DataSet> dataSet)
    : AbstractDataValueSortComparator(std::move(sortContext), dataType, std::move(dataSet)),
      values_(std::move(values)) {}

std::shared_ptr<DataValue> DataValueSortComparator::getDataValue(std::uint32_t index) const {
    if (!values_ || index >= values_->size()) {
        throw std::out_of_range("sort index " + std::to_string(index) + " beyond " +
                                std::to_string(getDataValueCount()) + " values");
    }
    return (*values_)[index];
}

std::vector<std::int32_t> DataValueSortComparator::buildNumericKeys() const {
    return values_ ? CollationKeys::forValues(*values_, DataType::NUMERIC, nullptr) : std::vector<std::int32_t>();
}

std::vector<std::int32_t> DataValueSortComparator::buildStringKeys(const Collator* collator) const {
    return values_ ? CollationKeys::forValues(*values_, DataType::STRING, collator) : std::vector<std::int32_t>();
}

}  // namespace pellium
