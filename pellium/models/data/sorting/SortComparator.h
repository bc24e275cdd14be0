#pragma once

#include <cstdint>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// The base of the comparators that order rows of a data set and members of a hierarchy by their
/// indices: `comparator(i, j)` answers whether index i comes before index j. Every comparator is a
/// strict weak ordering, so it can drive std::sort and std::stable_sort over a vector of indices
/// (pass it as std::cref(comparator): comparators are not copied). Indices a comparator does not
/// know throw std::out_of_range.
///
/// Threads: a comparator is read-only while it sorts, so several threads may sort with one.
class PELLIUM_EXPORT SortComparator {
public:
    SortComparator() = default;
    SortComparator(const SortComparator&) = delete;
    SortComparator& operator=(const SortComparator&) = delete;
    virtual ~SortComparator();

    /// True when index `i` comes before index `j`.
    virtual bool operator()(std::uint32_t i, std::uint32_t j) const = 0;

    /// Sorts `indices` stably: indices the comparator leaves unordered keep their order. The base
    /// runs std::stable_sort with this comparator; comparators that hold precomputed keys sort the
    /// keys instead, which gives the same order much faster.
    virtual void sortIndices(std::vector<std::uint32_t>& indices) const;
};

}  // namespace pellium
