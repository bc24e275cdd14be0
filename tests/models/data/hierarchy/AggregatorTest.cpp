#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <vector>

#include "HierarchyTestData.h"

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Aggregator.h"
#include "pellium/models/data/hierarchy/StatisticType.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium::test {

namespace {

struct Fed {
    const char* name;
    std::vector<double> numbers;
    StatisticType::type statistic;
    double expected;
};

TEST(AggregatorTest, AnswersEachStatisticByItsRule) {
    const double suppressed = DataTokens::SUPPRESSED_NUMERIC;
    const double sparse = DataTokens::SPARSE_NUMERIC;
    const double matchesAll = DataTokens::MATCHES_ALL_NUMERIC;
    const std::vector<Fed> cases{
        {"fresh sum", {}, StatisticType::SUM, NaN},
        {"fresh frequency", {}, StatisticType::FREQUENCY, 0},
        {"fresh mean", {}, StatisticType::MEAN, NaN},
        {"fresh min", {}, StatisticType::MIN, NaN},
        {"fresh frequency with missing", {}, StatisticType::FREQUENCY_WITH_MISSING, 0},
        {"missing numbers count one missing each", {NaN, NaN}, StatisticType::FREQUENCY_WITH_MISSING, 2},
        {"missing numbers are no values", {NaN, NaN}, StatisticType::FREQUENCY, 0},
        {"suppressed and sparse are ignored", {1, suppressed, sparse, 2}, StatisticType::FREQUENCY_WITH_MISSING, 2},
        {"matches-all is a number", {matchesAll}, StatisticType::FREQUENCY, 1},
        {"first may be missing", {NaN, 5}, StatisticType::FIRST, NaN},
        {"first skips the ignored", {sparse, 7, 5}, StatisticType::FIRST, 7},
        {"mean", {1, 2, NaN, 6}, StatisticType::MEAN, 3},
        {"percent without total", {1, 2}, StatisticType::PERCENT, NaN},
        {"min", {4, -2, 9}, StatisticType::MIN, -2},
        {"max", {4, -2, 9}, StatisticType::MAX, 9},
        {"median answers the sum", {1, 2, 10}, StatisticType::MEDIAN, 13},
        {"variance answers the sum", {1, 2, 10}, StatisticType::VARIANCE, 13},
        {"count distinct without tracking", {1, 2}, StatisticType::COUNT_DISTINCT, 0},
    };
    for (const auto& fed : cases) {
        SCOPED_TRACE(fed.name);
        auto aggregator = Aggregator::create(false);
        for (const double number : fed.numbers) {
            aggregator->aggregate(number, 1, 0);
        }
        EXPECT_PRED2(sameNumber, aggregator->getNumericValue(fed.statistic), fed.expected);
    }
}

TEST(AggregatorTest, CountsDistinctNumbersTheMissingNumberAndTexts) {
    auto aggregator = Aggregator::create(true);
    aggregator->aggregate(3, 1, 0);
    aggregator->aggregate(3, 1, 0);
    aggregator->aggregate(NaN, 1, 0);
    aggregator->aggregate(text("a"), 0, 1, 0);
    aggregator->aggregate(text("a"), 0, 1, 0);
    aggregator->aggregate(text("b"), DataTokens::TOKEN_SPARSE, 1, 0);  // sparse: nothing
    aggregator->aggregate(text(""), 4, 1, 0);                          // no text: nothing
    EXPECT_EQ(aggregator->getNumericValue(StatisticType::COUNT_DISTINCT), 3);
    EXPECT_EQ(aggregator->getCount(), 4);
    EXPECT_TRUE(std::isnan(aggregator->getNumericValue(StatisticType::FIRST)) == false);
    EXPECT_EQ(aggregator->getNumericValue(StatisticType::SUM), 6);  // texts never add to the sum
}

TEST(AggregatorTest, AMergeDoesNotCarryTheMissingNumberOver) {
    auto left = Aggregator::create(true);
    left->aggregate(NaN, 1, 0);
    left->aggregate(1, 1, 0);
    auto merged = Aggregator::create(true);
    merged->aggregate(left);
    EXPECT_EQ(left->getNumericValue(StatisticType::COUNT_DISTINCT), 2);
    EXPECT_EQ(merged->getNumericValue(StatisticType::COUNT_DISTINCT), 1);
}

TEST(AggregatorTest, WeightsCountAndMissingCount) {
    auto aggregator = Aggregator::create(false);
    aggregator->aggregate(2, 3, 1);
    aggregator->aggregate(NaN, 3, 2);
    aggregator->aggregate(NaN, 3, 0);
    EXPECT_EQ(aggregator->getNumericValue(StatisticType::FREQUENCY), 3);
    EXPECT_EQ(aggregator->getNumericValue(StatisticType::FREQUENCY_WITH_MISSING), 3 + 1 + 2 + 1);
    EXPECT_EQ(aggregator->getNumericValue(StatisticType::MEAN), 2.0 / 3.0);
}

// Splitting a sequence anywhere and merging the halves answers what feeding it whole answers.
TEST(AggregatorTest, MergingSplitSequencesEqualsFeedingThemWhole) {
    std::mt19937 random(3);
    const std::vector<double> pool{NaN, DataTokens::SPARSE_NUMERIC, DataTokens::SUPPRESSED_NUMERIC, -1.5, 0, 2.25, 7, 7,
                                   100};
    for (int trial = 0; trial < 500; ++trial) {
        std::vector<double> numbers;
        const auto length = std::uniform_int_distribution<int>(0, 12)(random);
        for (int index = 0; index < length; ++index) {
            numbers.push_back(pool[std::uniform_int_distribution<std::size_t>(0, pool.size() - 1)(random)]);
        }
        const auto split = std::uniform_int_distribution<int>(0, length)(random);
        auto whole = Aggregator::create(true);
        auto first = Aggregator::create(true);
        auto second = Aggregator::create(true);
        for (int index = 0; index < length; ++index) {
            whole->aggregate(numbers[static_cast<std::size_t>(index)], 1, 0);
            (index < split ? first : second)->aggregate(numbers[static_cast<std::size_t>(index)], 1, 0);
        }
        auto merged = Aggregator::create(true);
        merged->aggregate(first);
        merged->aggregate(second);
        for (const auto statistic :
             {StatisticType::SUM, StatisticType::FREQUENCY, StatisticType::MEAN, StatisticType::MIN, StatisticType::MAX,
              StatisticType::FIRST, StatisticType::FREQUENCY_WITH_MISSING}) {
            EXPECT_PRED2(sameNumber, merged->getNumericValue(statistic), whole->getNumericValue(statistic))
                << StatisticType::getStringFromValue(statistic) << " trial " << trial;
        }
        // The merge forgets the missing number, so only the distinct numbers must agree.
        EXPECT_EQ(merged->getNumericValue(StatisticType::COUNT_DISTINCT),
                  whole->getNumericValue(StatisticType::COUNT_DISTINCT) - (whole->hasSeenMissingNumber() ? 1 : 0));
    }
}

std::string streamOf(const std::shared_ptr<const Aggregator>& aggregator) {
    std::stringstream stream;
    SerialWriter writer(stream);
    EXPECT_TRUE(Aggregator::serialize(writer, aggregator));
    return stream.str();
}

// Distinct numbers handed over as bits must behave exactly as the same numbers handed over as a
// list: in merges of bits with bits (over the same or other numbers), with lists and with numbers
// fed directly, in copies and in the stream.
TEST(AggregatorTest, DistinctNumbersGivenAsBitsActAsTheSameNumbersGivenAsAList) {
    std::mt19937 random(5);
    const auto sortedPool = std::make_shared<std::vector<double>>();
    for (int index = 0; index < 150; ++index) {
        sortedPool->push_back(-20.5 + index * 0.75);
    }
    const auto otherPool = std::make_shared<std::vector<double>>(sortedPool->begin() + 40, sortedPool->end());
    const auto draw = [&](int limit) { return std::uniform_int_distribution<int>(0, limit)(random); };
    for (int trial = 0; trial < 300; ++trial) {
        auto asBits = Aggregator::create(true);
        auto asLists = Aggregator::create(true);
        for (int part = 0; part < 1 + draw(5); ++part) {
            auto bitsPart = Aggregator::create(true);
            auto listPart = Aggregator::create(true);
            const auto& pool = draw(3) == 0 ? otherPool : sortedPool;
            std::vector<std::uint64_t> bits((pool->size() + 63) / 64, 0);
            std::vector<double> numbers;
            for (int pick = 0; pick < draw(12); ++pick) {
                const auto index = static_cast<std::size_t>(draw(static_cast<int>(pool->size()) - 1));
                bits[index / 64] |= std::uint64_t{1} << (index % 64);
                numbers.push_back((*pool)[index]);
            }
            bitsPart->addDistinctNumberBits(pool, bits);
            listPart->addDistinctNumbers(numbers);
            if (draw(4) == 0) {  // a number fed directly after the bits
                bitsPart->aggregate((*sortedPool)[7], 1, 0);
                listPart->aggregate((*sortedPool)[7], 1, 0);
            }
            asBits->aggregate(draw(3) == 0 ? Aggregator::create(*bitsPart) : bitsPart);
            asLists->aggregate(listPart);
        }
        ASSERT_EQ(asBits->getNumberOfUniqueValues(), asLists->getNumberOfUniqueValues()) << "trial " << trial;
        ASSERT_EQ(streamOf(asBits), streamOf(asLists)) << "trial " << trial;
        ASSERT_EQ(streamOf(Aggregator::create(*asBits)), streamOf(asLists)) << "trial " << trial;
    }
}

TEST(AggregatorTest, BitsAreIgnoredWithoutDistinctValuesAndBeyondTheirNumbers) {
    const auto numbers = std::make_shared<std::vector<double>>(std::vector<double>{1, 2, 3});
    auto untracked = Aggregator::create(false);
    untracked->addDistinctNumberBits(numbers, {0b111});
    EXPECT_EQ(untracked->getNumberOfUniqueValues(), 0U);
    auto tracked = Aggregator::create(true);
    tracked->addDistinctNumberBits(numbers, {0b1101});  // bit 3 has no number
    EXPECT_EQ(tracked->getNumberOfUniqueValues(), 2U);
    tracked->addDistinctNumber(5);
    EXPECT_EQ(tracked->getNumberOfUniqueValues(), 3U);
}

TEST(AggregatorTest, VectorMergeExtendsAShorterTargetAndCopiesEmptily) {
    auto source = std::make_shared<Aggregator::AggregatorList>();
    source->push_back(Aggregator::create(false));
    source->push_back(nullptr);
    source->push_back(Aggregator::create(true));
    (*source)[0]->aggregate(4, 1, 0);
    (*source)[2]->aggregate(5, 1, 0);
    auto target = std::make_shared<Aggregator::AggregatorList>();
    Aggregator::aggregate(target, source);
    ASSERT_EQ(target->size(), 2U);  // one per non-null element
    EXPECT_EQ((*target)[0]->getSum(), 4);
    EXPECT_TRUE((*target)[1]->tracksDistinctValues());

    const auto copy = Aggregator::createEmptyCopy(source);
    ASSERT_EQ(copy->size(), 2U);
    EXPECT_TRUE(std::isnan((*copy)[0]->getSum()));
    EXPECT_TRUE((*copy)[1]->tracksDistinctValues());
    EXPECT_EQ(Aggregator::createEmptyCopy(nullptr), nullptr);
}

TEST(AggregatorTest, StatisticNamesAreFoundWithoutRegardToCase) {
    EXPECT_EQ(StatisticType::getValueFromString("Average", StatisticType::NONE), StatisticType::MEAN);
    EXPECT_EQ(StatisticType::getValueFromString("median ", StatisticType::SKEW), StatisticType::SKEW);
    EXPECT_EQ(StatisticType::getValueFromString("TOTALCOUNT", StatisticType::NONE),
              StatisticType::FREQUENCY_WITH_MISSING);
    EXPECT_EQ(StatisticType::getValueFromString("StandardErrorStatistic", StatisticType::NONE),
              StatisticType::STANDARD_ERROR);
    // Every name and XML name reads back as its value.
    for (int value = 0; value < StatisticType::NUMBER_OF_VALUES; ++value) {
        const auto statistic = static_cast<StatisticType::type>(value);
        EXPECT_EQ(StatisticType::getValueFromString(StatisticType::getStringFromValue(statistic), StatisticType::NONE),
                  statistic);
        EXPECT_EQ(
            StatisticType::getValueFromString(StatisticType::getXmlRepresentation(statistic), StatisticType::NONE),
            statistic);
    }
}

TEST(AggregatorTest, TravelsThroughTheStreamWithItsDistinctValues) {
    auto aggregator = Aggregator::create(true);
    for (const double number : {2.0, NaN, 2.0, -1.0}) {
        aggregator->aggregate(number, 2, 1);
    }
    aggregator->aggregate(text("x"), 3, 1, 0);
    const std::string bytes = streamOf(aggregator);
    MemoryInputStream input(bytes);
    SerialReader reader(input);
    std::shared_ptr<Aggregator> read;
    ASSERT_TRUE(Aggregator::unserialize(reader, read));
    ASSERT_NE(read, nullptr);
    for (int value = 0; value < StatisticType::NUMBER_OF_VALUES; ++value) {
        const auto statistic = static_cast<StatisticType::type>(value);
        EXPECT_PRED2(sameNumber, read->getNumericValue(statistic, 10), aggregator->getNumericValue(statistic, 10));
    }
    // Every truncation fails cleanly.
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        MemoryInputStream cut(std::string_view(bytes).substr(0, length));
        SerialReader cutReader(cut);
        std::shared_ptr<Aggregator> partial;
        EXPECT_FALSE(Aggregator::unserialize(cutReader, partial)) << length;
    }
}

}  // namespace

}  // namespace pellium::test
