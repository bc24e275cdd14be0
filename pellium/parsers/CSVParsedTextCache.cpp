#include "pellium/parsers/CSVParsedTextCache.h"

#include <bit>

#include "pellium/util/TextWords.h"

namespace pellium {

// Loads that stay inside the text and together cover every byte of it, so that texts of one
// length have the same words exactly when they are the same; no copy through memory, whose
// narrow stores the wide loads would have to wait for.
CSVParsedTextCache::Words CSVParsedTextCache::wordsOf(std::string_view text) {
    if (text.size() <= 16) {
        const auto [first, last] = TextWords::ofShortText(text);
        return {first, last, 0};
    }
    const char* bytes = text.data();
    return {TextWords::load<std::uint64_t>(bytes), TextWords::load<std::uint64_t>(bytes + 8),
            TextWords::load<std::uint64_t>(bytes + text.size() - 8)};
}

// Word by word without a branch or a call, which std::array's comparison makes.
bool CSVParsedTextCache::sameWords(const Words& left, const Words& right) {
    std::uint64_t difference = 0;
    for (std::size_t word = 0; word < left.size(); ++word) {
        difference |= left[word] ^ right[word];
    }
    return difference == 0;
}

std::size_t CSVParsedTextCache::slotOf(const Words& words, std::size_t length) {
    constexpr std::uint64_t MULTIPLIER = 0x9E3779B97F4A7C15ULL;  // 2^64 divided by the golden ratio
    std::uint64_t state = length;
    for (const std::uint64_t word : words) {
        state = (state ^ word) * MULTIPLIER;
        state ^= state >> 29;
    }
    constexpr int SLOT_BITS = std::countr_zero(SLOT_COUNT);
    return static_cast<std::size_t>(state >> (64 - SLOT_BITS));
}

bool CSVParsedTextCache::find(std::string_view text, double& number) const {
    if (slots_.empty() || text.size() > MAXIMUM_TEXT_BYTES) {
        return false;
    }
    const Words words = wordsOf(text);
    const Slot& slot = slots_[slotOf(words, text.size())];
    if (slot.length != text.size() || !sameWords(slot.words, words)) {
        return false;
    }
    number = slot.number;
    return true;
}

void CSVParsedTextCache::remember(std::string_view text, double number) {
    if (text.size() > MAXIMUM_TEXT_BYTES) {
        return;
    }
    if (slots_.empty()) {
        slots_.resize(SLOT_COUNT);
    }
    const Words words = wordsOf(text);
    slots_[slotOf(words, text.size())] = {words, static_cast<std::uint32_t>(text.size()), number};
}

}  // namespace pellium
