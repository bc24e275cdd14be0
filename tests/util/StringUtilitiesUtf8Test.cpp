#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <iconv.h>
#include <string>
#include <vector>

#include "pellium/util/StringUtilities.h"

namespace pellium {
namespace {

constexpr char32_t REPLACEMENT = StringUtilities::REPLACEMENT_CHARACTER;

bool isSurrogate(char32_t codePoint) {
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

// The C library's converter as an independent encoder: UTF-32 (native order) to UTF-8.
std::string encodeWithIconv(const std::u32string& codePoints) {
    iconv_t converter = iconv_open("UTF-8", "UTF-32LE");
    EXPECT_NE(converter, reinterpret_cast<iconv_t>(-1));
    std::string input;
    for (const char32_t codePoint : codePoints) {
        for (int shift = 0; shift < 32; shift += 8) {
            input.push_back(static_cast<char>((static_cast<std::uint32_t>(codePoint) >> shift) & 0xFF));
        }
    }
    std::string output(codePoints.size() * 4, '\0');
    char* in = input.data();
    char* out = output.data();
    std::size_t inLeft = input.size();
    std::size_t outLeft = output.size();
    EXPECT_NE(iconv(converter, &in, &inLeft, &out, &outLeft), static_cast<std::size_t>(-1));
    iconv_close(converter);
    output.resize(output.size() - outLeft);
    return output;
}

struct Decoded {
    bool ok;
    char32_t codePoint;
    std::size_t length;
    bool operator==(const Decoded&) const = default;
};

std::vector<Decoded> decodeAll(std::string_view text) {
    std::vector<Decoded> steps;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t before = position;
        char32_t codePoint = 0;
        const bool ok = StringUtilities::decodeUtf8(text, position, codePoint);
        steps.push_back({ok, codePoint, position - before});
        if (position == before) {
            ADD_FAILURE() << "decodeUtf8 did not advance";
            break;
        }
    }
    return steps;
}

}  // namespace

TEST(StringUtilitiesUtf8, EveryScalarValueEncodesAsTheCLibraryDoesAndDecodesBack) {
    std::u32string scalars;
    std::string encoded;
    for (char32_t codePoint = 0; codePoint <= StringUtilities::MAXIMUM_CODE_POINT; ++codePoint) {
        if (!isSurrogate(codePoint)) {
            scalars.push_back(codePoint);
            StringUtilities::appendUtf8(encoded, codePoint);
        }
    }
    ASSERT_EQ(encoded, encodeWithIconv(scalars));
    EXPECT_TRUE(StringUtilities::isValidUtf8(encoded));
    EXPECT_EQ(StringUtilities::countUtf8CodePoints(encoded), scalars.size());

    std::size_t position = 0;
    for (const char32_t expected : scalars) {
        char32_t codePoint = 0;
        ASSERT_TRUE(StringUtilities::decodeUtf8(encoded, position, codePoint))
            << std::hex << static_cast<std::uint32_t>(expected);
        ASSERT_EQ(codePoint, expected);
    }
    EXPECT_EQ(position, encoded.size());
    char32_t unused = 0;
    EXPECT_FALSE(StringUtilities::decodeUtf8(encoded, position, unused)) << "nothing is decoded past the end";
    EXPECT_EQ(position, encoded.size());
}

TEST(StringUtilitiesUtf8, SurrogatesAndValuesBeyondTheRangeEncodeAsReplacement) {
    for (const char32_t codePoint : {char32_t{0xD800}, char32_t{0xDBFF}, char32_t{0xDC00}, char32_t{0xDFFF},
                                     char32_t{0x110000}, char32_t{0x7FFFFFFF}, char32_t{0xFFFFFFFF}}) {
        std::string out = "x";
        StringUtilities::appendUtf8(out, codePoint);
        EXPECT_EQ(out, "x\xEF\xBF\xBD") << std::hex << static_cast<std::uint32_t>(codePoint);
    }
}

// Every sequence of up to three bytes, and four-byte sequences over the boundary values of each
// byte, is accepted exactly when it is the unique encoding of a scalar value: decoding it and
// encoding the result gives the same bytes back.
TEST(StringUtilitiesUtf8, DecoderAcceptsExactlyTheShortestEncodingsOfScalarValues) {
    const auto check = [](const std::string& bytes) {
        std::size_t position = 0;
        char32_t codePoint = 0;
        const bool ok = StringUtilities::decodeUtf8(bytes, position, codePoint);
        std::string reencoded;
        bool isCanonical = false;
        // A candidate is canonical when some scalar's encoding equals the bytes; find it by
        // decoding with the known bit layout and re-encoding with the encoder tested above.
        const auto lead = static_cast<unsigned char>(bytes[0]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        if (length == bytes.size()) {
            std::uint32_t value = length == 1 ? lead : lead & (0x7Fu >> length);
            bool continuationsOk = true;
            for (std::size_t index = 1; index < length; ++index) {
                const auto byte = static_cast<unsigned char>(bytes[index]);
                continuationsOk = continuationsOk && (byte & 0xC0) == 0x80;
                value = (value << 6) | (byte & 0x3Fu);
            }
            if (continuationsOk && value <= 0x10FFFF && !isSurrogate(value)) {
                StringUtilities::appendUtf8(reencoded, value);
                isCanonical = reencoded == bytes;
            }
        }
        ASSERT_EQ(ok && position == bytes.size(), isCanonical)
            << std::hex << static_cast<std::uint32_t>(lead) << " length " << bytes.size();
        if (isCanonical) {
            ASSERT_TRUE(StringUtilities::isValidUtf8(bytes));
        }
        if (!ok) {
            ASSERT_FALSE(StringUtilities::isValidUtf8(bytes));
            ASSERT_EQ(codePoint, REPLACEMENT);
            ASSERT_GE(position, 1U);
        }
    };
    for (unsigned first = 0; first < 256; ++first) {
        check(std::string(1, static_cast<char>(first)));
        for (unsigned second = 0; second < 256; ++second) {
            check({static_cast<char>(first), static_cast<char>(second)});
            if (first >= 0xE0 && first <= 0xEF) {
                for (unsigned third = 0; third < 256; ++third) {
                    check({static_cast<char>(first), static_cast<char>(second), static_cast<char>(third)});
                }
            }
            if (first >= 0xF0) {
                for (const unsigned third : {0x7Fu, 0x80u, 0xBFu, 0xC0u}) {
                    for (const unsigned fourth : {0x7Fu, 0x80u, 0xA5u, 0xBFu, 0xC0u}) {
                        check({static_cast<char>(first), static_cast<char>(second), static_cast<char>(third),
                               static_cast<char>(fourth)});
                    }
                }
            }
        }
    }
}

TEST(StringUtilitiesUtf8, MalformedSequencesBecomeOneReplacementPerMaximalSubpart) {
    const auto ok = [](char32_t codePoint, std::size_t length) { return Decoded{true, codePoint, length}; };
    const auto bad = [](std::size_t length) { return Decoded{false, REPLACEMENT, length}; };
    struct Case {
        std::string name;
        std::string bytes;
        std::vector<Decoded> expected;
    };
    const std::vector<Case> cases = {
        // The example of the Unicode Standard, section 3.9 (U+FFFD substitution of maximal subparts).
        {"unicode example",
         "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64",
         {ok('a', 1), bad(3), bad(2), bad(1), ok('b', 1), bad(1), ok('c', 1), bad(1), bad(1), ok('d', 1)}},
        {"overlong slash", "\xC0\xAF", {bad(1), bad(1)}},
        {"overlong three-byte", "\xE0\x80\xAF", {bad(1), bad(1), bad(1)}},
        {"overlong four-byte", "\xF0\x80\x80\xAF", {bad(1), bad(1), bad(1), bad(1)}},
        {"surrogate", "\xED\xA0\x80", {bad(1), bad(1), bad(1)}},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80", {bad(1), bad(1), bad(1), bad(1)}},
        {"lead F5", "\xF5\x80", {bad(1), bad(1)}},
        {"stray continuation", "\x80", {bad(1)}},
        {"FE and FF", "\xFE\xFF", {bad(1), bad(1)}},
        {"truncated at the end", "\xE2\x82", {bad(2)}},
        {"truncated before ASCII", "\xE2\x82" + std::string("A"), {bad(2), ok('A', 1)}},
        {"truncated four-byte", "\xF0\x9F\x98", {bad(3)}},
        {"lone lead at the end", "\xC2", {bad(1)}},
        {"largest scalars", "\xF4\x8F\xBF\xBF\xEF\xBF\xBF", {ok(0x10FFFF, 4), ok(0xFFFF, 3)}},
    };
    for (const auto& testCase : cases) {
        EXPECT_EQ(decodeAll(testCase.bytes), testCase.expected) << testCase.name;
        EXPECT_EQ(StringUtilities::countUtf8CodePoints(testCase.bytes), testCase.expected.size()) << testCase.name;
        const bool allOk = std::all_of(testCase.expected.begin(), testCase.expected.end(),
                                       [](const Decoded& step) { return step.ok; });
        EXPECT_EQ(StringUtilities::isValidUtf8(testCase.bytes), allOk) << testCase.name;
    }
}

TEST(StringUtilitiesUtf8, LongTextsAreCheckedBeyondTheirAsciiRuns) {
    const std::string ascii(37, 'a');
    EXPECT_TRUE(StringUtilities::isValidUtf8(ascii));
    EXPECT_EQ(StringUtilities::countUtf8CodePoints(ascii), 37U);
    for (std::size_t position = 0; position <= ascii.size(); ++position) {
        const std::string before = ascii.substr(0, position);
        const std::string after = ascii.substr(position);
        std::string text = before + "\xC3\xA9" + after;
        EXPECT_TRUE(StringUtilities::isValidUtf8(text));
        EXPECT_EQ(StringUtilities::countUtf8CodePoints(text), 38U);
        text = before + "\x80\xC3\xA9" + after;
        EXPECT_FALSE(StringUtilities::isValidUtf8(text)) << position;
        EXPECT_EQ(StringUtilities::countUtf8CodePoints(text), 39U);
    }
    EXPECT_TRUE(StringUtilities::isValidUtf8(""));
    EXPECT_EQ(StringUtilities::countUtf8CodePoints(""), 0U);
}

}  // namespace pellium
