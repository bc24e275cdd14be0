#pragma once

#include <cstdint>
#include <vector>

namespace pellium::detail {

/// An index with the unsigned word it sorts by.
struct KeyedIndex {
    std::uint64_t key;
    std::uint32_t index;
};

/// Sorts `entries` by key, stably (equal keys keep their order). A least-significant-digit radix
/// sort over 11-bit digits that skips the digits every key shares, so ranks of a few million
/// distinct values need three passes; small inputs go to std::stable_sort. Used by the sort
/// comparators, whose keys are computed once, to sort whole columns without a comparator call
/// per pair.
void radixSortByKey(std::vector<KeyedIndex>& entries);

}  // namespace pellium::detail
