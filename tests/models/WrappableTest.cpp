#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

#include "pellium/models/Wrappable.h"

namespace pellium {
namespace {

struct Plain : Wrappable {
    int getWrapperTypeId() const override { return WrapperTypeIds::DATA_VALUE; }
};

TEST(Wrappable, TheBaseHasNoStreamFormAndLeavesTheStreamsAlone) {
    Plain object;
    std::ostringstream output;
    EXPECT_FALSE(object.serialize(output));
    EXPECT_TRUE(output.str().empty());
    std::istringstream input("bytes");
    EXPECT_FALSE(object.unserialize(input));
    EXPECT_EQ(input.tellg(), 0);
}

TEST(Wrappable, WrapperTypeNumbersAreDistinctAndKeepTheirFixedValues) {
    const std::vector<int> numbers = {
        WrapperTypeIds::EVENT_DISPATCHER,
        WrapperTypeIds::DATA_SET,
        WrapperTypeIds::COLUMN,
        WrapperTypeIds::PARTIALLY_AGGREGATED_COLUMN,
        WrapperTypeIds::ROW_STATES,
        WrapperTypeIds::SUMMARIZED_ROW_STATES,
        WrapperTypeIds::ROW_STATES_SYNCHRONIZER,
        WrapperTypeIds::DATA_VALUE,
        WrapperTypeIds::MUTABLE_DATA_SET,
        WrapperTypeIds::MUTABLE_COLUMN,
        WrapperTypeIds::FORMATTER,
        WrapperTypeIds::FORMATTER_FACTORY,
        WrapperTypeIds::TIME_ZONE,
    };
    auto sorted = numbers;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
    EXPECT_EQ(std::count(numbers.begin(), numbers.end(), WrapperTypeIds::UNKNOWN), 0);
    // Hosts store these three numbers.
    EXPECT_EQ(WrapperTypeIds::DATA_VALUE, 46);
    EXPECT_EQ(WrapperTypeIds::FORMATTER, 67);
    EXPECT_EQ(WrapperTypeIds::FORMATTER_FACTORY, 68);
}

}  // namespace
}  // namespace pellium
