#include <algorithm>
#include <bit>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/PartiallyAggregatedColumn.h"
#include "pellium/models/data/dataset/SummarizedRowStates.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/serializers/MemoryInputStream.h"

namespace pellium {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

// Stream bytes written out by hand, block by block, as the byte tables give them; independent of
// the library's writer.
class Bytes {
public:
    Bytes& mark(char byte) { return raw(static_cast<unsigned char>(byte)); }
    Bytes& raw(unsigned char byte) {
        text_.push_back(static_cast<char>(byte));
        return *this;
    }
    Bytes& version() { return mark('V').raw(1); }
    Bytes& int32(std::int32_t value) { return append(&value, sizeof(value)); }
    Bytes& float64(double value) { return append(&value, sizeof(value)); }
    Bytes& string(std::string_view value) {
        mark('d').mark('U').int32(static_cast<std::int32_t>(value.size()));
        text_.append(value);
        return *this;
    }
    Bytes& nullString() { return mark('a'); }
    Bytes& taggedInt32(char tag, std::int32_t value) { return mark(tag).int32(value); }
    Bytes& taggedDouble(char tag, double value) { return mark(tag).float64(value); }
    Bytes& taggedBool(char tag, bool value) { return mark(tag).raw(value ? 1 : 0); }
    template <typename Number>
    Bytes& numbers(const std::vector<Number>& values) {
        version().mark('f').mark('c').mark('U').int32(static_cast<std::int32_t>(values.size())).mark('S');
        for (const Number value : values) {
            append(&value, sizeof(value));
        }
        return mark('T');
    }
    Bytes& doubles(const std::vector<double>& values) { return numbers(values); }
    Bytes& int32s(const std::vector<std::int32_t>& values) { return numbers(values); }
    Bytes& nullShared() { return version().mark('a'); }
    Bytes& append(const Bytes& other) {
        text_ += other.text_;
        return *this;
    }
    const std::string& str() const { return text_; }

private:
    Bytes& append(const void* bytes, std::size_t size) {
        text_.append(static_cast<const char*>(bytes), size);
        return *this;
    }
    std::string text_;
};

// A column's summary as a column has it before it is first computed.
Bytes& freshSummary(Bytes& bytes) {
    for (int field = 0; field < 4; ++field) {
        bytes.taggedDouble('b', NaN);
    }
    return bytes.taggedDouble('b', 0)
        .nullString()
        .taggedBool('c', false)
        .taggedBool('c', false)
        .taggedBool('c', false)
        .taggedBool('c', false);
}

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

std::string written(const std::shared_ptr<const DataSet>& dataSet) {
    std::ostringstream stream;
    EXPECT_TRUE(DataSet::serialize(stream, dataSet));
    return stream.str();
}

std::shared_ptr<DataSet> read(std::string_view bytes) {
    MemoryInputStream stream(bytes);
    return DataSet::createFromSerialData(stream);
}

bool reads(std::string_view bytes) {
    MemoryInputStream stream(bytes);
    std::shared_ptr<DataSet> dataSet;
    return DataSet::unserialize(stream, dataSet);
}

std::shared_ptr<Column> numericColumn(std::string_view name, std::vector<double> numbers) {
    auto column = Column::create(text(name), DataType::NUMERIC, nullptr, text("BEST12."));
    column->setNumbers(std::make_shared<Column::NumberVector>(std::move(numbers)));
    return column;
}

std::shared_ptr<Column> stringColumn(std::string_view name, std::vector<std::int32_t> indices) {
    auto column = Column::create(text(name), DataType::STRING, nullptr, text("$CHAR12."));
    column->setStringIndices(std::make_shared<Column::IndexVector>(std::move(indices)));
    return column;
}

std::shared_ptr<DataSet> dataSetOf(std::vector<std::shared_ptr<Column>> columns, std::vector<std::string> table,
                                   bool summarized = false) {
    auto dataSet = DataSet::create(false, summarized);
    dataSet->setColumns(std::make_shared<DataSet::ColumnList>(std::move(columns)));
    auto strings = std::make_shared<DataSet::StringTable>();
    for (const auto& entry : table) {
        strings->push_back(std::make_shared<const std::string>(entry));
    }
    dataSet->setStringTable(strings);
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

// A random data set of every kind of cell, special states included, with a selection.
std::shared_ptr<DataSet> randomDataSet(std::mt19937& random, bool summarized) {
    const std::int32_t rows = static_cast<std::int32_t>(random() % 40);
    const std::vector<double> specials = {NaN,
                                          DataTokens::SPARSE_NUMERIC,
                                          DataTokens::SUPPRESSED_NUMERIC,
                                          DataTokens::MATCHES_ALL_NUMERIC,
                                          DataTokens::ALL_OTHERS_NUMERIC,
                                          -0.0};
    std::vector<std::string> table;
    for (std::size_t entry = 0; entry < random() % 6 + 1; ++entry) {
        std::string entryText = std::to_string(entry);
        entryText.append(entry % 2 ? " \"quoted\"" : " \xC3\xA9");
        table.push_back(entryText);
    }
    std::vector<std::shared_ptr<Column>> columns;
    for (std::size_t position = 0; position < random() % 4 + 1; ++position) {
        std::string name = std::to_string(position);
        name.insert(name.begin(), 'c');
        if (random() % 2) {
            std::vector<double> numbers;
            for (std::int32_t row = 0; row < rows; ++row) {
                numbers.push_back(random() % 5 ? std::ldexp(static_cast<double>(random()), -int(random() % 40))
                                               : specials[random() % specials.size()]);
            }
            columns.push_back(numericColumn(name, numbers));
        } else {
            std::vector<std::int32_t> indices;
            for (std::int32_t row = 0; row < rows; ++row) {
                indices.push_back(random() % 6 ? static_cast<std::int32_t>(random() % table.size())
                                               : std::vector<std::int32_t>{-100, -99, -98, -2, -1}[random() % 5]);
            }
            columns.push_back(stringColumn(name, indices));
        }
        if (random() % 3 == 0) {
            columns.back()->updateMetaData();
        }
    }
    auto dataSet = dataSetOf(columns, table, summarized);
    dataSet->setName(text("random"));
    dataSet->setComparisonEpsilon(std::ldexp(1.0, -int(random() % 30)));
    RowIndexSet selected, excluded;
    for (std::int32_t row = 0; row < rows; ++row) {
        if (random() % 3 == 0)
            selected.insert(static_cast<std::uint32_t>(row));
        if (random() % 4 == 0)
            excluded.insert(static_cast<std::uint32_t>(row));
    }
    dataSet->selectRows(selected);
    dataSet->getRowStates()->setExcludedOnlyAtSpecifiedIndices(true, excluded);
    return dataSet;
}

std::uint64_t bitsOf(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

void expectSameColumns(const DataSet& expected, const DataSet& actual) {
    ASSERT_EQ(expected.getNumberOfColumns(), actual.getNumberOfColumns());
    for (std::int32_t position = 0; position < expected.getNumberOfColumns(); ++position) {
        const auto left = expected.getColumnAtIndex(position);
        const auto right = actual.getColumnAtIndex(position);
        EXPECT_EQ(*left->getName(), *right->getName());
        EXPECT_EQ(left->getDataType(), right->getDataType());
        EXPECT_EQ(left->getFormatName() != nullptr, right->getFormatName() != nullptr);
        ASSERT_EQ(left->getNumberOfRows(), right->getNumberOfRows());
        for (std::int32_t row = 0; row < left->getNumberOfRows(); ++row) {
            if (left->getDataType() == DataType::STRING) {
                EXPECT_EQ(left->getStringIndexAtIndex(row), right->getStringIndexAtIndex(row));
                // Texts read back are the library's shared instances.
                EXPECT_EQ(left->getStringAtIndex(row), right->getStringAtIndex(row));
            } else {
                EXPECT_EQ(bitsOf(left->getNumberAtIndex(row)), bitsOf(right->getNumberAtIndex(row)));
            }
        }
    }
}

}  // namespace

TEST(DataSetStreamTest, NullDataSetIsThreeBytes) {
    EXPECT_EQ(written(nullptr), "V\001a");
    MemoryInputStream stream(std::string_view("V\001a"));
    std::shared_ptr<DataSet> dataSet = DataSet::create();
    EXPECT_TRUE(DataSet::unserialize(stream, dataSet));
    EXPECT_FALSE(dataSet);
}

// A data set with a numeric column, a string column, null vectors and a selection, against the bytes written out block
// by block.
TEST(DataSetStreamTest, SmallDataSetIsWrittenByteForByte) {
    auto dataSet = dataSetOf({numericColumn("n", {1.5, NaN}), stringColumn("s", {0, -99})}, {"x"});
    dataSet->setName(text("t"));
    dataSet->setComparisonEpsilon(0.25);
    dataSet->selectRows({1});

    Bytes expected;
    expected.version().mark('g').string("t");
    expected.version().mark('f').mark('U').int32(1).mark('S').string("x").mark('T');
    expected.version().mark('f').mark('g').mark('U').int32(2).mark('S');
    // "n": numeric, label = name, format "BEST12.", SUM, quantitative
    expected.version().mark('g').raw(0xC0).taggedInt32('c', 0).string("n").string("n").string("BEST12.");
    expected.taggedInt32('c', 0).doubles({1.5, NaN}).nullShared().taggedInt32('c', 1).taggedInt32('b', 2);
    freshSummary(expected);
    // "s": string, categorical
    expected.version().mark('g').raw(0xC0).taggedInt32('c', 1).string("s").string("s").string("$CHAR12.");
    expected.taggedInt32('c', 0).nullShared().int32s({0, -99}).taggedInt32('c', 0).taggedInt32('b', 2);
    freshSummary(expected);
    expected.mark('T');
    // Row states: row 1 selected, exclusion never made.
    expected.mark('g').raw(0xA0).mark('f').mark('c').mark('U').int32(2).mark('S').raw(0).raw(1).mark('T');
    expected.version().mark('e').mark('c').mark('U').int32(1).mark('S').int32(1).mark('T');
    expected.nullString().nullShared().taggedInt32('c', 2);
    expected.taggedInt32('b', 2).taggedBool('c', false).taggedBool('c', false).taggedDouble('b', 0.25);

    const std::string bytes = written(dataSet);
    EXPECT_EQ(bytes, expected.str());

    const auto back = read(bytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back->getName(), "t");
    EXPECT_EQ(back->getNumberOfRows(), 2);
    EXPECT_EQ(back->getComparisonEpsilon(), 0.25);
    EXPECT_EQ(*back->getRowStates()->getSelectedIndices(), RowIndexSet{1});
    EXPECT_EQ(back->getColumnAtIndex(1)->getStringAtIndex(0), text("x"));
    EXPECT_EQ(written(back), bytes);
}

// An empty vector is its markers with count 0; a null vector, label or format name is "a".
TEST(DataSetStreamTest, EmptyAndNullVectorsAndNullTextsTravelAsTheirMarks) {
    auto nullNumbers = Column::create(text("n"), DataType::NUMERIC);
    nullNumbers->setLabel(nullptr);
    auto emptyNumbers = Column::create(text("e"), DataType::NUMERIC);
    emptyNumbers->setNumbers(std::make_shared<Column::NumberVector>());
    for (const auto& column : {nullNumbers, emptyNumbers}) {
        std::ostringstream stream;
        ASSERT_TRUE(Column::serialize(stream, column));
        const bool isNull = column == nullNumbers;
        Bytes expected;
        expected.version().mark('g').raw(0xC0).taggedInt32('c', 0).string(isNull ? "n" : "e");
        (isNull ? expected.nullString() : expected.string("e")).nullString().taggedInt32('c', 0);
        (isNull ? expected.nullShared() : expected.doubles({})).nullShared().taggedInt32('c', 1).taggedInt32('b', 0);
        freshSummary(expected);
        const std::string bytes = stream.str();
        EXPECT_EQ(bytes, expected.str());

        MemoryInputStream input(bytes);
        std::shared_ptr<Column> back;
        ASSERT_TRUE(Column::unserialize(input, back));
        EXPECT_EQ(back->getLabel() == nullptr, isNull);
        EXPECT_EQ(back->getNumbers() == nullptr, isNull);
    }
}

// A column whose class byte is 0xC1 is a partially aggregated column; its sub-columns follow its
// body and are keyed by their own aggregation.
TEST(DataSetStreamTest, PartiallyAggregatedColumnReadsBackWithItsSubColumns) {
    Bytes subColumn;
    subColumn.version().mark('g').raw(0xC0).taggedInt32('c', 0).string("m").string("m").nullString();
    subColumn.taggedInt32('c', StatisticType::MEDIAN).doubles({7}).nullShared().taggedInt32('c', 1).taggedInt32('b', 1);
    freshSummary(subColumn);

    Bytes bytes;
    bytes.version().mark('g').raw(0xC1).taggedInt32('c', 0).string("p").string("p").nullString();
    bytes.taggedInt32('c', StatisticType::SUM).doubles({3}).nullShared().taggedInt32('c', 1).taggedInt32('b', 1);
    freshSummary(bytes);
    bytes.version().mark('f').mark('g').mark('U').int32(1).mark('S').append(subColumn).mark('T');

    MemoryInputStream input(bytes.str());
    std::shared_ptr<Column> column;
    ASSERT_TRUE(Column::unserialize(input, column));
    const auto aggregated = std::dynamic_pointer_cast<PartiallyAggregatedColumn>(column);
    ASSERT_TRUE(aggregated);
    const auto median = aggregated->getColumnForAggregation(StatisticType::MEDIAN);
    ASSERT_TRUE(median);
    EXPECT_EQ(median->getNumberAtIndex(0), 7);

    std::ostringstream again;
    ASSERT_TRUE(Column::serialize(again, column));
    EXPECT_EQ(again.str(), bytes.str());
}

TEST(DataSetStreamTest, SummaryAndGivenTotalTravelWithTheColumn) {
    auto column = numericColumn("n", {-2, 4, NaN, DataTokens::ALL_OTHERS_NUMERIC});
    column->setTotal(100);
    auto dataSet = dataSetOf({column}, {});
    const auto back = read(written(dataSet));
    ASSERT_TRUE(back);
    const auto readColumn = back->getColumnAtIndex(0);
    EXPECT_TRUE(readColumn->isMetaDataCurrent());
    EXPECT_EQ(readColumn->getTotal(), 100);
    EXPECT_EQ(readColumn->getMinimumNegative(), -2);
    EXPECT_EQ(readColumn->getMinimumPositive(), 4);
    EXPECT_TRUE(readColumn->containsMissing());
    EXPECT_TRUE(readColumn->containsAllOther());
    EXPECT_FALSE(readColumn->containsMatchesAll());
}

// Random data sets of every kind of cell read back with the same columns, texts, table, epsilon
// and states, and write the same bytes again.
TEST(DataSetStreamTest, RandomDataSetsRoundTripThroughBytesAndBase64) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 60; ++trial) {
        const auto dataSet = randomDataSet(random, trial % 2 == 1);
        if (trial % 2 == 1) {
            auto fractions = std::static_pointer_cast<SummarizedRowStates>(dataSet->getRowStates());
            fractions->setPercentSelectedAtSpecifiedIndices(0.5f, *fractions->getSelectedIndices());
        }
        const std::string bytes = written(dataSet);
        const auto back = trial % 3 == 0
                              ? DataSet::createFromBase64SerialData(*DataSet::serializeAsBase64String(dataSet))
                              : read(bytes);
        ASSERT_TRUE(back);
        // Row-state vectors that were made but hold nothing are not made again on reading, so the
        // bytes are a fixed point from the first reading on.
        const std::string again = written(back);
        EXPECT_EQ(written(read(again)), again);
        expectSameColumns(*dataSet, *back);
        EXPECT_EQ(*back->getStringTable(), *dataSet->getStringTable());
        EXPECT_EQ(back->getNumberOfRows(), dataSet->getNumberOfRows());
        EXPECT_EQ(back->getComparisonEpsilon(), dataSet->getComparisonEpsilon());
        EXPECT_EQ(back->hasSummarizedRowStates(), dataSet->hasSummarizedRowStates());
        EXPECT_EQ(*back->getRowStates()->getSelectedIndices(), *dataSet->getRowStates()->getSelectedIndices());
        EXPECT_EQ(*back->getRowStates()->getExcludedIndices(), *dataSet->getRowStates()->getExcludedIndices());
    }
}

TEST(DataSetStreamTest, FileFormsRoundTripAndAMissingFileLogsWhy) {
    const auto dataSet = dataSetOf({numericColumn("n", {1, 2}), stringColumn("s", {0, 0})}, {"only"});
    const std::string path =
        (std::filesystem::temp_directory_path() / ("pellium-stream-" + std::to_string(::getpid()) + ".bin")).string();
    ASSERT_TRUE(DataSet::serialize(path, dataSet));
    const auto back = DataSet::create(path);
    std::filesystem::remove(path);
    ASSERT_TRUE(back);
    expectSameColumns(*dataSet, *back);

    std::vector<std::string> messages;
    Logger::setSink(
        [&](LogLevel::type, std::string_view message, std::string_view) { messages.emplace_back(message); });
    EXPECT_FALSE(DataSet::create(path + ".missing"));
    Logger::setSink(nullptr);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind(" Failed to open file at path: " + path + ".missingbecause : ", 0), 0u);
}

// --- Hostile streams -----------------------------------------------------------------------------

TEST(DataSetStreamTest, EveryTruncationOfAStreamFails) {
    std::mt19937 random(3);
    const std::string bytes = written(randomDataSet(random, true));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_FALSE(reads(std::string_view(bytes).substr(0, length))) << "length " << length;
    }
    EXPECT_TRUE(reads(bytes));
}

TEST(DataSetStreamTest, DamagedCountsMarkersAndRowCountsFail) {
    const auto dataSet = dataSetOf({numericColumn("n", {1, 2, 3})}, {});
    const std::string bytes = written(dataSet);
    const auto patched = [&](const Bytes& find, const Bytes& replacement) {
        std::string copy = bytes;
        const auto at = copy.find(find.str());
        EXPECT_NE(at, std::string::npos);
        std::copy(replacement.str().begin(), replacement.str().end(), copy.begin() + static_cast<std::ptrdiff_t>(at));
        return copy;
    };
    const auto count = [](std::int32_t value) { return Bytes().mark('c').mark('U').int32(value).mark('S'); };
    EXPECT_FALSE(reads(patched(count(3), count(0x7FFFFFFF))));  // more than the bytes left
    EXPECT_FALSE(reads(patched(count(3), count(-1))));          // negative
    EXPECT_FALSE(reads(patched(count(3), count(2))));           // elements left over
    const auto rowCount = [](std::int32_t value) { return Bytes().mark('b').int32(value).mark('b'); };
    EXPECT_FALSE(reads(patched(rowCount(3), rowCount(4))));  // vector shorter than the row count
    EXPECT_FALSE(reads(patched(Bytes().version().mark('g'), Bytes().mark('V').raw(2).mark('g'))));  // version
    EXPECT_FALSE(reads(patched(Bytes().mark('g').raw(0xC0), Bytes().mark('g').raw(0xC2))));         // column class
    EXPECT_FALSE(reads(patched(Bytes().mark('d').mark('U'), Bytes().mark('d').mark('X'))));         // string marker
    EXPECT_TRUE(reads(bytes));
}

TEST(DataSetStreamTest, StringLengthBeyondTheStreamFails) {
    Bytes bytes;
    bytes.version().mark('g').mark('d').mark('U').int32(0x7FFFFFF0).mark('x');
    EXPECT_FALSE(reads(bytes.str()));
}

TEST(DataSetStreamTest, RowStatesThatDisagreeWithThemselvesFail) {
    const auto dataSet = dataSetOf({numericColumn("n", {1, 2})}, {});
    dataSet->selectRows({1});
    std::string bytes = written(dataSet);
    const std::string flags = std::string("S\x00\x01T", 4);
    const auto at = bytes.find(flags);
    ASSERT_NE(at, std::string::npos);
    bytes[at + 1] = 1;  // row 0 flagged but not in the set
    EXPECT_FALSE(reads(bytes));
}

// Row states that claim more rows than the data set has are carried for the rows it has; the
// claim alone makes nothing of its size.
TEST(DataSetStreamTest, RowStatesClaimingOtherRowsAreFittedToTheDataSet) {
    Bytes states;
    states.mark('g').raw(0xA1).nullString();
    states.version().mark('e').mark('c').mark('U').int32(2).mark('S').int32(1).int32(0x7FFFFFF0).mark('T');
    states.nullString().nullShared().taggedInt32('c', 0x7FFFFFFF).nullShared();
    MemoryInputStream alone(states.str());
    std::shared_ptr<RowStates> readStates;
    ASSERT_TRUE(RowStates::unserialize(alone, readStates));
    EXPECT_EQ(readStates->getNumberOfRows(), 0x7FFFFFFF);
    EXPECT_EQ(readStates->getNumberOfSelectedIndices(), 2u);

    const auto dataSet = dataSetOf({numericColumn("n", {1, 2, 3})}, {}, true);
    dataSet->selectRows({0});
    std::string bytes = written(dataSet);
    const auto at = bytes.find(Bytes().mark('g').raw(0xA1).str());
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at, std::string::npos, states.str());
    bytes += Bytes().taggedInt32('b', 3).taggedBool('c', false).taggedBool('c', true).taggedDouble('b', 0).str();
    const auto back = read(bytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->getRowStates()->getNumberOfRows(), 3);
    EXPECT_EQ(*back->getRowStates()->getSelectedIndices(), RowIndexSet{1});
}

TEST(DataSetStreamTest, NestingOfPartiallyAggregatedColumnsIsBounded) {
    const auto nested = [](int levels) {
        std::shared_ptr<Column> inner = numericColumn("leaf", {1});
        for (int level = 0; level < levels; ++level) {
            auto outer = PartiallyAggregatedColumn::create(text("p"), DataType::NUMERIC);
            outer->setNumbers(std::make_shared<Column::NumberVector>(1, 1.0));
            outer->setColumnForAggregation(inner, StatisticType::MEAN);
            inner = outer;
        }
        return written(dataSetOf({inner}, {}));
    };
    EXPECT_TRUE(reads(nested(Column::MAXIMUM_STREAM_NESTING)));
    EXPECT_FALSE(reads(nested(Column::MAXIMUM_STREAM_NESTING + 1)));
}

TEST(DataSetStreamTest, Base64WithStrayCharactersGivesNull) {
    const auto text64 = *DataSet::serializeAsBase64String(dataSetOf({numericColumn("n", {1})}, {}));
    ASSERT_TRUE(DataSet::createFromBase64SerialData(text64));
    std::string withLineBreaks = text64;
    withLineBreaks.insert(8, "\r\n");
    EXPECT_TRUE(DataSet::createFromBase64SerialData(withLineBreaks));
    for (const std::string stray : {" ", "*", "=", "\x80"}) {
        std::string damaged = text64;
        damaged.insert(4, stray);
        EXPECT_FALSE(DataSet::createFromBase64SerialData(damaged)) << "stray " << stray;
    }
    EXPECT_FALSE(DataSet::createFromBase64SerialData(""));
}

// Flipping bytes of a valid stream never crashes; what reads must write and read again.
TEST(DataSetStreamTest, RandomlyDamagedStreamsFailOrReadConsistently) {
    std::mt19937 random(5);
    const std::string bytes = written(randomDataSet(random, true));
    for (int trial = 0; trial < 2000; ++trial) {
        std::string damaged = bytes;
        for (int flip = 0; flip < 1 + trial % 3; ++flip) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        if (const auto dataSet = read(damaged)) {
            EXPECT_TRUE(read(written(dataSet)));
        }
    }
}

}  // namespace pellium
