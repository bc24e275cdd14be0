#include "pellium/models/data/hierarchy/build/CodeMap.h"

#include <utility>

namespace pellium {

void CodeMap::resize(std::size_t capacity) {
    std::vector<std::uint64_t> keys(capacity);
    std::vector<std::uint32_t> codes(capacity, NO_CODE);
    std::vector<std::uint8_t> used(capacity, 0);
    mask_ = capacity - 1;
    for (std::size_t index = 0; index < keys_.size(); ++index) {
        if (used_[index]) {
            std::size_t position = hash(keys_[index]) & mask_;
            while (used[position]) {
                position = (position + 1) & mask_;
            }
            used[position] = 1;
            keys[position] = keys_[index];
            codes[position] = codes_[index];
        }
    }
    keys_ = std::move(keys);
    codes_ = std::move(codes);
    used_ = std::move(used);
}

}  // namespace pellium
