#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/sorting/CollationKeys.h"
#include "pellium/models/data/sorting/Collator.h"
#include "pellium/models/data/sorting/ColumnSortComparator.h"

namespace pellium {
namespace {

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

TEST(CollationKeys, RankNumbersDenselyAndKeepTheTokenCodesOfSpecialValues) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<double> numbers = {2.5,
                                         -0.0,
                                         0.0,
                                         DataTokens::ALL_OTHERS_NUMERIC,
                                         -infinity,
                                         2.5,
                                         DataTokens::MISSING_NUMERIC,
                                         DataTokens::SPARSE_NUMERIC,
                                         DataTokens::SUPPRESSED_NUMERIC,
                                         DataTokens::MATCHES_ALL_NUMERIC,
                                         infinity};
    EXPECT_EQ(CollationKeys::forNumbers(numbers),
              (std::vector<std::int32_t>{2, 1, 1, CollationKeys::LAST_KEY, 0, 2, -1, -2, -98, -100, 3}));
    EXPECT_EQ(CollationKeys::forNumbers(numbers, -99)[3], -99);
}

// Ranks of many random numbers agree with their order, ties included (the radix sort is past its
// small-input threshold here).
TEST(CollationKeys, RanksOfManyNumbersFollowTheirOrder) {
    std::mt19937_64 random(3);
    std::vector<double> numbers(50'000);
    for (double& number : numbers) {
        number = static_cast<double>(static_cast<std::int64_t>(random() % 20'001) - 10'000) / 8;
    }
    const auto keys = CollationKeys::forNumbers(numbers);
    for (std::size_t probe = 0; probe < 200'000; ++probe) {
        const std::size_t left = random() % numbers.size();
        const std::size_t right = random() % numbers.size();
        ASSERT_EQ(keys[left] < keys[right], numbers[left] < numbers[right]) << numbers[left] << " " << numbers[right];
        ASSERT_EQ(keys[left] == keys[right], numbers[left] == numbers[right]);
    }
}

TEST(CollationKeys, RankTextsByBytesOrByCollationThenBytes) {
    const std::vector<std::string_view> texts = {"banana", "Apple", "apple", "\xC3\x84pfel", "apple", "Zebra"};
    EXPECT_EQ(CollationKeys::rankTexts(texts, nullptr), (std::vector<std::int32_t>{3, 0, 2, 4, 2, 1}));
    const auto german = Collator::create("de_DE");
    // "Äpfel" before "apple" in German: f before p decides before the accent does.
    EXPECT_EQ(CollationKeys::rankTexts(texts, german.get()), (std::vector<std::int32_t>{3, 2, 1, 0, 1, 4}));
    // Texts that collate equal still get different ranks: the bytes break the tie.
    const std::vector<std::string_view> equivalent = {"\xC3\xA9", "e\xCC\x81"};
    EXPECT_EQ(german->compare(equivalent[0], equivalent[1]), 0);
    EXPECT_EQ(CollationKeys::rankTexts(equivalent, german.get()), (std::vector<std::int32_t>{1, 0}));
}

TEST(CollationKeys, StringCellsAreSpecialByIndexOrByABlankText) {
    const std::string word = "word";
    const std::string blank = "  ";
    const std::string sparse = "~N";
    const std::vector<std::int32_t> indices = {
        DataTokens::TOKEN_ALL_OTHERS, DataTokens::TOKEN_SPARSE,      3, DataTokens::TOKEN_MISSING,
        DataTokens::TOKEN_SUPPRESSED, DataTokens::TOKEN_MATCHES_ALL, 5};
    const std::vector<const std::string*> texts = {&word, &sparse, &blank, &word, &word, &word, nullptr};
    // A missing index with a text is an ordinary text; a blank text is missing whatever its index.
    EXPECT_EQ(CollationKeys::forStringCells(indices, texts, nullptr),
              (std::vector<std::int32_t>{CollationKeys::LAST_KEY, -2, -1, 0, -98, -100, -1}));
}

// A string column ranks each text of the table once and the rows outside the table with them.
TEST(CollationKeys, ColumnKeysRankTableTextsAndTextsOutsideTheTable) {
    auto column = Column::create(text("city"), DataType::STRING);
    column->setStringIndices(std::make_shared<Column::IndexVector>(Column::IndexVector{2, 0, 1, -99, 0, 1}));
    auto table = std::make_shared<DataSet::StringTable>(DataSet::StringTable{text("Oslo"), text(" "), text("Bern")});
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{column}));
    dataSet->setStringTable(table);
    dataSet->assignStringValuesFromIndices();
    column->setStringAtIndex(text("Aarau"), 4, false);
    const auto comparator =
        ColumnSortComparator::create(SortContext::create(SortDirection::ASCENDING), dataSet, column);
    comparator->computeCollationKeys();
    EXPECT_EQ(*comparator->getCollationKeys(), (std::vector<std::int32_t>{1, 2, -1, CollationKeys::LAST_KEY, 0, -1}));
}

}  // namespace
}  // namespace pellium
