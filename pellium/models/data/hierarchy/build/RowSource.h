#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellium {

/// The rows a hierarchy build visits: a list (rows outside [0, limit) left out), or all rows
/// below a limit.
class RowSource {
public:
    RowSource(const std::vector<std::int32_t>* rows, std::int32_t limit);

    std::size_t size() const { return size_; }
    bool isList() const { return isList_; }
    /// One past the greatest row that can be visited.
    std::size_t rowLimit() const { return rowLimit_; }
    std::int32_t operator[](std::size_t position) const {
        return isList_ ? selected_[position] : static_cast<std::int32_t>(position);
    }

private:
    std::vector<std::int32_t> selected_;
    std::size_t size_ = 0;
    std::size_t rowLimit_ = 0;
    bool isList_ = false;
};

}  // namespace pellium
