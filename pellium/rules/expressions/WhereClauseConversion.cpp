#include "pellium/rules/expressions/WhereClauseConversion.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/rules/expressions/BetweenExpression.h"
#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/CompoundBooleanExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/ExpressionComparisons.h"
#include "pellium/rules/expressions/FunctionExpression.h"
#include "pellium/rules/expressions/InExpression.h"
#include "pellium/rules/expressions/IsMissingExpression.h"
#include "pellium/rules/expressions/KeywordExpression.h"
#include "pellium/rules/expressions/ValueMapExpressionContext.h"

namespace pellium {

namespace {

using Clause = std::shared_ptr<AbstractWhereClauseExpression>;
using Clauses = CompoundWhereClauseExpression::Children;
using Op = BinaryRelationalOperator;
using Where = WhereClauseOperators;
using Operands = std::span<const std::shared_ptr<Expression>>;

constexpr double SUPPRESSED = ExpressionComparisons::SUPPRESSED;
constexpr double SPARSE = ExpressionComparisons::LOWEST;
constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

// How the cells of a column compare in a test: as numbers, as texts, or not known before a data
// set is at hand.
enum class Cells { UNKNOWN, NUMBERS, TEXTS };

Where::type whereOperator(Op::type op) {
    switch (op) {
        case Op::EQ:
            return Where::EQ;
        case Op::NE:
            return Where::NE;
        case Op::GT:
            return Where::GT;
        case Op::GE:
            return Where::GE;
        case Op::LT:
            return Where::LT;
        default:
            return Where::LE;
    }
}

// The rows of one column that a test selects, in the terms of expression evaluation: the present
// cells that satisfy a comparison with a constant (or all or none of them), and whether missing
// and (for numbers) suppressed cells are selected. Closed under complement, so that NOT needs no
// where-clause negation.
struct Selection {
    enum Present { NONE, ALL, COMPARED };

    Present present = NONE;
    Op::type op = Op::NONE;
    double number = NOT_A_NUMBER;
    SharedString text;
    bool missing = false;
    bool suppressed = false;

    Selection complement() const {
        Selection other = *this;
        other.present = present == COMPARED ? COMPARED : (present == ALL ? NONE : ALL);
        other.op = Op::getInverse(op);
        other.missing = !missing;
        other.suppressed = !suppressed;
        return other;
    }

    // `cell op constant` for an expression, with a missing constant: every present cell passes
    // or none does, by the rule that missing is the lowest value.
    static Selection ofMissingConstant(Op::type op) {
        Selection selection;
        selection.present = ExpressionComparisons::compareMissing(op, false, true) ? ALL : NONE;
        selection.missing = ExpressionComparisons::compareMissing(op, true, true);
        return selection;
    }
    static Selection ofNumber(Op::type op, double constant) {
        if (ExpressionComparisons::isSuppressed(constant)) {
            return Selection();
        }
        if (ExpressionComparisons::isMissing(constant)) {
            return ofMissingConstant(op);
        }
        Selection selection;
        selection.present = COMPARED;
        selection.op = op;
        selection.number = constant;
        selection.missing = ExpressionComparisons::compareMissing(op, true, false);
        return selection;
    }
    static Selection ofText(Op::type op, SharedString constant) {
        if (StringUtilities::isStringMissing(constant)) {
            return ofMissingConstant(op);
        }
        Selection selection;
        selection.present = COMPARED;
        selection.op = op;
        selection.text = std::move(constant);
        selection.missing = ExpressionComparisons::compareMissing(op, true, false);
        return selection;
    }
};

// The column a data item names, with what is known of it before the clause is applied.
struct Target {
    SharedString name;
    std::shared_ptr<const Column> column;
    std::shared_ptr<const Level> level;
    Cells cells = Cells::UNKNOWN;
    // The data set lacks the column, so the item is missing in every row.
    bool isAbsent = false;
};

Cells cellsOfType(DataType::type type) {
    return type == DataType::STRING ? Cells::TEXTS : Cells::NUMBERS;
}

Cells cellsOfType(DataTypeExt::type type) {
    if (type == DataTypeExt::CHARACTER) {
        return Cells::TEXTS;
    }
    return DataTypeExt::isNumber(type) ? Cells::NUMBERS : Cells::UNKNOWN;
}

class Converter {
public:
    Converter(const std::shared_ptr<const DataSet>& dataSet,
              const std::shared_ptr<const Expression::Hierarchies>& hierarchies,
              const std::shared_ptr<const MetadataProvider>& provider)
        : dataSet_(dataSet),
          hierarchies_(hierarchies),
          provider_(provider),
          noItems_(ValueMapExpressionContext::create()) {
        // Comparisons of constants are decided here, with the tolerance the data set's rows use.
        if (dataSet_) {
            noItems_->setTolerance(dataSet_->getComparisonEpsilon());
        }
    }

    // The clause of `node`, or of its negation when `negated`.
    Clause convert(const Expression& node, bool negated) {
        switch (node.getWrapperTypeId()) {
            case WrapperTypeIds::BINARY_RELATIONAL_EXPRESSION: {
                const auto& relational = static_cast<const BinaryRelationalExpression&>(node);
                // Evaluation answers false for a comparison whose operand types do not agree.
                if (!relational.hasValidTypeAgreement()) {
                    return constant(negated);
                }
                if (relational.trimsTexts()) {
                    return nullptr;
                }
                return convertComparison(relational.getOperator(), relational.getLeftOperand().get(),
                                         relational.getRightOperand().get(), negated);
            }
            case WrapperTypeIds::BETWEEN_EXPRESSION: {
                const auto& between = static_cast<const BetweenExpression&>(node);
                return convertRange(node.getOperands(), between.includesBoundaries(),
                                    between.isInvertedToMatchOutside(), negated);
            }
            case WrapperTypeIds::IN_EXPRESSION:
                return convertMembership(node.getOperands(),
                                         static_cast<const InExpression&>(node).hasInvertedMeaning(), negated);
            case WrapperTypeIds::IS_MISSING_EXPRESSION:
                return convertMissingTest(node.getOperand(0).get(),
                                          static_cast<const IsMissingExpression&>(node).hasInvertedMeaning(), negated);
            case WrapperTypeIds::COMPOUND_BOOLEAN_EXPRESSION:
                return convertCompound(static_cast<const CompoundBooleanExpression&>(node).isConjunction(),
                                       node.getOperands(), negated);
            case WrapperTypeIds::NEGATED_EXPRESSION: {
                const auto& operand = node.getOperand(0);
                // A NOT of something that is no condition is false.
                return operand->isBooleanExpression() ? convert(*operand, !negated) : constant(negated);
            }
            case WrapperTypeIds::KEYWORD_EXPRESSION:
                if (!node.isBooleanExpression()) {
                    return nullptr;
                }
                return constant((static_cast<const KeywordExpression&>(node).getKeyword() ==
                                 ExpressionKeywords::KW_TRUE) != negated);
            case WrapperTypeIds::FUNCTION_EXPRESSION:
                return convertFunction(static_cast<const FunctionExpression&>(node), negated);
            default:
                return nullptr;
        }
    }

private:
    Clause convertFunction(const FunctionExpression& function, bool negated) {
        using F = FunctionExpressionType;
        const Operands operands = function.getOperands();
        const F::type type = function.getFunctionType();
        if (F::isComparison(type)) {
            // A third operand asks for trimmed texts, which no where clause compares.
            if (operands.size() != 2) {
                return nullptr;
            }
            return convertComparison(static_cast<Op::type>(type), operands[0].get(), operands[1].get(), negated);
        }
        if (F::isRange(type)) {
            return convertRange(operands, BetweenExpression::includesBoundariesOf(type),
                                BetweenExpression::matchesOutsideOf(type), negated);
        }
        switch (type) {
            case F::F_IS_MISSING:
            case F::F_NOT_MISSING:
                return convertMissingTest(operands[0].get(), type == F::F_NOT_MISSING, negated);
            case F::F_IN:
            case F::F_NOT_IN:
                return convertMembership(operands, type == F::F_NOT_IN, negated);
            case F::F_AND:
            case F::F_OR:
                return convertCompound(type == F::F_AND, operands, negated);
            case F::F_NOT:
                return convert(*operands[0], !negated);
            default:
                return nullptr;
        }
    }

    // AND skips children that are no conditions; OR is true at once for one (deliberately
    // asymmetric, as evaluation is).
    Clause convertCompound(bool isConjunction, Operands children, bool negated) {
        Clauses clauses;
        for (const auto& child : children) {
            if (!child || !child->isBooleanExpression()) {
                if (isConjunction) {
                    continue;
                }
                return constant(!negated);
            }
            auto clause = convert(*child, negated);
            if (!clause) {
                return nullptr;
            }
            clauses.push_back(std::move(clause));
        }
        // NOT (a AND b) is NOT a OR NOT b.
        return combine(isConjunction != negated ? Where::AND : Where::OR, std::move(clauses));
    }

    Clause convertComparison(Op::type op, const Expression* left, const Expression* right, bool negated) {
        // No operand, or no operator ("?"), compares false.
        if (!left || !right || op == Op::NONE || !Op::isValid(op)) {
            return constant(negated);
        }
        if (isValue(left) && isValue(right)) {
            return constant(BinaryRelationalExpression::compare(op, left, right, *noItems_, false) != negated);
        }
        // The right operand decides whether the two compare as texts.
        if (isValue(right)) {
            const auto target = findTarget(left);
            if (!target) {
                return nullptr;
            }
            return select(*target, op, *right, isText(*right), negated);
        }
        const auto target = findTarget(right);
        if (!target || !isValue(left)) {
            return nullptr;
        }
        return select(*target, Op::getMirrored(op), *left, itemComparesTexts(*target, isText(*left)), negated);
    }

    Clause convertRange(Operands operands, bool includesBoundaries, bool matchesOutside, bool negated) {
        const Expression* item = operands.size() > 0 ? operands[0].get() : nullptr;
        const Expression* low = operands.size() > 1 ? operands[1].get() : nullptr;
        const Expression* high = operands.size() > 2 ? operands[2].get() : nullptr;
        if (!item || !low || !high) {
            return constant(negated);
        }
        if (!isValue(low) || !isValue(high)) {
            return nullptr;
        }
        if (isValue(item)) {
            return constant(BetweenExpression::test(item, low, high, *noItems_, includesBoundaries, matchesOutside) !=
                            negated);
        }
        const auto target = findTarget(item);
        if (!target) {
            return nullptr;
        }
        // The item decides whether the three compare as texts.
        const bool comparesTexts = itemComparesTexts(*target, isText(*low) && isText(*high));
        const Op::type lowOp =
            matchesOutside ? (includesBoundaries ? Op::LE : Op::LT) : (includesBoundaries ? Op::GE : Op::GT);
        const Op::type highOp =
            matchesOutside ? (includesBoundaries ? Op::GE : Op::GT) : (includesBoundaries ? Op::LE : Op::LT);
        Clauses clauses;
        for (const auto& [op, boundary] : {std::pair{lowOp, low}, std::pair{highOp, high}}) {
            auto clause = select(*target, op, *boundary, comparesTexts, negated);
            if (!clause) {
                return nullptr;
            }
            clauses.push_back(std::move(clause));
        }
        return combine(matchesOutside == negated ? Where::AND : Where::OR, std::move(clauses));
    }

    // In is an OR of equalities; NotIn an AND of their complements, each leaving suppressed cells
    // out as NotIn does.
    Clause convertMembership(Operands operands, bool isInverted, bool negated) {
        const Expression* tested = operands.empty() ? nullptr : operands[0].get();
        if (!tested) {
            return constant(negated);
        }
        std::vector<const Expression*> members;
        if (!collectMembers(operands.subspan(1), members)) {
            return nullptr;
        }
        if (isValue(tested)) {
            return constant(InExpression::test(operands, *noItems_, isInverted) != negated);
        }
        const auto target = findTarget(tested);
        if (!target) {
            return nullptr;
        }
        Cells cells = target->isAbsent ? Cells::NUMBERS : target->cells;
        if (cells == Cells::UNKNOWN && !members.empty()) {
            const auto isTextMember = [this](const Expression* member) { return isText(*member); };
            const bool allTexts = std::all_of(members.begin(), members.end(), isTextMember);
            const bool noTexts = std::none_of(members.begin(), members.end(), isTextMember);
            if (!allTexts && !noTexts) {
                return nullptr;
            }
            cells = allTexts ? Cells::TEXTS : Cells::NUMBERS;
        }
        if (members.empty()) {
            // In of nothing is false; NotIn of nothing is true but for suppressed cells.
            Selection selection;
            if (isInverted) {
                selection.present = Selection::ALL;
                selection.missing = true;
            }
            return selectCells(*target, selection, cells, negated);
        }
        const bool comparesTexts = cells == Cells::TEXTS;
        Clauses clauses;
        for (const Expression* member : members) {
            auto selection = select(*target, Op::EQ, *member, comparesTexts);
            if (!selection) {
                return nullptr;
            }
            if (isInverted) {
                // Not equal to the member, where a suppressed member equals nothing.
                selection = selection->complement();
                selection->suppressed = false;
            }
            clauses.push_back(selectCells(*target, *selection, cells, negated));
        }
        return combine(isInverted != negated ? Where::AND : Where::OR, std::move(clauses));
    }

    // Members in the order evaluation visits them: lists opened, null members skipped. False
    // when a member is no constant.
    static bool collectMembers(Operands operands, std::vector<const Expression*>& members) {
        for (const auto& member : operands) {
            if (!member) {
                continue;
            }
            if (member->getWrapperTypeId() == WrapperTypeIds::COMPOUND_CONSTANT_EXPRESSION) {
                if (!collectMembers(member->getOperands(), members)) {
                    return false;
                }
            } else if (isValue(member.get())) {
                members.push_back(member.get());
            } else {
                return false;
            }
        }
        return true;
    }

    Clause convertMissingTest(const Expression* operand, bool isInverted, bool negated) {
        if (!operand) {
            return constant(negated);
        }
        if (isValue(operand)) {
            return constant(IsMissingExpression::test(operand, *noItems_, isInverted) != negated);
        }
        const auto target = findTarget(operand);
        if (!target) {
            return nullptr;
        }
        // Missing(x) is x = missing, NotMissing(x) is x ≠ missing, for texts and numbers alike.
        return selectCells(*target, Selection::ofMissingConstant(isInverted ? Op::NE : Op::EQ), target->cells, negated);
    }

    // Whether a comparison that the item's own type decides compares texts. An item of unknown type
    // follows the constants it meets; one the data set lacks evaluates as a missing number, so it
    // compares numbers, as evaluation does.
    static bool itemComparesTexts(const Target& target, bool constantsAreTexts) {
        if (target.isAbsent) {
            return false;
        }
        return target.cells == Cells::UNKNOWN ? constantsAreTexts : target.cells == Cells::TEXTS;
    }

    // The clause of `cell op value` on the target's column.
    Clause select(const Target& target, Op::type op, const Expression& value, bool comparesTexts, bool negated) {
        const auto selection = select(target, op, value, comparesTexts);
        return selection ? selectCells(target, *selection, comparesTexts ? Cells::TEXTS : Cells::NUMBERS, negated)
                         : nullptr;
    }

    // The cells `cell op value` selects; empty when a number column would be compared as texts,
    // which compares the numbers' decimal texts, as no where clause does.
    std::optional<Selection> select(const Target& target, Op::type op, const Expression& value,
                                    bool comparesTexts) const {
        if (!comparesTexts) {
            return Selection::ofNumber(op, value.evaluateAsNumber(*noItems_));
        }
        if (target.cells == Cells::NUMBERS) {
            return std::nullopt;
        }
        return Selection::ofText(op, value.evaluateAsString(*noItems_));
    }

    Clause selectCells(const Target& target, Selection selection, Cells cells, bool negated) {
        if (negated) {
            selection = selection.complement();
        }
        // A column the data set lacks, or a text column read as numbers, is missing in every row.
        if (target.isAbsent || (cells == Cells::NUMBERS && target.cells == Cells::TEXTS)) {
            return constant(selection.missing);
        }
        if (cells == Cells::UNKNOWN) {
            // The number leaves for missing cells serve text columns too; the others do not.
            cells = selection.present == Selection::NONE ? Cells::NUMBERS : Cells::TEXTS;
        }
        return cells == Cells::TEXTS ? selectTexts(target, selection) : selectNumbers(target, selection);
    }

    Clause selectNumbers(const Target& target, const Selection& selection) {
        Clauses parts;
        bool coversMissing = !selection.missing;
        bool coversSuppressed = !selection.suppressed;
        if (selection.present == Selection::ALL) {
            if (selection.missing) {
                return selection.suppressed ? constant(true) : allButSuppressed(target);
            }
            parts.push_back(presentCells(target, !selection.suppressed));
            coversSuppressed = true;
        } else if (selection.present == Selection::COMPARED) {
            const double constant = selection.number;
            Clauses conditions{leaf(target, whereOperator(selection.op), DataValue::create(constant))};
            // What the leaf does with cells the expression treats apart: NaN passes LT and LE (and a
            // tolerant NE), and the sparse and suppressed values pass as the numbers they are.
            bool passesEveryMissing = (selection.op == Op::LT || selection.op == Op::LE) &&
                                      ExpressionComparisons::compareExactly(selection.op, SPARSE, constant);
            const bool mayPassMissing = selection.op == Op::LT || selection.op == Op::LE || selection.op == Op::NE ||
                                        ExpressionComparisons::compareExactly(selection.op, SPARSE, constant);
            const bool passesSuppressed = ExpressionComparisons::compareExactly(selection.op, SUPPRESSED, constant);
            if (passesSuppressed && !selection.suppressed) {
                conditions.push_back(leaf(target, Where::NE, DataValue::create(SUPPRESSED)));
                passesEveryMissing = false;  // an exact NE also drops NaN
            }
            if (mayPassMissing && !selection.missing) {
                conditions.push_back(presentCells(target, false));
            }
            parts.push_back(combine(Where::AND, std::move(conditions)));
            coversMissing = coversMissing || passesEveryMissing;
            coversSuppressed = coversSuppressed || passesSuppressed;
        }
        if (!coversMissing) {
            parts.push_back(missingCells(target));
        }
        if (!coversSuppressed) {
            parts.push_back(leaf(target, Where::EQ, DataValue::create(SUPPRESSED)));
        }
        return combine(Where::OR, std::move(parts));
    }

    Clause selectTexts(const Target& target, const Selection& selection) {
        switch (selection.present) {
            case Selection::ALL:
                return selection.missing ? constant(true) : leaf(target, Where::IS_NOT, DataValue::create());
            case Selection::NONE:
                return selection.missing ? leaf(target, Where::IS, DataValue::create()) : constant(false);
            default:
                break;
        }
        auto comparison =
            leaf(target, whereOperator(selection.op),
                 DataValue::create(StringUtilities::internString(selection.text), DataTokens::UNRESOLVABLE_DATA_VALUE));
        if (selection.missing) {
            return combine(Where::OR, {std::move(comparison), leaf(target, Where::IS, DataValue::create())});
        }
        // Blank texts and cells without text fail EQ with a text that is not blank; in an order
        // they may stand anywhere.
        if (selection.op == Op::EQ) {
            return comparison;
        }
        return combine(Where::AND, {std::move(comparison), leaf(target, Where::IS_NOT, DataValue::create())});
    }

    // NaN or the sparse number. IS with a missing number is also a text column's missing test,
    // and the sparse number matches nothing there.
    Clause missingCells(const Target& target) {
        return combine(Where::OR, {leaf(target, Where::IS, DataValue::create(NOT_A_NUMBER)),
                                   leaf(target, Where::EQ, DataValue::create(SPARSE))});
    }

    // Neither NaN nor the sparse number (an exact NE drops NaN, a tolerant one keeps it).
    Clause presentCells(const Target& target, bool withoutSuppressed) {
        Clauses conditions{leaf(target, Where::IS_NOT, DataValue::create(NOT_A_NUMBER)),
                           leaf(target, Where::NE, DataValue::create(SPARSE))};
        if (withoutSuppressed) {
            conditions.push_back(leaf(target, Where::NE, DataValue::create(SUPPRESSED)));
        }
        return combine(Where::AND, std::move(conditions));
    }

    // Every cell but a suppressed one, NaN included in both exact and tolerant comparisons.
    Clause allButSuppressed(const Target& target) {
        return combine(Where::OR, {leaf(target, Where::LT, DataValue::create(SUPPRESSED)),
                                   leaf(target, Where::GT, DataValue::create(SUPPRESSED))});
    }

    Clause leaf(const Target& target, Where::type op, std::shared_ptr<DataValue> value) const {
        if (provider_ || (!target.level && !target.column)) {
            return WhereClauseExpression::create(target.name, op, std::move(value), provider_);
        }
        if (target.level) {
            return WhereClauseExpression::create(target.level, op, std::move(value));
        }
        return WhereClauseExpression::create(target.column, op, std::move(value));
    }

    static Clause constant(bool result) { return WhereClauseExpression::create(result); }

    // Joins `clauses` by `op`, folding TRUE and FALSE and flattening compounds of the same
    // operator: an empty AND is TRUE, an empty OR FALSE, and one clause stands alone.
    static Clause combine(Where::type op, Clauses clauses) {
        const bool isConjunction = op == Where::AND;
        Clauses children;
        for (auto& clause : clauses) {
            if (const auto* leafClause = dynamic_cast<const WhereClauseExpression*>(clause.get())) {
                const Where::type leafOperator = leafClause->getOperatorType();
                if (leafOperator == Where::TRUE || leafOperator == Where::FALSE) {
                    if ((leafOperator == Where::TRUE) == isConjunction) {
                        continue;
                    }
                    return clause;
                }
            } else if (const auto* compound = dynamic_cast<const CompoundWhereClauseExpression*>(clause.get());
                       compound && compound->getUniformOperator() == op && compound->getExpressions()) {
                children.insert(children.end(), compound->getExpressions()->begin(), compound->getExpressions()->end());
                continue;
            }
            children.push_back(std::move(clause));
        }
        if (children.empty()) {
            return constant(isConjunction);
        }
        if (children.size() == 1) {
            return children.front();
        }
        return CompoundWhereClauseExpression::create(op, children);
    }

    // A constant operand: a number, a text or a computation of them.
    static bool isValue(const Expression* operand) {
        return operand && operand->isConstant() && !operand->isKeyword() && operand->getDataType() != DataTypeExt::LIST;
    }

    bool isText(const Expression& value) const {
        return value.getDataTypeInContext(*noItems_) == DataTypeExt::CHARACTER;
    }

    std::optional<Target> findTarget(const Expression* operand) const {
        if (!operand || operand->getWrapperTypeId() != WrapperTypeIds::DATA_ITEM_EXPRESSION) {
            return std::nullopt;
        }
        const auto& item = static_cast<const DataItemExpression&>(*operand);
        Target target;
        target.name = item.getName();
        if (dataSet_) {
            target.column = dataSet_->getColumnWithName(*target.name);
            target.isAbsent = !target.column;
            if (target.column) {
                target.cells = cellsOfType(target.column->getDataType());
            }
        }
        if (hierarchies_) {
            for (const auto& hierarchy : *hierarchies_) {
                if (auto level = hierarchy ? hierarchy->getLevelWithName(*target.name) : nullptr) {
                    if (target.cells == Cells::UNKNOWN) {
                        target.cells = cellsOfType(level->getDataType());
                    }
                    target.level = std::move(level);
                    break;
                }
            }
        }
        if (target.cells == Cells::UNKNOWN) {
            target.cells = cellsOfType(item.getDataType());
        }
        return target;
    }

    const std::shared_ptr<const DataSet>& dataSet_;
    const std::shared_ptr<const Expression::Hierarchies>& hierarchies_;
    const std::shared_ptr<const MetadataProvider>& provider_;
    // Constants are evaluated against a context without items.
    std::shared_ptr<ValueMapExpressionContext> noItems_;
};

}  // namespace

std::shared_ptr<AbstractWhereClauseExpression> WhereClauseConversion::convert(
    const Expression& expression, const std::shared_ptr<const DataSet>& dataSet,
    const std::shared_ptr<const Expression::Hierarchies>& hierarchies,
    const std::shared_ptr<const MetadataProvider>& provider) {
    // An invalid tree evaluates to false everywhere; it is no filter to convert.
    if (!expression.isBooleanExpression() || !expression.hasValidTypeAgreement()) {
        return nullptr;
    }
    return Converter(dataSet, hierarchies, provider).convert(expression, false);
}

}  // namespace pellium
