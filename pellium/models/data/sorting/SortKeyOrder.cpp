#include "pellium/models/data/sorting/SortKeyOrder.h"

#include <stdexcept>
#include <string>

#include "pellium/models/data/sorting/RadixSort.h"

namespace pellium {

void SortKeyOrder::sortIndices(std::span<const std::int32_t> keys, std::vector<std::uint32_t>& indices) const {
    std::vector<detail::KeyedIndex> entries(indices.size());
    for (std::size_t position = 0; position < indices.size(); ++position) {
        const std::uint32_t index = indices[position];
        if (index >= keys.size()) {
            throw std::out_of_range("sort index " + std::to_string(index) + " beyond " + std::to_string(keys.size()) +
                                    " keys");
        }
        entries[position] = {getWord(keys[index]), index};
    }
    detail::radixSortByKey(entries);
    for (std::size_t position = 0; position < indices.size(); ++position) {
        indices[position] = entries[position].index;
    }
}

}  // namespace pellium
