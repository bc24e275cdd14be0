#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/rules/expressions/FunctionExpression.h"
#include "pellium/rules/expressions/ValueMapExpressionContext.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

std::shared_ptr<ValueMapExpressionContext> sampleRow() {
    auto context = ValueMapExpressionContext::create();
    context->setNumber("Sales", 200);
    context->setNumber("Cost", 150);
    context->setNumber("Nothing", NaN);
    context->setNumber("Hidden", DataTokens::SUPPRESSED_NUMERIC);
    context->setNumber("Day", TimeUtilities::mdy(2, 29, 2024));
    context->setNumber("Moment", TimeUtilities::dhms(TimeUtilities::mdy(2, 29, 2024), 13, 45, 30.5));
    context->setText("Region", "East");
    context->setText("Name", "  Ann Lee  ");
    context->setText("Path", "a/b c/d");
    return context;
}

double evaluateNumber(std::string_view text, const ExpressionDataContext& context) {
    ExpressionParseError error;
    const auto expression = ExpressionUtil::createExpressionTree(text, error);
    EXPECT_NE(expression, nullptr) << text << ": " << error.describe();
    return expression ? expression->evaluateAsNumber(context) : NaN;
}

TEST(FunctionExpressionTest, NumberFunctionsAgreeWithTheCLibraryAndTheCalendar) {
    const auto context = sampleRow();
    const double day = TimeUtilities::mdy(2, 29, 2024);
    const struct {
        std::string_view text;
        double expected;
    } cases[] = {
        {"(Sales - Cost) / Sales * 100", 25},
        {"Plus(1, 2, 3)", 6},
        {"Times(2, 3, 4)", 24},
        {"-Sales", -200},
        {"Sales + Hidden", DataTokens::SUPPRESSED_NUMERIC},
        {"Power(2, 10)", 1024},
        {"Root(16)", 4},
        {"Root(-27, 3)", -3},
        {"Abs(-2.5)", 2.5},
        {"Trunc(-2.7)", -2},
        {"Mod(7, 3)", 1},
        {"Mod(-7, 3)", std::fmod(-7.0, 3.0)},
        {"Floor(-2.5)", -3},
        {"Ceil(-2.5)", -2},
        {"Round(2.5)", 3},
        {"Round(-2.5)", -3},
        {"Round(1234.5678, 0.01)", std::round(1234.5678 / 0.01) * 0.01},
        {"Exp(1)", std::exp(1.0)},
        {"Log(1000)", 3},
        {"Log(8, 2)", 3},
        {"MDY(2, 29, 2024)", day},
        {"TMDY(2, 29, 2024)", day * TimeUtilities::SECONDS_PER_DAY},
        {"YYQ(2024, 2)", TimeUtilities::mdy(4, 1, 2024)},
        {"HMS(1, 30, 15)", 5415},
        {"DHMS(Day, 13, 45, 30.5)", TimeUtilities::dhms(day, 13, 45, 30.5)},
        {"DatePart(Moment)", day},
        {"TimePart(Moment)", 13 * 3600 + 45 * 60 + 30.5},
        {"DayOfMonth(Day)", 29},
        {"Weekday(Day)", static_cast<double>(TimeUtilities::dow(day))},
        {"DayOfYear(Day)", 60},
        {"Month(Day)", 2},
        {"Year(Day)", 2024},
        {"Quarter(Day)", 1},
        {"Week(Day)", static_cast<double>(TimeUtilities::isoWeek(day))},
        {"Hour(Moment)", 13},
        {"Minute(Moment)", 45},
        {"Second(Moment)", 30.5},
        {"IfElse(Sales > Cost, 1, 2)", 1},
        {"Cast('12.5', NUMBER)", 12.5},
        {"Find('banana', 'an')", 2},
        {"Find('banana', 'an', 3)", 4},
        {"Find('banana', 'x')", 0},
        {"Find('Zürich', 'rich')", 3},
        {"FindChar('Zürich', 'ich')", 4},
        {"Length('Zürich')", 6},
        {"Length(Name)", 11},
    };
    for (const auto& entry : cases) {
        EXPECT_DOUBLE_EQ(evaluateNumber(entry.text, *context), entry.expected) << entry.text;
    }
    // Missing answers: no value, a date or power out of range, a text that is no number, and
    // aggregates, which need a data set.
    for (const std::string_view text : {"Sales / 0", "Sales + Nothing", "Power(-8, 0.5)", "Mod(7, 0)", "Exp(1000)",
                                        "Ln(0)", "MDY(2, 30, 2024)", "MDY(Nothing, 1, 2024)", "Year(1e300)",
                                        "Cast(Region, NUMBER)", "Aggregate(Sales, Sum)", "Percentile(Sales, 50)"}) {
        const double actual = evaluateNumber(text, *context);
        EXPECT_TRUE(std::isnan(actual)) << text << " gave " << actual;
    }
    const double now = evaluateNumber("Now()", *context);
    EXPECT_NEAR(now, TimeUtilities::now(), 60);
}

TEST(FunctionExpressionTest, TextFunctions) {
    const auto context = sampleRow();
    const struct {
        std::string_view text;
        const char* expected;  // null for a missing text
    } cases[] = {
        {"Trim(Name)", "Ann Lee"},
        {"Trim(Name, Leading)", "Ann Lee  "},
        {"Trim(Name, Trailing)", "  Ann Lee"},
        {"UpCase(Region)", "EAST"},
        {"LowCase(Region)", "east"},
        {"Concatenate(Region, '-', Sales, Nothing)", "East-200"},
        {"FindAndReplace('a-b-c', '-', '+')", "a+b+c"},
        {"GetWord(Path, 2)", "c/d"},
        {"GetWord(Path, 2, '/ ')", "b"},
        {"GetWord(Path, -1, '/')", "d"},
        {"GetWord(Path, 9)", ""},
        {"RemoveChars('a-b_c', '-_')", "abc"},
        {"RemoveBlanks(Name)", "AnnLee"},
        {"RemoveWord('one two three', 2)", "one three"},
        {"RemoveWord('one two three', 3)", "one two"},
        {"ReplaceAt('abcdef', 2, 3, 'X')", "aXef"},
        {"ReplaceWord('one two three', 2, 'TWO')", "one TWO three"},
        {"Reverse('Zürich')", "hcirüZ"},
        {"Substring('Zürich', 2, 3)", "üri"},
        {"Substring('Zürich', 4)", "ich"},
        {"Substring('abc', 0, 2)", "a"},
        {"UrlEncode('a b&ü')", "a%20b%26%C3%BC"},
        {"UrlDecode('a+b%26%C3%BC%zz')", "a b&ü%zz"},
        {"IfElseText(Sales > Cost, 'up', 'down')", "up"},
        {"Format(Sales, 'BEST12.')", "200"},
        {"Sales * 2", "400"},
        {"Sales + Nothing", nullptr},
        {"Substring('abc', Nothing)", nullptr},
    };
    for (const auto& entry : cases) {
        ExpressionParseError error;
        const auto expression = ExpressionUtil::createExpressionTree(entry.text, error);
        ASSERT_NE(expression, nullptr) << entry.text << ": " << error.describe();
        const SharedString actual = expression->evaluateAsString(*context);
        if (!entry.expected) {
            EXPECT_EQ(actual, nullptr) << entry.text;
        } else {
            ASSERT_NE(actual, nullptr) << entry.text;
            EXPECT_EQ(*actual, entry.expected) << entry.text;
        }
    }
}

TEST(FunctionExpressionTest, TextTests) {
    const auto context = sampleRow();
    context->setText("Blank", " ");
    const struct {
        std::string_view text;
        bool expected;
    } cases[] = {
        {"BeginsWith(Region, 'Ea')", true},  {"BeginsWith(Region, 'st')", false},
        {"EndsWith(Region, 'st')", true},    {"Contains(Path, 'b c')", true},
        {"NotContains(Path, 'b c')", false}, {"Contains(Blank, '')", false},
        {"NotContains(Blank, 'x')", true},   {"Contains(Region, '')", true},
        {"PathContains(Path, 'b')", false},  // needs a hierarchy
    };
    for (const auto& entry : cases) {
        ExpressionParseError error;
        const auto expression = ExpressionUtil::createExpressionTree(entry.text, error);
        ASSERT_NE(expression, nullptr) << entry.text << ": " << error.describe();
        EXPECT_EQ(expression->evaluateAsBoolean(*context), entry.expected) << entry.text;
    }
}

TEST(FunctionExpressionTest, TypesFollowTheFunctionAndItsKeyword) {
    const struct {
        std::string_view text;
        DataTypeExt::type type;
    } cases[] = {
        {"MDY(1, 1, 2024)", DataTypeExt::DATE},     {"HMS(1, 2, 3)", DataTypeExt::TIME},
        {"Now()", DataTypeExt::DATETIME},           {"Cast(x, DATE)", DataTypeExt::DATE},
        {"Cast(x, NUMBER)", DataTypeExt::NUMERIC},  {"UpCase(x)", DataTypeExt::CHARACTER},
        {"Contains(x, 'a')", DataTypeExt::BOOLEAN}, {"GroupBy(x)", DataTypeExt::TABLE},
    };
    for (const auto& entry : cases) {
        const auto expression = ExpressionUtil::createExpression(entry.text);
        ASSERT_NE(expression, nullptr) << entry.text;
        EXPECT_EQ(expression->getDataType(), entry.type) << entry.text;
    }
    EXPECT_TRUE(ExpressionUtil::createExpression("Plus(1, Abs(-2))")->isConstant());
    EXPECT_FALSE(ExpressionUtil::createExpression("Plus(1, x)")->isConstant());
    EXPECT_FALSE(ExpressionUtil::createExpression("Now()")->isConstant());
}

}  // namespace
}  // namespace pellium
