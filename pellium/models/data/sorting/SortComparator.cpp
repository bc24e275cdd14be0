#include "pellium/models/data/sorting/SortComparator.h"

#include <algorithm>
#include <functional>

namespace pellium {

SortComparator::~SortComparator() = default;

void SortComparator::sortIndices(std::vector<std::uint32_t>& indices) const {
    std::stable_sort(indices.begin(), indices.end(), std::cref(*this));
}

}  // namespace pellium
