#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"

namespace pellium {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

std::shared_ptr<Column> numericColumn(std::vector<double> numbers, std::string_view format = "BEST12.") {
    auto column = Column::create(text("amount"), DataType::NUMERIC, nullptr, text(format));
    column->setNumbers(std::make_shared<Column::NumberVector>(std::move(numbers)));
    return column;
}

std::shared_ptr<const Column::StringVector> table(std::initializer_list<std::string_view> texts) {
    auto strings = std::make_shared<Column::StringVector>();
    for (const auto entry : texts) {
        strings->push_back(text(entry));
    }
    return strings;
}

std::shared_ptr<Column> stringColumn(std::vector<std::int32_t> indices,
                                     std::shared_ptr<const Column::StringVector> stringTable) {
    auto column = Column::create(text("city"), DataType::STRING);
    column->setStringIndices(std::make_shared<Column::IndexVector>(std::move(indices)));
    column->resolveStringIndices(std::move(stringTable));
    return column;
}

std::string textOrNull(const SharedString& value) {
    return value ? *value : std::string("<null>");
}

}  // namespace

TEST(Column, CellValuesCarryTheirTextIndexAndFormattedText) {
    const auto cities = stringColumn({1, 0, -99, -1}, table({"Berlin", "Paris"}));
    const auto paris = cities->getDataValueAtIndex(0);
    EXPECT_TRUE(paris->isString());
    EXPECT_EQ(*paris->getStringValue(), "Paris");
    EXPECT_EQ(paris->getStringIndex(), 1);
    EXPECT_EQ(*paris->getFormattedValue(), "Paris");
    const auto allOthers = cities->getDataValueAtIndex(2);
    EXPECT_TRUE(allOthers->isAllOthers());
    EXPECT_EQ(*allOthers->getStringValue(), "~O");
    EXPECT_EQ(*allOthers->getFormattedValue(), "All Other");
    EXPECT_TRUE(cities->getDataValueAtIndex(3)->isMissing());

    const auto amounts = numericColumn({1.5, NaN});
    const auto first = amounts->getDataValueAtIndex(0);
    EXPECT_FALSE(first->isString());
    EXPECT_EQ(first->getNumericValue(), 1.5);
    EXPECT_EQ(*first->getFormattedValue(), *amounts->getFormattedValueAtIndex(0, false));
}

TEST(Column, RowsOutsideTheColumnThrowOutOfRange) {
    const auto amounts = numericColumn({1, 2});
    EXPECT_THROW(amounts->getDataValueAtIndex(2), std::out_of_range);
    EXPECT_THROW(amounts->getDataValueAtIndex(-1), std::out_of_range);
    EXPECT_THROW(amounts->getFormattedValueAtIndex(2), std::out_of_range);
    EXPECT_THROW(amounts->setNumberAtIndex(0, 5), std::out_of_range);
    EXPECT_THROW(amounts->getStringAtIndex(0), std::out_of_range) << "a numeric column has no texts";
    const auto cities = stringColumn({0}, table({"Oslo"}));
    EXPECT_THROW(cities->getStringAtIndex(1), std::out_of_range);
    EXPECT_THROW(cities->getNumberAtIndex(0), std::out_of_range);
    EXPECT_THROW(cities->getDataValuesAtIndices({0, 1}), std::out_of_range);
}

TEST(Column, CachedFormattedTextsEqualFreshOnesAcrossBlocksAndThreads) {
    std::mt19937_64 random(7);
    std::vector<double> numbers(3000);
    for (double& number : numbers) {
        const auto kind = random() % 8;
        number = kind == 0   ? NaN
                 : kind == 1 ? DataTokens::getNumericConstant(std::array{-100, -99, -98, -2}[random() % 4])
                             : static_cast<double>(static_cast<std::int64_t>(random() % 2000001) - 1000000) / 100;
    }
    const auto column = numericColumn(numbers);
    std::vector<std::vector<std::string>> seen(4);
    std::vector<std::thread> readers;
    for (std::size_t reader = 0; reader < seen.size(); ++reader) {
        readers.emplace_back([&, reader] {
            for (std::int32_t row = 0; row < column->getNumberOfRows(); ++row) {
                // Each reader starts elsewhere so that blocks are formatted concurrently.
                const auto shifted =
                    static_cast<std::int32_t>((static_cast<std::size_t>(row) + reader * 700) % numbers.size());
                seen[reader].push_back(textOrNull(column->getFormattedValueAtIndex(shifted)));
            }
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    for (std::size_t reader = 0; reader < seen.size(); ++reader) {
        for (std::size_t row = 0; row < numbers.size(); ++row) {
            const auto shifted = static_cast<std::int32_t>((row + reader * 700) % numbers.size());
            ASSERT_EQ(seen[reader][row], textOrNull(column->getFormattedValueAtIndex(shifted, false))) << shifted;
        }
    }
}

TEST(Column, ChangingTheDataOrTheFormatDropsCachedTexts) {
    const auto column = numericColumn({1.25, 2});
    const auto before = column->getFormattedValueAtIndex(0);
    column->setNumberAtIndex(3.5, 0);
    EXPECT_EQ(*column->getFormattedValueAtIndex(0), *column->getFormattedValueAtIndex(0, false));
    EXPECT_NE(*column->getFormattedValueAtIndex(0), *before);
    column->setFormatName(text("BEST1."));
    EXPECT_EQ(*column->getFormattedValueAtIndex(0),
              StringUtilities::trim(*FormatterFactory::instance()->getFormatterForFormatName("BEST1.")->format(3.5)));
}

TEST(Column, TheSummaryCountsOrdinaryNumbersOnly) {
    const auto column = numericColumn({4, -2, NaN, 0.5, DataTokens::SPARSE_NUMERIC, DataTokens::SUPPRESSED_NUMERIC,
                                       DataTokens::ALL_OTHERS_NUMERIC, -7});
    EXPECT_FALSE(column->isMetaDataCurrent());
    EXPECT_EQ(column->getMinimumNumber(), -7);
    EXPECT_TRUE(column->isMetaDataCurrent());
    EXPECT_EQ(column->getMaximumNumber(), 4);
    EXPECT_EQ(column->getMinimumPositive(), 0.5);
    EXPECT_EQ(column->getMinimumNegative(), -2);
    EXPECT_EQ(column->getTotal(), -4.5);
    EXPECT_TRUE(column->containsMissing());
    EXPECT_TRUE(column->containsAllOther());
    EXPECT_FALSE(column->containsMatchesAll());
    EXPECT_EQ(column->getMaximumString(), nullptr);

    column->setNumberAtIndex(DataTokens::MATCHES_ALL_NUMERIC, 0);
    EXPECT_FALSE(column->isMetaDataCurrent());
    EXPECT_TRUE(column->containsMatchesAll());
    EXPECT_EQ(column->getMaximumNumber(), 0.5);

    column->setTotal(100);
    EXPECT_EQ(column->getTotal(), 100);
    EXPECT_EQ(column->clone()->getTotal(), 100);
    EXPECT_EQ(Column::create(column, 2)->getTotal(), -2) << "a total given for all rows does not hold for two";
    EXPECT_EQ(*column->getFormattedTotal(), *DataValue::formatNumericValue(100, column->getFormatName()));
    column->setNumberAtIndex(1, 1);
    EXPECT_EQ(column->getTotal(), -5.5) << "a given total stands until the data changes";

    const auto empty = numericColumn({NaN});
    EXPECT_TRUE(std::isnan(empty->getMinimumNumber()));
    EXPECT_TRUE(std::isnan(empty->getMinimumPositive()));
    EXPECT_EQ(empty->getTotal(), 0);
}

TEST(Column, TheLongestTextIsCountedInCodePointsAmongOrdinaryTexts) {
    const auto column =
        stringColumn({0, 1, 2, 3, -99, -1, 1}, table({"abc", "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9", "  ", "abcde"}));
    EXPECT_EQ(textOrNull(column->getMaximumString()), "abcde");
    EXPECT_TRUE(column->containsMissing());
    EXPECT_TRUE(column->containsAllOther());
    EXPECT_FALSE(column->containsMatchesAll());
}

TEST(Column, MissingAllOthersAndMatchesAllAreTestedPerRow) {
    const auto cities = stringColumn({0, -1, -99, -100, 1}, table({"Rome", " "}));
    EXPECT_EQ(*cities->getMissingValueIndices(), (RowIndexSet{1, 4}));
    EXPECT_TRUE(cities->valueIsAllOther(2));
    EXPECT_TRUE(cities->valueIsMatchesAll(3));
    EXPECT_FALSE(cities->valueIsMatchesAll(0));
    const auto amounts = numericColumn({NaN, DataTokens::ALL_OTHERS_NUMERIC, DataTokens::MATCHES_ALL_NUMERIC});
    EXPECT_EQ(*amounts->getMissingValueIndices(), (RowIndexSet{0}));
    EXPECT_TRUE(amounts->valueIsAllOther(1));
    EXPECT_TRUE(amounts->valueIsMatchesAll(2));
}

TEST(Column, UniqueFormattedValuesComeInValueOrder) {
    const auto cities = stringColumn({2, 0, -99, 2, -1, 1, 0}, table({"Amsterdam", "Bern", "Cairo"}));
    EXPECT_EQ(*cities->getUniqueFormattedValueIndices(), (std::vector<std::int32_t>{4, 1, 5, 0, 2}));
    const auto texts = cities->getUniqueFormattedValues();
    ASSERT_EQ(texts->size(), 5U);
    EXPECT_EQ(*(*texts)[1], "Amsterdam");
    EXPECT_EQ(*(*texts)[4], "All Other");

    const auto amounts = numericColumn({3, NaN, -1, 3, DataTokens::ALL_OTHERS_NUMERIC, DataTokens::SUPPRESSED_NUMERIC});
    EXPECT_EQ(*amounts->getUniqueFormattedValueIndices(), (std::vector<std::int32_t>{1, 5, 2, 0, 4}));
}

TEST(Column, ExplicitTextsWinAndAnEditedRowLosesItsIndex) {
    const auto cities = stringColumn({0, 1}, table({"Lima", "Quito"}));
    cities->setStringAtIndex(text("Bogota"), 1);
    EXPECT_EQ(*cities->getStringAtIndex(1), "Bogota");
    EXPECT_EQ(*cities->getStringAtIndex(0), "Lima");
    EXPECT_EQ(cities->getStringIndexAtIndex(1), DataTokens::UNRESOLVABLE_DATA_VALUE);
    EXPECT_EQ(cities->getStringIndexAtIndex(0), 0);
    cities->setStringIndexAtIndex(1, 1);
    EXPECT_EQ(*cities->getStringAtIndex(1), "Quito") << "the text follows the index through the known table";

    EXPECT_TRUE(cities->setDataValueAtIndex(*DataTokens::makeDataValue(DataType::STRING, -99), 0));
    EXPECT_TRUE(cities->valueIsAllOther(0));
    EXPECT_FALSE(cities->setDataValueAtIndex(DataValue(1.0), 0));
    EXPECT_EQ(cities->findMatchingValue(DataValue(text("Quito"), -1000)), 1);
    EXPECT_EQ(cities->findMatchingValue(DataValue(text("Lima"), 0)), -1);
}

TEST(Column, ChangesAreAnnouncedUnlessTheCallerSaysNot) {
    const auto column = numericColumn({1, 2, 3});
    int heard = 0;
    column->addListener(Column::VALUES_CHANGED, [&](const auto&) { ++heard; });
    column->setNumberAtIndex(5, 0);
    column->setNumberAtIndex(6, 0, false);
    column->truncate(2);
    EXPECT_EQ(heard, 2);
    EXPECT_EQ(column->getNumberOfRows(), 2);
    column->setNumberOfRows(4);
    EXPECT_EQ(column->getNumberOfRows(), 4);
    EXPECT_TRUE(std::isnan(column->getNumberAtIndex(3)));
    column->truncate(-3);
    EXPECT_EQ(column->getNumberOfRows(), 0);
}

TEST(Column, CopiesKeepTheClassAndTheSelectedRows) {
    auto aggregated = PartiallyAggregatedColumn::create(text("sales"), DataType::NUMERIC, nullptr, text("BEST12."));
    aggregated->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{1, 2, 3, 4}));
    aggregated->setColumnForAggregation(numericColumn({10, 20, 30, 40}), StatisticType::MEDIAN);
    aggregated->setColumnForAggregation(numericColumn({5, 6, 7, 8}), StatisticType::MEAN);

    const auto subset = aggregated->createSubset({1, 3, 9});
    ASSERT_EQ(subset->getWrapperTypeId(), WrapperTypeIds::PARTIALLY_AGGREGATED_COLUMN);
    EXPECT_EQ(*subset->getNumbers(), (Column::NumberVector{2, 4}));
    const auto median =
        std::static_pointer_cast<PartiallyAggregatedColumn>(subset)->getColumnForAggregation(StatisticType::MEDIAN);
    EXPECT_EQ(*median->getNumbers(), (Column::NumberVector{20, 40}));

    const auto firstTwo = Column::create(aggregated, 2);
    EXPECT_EQ(firstTwo->getNumberOfRows(), 2);
    firstTwo->setNumberAtIndex(99, 0);
    EXPECT_EQ(aggregated->getNumberAtIndex(0), 1) << "the copy owns its rows";

    const auto subColumns = aggregated->getSubColumns();
    ASSERT_EQ(subColumns->size(), 2U);
    EXPECT_EQ((*subColumns)[0]->getNumberAtIndex(0), 5) << "MEAN (2) comes before MEDIAN (7)";

    const auto plain = numericColumn({1});
    const auto expanded = PartiallyAggregatedColumn::getOrderedExpandedColumns(
        std::make_shared<const PartiallyAggregatedColumn::ColumnList>(
            PartiallyAggregatedColumn::ColumnList{plain, aggregated, nullptr}));
    ASSERT_EQ(expanded->size(), 4U);
    EXPECT_EQ((*expanded)[0], plain);
    EXPECT_EQ((*expanded)[1], (*subColumns)[0]);
    EXPECT_EQ((*expanded)[2], (*subColumns)[1]);
    EXPECT_EQ((*expanded)[3], nullptr);

    aggregated->truncate(1);
    EXPECT_EQ((*subColumns)[1]->getNumberOfRows(), 1);
}

TEST(Column, DateFormatsMakeTheColumnATimeColumn) {
    const auto dates = Column::create(text("day"), DataType::NUMERIC, nullptr, text("DATE9."));
    EXPECT_TRUE(dates->isDateTime());
    EXPECT_FALSE(numericColumn({}, "BEST12.")->isDateTime());
    EXPECT_FALSE(Column::create(text("x"), DataType::NUMERIC)->isDateTime());
    EXPECT_TRUE(dates->isContinuous());
    dates->setDataUsage(DataUsage::CATEGORICAL);
    EXPECT_TRUE(dates->isCategorical()) << "a numeric column used as categories is not continuous";
    EXPECT_TRUE(Column::create(text("s"), DataType::STRING)->isCategorical());
}

}  // namespace pellium
