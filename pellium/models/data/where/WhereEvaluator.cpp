#include "pellium/models/data/where/WhereEvaluator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/models/data/where/WhereEvaluatorKernels.h"
#include "pellium/util/MathUtilities.h"

namespace pellium {

// --- Compilation ------------------------------------------------------------------------------------

struct WhereEvaluatorCompiler {
    using Kernels = WhereEvaluatorKernels;
    using Routine = WhereEvaluator::Routine;
    using Kernel = WhereEvaluator::Kernel;

    const DataSet* dataSet;
    bool internStrings;
    bool resultWhenUnresolved;

    std::shared_ptr<WhereEvaluator> makeFallback() const {
        auto node = std::make_shared<WhereEvaluator>(WhereEvaluator::Token{});
        setConstant(*node, resultWhenUnresolved);
        return node;
    }

    static void setConstant(WhereEvaluator& node, bool result) {
        if (result) {
            node.setRoutine(Routine::TRUE_RESULT, Kernels::Constant<true>::kernel);
        } else {
            node.setRoutine(Routine::FALSE_RESULT, Kernels::Constant<false>::kernel);
        }
    }

    std::shared_ptr<WhereEvaluator> compile(const AbstractWhereClauseExpression* where) const {
        if (!where) {
            return makeFallback();
        }
        if (where->isCompound()) {
            return compileCompound(static_cast<const CompoundWhereClauseExpression&>(*where));
        }
        auto node = makeFallback();
        compileLeaf(*node, static_cast<const WhereClauseExpression&>(*where));
        return node;
    }

    std::shared_ptr<WhereEvaluator> compileCompound(const CompoundWhereClauseExpression& compound) const {
        const auto op = compound.getUniformOperator();
        const auto& children = compound.getExpressions();
        if (!children || children->empty()) {
            return makeFallback();
        }
        std::vector<std::shared_ptr<WhereEvaluator>> compiled;
        compiled.reserve(children->size());
        for (const auto& child : *children) {
            compiled.push_back(compile(child.get()));
        }
        if (compiled.size() == 1 && op != WhereClauseOperators::NOT) {
            return compiled.front();
        }
        auto node = makeFallback();
        node->children_ = std::move(compiled);
        switch (op) {
            case WhereClauseOperators::AND:
                node->setRoutine(Routine::AND, Kernels::And::kernel);
                break;
            case WhereClauseOperators::OR:
                node->setRoutine(Routine::OR, Kernels::Or::kernel);
                break;
            case WhereClauseOperators::NOT:
                node->setRoutine(Routine::NOT, Kernels::Not::kernel);
                break;
            default:
                node->children_.clear();  // another operator keeps the fallback
                break;
        }
        return node;
    }

    void compileLeaf(WhereEvaluator& node, const WhereClauseExpression& leaf) const {
        const auto op = leaf.getOperatorType();
        if (op == WhereClauseOperators::FALSE || op == WhereClauseOperators::TRUE) {
            setConstant(node, op == WhereClauseOperators::TRUE);
            return;
        }
        const bool isComparison = WhereClauseOperators::isComparison(op) || op == WhereClauseOperators::IS ||
                                  op == WhereClauseOperators::IS_NOT;
        const auto& value = leaf.getValue();
        if (!isComparison || !value || !dataSet || !leaf.getColumnName()) {
            return;
        }
        auto column = dataSet->getColumnWithName(*leaf.getColumnName());
        if (!column) {
            return;
        }
        const bool isStringColumn = column->getDataType() == DataType::STRING;
        const bool isMissing = value->isMissing();
        if (isStringColumn && !value->isString() && !isMissing) {
            return;
        }
        node.column_ = std::move(column);
        node.operator_ = op;
        node.valueIsMissing_ = isMissing;
        if (value->isString() || isStringColumn) {
            // A missing number against texts is a missing text.
            SharedString constant =
                value->isString() ? value->getStringValue() : DataTokens::getStringConstant(DataTokens::TOKEN_MISSING);
            node.stringConstant_ = internStrings ? StringUtilities::internString(constant) : std::move(constant);
            node.compareFormatted_ = !isStringColumn;
            chooseStringRoutine(node, op);
        } else {
            node.numericConstant_ = value->getNumericValue();
            node.epsilon_ = isMissing ? 0 : dataSet->getComparisonEpsilon();
            node.numbers_ = node.column_->getNumbers();
            chooseNumericRoutine(node, op);
        }
    }

    // IS and IS_NOT with a value are EQ and NE.
    static WhereClauseOperators::type comparisonOf(WhereClauseOperators::type op) {
        if (op == WhereClauseOperators::IS) {
            return WhereClauseOperators::EQ;
        }
        return op == WhereClauseOperators::IS_NOT ? WhereClauseOperators::NE : op;
    }

    template <typename Operation>
    static void setNumeric(WhereEvaluator& node, Routine routine) {
        node.setRoutine(routine, Kernels::Leaf<Kernels::NumberCells<Operation>>::kernel);
    }

    static void chooseNumericRoutine(WhereEvaluator& node, WhereClauseOperators::type op) {
        if (node.valueIsMissing_) {
            chooseMissingNumericRoutine(node, op);
            return;
        }
        // A NaN epsilon is not 0 either.
        if (node.epsilon_ != 0 || std::isnan(node.epsilon_)) {
            chooseTolerantRoutine(node, comparisonOf(op));
            return;
        }
        switch (comparisonOf(op)) {
            case WhereClauseOperators::EQ:
                return setNumeric<Kernels::NumericEq>(node, Routine::NUMERIC_EQ);
            case WhereClauseOperators::NE:
                return setNumeric<Kernels::NumericNe>(node, Routine::NUMERIC_NE);
            case WhereClauseOperators::LT:
                return setNumeric<Kernels::NumericLt>(node, Routine::NUMERIC_LT);
            case WhereClauseOperators::LE:
                return setNumeric<Kernels::NumericLe>(node, Routine::NUMERIC_LE);
            case WhereClauseOperators::GT:
                return setNumeric<Kernels::NumericGt>(node, Routine::NUMERIC_GT);
            default:
                return setNumeric<Kernels::NumericGe>(node, Routine::NUMERIC_GE);
        }
    }

    // The routine keeps its name; its kernel is what the comparison means against a missing constant.
    static void chooseMissingNumericRoutine(WhereEvaluator& node, WhereClauseOperators::type op) {
        switch (op) {
            case WhereClauseOperators::IS:
                return setNumeric<Kernels::NumericMissing>(node, Routine::NUMERIC_MISSING);
            case WhereClauseOperators::IS_NOT:
                return setNumeric<Kernels::NumericNotMissing>(node, Routine::NUMERIC_NOT_MISSING);
            case WhereClauseOperators::EQ:
                return setNumeric<Kernels::NumericMissing>(node, Routine::NUMERIC_EQ);
            case WhereClauseOperators::NE:
                return setNumeric<Kernels::NumericNotMissing>(node, Routine::NUMERIC_NE);
            case WhereClauseOperators::LT:
                return setNumeric<Kernels::NumericConstantResult<false>>(node, Routine::NUMERIC_LT);
            case WhereClauseOperators::LE:
                return setNumeric<Kernels::NumericMissing>(node, Routine::NUMERIC_LE);
            case WhereClauseOperators::GT:
                return setNumeric<Kernels::NumericNotMissing>(node, Routine::NUMERIC_GT);
            default:
                return setNumeric<Kernels::NumericConstantResult<true>>(node, Routine::NUMERIC_GE);
        }
    }

    static void chooseTolerantRoutine(WhereEvaluator& node, WhereClauseOperators::type op) {
        switch (op) {
            case WhereClauseOperators::EQ:
                return setNumeric<Kernels::Tolerant<&MathUtilities::epsilon_eq>>(node, Routine::EPSILON_EQ);
            case WhereClauseOperators::NE:
                return setNumeric<Kernels::Tolerant<&MathUtilities::epsilon_ne>>(node, Routine::EPSILON_NE);
            case WhereClauseOperators::LT:
                return setNumeric<Kernels::Tolerant<&MathUtilities::epsilon_lt>>(node, Routine::EPSILON_LT);
            case WhereClauseOperators::LE:
                return setNumeric<Kernels::Tolerant<&MathUtilities::epsilon_le>>(node, Routine::EPSILON_LE);
            case WhereClauseOperators::GT:
                return setNumeric<Kernels::Tolerant<&MathUtilities::epsilon_gt>>(node, Routine::EPSILON_GT);
            default:
                return setNumeric<Kernels::Tolerant<&MathUtilities::epsilon_ge>>(node, Routine::EPSILON_GE);
        }
    }

    void chooseStringRoutine(WhereEvaluator& node, WhereClauseOperators::type op) const {
        const bool missing = node.valueIsMissing_;
        switch (op) {
            case WhereClauseOperators::EQ:
                return internStrings ? setString<Kernels::InternEq>(node, Routine::INTERN_EQ)
                                     : setString<Kernels::StringEq>(node, Routine::STRING_EQ);
            case WhereClauseOperators::NE:
                return internStrings ? setString<Kernels::InternNe>(node, Routine::INTERN_NE)
                                     : setString<Kernels::StringNe>(node, Routine::STRING_NE);
            case WhereClauseOperators::LT:
                return setString<Kernels::StringOrder<std::less<>>>(node, Routine::STRING_LT);
            case WhereClauseOperators::LE:
                return setString<Kernels::StringOrder<std::less_equal<>>>(node, Routine::STRING_LE);
            case WhereClauseOperators::GT:
                return setString<Kernels::StringOrder<std::greater<>>>(node, Routine::STRING_GT);
            case WhereClauseOperators::GE:
                return setString<Kernels::StringOrder<std::greater_equal<>>>(node, Routine::STRING_GE);
            case WhereClauseOperators::IS:
                return missing ? setString<Kernels::StringMissing>(node, Routine::STRING_MISSING)
                               : setString<Kernels::StringEq>(node, Routine::STRING_EQ);
            default:
                return missing ? setString<Kernels::StringNotMissing>(node, Routine::STRING_NOT_MISSING)
                               : setString<Kernels::StringNe>(node, Routine::STRING_NE);
        }
    }

    template <typename Operation>
    static void setString(WhereEvaluator& node, Routine routine) {
        if (!decideStringIndices<Operation>(node)) {
            node.setRoutine(routine, Kernels::Leaf<Kernels::TextCells<Operation>>::kernel);
            return;
        }
        const std::size_t passing =
            static_cast<std::size_t>(std::count(node.verdicts_.begin(), node.verdicts_.end(), std::uint8_t{1}));
        if (passing == 1 && !node.nullTextVerdict_) {
            const auto position = std::find(node.verdicts_.begin(), node.verdicts_.end(), std::uint8_t{1});
            node.onlyMatchingIndex_ = static_cast<std::int32_t>(position - node.verdicts_.begin()) -
                                      static_cast<std::int32_t>(Kernels::TOKEN_OFFSET);
            node.setRoutine(routine, Kernels::Leaf<Kernels::IndexEqualsCells>::kernel);
        } else {
            node.setRoutine(routine, Kernels::Leaf<Kernels::IndexVerdictCells>::kernel);
        }
    }

    // A string column that reads its texts through its indices is decided once per distinct
    // index: the verdict of each token code and string-table entry, and of a cell without text.
    // Not worth it when the shared table is much larger than the column.
    template <typename Operation>
    static bool decideStringIndices(WhereEvaluator& node) {
        const Column& column = *node.column_;
        const auto& indices = column.getStringIndices();
        if (node.compareFormatted_ || column.hasExplicitStrings() || !indices) {
            return false;
        }
        const auto& table = column.getResolvedStringTable();
        const std::size_t tableSize = table ? table->size() : 0;
        if (tableSize > 4 * indices->size() + 4096 ||
            tableSize > std::numeric_limits<std::uint32_t>::max() - Kernels::TOKEN_OFFSET) {
            return false;
        }
        node.stringIndices_ = indices;
        node.verdicts_.resize(Kernels::TOKEN_OFFSET + tableSize);
        for (std::uint32_t code = 0; code < Kernels::TOKEN_OFFSET; ++code) {
            const auto token = static_cast<std::int32_t>(code) - static_cast<std::int32_t>(Kernels::TOKEN_OFFSET);
            node.verdicts_[code] = Operation::test(DataTokens::getStringConstant(token), node) ? 1 : 0;
        }
        for (std::size_t index = 0; index < tableSize; ++index) {
            node.verdicts_[Kernels::TOKEN_OFFSET + index] = Operation::test((*table)[index], node) ? 1 : 0;
        }
        node.nullTextVerdict_ = Operation::test(nullptr, node);
        return true;
    }
};

// --- WhereEvaluator ---------------------------------------------------------------------------------

WhereEvaluator::WhereEvaluator(Token) : numericConstant_(std::numeric_limits<double>::quiet_NaN()) {}

WhereEvaluator::~WhereEvaluator() = default;

void WhereEvaluator::setRoutine(Routine routine, const Kernel& kernel) {
    routine_ = routine;
    kernel_ = &kernel;
}

std::shared_ptr<WhereEvaluator> WhereEvaluator::create(
    const std::shared_ptr<const AbstractWhereClauseExpression>& where, const std::shared_ptr<const DataSet>& dataSet,
    bool internStrings, bool resultWhenUnresolved) {
    const WhereEvaluatorCompiler compiler{dataSet.get(), internStrings, resultWhenUnresolved};
    return compiler.compile(where.get());
}

bool WhereEvaluator::evaluate(std::uint32_t row) const {
    return kernel_->evaluateRow(*this, row);
}

std::size_t WhereEvaluator::selectRows(std::uint32_t begin, std::uint32_t end, std::uint32_t* selection) const {
    Scratch scratch;
    std::size_t count = 0;
    for (std::uint32_t batchBegin = begin; batchBegin < end;) {
        const std::uint32_t batchEnd = end - batchBegin > Scratch::BATCH_ROWS ? batchBegin + Scratch::BATCH_ROWS : end;
        count += kernel_->selectRange(*this, batchBegin, batchEnd, selection + count, scratch, 0);
        batchBegin = batchEnd;
    }
    return count;
}

std::vector<std::uint32_t> WhereEvaluator::selectRows(std::uint32_t begin, std::uint32_t end) const {
    std::vector<std::uint32_t> selection(end > begin ? end - begin : 0);
    selection.resize(selectRows(begin, end, selection.data()));
    return selection;
}

// --- Text -------------------------------------------------------------------------------------------

std::string_view WhereEvaluator::getRoutineName(Routine routine) {
    static constexpr std::array<std::string_view, 29> names = {"_eval_true",
                                                               "_eval_false",
                                                               "_eval_numeric_eq",
                                                               "_eval_numeric_ne",
                                                               "_eval_numeric_lt",
                                                               "_eval_numeric_le",
                                                               "_eval_numeric_gt",
                                                               "_eval_numeric_ge",
                                                               "_eval_numeric_missing",
                                                               "_eval_numeric_not_missing",
                                                               "_eval_epsilon_eq",
                                                               "_eval_epsilon_ne",
                                                               "_eval_epsilon_lt",
                                                               "_eval_epsilon_le",
                                                               "_eval_epsilon_gt",
                                                               "_eval_epsilon_ge",
                                                               "_eval_string_eq",
                                                               "_eval_string_ne",
                                                               "_eval_intern_eq",
                                                               "_eval_intern_ne",
                                                               "_eval_string_lt",
                                                               "_eval_string_le",
                                                               "_eval_string_gt",
                                                               "_eval_string_ge",
                                                               "_eval_string_missing",
                                                               "_eval_string_not_missing",
                                                               "_eval_and",
                                                               "_eval_or",
                                                               "_eval_not"};
    const auto index = static_cast<std::size_t>(routine);
    return index < names.size() ? names[index] : std::string_view("[@0()]");
}

void WhereEvaluator::printToStream(std::ostream& stream) const {
    switch (routine_) {
        case Routine::TRUE_RESULT:
            stream << "TRUE";
            return;
        case Routine::FALSE_RESULT:
            stream << "FALSE";
            return;
        case Routine::NOT:
            stream << "NOT(";
            children_.front()->printToStream(stream);
            stream << ')';
            return;
        case Routine::AND:
        case Routine::OR: {
            const std::string_view separator = routine_ == Routine::AND ? " AND " : " OR ";
            stream << '(';
            for (std::size_t index = 0; index < children_.size(); ++index) {
                if (index > 0) {
                    stream << separator;
                }
                children_[index]->printToStream(stream);
            }
            stream << ')';
            return;
        }
        default:
            break;
    }
    stream << '(' << *column_->getName() << ' ' << WhereClauseOperators::getStringFromValue(operator_) << ' ';
    const bool comparesTexts = routine_ >= Routine::STRING_EQ && routine_ <= Routine::STRING_NOT_MISSING;
    if (comparesTexts) {
        stream << (stringConstant_ ? *stringConstant_ : std::string("NULL"));
    } else {
        stream << numericConstant_;
    }
    stream << ')';
}

SharedString WhereEvaluator::getStringRepresentation() const {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    printToStream(stream);
    return std::make_shared<const std::string>(stream.str());
}

}  // namespace pellium
