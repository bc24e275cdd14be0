#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/MutableDataSet.h"
#include "pellium/models/data/dataset/MutableDataSetChangeEvent.h"

namespace pellium {

namespace {

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

std::shared_ptr<const DataValue::ValueList> list(DataValue::ValueList values) {
    return std::make_shared<const DataValue::ValueList>(std::move(values));
}

std::shared_ptr<const DataValue::ValueList> row(double number, std::string_view name) {
    return list({DataValue::create(number), DataValue::create(text(name), -1000)});
}

// A data set of a numeric column "amount" and a string column "name".
std::shared_ptr<MutableDataSet> amountsAndNames(int rows, bool trimTexts = false) {
    auto dataSet =
        MutableDataSet::create({MutableColumn::create(DataType::NUMERIC, text("amount"), nullptr, text("BEST12.")),
                                MutableColumn::create(DataType::STRING, text("name"))},
                               trimTexts);
    for (int index = 0; index < rows; ++index) {
        dataSet->appendRow(row(index, "row " + std::to_string(index)));
    }
    return dataSet;
}

struct RecordedEvent {
    int type;
    std::int32_t row;
    std::int32_t column;
    bool operator==(const RecordedEvent&) const = default;
};

}  // namespace

TEST(MutableDataSetTest, EveryChangeRaisesItsEventWithTheRowAndColumnConcerned) {
    auto dataSet = amountsAndNames(3);
    std::vector<RecordedEvent> events;
    dataSet->addListenerForAllEvents([&](const std::shared_ptr<Event>& event) {
        if (const auto change = std::dynamic_pointer_cast<MutableDataSetChangeEvent>(event)) {
            events.push_back({change->getType(), change->getChangedRowIndex(), change->getChangedColumnIndex()});
        }
    });
    EXPECT_TRUE(dataSet->appendRow(row(3, "d")));
    EXPECT_TRUE(dataSet->insertRow(row(9, "i"), 1));
    EXPECT_TRUE(dataSet->setRow(row(8, "s"), 2));
    EXPECT_TRUE(dataSet->setDataValue(DataValue::create(7), 0, 0));
    EXPECT_TRUE(dataSet->deleteRow(4));
    EXPECT_TRUE(dataSet->setColumn(dataSet->getColumnAtIndex(0), dataSet->getColumnDataValues(0)));
    EXPECT_TRUE(dataSet->appendColumn(MutableColumn::create(DataType::NUMERIC, text("extra")), nullptr));
    using E = MutableDataSetChangeEvent;
    EXPECT_EQ(events, (std::vector<RecordedEvent>{{E::ROWCHANGE, 3, -1},
                                                  {E::ROWCHANGE, 1, -1},
                                                  {E::ROWCHANGE, 2, -1},
                                                  {E::CELLCHANGE, 0, 0},
                                                  {E::ROWDELETION, -1, -1},
                                                  {E::COLUMNCHANGE, -1, 0},
                                                  {E::COLUMNCHANGE, -1, 2}}));
    EXPECT_EQ(*dataSet->getCombinedCSV(), "7,\"row 0\",.\n9,\"i\",.\n8,\"s\",.\n2,\"row 2\",.\n");
}

TEST(MutableDataSetTest, RowsThatDoNotFitChangeNothingAndRaiseNothing) {
    auto dataSet = amountsAndNames(2);
    int events = 0;
    dataSet->addListenerForAllEvents([&](const std::shared_ptr<Event>&) { ++events; });
    auto threeValues = list({DataValue::create(1), DataValue::create(2), DataValue::create(3)});
    EXPECT_FALSE(dataSet->appendRow(threeValues));
    EXPECT_FALSE(dataSet->appendRow(nullptr));
    EXPECT_FALSE(dataSet->appendRow(list({})));
    EXPECT_FALSE(dataSet->insertRow(row(1, "x"), 3));
    EXPECT_FALSE(dataSet->insertRow(row(1, "x"), -1));
    EXPECT_FALSE(dataSet->deleteRow(-1));
    EXPECT_FALSE(dataSet->deleteRow(2));
    EXPECT_FALSE(dataSet->setDataValue(DataValue::create(1), 2, 0));
    EXPECT_FALSE(dataSet->setDataValue(DataValue::create(1), 0, 2));
    EXPECT_FALSE(dataSet->appendColumn(dataSet->getColumnAtIndex(0), nullptr));  // already in a data set
    EXPECT_EQ(events, 0);
    EXPECT_EQ(dataSet->getNumberOfRows(), 2);
}

TEST(MutableDataSetTest, SelectionFollowsInsertedAndDeletedRows) {
    auto inserted = amountsAndNames(6);
    inserted->selectRows({1, 4});
    inserted->insertRow(row(0, "new"), 2);
    EXPECT_EQ(*inserted->getRowStates()->getSelectedIndices(), (RowIndexSet{1, 5}));

    auto deleted = amountsAndNames(6);
    deleted->selectRows({1, 4});
    deleted->getRowStates()->setExcludedAtIndex(true, 5);
    deleted->deleteRow(1);
    EXPECT_EQ(*deleted->getRowStates()->getSelectedIndices(), RowIndexSet{3});
    EXPECT_EQ(*deleted->getRowStates()->getExcludedIndices(), RowIndexSet{4});

    deleted->appendRow(row(1, "appended"));
    EXPECT_EQ(deleted->getRowStates()->getNumberOfRows(), 6);
    EXPECT_EQ(*deleted->getRowStates()->getSelectedIndices(), RowIndexSet{3});
}

// Random edits against a plain vector of rows and a set of selected rows.
TEST(MutableDataSetTest, RandomEditsKeepRowsAndSelectionInStep) {
    std::mt19937 random(17);
    auto dataSet = amountsAndNames(0);
    std::vector<double> oracle;
    RowIndexSet selected;
    for (int step = 0; step < 400; ++step) {
        const auto rows = static_cast<std::int32_t>(oracle.size());
        const double number = step;
        switch (random() % 4) {
            case 0:
                dataSet->appendRow(row(number, "a"));
                oracle.push_back(number);
                break;
            case 1: {
                const auto at = static_cast<std::int32_t>(random() % (rows + 1));
                dataSet->insertRow(row(number, "i"), at);
                oracle.insert(oracle.begin() + at, number);
                selected = MutableDataSet::adjustSelectedIndicesForInsert(selected, static_cast<std::uint32_t>(at));
                break;
            }
            case 2:
                if (rows > 0) {
                    const auto at = static_cast<std::int32_t>(random() % rows);
                    dataSet->deleteRow(at);
                    oracle.erase(oracle.begin() + at);
                    selected = MutableDataSet::deleteFromSelectedIndices(selected, static_cast<std::uint32_t>(at));
                }
                break;
            default:
                if (rows > 0) {
                    selected.insert(static_cast<std::uint32_t>(random() % rows));
                    dataSet->selectRows(selected);
                }
                break;
        }
        ASSERT_EQ(dataSet->getNumberOfRows(), static_cast<std::int32_t>(oracle.size()));
        ASSERT_EQ(*dataSet->getRowStates()->getSelectedIndices(), selected);
    }
    for (std::int32_t index = 0; index < dataSet->getNumberOfRows(); ++index) {
        EXPECT_EQ(dataSet->getDataValue(index, 0)->getNumericValue(), oracle[static_cast<std::size_t>(index)]);
    }
}

TEST(MutableDataSetTest, ValuesAreCopiedInAndOut) {
    auto dataSet = amountsAndNames(0);
    auto number = DataValue::create(5);
    auto name = DataValue::create(text("five"), -1000);
    dataSet->appendRow(list({number, name}));
    number->setNumericValue(6);
    name->setStringValue(text("six"), -1000);
    dataSet->getDataValue(0, 0)->setNumericValue(7);
    EXPECT_EQ(dataSet->getDataValue(0, 0)->getNumericValue(), 5);
    EXPECT_EQ(*dataSet->getDataValue(0, 1)->getStringValue(), "five");
    EXPECT_NE(dataSet->getDataValue(0, 0), dataSet->getDataValue(0, 0));
}

TEST(MutableDataSetTest, NullAndForeignValuesEnterAsTheirColumnsType) {
    auto dataSet = amountsAndNames(0, true);
    dataSet->appendRow(list({nullptr, nullptr}));
    const auto missingNumber = dataSet->getDataValue(0, 0);
    EXPECT_TRUE(std::isnan(missingNumber->getNumericValue()));
    EXPECT_EQ(*missingNumber->getFormattedValue(), ".");
    EXPECT_TRUE(dataSet->getDataValue(0, 1)->isString());
    EXPECT_TRUE(dataSet->getDataValue(0, 1)->isMissing());

    dataSet->appendRow(list({DataValue::create(text("12.5"), -1000), DataValue::create(3)}));
    EXPECT_EQ(dataSet->getDataValue(1, 0)->getNumericValue(), 12.5);
    EXPECT_EQ(*dataSet->getDataValue(1, 1)->getStringValue(), "3");

    dataSet->setDataValue(DataValue::create(text("  padded \t"), -1000), 1, 1);
    EXPECT_EQ(*dataSet->getDataValue(1, 1)->getStringValue(), "padded");
    EXPECT_EQ(MutableDataSet::trimWhiteSpace(" \n a b \t"), "a b");
}

TEST(MutableDataSetTest, ColumnsReadTheirRowsFromTheirDataSet) {
    auto dataSet = amountsAndNames(3);
    const auto names = dataSet->getColumnAtIndex(1);
    EXPECT_EQ(names->getColumnIndex(), 1);
    EXPECT_EQ(names->getNumberOfRows(), 3);
    EXPECT_EQ(*names->getFormattedValueAtIndex(2), "row 2");
    EXPECT_TRUE(names->setDataValueAtIndex(DataValue::create(text("renamed"), -1000), 2));
    EXPECT_EQ(*dataSet->getDataValue(2, 1)->getStringValue(), "renamed");
    EXPECT_EQ(names->getDataValuesAtIndices({0, 2, 9})->size(), 2u);
    EXPECT_EQ(dataSet->getColumnIndexByName("name"), 1);
    EXPECT_EQ(dataSet->getColumnIndexByName("missing"), -1);

    const auto loose = MutableColumn::create(DataType::NUMERIC, text("loose"));
    EXPECT_EQ(loose->getColumnIndex(), -1);
    EXPECT_FALSE(loose->getDataValueAtIndex(0));
    EXPECT_FALSE(loose->setDataValueAtIndex(DataValue::create(1), 0));
}

TEST(MutableDataSetTest, EditableCopyOfADataSetHasItsCellsAndSelection) {
    auto amounts = Column::create(text("amount"), DataType::NUMERIC);
    amounts->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{1.5, NAN, -2}));
    auto cities = Column::create(text("city"), DataType::STRING);
    cities->setStringIndices(std::make_shared<Column::IndexVector>(Column::IndexVector{1, 0, -99}));
    auto source = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{amounts, cities}));
    auto table = std::make_shared<DataSet::StringTable>(DataSet::StringTable{text("Bern"), text("Oslo \"x\"")});
    source->setStringTable(table);
    source->assignStringValuesFromIndices();
    source->selectRows({0, 2});

    const auto copy = MutableDataSet::create(source);
    ASSERT_TRUE(copy);
    EXPECT_EQ(*copy->getCombinedCSV(), *source->getCombinedCSV());
    EXPECT_EQ(*copy->getRowStates()->getSelectedIndices(), (RowIndexSet{0, 2}));
    EXPECT_EQ(copy->getDataValue(2, 1)->getStringIndex(), DataTokens::TOKEN_ALL_OTHERS);

    const auto cloned = copy->clone();
    cloned->setDataValue(DataValue::create(100), 0, 0);
    EXPECT_EQ(copy->getDataValue(0, 0)->getNumericValue(), 1.5);
    EXPECT_EQ(*cloned->getRowStates()->getSelectedIndices(), (RowIndexSet{0, 2}));
}

TEST(MutableDataSetTest, FirstColumnOfAnEmptyDataSetBringsItsRows) {
    auto dataSet = MutableDataSet::create();
    auto values = list({DataValue::create(1), DataValue::create(2)});
    EXPECT_TRUE(dataSet->appendColumn(MutableColumn::create(DataType::NUMERIC, text("x")), values));
    EXPECT_EQ(dataSet->getNumberOfRows(), 2);
    EXPECT_FALSE(dataSet->appendColumn(MutableColumn::create(DataType::NUMERIC, text("y")), list({})));
    EXPECT_EQ(dataSet->getRowStates()->getNumberOfRows(), 2);
}

}  // namespace pellium
