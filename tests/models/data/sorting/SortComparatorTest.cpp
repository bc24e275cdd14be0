#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/sorting/AbstractDataValueSortComparator.h"
#include "pellium/models/data/sorting/CollationKeys.h"
#include "pellium/models/data/sorting/Collator.h"
#include "pellium/models/data/sorting/ColumnSortComparator.h"
#include "pellium/models/data/sorting/CompoundSortComparator.h"
#include "pellium/models/data/sorting/DataValueSortComparator.h"
#include "pellium/models/data/sorting/IndexedSortComparator.h"

namespace pellium {
namespace {

using Mode = AbstractDataValueSortComparator::Mode;
using ValueList = DataValue::ValueList;

constexpr std::int32_t SPECIAL_CODES[] = {DataTokens::TOKEN_MATCHES_ALL, DataTokens::TOKEN_ALL_OTHERS,
                                          DataTokens::TOKEN_SUPPRESSED, DataTokens::TOKEN_SPARSE,
                                          DataTokens::TOKEN_MISSING};

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

// The texts of the string table, in byte order as DataSet::sortOrderedUniqueStringValues leaves it.
const std::vector<std::string>& tableTexts() {
    static const std::vector<std::string> texts = [] {
        std::vector<std::string> list = {"Apple", "Banana", "apple", "banana", "zebra",
                                         "Äpfel", "éclair", "ab",    "abc",    " "};
        std::sort(list.begin(), list.end());
        return list;
    }();
    return texts;
}

std::shared_ptr<DataSet::StringTable> makeStringTable() {
    auto table = std::make_shared<DataSet::StringTable>();
    for (const auto& entry : tableTexts()) {
        table->push_back(text(entry));
    }
    return table;
}

// Random values of one type that include every special state, repeated ordinary values, texts
// with and without a string-table index, a blank text with an index (missing by its text) and
// null values (missing).
ValueList makeRandomValues(DataType::type type, std::size_t count, std::mt19937& random) {
    static const double numbers[] = {-3.5, -1, -0.0, 0, 0.5, 2, 7, 1e300, -INFINITY, INFINITY};
    std::uniform_int_distribution<int> kind(0, 9);
    ValueList values;
    for (std::size_t index = 0; index < count; ++index) {
        const int choice = kind(random);
        if (choice <= 2) {
            values.push_back(DataTokens::makeDataValue(type, SPECIAL_CODES[random() % std::size(SPECIAL_CODES)]));
        } else if (choice == 3 && type == DataType::STRING) {
            values.push_back(nullptr);
        } else if (type == DataType::NUMERIC) {
            values.push_back(DataValue::create(numbers[random() % std::size(numbers)]));
        } else {
            const std::size_t position = random() % tableTexts().size();
            const bool hasIndex = choice != 4;
            values.push_back(
                DataValue::create(text(tableTexts()[position]), hasIndex ? static_cast<std::int32_t>(position)
                                                                         : DataTokens::UNRESOLVABLE_DATA_VALUE));
        }
    }
    return values;
}

// A data set of one column holding `values` (null values become missing rows); texts without an
// index become explicit texts of their rows.
std::shared_ptr<DataSet> makeDataSet(DataType::type type, const ValueList& values) {
    auto column = Column::create(text("column"), type);
    if (type == DataType::NUMERIC) {
        auto numbers = std::make_shared<Column::NumberVector>();
        for (const auto& value : values) {
            numbers->push_back(value ? value->getNumericValue() : DataTokens::MISSING_NUMERIC);
        }
        column->setNumbers(numbers);
    } else {
        auto indices = std::make_shared<Column::IndexVector>();
        for (const auto& value : values) {
            indices->push_back(value ? value->getStringIndex() : DataTokens::TOKEN_MISSING);
        }
        column->setStringIndices(indices);
    }
    auto columns = std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{column});
    auto dataSet = DataSet::create(columns);
    dataSet->setStringTable(makeStringTable());
    dataSet->assignStringValuesFromIndices();
    for (std::size_t row = 0; row < values.size(); ++row) {
        if (type == DataType::STRING && values[row] && values[row]->getStringIndex() < -100) {
            column->setStringAtIndex(values[row]->getStringValue(), static_cast<std::int32_t>(row), false);
        }
    }
    return dataSet;
}

int planeOf(const std::shared_ptr<DataValue>& value) {
    return DataTokens::getSortPlaneForValue(std::shared_ptr<const DataValue>(value));
}

// The position of a plane in a sorted sequence: the bands in their order, all-others last.
int bandRank(int plane, SortDirection::type direction) {
    if (plane == DataTokens::SORT_PLANE_ALL_OTHERS) {
        return 5;
    }
    return direction == SortDirection::ASCENDING ? plane : DataTokens::SORT_PLANE_ORDINARY - plane;
}

void expectStrictWeakOrdering(const SortComparator& before, std::uint32_t count, const std::string& what) {
    const auto unordered = [&](std::uint32_t i, std::uint32_t j) { return !before(i, j) && !before(j, i); };
    for (std::uint32_t i = 0; i < count; ++i) {
        ASSERT_FALSE(before(i, i)) << what << ": irreflexive at " << i;
        for (std::uint32_t j = 0; j < count; ++j) {
            ASSERT_FALSE(before(i, j) && before(j, i)) << what << ": asymmetric at " << i << ", " << j;
            for (std::uint32_t k = 0; k < count; ++k) {
                if (before(i, j) && before(j, k)) {
                    ASSERT_TRUE(before(i, k)) << what << ": transitive at " << i << ", " << j << ", " << k;
                }
                if (unordered(i, j) && unordered(j, k)) {
                    ASSERT_TRUE(unordered(i, k)) << what << ": incomparability at " << i << ", " << j << ", " << k;
                }
            }
        }
    }
}

std::vector<std::uint32_t> identity(std::size_t count) {
    std::vector<std::uint32_t> indices(count);
    std::iota(indices.begin(), indices.end(), 0u);
    return indices;
}

// One comparator under test with the values its indices stand for and the order it should give
// ordinary values (null when it leaves them unordered).
struct Subject {
    std::string name;
    std::shared_ptr<AbstractDataValueSortComparator> comparator;
    ValueList values;
    std::function<bool(const DataValue&, const DataValue&)> ordinaryAscending;
};

bool numbersAscending(const DataValue& left, const DataValue& right) {
    return left.getNumericValue() < right.getNumericValue();
}

bool bytesAscending(const DataValue& left, const DataValue& right) {
    return *left.getStringValue() < *right.getStringValue();
}

std::vector<Subject> makeSubjects(std::mt19937& random, std::size_t count) {
    std::vector<Subject> subjects;
    const auto german = Collator::create("de");
    const auto collatedAscending = [german](const DataValue& left, const DataValue& right) {
        const int order = german->compare(*left.getStringValue(), *right.getStringValue());
        return order < 0 || (order == 0 && *left.getStringValue() < *right.getStringValue());
    };
    for (const DataType::type type : {DataType::NUMERIC, DataType::STRING}) {
        const ValueList values = makeRandomValues(type, count, random);
        const auto shared = std::make_shared<const ValueList>(values);
        const auto dataSet = makeDataSet(type, values);
        const auto column = dataSet->getColumnAtIndex(0);
        const std::string typeName(DataType::getStringFromValue(type));
        for (const bool withKeys : {false, true}) {
            const std::string keyName = withKeys ? " with keys" : " without keys";
            auto held = DataValueSortComparator::create(nullptr, type, shared);
            auto rows = ColumnSortComparator::create(nullptr, dataSet, column);
            if (type == DataType::NUMERIC) {
                if (withKeys) {
                    held->computeCollationKeys();
                    rows->computeCollationKeys();
                }
                subjects.push_back({"held " + typeName + keyName, held, values, numbersAscending});
                subjects.push_back({"column " + typeName + keyName, rows, values, numbersAscending});
                continue;
            }
            // Held texts without keys compare as numbers, deliberately: all ordinary texts tie.
            std::function<bool(const DataValue&, const DataValue&)> heldOrder;
            if (withKeys) {
                held->computeCollationKeys();
                rows->computeCollationKeys();
                heldOrder = bytesAscending;
            }
            subjects.push_back({"held " + typeName + keyName, held, values, heldOrder});
            subjects.push_back({"column " + typeName + keyName, rows, values, bytesAscending});
            if (withKeys) {
                auto collated = ColumnSortComparator::create(nullptr, dataSet, column);
                collated->setMode(Mode::STRING_COLLATED);
                collated->computeCollationKeys();
                subjects.push_back({"column collated", collated, values, collatedAscending});
            }
        }
    }
    return subjects;
}

void expectBands(const Subject& subject, SortDirection::type direction, bool valueOrderingEnabled,
                 const std::vector<std::uint32_t>& sorted) {
    const std::string what = subject.name + " " + std::string(SortDirection::getStringFromValue(direction));
    const auto& values = subject.values;
    if (direction == SortDirection::DATA || !valueOrderingEnabled) {
        // Data order, except that all-others moves to the end.
        std::vector<std::uint32_t> expected;
        for (const bool allOthers : {false, true}) {
            for (std::uint32_t index = 0; index < values.size(); ++index) {
                if ((planeOf(values[index]) == DataTokens::SORT_PLANE_ALL_OTHERS) == allOthers) {
                    expected.push_back(index);
                }
            }
        }
        EXPECT_EQ(sorted, expected) << what;
        return;
    }
    for (std::size_t position = 1; position < sorted.size(); ++position) {
        const auto& previous = values[sorted[position - 1]];
        const auto& current = values[sorted[position]];
        const int previousRank = bandRank(planeOf(previous), direction);
        const int currentRank = bandRank(planeOf(current), direction);
        ASSERT_LE(previousRank, currentRank) << what << " at " << position;
        const bool bothOrdinary =
            planeOf(previous) == DataTokens::SORT_PLANE_ORDINARY && planeOf(current) == DataTokens::SORT_PLANE_ORDINARY;
        if (bothOrdinary && subject.ordinaryAscending) {
            const bool outOfOrder = direction == SortDirection::ASCENDING
                                        ? subject.ordinaryAscending(*current, *previous)
                                        : subject.ordinaryAscending(*previous, *current);
            ASSERT_FALSE(outOfOrder) << what << " at " << position << ": " << previous->getDescription() << " then "
                                     << current->getDescription();
        }
    }
}

// The central property: every comparator is a strict weak ordering for values that include every
// special state, in every direction, and a sort puts the bands in place: ascending matches-all,
// sparse, missing, suppressed, ordinary; descending the reverse; all-others last in both.
TEST(SortComparators, AreStrictWeakOrderingsThatPlaceTheBands) {
    std::mt19937 random(7);
    for (int round = 0; round < 3; ++round) {
        for (const Subject& subject : makeSubjects(random, 36)) {
            for (const auto direction : {SortDirection::DATA, SortDirection::ASCENDING, SortDirection::DESCENDING}) {
                for (const bool enabled : {true, false}) {
                    subject.comparator->setSortContext(SortContext::create(direction, "de"));
                    subject.comparator->setValueOrderingEnabled(enabled);
                    const auto& comparator = *subject.comparator;
                    expectStrictWeakOrdering(comparator, static_cast<std::uint32_t>(subject.values.size()),
                                             subject.name);
                    auto stable = identity(subject.values.size());
                    std::stable_sort(stable.begin(), stable.end(), std::cref(comparator));
                    expectBands(subject, direction, enabled, stable);
                    // The sort over keys gives exactly what a stable sort with the comparator gives.
                    auto fast = identity(subject.values.size());
                    comparator.sortIndices(fast);
                    EXPECT_EQ(fast, stable) << subject.name;
                    // std::sort accepts it too, and agrees on everything but the order of ties.
                    auto unstable = identity(subject.values.size());
                    std::sort(unstable.begin(), unstable.end(), std::cref(comparator));
                    for (std::size_t position = 0; position < unstable.size(); ++position) {
                        EXPECT_FALSE(comparator(unstable[position], stable[position]) ||
                                     comparator(stable[position], unstable[position]))
                            << subject.name << " at " << position;
                    }
                }
            }
        }
    }
}

TEST(SortComparators, IndexedKeysAreAStrictWeakOrderingWithBandsAndTheLastKey) {
    std::mt19937 random(11);
    std::uniform_int_distribution<std::int32_t> ordinary(-20, 20);
    std::vector<std::int32_t> keys;
    for (int index = 0; index < 48; ++index) {
        const auto kind = random() % 4;
        keys.push_back(kind == 0   ? SPECIAL_CODES[random() % std::size(SPECIAL_CODES)]
                       : kind == 1 ? -1001 - static_cast<std::int32_t>(random() % 3)  // the band below -1000
                                   : ordinary(random));
    }
    const auto shared = std::make_shared<const std::vector<std::int32_t>>(keys);
    for (const bool ascending : {true, false}) {
        const auto comparator = IndexedSortComparator::create(shared, ascending);
        expectStrictWeakOrdering(*comparator, static_cast<std::uint32_t>(keys.size()), "indexed");
        auto sorted = identity(keys.size());
        comparator->sortIndices(sorted);
        auto stable = identity(keys.size());
        std::stable_sort(stable.begin(), stable.end(), std::cref(*comparator));
        EXPECT_EQ(sorted, stable);
        // Groups in order: ascending band, planes 0..3, ordinary, -99; descending ordinary, planes
        // 3..0, band, -99.
        const auto group = [&](std::int32_t key) {
            if (key == IndexedSortComparator::ALL_OTHERS_KEY) {
                return 9;
            }
            const int rank = key < -1000 ? 0 : SortKeyOrder::getPlane(key) + 1;
            return ascending ? rank : 5 - rank;
        };
        for (std::size_t position = 1; position < sorted.size(); ++position) {
            const std::int32_t previous = keys[sorted[position - 1]];
            const std::int32_t current = keys[sorted[position]];
            ASSERT_LE(group(previous), group(current)) << previous << " then " << current;
            if (group(previous) == group(current) && (previous < -1000 || SortKeyOrder::getPlane(previous) == 4)) {
                EXPECT_TRUE(ascending ? previous <= current : previous >= current) << previous << " then " << current;
            }
        }
    }
}

TEST(SortComparators, CompoundOrdersByTheFirstComparatorThenBreaksTiesWithTheNext) {
    // Region ascending by text, then amount descending.
    const auto north = text("North"), south = text("South"), east = text("East");
    auto regionColumn = Column::create(text("region"), DataType::STRING);
    regionColumn->setStrings(
        std::make_shared<Column::StringVector>(Column::StringVector{north, south, north, east, south, north, east}));
    auto amountColumn = Column::create(text("amount"), DataType::NUMERIC);
    amountColumn->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{5, 1, 9, 3, 1, 5, NAN}));
    const auto byRegion =
        ColumnSortComparator::create(SortContext::create(SortDirection::ASCENDING), nullptr, regionColumn);
    const auto byAmount =
        ColumnSortComparator::create(SortContext::create(SortDirection::DESCENDING), nullptr, amountColumn);
    byRegion->computeCollationKeys();
    const auto compound = CompoundSortComparator::create({byRegion, nullptr, byAmount});
    expectStrictWeakOrdering(*compound, 7, "compound");
    auto rows = identity(7);
    compound->sortIndices(rows);
    // East (3, then the missing amount last when descending), North (9, 5, 5 in data order), South.
    EXPECT_EQ(rows, (std::vector<std::uint32_t>{3, 6, 2, 0, 5, 1, 4}));
    EXPECT_FALSE((*CompoundSortComparator::create())(0, 1));
}

// --- The placement rules, one by one -----------------------------------------------------------------

std::vector<std::uint32_t> sortValues(const ValueList& values, DataType::type type, SortDirection::type direction,
                                      bool withKeys, Mode::type mode = Mode::NUMERIC) {
    const auto comparator = DataValueSortComparator::create(SortContext::create(direction), type,
                                                            std::make_shared<const ValueList>(values));
    comparator->setMode(mode);
    if (withKeys) {
        comparator->computeCollationKeys();
    }
    auto indices = identity(values.size());
    std::stable_sort(indices.begin(), indices.end(), std::cref(*comparator));
    return indices;
}

TEST(SortComparators, PlaceSpecialNumbersInBandsAndAllOthersLast) {
    const auto special = [](std::int32_t code) { return DataTokens::makeDataValue(DataType::NUMERIC, code); };
    // 0 all-others, 1 = 2, 2 = 10, 3 missing, 4 suppressed, 5 sparse, 6 matches-all.
    const ValueList values = {special(DataTokens::TOKEN_ALL_OTHERS),
                              DataValue::create(2.0),
                              DataValue::create(10.0),
                              special(DataTokens::TOKEN_MISSING),
                              special(DataTokens::TOKEN_SUPPRESSED),
                              special(DataTokens::TOKEN_SPARSE),
                              special(DataTokens::TOKEN_MATCHES_ALL)};
    struct Expectation {
        SortDirection::type direction;
        std::vector<std::uint32_t> order;
    };
    const Expectation expectations[] = {
        {SortDirection::ASCENDING, {6, 5, 3, 4, 1, 2, 0}},
        {SortDirection::DESCENDING, {2, 1, 4, 3, 5, 6, 0}},
        {SortDirection::DATA, {1, 2, 3, 4, 5, 6, 0}},
    };
    for (const auto& expectation : expectations) {
        for (const bool withKeys : {false, true}) {
            EXPECT_EQ(sortValues(values, DataType::NUMERIC, expectation.direction, withKeys), expectation.order)
                << SortDirection::getStringFromValue(expectation.direction) << (withKeys ? " with keys" : "");
        }
    }
}

TEST(SortComparators, TextsWithIndicesCompareByIndexAndOthersByText) {
    // Index order differs from text order on purpose; the comparator is not held values, so its
    // string mode applies.
    auto column = Column::create(text("c"), DataType::STRING);
    column->setStringIndices(std::make_shared<Column::IndexVector>(Column::IndexVector{0, 1}));
    column->resolveStringIndices(std::make_shared<Column::StringVector>(Column::StringVector{text("b"), text("a")}));
    const auto byIndex = ColumnSortComparator::create(SortContext::create(SortDirection::ASCENDING), nullptr, column);
    EXPECT_TRUE((*byIndex)(0, 1));
    column->setStringAtIndex(text("b"), 0, false);  // no index any more: compared by text
    EXPECT_TRUE((*byIndex)(1, 0));
    EXPECT_FALSE((*byIndex)(0, 1));
}

TEST(SortComparators, HeldTextsCompareOnlyThroughKeys) {
    const ValueList values = {DataValue::create(text("b"), -1000), DataValue::create(text("a"), -1000)};
    EXPECT_EQ(sortValues(values, DataType::STRING, SortDirection::ASCENDING, false, Mode::STRING_BYTE_ORDER),
              (std::vector<std::uint32_t>{0, 1}));
    EXPECT_EQ(sortValues(values, DataType::STRING, SortDirection::ASCENDING, true, Mode::STRING_BYTE_ORDER),
              (std::vector<std::uint32_t>{1, 0}));
    const auto comparator =
        DataValueSortComparator::create(nullptr, DataType::STRING, std::make_shared<const ValueList>(values));
    comparator->setMode(Mode::STRING_COLLATED);
    EXPECT_EQ(comparator->getEffectiveMode(), Mode::NUMERIC);
}

TEST(SortComparators, WithoutContextEveryPairIsUnordered) {
    const ValueList values = {DataTokens::makeDataValue(DataType::NUMERIC, DataTokens::TOKEN_ALL_OTHERS),
                              DataValue::create(1.0)};
    const auto comparator =
        DataValueSortComparator::create(nullptr, DataType::NUMERIC, std::make_shared<const ValueList>(values));
    comparator->computeCollationKeys();
    EXPECT_FALSE((*comparator)(0, 1));
    EXPECT_FALSE((*comparator)(1, 0));
    auto indices = identity(2);
    comparator->sortIndices(indices);
    EXPECT_EQ(indices, identity(2));
}

TEST(SortComparators, ForeignKeysLeaveTiesToTheValues) {
    // Keys from elsewhere (say, aggregated values) that tie: the values decide, -5 is last.
    const ValueList values = {DataValue::create(3.0), DataValue::create(1.0), DataValue::create(2.0)};
    const auto comparator = DataValueSortComparator::create(
        SortContext::create(SortDirection::ASCENDING), DataType::NUMERIC, std::make_shared<const ValueList>(values));
    comparator->setCollationKeys({7, 7, CollationKeys::LAST_KEY});
    auto indices = identity(3);
    comparator->sortIndices(indices);
    EXPECT_EQ(indices, (std::vector<std::uint32_t>{1, 0, 2}));
}

TEST(SortComparators, IndicesBeyondTheDataThrow) {
    const auto comparator =
        DataValueSortComparator::create(SortContext::create(SortDirection::ASCENDING), DataType::NUMERIC,
                                        std::make_shared<const ValueList>(ValueList{DataValue::create(1.0)}));
    EXPECT_THROW((*comparator)(0, 1), std::out_of_range);
    comparator->computeCollationKeys();
    EXPECT_THROW((*comparator)(0, 1), std::out_of_range);
    std::vector<std::uint32_t> indices = {1, 0};
    EXPECT_THROW(comparator->sortIndices(indices), std::out_of_range);
    EXPECT_EQ(DataValueSortComparator::create(nullptr, static_cast<DataType::type>(7), nullptr), nullptr);
}

TEST(SortComparators, NamesOfDirectionsAndModesConvertBothWays) {
    for (int value = 0; value < SortDirection::NUMBER_OF_VALUES; ++value) {
        const auto direction = static_cast<SortDirection::type>(value);
        EXPECT_EQ(SortDirection::getValueFromString(SortDirection::getStringFromValue(direction)), direction);
    }
    for (int value = 0; value < Mode::NUMBER_OF_VALUES; ++value) {
        const auto mode = static_cast<Mode::type>(value);
        EXPECT_EQ(Mode::getValueFromString(Mode::getStringFromValue(mode)), mode);
    }
    EXPECT_EQ(SortDirection::getValueFromString("descending"), SortDirection::DESCENDING);
    EXPECT_FALSE(SortDirection::getValueFromString("up").has_value());
    EXPECT_EQ(SortContext::create(static_cast<SortDirection::type>(9))->getDirection(), SortDirection::DATA);
}

}  // namespace
}  // namespace pellium
