#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/DataSetExpressionContext.h"
#include "pellium/rules/expressions/FunctionExpression.h"
#include "pellium/rules/expressions/NumericBatchEvaluator.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {
namespace {

constexpr double INFINITE = std::numeric_limits<double>::infinity();
const double SPECIAL_NUMBERS[] = {std::numeric_limits<double>::quiet_NaN(),
                                  DataTokens::SPARSE_NUMERIC,
                                  DataTokens::SUPPRESSED_NUMERIC,
                                  DataTokens::MATCHES_ALL_NUMERIC,
                                  INFINITE,
                                  -INFINITE,
                                  0.0,
                                  -0.0,
                                  1e308,
                                  -1e308,
                                  1e-320};

// Number columns A and B (with every special value), a text column T; 1,300 rows, so that ranges
// cross the evaluator's blocks.
std::shared_ptr<DataSet> makeDataSet(std::int32_t rows) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> ordinary(-1000, 1000);
    auto columns = std::make_shared<DataSet::ColumnList>();
    for (const char* name : {"A", "B"}) {
        auto numbers = std::make_shared<Column::NumberVector>();
        for (std::int32_t row = 0; row < rows; ++row) {
            numbers->push_back(random() % 4 == 0 ? SPECIAL_NUMBERS[random() % std::size(SPECIAL_NUMBERS)]
                                                 : ordinary(random));
        }
        auto column = Column::create(StringUtilities::internString(name), DataType::NUMERIC);
        column->setNumbers(numbers);
        columns->push_back(column);
    }
    auto texts =
        std::make_shared<Column::StringVector>(static_cast<std::size_t>(rows), StringUtilities::internString("12"));
    auto text = Column::create(StringUtilities::internString("T"), DataType::STRING);
    text->setStrings(texts);
    columns->push_back(text);
    return DataSet::create(columns);
}

class ArithmeticGenerator {
public:
    explicit ArithmeticGenerator(unsigned seed) : random_(seed) {}

    std::shared_ptr<Expression> generate(int depth) {
        using F = FunctionExpressionType;
        if (depth <= 0 || pick(5) == 0) {
            return leaf();
        }
        static const F::type BINARY[] = {F::F_PLUS, F::F_MINUS, F::F_TIMES, F::F_DIV};
        switch (pick(8)) {
            case 0:
                return FunctionExpression::create(F::F_NEG, {generate(depth - 1)});
            case 1:
                // Parts that go row by row: another function, an n-ary sum.
                return FunctionExpression::create(pick(2) == 0 ? F::F_ABS : F::F_ROUND, {generate(depth - 1)});
            case 2:
                return FunctionExpression::create(F::F_PLUS, {generate(depth - 1), leaf(), leaf()});
            default:
                return FunctionExpression::create(BINARY[pick(4)], {generate(depth - 1), generate(depth - 1)});
        }
    }

private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    std::shared_ptr<Expression> leaf() {
        static const char* const NAMES[] = {"A", "B", "A", "B", "T", "Absent"};
        if (pick(3) == 0) {
            return ConstantNumberExpression::create(pick(2) == 0 ? SPECIAL_NUMBERS[pick(std::size(SPECIAL_NUMBERS))]
                                                                 : pick(7) - 3.0);
        }
        return DataItemExpression::create(StringUtilities::internString(NAMES[pick(std::size(NAMES))]));
    }

    std::mt19937 random_;
};

bool sameNumber(double first, double second) {
    return (std::isnan(first) && std::isnan(second)) ||
           std::bit_cast<std::uint64_t>(first) == std::bit_cast<std::uint64_t>(second);
}

TEST(NumericBatchEvaluatorTest, EveryValueIsTheRowByRowValue) {
    const std::int32_t rows = 1300;
    const auto dataSet = makeDataSet(rows);
    auto context = DataSetExpressionContext::create(dataSet);
    ArithmeticGenerator generator(17);
    for (int round = 0; round < 400; ++round) {
        const auto expression = generator.generate(1 + round % 5);
        const auto evaluator = NumericBatchEvaluator::create(expression, dataSet);
        const std::int32_t begin = round % 7;
        const auto values = evaluator->evaluate(begin, rows - round % 3);
        ASSERT_EQ(values.size(), static_cast<std::size_t>(rows - round % 3 - begin));
        for (std::size_t index = 0; index < values.size(); ++index) {
            context->setRow(begin + static_cast<std::int32_t>(index));
            const double expected = expression->evaluateAsNumber(*context);
            ASSERT_TRUE(sameNumber(values[index], expected))
                << expression->toString() << " row " << begin + static_cast<std::int32_t>(index) << ": "
                << values[index] << " instead of " << expected;
        }
    }
}

TEST(NumericBatchEvaluatorTest, RunsPlainArithmeticInBlocksAndRefusesRangesOutsideTheRows) {
    const auto dataSet = makeDataSet(10);
    const auto margin = NumericBatchEvaluator::create(ExpressionUtil::createExpression("(A - B) / A * 100"), dataSet);
    EXPECT_TRUE(margin->isFullyVectorized());
    EXPECT_FALSE(
        NumericBatchEvaluator::create(ExpressionUtil::createExpression("Round(A) + 1"), dataSet)->isFullyVectorized());
    double value = 0;
    for (const auto& [begin, end] : {std::pair{-1, 3}, std::pair{3, 3}, std::pair{5, 2}, std::pair{0, 11}}) {
        EXPECT_FALSE(margin->evaluate(begin, end, &value)) << begin << ".." << end;
        EXPECT_TRUE(margin->evaluate(begin, end).empty());
    }
    EXPECT_EQ(NumericBatchEvaluator::create(nullptr, dataSet), nullptr);
    EXPECT_EQ(NumericBatchEvaluator::create(ExpressionUtil::createExpression("A"), nullptr), nullptr);
}

}  // namespace
}  // namespace pellium
