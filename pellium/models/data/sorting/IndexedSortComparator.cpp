#include "pellium/models/data/sorting/IndexedSortComparator.h"

namespace pellium {

std::shared_ptr<IndexedSortComparator> IndexedSortComparator::create(
    std::shared_ptr<const std::vector<std::int32_t>> keys, bool ascending) {
    return std::make_shared<IndexedSortComparator>(Token{}, std::move(keys), ascending);
}

IndexedSortComparator::IndexedSortComparator(Token, std::shared_ptr<const std::vector<std::int32_t>> keys,
                                             bool ascending)
    : keys_(keys ? std::move(keys) : std::make_shared<const std::vector<std::int32_t>>()), ascending_(ascending) {}

void IndexedSortComparator::sortIndices(std::vector<std::uint32_t>& indices) const {
    getKeyOrder().sortIndices(*keys_, indices);
}

}  // namespace pellium
