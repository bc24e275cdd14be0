#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/dataset/DataValueUtils.h"
#include "pellium/rules/expressions/BetweenExpression.h"
#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/CompoundBooleanExpression.h"
#include "pellium/rules/expressions/CompoundConstantExpression.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/ConstantTextExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/ExpressionConditionVariable.h"
#include "pellium/rules/expressions/ExpressionTokens.h"
#include "pellium/rules/expressions/FunctionExpression.h"
#include "pellium/rules/expressions/InExpression.h"
#include "pellium/rules/expressions/IsMissingExpression.h"
#include "pellium/rules/expressions/KeywordExpression.h"
#include "pellium/rules/expressions/NegatedExpression.h"
#include "pellium/rules/expressions/SelectWhenExpression.h"
#include "pellium/rules/expressions/VariableListExpression.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {
namespace {

std::string reprint(std::string_view text) {
    ExpressionParseError error;
    const auto expression = ExpressionUtil::createExpressionTree(text, error);
    return expression ? expression->toString() : std::string("error: ").append(error.describe());
}

TEST(ExpressionUtilTest, ReadsTextAndWritesItsCanonicalForm) {
    // Texts already in canonical form print as they read.
    for (const std::string_view text : {"a - (b - c)", "a + b * c", "a OR b AND c", "a / (b * c)", "-x", "-5",
                                        "-(a + b) * 2", "a * -5", "NOT (a OR b)", "(a = b) = c", "{a}}b}", "{Sum}",
                                        "Sum", "Ünïcode_1", "'O''Brien'", "''", ".", "[]", "Now()"}) {
        EXPECT_EQ(reprint(text), text);
    }
    for (const std::string_view text :
         {"(Sales - Cost) / Sales * 100", "a * b + c * d - e / f", "x = a + b * c", "a OR b AND c OR d AND e",
          "{Unit Price} * 2", "{2024} + {Infinity}", "In(Region, ['East', 'West'])", "[Region, {Product Line}]",
          "$HighSales OR ${High Sales}", "True AND False", "(a AND b) AND c", "a AND b AND c OR d", "a AND (b OR c)",
          "Plus(1, 2, 3)", "Cast(x, NUMBER)"}) {
        EXPECT_EQ(reprint(text), text);
    }
    const struct {
        std::string_view text;
        std::string_view printed;
    } cases[] = {
        {"a-b-c", "a - b - c"},
        {"- 5", "-(5)"},
        {"upper(Region)", "UpCase(Region)"},
        {"F_UPPER(Region)", "UpCase(Region)"},
        {"upCASE( Region )", "UpCase(Region)"},
        {"Region = 'East' and Sales >= 500", "Region = 'East' AND Sales ≥ 500"},
        {"not a = 1 or b <> 2", "NOT a = 1 OR b ≠ 2"},
        {"a != 1", "a ≠ 1"},
        {"a <= 1", "a ≤ 1"},
        {"{Sales}", "Sales"},
        {"KW_COUNT_DISTINCT", "Distinct"},
        {"In(x, 1, 2)", "In(x, [1, 2])"},
        {"notIn(x, [.])", "NotIn(x, [.])"},
        {"between(x, 1, 2)", "BetweenInclusive(x, 1, 2)"},
        {"outsideExcludingBounds(x, 1, 2)", "NotBetweenExclusive(x, 1, 2)"},
        {"isMissing(x)", "Missing(x)"},
        {"Select(When(x > 1, 'a'), when(x > 0, 'b'), Otherwise('c'))",
         "Select(When(x > 1, 'a'), When(x > 0, 'b'), Otherwise('c'))"},
        {"eq(a, 'x', LeadingAndTrailing)", "Equal(a, 'x', LeadingAndTrailing)"},
        {"Equal(a, 'x')", "a = 'x'"},
        {"[.5, -1e300, Infinity, -Infinity]", "[0.5, -1e+300, Infinity, -Infinity]"},
        {"AND()", "F_AND()"},
        {"or(a)", "F_OR(a)"},
        {"and(a, b)", "a AND b"},
        {"  \n x \t", "x"},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(reprint(entry.text), entry.printed) << entry.text;
    }
}

TEST(ExpressionUtilTest, ReportsWhereAndWhyTextIsNoExpression) {
    const struct {
        std::string_view text;
        std::size_t offset;
        std::string_view message;
    } cases[] = {
        {"", 0, "an expression is expected"},
        {"   ", 3, "an expression is expected"},
        {"(a + b", 6, "a closing parenthesis ) is expected"},
        {"f(a b)", 4, "a closing parenthesis ) is expected"},
        {"'abc", 4, "the text has no closing quote '"},
        {"{abc", 4, "the name has no closing brace }"},
        {"[1, 2", 5, "a closing bracket ] is expected"},
        {"a +", 3, "an operand is expected after the operator"},
        {"a * ", 4, "an operand is expected after the operator"},
        {"a =", 3, "an operand is expected after the comparison"},
        {"a AND", 5, "an operand is expected after AND"},
        {"a OR )", 5, "an operand is expected after OR"},
        {"a b", 2, "unexpected text after the expression"},
        {"1x", 1, "unexpected text after the expression"},
        {"Foo(1)", 0, "unknown function Foo"},
        {"x + Substring('a')", 4, "Substring takes 2 to 3 operands"},
        {"Now(1)", 0, "Now takes 0 operands"},
        {"Trim()", 0, "Trim takes 1 to 2 operands"},
        {"[1, a]", 0, "a list holds either numbers and texts or data items"},
        {"Select(Otherwise(1))", 0, "Select takes at least one When(condition, value)"},
        {"Select(When(a, 1), 2)", 19, "Select takes When(condition, value) operands and an Otherwise(value) last"},
        {"Equal(a, b, Sum)", 0, "the third operand of a comparison can only be LeadingAndTrailing"},
    };
    for (const auto& entry : cases) {
        ExpressionParseError error;
        EXPECT_EQ(ExpressionUtil::createExpressionTree(entry.text, error), nullptr) << entry.text;
        EXPECT_EQ(error.offset, entry.offset) << entry.text;
        EXPECT_EQ(error.message, entry.message) << entry.text;
    }
    ExpressionParseError error;
    ExpressionUtil::createExpressionTree("a +\n  * b", error);
    EXPECT_EQ(error.describe(), "line 2, column 3: an operand is expected after the operator");
}

TEST(ExpressionUtilTest, LimitsNestingAndReportsIt) {
    const auto repeated = [](std::string_view part, std::size_t count) {
        std::string text;
        for (std::size_t index = 0; index < count; ++index) {
            text += part;
        }
        return text;
    };
    const std::size_t deep = ExpressionUtil::MAXIMUM_NESTING_DEPTH + 10;
    const std::string tooDeep[] = {
        repeated("(", deep) + "1" + repeated(")", deep),
        repeated("- ", deep) + "1",
        repeated("NOT ", deep) + "a",
        repeated("Abs(", deep) + "1" + repeated(")", deep),
        repeated("[", deep),
        std::string("1").append(repeated(" + 1", ExpressionUtil::MAXIMUM_TREE_DEPTH + 1)),
    };
    for (const auto& text : tooDeep) {
        ExpressionParseError error;
        EXPECT_EQ(ExpressionUtil::createExpressionTree(text, error), nullptr);
        EXPECT_EQ(error.message, "the expression is nested too deeply") << text.substr(0, 20);
    }
    const std::size_t allowed = ExpressionUtil::MAXIMUM_NESTING_DEPTH - 2;
    EXPECT_NE(ExpressionUtil::createExpression(repeated("(", allowed) + "1" + repeated(")", allowed)), nullptr);
    const auto sum = ExpressionUtil::createExpression(std::string("1").append(repeated(" + 1", 500)));
    ASSERT_NE(sum, nullptr);
}

TEST(ExpressionUtilTest, EveryFunctionAndKeywordWordReadsBackAsItself) {
    for (int value = 1; value <= FunctionExpressionType::NUMBER_OF_FUNCTIONS; ++value) {
        const auto function = static_cast<FunctionExpressionType::type>(value);
        EXPECT_EQ(ExpressionTokens::findFunction(ExpressionTokens::getWord(function)), function);
        EXPECT_EQ(ExpressionTokens::findFunction(FunctionExpressionType::getName(function)), function);
        EXPECT_EQ(ExpressionTokens::findFunction(FunctionExpressionType::getUpperCaseName(function)), function);
        EXPECT_FALSE(ExpressionTokens::findKeyword(ExpressionTokens::getWord(function)).has_value())
            << ExpressionTokens::getWord(function);
    }
    for (int value = 0; value < ExpressionKeywords::NUMBER_OF_KEYWORDS; ++value) {
        const auto keyword = static_cast<ExpressionKeywords::type>(value);
        EXPECT_EQ(ExpressionTokens::findKeyword(ExpressionTokens::getWord(keyword)), keyword);
        EXPECT_EQ(ExpressionTokens::findKeyword(ExpressionKeywords::getUpperCaseName(keyword)), keyword);
        EXPECT_EQ(ExpressionKeywords::getValueFromString(ExpressionKeywords::getName(keyword)), keyword);
    }
    EXPECT_EQ(ExpressionTokens::getWord(FunctionExpressionType::F_INT), "Trunc");
    EXPECT_EQ(ExpressionTokens::getWord(FunctionExpressionType::F_APPLY_VEK_FORMAT), "Format");
    EXPECT_EQ(ExpressionTokens::getWord(ExpressionKeywords::KW_DOUBLE), "NUMBER");
    EXPECT_EQ(ExpressionTokens::getWordForTokenName("kw.countMissing"), "NumMiss");
}

// Random trees of every node class, for the print-then-parse property.
class TreeGenerator {
public:
    explicit TreeGenerator(unsigned seed) : random_(seed) {}

    std::shared_ptr<Expression> generate(int depth) {
        if (depth <= 0) {
            return leaf();
        }
        const auto child = [&] { return generate(depth - 1); };
        switch (pick(12)) {
            case 0:
                return leaf();
            case 1: {
                auto op = static_cast<BinaryRelationalOperator::type>(pick(7));
                const bool trims = op != BinaryRelationalOperator::NONE && pick(4) == 0;
                return BinaryRelationalExpression::create(op, generate(depth - 1), generate(depth - 1), trims);
            }
            case 2:
                return BetweenExpression::create(generate(depth - 1), generate(depth - 1), generate(depth - 1),
                                                 pick(2) == 0, pick(2) == 0);
            case 3: {
                auto members = listOf(pick(3), [&] {
                    // The parser opens literal lists among the members, so a member is never one.
                    auto member = pick(2) == 0 ? leafValue() : generate(depth - 1);
                    return member->getDataType() == DataTypeExt::LIST ? leafValue() : member;
                });
                return InExpression::create(generate(depth - 1), std::move(members), pick(2) == 0);
            }
            case 4:
                return IsMissingExpression::create(generate(depth - 1), pick(2) == 0);
            case 5:
                return CompoundBooleanExpression::create(pick(2), listOf(pick(4), child));
            case 6:
                return NegatedExpression::create(generate(depth - 1));
            case 7:  // conditions and values in pairs
                return SelectWhenExpression::create(listOf(2 * (1 + pick(2)), child),
                                                    pick(2) == 0 ? generate(depth - 1) : nullptr);
            case 8:
                return CompoundConstantExpression::create(listOf(pick(4), [&] { return leafValue(); }));
            case 9:  // an empty list reads back as a literal list, so a variable list has an item
                return VariableListExpression::create(listOf(1 + pick(3), [&] { return dataItem(); }));
            default:
                return function(depth);
        }
    }

private:
    template <class Make>
    static Expression::ExpressionList listOf(int count, Make make) {
        Expression::ExpressionList list;
        for (; count > 0; --count) {
            list.push_back(make());
        }
        return list;
    }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    std::shared_ptr<Expression> function(int depth) {
        using F = FunctionExpressionType;
        // The parser builds the specialized node classes for these functions.
        const auto isSpecialized = [](F::type candidate) {
            for (const F::type each :
                 {F::F_EQ, F::F_NE, F::F_GT, F::F_GE, F::F_LT, F::F_LE, F::F_IS_MISSING, F::F_NOT_MISSING, F::F_IN,
                  F::F_NOT_IN, F::F_BETWEEN, F::F_BETWEEN_EXCLUDING_BOUNDS, F::F_OUTSIDE_INCLUDING_BOUNDS,
                  F::F_OUTSIDE_EXCLUDING_BOUNDS, F::F_AND, F::F_OR, F::F_NOT, F::F_SELECT}) {
                if (each == candidate) {
                    return true;
                }
            }
            return false;
        };
        FunctionExpressionType::type function = FunctionExpressionType::F_PLUS;
        do {
            function = static_cast<FunctionExpressionType::type>(1 + pick(FunctionExpressionType::NUMBER_OF_FUNCTIONS));
        } while (isSpecialized(function));
        const int minimum = FunctionExpression::getMinimumNumberOfOperands(function);
        const int maximum = FunctionExpression::getMaximumNumberOfOperands(function);
        const int count = minimum + pick((maximum < 0 ? minimum + 3 : maximum) - minimum + 1);
        return FunctionExpression::create(function, listOf(count, [&] { return generate(depth - 1); }));
    }

    std::shared_ptr<Expression> leaf() {
        switch (pick(5)) {
            case 0:
                return number();
            case 1:
                return text();
            case 2:
                return dataItem();
            case 3:
                return KeywordExpression::create(static_cast<ExpressionKeywords::type>(pick(60)));
            default:
                return ExpressionConditionVariable::create(StringUtilities::internString(name()));
        }
    }

    std::shared_ptr<Expression> leafValue() { return pick(2) == 0 ? number() : text(); }

    std::shared_ptr<Expression> number() {
        constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
        constexpr double INFINITE = std::numeric_limits<double>::infinity();
        constexpr double LOWEST = std::numeric_limits<double>::lowest();
        constexpr double SUPPRESSED = DataTokens::SUPPRESSED_NUMERIC;
        static const double NUMBERS[] = {
            0.0,          -0.0,     1.0,       -5.0,   12.5,       1e21,     1.5e-7, -2.2250738585072014e-308,
            NOT_A_NUMBER, INFINITE, -INFINITE, LOWEST, SUPPRESSED, 0.1 + 0.2};
        return ConstantNumberExpression::create(NUMBERS[pick(std::size(NUMBERS))]);
    }

    std::shared_ptr<Expression> text() {
        static const std::string_view TEXTS[] = {
            "", " ", "East", "O'Brien", "''", "a}b", "line\nbreak", "Zürich", {"nul\0byte", 8}, "\xff\xfe", "[1, 2]"};
        return ConstantTextExpression::create(TEXTS[pick(std::size(TEXTS))]);
    }

    std::string name() {
        static const std::string_view NAMES[] = {"Sales",   "Unit Price", "a}b",    "Sum",      "2024",
                                                 "Ünïcode", "AND",        "x_1",    "Infinity", "",
                                                 "{",       "True",       "KW_MAX", "Year",     "e5"};
        return std::string(NAMES[pick(std::size(NAMES))]);
    }

    std::shared_ptr<Expression> dataItem() { return DataItemExpression::create(StringUtilities::internString(name())); }

    std::mt19937 random_;
};

TEST(ExpressionUtilTest, PrintedTreesReadBackEqual) {
    TreeGenerator generator(20261122);
    for (int round = 0; round < 3000; ++round) {
        const auto tree = generator.generate(1 + round % 5);
        for (const bool writesFunctionNames : {false, true}) {
            std::ostringstream stream;
            tree->printToStream(stream, ExpressionDescriptionContext{writesFunctionNames});
            ExpressionParseError error;
            const auto parsed = ExpressionUtil::createExpressionTree(stream.str(), error);
            ASSERT_NE(parsed, nullptr) << stream.str() << "\n" << error.describe();
            ASSERT_TRUE(parsed->isEqual(*tree)) << stream.str() << "\nreads back as\n" << parsed->toString();
            ASSERT_TRUE(parsed->clone()->isEqual(*tree));
        }
    }
}

TEST(ExpressionUtilTest, LiteralListsWrittenForWhereClausesReadBack) {
    const auto value = [](double number) { return DataValue::create(number); };
    const auto string = [](std::string_view text) {
        return DataValue::create(StringUtilities::internString(text), DataTokens::UNRESOLVABLE_DATA_VALUE);
    };
    const std::vector<DataValueUtils::ValueList> lists = {
        {value(12.5)},
        {value(std::numeric_limits<double>::quiet_NaN())},
        {value(-0.0), value(1e21), value(-1.5e-7)},
        {string("East")},
        {string(" ")},
        {string("O'Brien"), string("a,b"), string("[x]")},
        {value(std::numeric_limits<double>::lowest()), value(DataTokens::SUPPRESSED_NUMERIC)},
    };
    for (const auto& list : lists) {
        const auto shared = std::make_shared<const DataValueUtils::ValueList>(list);
        const SharedString text = DataValueUtils::getSerializationTextForValues(shared, DataType::NUMERIC);
        ASSERT_NE(text, nullptr);
        const auto values = DataValueUtils::getValuesForSerializationText(text);
        ASSERT_NE(values, nullptr) << *text;
        EXPECT_TRUE(DataValueUtils::valueSetsAreEqual(values, shared)) << *text;
        EXPECT_EQ(values->size(), list.size()) << *text;
    }
    EXPECT_EQ(DataValueUtils::getValuesForSerializationText(nullptr), nullptr);
    EXPECT_EQ(DataValueUtils::getValuesForSerializationText(StringUtilities::internString("Sales + 1")), nullptr);
    const auto empty = DataValueUtils::getValuesForSerializationText(StringUtilities::internString("''"));
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(DataValueUtils::impliesNoSelection(empty->front()));
}

}  // namespace
}  // namespace pellium
