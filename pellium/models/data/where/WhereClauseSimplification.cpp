#include "pellium/models/data/where/WhereClauseSimplification.h"

#include <optional>
#include <vector>

#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"

namespace pellium {

namespace {

using Clause = WhereClauseSimplification::Clause;
using Children = CompoundWhereClauseExpression::Children;

std::shared_ptr<const CompoundWhereClauseExpression> asCompound(const Clause& clause) {
    return clause && clause->isCompound() ? std::static_pointer_cast<const CompoundWhereClauseExpression>(clause)
                                          : nullptr;
}

WhereClauseOperators::type leafOperator(const Clause& clause) {
    return static_cast<const WhereClauseExpression&>(*clause).getOperatorType();
}

// The common ending: no child gives null, one child of a compound that is not hierarchical gives
// that child, otherwise a new compound like `original` over `children`.
Clause finish(const CompoundWhereClauseExpression& original, Children children) {
    std::erase(children, nullptr);
    if (children.empty()) {
        return nullptr;
    }
    if (children.size() == 1 && !original.isHierarchical()) {
        return children.front();
    }
    auto result = CompoundWhereClauseExpression::create(original.getUniformOperator(), children);
    result->setName(original.getName());
    result->setIsHierarchical(original.isHierarchical());
    return result;
}

const Children& childrenOf(const CompoundWhereClauseExpression& compound) {
    static const Children none;
    const auto& children = compound.getExpressions();
    return children ? *children : none;
}

// The folding of one constant leaf under `op`: the clause that ends the reduction, or nothing to
// go on with; `keep` tells whether the leaf stays.
std::optional<Clause> foldConstant(const Clause& leaf, WhereClauseOperators::type op, bool& keep) {
    keep = true;
    const auto constant = leafOperator(leaf);
    const bool isTrue = constant == WhereClauseOperators::TRUE;
    if (!isTrue && constant != WhereClauseOperators::FALSE) {
        return std::nullopt;
    }
    const auto absorbing = isTrue ? WhereClauseOperators::OR : WhereClauseOperators::AND;
    const auto neutral = isTrue ? WhereClauseOperators::AND : WhereClauseOperators::OR;
    if (op == absorbing) {
        return leaf;
    }
    keep = op != neutral;
    return std::nullopt;
}

}  // namespace

Clause WhereClauseSimplification::reduceSingularCompoundExpressions(const Compound& compound) {
    if (!compound) {
        return nullptr;
    }
    Children children;
    for (const auto& child : childrenOf(*compound)) {
        const auto childCompound = asCompound(child);
        children.push_back(childCompound ? reduceSingularCompoundExpressions(childCompound) : child);
    }
    return finish(*compound, std::move(children));
}

Clause WhereClauseSimplification::reduceBooleanSubExpressions(const Compound& compound) {
    if (!compound) {
        return nullptr;
    }
    const auto op = compound->getUniformOperator();
    Children children;
    for (const auto& child : childrenOf(*compound)) {
        Clause current = child;
        if (const auto childCompound = asCompound(child)) {
            current = reduceBooleanSubExpressions(childCompound);
        }
        if (!current) {
            continue;
        }
        if (!current->isCompound()) {
            bool keep = true;
            if (auto ending = foldConstant(current, op, keep)) {
                return *ending;
            }
            if (!keep) {
                continue;
            }
        }
        children.push_back(std::move(current));
    }
    return finish(*compound, std::move(children));
}

Clause WhereClauseSimplification::removeDuplicateSubExpressions(const Compound& compound) {
    if (!compound) {
        return nullptr;
    }
    const Children& original = childrenOf(*compound);
    if (!compound->isHierarchical() && original.size() == 1) {
        return original.front();
    }
    Children children;
    children.reserve(original.size());
    for (const auto& child : original) {
        const auto childCompound = asCompound(child);
        children.push_back(childCompound ? removeDuplicateSubExpressions(childCompound) : child);
    }
    std::vector<bool> removed(children.size(), false);
    for (std::size_t first = 0; first < children.size(); ++first) {
        if (removed[first]) {
            continue;
        }
        for (std::size_t later = first + 1; later < children.size(); ++later) {
            if (!removed[later] && (children[first] == children[later] ||
                                    (children[first] && children[later] &&
                                     compareWhereClauses(children[first].get(), children[later].get()) == 0))) {
                removed[later] = true;
            }
        }
    }
    Children kept;
    for (std::size_t index = 0; index < children.size(); ++index) {
        if (!removed[index]) {
            kept.push_back(children[index]);
        }
    }
    return finish(*compound, std::move(kept));
}

Clause WhereClauseSimplification::collapseRedundantCompoundLevels(const Compound& compound) {
    if (!compound) {
        return nullptr;
    }
    Children children;
    for (const auto& child : childrenOf(*compound)) {
        const auto childCompound = asCompound(child);
        if (!childCompound) {
            children.push_back(child);
            continue;
        }
        const Clause collapsed = collapseRedundantCompoundLevels(childCompound);
        const auto collapsedCompound = asCompound(collapsed);
        // A child that collapsed to one clause of its own (a leaf, or a compound with another
        // operator) is that clause; a hierarchical child keeps its name and flag as one level.
        const bool lift = collapsedCompound && !collapsedCompound->isHierarchical() &&
                          collapsedCompound->getUniformOperator() == compound->getUniformOperator();
        if (lift) {
            const Children& lifted = childrenOf(*collapsedCompound);
            children.insert(children.end(), lifted.begin(), lifted.end());
        } else {
            children.push_back(collapsed);
        }
    }
    return finish(*compound, std::move(children));
}

}  // namespace pellium
