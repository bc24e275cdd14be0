#include <gtest/gtest.h>

#include "WhereTestData.h"

#include "pellium/models/data/where/WhereClauseStatement.h"

namespace pellium {
namespace {

using namespace pellium::test;
using Op = WhereClauseOperators;
using RowMap = AbstractWhereClauseExpression::RowMap;

TEST(WhereClauseStatementTest, ReadsTheTextForm) {
    struct Case {
        const char* text;
        const char* expected;  // the statement's machine form
    };
    const Case cases[] = {
        {"Region = 'East' AND Sales > 500", "(Region EQ East) AND (Sales GT 500)"},
        {"region eq 'East' and sales>=500.5", "(region EQ East) AND (sales GE 500.5)"},
        {"\"Sales Region\" EQ 'North East' OR Profit <= -12.5e3", "(Sales Region EQ North East) OR (Profit LE -12500)"},
        {"[Order Date] IS NOT MISSING && Name <> 'O''Brien'", "(Order Date IS_NOT nan) AND (Name NE O'Brien)"},
        {"a IS MISSING || b is missing", "(a IS nan) OR (b IS nan)"},
        {"a IS 'x' OR b IS_NOT 3", "(a IS x) OR (b IS_NOT 3)"},
        {"\"say \"\"hi\"\"\" == .", "(say \"hi\" EQ nan)"},
        {"TRUE or false", "TRUE OR FALSE"},
        {"a LIKE 'x%'", "(a LIKE x%)"},
        {"   ", ""},
    };
    for (const auto& c : cases) {
        const auto statement = WhereClauseStatement::create(std::string_view(c.text));
        ASSERT_NE(statement, nullptr) << c.text;
        EXPECT_TRUE(statement->isValid()) << c.text;
        EXPECT_EQ(*statement->getStringRepresentation(), c.expected) << c.text;
    }
    // Refused: no joiner, no clause after the joiner, LIKE written "~", a joiner as comparison, a word
    // as number.
    for (const char* text : {"a = 'unterminated", "a = ", "a 'x'", "a = 5 b = 6", "a = 5 AND", "a ~ 5", "a AND 5",
                             "a = five", "a ! 5", "[a = 5", "a] = 5"}) {
        EXPECT_EQ(WhereClauseStatement::create(std::string_view(text)), nullptr) << text;
    }
    const auto parsed = WhereClauseStatement::create(std::string_view("a < 'B' AND \"b c\" > 1"));
    EXPECT_EQ(parsed->getReferencedColumnNames(), (AbstractWhereClauseExpression::ColumnNames{"a", "b c"}));
}

TEST(WhereClauseStatementTest, EvaluatesLeftToRightWithoutPrecedence) {
    const auto row = std::make_shared<RowMap>(RowMap{{"a", number(1)}, {"b", number(2)}});
    const auto evaluate = [&](const char* text) {
        const auto statement = WhereClauseStatement::create(std::string_view(text));
        EXPECT_NE(statement, nullptr) << text;
        return statement && statement->evaluate(row);
    };
    EXPECT_TRUE(evaluate(""));
    EXPECT_TRUE(evaluate("a = 1 AND b = 2"));
    EXPECT_FALSE(evaluate("a = 9 OR b = 2"));            // a false first clause decides
    EXPECT_TRUE(evaluate("a = 1 OR b = 9"));             // "x OR y" is the value of x ...
    EXPECT_FALSE(evaluate("a = 1 AND b = 9 OR a = 1"));  // a false clause after AND ends the walk
    EXPECT_TRUE(evaluate("a = 1 OR b = 9 AND a = 1"));   // a false clause after OR does not
    EXPECT_TRUE(evaluate("a = 1 OR b = 2 AND a = 9"));   // a true clause after OR ends it with true
    // The tree form gives AND precedence over OR.
    const auto statement = WhereClauseStatement::create(std::string_view("a = 9 OR b = 2"));
    EXPECT_TRUE(statement->asDisjunctiveNormalFormExpression()->evaluate(row));
}

TEST(WhereClauseStatementTest, DisjunctiveNormalFormAndValidity) {
    const auto dnf = [](const char* text) {
        return textOf(WhereClauseStatement::create(std::string_view(text))->asDisjunctiveNormalFormExpression());
    };
    EXPECT_EQ(dnf("a = 1 AND b = 2 OR c = 3"), "(((a EQ 1) AND (b EQ 2)) OR (c EQ 3))");
    EXPECT_EQ(dnf("a = 1 OR b = 2 AND c = 3 AND d = 4"), "((a EQ 1) OR ((b EQ 2) AND (c EQ 3) AND (d EQ 4)))");
    EXPECT_EQ(dnf("a = 1 OR b = 2"), "((a EQ 1) OR (b EQ 2))");
    EXPECT_EQ(dnf("a = 1"), "(a EQ 1)");
    EXPECT_EQ(dnf(""), "<null>");

    const auto a = leaf("a", Op::EQ, number(1));
    const auto b = leaf("b", Op::EQ, number(2));
    using Expressions = WhereClauseStatement::Expressions;
    using Operators = WhereClauseStatement::Operators;
    const auto noOperators = WhereClauseStatement::create(std::make_shared<Expressions>(Expressions{a, b}), nullptr);
    EXPECT_TRUE(noOperators->isValid());
    EXPECT_EQ(textOf(noOperators->asDisjunctiveNormalFormExpression()), "((a EQ 1) AND (b EQ 2))");
    EXPECT_TRUE(WhereClauseStatement::create(nullptr, nullptr)->isValid());
    const auto tooMany = WhereClauseStatement::create(std::make_shared<Expressions>(Expressions{a, b}),
                                                      std::make_shared<Operators>(Operators{Op::AND, Op::OR}));
    EXPECT_FALSE(tooMany->isValid());
    EXPECT_EQ(tooMany->asDisjunctiveNormalFormExpression(), nullptr);
    const auto notJoiner = WhereClauseStatement::create(std::make_shared<Expressions>(Expressions{a, b}),
                                                        std::make_shared<Operators>(Operators{Op::EQ}));
    EXPECT_FALSE(notJoiner->isValid());
    EXPECT_EQ(*WhereClauseStatement::create(Expressions{a, b}, Op::OR)->getStringRepresentation(),
              "(a EQ 1) OR (b EQ 2)");
}

}  // namespace
}  // namespace pellium
