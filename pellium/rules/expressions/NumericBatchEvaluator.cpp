#include "pellium/rules/expressions/NumericBatchEvaluator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/DataSetExpressionContext.h"
#include "pellium/rules/expressions/ExpressionComparisons.h"
#include "pellium/rules/expressions/FunctionExpression.h"

namespace pellium {

namespace {

using F = FunctionExpressionType;

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();
// Rows per block: the blocks of a small tree stay in the first-level cache.
constexpr std::int32_t BLOCK_ROWS = 512;

// The arithmetic of FunctionExpression, element by element and without branches, so that the
// loops vectorize: a suppressed operand makes the suppressed value, a missing one (NaN or the
// sparse number) NaN, and a result that is not a finite number NaN.
inline bool isMissing(double number) {
    return number != number || number == ExpressionComparisons::LOWEST;
}

struct Plus {
    // The function sums from 0, which turns -0 + -0 into +0.
    static double apply(double left, double right) { return (0.0 + left) + right; }
};
struct Minus {
    static double apply(double left, double right) { return left - right; }
};
struct Times {
    static double apply(double left, double right) { return left * right; }
};
struct Divide {
    // x / 0 is never finite, so it becomes NaN as the function's division by zero does.
    static double apply(double left, double right) { return left / right; }
};

template <typename Operation>
void applyBinary(const double* left, const double* right, double* out, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
        const double first = left[index];
        const double second = right[index];
        double result = Operation::apply(first, second);
        result = std::isfinite(result) ? result : MISSING;
        result = isMissing(first) || isMissing(second) ? MISSING : result;
        result = first == ExpressionComparisons::SUPPRESSED || second == ExpressionComparisons::SUPPRESSED
                     ? ExpressionComparisons::SUPPRESSED
                     : result;
        out[index] = result;
    }
}

void applyNegate(const double* operand, double* out, std::size_t count) {
    for (std::size_t index = 0; index < count; ++index) {
        const double value = operand[index];
        double result = isMissing(value) ? MISSING : -value;
        result = value == ExpressionComparisons::SUPPRESSED ? ExpressionComparisons::SUPPRESSED : result;
        out[index] = result;
    }
}

}  // namespace

struct NumericBatchEvaluator::Step {
    enum Kind { CONSTANT, COLUMN, PLUS, MINUS, TIMES, DIVIDE, NEGATE, ROW_BY_ROW };

    Kind kind = ROW_BY_ROW;
    double constant = MISSING;
    std::shared_ptr<const Column::NumberVector> numbers;  // of a COLUMN step
    std::size_t left = 0;
    std::size_t right = 0;
    const Expression* node = nullptr;  // of a ROW_BY_ROW step
};

// One call of evaluate: a block of scratch values per step and, when a part goes row by row, a
// context of its own, so that calls on several threads do not meet.
class NumericBatchEvaluator::Run {
public:
    explicit Run(const NumericBatchEvaluator& evaluator)
        : steps_(evaluator.steps_), scratch_(steps_.size() * BLOCK_ROWS), blocks_(steps_.size()) {
        for (std::size_t index = 0; index < steps_.size(); ++index) {
            const Step& step = steps_[index];
            if (step.kind == Step::CONSTANT) {
                std::fill_n(slot(index), BLOCK_ROWS, step.constant);
            } else if (step.kind == Step::ROW_BY_ROW && !context_) {
                context_ = DataSetExpressionContext::create(evaluator.dataSet_);
            }
        }
    }

    // Computes rows [begin, begin + count) into `values`.
    void computeBlock(std::int32_t begin, std::int32_t count, double* values) {
        const auto size = static_cast<std::size_t>(count);
        for (std::size_t index = 0; index < steps_.size(); ++index) {
            const Step& step = steps_[index];
            const bool isRoot = index + 1 == steps_.size();
            double* out = isRoot ? values : slot(index);
            switch (step.kind) {
                case Step::CONSTANT:
                    blocks_[index] = slot(index);
                    break;
                case Step::COLUMN:
                    blocks_[index] = step.numbers->data() + begin;
                    break;
                case Step::PLUS:
                    applyBinary<Plus>(blocks_[step.left], blocks_[step.right], out, size);
                    blocks_[index] = out;
                    break;
                case Step::MINUS:
                    applyBinary<Minus>(blocks_[step.left], blocks_[step.right], out, size);
                    blocks_[index] = out;
                    break;
                case Step::TIMES:
                    applyBinary<Times>(blocks_[step.left], blocks_[step.right], out, size);
                    blocks_[index] = out;
                    break;
                case Step::DIVIDE:
                    applyBinary<Divide>(blocks_[step.left], blocks_[step.right], out, size);
                    blocks_[index] = out;
                    break;
                case Step::NEGATE:
                    applyNegate(blocks_[step.left], out, size);
                    blocks_[index] = out;
                    break;
                case Step::ROW_BY_ROW:
                    for (std::int32_t row = 0; row < count; ++row) {
                        context_->setRow(begin + row);
                        out[row] = step.node->evaluateAsNumber(*context_);
                    }
                    blocks_[index] = out;
                    break;
            }
        }
        if (blocks_.back() != values) {
            std::copy_n(blocks_.back(), size, values);
        }
    }

private:
    double* slot(std::size_t index) { return scratch_.data() + index * BLOCK_ROWS; }

    const std::vector<Step>& steps_;
    std::vector<double> scratch_;
    std::vector<const double*> blocks_;
    std::shared_ptr<DataSetExpressionContext> context_;
};

NumericBatchEvaluator::NumericBatchEvaluator(std::shared_ptr<const Expression> expression,
                                             std::shared_ptr<const DataSet> dataSet)
    : expression_(std::move(expression)), dataSet_(std::move(dataSet)) {
    compile(*expression_);
}

NumericBatchEvaluator::~NumericBatchEvaluator() = default;

std::shared_ptr<NumericBatchEvaluator> NumericBatchEvaluator::create(std::shared_ptr<const Expression> expression,
                                                                     std::shared_ptr<const DataSet> dataSet) {
    if (!expression || !dataSet) {
        return nullptr;
    }
    return std::shared_ptr<NumericBatchEvaluator>(new NumericBatchEvaluator(std::move(expression), std::move(dataSet)));
}

std::size_t NumericBatchEvaluator::compile(const Expression& node) {
    Step step;
    step.node = &node;
    switch (node.getWrapperTypeId()) {
        case WrapperTypeIds::CONSTANT_NUMBER_EXPRESSION:
            step.kind = Step::CONSTANT;
            step.constant = static_cast<const ConstantNumberExpression&>(node).getValue();
            break;
        case WrapperTypeIds::DATA_ITEM_EXPRESSION: {
            // The item as the row context finds it: the first column of that name, missing when
            // there is none or it holds texts.
            const std::shared_ptr<Column> column = findColumn(*static_cast<const DataItemExpression&>(node).getName());
            if (!column || column->getDataType() != DataType::NUMERIC || !column->getNumbers()) {
                step.kind = Step::CONSTANT;
            } else if (column->getNumbers()->size() >= static_cast<std::size_t>(dataSet_->getNumberOfRows())) {
                step.kind = Step::COLUMN;
                step.numbers = column->getNumbers();
            }
            break;
        }
        case WrapperTypeIds::FUNCTION_EXPRESSION: {
            const auto& function = static_cast<const FunctionExpression&>(node);
            if (!function.hasValidTypeAgreement()) {
                step.kind = Step::CONSTANT;
                break;
            }
            const auto& operands = node.getOperands();
            const F::type type = function.getFunctionType();
            const bool isBinary = operands.size() == 2 &&
                                  (type == F::F_PLUS || type == F::F_MINUS || type == F::F_TIMES || type == F::F_DIV);
            if (isBinary) {
                step.left = compile(*operands[0]);
                step.right = compile(*operands[1]);
                step.kind = type == F::F_PLUS    ? Step::PLUS
                            : type == F::F_MINUS ? Step::MINUS
                            : type == F::F_TIMES ? Step::TIMES
                                                 : Step::DIVIDE;
            } else if (type == F::F_NEG && operands.size() == 1) {
                step.left = compile(*operands[0]);
                step.kind = Step::NEGATE;
            }
            break;
        }
        default:
            break;
    }
    steps_.push_back(std::move(step));
    return steps_.size() - 1;
}

std::shared_ptr<Column> NumericBatchEvaluator::findColumn(std::string_view name) const {
    if (const auto& columns = dataSet_->getColumns()) {
        for (const auto& column : *columns) {
            if (column && column->getName() && *column->getName() == name) {
                return column;
            }
        }
    }
    return nullptr;
}

bool NumericBatchEvaluator::evaluate(std::int32_t begin, std::int32_t end, double* values) const {
    if (begin < 0 || end <= begin || end > dataSet_->getNumberOfRows() || !values) {
        return false;
    }
    Run run(*this);
    for (std::int32_t blockBegin = begin; blockBegin < end; blockBegin += BLOCK_ROWS) {
        const std::int32_t count = std::min(BLOCK_ROWS, end - blockBegin);
        run.computeBlock(blockBegin, count, values + (blockBegin - begin));
    }
    return true;
}

std::vector<double> NumericBatchEvaluator::evaluate(std::int32_t begin, std::int32_t end) const {
    if (begin < 0 || end <= begin || end > dataSet_->getNumberOfRows()) {
        return {};
    }
    std::vector<double> values(static_cast<std::size_t>(end - begin));
    evaluate(begin, end, values.data());
    return values;
}

bool NumericBatchEvaluator::isFullyVectorized() const {
    return std::none_of(steps_.begin(), steps_.end(), [](const Step& step) { return step.kind == Step::ROW_BY_ROW; });
}

}  // namespace pellium
