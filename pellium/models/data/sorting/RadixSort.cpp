#include "pellium/models/data/sorting/RadixSort.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace pellium::detail {

namespace {

constexpr unsigned DIGIT_BITS = 11;
constexpr std::size_t DIGIT_VALUES = std::size_t{1} << DIGIT_BITS;
constexpr unsigned DIGIT_COUNT = (64 + DIGIT_BITS - 1) / DIGIT_BITS;
// Below this a comparison sort beats the passes over the counters.
constexpr std::size_t RADIX_THRESHOLD = 2048;

std::size_t digitOf(std::uint64_t key, unsigned digit) {
    return static_cast<std::size_t>((key >> (digit * DIGIT_BITS)) & (DIGIT_VALUES - 1));
}

}  // namespace

void radixSortByKey(std::vector<KeyedIndex>& entries) {
    if (entries.size() < RADIX_THRESHOLD) {
        std::stable_sort(entries.begin(), entries.end(),
                         [](const KeyedIndex& left, const KeyedIndex& right) { return left.key < right.key; });
        return;
    }
    // One pass counts every digit; a digit whose values all fall in one bucket needs no pass.
    std::vector<std::array<std::size_t, DIGIT_VALUES>> counts(DIGIT_COUNT);
    for (auto& count : counts) {
        count.fill(0);
    }
    for (const KeyedIndex& entry : entries) {
        for (unsigned digit = 0; digit < DIGIT_COUNT; ++digit) {
            ++counts[digit][digitOf(entry.key, digit)];
        }
    }
    std::vector<KeyedIndex> buffer(entries.size());
    for (unsigned digit = 0; digit < DIGIT_COUNT; ++digit) {
        auto& count = counts[digit];
        if (std::ranges::any_of(count, [&](std::size_t n) { return n == entries.size(); })) {
            continue;
        }
        std::size_t offset = 0;
        for (std::size_t& n : count) {
            const std::size_t bucketSize = n;
            n = offset;
            offset += bucketSize;
        }
        for (const KeyedIndex& entry : entries) {
            buffer[count[digitOf(entry.key, digit)]++] = entry;
        }
        entries.swap(buffer);
    }
}

}  // namespace pellium::detail
