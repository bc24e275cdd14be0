#include "pellium/models/data/sorting/ColumnSortComparator.h"

#include <limits>
#include <unordered_map>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"

namespace pellium {

std::shared_ptr<ColumnSortComparator> ColumnSortComparator::create(std::shared_ptr<SortContext> sortContext,
                                                                   std::shared_ptr<const DataSet> dataSet,
                                                                   std::shared_ptr<const Column> column) {
    if (!column || !DataType::isValid(column->getDataType())) {
        return nullptr;
    }
    return std::make_shared<ColumnSortComparator>(Token{}, std::move(sortContext), std::move(dataSet),
                                                  std::move(column));
}

ColumnSortComparator::ColumnSortComparator(Token, std::shared_ptr<SortContext> sortContext,
                                           std::shared_ptr<const DataSet> dataSet, std::shared_ptr<const Column> column)
    : AbstractDataValueSortComparator(std::move(sortContext), column->getDataType(), std::move(dataSet)),
      column_(std::move(column)) {}

std::shared_ptr<DataValue> ColumnSortComparator::getDataValue(std::uint32_t index) const {
    if (index > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
        throw std::out_of_range("sort index beyond the rows of the column");
    }
    return column_->getDataValueAtIndex(static_cast<std::int32_t>(index));
}

std::size_t ColumnSortComparator::getDataValueCount() const {
    return static_cast<std::size_t>(std::max(column_->getNumberOfRows(), 0));
}

std::vector<std::int32_t> ColumnSortComparator::buildNumericKeys() const {
    if (column_->getDataType() != DataType::NUMERIC || !column_->getNumbers()) {
        return AbstractDataValueSortComparator::buildNumericKeys();
    }
    return CollationKeys::forNumbers(*column_->getNumbers());
}

std::vector<std::int32_t> ColumnSortComparator::buildStringKeys(const Collator* collator) const {
    const auto& indices = column_->getStringIndices();
    if (column_->getDataType() != DataType::STRING || !indices) {
        return AbstractDataValueSortComparator::buildStringKeys(collator);
    }
    std::shared_ptr<const DataSet::StringTable> table = column_->getResolvedStringTable();
    if (!table && getDataSet()) {
        table = getDataSet()->getStringTable();
    }
    const std::size_t tableSize = table ? table->size() : 0;

    // Distinct texts: first the ordinary entries of the table, then texts of rows outside it.
    std::vector<std::string_view> distinctTexts;
    std::vector<std::int32_t> slotOfEntry(tableSize, DataTokens::TOKEN_MISSING);
    for (std::size_t entry = 0; entry < tableSize; ++entry) {
        const SharedString& text = (*table)[entry];
        if (CollationKeys::getSpecialKeyForStringCell(static_cast<std::int32_t>(entry), text.get()) ==
            CollationKeys::NOT_SPECIAL) {
            slotOfEntry[entry] = static_cast<std::int32_t>(distinctTexts.size());
            distinctTexts.emplace_back(*text);
        }
    }
    std::vector<SharedString> textsOutsideTable;
    std::unordered_map<const std::string*, std::int32_t> slotOfTextOutsideTable;

    // First each row's slot among the distinct texts (or its special key), then the slots' ranks.
    std::vector<std::int32_t> keys(indices->size());
    for (std::size_t row = 0; row < indices->size(); ++row) {
        const std::int32_t index = (*indices)[row];
        if (index >= 0 && static_cast<std::size_t>(index) < tableSize) {
            keys[row] = slotOfEntry[static_cast<std::size_t>(index)];
            continue;
        }
        SharedString text = column_->getStringAtIndex(static_cast<std::int32_t>(row));
        const std::int32_t special = CollationKeys::getSpecialKeyForStringCell(index, text.get());
        if (special != CollationKeys::NOT_SPECIAL) {
            keys[row] = special;
            continue;
        }
        const auto [found, isNew] =
            slotOfTextOutsideTable.try_emplace(text.get(), static_cast<std::int32_t>(distinctTexts.size()));
        if (isNew) {
            distinctTexts.emplace_back(*text);
            textsOutsideTable.push_back(std::move(text));
        }
        keys[row] = found->second;
    }
    const std::vector<std::int32_t> ranks = CollationKeys::rankTexts(distinctTexts, collator);
    for (std::int32_t& key : keys) {
        if (key >= 0) {
            key = ranks[static_cast<std::size_t>(key)];
        }
    }
    return keys;
}

}  // namespace pellium
