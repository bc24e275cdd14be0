#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/util/vector_map.h"

namespace pellium {
namespace {

template <class Map, class Reference>
void expectSameEntries(const Map& map, const Reference& reference) {
    ASSERT_EQ(map.size(), reference.size());
    ASSERT_EQ(map.empty(), reference.empty());
    auto expected = reference.begin();
    for (const auto& [key, value] : map) {
        ASSERT_EQ(key, expected->first);
        ASSERT_EQ(value, expected->second);
        ++expected;
    }
}

}  // namespace

TEST(vector_map, BehavesLikeStdMapUnderRandomOperations) {
    std::mt19937 random(2024);
    std::uniform_int_distribution<int> key(0, 150);
    std::uniform_int_distribution<int> value(-1000, 1000);
    std::uniform_int_distribution<int> operation(0, 8);
    vector_map<int, int> map;
    std::map<int, int> reference;
    const auto expectSamePosition = [&](vector_map<int, int>::iterator position,
                                        std::map<int, int>::iterator expected) {
        ASSERT_EQ(position == map.end(), expected == reference.end());
        if (position != map.end()) {
            ASSERT_EQ(position->first, expected->first);
        }
    };
    for (int step = 0; step < 100'000; ++step) {
        const int k = key(random);
        const int v = value(random);
        switch (operation(random)) {
            case 0: {
                const auto [position, inserted] = map.insert({k, v});
                const auto [expected, expectedInserted] = reference.insert({k, v});
                ASSERT_EQ(inserted, expectedInserted);
                ASSERT_EQ(position->second, expected->second) << "insert never overwrites";
                break;
            }
            case 1: {
                const auto [position, inserted] = map.insert_or_assign(k, v);
                ASSERT_EQ(inserted, reference.insert_or_assign(k, v).second);
                ASSERT_EQ(position->second, v);
                break;
            }
            case 2:
                map[k] += v;
                reference[k] += v;
                break;
            case 3:
                ASSERT_EQ(map.erase(k), reference.erase(k));
                break;
            case 4: {
                const auto position = map.find(k);
                const auto expected = reference.find(k);
                expectSamePosition(position, expected);
                if (position != map.end() && expected != reference.end()) {
                    expectSamePosition(map.erase(position), reference.erase(expected));
                }
                break;
            }
            case 5:
                expectSamePosition(map.lower_bound(k), reference.lower_bound(k));
                break;
            case 6:
                expectSamePosition(map.upper_bound(k), reference.upper_bound(k));
                break;
            case 7:
                ASSERT_EQ(map.count(k), reference.count(k));
                ASSERT_EQ(map.contains(k), reference.contains(k));
                break;
            default:
                if (step % 5000 == 0) {
                    map.clear();
                    reference.clear();
                }
                break;
        }
        if (HasFatalFailure()) {
            return;  // a failed check inside expectSamePosition
        }
        if (step % 100 == 0) {
            expectSameEntries(map, reference);
        }
    }
    expectSameEntries(map, reference);
}

TEST(vector_map, StringKeysAreFoundByViewsAndLiteralsWithoutConversion) {
    vector_map<std::string, int> map{{"beta", 2}, {"alpha", 1}, {"gamma", 3}, {"alpha", 99}};
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(map.at("alpha"), 1) << "the first of equal keys is kept";
    const std::string_view wanted = "gamma";
    EXPECT_EQ(map.find(wanted)->second, 3);
    EXPECT_TRUE(map.contains("beta"));
    EXPECT_EQ(map.count(std::string_view("delta")), 0U);
    EXPECT_EQ(map.lower_bound(std::string_view("b"))->first, "beta");
    EXPECT_EQ(map.upper_bound(std::string_view("beta"))->first, "gamma");
    EXPECT_EQ(map.erase(std::string_view("beta")), 1U);
    EXPECT_EQ(map.erase("beta"), 0U);
    std::vector<std::string> keys;
    for (const auto& entry : map) {
        keys.push_back(entry.first);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"alpha", "gamma"}));
}

TEST(vector_map, MissingKeysThrowFromAtAndAreValueInitialisedByIndexing) {
    vector_map<std::string, int> map;
    EXPECT_THROW(map.at("absent"), std::out_of_range);
    EXPECT_THROW(std::as_const(map).at(std::string("absent")), std::out_of_range);
    EXPECT_EQ(map["absent"], 0);
    EXPECT_EQ(map.size(), 1U);
}

TEST(vector_map, ACustomComparatorOrdersTheEntries) {
    vector_map<int, char, std::greater<int>> map;
    for (const int key : {3, 1, 4, 1, 5, 9, 2, 6}) {
        map.try_emplace(key, static_cast<char>('0' + key));
    }
    std::vector<int> keys;
    for (const auto& [key, value] : map) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<int>{9, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(map.lower_bound(7)->first, 6);
    EXPECT_FALSE((vector_map<int, char, std::greater<int>>::isTransparent));
}

TEST(vector_map, MoveOnlyValuesAreBuiltOnlyWhenTheKeyIsNew) {
    vector_map<int, std::unique_ptr<int>> map;
    EXPECT_TRUE(map.try_emplace(1, std::make_unique<int>(10)).second);
    auto second = std::make_unique<int>(20);
    EXPECT_FALSE(map.try_emplace(1, std::move(second)).second);
    EXPECT_NE(second, nullptr) << "a refused try_emplace does not take the value";
    map.insert_or_assign(1, std::make_unique<int>(30));
    EXPECT_EQ(*map.at(1), 30);
}

TEST(vector_map, EqualityComparesEntriesInOrder) {
    vector_map<int, int> left{{1, 10}, {2, 20}};
    vector_map<int, int> right;
    right[2] = 20;
    right[1] = 10;
    EXPECT_EQ(left, right);
    right[2] = 21;
    EXPECT_NE(left, right);
    right.erase(2);
    EXPECT_NE(left, right);
    swap(left, right);
    EXPECT_EQ(left.size(), 1U);
}

}  // namespace pellium
