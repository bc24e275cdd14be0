#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <thread>

#include "WhereTestData.h"

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/where/WhereEvaluator.h"

namespace pellium {
namespace {

using namespace pellium::test;
using Op = WhereClauseOperators;
using Routine = WhereEvaluator::Routine;
using Rows = std::vector<std::uint32_t>;

constexpr double SPARSE = DataTokens::SPARSE_NUMERIC;
constexpr double MATCHES_ALL = DataTokens::MATCHES_ALL_NUMERIC;
constexpr double ALL_OTHERS = DataTokens::ALL_OTHERS_NUMERIC;
constexpr double SUPPRESSED = DataTokens::SUPPRESSED_NUMERIC;

// Rows by both paths, which must agree.
Rows selectedRows(const WhereEvaluator& evaluator, std::uint32_t rowCount) {
    Rows byRow;
    for (std::uint32_t row = 0; row < rowCount; ++row) {
        if (evaluator.evaluate(row)) {
            byRow.push_back(row);
        }
    }
    const Rows byBatch = evaluator.selectRows(0, rowCount);
    EXPECT_EQ(byBatch, byRow) << *evaluator.getStringRepresentation();
    return byBatch;
}

Rows select(const std::shared_ptr<const AbstractWhereClauseExpression>& clause, const std::shared_ptr<DataSet>& data,
            bool fallback = false, bool intern = false) {
    const auto evaluator = WhereEvaluator::create(clause, data, intern, fallback);
    return selectedRows(*evaluator, static_cast<std::uint32_t>(data->getNumberOfRows()));
}

// Rows: 0: 1, 1: 3, 2: 5, 3: missing, 4: 3.0000000001
std::shared_ptr<DataSet> numbers(double epsilon = 0) {
    auto data = dataSetOf({numberColumn("n", {1, 3, 5, NaN, 3.0000000001})});
    data->setComparisonEpsilon(epsilon);
    return data;
}

TEST(WhereEvaluatorTest, NumericRoutinesAndTheirMissingValueRules) {
    struct Case {
        Op::type op;
        double constant;
        double epsilon;
        Routine routine;
        Rows expected;
    };
    const Case cases[] = {
        {Op::EQ, 3, 0, Routine::NUMERIC_EQ, {1}},
        {Op::NE, 3, 0, Routine::NUMERIC_NE, {0, 2, 4}},  // exact NE leaves out the missing cell
        {Op::LT, 3, 0, Routine::NUMERIC_LT, {0, 3}},     // missing satisfies LT ...
        {Op::LE, 3, 0, Routine::NUMERIC_LE, {0, 1, 3}},
        {Op::GT, 3, 0, Routine::NUMERIC_GT, {2, 4}},  // ... and fails GT
        {Op::GE, 3, 0, Routine::NUMERIC_GE, {1, 2, 4}},
        {Op::IS, 3, 0, Routine::NUMERIC_EQ, {1}},
        {Op::IS_NOT, 3, 0, Routine::NUMERIC_NE, {0, 2, 4}},
        {Op::EQ, NaN, 0, Routine::NUMERIC_EQ, {3}},
        {Op::NE, NaN, 0, Routine::NUMERIC_NE, {0, 1, 2, 4}},
        {Op::LT, NaN, 0, Routine::NUMERIC_LT, {}},
        {Op::LE, NaN, 0, Routine::NUMERIC_LE, {3}},
        {Op::GT, NaN, 0, Routine::NUMERIC_GT, {0, 1, 2, 4}},
        {Op::GE, NaN, 0, Routine::NUMERIC_GE, {0, 1, 2, 3, 4}},
        {Op::IS, NaN, 1e-9, Routine::NUMERIC_MISSING, {3}},  // a missing constant never uses the epsilon
        {Op::IS_NOT, NaN, 1e-9, Routine::NUMERIC_NOT_MISSING, {0, 1, 2, 4}},
        {Op::EQ, 3, 1e-9, Routine::EPSILON_EQ, {1, 4}},
        {Op::NE, 3, 1e-9, Routine::EPSILON_NE, {0, 2, 3}},  // tolerant NE keeps the missing cell
        {Op::LT, 3, 1e-9, Routine::EPSILON_LT, {0, 3}},
        {Op::GT, 3, 1e-9, Routine::EPSILON_GT, {2}},
        {Op::GE, 3, 1e-9, Routine::EPSILON_GE, {1, 2, 4}},
        {Op::LE, 3, NaN, Routine::EPSILON_LE, {3}},  // a NaN epsilon is not 0, and no tolerance holds
    };
    for (const auto& c : cases) {
        const auto data = numbers(c.epsilon);
        const auto clause = leaf("n", c.op, number(c.constant));
        const auto evaluator = WhereEvaluator::create(clause, data, false, false);
        SCOPED_TRACE(*clause->getStringRepresentation() + " epsilon " + std::to_string(c.epsilon));
        EXPECT_EQ(evaluator->getRoutine(), c.routine);
        EXPECT_EQ(selectedRows(*evaluator, 5), c.expected);
    }
}

TEST(WhereEvaluatorTest, SentinelsCompareAsTheDoublesTheyAre) {
    const auto data = dataSetOf({numberColumn("n", {SPARSE, ALL_OTHERS, SUPPRESSED, MATCHES_ALL, 0})});
    EXPECT_EQ(select(leaf("n", Op::LT, number(0)), data), (Rows{0}));
    EXPECT_EQ(select(leaf("n", Op::GT, number(0)), data), (Rows{1, 2, 3}));
    EXPECT_EQ(select(leaf("n", Op::EQ, number(MATCHES_ALL)), data), (Rows{3}));
}

// Table: 0 "East", 1 "West", 2 "east", 3 "  "; rows as listed below.
std::shared_ptr<DataSet> regions(bool explicitTexts) {
    auto column = indexColumn("r", {0, 1, 2, 3, -1, -2, -99, 7, -1000, 0});
    auto data = dataSetOf({column}, {"East", "West", "east", "  "});
    if (explicitTexts) {
        // The same texts set per row, so that they are compared one by one instead of by index.
        column->setStrings(column->getStrings());
    }
    return data;
}

TEST(WhereEvaluatorTest, StringRoutinesByIndexAndByTextAgree) {
    struct Case {
        Op::type op;
        std::shared_ptr<DataValue> constant;
        Routine routine;
        Rows expected;
    };
    // Rows 7 and 8 have no text: an index the table lacks and UNRESOLVABLE_DATA_VALUE.
    const Case cases[] = {
        {Op::EQ, string("East"), Routine::STRING_EQ, {0, 9}},
        {Op::NE, string("East"), Routine::STRING_NE, {1, 2, 3, 4, 5, 6}},
        {Op::LT, string("West"), Routine::STRING_LT, {0, 3, 4, 9}},  // bytes: " " and upper case first
        {Op::GE, string("east"), Routine::STRING_GE, {2, 5, 6}},     // "~N" and "~O" sort after letters
        {Op::EQ, string("~O"), Routine::STRING_EQ, {6}},             // the token's internal text
        {Op::EQ, string(" "), Routine::STRING_EQ, {3, 4}},           // a missing constant: every missing text
        {Op::NE, string(" "), Routine::STRING_NE, {0, 1, 2, 5, 6, 9}},
        {Op::IS, string(" "), Routine::STRING_MISSING, {3, 4, 7, 8}},  // a cell without text is missing
        {Op::IS_NOT, string(" "), Routine::STRING_NOT_MISSING, {0, 1, 2, 5, 6, 9}},
        {Op::IS, number(NaN), Routine::STRING_MISSING, {3, 4, 7, 8}},  // a missing number means the same
        {Op::IS, string("West"), Routine::STRING_EQ, {1}},
    };
    for (const bool explicitTexts : {false, true}) {
        const auto data = regions(explicitTexts);
        for (const auto& c : cases) {
            const auto clause = leaf("r", c.op, c.constant);
            SCOPED_TRACE(*clause->getStringRepresentation() + (explicitTexts ? " explicit" : " indexed"));
            const auto evaluator = WhereEvaluator::create(clause, data, false, false);
            EXPECT_EQ(evaluator->getRoutine(), c.routine);
            EXPECT_EQ(evaluator->comparesStringIndices(), !explicitTexts);
            EXPECT_EQ(selectedRows(*evaluator, 10), c.expected);
        }
    }
}

TEST(WhereEvaluatorTest, InternedConstantsCompareByIdentityFirst) {
    const auto data = regions(false);
    const auto eq = WhereEvaluator::create(leaf("r", Op::EQ, string("East")), data, true, false);
    EXPECT_EQ(eq->getRoutine(), Routine::INTERN_EQ);
    EXPECT_EQ(selectedRows(*eq, 10), (Rows{0, 9}));
    // Identity: a missing constant matches only its own text, not every missing one.
    EXPECT_EQ(select(leaf("r", Op::EQ, string(" ")), data, false, true), (Rows{4}));
    EXPECT_EQ(select(leaf("r", Op::NE, string("East")), data, false, true), (Rows{1, 2, 3, 4, 5, 6}));
}

TEST(WhereEvaluatorTest, StringConstantOnANumericColumnComparesFormattedTexts) {
    const auto data = dataSetOf({numberColumn("n", {5, 2.5, SPARSE, NaN})});
    const auto equal = WhereEvaluator::create(leaf("n", Op::EQ, string("2.5")), data, false, false);
    EXPECT_TRUE(equal->comparesFormattedValues());
    EXPECT_EQ(selectedRows(*equal, 4), (Rows{1}));
    // A sparse number formats as ".", which counts as missing here.
    const auto missing = WhereEvaluator::create(leaf("n", Op::IS, string(" ")), data, false, false);
    EXPECT_EQ(missing->getRoutine(), Routine::STRING_MISSING);
    const Rows selected = selectedRows(*missing, 4);
    EXPECT_TRUE(std::find(selected.begin(), selected.end(), 2u) != selected.end());
    EXPECT_TRUE(std::find(selected.begin(), selected.end(), 0u) == selected.end());
}

TEST(WhereEvaluatorTest, WhatCannotBeCompiledGivesTheCallersFallback) {
    const auto data = dataSetOf({numberColumn("n", {1, 2}), indexColumn("s", {0, 1})}, {"a", "b"});
    const std::shared_ptr<const AbstractWhereClauseExpression> unresolvable[] = {
        leaf("ghost", Op::EQ, number(1)),                // no such column
        leaf("s", Op::EQ, number(1)),                    // a number against texts
        leaf("s", Op::LIKE, string("a")),                // LIKE
        leaf("n", Op::AND, number(1)),                   // a compound code on a leaf
        WhereClauseExpression::create(),                 // no column, value or operator
        CompoundWhereClauseExpression::create(Op::AND),  // no children
        compound(Op::EQ, {leaf("n", Op::EQ, number(1)), leaf("n", Op::EQ, number(2))}),
        nullptr,
    };
    for (const auto& clause : unresolvable) {
        for (const bool fallback : {false, true}) {
            const auto evaluator = WhereEvaluator::create(clause, data, false, fallback);
            EXPECT_EQ(evaluator->getRoutine(), fallback ? Routine::TRUE_RESULT : Routine::FALSE_RESULT)
                << (clause ? describe(clause) : "null");
            EXPECT_EQ(selectedRows(*evaluator, 2).size(), fallback ? 2u : 0u);
        }
    }
    EXPECT_EQ(WhereEvaluator::create(leaf("n", Op::EQ, number(1)), nullptr, false, true)->getRoutine(),
              Routine::TRUE_RESULT);
}

TEST(WhereEvaluatorTest, CompoundsOfOneChildAndNot) {
    const auto data = numbers();
    const auto three = leaf("n", Op::EQ, number(3));
    // One child under AND or OR: the child's node itself.
    const auto single = WhereEvaluator::create(compound(Op::OR, {three}), data, false, false);
    EXPECT_EQ(single->getRoutine(), Routine::NUMERIC_EQ);
    // NOT of one child stays NOT and negates it; AND over that NOT is replaced by the NOT.
    const auto negation = WhereEvaluator::create(compound(Op::AND, {compound(Op::NOT, {three})}), data, false, false);
    EXPECT_EQ(negation->getRoutine(), Routine::NOT);
    EXPECT_EQ(selectedRows(*negation, 5), (Rows{0, 2, 3, 4}));
    // NOT looks at its first child only; an unresolvable child is the fallback, negated.
    EXPECT_EQ(select(compound(Op::NOT, {leaf("ghost", Op::EQ, number(1)), three}), data), (Rows{0, 1, 2, 3, 4}));
    const auto both = WhereEvaluator::create(
        compound(Op::AND, {compound(Op::NOT, {three}), leaf("n", Op::GT, number(1))}), data, false, false);
    EXPECT_EQ(both->getRoutine(), Routine::AND);
    EXPECT_EQ(selectedRows(*both, 5), (Rows{2, 4}));
}

TEST(WhereEvaluatorTest, DiagnosticText) {
    const auto data = dataSetOf({numberColumn("n", {1}), indexColumn("s", {0})}, {"a"});
    const auto tree =
        compound(Op::OR, {compound(Op::AND, {leaf("n", Op::GT, number(2.5)), leaf("s", Op::EQ, string("a"))}),
                          compound(Op::NOT, {leaf("ghost", Op::EQ, number(1))}), WhereClauseExpression::create(true)});
    EXPECT_EQ(*WhereEvaluator::create(tree, data, false, false)->getStringRepresentation(),
              "(((n GT 2.5) AND (s EQ a)) OR NOT(FALSE) OR TRUE)");
}

TEST(WhereEvaluatorTest, RowsBeyondAColumnThrowFromBothPaths) {
    const auto data = dataSetOf({numberColumn("n", {1, 2, 3})});
    const auto evaluator = WhereEvaluator::create(leaf("n", Op::GT, number(0)), data, false, false);
    EXPECT_THROW(evaluator->evaluate(3), std::out_of_range);
    EXPECT_THROW(evaluator->selectRows(0, 4), std::out_of_range);
    EXPECT_EQ(evaluator->selectRows(1, 3), (Rows{1, 2}));
    const auto texts = WhereEvaluator::create(leaf("n", Op::EQ, string("1")), data, false, false);
    EXPECT_THROW(texts->evaluate(3), std::out_of_range);
}

// --- Properties over random trees -------------------------------------------------------------------

struct RandomData {
    std::shared_ptr<DataSet> dataSet;
    std::vector<std::shared_ptr<const AbstractWhereClauseExpression::RowMap>> rows;
};

// Columns, each with the leaves on which a clause's own evaluate and the evaluator are defined
// alike (see randomAgreeingLeaf):
//   plain   ordinary numbers, missing, sparse, matches-all
//   special also all-others and suppressed
//   whole   every sentinel but no missing value
//   name    texts of the table, " " (index -1), "~N" (-2), "MATCHES_ALL" (-100); every cell has a text
RandomData makeRandomData(std::mt19937& random, std::int32_t rowCount) {
    const double ordinary[] = {0, 1, 2.5, 5, -3};
    const auto pick = [&](std::initializer_list<double> extras) {
        std::vector<double> values;
        for (std::int32_t row = 0; row < rowCount; ++row) {
            const auto choice = random() % (5 + extras.size());
            values.push_back(choice < 5 ? ordinary[choice] : *(extras.begin() + (choice - 5)));
        }
        return values;
    };
    std::vector<std::int32_t> indices;
    const std::int32_t codes[] = {0, 1, 2, 3, -1, -2, -100};
    for (std::int32_t row = 0; row < rowCount; ++row) {
        indices.push_back(codes[random() % 7]);
    }
    RandomData data;
    data.dataSet = dataSetOf(
        {numberColumn("plain", pick({NaN, SPARSE, MATCHES_ALL})),
         numberColumn("special", pick({NaN, SPARSE, MATCHES_ALL, ALL_OTHERS, SUPPRESSED})),
         numberColumn("whole", pick({SPARSE, MATCHES_ALL, ALL_OTHERS, SUPPRESSED})), indexColumn("name", indices)},
        {"Apple", "Banana", "Cherry", "apple"});
    for (std::int32_t row = 0; row < rowCount; ++row) {
        data.rows.push_back(rowOf(*data.dataSet, row));
    }
    return data;
}

TEST(WhereEvaluatorTest, OneEvaluatorServesSeveralThreadsAtOnce) {
    std::mt19937 random(5);
    const auto data = makeRandomData(random, 5000).dataSet;
    const auto clause =
        compound(Op::OR, {compound(Op::AND, {leaf("name", Op::EQ, string("Apple")), leaf("plain", Op::GT, number(1))}),
                          leaf("whole", Op::LE, number(0))});
    const auto evaluator = WhereEvaluator::create(clause, data, true, false);
    const Rows expected = evaluator->selectRows(0, 5000);
    std::vector<Rows> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&evaluator, &result] {
            for (int repeat = 0; repeat < 20; ++repeat) {
                result = evaluator->selectRows(0, 5000);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto& result : results) {
        EXPECT_EQ(result, expected);
    }
}

template <typename T>
const T& anyOf(std::mt19937& random, const std::vector<T>& choices) {
    return choices[random() % choices.size()];
}

// Where the two definitions differ by design, and which is therefore left out here:
// - NE and IS_NOT with a value on numbers that can be missing (the evaluator excludes missing cells);
// - LT, LE, GT, GE against all-others and suppressed cells (the value ordering puts them in bands);
// - a number against texts other than EQ and IS, a text against numbers (formatted comparison);
// - IS_NOT on an absent column, empty compounds and NOT compounds (the fallback, and negation).
std::shared_ptr<AbstractWhereClauseExpression> randomAgreeingLeaf(std::mt19937& random) {
    const std::vector<double> numbersToCompare = {0, 1, 2.5, 5, 4, SPARSE, MATCHES_ALL, NaN};
    const std::vector<Op::type> ordering = {Op::EQ, Op::LT, Op::LE, Op::GT, Op::GE, Op::IS};
    switch (random() % 8) {
        case 0:
            return leaf("plain", anyOf(random, ordering), number(anyOf(random, numbersToCompare)));
        case 1:
            return leaf("plain", anyOf(random, std::vector<Op::type>{Op::IS_NOT, Op::NE}), number(NaN));
        case 2:
            return leaf("special", anyOf(random, std::vector<Op::type>{Op::EQ, Op::IS}),
                        number(anyOf(random, std::vector<double>{1, ALL_OTHERS, SUPPRESSED, NaN})));
        case 3:
            return leaf("whole", anyOf(random, std::vector<Op::type>{Op::EQ, Op::NE, Op::IS, Op::IS_NOT}),
                        number(anyOf(random, std::vector<double>{0, 5, ALL_OTHERS, SUPPRESSED, SPARSE})));
        case 4: {
            const std::vector<Op::type> all = {Op::EQ, Op::NE, Op::LT, Op::LE, Op::GT, Op::GE, Op::IS, Op::IS_NOT};
            const std::vector<std::string_view> texts = {"Apple", "Banana", "B",  "apple",
                                                         "zzz",   " ",      "~N", "MATCHES_ALL"};
            return leaf("name", anyOf(random, all), string(anyOf(random, texts)));
        }
        case 5:
            return leaf("name", random() % 2 ? Op::IS : Op::IS_NOT, number(NaN));
        case 6:
            return leaf("ghost", anyOf(random, ordering), number(1));
        default:
            return random() % 3 == 0 ? leaf("plain", Op::LIKE, number(1)) : WhereClauseExpression::create(random() % 2);
    }
}

std::shared_ptr<AbstractWhereClauseExpression> randomAgreeingTree(std::mt19937& random, int depth) {
    if (depth == 0 || random() % 3 == 0) {
        return randomAgreeingLeaf(random);
    }
    auto node = CompoundWhereClauseExpression::create(random() % 2 ? Op::AND : Op::OR);
    for (unsigned count = 1 + random() % 4; count > 0; --count) {
        node->addExpression(randomAgreeingTree(random, depth - 1));
    }
    return node;
}

TEST(WhereEvaluatorPropertyTest, SelectsExactlyTheRowsTheClauseItselfAccepts) {
    std::mt19937 random(2024);
    const auto data = makeRandomData(random, 300);
    for (int tree = 0; tree < 3000; ++tree) {
        const auto clause = randomAgreeingTree(random, 4);
        Rows expected;
        for (std::uint32_t row = 0; row < data.rows.size(); ++row) {
            if (clause->evaluate(data.rows[row])) {
                expected.push_back(row);
            }
        }
        const bool intern = random() % 2;
        ASSERT_EQ(select(clause, data.dataSet, false, intern), expected) << describe(clause);
    }
}

// Anything at all, including what the two definitions treat differently: the batch path must
// still select exactly the rows of the per-row path, across batch boundaries.
std::shared_ptr<AbstractWhereClauseExpression> randomTree(std::mt19937& random, int depth) {
    const std::vector<std::string_view> columns = {"plain", "special", "whole", "name", "texts", "ghost"};
    if (depth == 0 || random() % 3 == 0) {
        const auto op = static_cast<Op::type>(1 + random() % 14);
        std::shared_ptr<DataValue> value;
        switch (random() % 4) {
            case 0:
                value = number(anyOf(random, std::vector<double>{0, 2.5, 5, NaN, SPARSE, ALL_OTHERS}));
                break;
            case 1:
                value = string(anyOf(random, std::vector<std::string_view>{"Apple", "b", " ", "5", ""}));
                break;
            default:
                value = number(static_cast<double>(random() % 6) - 1);
        }
        return leaf(anyOf(random, columns), op, value);
    }
    const Op::type compoundOps[] = {Op::AND, Op::OR, Op::NOT, Op::AND, Op::OR, Op::EQ};
    auto node = CompoundWhereClauseExpression::create(compoundOps[random() % 6]);
    for (unsigned count = random() % 4; count > 0; --count) {
        node->addExpression(random() % 10 == 0 ? nullptr : randomTree(random, depth - 1));
    }
    return node;
}

TEST(WhereEvaluatorPropertyTest, BatchesSelectTheRowsOfThePerRowRoutines) {
    std::mt19937 random(99);
    const std::int32_t rowCount = 2600;  // more than one batch
    auto data = makeRandomData(random, rowCount).dataSet;
    auto texts = indexColumn("texts", std::vector<std::int32_t>(static_cast<std::size_t>(rowCount), 0));
    data->addColumn(texts);
    data->assignStringValuesFromIndices();
    auto perRowTexts = std::make_shared<Column::StringVector>();
    for (std::int32_t row = 0; row < rowCount; ++row) {
        perRowTexts->push_back(text(anyOf(random, std::vector<std::string_view>{"Apple", "b", " ", "", "5"})));
    }
    texts->setStrings(perRowTexts);
    for (int tree = 0; tree < 300; ++tree) {
        data->setComparisonEpsilon(random() % 3 == 0 ? 1e-9 : 0);
        const auto clause = randomTree(random, 4);
        const auto evaluator = WhereEvaluator::create(clause, data, random() % 2, random() % 2);
        SCOPED_TRACE(describe(clause));
        selectedRows(*evaluator, static_cast<std::uint32_t>(rowCount));
        // A range that starts inside a batch.
        Rows expected;
        for (std::uint32_t row = 37; row < 2100; ++row) {
            if (evaluator->evaluate(row)) {
                expected.push_back(row);
            }
        }
        ASSERT_EQ(evaluator->selectRows(37, 2100), expected);
    }
}

}  // namespace
}  // namespace pellium
