#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "pellium/util/TranscodingUtilities.h"

namespace pellium {

using namespace std::string_literals;

namespace {

constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string randomBytes(std::mt19937& random, std::size_t count) {
    std::uniform_int_distribution<int> byte(0, 255);
    std::string bytes(count, '\0');
    for (char& value : bytes) {
        value = static_cast<char>(byte(random));
    }
    return bytes;
}

std::string withoutLineBreaks(std::string_view text) {
    std::string joined;
    for (const char character : text) {
        if (character != '\r' && character != '\n') {
            joined.push_back(character);
        }
    }
    return joined;
}

// A decoded text must be the one canonical encoding of its bytes, line breaks aside.
void expectCanonicalWhenAccepted(std::string_view text) {
    std::string decoded = "previous content";
    if (TranscodingUtilities::decodeBase64(text, decoded)) {
        EXPECT_EQ(TranscodingUtilities::encodeBase64(decoded), withoutLineBreaks(text)) << text;
    } else {
        EXPECT_TRUE(decoded.empty()) << "a refused text leaves no bytes behind: " << text;
    }
}

}  // namespace

TEST(TranscodingUtilities, Base64MatchesTheRfc4648TestVectors) {
    const std::vector<std::pair<std::string, std::string>> vectors = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(TranscodingUtilities::encodeBase64(bytes), text);
        std::string decoded;
        EXPECT_TRUE(TranscodingUtilities::decodeBase64(text, decoded)) << text;
        EXPECT_EQ(decoded, bytes);
    }
    EXPECT_EQ(TranscodingUtilities::encodeBase64(std::string("\xFB\xEF\xFF\x00", 4)), "++//AA==");
}

TEST(TranscodingUtilities, RandomBytesRoundTripThroughBothOutputTypes) {
    std::mt19937 random(4648);
    for (std::size_t length = 0; length < 300; ++length) {
        const std::string bytes = randomBytes(random, length);
        const std::string text = TranscodingUtilities::encodeBase64(bytes);
        ASSERT_EQ(text.size(), TranscodingUtilities::getBase64EncodedLength(length));
        std::string asText;
        ASSERT_TRUE(TranscodingUtilities::decodeBase64(text, asText));
        EXPECT_EQ(asText, bytes);
        std::vector<std::byte> asBytes;
        ASSERT_TRUE(TranscodingUtilities::decodeBase64(text, asBytes));
        ASSERT_EQ(asBytes.size(), bytes.size());
        EXPECT_EQ(TranscodingUtilities::encodeBase64(std::span<const std::byte>(asBytes)), text);
    }
}

TEST(TranscodingUtilities, LineBreaksAreIgnoredWhereverTheyStand) {
    std::mt19937 random(76);
    const std::string bytes = randomBytes(random, 1 << 20);
    const std::string text = TranscodingUtilities::encodeBase64(bytes);
    for (const std::size_t lineLength : {std::size_t{76}, std::size_t{64}, std::size_t{7}}) {
        std::string broken;
        for (std::size_t start = 0; start < text.size(); start += lineLength) {
            broken.append(text, start, lineLength).append(lineLength == 7 ? "\n" : "\r\n");
        }
        std::string decoded;
        ASSERT_TRUE(TranscodingUtilities::decodeBase64(broken, decoded)) << lineLength;
        EXPECT_EQ(decoded, bytes);
    }
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"Zm9v\r\nYmFy", "foobar"}, {"\r\nZm9vYmFy\r\n", "foobar"}, {"Zm\n9v", "foo"}, {"Zg=\r\n=", "f"}, {"\r\n", ""},
        {"Z\rm\r8\r=", "fo"},
    };
    for (const auto& [broken, expected] : cases) {
        std::string decoded;
        EXPECT_TRUE(TranscodingUtilities::decodeBase64(broken, decoded)) << broken;
        EXPECT_EQ(decoded, expected);
    }
}

// Line-broken texts are decoded in pieces; the padded end, trailing breaks and faults must be
// handled wherever a piece ends, so texts of sizes around powers of two are tried.
TEST(TranscodingUtilities, LineBrokenTextsDecodeAlikeWhereverTheirPiecesEnd) {
    std::mt19937 random(2);
    for (const std::size_t power : {std::size_t{4096}, std::size_t{16384}, std::size_t{65536}}) {
        for (std::size_t byteCount = power * 3 / 4 - 9; byteCount <= power * 3 / 4 + 9; ++byteCount) {
            const std::string bytes = randomBytes(random, byteCount);
            const std::string text = TranscodingUtilities::encodeBase64(bytes);
            std::string broken = text.substr(0, 10) + "\r\n" + text.substr(10) + std::string(byteCount % 7, '\n');
            std::string decoded;
            ASSERT_TRUE(TranscodingUtilities::decodeBase64(broken, decoded)) << byteCount;
            ASSERT_EQ(decoded, bytes) << byteCount;
            // A fault near the end, or padding inside the text, is found in a later piece too.
            std::string faulty = broken;
            faulty[faulty.size() - byteCount % 7 - 5] = '*';
            EXPECT_FALSE(TranscodingUtilities::decodeBase64(faulty, decoded)) << byteCount;
            if (text.back() == '=') {
                EXPECT_FALSE(TranscodingUtilities::decodeBase64(broken + "\r\nAAAA", decoded)) << byteCount;
            }
        }
    }
}

TEST(TranscodingUtilities, MalformedBase64IsRefusedWithoutOutput) {
    const std::vector<std::pair<const char*, std::vector<std::string>>> groups = {
        {"truncated group", {"Z", "Zg", "Zg=", "Zm9", "Zm9vY"}},
        {"too much padding", {"====", "Z===", "Zg===", "===", "=", "Zm9vYmFy\r\n="}},
        {"padding before the end", {"Zg==Zg==", "Zm9v=g==", "=Zm9", "Zg=a", "Zm=v"}},
        {"pad bits not zero", {"Zh==", "Zm9=", "AB==", "AAB="}},
        {"character outside the alphabet",
         {"Zm9v Zm9v", "Zm9v\tZm9v", "Zm9v\x0B", "Zm-_", "Zm9v\xC3\xA9Zm", "Zm9v\0\0\0\0"s, "Zm9v.AAA"}},
    };
    for (const auto& [reason, refused] : groups) {
        for (const auto& text : refused) {
            std::vector<std::byte> bytes(5, std::byte{1});
            EXPECT_FALSE(TranscodingUtilities::decodeBase64(text, bytes)) << reason << ": \"" << text << '"';
            EXPECT_TRUE(bytes.empty()) << text;
            std::string asText = "previous";
            EXPECT_FALSE(TranscodingUtilities::decodeBase64(text, asText)) << text;
            EXPECT_TRUE(asText.empty()) << text;
        }
    }
}

// Replacing any one character of a valid text by any byte either gives another canonical text or
// is refused; a byte outside the alphabet (other than a line break) is always refused.
TEST(TranscodingUtilities, EverySingleCharacterCorruptionIsRefusedOrCanonical) {
    std::mt19937 random(1);
    for (const std::size_t length : {std::size_t{28}, std::size_t{29}, std::size_t{30}}) {
        const std::string text = TranscodingUtilities::encodeBase64(randomBytes(random, length));
        for (std::size_t position = 0; position < text.size(); ++position) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string corrupted = text;
                corrupted[position] = static_cast<char>(byte);
                expectCanonicalWhenAccepted(corrupted);
                const bool isOutside = ALPHABET.find(static_cast<char>(byte)) == std::string_view::npos &&
                                       byte != '=' && byte != '\r' && byte != '\n';
                if (isOutside) {
                    std::string decoded;
                    EXPECT_FALSE(TranscodingUtilities::decodeBase64(corrupted, decoded)) << position << ' ' << byte;
                }
            }
        }
    }
}

TEST(TranscodingUtilities, RandomTextsOfEdgeCharactersAreRefusedOrCanonical) {
    // Random texts over the alphabet's edge characters, padding and line breaks.
    const std::string characters = "AZaz09+/=\r\nQgh";
    std::mt19937 random(8);
    std::uniform_int_distribution<std::size_t> pick(0, characters.size() - 1);
    std::uniform_int_distribution<std::size_t> length(0, 12);
    for (int iteration = 0; iteration < 200'000; ++iteration) {
        std::string text(length(random), ' ');
        for (char& character : text) {
            character = characters[pick(random)];
        }
        expectCanonicalWhenAccepted(text);
    }
}

}  // namespace pellium
