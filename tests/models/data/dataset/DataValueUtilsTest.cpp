#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/DataValueUtils.h"

namespace pellium {

namespace {

using Value = std::shared_ptr<DataValue>;
using List = DataValueUtils::ValueList;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

Value number(double value) {
    return DataValue::create(value);
}
Value string(std::string_view value) {
    return DataValue::create(StringUtilities::internString(value), 0);
}

std::string printed(const Value& value) {
    std::ostringstream stream;
    DataValueUtils::printValueToStream(stream, value);
    return stream.str();
}

std::string textOrNull(const SharedString& text) {
    return text ? *text : std::string("<null>");
}

std::shared_ptr<const List> list(List values) {
    return std::make_shared<const List>(std::move(values));
}

}  // namespace

TEST(DataValueUtils, LiteralsQuoteTextsAndWriteNumbersExactly) {
    EXPECT_EQ(printed(number(12.5)), "12.5");
    EXPECT_EQ(printed(number(0.1 + 0.2)), "0.30000000000000004");
    EXPECT_EQ(printed(number(NaN)), ".");
    EXPECT_EQ(printed(string("O'Brien")), "'O''Brien'");
    EXPECT_EQ(printed(string("'")), "''''");
    EXPECT_EQ(printed(string(std::string_view("ab\0cd", 5))), "'ab'");
    EXPECT_EQ(printed(string("   ")), "' '");
    EXPECT_EQ(printed(string("")), "''");
    EXPECT_EQ(printed(DataValue::create(nullptr, 0)), "''");
    EXPECT_EQ(printed(nullptr), "");
}

TEST(DataValueUtils, ValuesThatSelectNothingHaveNoNumericLiteral) {
    EXPECT_TRUE(DataValueUtils::impliesNoSelection(nullptr));
    EXPECT_TRUE(DataValueUtils::impliesNoSelection(string("")));
    EXPECT_FALSE(DataValueUtils::impliesNoSelection(string(" ")));
    EXPECT_FALSE(DataValueUtils::impliesNoSelection(number(NaN)));
    EXPECT_EQ(textOrNull(DataValueUtils::getSerializationTextForValue(nullptr, DataType::STRING)), "''");
    EXPECT_EQ(DataValueUtils::getSerializationTextForValue(nullptr, DataType::NUMERIC), nullptr);
    EXPECT_EQ(textOrNull(DataValueUtils::getSerializationTextForValue(number(-3), DataType::NUMERIC)), "-3");
}

TEST(DataValueUtils, ListsAreBracketedAndSkipNullEntries) {
    EXPECT_EQ(
        textOrNull(DataValueUtils::getSerializationTextForValues(list({number(1), number(2.5)}), DataType::NUMERIC)),
        "[1,2.5]");
    EXPECT_EQ(textOrNull(DataValueUtils::getSerializationTextForValues(
                  list({nullptr, string("a"), nullptr, string("b'c")}), DataType::STRING)),
              "['a','b''c']");
    EXPECT_EQ(textOrNull(DataValueUtils::getSerializationTextForValues(list({string("x")}), DataType::STRING)), "'x'");
    EXPECT_EQ(textOrNull(DataValueUtils::getSerializationTextForValues(list({}), DataType::STRING)), "''");
    EXPECT_EQ(DataValueUtils::getSerializationTextForValues(nullptr, DataType::NUMERIC), nullptr);
}

TEST(DataValueUtils, ValuesReadFromTextCarryTheirFormattedText) {
    const auto text = StringUtilities::internString(std::string_view("Berlin"));
    const auto city =
        DataValueUtils::getValueForText(std::make_shared<const std::string>("Berlin"), DataType::STRING, nullptr);
    ASSERT_NE(city, nullptr);
    EXPECT_EQ(city->getStringValue(), text) << "the text is interned";
    EXPECT_EQ(city->getStringIndex(), DataTokens::UNRESOLVABLE_DATA_VALUE);
    EXPECT_EQ(*city->getFormattedValue(), "Berlin");

    const auto format = StringUtilities::internString(std::string_view("BEST8."));
    const auto amount =
        DataValueUtils::getValueForText(std::make_shared<const std::string>(" 1e3 "), DataType::NUMERIC, format);
    ASSERT_NE(amount, nullptr);
    EXPECT_EQ(amount->getNumericValue(), 1000);
    const auto formatter = FormatterFactory::instance()->getFormatterForFormatName(format);
    EXPECT_EQ(*amount->getFormattedValue(), StringUtilities::trim(*formatter->format(1000.0)));

    EXPECT_TRUE(std::isnan(
        DataValueUtils::getValueForText(std::make_shared<const std::string>("abc"), DataType::NUMERIC, nullptr)
            ->getNumericValue()));
    EXPECT_EQ(DataValueUtils::getValueForText(nullptr, DataType::STRING, nullptr), nullptr);
    EXPECT_EQ(DataValueUtils::getValueForText(text, static_cast<DataType::type>(5), nullptr), nullptr);
}

TEST(DataValueUtils, ValueSetsCompareAsSets) {
    EXPECT_TRUE(
        DataValueUtils::valueSetsAreEqual(list({number(1), number(2), number(1)}), list({number(2), number(1)})));
    EXPECT_TRUE(DataValueUtils::valueSetsAreEqual(list({number(NaN), number(0.0)}), list({number(-0.0), number(NaN)})));
    EXPECT_TRUE(DataValueUtils::valueSetsAreEqual(list({string("a"), string("b")}), list({string("b"), string("a")})));
    EXPECT_TRUE(DataValueUtils::valueSetsAreEqual(nullptr, list({})));
    EXPECT_FALSE(DataValueUtils::valueSetsAreEqual(list({number(1)}), list({string("1")})));
    EXPECT_FALSE(DataValueUtils::valueSetsAreEqual(list({number(1), number(2)}), list({number(1)})));
    EXPECT_FALSE(DataValueUtils::valueSetsAreEqual(list({DataValue::create(nullptr, 0)}), list({string("")})));
    EXPECT_FALSE(DataValueUtils::valueSetsAreEqual(list({nullptr}), list({})));
}

}  // namespace pellium
