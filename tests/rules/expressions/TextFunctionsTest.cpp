#include <gtest/gtest.h>
#include <random>
#include <string>

#include "pellium/rules/expressions/TextFunctions.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {
namespace {

// Random UTF-8 texts mixing ASCII, two-, three- and four-byte characters and stray bytes.
std::string randomText(std::mt19937& random) {
    static const std::string_view PIECES[] = {"a", "b", " ", "/", "ü", "€", "😀", "\xff", "%", "+", "'"};
    std::string text;
    for (int count = std::uniform_int_distribution<int>(0, 12)(random); count > 0; --count) {
        text += PIECES[std::uniform_int_distribution<std::size_t>(0, std::size(PIECES) - 1)(random)];
    }
    return text;
}

TEST(TextFunctionsTest, CharacterPositionsAgreeAcrossFunctions) {
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        const std::string text = randomText(random);
        const auto length = static_cast<std::int64_t>(StringUtilities::countUtf8CodePoints(text));
        // Splitting anywhere and joining gives the text back.
        for (std::int64_t split = 1; split <= length + 1; ++split) {
            EXPECT_EQ(TextFunctions::substring(text, 1, split - 1) + TextFunctions::substring(text, split, -1), text);
            EXPECT_EQ(TextFunctions::replaceAt(text, split, 0, ""), text);
        }
        EXPECT_EQ(TextFunctions::reverse(TextFunctions::reverse(text)), text);
        EXPECT_EQ(TextFunctions::urlDecode(TextFunctions::urlEncode(text)), text);
        const std::string part = TextFunctions::substring(text, 2, 2);
        const std::int64_t found = TextFunctions::find(text, part, 1);
        if (!part.empty()) {
            ASSERT_GT(found, 0) << text;
            EXPECT_EQ(TextFunctions::substring(text, found,
                                               static_cast<std::int64_t>(StringUtilities::countUtf8CodePoints(part))),
                      part);
        }
        EXPECT_EQ(TextFunctions::removeCharacters(text, ""), text);
        EXPECT_EQ(TextFunctions::replaceAll(text, "a", "a"), text);
    }
}

TEST(TextFunctionsTest, WordsAreRunsBetweenDelimiters) {
    const struct {
        std::string_view text;
        std::int64_t index;
        std::string_view word;
        std::string_view removed;
        std::string_view replaced;
    } cases[] = {
        {"one two  three", 1, "one", "two  three", "X two  three"},
        {"one two  three", 2, "two", "one three", "one X  three"},
        {"one two  three", 3, "three", "one two", "one two  X"},
        {"one two  three", -1, "three", "one two", "one two  X"},
        {"one two  three", 4, "", "one two  three", "one two  three"},
        {"one two  three", 0, "", "one two  three", "one two  three"},
        {"  lone  ", 1, "lone", "  ", "  X  "},
        {"", 1, "", "", ""},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(TextFunctions::getWord(entry.text, entry.index, " "), entry.word) << entry.text << entry.index;
        EXPECT_EQ(TextFunctions::removeWord(entry.text, entry.index, " "), entry.removed) << entry.text << entry.index;
        EXPECT_EQ(TextFunctions::replaceWord(entry.text, entry.index, "X", " "), entry.replaced)
            << entry.text << entry.index;
    }
}

}  // namespace
}  // namespace pellium
