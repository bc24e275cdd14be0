#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace pellium {

// A map from 64-bit keys to 32-bit codes with open addressing, for the per-row look-ups of the
// hierarchy build (distinct numbers, node pairs), which must not allocate per row.
class CodeMap {
public:
    /// The code of a key that has none yet.
    static constexpr std::uint32_t NO_CODE = std::numeric_limits<std::uint32_t>::max();

    explicit CodeMap(std::size_t expected = 64) { resize(std::bit_ceil(std::max<std::size_t>(expected * 2, 64))); }

    /// The code slot of `key`; a new key gets a slot holding NO_CODE.
    std::uint32_t& find(std::uint64_t key) {
        if ((size_ + 1) * 2 > keys_.size()) {
            resize(keys_.size() * 2);
        }
        std::size_t position = hash(key) & mask_;
        while (codes_[position] != NO_CODE || used_[position]) {
            if (keys_[position] == key) {
                return codes_[position];
            }
            position = (position + 1) & mask_;
        }
        used_[position] = 1;
        keys_[position] = key;
        ++size_;
        return codes_[position];
    }

private:
    static std::uint64_t hash(std::uint64_t key) {
        key ^= key >> 33;
        key *= 0xFF51AFD7ED558CCDULL;
        key ^= key >> 33;
        return key;
    }

    void resize(std::size_t capacity);

    std::vector<std::uint64_t> keys_;
    std::vector<std::uint32_t> codes_;
    std::vector<std::uint8_t> used_;
    std::size_t size_ = 0;
    std::size_t mask_ = 0;
};

}  // namespace pellium
