#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"

namespace pellium {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

std::string textOrNull(const SharedString& text) {
    return text ? *text : std::string("<null>");
}

std::string csvNumber(double number) {
    std::ostringstream stream;
    DataTokens::writeCSVNumber(stream, number);
    return stream.str();
}

}  // namespace

TEST(DataTokens, EachCodeHasItsTextsAndItsValueOfEachType) {
    struct Case {
        DataType::type type;
        std::int32_t code;
        std::string stringValue;  // the text of a string value, the code's internal text
        double number;            // the number of a numeric value
        std::string formatted;
    };
    const std::vector<Case> cases{
        {DataType::STRING, -100, "MATCHES_ALL", NaN, "MATCHES_ALL"},
        {DataType::STRING, -99, "~O", NaN, "All Other"},
        {DataType::STRING, -98, "~S", NaN, "(suppressed)"},
        {DataType::STRING, -2, "~N", NaN, "~N"},
        {DataType::STRING, -1, " ", NaN, "(missing)"},
        {DataType::NUMERIC, -100, "", DataTokens::MATCHES_ALL_NUMERIC, "MATCHES_ALL"},
        {DataType::NUMERIC, -99, "", DataTokens::ALL_OTHERS_NUMERIC, "All Other"},
        {DataType::NUMERIC, -98, "", DataTokens::SUPPRESSED_NUMERIC, "*"},
        {DataType::NUMERIC, -2, "", DataTokens::SPARSE_NUMERIC, "<null>"},
        {DataType::NUMERIC, -1, "", NaN, "."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.type) + " " + std::to_string(c.code));
        const auto value = DataTokens::makeDataValue(c.type, c.code);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value->isString(), c.type == DataType::STRING);
        if (value->isString()) {
            EXPECT_EQ(*value->getStringValue(), c.stringValue);
            EXPECT_EQ(textOrNull(DataTokens::getStringConstant(c.code)), c.stringValue);
            EXPECT_EQ(value->getStringIndex(), c.code);
            // The localized text is the formatted text where the internal one is not.
            EXPECT_EQ(textOrNull(DataTokens::getLocalizedDisplayString(c.code)),
                      c.formatted == c.stringValue ? "<null>" : c.formatted);
        } else {
            EXPECT_TRUE(value->getNumericValue() == c.number ||
                        (std::isnan(c.number) && std::isnan(value->getNumericValue())));
        }
        EXPECT_EQ(textOrNull(value->getFormattedValue()), c.formatted);
    }
    EXPECT_EQ(DataTokens::makeDataValue(DataType::STRING, 0), nullptr);
    EXPECT_EQ(DataTokens::makeDataValue(DataType::NUMERIC, -1000), nullptr);
    EXPECT_EQ(DataTokens::makeDataValue(static_cast<DataType::type>(2), -1), nullptr);
    EXPECT_EQ(DataTokens::getStringConstant(-1000), nullptr);
    EXPECT_EQ(DataTokens::getStringConstant(0), nullptr);
    EXPECT_EQ(DataTokens::getStringConstant(-99), StringUtilities::internString(std::string_view("~O")));
    EXPECT_EQ(*DataTokens::getSparseInternalDisplayString(), "-");
    EXPECT_EQ(*DataTokens::getUnresolvableString(), "UNRESOLVED");
}

TEST(DataTokens, SortPlanesPutSpecialValuesInBands) {
    struct Case {
        double number;
        std::int32_t code;
        int plane;
    };
    for (const Case& c : {Case{DataTokens::ALL_OTHERS_NUMERIC, -99, -1}, Case{DataTokens::MATCHES_ALL_NUMERIC, -100, 0},
                          Case{DataTokens::SPARSE_NUMERIC, -2, 1}, Case{NaN, -1, 2},
                          Case{DataTokens::SUPPRESSED_NUMERIC, -98, 3}, Case{42.0, 7, 4}}) {
        EXPECT_EQ(DataTokens::getSortPlaneForValue(c.number), c.plane) << c.code;
        EXPECT_EQ(DataTokens::getSortPlaneForIndex(c.code), c.plane) << c.code;
        EXPECT_EQ(DataTokens::getSortPlaneForValue(*DataValue::create(c.number)), c.plane) << c.code;
    }
    // A value's plane: all-others and sparse by index, then missing by text.
    EXPECT_EQ(DataTokens::getSortPlaneForValue(*DataValue::create(nullptr, -99)), -1);
    EXPECT_EQ(DataTokens::getSortPlaneForValue(*DataValue::create(nullptr, -2)), 1);
    EXPECT_EQ(DataTokens::getSortPlaneForValue(*DataValue::create(nullptr, -98)), 2);
    EXPECT_EQ(DataTokens::getSortPlaneForValue(*DataTokens::makeDataValue(DataType::STRING, -98)), 3);
    EXPECT_EQ(DataTokens::getSortPlaneForValue(*DataTokens::makeDataValue(DataType::STRING, -100)), 0);
    EXPECT_EQ(DataTokens::getSortPlaneForValue(std::shared_ptr<const DataValue>()), 2);
}

TEST(DataTokens, CSVNumbersWriteSentinelsAsTokensAndMatchesAllAsNothing) {
    EXPECT_EQ(csvNumber(NaN), ".");
    EXPECT_EQ(csvNumber(DataTokens::ALL_OTHERS_NUMERIC), "~O");
    EXPECT_EQ(csvNumber(DataTokens::SUPPRESSED_NUMERIC), "~S");
    EXPECT_EQ(csvNumber(DataTokens::SPARSE_NUMERIC), "~N");
    EXPECT_EQ(csvNumber(DataTokens::MATCHES_ALL_NUMERIC), "");
    EXPECT_EQ(csvNumber(0.1), "0.1");
    EXPECT_EQ(csvNumber(-1e21), "-1e+21");
    EXPECT_EQ(csvNumber(123.45), "123.45");
    EXPECT_EQ(csvNumber(std::nextafter(DataTokens::SUPPRESSED_NUMERIC, 0.0)), "1.7976931348623153e+308");
}

}  // namespace pellium
