#pragma once

#include <cstdint>
#include <set>

namespace pellium {

/// A set of row indices in ascending order: the rows a filter selects, the rows of a subset, the
/// selected or excluded rows of row states. Indices beyond a data set's rows are ignored by
/// operations that build data sets from a set, and are rejected as out of range by operations
/// that read cells.
using RowIndexSet = std::set<std::uint32_t>;

}  // namespace pellium
