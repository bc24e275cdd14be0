#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/where/AbstractWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseFactory.h"
#include "pellium/rules/expressions/BetweenExpression.h"
#include "pellium/rules/expressions/BinaryRelationalExpression.h"
#include "pellium/rules/expressions/CompoundBooleanExpression.h"
#include "pellium/rules/expressions/CompoundConstantExpression.h"
#include "pellium/rules/expressions/ConstantNumberExpression.h"
#include "pellium/rules/expressions/ConstantTextExpression.h"
#include "pellium/rules/expressions/DataItemExpression.h"
#include "pellium/rules/expressions/DataSetExpressionContext.h"
#include "pellium/rules/expressions/FunctionExpression.h"
#include "pellium/rules/expressions/InExpression.h"
#include "pellium/rules/expressions/IsMissingExpression.h"
#include "pellium/rules/expressions/KeywordExpression.h"
#include "pellium/rules/expressions/NegatedExpression.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

constexpr double SPARSE = DataTokens::SPARSE_NUMERIC;
constexpr double SUPPRESSED = DataTokens::SUPPRESSED_NUMERIC;
constexpr double MATCHES_ALL = DataTokens::MATCHES_ALL_NUMERIC;
constexpr double ALL_OTHERS = DataTokens::ALL_OTHERS_NUMERIC;

// Numbers with every special state, and values on both sides of the constants below.
const double NUMBERS[] = {NOT_A_NUMBER, SPARSE, SUPPRESSED, MATCHES_ALL, ALL_OTHERS, -INFINITE, INFINITE, -1,
                          -0.0,         0,      0.5,        1,           1 + 1e-12,  2,         5,        100};
// Texts with blank ones, one-letter prefixes and case variants.
const std::string_view TEXTS[] = {"East", "West", "east", "E", "", " ", ".", "Zürich", "\t x"};
// Token codes, table positions and one position the table lacks (a cell without text).
const std::int32_t TEXT_INDICES[] = {DataTokens::TOKEN_MISSING,
                                     DataTokens::TOKEN_SUPPRESSED,
                                     DataTokens::TOKEN_SPARSE,
                                     DataTokens::TOKEN_ALL_OTHERS,
                                     0,
                                     1,
                                     2,
                                     3,
                                     4,
                                     5,
                                     6,
                                     7,
                                     8,
                                     42};

// With a comparison tolerance, the matches-all value (the largest double) is within the
// tolerance of the suppressed value, which no tolerant clause tells apart; it is left out of the
// cells and the constants then.
std::shared_ptr<DataSet> makeDataSet(unsigned seed, std::int32_t rows, double epsilon = 0) {
    std::mt19937 random(seed);
    const auto pick = [&](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    auto table = std::make_shared<Column::StringVector>();
    for (const auto text : TEXTS) {
        table->push_back(StringUtilities::internString(text));
    }
    auto columns = std::make_shared<DataSet::ColumnList>();
    for (const char* name : {"Sales", "Cost"}) {
        auto numbers = std::make_shared<Column::NumberVector>();
        for (std::int32_t row = 0; row < rows; ++row) {
            const double number = NUMBERS[pick(std::size(NUMBERS))];
            numbers->push_back(epsilon != 0 && number == MATCHES_ALL ? 7.0 : number);
        }
        auto column = Column::create(StringUtilities::internString(name), DataType::NUMERIC);
        column->setNumbers(numbers);
        columns->push_back(column);
    }
    // One text column read through the string table, one with explicit texts (null ones too).
    auto indices = std::make_shared<Column::IndexVector>();
    auto texts = std::make_shared<Column::StringVector>();
    for (std::int32_t row = 0; row < rows; ++row) {
        indices->push_back(TEXT_INDICES[pick(std::size(TEXT_INDICES))]);
        const std::size_t text = pick(std::size(TEXTS) + 1);
        texts->push_back(text < std::size(TEXTS) ? StringUtilities::internString(TEXTS[text]) : nullptr);
    }
    auto region = Column::create(StringUtilities::internString("Region"), DataType::STRING);
    region->setStringIndices(indices);
    region->resolveStringIndices(table);
    columns->push_back(region);
    auto product = Column::create(StringUtilities::internString("Product Line"), DataType::STRING);
    product->setStrings(texts);
    columns->push_back(product);
    auto dataSet = DataSet::create(columns);
    dataSet->setComparisonEpsilon(epsilon);
    return dataSet;
}

// Random filters over the data set's columns, each compared with constants of its own type, in
// every node class and function form that has a where clause.
class FilterGenerator {
public:
    FilterGenerator(unsigned seed, bool declaresTypes, bool avoidsLargestDouble)
        : random_(seed), declaresTypes_(declaresTypes), avoidsLargestDouble_(avoidsLargestDouble) {}

    std::shared_ptr<Expression> generate(int depth) {
        switch (depth <= 0 ? pick(5) : pick(10)) {
            case 0:
            case 1:
                return comparison();
            case 2:
                return range();
            case 3:
                return membership();
            case 4:
                return missingTest();
            case 5:
                return compound(depth);
            case 6:
                return NegatedExpression::create(generate(depth - 1));
            case 7: {
                // Without a data set the conversion cannot know the rows' tolerance, and decides
                // comparisons of two constants exactly.
                if (pick(2) == 0 || (avoidsLargestDouble_ && declaresTypes_)) {
                    return KeywordExpression::create(pick(2) == 0 ? ExpressionKeywords::KW_TRUE
                                                                  : ExpressionKeywords::KW_FALSE);
                }
                // Drawn one after the other: the order of a call's arguments is the compiler's.
                const auto op = relation();
                auto left = number();
                return BinaryRelationalExpression::create(op, std::move(left), number());
            }
            case 8:
                return FunctionExpression::create(FunctionExpressionType::F_NOT, {generate(depth - 1)});
            default: {
                Expression::ExpressionList children{generate(depth - 1), generate(depth - 1)};
                return FunctionExpression::create(
                    pick(2) == 0 ? FunctionExpressionType::F_AND : FunctionExpressionType::F_OR, std::move(children));
            }
        }
    }

private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    BinaryRelationalOperator::type relation() { return static_cast<BinaryRelationalOperator::type>(1 + pick(6)); }

    // A column and a constant maker of its type; now and then a text column compared with a
    // number (every cell then reads as missing).
    std::pair<std::shared_ptr<Expression>, bool> item() {
        static const char* const NAMES[] = {"Sales", "Cost", "Region", "Product Line"};
        const int which = pick(4);
        const bool isText = which >= 2;
        auto dataItem = DataItemExpression::create(StringUtilities::internString(NAMES[which]));
        if (declaresTypes_) {
            dataItem->setDataType(isText ? DataTypeExt::CHARACTER : DataTypeExt::NUMERIC);
        }
        return {dataItem, isText && (declaresTypes_ || pick(8) != 0)};
    }

    std::shared_ptr<Expression> value(bool isText) {
        if (isText) {
            return ConstantTextExpression::create(pick(6) == 0 ? std::string_view("F") : TEXTS[pick(std::size(TEXTS))]);
        }
        // A computed constant now and then: -(2).
        if (pick(10) == 0) {
            return FunctionExpression::create(FunctionExpressionType::F_NEG, {number()});
        }
        return number();
    }

    std::shared_ptr<Expression> number() {
        const double number = pick(6) == 0 ? 3.0 : NUMBERS[pick(std::size(NUMBERS))];
        return ConstantNumberExpression::create(avoidsLargestDouble_ && number == MATCHES_ALL ? 7.0 : number);
    }

    std::shared_ptr<Expression> comparison() {
        auto [dataItem, isText] = item();
        auto constant = value(isText);
        const auto op = relation();
        const bool itemFirst = pick(2) == 0;
        if (pick(4) == 0) {
            return FunctionExpression::create(static_cast<FunctionExpressionType::type>(op),
                                              itemFirst ? Expression::ExpressionList{dataItem, constant}
                                                        : Expression::ExpressionList{constant, dataItem});
        }
        return itemFirst ? BinaryRelationalExpression::create(op, dataItem, constant)
                         : BinaryRelationalExpression::create(op, constant, dataItem);
    }

    std::shared_ptr<Expression> range() {
        auto [dataItem, isText] = item();
        // Drawn one after the other: the order of a call's arguments differs between compilers
        // and optimisation levels, and the corpus must not.
        auto low = value(isText);
        auto high = value(isText);
        auto between = BetweenExpression::create(dataItem, std::move(low), std::move(high));
        between->setFunctionType(
            static_cast<FunctionExpressionType::type>(FunctionExpressionType::F_BETWEEN_EXCLUDING_BOUNDS + pick(3)));
        if (pick(4) == 0) {
            between->setFunctionType(FunctionExpressionType::F_BETWEEN);
        }
        return between;
    }

    std::shared_ptr<Expression> membership() {
        auto [dataItem, isText] = item();
        Expression::ExpressionList members;
        for (int count = pick(4); count > 0; --count) {
            members.push_back(value(isText));
        }
        const bool isInverted = pick(2) == 0;
        if (pick(3) == 0) {
            Expression::ExpressionList operands{dataItem, CompoundConstantExpression::create(std::move(members))};
            return FunctionExpression::create(
                isInverted ? FunctionExpressionType::F_NOT_IN : FunctionExpressionType::F_IN, std::move(operands));
        }
        return InExpression::create(dataItem, std::move(members), isInverted);
    }

    std::shared_ptr<Expression> missingTest() {
        auto dataItem = item().first;
        if (pick(3) == 0) {
            return FunctionExpression::create(
                pick(2) == 0 ? FunctionExpressionType::F_IS_MISSING : FunctionExpressionType::F_NOT_MISSING,
                {dataItem});
        }
        return IsMissingExpression::create(dataItem, pick(2) == 0);
    }

    std::shared_ptr<Expression> compound(int depth) {
        Expression::ExpressionList children;
        for (int count = pick(4); count > 0; --count) {
            // A child that is no condition: AND passes over it, OR is true for it.
            children.push_back(pick(12) == 0 ? item().first : generate(depth - 1));
        }
        return CompoundBooleanExpression::create(pick(2), std::move(children));
    }

    std::mt19937 random_;
    bool declaresTypes_;
    bool avoidsLargestDouble_;
};

std::string describe(const std::shared_ptr<AbstractWhereClauseExpression>& clause) {
    const SharedString text = clause ? clause->getStringRepresentation() : nullptr;
    return text ? *text : std::string("(null)");
}

void expectSameRows(const std::shared_ptr<DataSet>& dataSet, const Expression& filter,
                    const std::shared_ptr<AbstractWhereClauseExpression>& clause) {
    ASSERT_NE(clause, nullptr) << filter.toString();
    const auto selected = dataSet->filter(clause);
    auto context = DataSetExpressionContext::create(dataSet);
    for (std::int32_t row = 0; row < dataSet->getNumberOfRows(); ++row) {
        context->setRow(row);
        const bool expected = filter.evaluateAsBoolean(*context);
        const bool actual = selected->count(static_cast<std::uint32_t>(row)) > 0;
        ASSERT_EQ(actual, expected) << "row " << row << " of " << filter.toString() << "\nas " << describe(clause);
    }
}

// The property the conversion exists for, with and without a comparison tolerance, and with the
// column types known from the data set or only from the data items' declared types.
TEST(WhereClauseConversionTest, ClausesSelectTheRowsTheFilterIsTrueFor) {
    for (const double epsilon : {0.0, 1e-9}) {
        const auto dataSet = makeDataSet(7, 400, epsilon);
        for (const bool declaresTypes : {false, true}) {
            FilterGenerator generator(epsilon == 0 ? 11u : 12u, declaresTypes, epsilon != 0);
            for (int round = 0; round < 1500; ++round) {
                const auto filter = generator.generate(round % 4);
                if (!filter->hasValidTypeAgreement()) {
                    continue;
                }
                const auto clause = filter->asWhereExpression(declaresTypes ? nullptr : dataSet, nullptr, nullptr);
                expectSameRows(dataSet, *filter, clause);
                if (HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

TEST(WhereClauseConversionTest, WritesEachTestAsItsComparisonAndTheSpecialCellsItKeepsOrDrops) {
    const struct {
        std::string_view text;
        std::string_view clause;
    } cases[] = {
        {"Sales = 5", "(Sales EQ 5)"},
        {"Sales < 5", "(Sales LT 5)"},
        {"Sales > 5", "((Sales GT 5) AND (Sales NE 1.79769e+308))"},
        {"5 > Sales", "(Sales LT 5)"},
        {"NOT Sales < 5", "(Sales GE 5)"},
        {"Sales <> 5", "(((Sales NE 5) AND (Sales NE 1.79769e+308)) OR (Sales IS nan) OR (Sales EQ -1.79769e+308))"},
        {"Missing(Sales)", "((Sales IS nan) OR (Sales EQ -1.79769e+308))"},
        {"Region = 'East'", "(Region EQ East)"},
        {"Region <> 'East'", "((Region NE East) OR (Region IS NULL))"},
        {"Region >= 'M'", "((Region GE M) AND (Region IS_NOT NULL))"},
        {"NotMissing(Region)", "(Region IS_NOT NULL)"},
        {"In(Region, ['East', 'West'])", "((Region EQ East) OR (Region EQ West))"},
        {"BetweenInclusive(Sales, 1, 5)", "((Sales GE 1) AND (Sales NE 1.79769e+308) AND (Sales LE 5))"},
        {"NotBetweenExclusive(Sales, 1, 5)", "((Sales LT 1) OR ((Sales GT 5) AND (Sales NE 1.79769e+308)))"},
        {"NotIn(Region, ['East', ''])", "(((Region NE East) OR (Region IS NULL)) AND (Region IS_NOT NULL))"},
        {"Region = 'East' AND (Sales = 1 OR Sales = 2)", "((Region EQ East) AND ((Sales EQ 1) OR (Sales EQ 2)))"},
        {"1 < 2", "TRUE"},
        {"NOT True", "FALSE"},
        {"Region = 'East' OR Sales", "TRUE"},
        {"Region = 'East' AND Sales", "(Region EQ East)"},
        {"In(Region, [])", "FALSE"},
    };
    for (const auto& entry : cases) {
        const auto clause = WhereClauseFactory::createFromString(entry.text, nullptr, nullptr);
        EXPECT_EQ(describe(clause), entry.clause) << entry.text;
    }
}

TEST(WhereClauseConversionTest, AnswersNullForFiltersNoWhereClauseExpresses) {
    for (const std::string_view text :
         {"Sales > Cost", "Sales - Cost > 0", "BeginsWith(Region, 'E')", "Equal(Region, 'East', LeadingAndTrailing)",
          "Sales", "Sales + 1", "Region = 'East' AND UpCase(Region) = 'EAST'", "In(Region, [Sales])",
          "In(Sales, [1, 'a'])", "$HighSales", "Sales = ", "Sum"}) {
        EXPECT_EQ(WhereClauseFactory::createFromString(text, nullptr, nullptr), nullptr) << text;
    }
    // A number column compared as texts compares decimal texts, which no clause does.
    auto dataSet = makeDataSet(1, 4);
    EXPECT_EQ(ExpressionUtil::createExpression("Sales = '5'")->asWhereExpression(dataSet, nullptr, nullptr), nullptr);
}

TEST(WhereClauseConversionTest, TakesColumnTypesAndLabelsFromLevelsWithoutADataSet) {
    const auto level = [](std::string_view name, DataType::type type) {
        return Level::create(StringUtilities::internString(name),
                             StringUtilities::internString("The " + std::string(name)),
                             StringUtilities::internString("BEST12."), type);
    };
    const auto hierarchies = std::make_shared<const Expression::Hierarchies>(Expression::Hierarchies{
        Hierarchy::create(StringUtilities::internString("Geography"), nullptr,
                          {level("Region", DataType::STRING), level("Units", DataType::NUMERIC)})});
    const auto notMissing = [&](std::string_view text) {
        return describe(WhereClauseFactory::createFromString(text, hierarchies, nullptr));
    };
    EXPECT_EQ(notMissing("NotMissing(Region)"), "(Region IS_NOT NULL)");
    EXPECT_EQ(notMissing("NotMissing(Units)"),
              "((Units IS_NOT nan) AND (Units NE -1.79769e+308) AND (Units NE 1.79769e+308))");
    const auto clause = WhereClauseFactory::createFromString("Region = 'East'", hierarchies, nullptr);
    ASSERT_NE(clause, nullptr);
    EXPECT_EQ(*clause->getDescription(true, true), "(Region EQ East, label=The Region, format=BEST12.)");
}

// A column the data set lacks is missing in every row. Such an item has no type, so where its own
// type decides (on the right of a comparison, tested by Between or In) it compares as a missing
// number even with texts: '.<' as a number is missing too. "?" is the symbol of no operator: such a
// comparison is false in every row, and its negation true.
TEST(WhereClauseConversionTest, AbsentColumnsAndComparisonsWithoutAnOperatorSelectAllOrNothing) {
    auto dataSet = makeDataSet(3, 8);
    for (const auto& [text, selectsAll] :
         {std::pair{"Missing(Absent)", true}, std::pair{"Absent = 5", false}, std::pair{"Absent < 5", true},
          std::pair{"Region = 5", false}, std::pair{"NOT Region = 5", true}, std::pair{"Absent = 'x'", false},
          std::pair{"'.<' = Absent", true}, std::pair{"5 = Absent", false},
          std::pair{"BetweenInclusive(Absent, 'x', 'y')", true}, std::pair{"In(Absent, ['x'])", true},
          std::pair{"Sales ? 0.1", false}, std::pair{".1 ? Sales", false}, std::pair{"NOT (Sales ? 0.1)", true}}) {
        const auto filter = ExpressionUtil::createExpression(text);
        ASSERT_NE(filter, nullptr) << text;
        const auto clause = filter->asWhereExpression(dataSet, nullptr, nullptr);
        EXPECT_EQ(describe(clause), selectsAll ? "TRUE" : "FALSE") << text;
        expectSameRows(dataSet, *filter, clause);
    }
}

}  // namespace
}  // namespace pellium
