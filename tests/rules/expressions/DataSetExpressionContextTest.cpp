#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/rules/expressions/DataSetExpressionContext.h"
#include "pellium/rules/expressions/Expression.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium {
namespace {

std::shared_ptr<DataSet> randomSales(std::size_t rows, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> amount(-50, 1000);
    static const std::string_view REGIONS[] = {"East", "West", " ", "North"};
    auto sales = std::make_shared<Column::NumberVector>();
    auto cost = std::make_shared<Column::NumberVector>();
    auto regions = std::make_shared<Column::StringVector>();
    for (std::size_t row = 0; row < rows; ++row) {
        sales->push_back(row % 17 == 0 ? std::numeric_limits<double>::quiet_NaN() : std::round(amount(random)));
        cost->push_back(std::round(amount(random)));
        regions->push_back(StringUtilities::internString(REGIONS[random() % std::size(REGIONS)]));
    }
    auto salesColumn = Column::create(StringUtilities::internString("Sales"), DataType::NUMERIC);
    salesColumn->setNumbers(sales);
    auto costColumn = Column::create(StringUtilities::internString("Cost"), DataType::NUMERIC);
    costColumn->setNumbers(cost);
    auto regionColumn = Column::create(StringUtilities::internString("Region"), DataType::STRING);
    regionColumn->setStrings(regions);
    return DataSet::create(
        std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{salesColumn, costColumn, regionColumn}));
}

TEST(DataSetExpressionContextTest, EvaluatesEachRowAsAHandWrittenLoopDoes) {
    const auto dataSet = randomSales(500, 3);
    auto context = DataSetExpressionContext::create(dataSet);
    ASSERT_NE(context, nullptr);
    const auto margin = ExpressionUtil::createExpression("(Sales - Cost) / Sales * 100");
    const auto filter = ExpressionUtil::createExpression("Region = 'East' AND Sales > Cost OR Missing(Sales)");
    const auto& sales = *dataSet->getColumnWithName("Sales")->getNumbers();
    const auto& cost = *dataSet->getColumnWithName("Cost")->getNumbers();
    const auto regions = dataSet->getColumnWithName("Region")->getStrings();
    for (std::int32_t row = 0; row < dataSet->getNumberOfRows(); ++row) {
        ASSERT_TRUE(context->setRow(row));
        const std::size_t index = static_cast<std::size_t>(row);
        const double expected = sales[index] == 0 ? std::numeric_limits<double>::quiet_NaN()
                                                  : (sales[index] - cost[index]) / sales[index] * 100;
        const double actual = margin->evaluateAsNumber(*context);
        if (std::isnan(expected)) {
            EXPECT_TRUE(std::isnan(actual)) << row;
        } else {
            EXPECT_DOUBLE_EQ(actual, expected) << row;
        }
        const bool selected = std::isnan(sales[index]) || (*(*regions)[index] == "East" && sales[index] > cost[index]);
        EXPECT_EQ(filter->evaluateAsBoolean(*context), selected) << row;
    }
    EXPECT_FALSE(context->setRow(dataSet->getNumberOfRows()));
    EXPECT_FALSE(context->setRow(-1));
}

TEST(DataSetExpressionContextTest, UnknownItemsAndWrongKindsReadAsMissing) {
    const auto dataSet = randomSales(3, 4);
    auto context = DataSetExpressionContext::create(dataSet);
    EXPECT_EQ(context->findDataItem("Profit"), ExpressionDataContext::NO_ITEM);
    EXPECT_TRUE(std::isnan(ExpressionUtil::createExpression("Profit + 1")->evaluateAsNumber(*context)));
    EXPECT_TRUE(std::isnan(ExpressionUtil::createExpression("Region * 1")->evaluateAsNumber(*context)));
    EXPECT_EQ(context->getDataItemType(context->findDataItem("Region")), DataTypeExt::CHARACTER);
    EXPECT_EQ(context->getDataItemType(99), DataTypeExt::UNKNOWN);
    EXPECT_EQ(DataSetExpressionContext::create(nullptr), nullptr);
    // One tree may serve several contexts one after the other: positions are remembered per context.
    const auto other = DataSetExpressionContext::create(DataSet::create(
        std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{dataSet->getColumnWithName("Cost")})));
    const auto cost = ExpressionUtil::createExpression("Cost");
    ASSERT_TRUE(context->setRow(1));
    ASSERT_TRUE(other->setRow(1));
    EXPECT_EQ(cost->evaluateAsNumber(*context), cost->evaluateAsNumber(*other));
}

}  // namespace
}  // namespace pellium
