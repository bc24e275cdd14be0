#include "pellium/models/data/where/WhereClauseStatement.h"

#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseSimplification.h"
#include "pellium/models/data/where/WhereStatementReader.h"

namespace pellium {

WhereClauseStatement::WhereClauseStatement(Token, std::shared_ptr<Expressions> expressions,
                                           std::shared_ptr<Operators> operators)
    : expressions_(std::move(expressions)), operators_(std::move(operators)) {}

std::shared_ptr<WhereClauseStatement> WhereClauseStatement::create() {
    return std::make_shared<WhereClauseStatement>(Token{}, std::make_shared<Expressions>(),
                                                  std::make_shared<Operators>());
}

std::shared_ptr<WhereClauseStatement> WhereClauseStatement::create(const Expressions& expressions,
                                                                   WhereClauseOperators::type op) {
    const std::size_t joins = expressions.empty() ? 0 : expressions.size() - 1;
    return std::make_shared<WhereClauseStatement>(Token{}, std::make_shared<Expressions>(expressions),
                                                  std::make_shared<Operators>(joins, op));
}

std::shared_ptr<WhereClauseStatement> WhereClauseStatement::create(std::shared_ptr<Expressions> expressions,
                                                                   std::shared_ptr<Operators> operators) {
    return std::make_shared<WhereClauseStatement>(Token{}, std::move(expressions), std::move(operators));
}

std::shared_ptr<WhereClauseStatement> WhereClauseStatement::create(std::string_view text) {
    auto expressions = std::make_shared<Expressions>();
    auto operators = std::make_shared<Operators>();
    if (!WhereStatementReader::read(text, *expressions, *operators)) {
        return nullptr;
    }
    return create(std::move(expressions), std::move(operators));
}

bool WhereClauseStatement::isValid() const {
    // An empty operator vector counts as none.
    if (!operators_ || operators_->empty()) {
        return true;
    }
    const std::size_t expressionCount = expressions_ ? expressions_->size() : 0;
    if (expressionCount != operators_->size() + 1) {
        return false;
    }
    for (const auto op : *operators_) {
        if (op != WhereClauseOperators::AND && op != WhereClauseOperators::OR) {
            return false;
        }
    }
    return true;
}

bool WhereClauseStatement::evaluate(const std::shared_ptr<const AbstractWhereClauseExpression::RowMap>& row) const {
    if (!expressions_ || expressions_->empty()) {
        return true;
    }
    auto current = WhereClauseOperators::AND;
    for (std::size_t index = 0; index < expressions_->size(); ++index) {
        if (index >= 1 && operators_ && index - 1 < operators_->size()) {
            current = (*operators_)[index - 1];
        }
        const auto& expression = (*expressions_)[index];
        const bool result = expression && expression->evaluate(row);
        if (current == WhereClauseOperators::OR && result) {
            return true;
        }
        if (current == WhereClauseOperators::AND && !result) {
            return false;
        }
    }
    return true;
}

AbstractWhereClauseExpression::ColumnNames WhereClauseStatement::getReferencedColumnNames() const {
    AbstractWhereClauseExpression::ColumnNames names;
    if (expressions_) {
        for (const auto& expression : *expressions_) {
            if (expression) {
                names.merge(expression->getReferencedColumnNames());
            }
        }
    }
    return names;
}

SharedString WhereClauseStatement::getStringRepresentation() const {
    std::string text;
    if (expressions_) {
        for (std::size_t index = 0; index < expressions_->size(); ++index) {
            if (index > 0 && operators_ && index - 1 < operators_->size()) {
                text += ' ';
                text += WhereClauseOperators::getStringFromValue((*operators_)[index - 1]);
                text += ' ';
            } else if (index > 0) {
                text += ' ';
            }
            const auto& expression = (*expressions_)[index];
            const SharedString expressionText = expression ? expression->getStringRepresentation() : nullptr;
            text += expressionText ? *expressionText : std::string("NULL");
        }
    }
    return std::make_shared<const std::string>(std::move(text));
}

WhereClauseStatement::Clause WhereClauseStatement::asDisjunctiveNormalFormExpression() const {
    if (!isValid() || !expressions_ || expressions_->empty()) {
        return nullptr;
    }
    if (!operators_ || operators_->empty()) {
        if (expressions_->size() == 1) {
            return expressions_->front();
        }
        return CompoundWhereClauseExpression::create(WhereClauseOperators::AND, *expressions_);
    }
    auto disjunction = CompoundWhereClauseExpression::create(WhereClauseOperators::OR);
    auto group = CompoundWhereClauseExpression::create(WhereClauseOperators::AND);
    group->addExpression(expressions_->front());
    for (std::size_t index = 0; index < operators_->size(); ++index) {
        if ((*operators_)[index] == WhereClauseOperators::OR) {
            disjunction->addExpression(group);
            group = CompoundWhereClauseExpression::create(WhereClauseOperators::AND);
        }
        group->addExpression((*expressions_)[index + 1]);
    }
    disjunction->addExpression(group);
    return WhereClauseSimplification::reduceSingularCompoundExpressions(disjunction);
}

void WhereClauseStatement::simplify(unsigned /*options*/) {}

}  // namespace pellium
