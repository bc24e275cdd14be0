#include <gtest/gtest.h>
#include <random>

#include "WhereTestData.h"

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/where/SimpleMetadataProvider.h"
#include "pellium/serializers/MemoryInputStream.h"

namespace pellium {
namespace {

using namespace pellium::test;
using Op = WhereClauseOperators;
using RowMap = AbstractWhereClauseExpression::RowMap;

std::shared_ptr<const RowMap> row(std::initializer_list<RowMap::value_type> values) {
    return std::make_shared<RowMap>(values);
}

std::string representation(const AbstractWhereClauseExpression& clause) {
    const auto text = clause.getStringRepresentation();
    return text ? *text : "<null>";
}

TEST(WhereClauseOperatorsTest, NameTableRefusesThePrettyEqualsAndLike) {
    EXPECT_EQ(Op::getValueFromString("=", Op::UNKNOWN), Op::UNKNOWN);
    EXPECT_EQ(Op::getValueFromString("~", Op::UNKNOWN), Op::UNKNOWN);
    EXPECT_EQ(Op::getValueFromString("eq", Op::UNKNOWN), Op::UNKNOWN);  // case-sensitive
    // Every short name reads back; pretty names read back only where they are synonyms.
    for (std::uint32_t code = 1; code <= 14; ++code) {
        const auto op = static_cast<Op::type>(code);
        EXPECT_EQ(Op::getValueFromString(Op::getStringFromValue(op), Op::UNKNOWN), op) << code;
        const auto pretty = Op::getValueFromString(Op::getPrettyStringFromValue(op), Op::UNKNOWN);
        EXPECT_EQ(pretty, op == Op::EQ || op == Op::LIKE ? Op::UNKNOWN : op) << code;
    }
    EXPECT_EQ(Op::getStringFromValue(static_cast<Op::type>(0)), "UNKNOWN");
    EXPECT_EQ(Op::getPrettyStringFromValue(static_cast<Op::type>(15)), "UNKNOWN");
    EXPECT_EQ(Op::getValueFromString("||", Op::UNKNOWN), Op::OR);
    EXPECT_EQ(Op::getValueFromString("IS NOT", Op::UNKNOWN), Op::IS_NOT);
}

TEST(WhereClauseExpressionTest, FactoriesRefuseUnusableArguments) {
    EXPECT_EQ(WhereClauseExpression::create(SharedString(), Op::EQ, number(1)), nullptr);
    EXPECT_EQ(leaf("a", Op::UNKNOWN, number(1)), nullptr);
    EXPECT_EQ(leaf("a", Op::EQ, nullptr), nullptr);
    EXPECT_EQ(WhereClauseExpression::create(std::shared_ptr<const Column>(), Op::EQ, number(1)), nullptr);

    auto column = numberColumn("Sales", {1});
    column->setLabel(text("Sales amount"));
    const auto fromColumn = WhereClauseExpression::create(column, Op::GT, number(5));
    ASSERT_NE(fromColumn, nullptr);
    EXPECT_EQ(*fromColumn->getColumnLabel(), "Sales amount");
    EXPECT_EQ(*fromColumn->getFormatName(), "BEST12.");

    const auto provider = SimpleMetadataProvider::create(dataSetOf({column}));
    const auto fromProvider = WhereClauseExpression::create(text("Sales"), Op::GT, number(5), provider);
    EXPECT_EQ(*fromProvider->getColumnLabel(), "Sales amount");
    EXPECT_EQ(*fromProvider->getFormatName(), "BEST12.");
}

// Anything that names itself as a column does, such as a hierarchy level.
struct NamedLevel {
    SharedString getName() const { return text("Year"); }
    SharedString getLabel() const { return text("Fiscal year"); }
    SharedString getFormatName() const { return text("F4."); }
};

TEST(WhereClauseExpressionTest, LeafOnANamedLevelTakesItsAttributes) {
    const auto clause = WhereClauseExpression::create(std::make_shared<const NamedLevel>(), Op::GE, number(2020));
    ASSERT_NE(clause, nullptr);
    EXPECT_EQ(*clause->getDescription(true, true), "(Year GE 2020, label=Fiscal year, format=F4.)");
    EXPECT_EQ(WhereClauseExpression::create(std::shared_ptr<const NamedLevel>(), Op::GE, number(1)), nullptr);
}

// The leaf's rules against a row map, one row per case.
TEST(WhereClauseExpressionTest, LeafEvaluationFollowsTheValueOperators) {
    struct Case {
        Op::type op;
        std::shared_ptr<DataValue> constant;
        std::shared_ptr<DataValue> cell;  // null: the column is absent
        bool expected;
    };
    const Case cases[] = {
        {Op::EQ, number(3), number(3), true},
        {Op::EQ, number(NaN), number(NaN), true},  // two missing numbers are equal
        {Op::NE, number(3), number(NaN), true},
        {Op::LT, number(3), number(NaN), true},  // missing sorts first
        {Op::GT, number(3), number(NaN), false},
        {Op::LT, number(3), string("a"), false},  // numbers before texts
        {Op::GT, number(3), string("a"), true},
        {Op::EQ, string("East"), string("East"), true},
        {Op::EQ, string("East"), string("east"), false},
        {Op::LT, string("B"), string("A"), true},
        {Op::EQ, number(3), nullptr, false},
        {Op::NE, number(3), nullptr, false},       // absent is false for every comparison
        {Op::IS, number(NaN), string(" "), true},  // missing constant: is the cell missing
        {Op::IS, number(NaN), number(2), false},
        {Op::IS, number(2), number(2), true},
        {Op::IS, number(NaN), nullptr, false},
        {Op::IS_NOT, number(NaN), nullptr, true},  // absent satisfies IS_NOT
        {Op::IS_NOT, number(2), number(3), true},
        {Op::LIKE, string("East"), string("East"), false},  // LIKE never matches a row
        {Op::NOT, number(1), number(1), false},
        {Op::AND, number(1), number(1), false},
    };
    for (const auto& c : cases) {
        const auto clause = leaf("c", c.op, c.constant);
        const auto map = c.cell ? row({{"c", c.cell}}) : row({{"other", number(1)}});
        EXPECT_EQ(clause->evaluate(map), c.expected) << representation(*clause) << " on " << c.cell.get();
    }
    EXPECT_FALSE(leaf("c", Op::EQ, number(1))->evaluate(nullptr));
    EXPECT_TRUE(leaf("c", Op::IS_NOT, number(1))->evaluate(nullptr));
    EXPECT_TRUE(WhereClauseExpression::create(true)->evaluate(nullptr));
    EXPECT_FALSE(WhereClauseExpression::create(false)->evaluate(nullptr));
}

TEST(WhereClauseExpressionTest, CompoundEvaluationWalksChildrenInOrder) {
    const auto yes = WhereClauseExpression::create(true);
    const auto no = WhereClauseExpression::create(false);
    EXPECT_TRUE(CompoundWhereClauseExpression::create(Op::AND)->evaluate(nullptr));
    EXPECT_FALSE(CompoundWhereClauseExpression::create(Op::OR)->evaluate(nullptr));
    EXPECT_FALSE(CompoundWhereClauseExpression::createWithoutChildren()->evaluate(nullptr));
    EXPECT_FALSE(compound(Op::NOT, {no})->evaluate(nullptr));
    EXPECT_TRUE(compound(Op::OR, {no, yes})->evaluate(nullptr));
    EXPECT_FALSE(compound(Op::AND, {yes, no})->evaluate(nullptr));
    EXPECT_TRUE(compound(Op::AND, {yes, compound(Op::OR, {no, yes})})->evaluate(nullptr));
    EXPECT_FALSE(compound(Op::OR, {nullptr})->evaluate(nullptr));  // a null child is false
}

TEST(WhereClauseExpressionTest, PrintedForms) {
    const auto region = leaf("Region", Op::EQ, string("East"));
    const auto sales = leaf("Sales", Op::GT, number(1234567.0));
    sales->setColumnLabel(text("Sales amount"));
    sales->setFormatName(text("DOLLAR12.2"));
    EXPECT_EQ(representation(*region), "(Region EQ East)");
    EXPECT_EQ(representation(*sales), "(Sales GT 1.23457e+06)");  // six significant digits
    EXPECT_EQ(representation(*leaf("n", Op::EQ, DataValue::create())), "(n EQ NULL)");
    EXPECT_EQ(representation(*WhereClauseExpression::create()), "__ERROR_INVALID_WHERE_CLAUSE_EXPRESSION__");
    EXPECT_EQ(representation(*WhereClauseExpression::create(true)), "TRUE");

    EXPECT_EQ(representation(*compound(Op::AND, {region})), "(Region EQ East)");
    EXPECT_EQ(representation(*compound(Op::AND, {region, sales})), "((Region EQ East) AND (Sales GT 1.23457e+06))");
    EXPECT_EQ(representation(*compound(Op::OR, {compound(Op::AND, {}), region})), "((Region EQ East))");
    EXPECT_EQ(compound(Op::OR, {compound(Op::AND, {})})->getStringRepresentation(), nullptr);

    EXPECT_EQ(*sales->getDescription(true, true), "(Sales GT 1.23457e+06, label=Sales amount, format=DOLLAR12.2)");
    EXPECT_EQ(*sales->getDescription(false, true), "(Sales GT 1.23457e+06, format=DOLLAR12.2)");
    auto path = compound(Op::AND, {region, sales});
    path->setName(text("Geography"));
    path->setIsHierarchical(true);
    EXPECT_EQ(*path->getDescription(false, false), "([H] Geography: (Region EQ East) AND (Sales GT 1.23457e+06))");
    EXPECT_EQ(describe(path),
              "([H] Geography: (Region EQ East) AND (Sales GT 1.23457e+06, label=Sales amount, "
              "format=DOLLAR12.2))");
    EXPECT_EQ(describe(nullptr), "NULL");
}

TEST(WhereClauseExpressionTest, CopiesAndRewrites) {
    const auto a = leaf("a", Op::EQ, number(1));
    const auto b = leaf("b", Op::EQ, number(2));
    const auto inner = compound(Op::OR, {b, leaf("a", Op::LT, number(0))});
    inner->setName(text("b"));
    const auto tree = compound(Op::AND, {a, inner, CompoundWhereClauseExpression::create(Op::OR)});

    EXPECT_EQ(tree->getReferencedColumnNames(), (AbstractWhereClauseExpression::ColumnNames{"a", "b"}));
    EXPECT_EQ(tree->getExpressionforColumn(text("b")), b);
    EXPECT_EQ(tree->getExpressionforColumn(text("zz")), nullptr);

    const auto moved = tree->getCopyAppliedToNewColumn(text("z"));
    EXPECT_EQ(moved->getReferencedColumnNames(), (AbstractWhereClauseExpression::ColumnNames{"z"}));
    EXPECT_EQ(representation(*tree), "((a EQ 1) AND ((b EQ 2) OR (a LT 0)))");  // the original is untouched

    std::vector<std::shared_ptr<WhereClauseExpression>> leaves;
    tree->collectSimpleSubExpressions(leaves);
    ASSERT_EQ(leaves.size(), 3u);
    EXPECT_EQ(leaves[1], b);

    const auto copy = std::static_pointer_cast<CompoundWhereClauseExpression>(tree->clone());
    copy->cleanSubExpressions();
    EXPECT_EQ(copy->getNumberOfExpressions(), 2u);  // the empty OR is gone
    copy->removeSubExpressionsWithName(text("b"));  // removes the compound named b
    EXPECT_EQ(representation(*copy), "(a EQ 1)");
    EXPECT_EQ(tree->getNumberOfExpressions(), 3u);  // clone is deep

    auto labels = std::make_shared<AbstractWhereClauseExpression::LabelMap>();
    labels->insert_or_assign("a", text("Alpha"));
    tree->replaceLabel(labels);
    EXPECT_EQ(*a->getColumnLabel(), "Alpha");
    EXPECT_EQ(static_cast<const WhereClauseExpression&>(*inner->getExpressions()->at(1)).getColumnLabel(),
              text("Alpha"));
    EXPECT_EQ(b->getColumnLabel(), nullptr);
}

// --- Ordering ---------------------------------------------------------------------------------------

std::shared_ptr<AbstractWhereClauseExpression> randomClause(std::mt19937& random, int depth) {
    const Op::type ops[] = {Op::EQ, Op::LT, Op::IS};
    const char* names[] = {"a", "b"};
    if (depth > 0 && random() % 3 == 0) {
        auto node = CompoundWhereClauseExpression::create(random() % 2 ? Op::AND : Op::OR);
        for (unsigned index = random() % 3; index > 0; --index) {
            node->addExpression(random() % 8 == 0 ? nullptr : randomClause(random, depth - 1));
        }
        return node;
    }
    std::shared_ptr<DataValue> value;
    switch (random() % 4) {
        case 0:
            value = number(NaN);
            break;
        case 1:
            value = string(random() % 2 ? "x" : "y");
            break;
        default:
            value = number(static_cast<double>(random() % 3));
    }
    return leaf(names[random() % 2], ops[random() % 3], value);
}

TEST(WhereClauseExpressionTest, OrderingIsAStrictWeakOrdering) {
    std::mt19937 random(7);
    std::vector<std::shared_ptr<AbstractWhereClauseExpression>> clauses;
    for (int index = 0; index < 150; ++index) {
        clauses.push_back(randomClause(random, 3));
    }
    const auto equivalent = [](const auto& x, const auto& y) { return !(*x < *y) && !(*y < *x); };
    for (const auto& x : clauses) {
        EXPECT_FALSE(*x < *x);
        EXPECT_TRUE(equivalent(x, x->clone()));
        for (const auto& y : clauses) {
            EXPECT_FALSE(*x < *y && *y < *x);
            for (int sample = 0; sample < 3; ++sample) {
                const auto& z = clauses[random() % clauses.size()];
                if (*x < *y && *y < *z) {
                    EXPECT_TRUE(*x < *z);
                }
                if (equivalent(x, y) && equivalent(y, z)) {
                    EXPECT_TRUE(equivalent(x, z));
                }
            }
        }
    }
}

// --- Stream form ------------------------------------------------------------------------------------

std::shared_ptr<AbstractWhereClauseExpression> readBack(const std::string& bytes, bool expectSuccess = true) {
    MemoryInputStream stream(bytes);
    std::shared_ptr<AbstractWhereClauseExpression> clause;
    EXPECT_EQ(AbstractWhereClauseExpression::unserialize(stream, clause), expectSuccess);
    return clause;
}

TEST(WhereClauseStreamTest, BytesOfALeafAndOfCompounds) {
    using namespace std::string_literals;
    const std::string leafBytes = "V\x01g\x98"s + "dU\x01\x00\x00\x00R"s + "a" + "a" +  // name, label, format
                                  "V\x01gc\x01" + "dU\x01\x00\x00\x00"s + "E" + "c\x18\xFC\xFF\xFF"s +
                                  "b\x00\x00\x00\x00\x00\x00\xF8\x7F"s + "dU\x01\x00\x00\x00"s + "E" +  // the value
                                  "c\x01\x00\x00\x00"s;                                                 // EQ
    EXPECT_EQ(bytesOf(leaf("R", Op::EQ, string("E"))), leafBytes);
    EXPECT_EQ(bytesOf(nullptr), "V\x01"s + "a");
    EXPECT_EQ(bytesOf(CompoundWhereClauseExpression::createWithoutChildren()),
              "V\x01g\x99"s + "a" + "c\x09\x00\x00\x00"s + "ac\x00"s);
    auto named = compound(Op::AND, {leaf("R", Op::EQ, string("E")), nullptr});
    named->setName(text("N"));
    named->setIsHierarchical(true);
    EXPECT_EQ(bytesOf(named), "V\x01g\x99"s + "fU\x02\x00\x00\x00S"s + leafBytes + "V\x01"s + "a" + "T" +
                                  "c\x08\x00\x00\x00"s + "dU\x01\x00\x00\x00N"s + "c\x01"s);
}

TEST(WhereClauseStreamTest, RoundTripsKeepNullVectorsNullChildrenAndEveryField) {
    std::mt19937 random(11);
    for (int index = 0; index < 200; ++index) {
        const auto clause = randomClause(random, 4);
        const auto copy = readBack(bytesOf(clause));
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(representation(*copy), representation(*clause));
        EXPECT_EQ(bytesOf(copy), bytesOf(clause));
    }
    const auto withoutChildren = readBack(bytesOf(CompoundWhereClauseExpression::createWithoutChildren()));
    ASSERT_TRUE(withoutChildren && withoutChildren->isCompound());
    EXPECT_EQ(static_cast<const CompoundWhereClauseExpression&>(*withoutChildren).getExpressions(), nullptr);
    EXPECT_EQ(readBack(std::string("V\x01") + "a"), nullptr);
}

TEST(WhereClauseStreamTest, MalformedBytesFailWithoutCrashing) {
    const std::string bytes = bytesOf(compound(Op::OR, {leaf("R", Op::EQ, string("E")), leaf("S", Op::GT, number(5))}));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        readBack(bytes.substr(0, length), false);
    }
    std::string wrongVersion = bytes;
    wrongVersion[1] = 2;
    readBack(wrongVersion, false);
    std::string unknownClass = bytes;
    unknownClass[3] = '\x42';
    readBack(unknownClass, false);  // nothing held to read into
    // A child count larger than the bytes could hold is refused before anything is made.
    readBack(std::string("V\x01g\x99") + "fU\xFF\xFF\xFF\x7FS", false);
}

TEST(WhereClauseStreamTest, NestingIsBoundedSoHostileBytesCannotExhaustTheStack) {
    const auto nested = [](int depth) {
        std::shared_ptr<AbstractWhereClauseExpression> clause = leaf("a", Op::EQ, number(1));
        for (int level = 0; level < depth; ++level) {
            clause = compound(Op::AND, {clause});
        }
        return clause;
    };
    EXPECT_NE(readBack(bytesOf(nested(AbstractWhereClauseExpression::MAXIMUM_STREAM_NESTING))), nullptr);
    readBack(bytesOf(nested(AbstractWhereClauseExpression::MAXIMUM_STREAM_NESTING + 1)), false);
}

}  // namespace
}  // namespace pellium
