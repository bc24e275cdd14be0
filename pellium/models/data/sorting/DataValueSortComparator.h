#pragma once

#include <memory>

#include "pellium/Export.h"
#include "pellium/models/data/sorting/AbstractDataValueSortComparator.h"

namespace pellium {

/// Orders the indices of a vector of values: index i stands for values[i]. Used for lists of
/// values that are not a column, such as the members of a hierarchy level. Holding values, it
/// compares them as numbers unless collation keys are computed (see the mode override in
/// AbstractDataValueSortComparator): compute keys to order texts.
class PELLIUM_EXPORT DataValueSortComparator final : public AbstractDataValueSortComparator {
    struct Token {};

public:
    /// Null for a `dataType` that is no DataType. A null vector holds no values. The data set may
    /// be null.
    static std::shared_ptr<DataValueSortComparator> create(std::shared_ptr<SortContext> sortContext,
                                                           DataType::type dataType,
                                                           std::shared_ptr<const DataValue::ValueList> values,
                                                           std::shared_ptr<const DataSet> dataSet = nullptr);

    DataValueSortComparator(Token, std::shared_ptr<SortContext> sortContext, DataType::type dataType,
                            std::shared_ptr<const DataValue::ValueList> values, std::shared_ptr<const DataSet> dataSet);

    std::shared_ptr<DataValue> getDataValue(std::uint32_t index) const override;
    std::size_t getDataValueCount() const override { return values_ ? values_->size() : 0; }
    const std::shared_ptr<const DataValue::ValueList>& getDataValues() const { return values_; }

protected:
    bool holdsDataValues() const override { return values_ && !values_->empty(); }
    std::vector<std::int32_t> buildNumericKeys() const override;
    std::vector<std::int32_t> buildStringKeys(const Collator* collator) const override;

private:
    std::shared_ptr<const DataValue::ValueList> values_;
};

}  // namespace pellium
