#include "pellium/util/TranscodingUtilities.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "pellium/util/TextWords.h"

namespace pellium {

namespace {

constexpr std::string_view BASE64_ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char PADDING = '=';

// The shift that puts a byte at position `byteIndex` in memory order within a Word, so the tables
// below can be built for either byte order and words stored with one memcpy.
template <class Word>
constexpr unsigned memoryShift(unsigned byteIndex) noexcept {
    return std::endian::native == std::endian::little ? 8 * byteIndex : 8 * (sizeof(Word) - 1 - byteIndex);
}

template <class Word>
constexpr Word atByte(Word value, unsigned byteIndex) noexcept {
    return static_cast<Word>(value << memoryShift<Word>(byteIndex));
}

// --- Encoding ------------------------------------------------------------------------------------

// The two characters of every 12-bit half of a 3-byte group, in memory order, so six input bytes
// become eight characters with one load, four look-ups and one store.
constexpr auto BASE64_PAIRS = [] {
    std::array<std::uint16_t, 4096> pairs{};
    for (std::uint16_t index = 0; index < pairs.size(); ++index) {
        pairs[index] = atByte<std::uint16_t>(static_cast<std::uint16_t>(BASE64_ALPHABET[index >> 6]), 0) |
                       atByte<std::uint16_t>(static_cast<std::uint16_t>(BASE64_ALPHABET[index & 0x3F]), 1);
    }
    return pairs;
}();

// Eight bytes with the first in the most significant position.
inline std::uint64_t loadBigEndian64(const unsigned char* bytes) noexcept {
    auto word = TextWords::load<std::uint64_t>(bytes);
    if constexpr (std::endian::native == std::endian::little) {
        word = __builtin_bswap64(word);
    }
    return word;
}

// Places the character pair `pair` at characters 2 * slot and 2 * slot + 1 of an 8-character word.
inline std::uint64_t atPairSlot(std::uint16_t pair, unsigned slot) noexcept {
    return std::uint64_t{pair} << memoryShift<std::uint64_t>(2 * slot + (std::endian::native == std::endian::big));
}

void encodeInto(const unsigned char* bytes, std::size_t count, char* out) noexcept {
    std::size_t index = 0;
    // Six bytes per step, read as one 8-byte word (so the step needs eight readable bytes).
    for (; index + 8 <= count; index += 6, out += 8) {
        const std::uint64_t input = loadBigEndian64(bytes + index);
        const std::uint64_t characters =
            atPairSlot(BASE64_PAIRS[(input >> 52) & 0xFFF], 0) | atPairSlot(BASE64_PAIRS[(input >> 40) & 0xFFF], 1) |
            atPairSlot(BASE64_PAIRS[(input >> 28) & 0xFFF], 2) | atPairSlot(BASE64_PAIRS[(input >> 16) & 0xFFF], 3);
        std::memcpy(out, &characters, sizeof characters);
    }
    for (; index + 3 <= count; index += 3, out += 4) {
        const std::uint32_t group = (std::uint32_t{bytes[index]} << 16) | (std::uint32_t{bytes[index + 1]} << 8) |
                                    std::uint32_t{bytes[index + 2]};
        std::memcpy(out, &BASE64_PAIRS[group >> 12], 2);
        std::memcpy(out + 2, &BASE64_PAIRS[group & 0xFFF], 2);
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
// character outside the alphabet (padding included). A group is then four look-ups OR-ed
// together and one unaligned store, and the flags are OR-ed into one word checked once per
// block: no branch per character.
constexpr std::uint32_t FAULT_FLAG = atByte<std::uint32_t>(0xFF, 3);

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

// Decodes `groupCount` unpadded groups. Each group is stored as a 4-byte word whose fourth byte
// the next group overwrites, so REQUIRES: one writable byte after the 3 * groupCount output
// bytes. Answers true when every character was in the alphabet; stops early at a fault.
bool decodeFullGroups(const unsigned char* in, std::size_t groupCount, unsigned char* out) noexcept {
    constexpr std::size_t BLOCK_GROUPS = 1024;
    for (std::size_t blockStart = 0; blockStart < groupCount; blockStart += BLOCK_GROUPS) {
        const std::size_t blockEnd = std::min(groupCount, blockStart + BLOCK_GROUPS);
        std::uint32_t faults = 0;
        for (std::size_t group = blockStart; group < blockEnd; ++group) {
            const std::uint32_t word = decodeGroup(in + 4 * group);
            faults |= word;
            std::memcpy(out + 3 * group, &word, sizeof word);
        }
        if ((faults & FAULT_FLAG) != 0) {
            return false;
        }
    }
    return true;
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
        mustBeZero = atByte<std::uint32_t>(0xFF, 1);
    } else if (fourthIsPadding) {
        byteCount = 2;
        word |= DECODE_2[group[2]];
        mustBeZero = atByte<std::uint32_t>(0xFF, 2);
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

// Decodes `characterCount` characters (a positive multiple of 4) ending the text: full groups
// and a last group that may be padded. Answers the number of bytes written, or 0 for a fault.
std::size_t decodeFinalGroups(const unsigned char* in, std::size_t characterCount, unsigned char* out) noexcept {
    const std::size_t fullGroups = characterCount / 4 - 1;
    // The last group's bytes follow the full groups, which gives their 4-byte stores room.
    if (!decodeFullGroups(in, fullGroups, out)) {
        return 0;
    }
    const std::size_t lastCount = decodeLastGroup(in + 4 * fullGroups, out + 3 * fullGroups);
    return lastCount == 0 ? 0 : 3 * fullGroups + lastCount;
}

template <class Bytes>
unsigned char* bytesOf(Bytes& out) noexcept {
    return reinterpret_cast<unsigned char*>(out.data());
}

template <class Bytes>
bool fail(Bytes& out) {
    out.clear();
    return false;
}

// Decodes a text without line breaks. The output is sized from the text's length alone; an
// output that is already large enough is only shortened, not filled again.
template <class Bytes>
bool decodeUnbroken(std::string_view text, Bytes& out) {
    if (text.size() % 4 != 0) {
        return fail(out);
    }
    if (text.empty()) {
        out.clear();
        return true;
    }
    out.resize(text.size() / 4 * 3);
    const std::size_t written =
        decodeFinalGroups(reinterpret_cast<const unsigned char*>(text.data()), text.size(), bytesOf(out));
    if (written == 0) {
        return fail(out);
    }
    out.resize(written);
    return true;
}

// Decodes a text with line breaks: the characters are gathered, less the breaks, into a small
// block that is decoded as it fills. The incomplete group and the last full group of a block
// are held back for the next one, since the last full group may turn out to be the padded end.
// Copies characters from `cursor` on into the block at `target`, less line breaks, until the block
// is full or the text ends. Runs between breaks are found with a read-only scan and copied whole.
void gatherWithoutLineBreaks(const char*& cursor, const char* end, unsigned char*& target,
                             unsigned char* blockEnd) noexcept {
    while (target < blockEnd && cursor < end) {
        const auto limit = static_cast<std::size_t>(std::min<std::ptrdiff_t>(end - cursor, blockEnd - target));
        std::size_t run = 0;
        while (run < limit && cursor[run] != '\r' && cursor[run] != '\n') {
            ++run;
        }
        std::memcpy(target, cursor, run);
        target += run;
        cursor += run;
        if (run < limit) {
            ++cursor;  // the line break
        }
    }
}

// Decodes a text with line breaks: the characters are gathered, less the breaks, into a small
// block that is decoded as it fills. The incomplete group and the last full group of a block
// are held back for the next one, since the last full group may turn out to be the padded end.
template <class Bytes>
bool decodeBroken(std::string_view text, Bytes& out) {
    constexpr std::size_t BLOCK_SIZE = 16384;
    unsigned char block[BLOCK_SIZE];
    // The joined text is no longer than the text, so this bounds the output.
    out.resize(text.size() / 4 * 3);
    const char* cursor = text.data();
    const char* const end = text.data() + text.size();
    std::size_t filled = 0;
    std::size_t written = 0;
    while (true) {
        unsigned char* target = block + filled;
        gatherWithoutLineBreaks(cursor, end, target, block + BLOCK_SIZE);
        filled = static_cast<std::size_t>(target - block);
        if (cursor == end) {
            break;
        }
        const std::size_t kept = filled % 4 + 4;
        const std::size_t groupCount = (filled - kept) / 4;
        if (!decodeFullGroups(block, groupCount, bytesOf(out) + written)) {
            return fail(out);
        }
        written += 3 * groupCount;
        std::memmove(block, block + filled - kept, kept);
        filled = kept;
    }
    if (filled % 4 != 0) {
        return fail(out);
    }
    if (filled > 0) {
        const std::size_t lastWritten = decodeFinalGroups(block, filled, bytesOf(out) + written);
        if (lastWritten == 0) {
            return fail(out);
        }
        written += lastWritten;
    }
    out.resize(written);
    return true;
}

template <class Bytes>
bool decodeBase64Into(std::string_view text, Bytes& out) {
    // Clean texts, the common case, pay nothing for the tolerance of line breaks.
    if (decodeUnbroken(text, out)) {
        return true;
    }
    if (text.find_first_of("\r\n") == std::string_view::npos) {
        return false;
    }
    return decodeBroken(text, out);
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
