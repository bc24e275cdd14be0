#include "pellium/models/data/dataset/FormattedValueCache.h"

#include <algorithm>

#include "pellium/formatters/Formatter.h"
#include "pellium/models/data/dataset/DataValue.h"

namespace pellium {

FormattedValueCache::FormattedValueCache(std::size_t numberOfRows, std::shared_ptr<Formatter> formatter)
    : formatter_(std::move(formatter)),
      numberOfBlocks_((numberOfRows + BLOCK_ROWS - 1) / BLOCK_ROWS),
      blocks_(std::make_unique<std::atomic<Block*>[]>(numberOfBlocks_)) {}

FormattedValueCache::~FormattedValueCache() {
    for (std::size_t index = 0; index < numberOfBlocks_; ++index) {
        delete blocks_[index].load(std::memory_order_relaxed);
    }
}

SharedString FormattedValueCache::get(std::span<const double> numbers, std::size_t row) {
    const std::size_t blockIndex = row / BLOCK_ROWS;
    std::atomic<Block*>& slot = blocks_[blockIndex];
    Block* block = slot.load(std::memory_order_acquire);
    if (!block) {
        std::unique_ptr<Block> formatted(formatBlock(numbers, blockIndex));
        // Another reader may have published the block meanwhile; its copy is as good as ours.
        if (slot.compare_exchange_strong(block, formatted.get(), std::memory_order_acq_rel,
                                         std::memory_order_acquire)) {
            block = formatted.release();
        }
    }
    return (*block)[row % BLOCK_ROWS];
}

FormattedValueCache::Block* FormattedValueCache::formatBlock(std::span<const double> numbers,
                                                             std::size_t blockIndex) const {
    auto block = std::make_unique<Block>();
    const std::size_t first = blockIndex * BLOCK_ROWS;
    const std::size_t end = std::min(numbers.size(), first + BLOCK_ROWS);
    for (std::size_t row = first; row < end; ++row) {
        (*block)[row - first] = formatter_ ? DataValue::formatNumericValue(numbers[row], *formatter_)
                                           : DataValue::formatNumericValue(numbers[row], SharedString());
    }
    return block.release();
}

}  // namespace pellium
