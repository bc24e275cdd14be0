#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace pellium {

/// The numbers that the texts of a formatted column read as, remembered per text: a date column
/// repeats a few thousand texts over millions of rows, and looking a text up costs a fraction of
/// reading it through its format. Direct-mapped, so a look-up is one slot: a text whose slot
/// another text has taken since is simply read again, and texts that collide, even on purpose,
/// cost no more than reading without the cache. Texts longer than MAXIMUM_TEXT_BYTES are not
/// remembered. Internal to CSVDataSetReader; the slots are allocated by the first remember().
class CSVParsedTextCache {
public:
    static constexpr std::size_t MAXIMUM_TEXT_BYTES = 24;

    /// True, setting `number`, when `text` was remembered and still holds its slot.
    bool find(std::string_view text, double& number) const;
    /// Remembers that `text` reads as `number`; texts too long to remember are ignored.
    void remember(std::string_view text, double number);

private:
    static constexpr std::size_t SLOT_COUNT = 16384;  // a few thousand texts rarely share a slot
    static constexpr std::uint32_t EMPTY = UINT32_MAX;

    using Words = std::array<std::uint64_t, MAXIMUM_TEXT_BYTES / 8>;

    struct Slot {
        Words words{};
        std::uint32_t length = EMPTY;
        double number = 0;
    };

    // The text's bytes as words, so that comparing texts of one length compares words.
    static Words wordsOf(std::string_view text);
    static bool sameWords(const Words& left, const Words& right);
    static std::size_t slotOf(const Words& words, std::size_t length);

    std::vector<Slot> slots_;
};

}  // namespace pellium
