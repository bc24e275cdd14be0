#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "tests/models/data/hierarchy/HierarchyTestData.h"
#include "tests/models/data/hierarchy/SqliteOracle.h"

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/tree/DataTreeNode.h"

// Every crossing of Region > Product by Year, totals included, against SQLite's GROUP BY over the
// same rows.
namespace pellium::test {

namespace {

// The aggregates of one crossing, as SQLite computes them.
struct Expected {
    double sum = NaN;
    double count = 0;
    double min = NaN;
    double max = NaN;
    double countWithMissing = 0;
    double distinctNumbers = 0;
    double distinctTexts = 0;
    double textCount = 0;
    double first = NaN;
};

using Key = std::vector<std::optional<std::string>>;  // region, product, year; empty = all

double numberOrNaN(sqlite3_stmt* statement, int column) {
    return sqlite3_column_type(statement, column) == SQLITE_NULL ? NaN : sqlite3_column_double(statement, column);
}

std::optional<std::string> keyText(sqlite3_stmt* statement, int column) {
    if (sqlite3_column_type(statement, column) == SQLITE_NULL) {
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
}

// Loads the rows with their member texts (as the hierarchy formats them) and weights.
void loadRows(Sqlite& sqlite, const DataSet& dataSet, bool weighted) {
    sqlite.execute(
        "CREATE TABLE rows(rid INTEGER PRIMARY KEY, region TEXT, product TEXT, year TEXT, v REAL, vstate INTEGER, "
        "t TEXT, tstate INTEGER, c REAL, m REAL)");
    sqlite.execute("BEGIN");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(sqlite.handle(), "INSERT INTO rows VALUES(?,?,?,?,?,?,?,?,?,?)", -1, &insert, nullptr);
    const auto& region = *dataSet.getColumnWithName("Region");
    const auto& product = *dataSet.getColumnWithName("Product");
    const auto& year = *dataSet.getColumnWithName("Year");
    const auto& value = *dataSet.getColumnWithName("Value");
    const auto& label = *dataSet.getColumnWithName("Label");
    const auto& frequency = *dataSet.getColumnWithName("Frequency");
    const auto& frequencyWithMissing = *dataSet.getColumnWithName("FrequencyWithMissing");
    for (std::int32_t row = 0; row < dataSet.getNumberOfRows(); ++row) {
        sqlite3_reset(insert);
        sqlite3_bind_int(insert, 1, row);
        bindMemberTexts(insert, 2, region, product, year, row);
        const double number = value.getNumberAtIndex(row);
        const int state = std::isnan(number)                         ? 1
                          : number == DataTokens::SPARSE_NUMERIC     ? 2
                          : number == DataTokens::SUPPRESSED_NUMERIC ? 3
                                                                     : 0;
        if (state == 0) {
            sqlite3_bind_double(insert, 5, number);
        } else {
            sqlite3_bind_null(insert, 5);
        }
        sqlite3_bind_int(insert, 6, state);
        bindText(insert, 7, label.getStringAtIndex(row));
        sqlite3_bind_int(insert, 8, label.getStringIndexAtIndex(row) == DataTokens::TOKEN_SPARSE ? 2 : 0);
        const double count = weighted ? frequency.getNumberAtIndex(row) : 1.0;
        sqlite3_bind_double(insert, 9, count);
        sqlite3_bind_double(insert, 10, weighted ? frequencyWithMissing.getNumberAtIndex(row) - count : 0.0);
        ASSERT_EQ(sqlite3_step(insert), SQLITE_DONE);
    }
    sqlite3_finalize(insert);
    sqlite.execute("COMMIT");
    // The order in which a crossing meets the leaves: members in order of first appearance.
    sqlite.execute(
        "CREATE TABLE ranked AS SELECT *, MIN(rid) OVER (PARTITION BY region) AS r1, "
        "MIN(rid) OVER (PARTITION BY region, product) AS r2, "
        "MIN(rid) OVER (PARTITION BY region, product, year) AS r3 FROM rows");
}

// Every grouping set of (region, product, year), as GROUP BY computes it.
std::map<Key, Expected> groupEverySubset(Sqlite& sqlite) {
    const std::vector<std::string> names{"region", "product", "year"};
    std::map<Key, Expected> groups;
    for (int mask = 0; mask < 8; ++mask) {
        std::string keys;
        std::string groupBy;
        for (int index = 0; index < 3; ++index) {
            const bool grouped = (mask >> index) & 1;
            keys += (grouped ? names[static_cast<std::size_t>(index)] : std::string("NULL")) + ", ";
            if (grouped) {
                groupBy += (groupBy.empty() ? " GROUP BY " : ", ") + names[static_cast<std::size_t>(index)];
            }
        }
        const auto keyOf = [](sqlite3_stmt* statement) {
            return Key{keyText(statement, 0), keyText(statement, 1), keyText(statement, 2)};
        };
        sqlite.query("SELECT " + keys +
                         "SUM(CASE WHEN vstate=0 THEN v END), SUM(CASE WHEN vstate=0 THEN c ELSE 0 END), "
                         "MIN(CASE WHEN vstate=0 THEN v END), MAX(CASE WHEN vstate=0 THEN v END), "
                         "SUM(CASE WHEN vstate=0 THEN c+m WHEN vstate=1 THEN (CASE WHEN m=0 THEN 1 ELSE m END) "
                         "ELSE 0 END), COUNT(DISTINCT CASE WHEN vstate=0 THEN v END), "
                         "COUNT(DISTINCT CASE WHEN tstate=0 THEN t END), SUM(CASE WHEN tstate=0 THEN c ELSE 0 END) "
                         "FROM ranked" +
                         groupBy,
                     [&](sqlite3_stmt* statement) {
                         Expected& expected = groups[keyOf(statement)];
                         expected.sum = numberOrNaN(statement, 3);
                         expected.count = sqlite3_column_double(statement, 4);
                         expected.min = numberOrNaN(statement, 5);
                         expected.max = numberOrNaN(statement, 6);
                         expected.countWithMissing = sqlite3_column_double(statement, 7);
                         expected.distinctNumbers = sqlite3_column_double(statement, 8);
                         expected.distinctTexts = sqlite3_column_double(statement, 9);
                         expected.textCount = sqlite3_column_double(statement, 10);
                     });
        const std::string partition = groupBy.empty() ? "" : "PARTITION BY " + groupBy.substr(10) + " ";
        sqlite.query("SELECT " + keys + "v FROM (SELECT *, ROW_NUMBER() OVER (" + partition +
                         "ORDER BY r1, r2, r3, rid) AS n FROM ranked WHERE vstate IN (0, 1)) WHERE n = 1",
                     [&](sqlite3_stmt* statement) { groups[keyOf(statement)].first = numberOrNaN(statement, 3); });
    }
    return groups;
}

std::vector<std::optional<std::string>> distinctKeys(Sqlite& sqlite, const std::string& column) {
    std::vector<std::optional<std::string>> keys{std::nullopt};
    sqlite.query("SELECT DISTINCT " + column + " FROM rows",
                 [&](sqlite3_stmt* statement) { keys.push_back(keyText(statement, 0)); });
    return keys;
}

std::shared_ptr<DataTreeNode> queryNode(const std::optional<std::string>& key) {
    return key ? DataTreeNode::create(text(*key)) : getMatchesAllQueryNodePathWithLength(1).front();
}

class HierarchyDataSetOracleTest : public ::testing::TestWithParam<bool> {};

TEST_P(HierarchyDataSetOracleTest, EveryCrossingEqualsGroupByOfTheSameRows) {
    const bool weighted = GetParam();
    for (std::uint32_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const auto dataSet = RandomSales::generate(seed, 60 + 40 * seed).makeDataSet();
        Sqlite sqlite;
        loadRows(sqlite, *dataSet, weighted);
        const auto groups = groupEverySubset(sqlite);
        const auto crosstab = salesCrosstab(dataSet, true, weighted);
        const auto& root = crosstab->getDataTreeRoot();

        auto templates = std::make_shared<Aggregator::AggregatorList>();
        for (const bool countDistinct : {false, true, true}) {
            templates->push_back(Aggregator::create(countDistinct));
        }
        const std::vector<AxisRange> ranges{{0, 2}, {2, 1}};
        const auto ask = [&](const std::vector<CrossingPath>& paths, StatisticType::type statistic) {
            const auto values =
                getAggregateValuesAtCrossing(root, templates, ranges, {statistic, statistic, statistic}, paths);
            std::vector<double> numbers;
            for (const auto& value : values) {
                numbers.push_back(value->getNumericValue());
            }
            return numbers;
        };

        std::size_t crossingsChecked = 0;
        for (const auto& region : distinctKeys(sqlite, "region")) {
            for (const auto& product : distinctKeys(sqlite, "product")) {
                for (const auto& year : distinctKeys(sqlite, "year")) {
                    const Key key{region, product, year};
                    const std::vector<CrossingPath> paths{{queryNode(region), queryNode(product)}, {queryNode(year)}};
                    SCOPED_TRACE(region.value_or("*") + " / " + product.value_or("*") + " / " + year.value_or("*"));
                    const auto found = groups.find(key);
                    const auto sums = ask(paths, StatisticType::SUM);
                    if (found == groups.end()) {
                        // No row falls into this crossing.
                        for (const double sum : sums) {
                            EXPECT_EQ(sum, DataTokens::SPARSE_NUMERIC);
                        }
                        continue;
                    }
                    const Expected& expected = found->second;
                    EXPECT_PRED2(sameNumber, sums[0], expected.sum);
                    const auto distinct = ask(paths, StatisticType::COUNT_DISTINCT);
                    EXPECT_EQ(distinct[1], expected.distinctNumbers) << "COUNT_DISTINCT";
                    EXPECT_EQ(distinct[2], expected.distinctTexts) << "COUNT_DISTINCT of texts";
                    const auto counts = ask(paths, StatisticType::FREQUENCY);
                    EXPECT_EQ(counts[0], expected.count) << "FREQUENCY";
                    EXPECT_EQ(counts[2], expected.textCount) << "FREQUENCY of texts";
                    EXPECT_PRED2(sameNumber, ask(paths, StatisticType::MEAN)[0],
                                 expected.count > 0 ? expected.sum / expected.count : NaN);
                    EXPECT_PRED2(sameNumber, ask(paths, StatisticType::MIN)[0], expected.min);
                    EXPECT_PRED2(sameNumber, ask(paths, StatisticType::MAX)[0], expected.max);
                    EXPECT_PRED2(sameNumber, ask(paths, StatisticType::FIRST)[0], expected.first);
                    EXPECT_EQ(ask(paths, StatisticType::FREQUENCY_WITH_MISSING)[0], expected.countWithMissing);
                    // The data set's own query uses each column's aggregation.
                    const auto values = crosstab->getMeasureValuesAtCrossing(paths);
                    ASSERT_EQ(values.size(), 3U);
                    EXPECT_PRED2(sameNumber, values[0]->getNumericValue(), expected.sum);
                    EXPECT_EQ(values[1]->getNumericValue(), expected.distinctNumbers);
                    ++crossingsChecked;
                }
            }
        }
        EXPECT_GT(crossingsChecked, 8U);
    }
}

INSTANTIATE_TEST_SUITE_P(PlainAndWeightedRows, HierarchyDataSetOracleTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& parameter) {
                             return parameter.param ? "Weighted" : "Plain";
                         });

}  // namespace

}  // namespace pellium::test
