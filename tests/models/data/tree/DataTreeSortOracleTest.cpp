#include <gtest/gtest.h>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "tests/models/data/hierarchy/HierarchyTestData.h"
#include "tests/models/data/hierarchy/SqliteOracle.h"

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"
#include "pellium/models/data/tree/MemberSortState.h"

// A crosstab of Region > Product by Year sorted by a measure lists its row members in the order
// SQLite's ORDER BY gives over the same aggregated rows: the all-others member last, cells without
// rows (sparse) and sums without values (missing) in their bands, ties in order of first appearance.
namespace pellium::test {

namespace {

std::string quoted(const std::string& value) {
    std::string out = "'";
    for (const char c : value) {
        out += c == '\'' ? std::string("''") : std::string(1, c);
    }
    return out + "'";
}

// The rows with the member texts as the hierarchies format them.
void loadRows(Sqlite& sqlite, const DataSet& dataSet) {
    sqlite.execute(
        "CREATE TABLE rows(rid INTEGER PRIMARY KEY, region TEXT, product TEXT, year TEXT, v REAL, "
        "ordinary INTEGER, others INTEGER)");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(sqlite.handle(), "INSERT INTO rows VALUES(?,?,?,?,?,?,?)", -1, &insert, nullptr);
    const auto& region = *dataSet.getColumnWithName("Region");
    const auto& product = *dataSet.getColumnWithName("Product");
    const auto& year = *dataSet.getColumnWithName("Year");
    const auto& value = *dataSet.getColumnWithName("Value");
    for (std::int32_t row = 0; row < dataSet.getNumberOfRows(); ++row) {
        sqlite3_reset(insert);
        sqlite3_bind_int(insert, 1, row);
        bindMemberTexts(insert, 2, region, product, year, row);
        const double number = value.getNumberAtIndex(row);
        const bool ordinary = DataTokens::getSortPlaneForValue(number) == DataTokens::SORT_PLANE_ORDINARY;
        sqlite3_bind_double(insert, 5, ordinary ? number : 0.0);
        sqlite3_bind_int(insert, 6, ordinary ? 1 : 0);
        sqlite3_bind_int(insert, 7, region.getStringIndexAtIndex(row) == DataTokens::TOKEN_ALL_OTHERS ? 1 : 0);
        ASSERT_EQ(sqlite3_step(insert), SQLITE_DONE);
    }
    sqlite3_finalize(insert);
}

// The members of `member` among the rows of `parent`, ordered by their sum in the rows of `cell`:
// the all-others member last; descending, the sums first, then members whose cell has rows but no
// value, then those whose cell has no rows (ascending the other way round); ties by first row.
std::vector<std::string> orderedMembers(Sqlite& sqlite, const std::string& member, const std::string& parent,
                                        const std::string& cell, bool descending) {
    const std::string band = descending ? "CASE WHEN n IS NULL THEN 2 WHEN s IS NULL THEN 1 ELSE 0 END"
                                        : "CASE WHEN n IS NULL THEN 0 WHEN s IS NULL THEN 1 ELSE 2 END";
    return sqlite.texts("WITH members AS (SELECT " + member + " AS m, MIN(rid) AS first, MAX(others) AS ao FROM rows " +
                        "WHERE " + parent + " GROUP BY m), cells AS (SELECT " + member +
                        " AS m, COUNT(*) AS n, SUM(CASE WHEN ordinary = 1 THEN v END) AS s FROM rows WHERE " + parent +
                        " AND " + cell + " GROUP BY m) SELECT members.m FROM members LEFT JOIN cells USING (m) " +
                        "ORDER BY ao, " + band + ", s " + (descending ? "DESC" : "ASC") + ", first");
}

TEST(DataTreeSortOracleTest, MembersSortedByAMeasureFollowOrderByOfTheAggregatedRows) {
    std::size_t listsChecked = 0;
    for (std::uint32_t seed = 1; seed <= 16; ++seed) {
        // Few rows, so that sums tie and some crossings have no rows.
        const auto dataSet = RandomSales::generate(seed, 15 + 6 * seed).makeDataSet();
        Sqlite sqlite;
        loadRows(sqlite, *dataSet);
        const auto level = [&](std::string_view name) {
            return Level::createForColumn(*dataSet->getColumnWithName(name));
        };
        auto rows = Hierarchy::create(text("Rows"), nullptr, {level("Region"), level("Product")});
        auto years = Hierarchy::create(text("Years"), nullptr, {level("Year")});
        auto crosstab = HierarchyDataSet::create({rows, years}, {text("Value")});
        crosstab->setCrosstabDataSet(true);
        crosstab->setDataSet(dataSet);
        const std::string firstYear = *years->getDisplay()->getChildren().front()->getFormattedValue();

        for (const bool descending : {true, false}) {
            for (const bool atOneYear : {false, true}) {
                SCOPED_TRACE("seed " + std::to_string(seed) + (descending ? " descending" : " ascending") +
                             (atOneYear ? " in " + firstYear : " by total"));
                const auto state = MemberSortState::createByMeasure(
                    descending ? SortDirection::DESCENDING : SortDirection::ASCENDING, text("Value"),
                    atOneYear ? std::vector<SharedString>{text(firstYear)} : std::vector<SharedString>{});
                const auto context = DataTreeSortContext::create(crosstab);
                context->setSortStateForLevel("Region", state);
                context->setSortStateForLevel("Product", state);
                std::vector<std::string> listed;
                for (const auto& node :
                     rows->getDisplay()->getDepthFirstListOfAllNodesUnderThisNode(false, true, true, context.get())) {
                    listed.push_back(*node->getFormattedValue());
                }

                const std::string cell = atOneYear ? "year = " + quoted(firstYear) : "1 = 1";
                std::vector<std::string> expected;
                for (const auto& region : orderedMembers(sqlite, "region", "1 = 1", cell, descending)) {
                    expected.push_back(region);
                    for (const auto& product :
                         orderedMembers(sqlite, "product", "region = " + quoted(region), cell, descending)) {
                        expected.push_back(product);
                    }
                }
                EXPECT_EQ(listed, expected);
                ++listsChecked;
            }
        }
    }
    EXPECT_EQ(listsChecked, 64U);
}

}  // namespace

}  // namespace pellium::test
