#include <gtest/gtest.h>

#include "WhereTestData.h"

#include "pellium/models/data/where/WhereClauseStatement.h"

namespace pellium {
namespace {

using namespace pellium::test;
using Op = WhereClauseOperators;

std::shared_ptr<DataSet> sales() {
    auto data =
        dataSetOf({indexColumn("region", {0, 1, 0, 2, 0, -1}), numberColumn("sales", {100, 900, 700, 800, NaN, 600})},
                  {"East", "West", "North"});
    data->setName(text("sales"));
    return data;
}

std::shared_ptr<const AbstractWhereClauseExpression> parse(const char* text) {
    return WhereClauseStatement::create(std::string_view(text))->asDisjunctiveNormalFormExpression();
}

TEST(DataSetFilteringTest, FilterAnswersTheSelectedRowsAndTheirComplement) {
    const auto data = sales();
    const auto clause = parse("region = 'East' AND sales > 500");
    EXPECT_EQ(*data->filter(clause), (RowIndexSet{2}));
    EXPECT_EQ(*data->getRowIndicesThatEvaluateToState(clause, false), (RowIndexSet{0, 1, 3, 4, 5}));
    EXPECT_EQ(*data->filter(parse("region = 'East' OR sales < 650")), (RowIndexSet{0, 2, 4, 5}));
    EXPECT_EQ(*data->filter(parse("region IS MISSING OR sales IS MISSING")), (RowIndexSet{4, 5}));
    EXPECT_EQ(*data->filter(nullptr), (RowIndexSet{0, 1, 2, 3, 4, 5}));  // no filter
    EXPECT_TRUE(data->filter(parse("country = 'France'"))->empty());     // no such column
}

TEST(DataSetFilteringTest, FilterDatasetBuildsTheSubset) {
    const auto data = sales();
    const auto subset = DataSet::filterDataset(data, parse("sales >= 700"));
    ASSERT_NE(subset, nullptr);
    EXPECT_EQ(subset->getNumberOfRows(), 3);
    EXPECT_EQ(*subset->getName(), "sales");
    EXPECT_EQ(*subset->getCombinedCSV(), "\"West\",900\n\"East\",700\n\"North\",800\n");
    EXPECT_EQ(DataSet::filterDataset(nullptr, parse("sales >= 700")), nullptr);
    // The subset filters like the original.
    EXPECT_EQ(*subset->filter(parse("region <> 'East'")), (RowIndexSet{0, 2}));
}

}  // namespace
}  // namespace pellium
