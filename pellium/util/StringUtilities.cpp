#include "pellium/util/StringUtilities.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace pellium {

namespace {

// --- Interning -----------------------------------------------------------------------------------

// The key views the bytes of the interned string it maps to, so a look-up by string_view needs no
// allocation; the hash is computed once per call and reused for the shard and the bucket.
struct InternKey {
    std::string_view text;
    std::size_t hash;
};

struct InternKeyHash {
    std::size_t operator()(const InternKey& key) const noexcept { return key.hash; }
};

struct InternKeyEqual {
    bool operator()(const InternKey& left, const InternKey& right) const noexcept { return left.text == right.text; }
};

// Sharded so that threads interning different texts rarely meet on one mutex, and read-mostly:
// a hit takes only a shared lock. Entries are never removed, so a found pointer stays valid.
class InternPool {
public:
    SharedString intern(std::string_view text, const SharedString* existing) {
        const InternKey key{text, std::hash<std::string_view>{}(text)};
        Shard& shard = shardFor(key.hash);
        {
            std::shared_lock lock(shard.mutex);
            if (const auto found = shard.texts.find(key); found != shard.texts.end()) {
                return found->second;
            }
        }
        // Allocate outside the lock; if another thread inserted the text meanwhile, its instance wins.
        SharedString candidate = existing != nullptr ? *existing : std::make_shared<const std::string>(text);
        std::unique_lock lock(shard.mutex);
        return shard.texts.try_emplace(InternKey{*candidate, key.hash}, candidate).first->second;
    }

private:
    static constexpr std::size_t SHARD_BITS = 5;

    struct alignas(64) Shard {
        std::shared_mutex mutex;
        std::unordered_map<InternKey, SharedString, InternKeyHash, InternKeyEqual> texts;
    };

    Shard& shardFor(std::size_t hash) noexcept {
        // The top bits of a multiplicative mix, so the shard does not repeat the bucket's low bits.
        const std::uint64_t mixed = static_cast<std::uint64_t>(hash) * 0x9E3779B97F4A7C15ULL;
        return shards_[static_cast<std::size_t>(mixed >> (64 - SHARD_BITS))];
    }

    std::array<Shard, std::size_t{1} << SHARD_BITS> shards_;
};

// Built on first use and destroyed when the library unloads; an object that interns while it is
// constructed is therefore destroyed before the pool.
InternPool& internPool() {
    static InternPool pool;
    return pool;
}

// --- Numbers -------------------------------------------------------------------------------------

constexpr bool isDigit(char character) noexcept {
    return character >= '0' && character <= '9';
}

// Reads an optional sign and the decimal digits that follow from `position` on; `value` saturates
// at the int range.
struct IntReading {
    std::size_t digitCount = 0;
    bool outOfRange = false;
};

IntReading readSaturatingInt(std::string_view text, std::size_t& position, int& value) noexcept {
    bool negative = false;
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
        negative = text[position] == '-';
        ++position;
    }
    // The magnitude is capped just past -INT_MIN, which is enough to tell every overflow.
    constexpr std::int64_t CAP = -std::int64_t{INT_MIN} + 1;
    std::int64_t magnitude = 0;
    IntReading reading;
    for (; position < text.size() && isDigit(text[position]); ++position, ++reading.digitCount) {
        magnitude = std::min(CAP, magnitude * 10 + (text[position] - '0'));
    }
    const std::int64_t limit = negative ? -std::int64_t{INT_MIN} : std::int64_t{INT_MAX};
    reading.outOfRange = magnitude > limit;
    magnitude = std::min(magnitude, limit);
    value = static_cast<int>(negative ? -magnitude : magnitude);
    return reading;
}

// Whether a decimal number that a double cannot hold is too large (rather than too small): the
// sign of the decimal exponent of its first significant digit decides. `text` is unsigned and
// already known to be a well-formed decimal number.
bool isDecimalBeyondOne(std::string_view text) noexcept {
    std::size_t position = 0;
    while (position < text.size() && text[position] == '0') {
        ++position;
    }
    std::int64_t integerDigits = 0;
    for (; position < text.size() && isDigit(text[position]); ++position) {
        ++integerDigits;
    }
    std::int64_t leadingExponent = integerDigits - 1;
    if (position < text.size() && text[position] == '.') {
        ++position;
        if (integerDigits == 0) {
            std::int64_t fractionZeros = 0;
            for (; position < text.size() && text[position] == '0'; ++position) {
                ++fractionZeros;
            }
            leadingExponent = -(fractionZeros + 1);
        }
    }
    const auto exponentMark = text.find_first_of("eE");
    if (exponentMark != std::string_view::npos) {
        leadingExponent += StringUtilities::createIntFromString(text.substr(exponentMark + 1));
    }
    return leadingExponent > 0;
}

// --- Bidirectional controls ----------------------------------------------------------------------

// Advances `position` over a run of ASCII bytes, eight at a time where possible.
void skipAscii(std::string_view text, std::size_t& position) noexcept {
    constexpr std::uint64_t HIGH_BITS = 0x8080808080808080ULL;
    while (position + 8 <= text.size()) {
        std::uint64_t block;
        std::memcpy(&block, text.data() + position, sizeof block);
        if ((block & HIGH_BITS) != 0) {
            break;
        }
        position += 8;
    }
    while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80) {
        ++position;
    }
}

// The encoded length of the bidirectional control at `position`, or 0. Lead bytes E2 and D8 never
// occur inside another sequence, so matching exact bytes is safe even on malformed text.
std::size_t bidiControlLengthAt(std::string_view text, std::size_t position, bool includeMarks) noexcept {
    const auto byteAt = [&](std::size_t offset) { return static_cast<unsigned char>(text[position + offset]); };
    const std::size_t remaining = text.size() - position;
    if (remaining >= 3 && byteAt(0) == 0xE2) {
        const unsigned char second = byteAt(1);
        const unsigned char third = byteAt(2);
        if (second == 0x80 && third >= 0xAA && third <= 0xAE) {
            return 3;  // U+202A-U+202E embeddings, overrides and their terminator
        }
        if (second == 0x81 && third >= 0xA6 && third <= 0xA9) {
            return 3;  // U+2066-U+2069 isolates and their terminator
        }
        if (includeMarks && second == 0x80 && (third == 0x8E || third == 0x8F)) {
            return 3;  // U+200E LRM, U+200F RLM
        }
    }
    if (includeMarks && remaining >= 2 && byteAt(0) == 0xD8 && byteAt(1) == 0x9C) {
        return 2;  // U+061C ALM
    }
    return 0;
}

std::string removeBidiControlCharacters(std::string_view text, bool includeMarks) {
    std::string result;
    result.reserve(text.size());
    std::size_t runStart = 0;
    for (std::size_t position = 0;;) {
        skipAscii(text, position);  // every control starts with a byte above 0x7F
        if (position >= text.size()) {
            break;
        }
        const std::size_t length = bidiControlLengthAt(text, position, includeMarks);
        if (length == 0) {
            ++position;
            continue;
        }
        result.append(text.substr(runStart, position - runStart));
        position += length;
        runStart = position;
    }
    result.append(text.substr(runStart));
    return result;
}

}  // namespace

// --- Interning -----------------------------------------------------------------------------------

SharedString StringUtilities::internString(std::string_view text) {
    return internPool().intern(text, nullptr);
}

SharedString StringUtilities::internString(const SharedString& text) {
    if (!text) {
        return nullptr;
    }
    return internPool().intern(*text, &text);
}

const SharedString& StringUtilities::getNullString() {
    static const SharedString nullString;
    return nullString;
}

// --- Numbers -------------------------------------------------------------------------------------

std::string StringUtilities::createStringFromDouble(double value) {
    if (std::isnan(value)) {
        return "NaN";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-Infinity" : "Infinity";
    }
    if (value == 0) {
        return std::signbit(value) ? "-0" : "0";
    }
    // The shortest round-trip digits come from to_chars in scientific form ("-d.ddde+XX"); they are
    // then laid out in plain or exponent form by the decimal point's position.
    char scientific[32];
    const auto written =
        std::to_chars(scientific, scientific + sizeof scientific, std::fabs(value), std::chars_format::scientific);
    const std::string_view form(scientific, static_cast<std::size_t>(written.ptr - scientific));
    const std::size_t exponentMark = form.find('e');
    char digitBuffer[24];
    std::size_t digitCount = 0;
    for (const char character : form.substr(0, exponentMark)) {
        if (character != '.') {
            digitBuffer[digitCount++] = character;
        }
    }
    const std::string_view digits(digitBuffer, digitCount);
    // `pointPosition` counts the digits before the decimal point (negative: zeros after it).
    const int pointPosition = createIntFromString(form.substr(exponentMark + 1)) + 1;
    const auto pointIndex = static_cast<std::size_t>(std::max(pointPosition, 0));

    std::string text;
    text.reserve(32);
    if (std::signbit(value)) {
        text.push_back('-');
    }
    if (static_cast<int>(digitCount) <= pointPosition && pointPosition <= 21) {
        text.append(digits).append(pointIndex - digitCount, '0');
    } else if (0 < pointPosition && pointPosition <= 21) {
        text.append(digits.substr(0, pointIndex)).append(1, '.').append(digits.substr(pointIndex));
    } else if (-6 < pointPosition && pointPosition <= 0) {
        text.append("0.").append(static_cast<std::size_t>(-pointPosition), '0').append(digits);
    } else {
        text.push_back(digits.front());
        if (digitCount > 1) {
            text.append(1, '.').append(digits.substr(1));
        }
        const int exponent = pointPosition - 1;
        text.append(exponent < 0 ? "e-" : "e+").append(std::to_string(std::abs(exponent)));
    }
    return text;
}

int StringUtilities::createIntFromString(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size() && isWhiteSpace(text[position])) {
        ++position;
    }
    int value = 0;
    readSaturatingInt(text, position, value);
    return value;
}

bool StringUtilities::tryParseInt(std::string_view text, int& value) {
    const std::string_view number = trim(text);
    std::size_t position = 0;
    int parsed = 0;
    const IntReading reading = readSaturatingInt(number, position, parsed);
    if (reading.digitCount == 0 || reading.outOfRange || position != number.size()) {
        return false;
    }
    value = parsed;
    return true;
}

double StringUtilities::createDoubleFromString(std::string_view text) {
    constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
    std::string_view body = trim(text);
    bool negative = false;
    if (!body.empty() && (body.front() == '+' || body.front() == '-')) {
        negative = body.front() == '-';
        body.remove_prefix(1);
    }
    if (body == "Infinity") {
        return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
    }
    // from_chars would also take "inf", "nan(...)" and their case variants; only digits or a
    // point may start a number here (a leading "NaN" is not-a-number either way).
    if (body.empty() || !(isDigit(body.front()) || body.front() == '.')) {
        return NOT_A_NUMBER;
    }
    double value = 0;
    const auto [end, error] = std::from_chars(body.data(), body.data() + body.size(), value);
    if (end != body.data() + body.size() || error == std::errc::invalid_argument) {
        return NOT_A_NUMBER;
    }
    if (error == std::errc::result_out_of_range) {
        value = isDecimalBeyondOne(body) ? std::numeric_limits<double>::infinity() : 0.0;
    }
    return negative ? -value : value;
}

// --- Splitting and trimming ----------------------------------------------------------------------

std::vector<std::string_view> StringUtilities::tokenizeViews(std::string_view text, std::string_view delimiters,
                                                             bool keepEmpty) {
    std::vector<std::string_view> fields;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find_first_of(delimiters, start);
        const std::string_view field = text.substr(start, end == std::string_view::npos ? end : end - start);
        if (keepEmpty || !field.empty()) {
            fields.push_back(field);
        }
        if (end == std::string_view::npos) {
            return fields;
        }
        start = end + 1;
    }
}

std::vector<std::string> StringUtilities::tokenize(std::string_view text, std::string_view delimiters, bool keepEmpty) {
    const auto views = tokenizeViews(text, delimiters, keepEmpty);
    return std::vector<std::string>(views.begin(), views.end());
}

std::string_view StringUtilities::trimLeft(std::string_view text) noexcept {
    std::size_t start = 0;
    while (start < text.size() && isWhiteSpace(text[start])) {
        ++start;
    }
    return text.substr(start);
}

std::string_view StringUtilities::trimRight(std::string_view text) noexcept {
    std::size_t end = text.size();
    while (end > 0 && isWhiteSpace(text[end - 1])) {
        --end;
    }
    return text.substr(0, end);
}

std::string_view StringUtilities::trim(std::string_view text) noexcept {
    return trimRight(trimLeft(text));
}

bool StringUtilities::isStringMissing(const SharedString& text) noexcept {
    return !text || isStringMissing(std::string_view(*text));
}

bool StringUtilities::isStringMissing(std::string_view text) noexcept {
    return trimLeft(text).empty();
}

// --- ASCII case folding --------------------------------------------------------------------------

void StringUtilities::appendQuotedField(std::string& out, std::string_view text) {
    out.push_back('"');
    for (const char character : text) {
        if (character == '"') {
            out.push_back('"');
        }
        out.push_back(character);
    }
    out.push_back('"');
}

std::string StringUtilities::toLowerAscii(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        character = toLowerAscii(character);
    }
    return result;
}

std::string StringUtilities::toUpperAscii(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        character = toUpperAscii(character);
    }
    return result;
}

bool StringUtilities::equalsIgnoreCase(std::string_view left, std::string_view right) noexcept {
    return left.size() == right.size() && compareIgnoreCase(left, right) == 0;
}

int StringUtilities::compareIgnoreCase(std::string_view left, std::string_view right) noexcept {
    const std::size_t common = std::min(left.size(), right.size());
    for (std::size_t index = 0; index < common; ++index) {
        const auto leftByte = static_cast<unsigned char>(toLowerAscii(left[index]));
        const auto rightByte = static_cast<unsigned char>(toLowerAscii(right[index]));
        if (leftByte != rightByte) {
            return leftByte < rightByte ? -1 : 1;
        }
    }
    if (left.size() == right.size()) {
        return 0;
    }
    return left.size() < right.size() ? -1 : 1;
}

// --- Bidirectional controls ----------------------------------------------------------------------

std::string StringUtilities::removeBidiControls(std::string_view text) {
    return removeBidiControlCharacters(text, true);
}

std::string StringUtilities::removeBidiControlEmbedded(std::string_view text) {
    return removeBidiControlCharacters(text, false);
}

// --- UTF-8 ---------------------------------------------------------------------------------------

void StringUtilities::appendUtf8(std::string& out, char32_t codePoint) {
    const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    const auto value = static_cast<std::uint32_t>(codePoint);
    if (value < 0x80) {
        put(value);
    } else if (value < 0x800) {
        put(0xC0 | (value >> 6));
        put(0x80 | (value & 0x3F));
    } else if (value < 0x10000) {
        if (value >= 0xD800 && value <= 0xDFFF) {
            appendUtf8(out, REPLACEMENT_CHARACTER);
            return;
        }
        put(0xE0 | (value >> 12));
        put(0x80 | ((value >> 6) & 0x3F));
        put(0x80 | (value & 0x3F));
    } else if (value <= MAXIMUM_CODE_POINT) {
        put(0xF0 | (value >> 18));
        put(0x80 | ((value >> 12) & 0x3F));
        put(0x80 | ((value >> 6) & 0x3F));
        put(0x80 | (value & 0x3F));
    } else {
        appendUtf8(out, REPLACEMENT_CHARACTER);
    }
}

bool StringUtilities::decodeUtf8(std::string_view text, std::size_t& position, char32_t& codePoint) noexcept {
    if (position >= text.size()) {
        return false;
    }
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byteAt(position);
    if (lead < 0x80) {
        codePoint = lead;
        ++position;
        return true;
    }
    // The well-formed ranges of Unicode's table 3-7: the lead byte fixes the length and the
    // allowed range of the first continuation byte, which excludes overlong forms, surrogates
    // and values above U+10FFFF; later continuation bytes are always 80-BF.
    std::size_t length = 0;
    char32_t value = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        value = lead & 0x1Fu;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        value = lead & 0x0Fu;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        value = lead & 0x07u;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        codePoint = REPLACEMENT_CHARACTER;
        ++position;
        return false;
    }
    std::size_t accepted = 1;
    for (; accepted < length && position + accepted < text.size(); ++accepted) {
        const unsigned char continuation = byteAt(position + accepted);
        if (continuation < low || continuation > high) {
            break;
        }
        value = (value << 6) | (continuation & 0x3Fu);
        low = 0x80;
        high = 0xBF;
    }
    position += accepted;
    if (accepted < length) {
        codePoint = REPLACEMENT_CHARACTER;
        return false;
    }
    codePoint = value;
    return true;
}

bool StringUtilities::isValidUtf8(std::string_view text) noexcept {
    std::size_t position = 0;
    char32_t codePoint = 0;
    while (true) {
        skipAscii(text, position);
        if (position == text.size()) {
            return true;
        }
        if (!decodeUtf8(text, position, codePoint)) {
            return false;
        }
    }
}

std::size_t StringUtilities::countUtf8CodePoints(std::string_view text) noexcept {
    std::size_t position = 0;
    std::size_t count = 0;
    char32_t codePoint = 0;
    while (true) {
        const std::size_t runStart = position;
        skipAscii(text, position);
        count += position - runStart;
        if (position == text.size()) {
            return count;
        }
        decodeUtf8(text, position, codePoint);
        ++count;
    }
}

}  // namespace pellium
