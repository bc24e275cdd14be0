#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "pellium/resources/localization/PropertiesReader.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {
namespace {

using Entries = std::vector<PropertiesReader::Entry>;

struct SyntaxCase {
    const char* name;
    std::string text;
    Entries expected;
};

std::string bytes(const char* text, std::size_t size) {
    return std::string(text, size);
}

const std::vector<SyntaxCase>& syntaxCases() {
    static const std::vector<SyntaxCase> cases = {
        // Separators and the white space around them.
        {"equals separates", "a=b", {{"a", "b"}}},
        {"colon separates", "a:b", {{"a", "b"}}},
        {"blank separates", "a b", {{"a", "b"}}},
        {"blanks around equals are dropped", "a \t=\f b", {{"a", "b"}}},
        {"only the first separator counts", "a  =  = b", {{"a", "= b"}}},
        {"blank then text keeps later equals in value", "a b = c", {{"a", "b = c"}}},
        {"trailing blanks belong to the value", "  a=b  ", {{"a", "b  "}}},
        {"key alone has an empty value", "a", {{"a", ""}}},
        {"empty value after separator", "a=", {{"a", ""}}},
        {"empty key", "=b", {{"", "b"}}},
        // Comments and blank lines.
        {"hash and bang lines are comments", "# c\n! c\nx=1", {{"x", "1"}}},
        {"indented comment", "   # c\n\t! c\nx=1", {{"x", "1"}}},
        {"hash inside a value is text", "x=1 # not a comment", {{"x", "1 # not a comment"}}},
        {"blank lines only", "\n\n  \n\t\n\f\r\n", {}},
        {"empty text", "", {}},
        {"comment never continues", "# comment \\\nx=1", {{"x", "1"}}},
        // Escapes in keys and values.
        {"escaped equals in key", "a\\=b=c", {{"a=b", "c"}}},
        {"escaped colon in key", "a\\:b:c", {{"a:b", "c"}}},
        {"escaped blank in key", "a\\ b c", {{"a b", "c"}}},
        {"escaped leading blank keeps it", "\\ key=v", {{" key", "v"}}},
        {"escaped leading blank in value", "k=\\  v", {{"k", "  v"}}},
        {"control escapes", "k=\\t\\n\\r\\f", {{"k", "\t\n\r\f"}}},
        {"escaped backslash", "k=\\\\", {{"k", "\\"}}},
        {"escaped specials", "k=\\#\\!\\=\\:", {{"k", "#!=:"}}},
        {"backslash before another letter gives the letter", "k=\\q\\z\\b", {{"k", "qzb"}}},
        {"backslash before UTF-8 keeps the character", "k=\\\xC3\xA9", {{"k", "\xC3\xA9"}}},
        // \u escapes.
        {"ascii escape", "k=\\u0041", {{"k", "A"}}},
        {"lower case hex", "k=\\u00e9", {{"k", "\xC3\xA9"}}},
        {"three byte character", "k=\\u20AC", {{"k", "\xE2\x82\xAC"}}},
        {"escape in key", "\\u0041b=c", {{"Ab", "c"}}},
        {"surrogate pair gives one code point", "k=\\uD83D\\uDE00", {{"k", "\xF0\x9F\x98\x80"}}},
        {"lone high surrogate then text", "k=\\uD83Dx", {{"k", "\uFFFDx"}}},
        {"lone low surrogate", "k=\\uDE00", {{"k", "\uFFFD"}}},
        {"high surrogate then non-surrogate escape", "k=\\uD83D\\u0041", {{"k", "\uFFFDA"}}},
        {"two high surrogates", "k=\\uD83D\\uD83D\\uDE00", {{"k", "\uFFFD\xF0\x9F\x98\x80"}}},
        {"short escape at end", "k=\\u12", {{"k", "\uFFFD"}}},
        {"short escape before text", "k=\\u12g4", {{"k", "\uFFFDg4"}}},
        {"bare u escape at end", "k=\\u", {{"k", "\uFFFD"}}},
        {"NUL escape", "k=\\u0000", {{"k", bytes("\0", 1)}}},
        // Continuation lines.
        {"continuation drops leading blanks", "k=a\\\n   b", {{"k", "ab"}}},
        {"continuation after CRLF", "k=a\\\r\n \t b", {{"k", "ab"}}},
        {"continuation after CR", "k=a\\\r   b", {{"k", "ab"}}},
        {"continuation within a key", "ke\\\n  y=v", {{"key", "v"}}},
        {"even backslashes do not continue", "k=a\\\\\nb=c", {{"k", "a\\"}, {"b", "c"}}},
        {"odd backslashes continue", "k=a\\\\\\\n b", {{"k", "a\\b"}}},
        {"backslash at end of text is dropped", "k=a\\", {{"k", "a"}}},
        {"continuation into end of text", "k=a\\\n", {{"k", "a"}}},
        {"blank continuation line ends the line", "k=a\\\n   \nx=1", {{"k", "a"}, {"x", "1"}}},
        {"continued text starting with hash is a value", "k=a\\\n# b", {{"k", "a# b"}}},
        {"several continuations", "k=1\\\n 2\\\n\t3", {{"k", "123"}}},
        // Line ends, byte order mark, encoding.
        {"CRLF line ends", "a=1\r\nb=2\r\n", {{"a", "1"}, {"b", "2"}}},
        {"CR line ends", "a=1\rb=2", {{"a", "1"}, {"b", "2"}}},
        {"byte order mark skipped", "\uFEFFa=1", {{"a", "1"}}},
        {"UTF-8 text kept",
         "k=\xD9\x85\xD9\x81\xD9\x82\xD9\x88\xD8\xAF",
         {{"k", "\xD9\x85\xD9\x81\xD9\x82\xD9\x88\xD8\xAF"}}},
        {"invalid byte replaced",
         "k=a\xFF"
         "b",
         {{"k", "a\uFFFDb"}}},
        {"truncated sequence replaced", "k=\xE2\x82", {{"k", "\uFFFD"}}},
        {"duplicate keys both listed", "a=1\na=2", {{"a", "1"}, {"a", "2"}}},
    };
    return cases;
}

TEST(PropertiesReader, ReadsEverySyntaxCaseAsAPropertiesFileDoes) {
    for (const auto& testCase : syntaxCases()) {
        EXPECT_EQ(PropertiesReader::read(testCase.text), testCase.expected) << testCase.name;
    }
}

// An independent writer: escapes every character that the syntax gives a meaning, and writes
// non-ASCII characters either raw or as \u escapes (with surrogate pairs above U+FFFF).
class PropertiesWriter {
public:
    explicit PropertiesWriter(std::mt19937& random) : random_(random) {}

    std::string write(const std::u32string& text, bool isKey) {
        std::string out;
        for (std::size_t index = 0; index < text.size(); ++index) {
            const char32_t character = text[index];
            static constexpr std::u32string_view SPECIAL = U"\t\n\r\f\\=:#!";
            static constexpr std::string_view ESCAPED[] = {"\\t", "\\n", "\\r", "\\f", "\\\\",
                                                           "\\=", "\\:", "\\#", "\\!"};
            if (const auto special = SPECIAL.find(character); special != std::u32string_view::npos) {
                out += ESCAPED[special];
                continue;
            }
            if (character == ' ') {
                out += (isKey || index == 0) ? "\\ " : " ";
                continue;
            }
            if (character < 0x80) {
                out += static_cast<char>(character);
            } else if (random_() % 2 == 0) {
                StringUtilities::appendUtf8(out, character);
            } else if (character > 0xFFFF) {
                const char32_t offset = character - 0x10000;
                appendEscape(out, 0xD800 + (offset >> 10));
                appendEscape(out, 0xDC00 + (offset & 0x3FF));
            } else {
                appendEscape(out, character);
            }
        }
        return out;
    }

private:
    static void appendEscape(std::string& out, char32_t unit) {
        static constexpr char HEX[] = "0123456789ABCDEF";
        out += "\\u";
        for (int shift = 12; shift >= 0; shift -= 4) {
            out += HEX[(unit >> shift) & 0xF];
        }
    }

    std::mt19937& random_;
};

std::u32string randomText(std::mt19937& random) {
    static const std::u32string alphabet = U" \t\n\r\f\\=:#!aZ09.\u00E9\u0645\u20AC\uFFFD\U0001F600\U00010000";
    std::u32string text;
    const auto length = random() % 12;
    for (std::size_t index = 0; index < length; ++index) {
        text += alphabet[random() % alphabet.size()];
    }
    return text;
}

std::string toUtf8(const std::u32string& text) {
    std::string out;
    for (const char32_t character : text) {
        StringUtilities::appendUtf8(out, character);
    }
    return out;
}

TEST(PropertiesReader, WrittenEntriesReadBackUnchanged) {
    std::mt19937 random(20240611);
    PropertiesWriter writer(random);
    for (int round = 0; round < 2000; ++round) {
        Entries expected;
        std::string file = (round % 3 == 0) ? "# generated\n" : "";
        const auto count = 1 + random() % 4;
        for (std::size_t entry = 0; entry < count; ++entry) {
            std::u32string key = randomText(random);
            if (key.empty()) {
                key.push_back(U'k');  // an empty key would make a line of its value alone ambiguous
            }
            const std::u32string value = randomText(random);
            static const char* const SEPARATORS[] = {"=", ":", " = ", "\t:", " "};
            file += writer.write(key, true) + SEPARATORS[random() % 5] + writer.write(value, false);
            file += (random() % 2 == 0) ? "\n" : "\r\n";
            expected.push_back({toUtf8(key), toUtf8(value)});
        }
        ASSERT_EQ(PropertiesReader::read(file), expected) << file;
    }
}

TEST(PropertiesReader, ArbitraryBytesGiveValidUtf8AndNeverFail) {
    std::mt19937 random(7);
    static const std::string alphabet = std::string("=: \t\n\r\\u#!aF0\xD8\xDC\xFF\xC3\xA9\xE2\x82\xEF\xBB\xBF") + '\0';
    for (int round = 0; round < 5000; ++round) {
        std::string text;
        const auto length = random() % 40;
        for (std::size_t index = 0; index < length; ++index) {
            text += alphabet[random() % alphabet.size()];
        }
        for (const auto& entry : PropertiesReader::read(text)) {
            EXPECT_TRUE(StringUtilities::isValidUtf8(entry.key)) << text;
            EXPECT_TRUE(StringUtilities::isValidUtf8(entry.value)) << text;
        }
    }
}

}  // namespace
}  // namespace pellium
