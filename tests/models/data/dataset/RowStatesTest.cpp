#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/RowStates.h"
#include "pellium/models/data/dataset/RowStatesSynchronizer.h"
#include "pellium/models/data/dataset/SummarizedRowStates.h"

namespace pellium {

namespace {

// Counts the events of each row-state type raised by one dispatcher.
struct EventCounter {
    int selected = 0;
    int excluded = 0;
    std::shared_ptr<Event> last;
    bool lastCameFromThisDispatcher = false;

    explicit EventCounter(EventDispatcher& dispatcher) {
        dispatcher.addListenerForAllEvents([this, &dispatcher](const std::shared_ptr<Event>& event) {
            selected += event->getType() == RowStates::SELECTED_CHANGED;
            excluded += event->getType() == RowStates::EXCLUDED_CHANGED;
            last = event;
            lastCameFromThisDispatcher = event->isSource(&dispatcher);
        });
    }
};

RowIndexSet setOf(const std::vector<bool>& flags) {
    RowIndexSet rows;
    for (std::uint32_t row = 0; row < flags.size(); ++row) {
        if (flags[row]) {
            rows.insert(row);
        }
    }
    return rows;
}

// Both representations of both states describe the oracle's rows.
void expectInStep(RowStates& states, const std::vector<bool>& selected, const std::vector<bool>& excluded) {
    EXPECT_EQ(*states.getSelected(), selected);
    EXPECT_EQ(*states.getSelectedIndices(), setOf(selected));
    EXPECT_EQ(*states.getExcluded(), excluded);
    EXPECT_EQ(*states.getExcludedIndices(), setOf(excluded));
}

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

std::shared_ptr<DataSet> dataSetOfNumbers(std::vector<double> numbers) {
    auto column = Column::create(text("x"), DataType::NUMERIC);
    column->setNumbers(std::make_shared<Column::NumberVector>(std::move(numbers)));
    return DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{column}));
}

}  // namespace

// Random operations against plain vectors of flags: the flags and the sets stay in step, every
// operation answers whether it changed something, and exactly the changing ones raise one event.
TEST(RowStatesTest, RandomOperationsKeepFlagsAndSetsInStepAndRaiseEventsOnlyOnChange) {
    std::mt19937 random(7);
    for (int trial = 0; trial < 40; ++trial) {
        const std::int32_t rows = static_cast<std::int32_t>(random() % 12);
        auto states = RowStates::create(rows);
        EventCounter events(*states);
        std::vector<bool> selected(static_cast<std::size_t>(rows)), excluded(static_cast<std::size_t>(rows));
        for (int step = 0; step < 60; ++step) {
            RowIndexSet chosen;
            for (int member = 0; member < 3; ++member) {
                chosen.insert(static_cast<std::uint32_t>(random() % (rows + 3)));  // some beyond the rows
            }
            const bool value = random() % 2 == 0;
            std::vector<bool> expectedSelected = selected, expectedExcluded = excluded;
            bool changed = false;
            const int selectedBefore = events.selected, excludedBefore = events.excluded;
            switch (random() % 7) {
                case 0:
                    for (auto row : chosen) {
                        if (row < selected.size())
                            expectedSelected[row] = value;
                    }
                    changed = states->setSelectedAtSpecifiedIndices(value, chosen);
                    break;
                case 1:
                    for (std::uint32_t row = 0; row < selected.size(); ++row) {
                        expectedSelected[row] = chosen.contains(row) ? value : !value;
                    }
                    changed = states->setSelectedOnlyAtSpecifiedIndices(value, chosen);
                    break;
                case 2:
                    for (auto row : chosen) {
                        if (row < selected.size())
                            expectedSelected[row] = !expectedSelected[row];
                    }
                    changed = states->toggleSelectedAtSpecifiedIndices(chosen);
                    break;
                case 3:
                    expectedSelected.assign(selected.size(), value);
                    changed = states->setSelectedAll(value);
                    break;
                case 4:
                    expectedSelected.flip();
                    changed = states->invertSelections();
                    break;
                case 5:
                    for (std::uint32_t row = 0; row < excluded.size(); ++row) {
                        expectedExcluded[row] = chosen.contains(row) ? value : !value;
                    }
                    changed = states->setExcludedOnlyAtSpecifiedIndices(value, chosen);
                    break;
                default:
                    expectedExcluded.assign(excluded.size(), value);
                    changed = states->setExcludedAll(value);
                    break;
            }
            const bool anyChange = expectedSelected != selected || expectedExcluded != excluded;
            EXPECT_EQ(changed, anyChange);
            if (!anyChange) {
                EXPECT_EQ(events.selected, selectedBefore);
                EXPECT_EQ(events.excluded, excludedBefore);
            }
            EXPECT_EQ(events.selected > selectedBefore, expectedSelected != selected);
            EXPECT_EQ(events.excluded - excludedBefore, expectedExcluded != excluded ? 1 : 0);
            selected = expectedSelected;
            excluded = expectedExcluded;
            expectInStep(*states, selected, excluded);
        }
    }
}

// A derived class that overrides the virtual selection operations sees invertSelections and
// setSelectedAtIndex go through them.
TEST(RowStatesTest, SingleRowAndInversionGoThroughTheVirtualOperations) {
    struct Recording : SummarizedRowStates {
        explicit Recording(std::int32_t rows) : SummarizedRowStates(Token{}, rows) {}
        std::vector<std::string> calls;
        bool setSelectedAtSpecifiedIndices(bool value, const RowIndexSet& rows) override {
            calls.push_back("set");
            return SummarizedRowStates::setSelectedAtSpecifiedIndices(value, rows);
        }
        bool toggleSelectedAtSpecifiedIndices(const RowIndexSet& rows) override {
            calls.push_back("toggle");
            return SummarizedRowStates::toggleSelectedAtSpecifiedIndices(rows);
        }
        bool setSelectedAll(bool value) override {
            calls.push_back("all");
            return SummarizedRowStates::setSelectedAll(value);
        }
    };
    auto states = std::make_shared<Recording>(3);
    states->setSelectedAtIndex(true, 1);
    states->invertSelections();
    EXPECT_EQ(states->calls, (std::vector<std::string>{"set", "all", "toggle"}));
    EXPECT_EQ(*states->getSelectedIndices(), (RowIndexSet{0, 2}));
}

TEST(RowStatesTest, TruncateCutsFlagsAndSetsAndTreatsNegativeCountsAsZero) {
    auto states = RowStates::create(6);
    states->setSelectedAtSpecifiedIndices(true, {1, 4, 5});
    states->setExcludedAtSpecifiedIndices(true, {0, 5});
    states->truncate(5);
    expectInStep(*states, {false, true, false, false, true}, {true, false, false, false, false});
    states->truncate(-3);
    EXPECT_EQ(states->getNumberOfRows(), 0);
    expectInStep(*states, {}, {});
}

TEST(RowStatesTest, SettersIgnoreRowsOutsideTheRowStates) {
    auto states = RowStates::create(3);
    EXPECT_FALSE(states->setSelectedAtIndex(true, -1));
    EXPECT_FALSE(states->setSelectedAtIndex(true, 3));
    EXPECT_FALSE(states->isSelectedAtIndex(7));
    EXPECT_FALSE(states->areAnySelected());
}

TEST(RowStatesTest, ApplyRowStatesCopiesTheStatesOfTheRowsBothHave) {
    auto source = RowStates::create(5);
    source->setSelectedAtSpecifiedIndices(true, {0, 4});
    source->setExcludedAtSpecifiedIndices(true, {3});
    auto target = RowStates::create(4);
    target->setSelectedAtSpecifiedIndices(true, {1});
    EXPECT_TRUE(target->applyRowStates(*source));
    expectInStep(*target, {true, false, false, false}, {false, false, false, true});
}

TEST(RowStatesTest, CopiesAreIndependentAndKeepTheirClass) {
    auto states = SummarizedRowStates::create(3);
    states->setPercentSelectedAtIndex(0.25f, 1);
    auto copy = std::dynamic_pointer_cast<SummarizedRowStates>(states->createCopy());
    ASSERT_TRUE(copy);
    copy->setSelectedAll(false);
    EXPECT_EQ(states->getPercentSelectedAtIndex(1), 0.25f);
    EXPECT_EQ(copy->getPercentSelectedAtIndex(1), 0.0f);
}

TEST(RowStatesTest, IndexCacheAcceptsOnlyTheFullSetOfRows) {
    auto states = RowStates::create(3);
    EXPECT_FALSE(states->verifyIndexCacheIsReady());
    EXPECT_FALSE(states->restoreIndexCache(std::make_shared<RowIndexSet>(RowIndexSet{0, 2})));
    EXPECT_FALSE(states->restoreIndexCache(std::make_shared<RowIndexSet>(RowIndexSet{0, 1, 3})));
    EXPECT_TRUE(states->restoreIndexCache(std::make_shared<RowIndexSet>(RowIndexSet{0, 1, 2})));
    EXPECT_TRUE(states->verifyIndexCacheIsReady());
    EXPECT_EQ(states->takeComplementFromIndexCache({1, 9}), (RowIndexSet{0, 2}));
}

TEST(RowStatesTest, SelectedColumnHoldsOneForSelectedRowsAndFractionsWhenSummarized) {
    auto plain = RowStates::create(3);
    plain->setSelectedAtIndex(true, 2);
    const auto column = plain->makeNumericSelectedColumn();
    EXPECT_EQ(*column->getName(), RowStates::SELECTED_COLUMN_NAME);
    EXPECT_EQ(*column->getNumbers(), (std::vector<double>{0, 0, 1}));

    auto summarized = SummarizedRowStates::create(3);
    summarized->setPercentSelectedAtIndex(0.5f, 0);
    summarized->setSelectedAtIndex(true, 2);
    EXPECT_EQ(*summarized->makeNumericSelectedColumn()->getNumbers(), (std::vector<double>{0.5, 0, 1}));
}

// The fractions and the flags describe one selection: a row is selected when its fraction is
// above 0, whichever of the two was set.
TEST(SummarizedRowStatesTest, FractionsAndFlagsFollowEachOther) {
    auto states = SummarizedRowStates::create(4);
    EventCounter events(*states);
    EXPECT_TRUE(states->setPercentSelectedAtSpecifiedIndices(0.5f, {0, 1}));
    EXPECT_EQ(*states->getSelected(), (std::vector<bool>{true, true, false, false}));
    EXPECT_EQ(events.selected, 1);
    EXPECT_FALSE(states->setPercentSelectedAtSpecifiedIndices(0.5f, {0, 1}));
    EXPECT_EQ(events.selected, 1);
    EXPECT_TRUE(states->setPercentSelectedAtIndex(0.75f, 1));  // a fraction alone changed
    EXPECT_EQ(events.selected, 2);

    states->setSelectedAtSpecifiedIndices(true, {1, 2});  // 2 becomes fully selected, 1 keeps 0.75
    states->setSelectedAtIndex(false, 0);
    EXPECT_EQ(*states->getPercentSelected(), (std::vector<float>{0, 0.75f, 1, 0}));

    states->setPercentSelectedOnlyAtSpecifiedIndices({0.1f, 2.0f, 0.3f, -1.0f}, {1, 3});
    EXPECT_EQ(*states->getPercentSelected(), (std::vector<float>{0, 1, 0, 0}));  // clamped to [0, 1]
    EXPECT_EQ(*states->getSelectedIndices(), RowIndexSet{1});
}

TEST(SummarizedRowStatesTest, FractionOfARowBeyondTheRowCountThrows) {
    auto states = SummarizedRowStates::create(2);
    EXPECT_THROW(states->getPercentSelectedAtIndex(2), std::out_of_range);
    EXPECT_THROW(states->getPercentSelectedAtIndex(-1), std::out_of_range);
}

TEST(DataSetRowStatesTest, RowStateEventsReachTheDataSetsListenersFromTheRowStates) {
    auto dataSet = dataSetOfNumbers({1, 2, 3});
    EventCounter events(*dataSet);
    const auto states = dataSet->getRowStates();
    EXPECT_TRUE(dataSet->selectRows({0, 2}));
    EXPECT_EQ(events.selected, 1);
    ASSERT_TRUE(events.last);
    EXPECT_TRUE(events.lastCameFromThisDispatcher);
    EXPECT_TRUE(events.last->isOriginalSource(states.get()));

    dataSet->generateRowStates();  // the old row states no longer speak for the data set
    states->setSelectedAll(false);
    EXPECT_EQ(events.selected, 1);
    dataSet->selectRows(1, true);
    EXPECT_EQ(events.selected, 2);
}

TEST(DataSetRowStatesTest, SummarizedFlagChoosesTheClassOfTheRowStates) {
    EXPECT_FALSE(std::dynamic_pointer_cast<SummarizedRowStates>(DataSet::create(false, false)->getRowStates()));
    EXPECT_TRUE(std::dynamic_pointer_cast<SummarizedRowStates>(DataSet::create(false, true)->getRowStates()));
}

TEST(DataSetRowStatesTest, SelectedValuesAndAllOthersFollowTheSelection) {
    auto dataSet = dataSetOfNumbers({10, DataTokens::ALL_OTHERS_NUMERIC, 30});
    dataSet->selectRows({0, 2});
    const auto values = dataSet->getSelectedValues("x");
    ASSERT_TRUE(values);
    ASSERT_EQ(values->size(), 2u);
    EXPECT_EQ((*values)[1]->getNumericValue(), 30);
    EXPECT_FALSE(dataSet->getSelectedValues("y"));
    EXPECT_FALSE(dataSet->selectionContainsAllOther());
    dataSet->selectRows(1, true);
    EXPECT_TRUE(dataSet->selectionContainsAllOther());
}

TEST(DataSetRowStatesTest, TruncatingTheDataSetTruncatesItsRowStates) {
    auto dataSet = dataSetOfNumbers({1, 2, 3, 4});
    dataSet->selectRows({1, 3});
    dataSet->truncate(3);
    EXPECT_EQ(dataSet->getRowStates()->getNumberOfRows(), 3);
    EXPECT_EQ(*dataSet->getRowStates()->getSelectedIndices(), RowIndexSet{1});
}

TEST(RowStatesSynchronizerTest, CarriesTheSelectionThroughMappingValuesOrRowNumbers) {
    auto source = dataSetOfNumbers({1, 2, 3, 2});
    auto target = dataSetOfNumbers({2, 5, 1});
    source->selectRows({1, 2});

    auto mapping = std::make_shared<RowStatesSynchronizer::RowMapping>(RowStatesSynchronizer::RowMapping{2, 0, -1, 9});
    auto byMapping = RowStatesSynchronizer::create(source, target, mapping, true);
    EXPECT_TRUE(byMapping->synchronize());
    EXPECT_EQ(*target->getRowStates()->getSelectedIndices(), RowIndexSet{0});

    auto byValue = RowStatesSynchronizer::create(source, target, nullptr, true, source->getColumnAtIndex(0),
                                                 target->getColumnAtIndex(0));
    source->selectRows({0, 3});  // the values 1 and 2
    byValue->synchronize();
    EXPECT_EQ(*target->getRowStates()->getSelectedIndices(), (RowIndexSet{0, 2}));

    auto byRow = RowStatesSynchronizer::create(source, target, nullptr, false);
    source->selectRows({1, 3});
    byRow->synchronize();  // adds row 1; row 3 is beyond the target
    EXPECT_EQ(*target->getRowStates()->getSelectedIndices(), (RowIndexSet{0, 1, 2}));
}

TEST(RowStatesSynchronizerTest, TwoWayLinkFollowsUserChangesWithoutEchoes) {
    auto left = dataSetOfNumbers({1, 2, 3});
    auto right = dataSetOfNumbers({1, 2, 3});
    auto forward = RowStatesSynchronizer::create(left, right, nullptr, true);
    auto backward = RowStatesSynchronizer::create(right, left, nullptr, true);
    ASSERT_TRUE(forward->registerListener());
    ASSERT_TRUE(backward->registerListener());
    EXPECT_FALSE(forward->registerListener());
    EventCounter leftEvents(*left);
    EventCounter rightEvents(*right);

    left->selectRows({2});
    EXPECT_EQ(*right->getRowStates()->getSelectedIndices(), RowIndexSet{2});
    right->selectRows({0, 1});
    EXPECT_EQ(*left->getRowStates()->getSelectedIndices(), (RowIndexSet{0, 1}));
    EXPECT_EQ(leftEvents.selected, 2);
    EXPECT_EQ(rightEvents.selected, 2);

    left->generateRowStates();  // the synchronizer hears the new row states through the data set
    left->selectRows({1});
    EXPECT_EQ(*right->getRowStates()->getSelectedIndices(), RowIndexSet{1});
    forward->unregisterListener();
    left->selectRows({0});
    EXPECT_EQ(*right->getRowStates()->getSelectedIndices(), RowIndexSet{1});
}

}  // namespace pellium
