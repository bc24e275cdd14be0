#include <gtest/gtest.h>
#include <string>

#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/dataset/DataUsage.h"
#include "pellium/models/data/hierarchy/StatisticType.h"

namespace pellium {

TEST(Enumerations, NamesConvertBothWays) {
    for (int value = 0; value < DataType::NUMBER_OF_VALUES; ++value) {
        const auto type = static_cast<DataType::type>(value);
        EXPECT_EQ(DataType::getValueFromString(DataType::getStringFromValue(type)), type);
    }
    for (int value = 0; value < DataUsage::NUMBER_OF_VALUES; ++value) {
        const auto usage = static_cast<DataUsage::type>(value);
        EXPECT_EQ(DataUsage::getValueFromString(DataUsage::getStringFromValue(usage)), usage);
    }
    EXPECT_EQ(DataType::getValueFromString("string"), DataType::STRING);
    EXPECT_FALSE(DataType::getValueFromString("TEXT").has_value());
    EXPECT_TRUE(DataType::getStringFromValue(static_cast<DataType::type>(7)).empty());
    EXPECT_FALSE(DataType::isValid(-1));
}

TEST(Enumerations, StatisticNamesMatchWithoutCaseAndHaveTheirExtraSpellings) {
    EXPECT_EQ(StatisticType::getValueFromString("STANDARDERRORSTATISTIC", StatisticType::SUM),
              StatisticType::STANDARD_ERROR);
    EXPECT_EQ(StatisticType::getValueFromString("Count", StatisticType::SUM), StatisticType::FREQUENCY);
    EXPECT_EQ(StatisticType::getValueFromString("TOTALCOUNTPERCENT", StatisticType::SUM), StatisticType::PERCENT);
    EXPECT_EQ(StatisticType::getValueFromString("median", StatisticType::SUM), StatisticType::MEDIAN);
    EXPECT_EQ(StatisticType::getValueFromString("medians", StatisticType::MAX), StatisticType::MAX);
    EXPECT_EQ(StatisticType::getValueFromString("", StatisticType::MIN), StatisticType::MIN);
    EXPECT_TRUE(StatisticType::isValueValid("countdistinct"));
    EXPECT_FALSE(StatisticType::isValueValid("count distinct"));
    EXPECT_EQ(StatisticType::getXmlRepresentation(StatisticType::FREQUENCY_WITH_MISSING), "totalCount");
    EXPECT_TRUE(StatisticType::getStringFromValue(static_cast<StatisticType::type>(25)).empty());
}

}  // namespace pellium
