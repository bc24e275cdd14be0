#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"
#include "pellium/util/TextWords.h"

namespace pellium {

/// Builds the string table of a data set from the texts of its cells, one entry per distinct text,
/// for readers that see millions of cells but only thousands of texts (CSV, streams, row-by-row
/// builders). A text is looked up in a local open-addressing hash table over the entries already
/// made, so a cell whose text is known costs one hash and one comparison, without allocating or
/// locking; only a new text is checked for well-formed UTF-8 and interned in the process-wide pool.
/// The texts compared against are kept contiguously in the builder (not in the scattered interned
/// strings), so that the look-ups of a large table stay within the processor's caches. The look-up
/// is inline, since readers call it once per cell.
///
/// The hash is seeded per process, so that crafted input cannot make texts collide on purpose.
/// Not thread-safe; one builder per reader.
class PELLIUM_EXPORT StringTableBuilder {
    struct Slot;

public:
    /// Why add() refused a text.
    enum class Refusal {
        NONE,
        /// The text is not well-formed UTF-8.
        INVALID_UTF8,
        /// The table already holds the largest number of entries a 32-bit index can address.
        TABLE_FULL,
    };

    /// A hash index over the texts of one column. A reader that keeps one per column finds the
    /// texts of a column with few distinct values in a small index that stays in the fastest
    /// caches, however many texts the whole table has; the first time a column meets a text it
    /// is looked up in (or added to) the whole table.
    class Index {
    public:
        Index() : Index(16) {}

    private:
        friend class StringTableBuilder;

        explicit Index(std::size_t capacity) : slots_(capacity), mask_(capacity - 1) {}

        const Slot* find(std::uint64_t hashed, std::string_view text, const char* bytes) const {
            const auto tag = static_cast<std::uint32_t>(hashed >> 32);
            for (std::uint64_t position = hashed & mask_;; position = (position + 1) & mask_) {
                const Slot& slot = slots_[position];
                if (slot.index < 0) {
                    return nullptr;
                }
                if (slot.hashTag == tag && slot.holds(text, bytes)) {
                    return &slot;
                }
            }
        }

        std::vector<Slot> slots_;
        std::uint64_t mask_;
        std::size_t size_ = 0;
    };

    explicit StringTableBuilder(std::size_t expectedTexts = 256);

    /// The index of `text` in the table, adding it when new; -1 when the text is refused, with
    /// the reason in `refusal`.
    std::int32_t add(std::string_view text, Refusal& refusal) {
        const std::uint64_t hashed = hash(text);
        if (const Slot* slot = tableIndex_.find(hashed, text, bytes_.data())) {
            refusal = Refusal::NONE;
            return slot->index;
        }
        return insert(text, hashed, refusal);
    }

    /// The same, looking in the column's `index` first.
    std::int32_t add(std::string_view text, Index& index, Refusal& refusal) {
        const std::uint64_t hashed = hash(text);
        if (const Slot* slot = index.find(hashed, text, bytes_.data())) {
            refusal = Refusal::NONE;
            return slot->index;
        }
        return addToIndex(text, hashed, index, refusal);
    }

    /// Starts loading the part of the column's `index` where `text` would be, so that a reader
    /// that looks up several texts of a row lets their memory latencies overlap. Changes nothing.
    void prefetch(std::string_view text, const Index& index) const {
        __builtin_prefetch(&index.slots_[hash(text) & index.mask_]);
    }

    std::size_t size() const { return entries_.size(); }

    /// The table made so far, in order of first appearance; the texts are interned.
    const std::shared_ptr<std::vector<SharedString>>& getTable() const { return table_; }

private:
    // A slot holds where its text is, so that a look-up that hits reads the slot and the bytes.
    struct Slot {
        std::uint32_t hashTag = 0;
        std::int32_t index = -1;  // -1: empty
        std::uint32_t offset = 0;
        std::uint32_t length = 0;

        // Compares without a call for texts of up to sixteen bytes, with loads inside both texts.
        bool holds(std::string_view text, const char* bytes) const {
            const std::size_t size = text.size();
            if (length != size) {
                return false;
            }
            const char* mine = bytes + offset;
            if (size <= 16) {
                return TextWords::ofShortText(std::string_view(mine, size)) == TextWords::ofShortText(text);
            }
            return std::memcmp(mine, text.data(), size) == 0;
        }
    };

    static constexpr std::uint64_t MULTIPLIER = 0xD6E8FEB86659FD93ULL;

    static std::uint64_t mix(std::uint64_t value) {
        value ^= value >> 32;
        value *= MULTIPLIER;
        value ^= value >> 32;
        value *= MULTIPLIER;
        return value ^ (value >> 32);
    }

    // A text of up to sixteen bytes, the common case, is read as two overlapping words and mixed
    // once; longer texts mix each word of eight bytes in turn.
    std::uint64_t hash(std::string_view text) const {
        const std::size_t length = text.size();
        const std::uint64_t state = seed_ ^ (length * 0x9E3779B97F4A7C15ULL);
        if (length > 16) {
            return hashLongText(text, state);
        }
        const auto [first, last] = TextWords::ofShortText(text);
        return mix(state ^ first ^ (last * MULTIPLIER));
    }

    static std::uint64_t hashLongText(std::string_view text, std::uint64_t state);
    std::int32_t insert(std::string_view text, std::uint64_t hashed, Refusal& refusal);
    std::int32_t addToIndex(std::string_view text, std::uint64_t hashed, Index& index, Refusal& refusal);
    /// Records entry `entry` in `index`, growing the index to keep its load at most one half.
    void place(Index& index, std::uint64_t hashed, std::int32_t entry);

    // Where the bytes of an entry are in `bytes_`.
    struct Entry {
        std::uint32_t offset;
        std::uint32_t length;
    };

    std::uint64_t seed_;
    Index tableIndex_;
    std::vector<Entry> entries_;
    std::vector<char> bytes_;  // every entry's text, one after another
    std::shared_ptr<std::vector<SharedString>> table_;
};

}  // namespace pellium
