#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tuple>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/rules/expressions/BetweenExpression.h"
#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/CompoundBooleanExpression.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/InExpression.h"
#include "pellium/rules/expressions/IsMissingExpression.h"
#include "pellium/rules/expressions/KeywordExpression.h"
#include "pellium/rules/expressions/NegatedExpression.h"
#include "pellium/rules/expressions/ValueMapExpressionContext.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double LOWEST = std::numeric_limits<double>::lowest();
constexpr double SUPPRESSED = DataTokens::SUPPRESSED_NUMERIC;

std::shared_ptr<Expression> item(std::string_view name) {
    return DataItemExpression::create(StringUtilities::internString(name));
}

std::shared_ptr<Expression> parse(std::string_view text) {
    ExpressionParseError error;
    auto expression = ExpressionUtil::createExpressionTree(text, error);
    EXPECT_NE(expression, nullptr) << text << ": " << error.describe();
    return expression;
}

bool isMissing(double number) {
    return std::isnan(number) || number == LOWEST;
}

// The ordering users expect: missing below every number, two missing values equal.
bool oracle(BinaryRelationalOperator::type op, double left, double right) {
    if (left == SUPPRESSED || right == SUPPRESSED) {
        return false;
    }
    const auto key = [](double number) { return std::make_tuple(!isMissing(number), isMissing(number) ? 0 : number); };
    const auto l = key(left);
    const auto r = key(right);
    const bool answers[] = {false, l == r, l != r, l > r, l >= r, l < r, l <= r};  // NONE, EQ, NE, GT, GE, LT, LE
    return answers[op];
}

const double VALUES[] = {NaN, LOWEST, -1, 0, 1, 2.5, SUPPRESSED};

TEST(ExpressionEvaluationTest, ComparisonsTreatMissingAsLowestAndSuppressedAsFalse) {
    auto context = ValueMapExpressionContext::create();
    for (int op = BinaryRelationalOperator::NONE; op <= BinaryRelationalOperator::LE; ++op) {
        const auto relational = static_cast<BinaryRelationalOperator::type>(op);
        const auto expression = BinaryRelationalExpression::create(relational, item("l"), item("r"));
        for (const double left : VALUES) {
            for (const double right : VALUES) {
                context->setNumber("l", left);
                context->setNumber("r", right);
                EXPECT_EQ(expression->evaluateAsBoolean(*context), oracle(relational, left, right))
                    << BinaryRelationalOperator::getSymbol(relational) << " " << left << " " << right;
            }
        }
    }
}

TEST(ExpressionEvaluationTest, ComparisonsHonourTheContextTolerance) {
    auto context = ValueMapExpressionContext::create();
    context->setNumber("x", 1.0);
    context->setTolerance(0.01);
    EXPECT_TRUE(parse("x = 1.001")->evaluateAsBoolean(*context));
    EXPECT_FALSE(parse("x < 1.001")->evaluateAsBoolean(*context));
    EXPECT_TRUE(parse("In(x, [3, 1.005])")->evaluateAsBoolean(*context));
    EXPECT_TRUE(parse("BetweenInclusive(x, 1.001, 2)")->evaluateAsBoolean(*context));
    EXPECT_FALSE(parse("BetweenExclusive(x, 1.001, 2)")->evaluateAsBoolean(*context));
    context->setTolerance(0);
    EXPECT_FALSE(parse("x = 1.001")->evaluateAsBoolean(*context));
    EXPECT_TRUE(parse("x < 1.001")->evaluateAsBoolean(*context));
}

TEST(ExpressionEvaluationTest, TextComparisonsFollowTheRightOperand) {
    auto context = ValueMapExpressionContext::create();
    context->setText("Region", "East");
    context->setText("Blank", "  ");
    context->setText("Padded", " East ");
    context->setNumber("n", 5);
    const struct {
        std::string_view text;
        bool expected;
    } cases[] = {
        {"Region = 'East'", true},
        {"Region < 'West'", true},
        {"Region > 'Eas'", true},
        {"Blank = ''", true},   // two missing texts are equal
        {"Blank < 'a'", true},  // missing is the lowest text
        {"Region ≠ Blank", true},
        {"Padded = 'East'", false},
        {"Equal(Padded, 'East', LeadingAndTrailing)", true},
        {"NotEqual(Padded, 'East ', LeadingAndTrailing)", false},
        {"n = 5", true},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(parse(entry.text)->evaluateAsBoolean(*context), entry.expected) << entry.text;
    }
}

TEST(ExpressionEvaluationTest, CompoundsKeepTheirAsymmetryForNullAndNonBooleanChildren) {
    auto context = ValueMapExpressionContext::create();
    context->setNumber("x", 1);
    const auto yes = KeywordExpression::create(ExpressionKeywords::KW_TRUE);
    const auto no = KeywordExpression::create(ExpressionKeywords::KW_FALSE);
    const auto number = item("x");  // not boolean
    const struct {
        int op;
        Expression::ExpressionList children;
        bool expected;
    } cases[] = {
        {CompoundBooleanExpression::AND_OPERATOR, {}, true},
        {CompoundBooleanExpression::OR_OPERATOR, {}, false},
        {CompoundBooleanExpression::OR_OPERATOR, {nullptr}, true},
        {CompoundBooleanExpression::OR_OPERATOR, {no, nullptr}, true},
        {CompoundBooleanExpression::OR_OPERATOR, {no, number}, true},
        {CompoundBooleanExpression::OR_OPERATOR, {no, no}, false},
        {7, {no, yes}, true},  // any operator other than 0 is OR
        {CompoundBooleanExpression::AND_OPERATOR, {nullptr}, true},
        {CompoundBooleanExpression::AND_OPERATOR, {yes, nullptr, number}, true},
        {CompoundBooleanExpression::AND_OPERATOR, {yes, no}, false},
        {CompoundBooleanExpression::AND_OPERATOR, {no, nullptr}, false},
    };
    for (const auto& entry : cases) {
        const auto compound = CompoundBooleanExpression::create(entry.op, entry.children);
        EXPECT_EQ(compound->evaluateAsBoolean(*context), entry.expected)
            << entry.op << " with " << entry.children.size() << " children";
    }
    EXPECT_FALSE(NegatedExpression::create(number)->evaluateAsBoolean(*context));
    EXPECT_TRUE(NegatedExpression::create(no)->evaluateAsBoolean(*context));
    EXPECT_FALSE(NegatedExpression::create(nullptr)->evaluateAsBoolean(*context));
}

TEST(ExpressionEvaluationTest, OnlyTheKeywordTrueIsTrue) {
    auto context = ValueMapExpressionContext::create();
    for (int value = 0; value < ExpressionKeywords::NUMBER_OF_KEYWORDS; ++value) {
        const auto keyword = KeywordExpression::create(static_cast<ExpressionKeywords::type>(value));
        EXPECT_EQ(keyword->evaluateAsBoolean(*context), value == ExpressionKeywords::KW_TRUE) << value;
        EXPECT_EQ(keyword->getDataType(), value <= ExpressionKeywords::KW_TRUE && value >= ExpressionKeywords::KW_FALSE
                                              ? DataTypeExt::BOOLEAN
                                              : DataTypeExt::UNKNOWN);
    }
}

TEST(ExpressionEvaluationTest, RangesMatchTheirBoundaryRules) {
    auto context = ValueMapExpressionContext::create();
    context->setNumber("low", 1);
    context->setNumber("high", 3);
    const auto inside = [](double x, bool includes) { return includes ? 1 <= x && x <= 3 : 1 < x && x < 3; };
    for (const double x : {0.0, 1.0, 2.0, 3.0, 4.0}) {
        context->setNumber("x", x);
        for (const bool includes : {true, false}) {
            for (const bool outside : {false, true}) {
                const auto range = BetweenExpression::create(item("x"), item("low"), item("high"), includes, outside);
                // The outside forms are the complement of the inside form with the other boundary rule.
                const bool expected = outside ? !inside(x, !includes) : inside(x, includes);
                EXPECT_EQ(range->evaluateAsBoolean(*context), expected) << x << includes << outside;
            }
        }
    }
    for (const double special : {NaN, LOWEST, SUPPRESSED}) {
        context->setNumber("x", special);
        EXPECT_FALSE(parse("BetweenInclusive(x, low, high)")->evaluateAsBoolean(*context));
        EXPECT_EQ(parse("NotBetweenInclusive(x, low, high)")->evaluateAsBoolean(*context), special != SUPPRESSED);
    }
    context->setNumber("x", 2);
    context->setNumber("high", SUPPRESSED);
    EXPECT_FALSE(parse("BetweenInclusive(x, low, high)")->evaluateAsBoolean(*context));
    EXPECT_FALSE(parse("NotBetweenInclusive(x, low, high)")->evaluateAsBoolean(*context));
    context->setText("t", "m");
    EXPECT_TRUE(parse("BetweenInclusive(t, 'a', 'z')")->evaluateAsBoolean(*context));
    EXPECT_FALSE(parse("BetweenExclusive(t, 'm', 'z')")->evaluateAsBoolean(*context));
}

TEST(ExpressionEvaluationTest, MembershipAndMissingTests) {
    auto context = ValueMapExpressionContext::create();
    const struct {
        double x;
        std::string_view text;
        bool expected;
    } cases[] = {
        {2, "In(x, [1, 2, 3])", true},     {4, "In(x, [1, 2, 3])", false},
        {4, "NotIn(x, [1, 2, 3])", true},  {NaN, "In(x, [1, .])", true},
        {LOWEST, "In(x, [.])", true},      {NaN, "NotIn(x, [1])", true},
        {SUPPRESSED, "In(x, [1])", false}, {SUPPRESSED, "NotIn(x, [1])", false},
        {NaN, "Missing(x)", true},         {LOWEST, "Missing(x)", true},
        {0, "Missing(x)", false},          {0, "NotMissing(x)", true},
        {SUPPRESSED, "Missing(x)", false}, {SUPPRESSED, "NotMissing(x)", false},
    };
    for (const auto& entry : cases) {
        context->setNumber("x", entry.x);
        EXPECT_EQ(parse(entry.text)->evaluateAsBoolean(*context), entry.expected) << entry.text << " " << entry.x;
    }
    context->setText("t", " ");
    EXPECT_TRUE(parse("Missing(t)")->evaluateAsBoolean(*context));
    EXPECT_TRUE(parse("In(t, ['a', ''])")->evaluateAsBoolean(*context));
    context->setText("t", "b");
    EXPECT_TRUE(parse("In(t, ['a', 'b'])")->evaluateAsBoolean(*context));
    EXPECT_FALSE(parse("Missing(t)")->evaluateAsBoolean(*context));
}

TEST(ExpressionEvaluationTest, SelectTriesItsBranchesInOrder) {
    auto context = ValueMapExpressionContext::create();
    const auto numbers = parse("Select(When(x > 10, 3), When(x > 0, 2), Otherwise(1))");
    const auto texts = parse("Select(When(x > 10, 'high'), When(x > 0, 'low'))");
    const struct {
        double x;
        double number;
        const char* text;
    } cases[] = {{20, 3, "high"}, {5, 2, "low"}, {-1, 1, nullptr}, {NaN, 1, nullptr}};
    for (const auto& entry : cases) {
        context->setNumber("x", entry.x);
        EXPECT_EQ(numbers->evaluateAsNumber(*context), entry.number) << entry.x;
        const SharedString text = texts->evaluateAsString(*context);
        EXPECT_EQ(text ? *text : std::string("<null>"), entry.text ? entry.text : "<null>") << entry.x;
    }
    context->setNumber("x", -1);
    EXPECT_TRUE(std::isnan(parse("Select(When(x > 0, 1))")->evaluateAsNumber(*context)));
}

TEST(ExpressionEvaluationTest, InvalidTreesEvaluateToTheBaseAnswersUntilRepaired) {
    auto context = ValueMapExpressionContext::create();
    context->setNumber("x", 1);
    const auto comparison = parse("1 = True");  // a number never meets a boolean
    EXPECT_FALSE(comparison->hasValidTypeAgreement());
    EXPECT_FALSE(comparison->evaluateAsBoolean(*context));
    auto repaired = comparison->getOperands();
    repaired[1] = ConstantNumberExpression::create(1);
    comparison->setOperands(repaired);
    EXPECT_TRUE(comparison->hasValidTypeAgreement());
    EXPECT_TRUE(comparison->evaluateAsBoolean(*context));

    EXPECT_FALSE(parse("Substring(1, 2)")->hasValidTypeAgreement());
    EXPECT_EQ(parse("UpCase(5)")->evaluateAsString(*context), nullptr);
    EXPECT_FALSE(parse("Plus(x, 'a')")->hasValidTypeAgreement());
    EXPECT_FALSE(parse("IfElse(x, 1, 2)")->hasValidTypeAgreement());
    EXPECT_TRUE(parse("IfElse(x > 0, 1, 2)")->hasValidTypeAgreement());
    EXPECT_FALSE(parse("y > 0")->isValidForContext(*context));
    EXPECT_TRUE(parse("x > 0")->isValidForContext(*context));
}

TEST(ExpressionEvaluationTest, ResolvedParametersBecomeConstantsAndClonesAreIndependent) {
    auto context = ValueMapExpressionContext::create();
    context->setNumber("Sales", 150);
    const auto filter = parse("Sales > Threshold AND Region = Wanted");
    Expression::ParameterValues parameters;
    parameters["Threshold"] = DataValue::create(100);
    parameters["Wanted"] =
        DataValue::create(StringUtilities::internString("East"), DataTokens::UNRESOLVABLE_DATA_VALUE);
    const auto original = filter->clone();
    Expression::ExpressionList replaced;
    filter->resolveParameters(parameters, replaced);
    EXPECT_EQ(filter->toString(), "Sales > 100 AND Region = 'East'");
    EXPECT_EQ(replaced.size(), 2u);
    EXPECT_EQ(original->toString(), "Sales > Threshold AND Region = Wanted");
    context->setText("Region", "East");
    EXPECT_TRUE(filter->evaluateAsBoolean(*context));
}

}  // namespace
}  // namespace pellium
