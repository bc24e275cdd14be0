#include <functional>
#include <gtest/gtest.h>

#include "WhereTestData.h"

#include "pellium/models/data/where/WhereClauseSimplification.h"

namespace pellium {
namespace {

using namespace pellium::test;
using Op = WhereClauseOperators;
using Simplify = WhereClauseSimplification;
using Clause = std::shared_ptr<AbstractWhereClauseExpression>;

const auto x = leaf("x", Op::EQ, number(1));
const auto xAgain = leaf("x", Op::EQ, number(1));
const auto y = leaf("y", Op::EQ, number(2));
const auto z = leaf("z", Op::EQ, number(3));
const auto yes = WhereClauseExpression::create(true);
const auto no = WhereClauseExpression::create(false);

std::shared_ptr<CompoundWhereClauseExpression> hierarchical(const CompoundWhereClauseExpression::Children& children) {
    auto node = compound(Op::AND, children);
    node->setIsHierarchical(true);
    node->setName(text("path"));
    return node;
}

struct Rewrite {
    const char* name;
    std::function<Clause(const std::shared_ptr<const CompoundWhereClauseExpression>&)> apply;
};

const Rewrite rewrites[] = {
    {"reduceSingular", &Simplify::reduceSingularCompoundExpressions},
    {"reduceBoolean", &Simplify::reduceBooleanSubExpressions},
    {"removeDuplicates", &Simplify::removeDuplicateSubExpressions},
    {"collapseLevels", &Simplify::collapseRedundantCompoundLevels},
};

TEST(WhereClauseSimplificationTest, EachRewriteOnItsEdgeCases) {
    struct Case {
        std::size_t rewrite;
        Clause input;
        std::string expected;
    };
    const Case cases[] = {
        {0, compound(Op::AND, {compound(Op::OR, {compound(Op::AND, {x})})}), "(x EQ 1)"},
        {0, compound(Op::AND, {compound(Op::OR, {x}), y}), "((x EQ 1) AND (y EQ 2))"},
        {0, compound(Op::AND, {compound(Op::OR, {}), nullptr}), "<null>"},
        {1, compound(Op::OR, {y, yes, x}), "TRUE"},
        {1, compound(Op::AND, {yes, x}), "(x EQ 1)"},
        {1, compound(Op::AND, {yes}), "<null>"},  // not a constant
        {1, compound(Op::OR, {no, no}), "<null>"},
        {1, compound(Op::AND, {x, compound(Op::OR, {no, y})}), "((x EQ 1) AND (y EQ 2))"},
        {1, compound(Op::AND, {x, compound(Op::OR, {yes, y})}), "(x EQ 1)"},  // the OR folds to TRUE, then drops
        {1, compound(Op::OR, {x, compound(Op::AND, {no, y})}), "(x EQ 1)"},
        {1, compound(Op::NOT, {yes, no}), "(TRUE NOT FALSE)"},  // kept under other operators
        {2, compound(Op::AND, {x, xAgain, y}), "((x EQ 1) AND (y EQ 2))"},
        {2, compound(Op::OR, {x, compound(Op::AND, {y, y}), y}), "((x EQ 1) OR (y EQ 2))"},
        {2, compound(Op::AND, {compound(Op::OR, {x, y}), compound(Op::OR, {x, y})}), "((x EQ 1) OR (y EQ 2))"},
        {3, compound(Op::AND, {x, compound(Op::AND, {y, z})}), "((x EQ 1) AND (y EQ 2) AND (z EQ 3))"},
        {3, compound(Op::AND, {x, compound(Op::OR, {y, z})}), "((x EQ 1) AND ((y EQ 2) OR (z EQ 3)))"},
        {3, compound(Op::AND, {x, compound(Op::OR, {compound(Op::OR, {y, z})})}),
         "((x EQ 1) AND ((y EQ 2) OR (z EQ 3)))"},
        // A same-operator child that collapses to a compound of another operator stays whole.
        {3, compound(Op::AND, {x, compound(Op::AND, {compound(Op::OR, {y, z})})}),
         "((x EQ 1) AND ((y EQ 2) OR (z EQ 3)))"},
        {3, compound(Op::AND, {x, hierarchical({y, z})}), "((x EQ 1) AND ([H] path: (y EQ 2) AND (z EQ 3)))"},
    };
    for (const auto& c : cases) {
        const auto input = std::static_pointer_cast<const CompoundWhereClauseExpression>(c.input);
        const std::string before = bytesOf(c.input);
        EXPECT_EQ(textOf(rewrites[c.rewrite].apply(input)), c.expected)
            << rewrites[c.rewrite].name << " of " << textOf(c.input);
        EXPECT_EQ(bytesOf(c.input), before) << rewrites[c.rewrite].name << " changed its argument";
    }
}

TEST(WhereClauseSimplificationTest, HierarchicalOneChildCompoundSurvivesEveryRewrite) {
    for (const auto& rewrite : rewrites) {
        EXPECT_EQ(rewrite.apply(nullptr), nullptr) << rewrite.name;
        const auto result = rewrite.apply(hierarchical({x}));
        ASSERT_TRUE(result && result->isCompound()) << rewrite.name;
        EXPECT_EQ(textOf(result), "([H] path: (x EQ 1))") << rewrite.name;
        // A plain one-child compound is replaced by its child.
        EXPECT_EQ(rewrite.apply(compound(Op::OR, {x})), x) << rewrite.name;
    }
}

TEST(WhereClauseSimplificationTest, DuplicatesKeepTheFirstOccurrenceAndLeavesAreShared) {
    const auto result = Simplify::removeDuplicateSubExpressions(compound(Op::AND, {x, y, xAgain}));
    ASSERT_TRUE(result && result->isCompound());
    const auto& children = *static_cast<const CompoundWhereClauseExpression&>(*result).getExpressions();
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(children[0], x);  // the same leaf object, not a copy
    EXPECT_EQ(children[1], y);
}

}  // namespace
}  // namespace pellium
