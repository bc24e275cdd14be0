#include "pellium/util/TranscodingUtilities.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace pellium {

namespace {

constexpr std::string_view BASE64_ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char PADDING = '=';

// --- Encoding ------------------------------------------------------------------------------------

// The two characters of every 12-bit half of a 3-byte group, so a group costs two look-ups.
constexpr auto BASE64_PAIRS = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t index = 0; index < pairs.size(); ++index) {
        pairs[index] = {BASE64_ALPHABET[index >> 6], BASE64_ALPHABET[index & 0x3F]};
    }
    return pairs;
}();

void encodeInto(const unsigned char* bytes, std::size_t count, char* out) noexcept {
    std::size_t index = 0;
    for (; index + 3 <= count; index += 3, out += 4) {
        const std::uint32_t group = (std::uint32_t{bytes[index]} << 16) | (std::uint32_t{bytes[index + 1]} << 8) |
                                    std::uint32_t{bytes[index + 2]};
        std::memcpy(out, BASE64_PAIRS[group >> 12].data(), 2);
        std::memcpy(out + 2, BASE64_PAIRS[group & 0xFFF].data(), 2);
    }
    const std::size_t remaining = count - index;
    if (remaining == 0) {
        return;
    }
    const std::uint32_t first = bytes[index];
    const std::uint32_t second = remaining == 2 ? bytes[index + 1] : 0;
    out[0] = BASE64_ALPHABET[first >> 2];
    out[1] = BASE64_ALPHABET[((first & 0x03) << 4) | (second >> 4)];
    out[2] = remaining == 2 ? BASE64_ALPHABET[(second & 0x0F) << 2] : PADDING;
    out[3] = PADDING;
}

// --- Decoding ------------------------------------------------------------------------------------

// One table per character position of a group. Each entry holds that character's six bits
// already shifted to where they land in the three output bytes, laid out so that the bytes sit in
// memory order in a 32-bit word; the fourth byte of the word is a fault flag, set by every
// character outside the alphabet. A group is then four look-ups OR-ed together, one unaligned
// store, and the flags are OR-ed into one word checked once at the end: no branch per character.
constexpr unsigned memoryShift(unsigned byteIndex) noexcept {
    return std::endian::native == std::endian::little ? 8 * byteIndex : 8 * (3 - byteIndex);
}

constexpr std::uint32_t atByte(std::uint32_t value, unsigned byteIndex) noexcept {
    return value << memoryShift(byteIndex);
}

constexpr std::uint32_t FAULT_FLAG = atByte(0xFF, 3);

using DecodeTable = std::array<std::uint32_t, 256>;

template <unsigned Position>
constexpr DecodeTable makeDecodeTable() {
    DecodeTable table{};
    table.fill(FAULT_FLAG);
    for (std::uint32_t sextet = 0; sextet < 64; ++sextet) {
        std::uint32_t placed = 0;
        if constexpr (Position == 0) {
            placed = atByte(sextet << 2, 0);
        } else if constexpr (Position == 1) {
            placed = atByte(sextet >> 4, 0) | atByte((sextet & 0x0F) << 4, 1);
        } else if constexpr (Position == 2) {
            placed = atByte(sextet >> 2, 1) | atByte((sextet & 0x03) << 6, 2);
        } else {
            placed = atByte(sextet, 2);
        }
        table[static_cast<unsigned char>(BASE64_ALPHABET[sextet])] = placed;
    }
    return table;
}

constexpr DecodeTable DECODE_0 = makeDecodeTable<0>();
constexpr DecodeTable DECODE_1 = makeDecodeTable<1>();
constexpr DecodeTable DECODE_2 = makeDecodeTable<2>();
constexpr DecodeTable DECODE_3 = makeDecodeTable<3>();

inline std::uint32_t decodeGroup(const unsigned char* group) noexcept {
    return DECODE_0[group[0]] | DECODE_1[group[1]] | DECODE_2[group[2]] | DECODE_3[group[3]];
}

// Decodes the last group, which may be padded. Answers the number of bytes written (1 to 3), or
// 0 for a fault: a character outside the alphabet, misplaced padding or pad bits that are not zero.
std::size_t decodeLastGroup(const unsigned char* group, unsigned char* out) noexcept {
    const bool thirdIsPadding = group[2] == PADDING;
    const bool fourthIsPadding = group[3] == PADDING;
    std::size_t byteCount = 3;
    std::uint32_t word = DECODE_0[group[0]] | DECODE_1[group[1]];
    std::uint32_t mustBeZero = 0;
    if (fourthIsPadding && thirdIsPadding) {
        byteCount = 1;
        mustBeZero = atByte(0xFF, 1);
    } else if (fourthIsPadding) {
        byteCount = 2;
        word |= DECODE_2[group[2]];
        mustBeZero = atByte(0xFF, 2);
    } else {
        word |= DECODE_2[group[2]] | DECODE_3[group[3]];
    }
    if ((word & (FAULT_FLAG | mustBeZero)) != 0) {
        return 0;
    }
    unsigned char bytes[4];
    std::memcpy(bytes, &word, sizeof word);
    std::memcpy(out, bytes, byteCount);
    return byteCount;
}

// Decodes a text without line breaks into `out`, sized from the text's length alone.
template <class Bytes>
bool decodeUnbroken(std::string_view text, Bytes& out) {
    out.clear();
    if (text.size() % 4 != 0) {
        return false;
    }
    if (text.empty()) {
        return true;
    }
    const std::size_t groupCount = text.size() / 4;
    out.resize(groupCount * 3);
    const auto* in = reinterpret_cast<const unsigned char*>(text.data());
    auto* bytes = reinterpret_cast<unsigned char*>(out.data());
    // Every group but the last is full and stored as a 4-byte word whose fourth byte the next
    // group overwrites, so the stores stay inside the output.
    std::uint32_t faults = 0;
    for (std::size_t group = 0; group + 1 < groupCount; ++group) {
        const std::uint32_t word = decodeGroup(in + 4 * group);
        faults |= word;
        std::memcpy(bytes + 3 * group, &word, sizeof word);
    }
    const std::size_t lastCount = decodeLastGroup(in + 4 * (groupCount - 1), bytes + 3 * (groupCount - 1));
    if ((faults & FAULT_FLAG) != 0 || lastCount == 0) {
        out.clear();
        return false;
    }
    out.resize(3 * (groupCount - 1) + lastCount);
    return true;
}

template <class Bytes>
bool decodeBase64Into(std::string_view text, Bytes& out) {
    if (decodeUnbroken(text, out)) {
        return true;
    }
    // The fast path refuses line breaks; a text that has some is joined and decoded once more.
    if (text.find_first_of("\r\n") == std::string_view::npos) {
        return false;
    }
    std::string joined;
    joined.reserve(text.size());
    for (const char character : text) {
        if (character != '\r' && character != '\n') {
            joined.push_back(character);
        }
    }
    return decodeUnbroken(joined, out);
}

}  // namespace

std::string TranscodingUtilities::encodeBase64(std::span<const std::byte> bytes) {
    std::string text(getBase64EncodedLength(bytes.size()), '\0');
    encodeInto(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), text.data());
    return text;
}

std::string TranscodingUtilities::encodeBase64(std::string_view bytes) {
    return encodeBase64(std::as_bytes(std::span(bytes.data(), bytes.size())));
}

bool TranscodingUtilities::decodeBase64(std::string_view text, std::vector<std::byte>& out) {
    return decodeBase64Into(text, out);
}

bool TranscodingUtilities::decodeBase64(std::string_view text, std::string& out) {
    return decodeBase64Into(text, out);
}

}  // namespace pellium
