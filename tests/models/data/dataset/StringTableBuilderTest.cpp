#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/StringTableBuilder.h"

namespace pellium {

TEST(StringTableBuilder, EachDistinctTextGetsOneEntryInOrderOfFirstAppearance) {
    // Texts of every length class (short, word-sized, long), and texts that differ only at the
    // end, through the whole table and through per-column indices.
    std::mt19937_64 random(8);
    std::vector<std::string> texts;
    for (int index = 0; index < 5000; ++index) {
        const std::size_t length = random() % 40;
        std::string text(length, 'x');
        for (char& character : text) {
            character = static_cast<char>('a' + random() % 3);
        }
        texts.push_back(text);
    }
    texts.push_back(std::string(17, 'a') + "b");
    texts.push_back(std::string(17, 'a') + "c");
    StringTableBuilder builder(4);
    std::vector<StringTableBuilder::Index> columns(3);
    std::map<std::string, std::int32_t> oracle;
    for (int cell = 0; cell < 60000; ++cell) {
        const std::string& text = texts[random() % texts.size()];
        StringTableBuilder::Refusal refusal = StringTableBuilder::Refusal::TABLE_FULL;
        const std::int32_t index = cell % 4 == 3
                                       ? builder.add(text, refusal)
                                       : builder.add(text, columns[static_cast<std::size_t>(cell % 3)], refusal);
        ASSERT_EQ(refusal, StringTableBuilder::Refusal::NONE);
        const auto [known, isNew] = oracle.emplace(text, static_cast<std::int32_t>(oracle.size()));
        ASSERT_EQ(index, known->second) << text;
    }
    const auto& table = *builder.getTable();
    ASSERT_EQ(table.size(), oracle.size());
    ASSERT_EQ(builder.size(), oracle.size());
    for (const auto& [text, index] : oracle) {
        EXPECT_EQ(*table[static_cast<std::size_t>(index)], text);
        EXPECT_EQ(table[static_cast<std::size_t>(index)], StringUtilities::internString(text)) << "interned";
    }
}

TEST(StringTableBuilder, MalformedUtf8IsRefusedAndNotAdded) {
    StringTableBuilder builder;
    StringTableBuilder::Refusal refusal = StringTableBuilder::Refusal::NONE;
    EXPECT_EQ(builder.add("caf\xC3", refusal), -1);
    EXPECT_EQ(refusal, StringTableBuilder::Refusal::INVALID_UTF8);
    EXPECT_EQ(builder.add("caf\xC3\xA9", refusal), 0);
    EXPECT_EQ(refusal, StringTableBuilder::Refusal::NONE);
    EXPECT_EQ(builder.add(std::string_view("\0", 1), refusal), 1) << "NUL is a valid character";
    EXPECT_EQ(builder.size(), 2U);
}

TEST(StringTableBuilder, TheEmptyTextIsAnEntryLikeAnyOther) {
    // Found by fuzzing: the first entry empty, when the builder holds no bytes at all.
    StringTableBuilder builder;
    StringTableBuilder::Index column;
    StringTableBuilder::Refusal refusal = StringTableBuilder::Refusal::NONE;
    EXPECT_EQ(builder.add(std::string_view(), column, refusal), 0);
    EXPECT_EQ(builder.add(std::string_view(), column, refusal), 0);
    EXPECT_EQ(builder.add("", refusal), 0);
    EXPECT_EQ(builder.add("x", column, refusal), 1);
    EXPECT_EQ(*builder.getTable()->front(), "");
}

}  // namespace pellium
