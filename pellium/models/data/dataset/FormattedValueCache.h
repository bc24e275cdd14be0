#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <span>

#include "pellium/util/StringUtilities.h"

namespace pellium {

class Formatter;

/// The formatted texts of a numeric column, one per row, made on first use. Rows are formatted in
/// blocks of BLOCK_ROWS: the first read of a row formats its whole block with the formatter
/// resolved when the cache was made, and publishes the block atomically. Readers on several
/// threads therefore never race: a block is either absent (and each reader may format it, one
/// copy wins) or complete and never changed again. Internal to Column.
class FormattedValueCache {
public:
    static constexpr std::size_t BLOCK_ROWS = 1024;

    FormattedValueCache(std::size_t numberOfRows, std::shared_ptr<Formatter> formatter);
    ~FormattedValueCache();

    FormattedValueCache(const FormattedValueCache&) = delete;
    FormattedValueCache& operator=(const FormattedValueCache&) = delete;

    /// The formatted text of `numbers[row]`. REQUIRES: row < the row count given at construction
    /// and `numbers` is the vector the cache was made for.
    SharedString get(std::span<const double> numbers, std::size_t row);

private:
    using Block = std::array<SharedString, BLOCK_ROWS>;

    Block* formatBlock(std::span<const double> numbers, std::size_t blockIndex) const;

    std::shared_ptr<Formatter> formatter_;
    std::size_t numberOfBlocks_;
    std::unique_ptr<std::atomic<Block*>[]> blocks_;
};

}  // namespace pellium
