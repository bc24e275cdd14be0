#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// Bytes of a text read as machine words, for the hot loops that hash, compare and scan texts a
/// word at a time: loads at any alignment without aliasing trouble, and the two words that stand
/// for a short text. Every read stays inside the bytes it is given.
class PELLIUM_EXPORT TextWords {
public:
    TextWords() = delete;

    /// The sizeof(Word) bytes at `bytes`, in the machine's byte order.
    template <typename Word>
    static Word load(const void* bytes) noexcept {
        Word word;
        std::memcpy(&word, bytes, sizeof(word));
        return word;
    }

    struct Pair {
        std::uint64_t first = 0;
        std::uint64_t last = 0;

        friend bool operator==(const Pair&, const Pair&) = default;
    };

    /// A text of at most sixteen bytes as two words that together cover each of its bytes (the
    /// first and last eight, or four, bytes; below four bytes the first, middle and last byte in
    /// `first`). Texts of one length are equal exactly when their pairs are.
    static Pair ofShortText(std::string_view text) noexcept {
        const char* bytes = text.data();
        const std::size_t length = text.size();
        if (length >= 8) {
            return {load<std::uint64_t>(bytes), load<std::uint64_t>(bytes + length - 8)};
        }
        if (length >= 4) {
            return {load<std::uint32_t>(bytes), load<std::uint32_t>(bytes + length - 4)};
        }
        if (length == 0) {
            return {};
        }
        const auto byte = [bytes](std::size_t position) {
            return static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[position]));
        };
        return {byte(0) | (byte(length / 2) << 8) | (byte(length - 1) << 16), 0};
    }
};

}  // namespace pellium
