#include "pellium/models/data/hierarchy/build/RowSource.h"

#include <algorithm>

namespace pellium {

RowSource::RowSource(const std::vector<std::int32_t>* rows, std::int32_t limit)
    : rowLimit_(static_cast<std::size_t>(std::max(limit, 0))) {
    if (rows) {
        for (const std::int32_t row : *rows) {
            if (row >= 0 && row < limit) {
                selected_.push_back(row);
            }
        }
        isList_ = true;
        size_ = selected_.size();
    } else {
        size_ = static_cast<std::size_t>(std::max(limit, 0));
    }
}

}  // namespace pellium
