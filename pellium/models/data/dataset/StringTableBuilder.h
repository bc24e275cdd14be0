#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

/// Builds the string table of a data set from the texts of its cells, one entry per distinct text,
/// for readers that see millions of cells but only thousands of texts (CSV, streams, row-by-row
/// builders). A text is looked up in a local open-addressing hash table over the entries already
/// made, so a cell whose text is known costs one hash and one comparison, without allocating or
/// locking; only a new text is checked for well-formed UTF-8 and interned in the process-wide pool.
///
/// The hash is seeded per process, so that crafted input cannot make texts collide on purpose.
/// Not thread-safe; one builder per reader.
class PELLIUM_EXPORT StringTableBuilder {
public:
    /// Why add() refused a text.
    enum class Refusal {
        NONE,
        /// The text is not well-formed UTF-8.
        INVALID_UTF8,
        /// The table already holds the largest number of entries a 32-bit index can address.
        TABLE_FULL,
    };

    explicit StringTableBuilder(std::size_t expectedTexts = 256);

    /// The index of `text` in the table, adding it when new; -1 when the text is refused, with
    /// the reason in `refusal`.
    std::int32_t add(std::string_view text, Refusal& refusal);

    std::size_t size() const { return views_.size(); }

    /// The table made so far, in order of first appearance; the texts are interned.
    const std::shared_ptr<std::vector<SharedString>>& getTable() const { return table_; }

private:
    struct Slot {
        std::uint32_t hashTag = 0;
        std::int32_t index = -1;  // -1: empty
    };

    std::uint64_t hash(std::string_view text) const;
    void place(std::uint64_t hashed, std::int32_t index);
    void grow();

    std::vector<Slot> slots_;
    std::uint64_t mask_ = 0;
    std::vector<std::string_view> views_;  // the texts of the table, for comparisons without a pointer chase
    std::shared_ptr<std::vector<SharedString>> table_;
};

}  // namespace pellium
