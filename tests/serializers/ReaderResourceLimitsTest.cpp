// Hostile input of n bytes must not make any reader allocate more than a small multiple of n, and
// nesting deeper than a reader's documented limit is refused with an error rather than recursing
// until the stack runs out. The cases are the worst ones the fuzzers and the formats suggest:
// counts that claim billions of elements, one line of a million fields, one field of a megabyte,
// runs of openers, continuation lines and section brackets.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/serializers/AllocationRecorder.h"

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/Hierarchy.h"
#include "pellium/models/data/hierarchy/HierarchyDataSet.h"
#include "pellium/models/data/hierarchy/Level.h"
#include "pellium/models/data/where/CompoundWhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseExpression.h"
#include "pellium/models/data/where/WhereClauseStatement.h"
#include "pellium/parsers/CSVDataSetReader.h"
#include "pellium/resources/localization/PropertiesReader.h"
#include "pellium/resources/localization/ResourceBundle.h"
#include "pellium/resources/logging/Logger.h"
#include "pellium/resources/logging/LoggingConfiguration.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"
#include "pellium/util/TranscodingUtilities.h"
#include "pellium/util/ZoneDataReader.h"
#include "pellium/util/expressions/ExpressionUtil.h"

namespace pellium::test {

namespace {

using Op = WhereClauseOperators;

SharedString text(std::string_view value) {
    return StringUtilities::internString(value);
}

std::string repeated(std::string_view unit, std::size_t count) {
    std::string result;
    result.reserve(unit.size() * count);
    for (std::size_t index = 0; index < count; ++index) {
        result += unit;
    }
    return result;
}

// Readers log what they skip; the log is not what is under test, and a logger that formats a
// message per skipped line would count against the reader.
class QuietLog {
public:
    QuietLog() {
        Logger::setSink([](LogLevel::type, std::string_view, std::string_view) {});
    }
    ~QuietLog() { Logger::restoreDefaults(); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
};

struct Allocations {
    std::size_t total = 0;
    std::size_t largest = 0;
    std::size_t peak = 0;
};

Allocations allocationsOf(const std::function<void()>& read) {
    AllocationRecorder recorder;
    read();
    return {recorder.totalAllocated(), recorder.largestAllocation(), recorder.peakHeldBytes()};
}

// --- Streams that claim more than they hold ------------------------------------------------------

std::shared_ptr<DataSet> smallDataSet() {
    auto region = Column::create(text("Region"), DataType::STRING);
    region->setStringIndices(std::make_shared<Column::IndexVector>(Column::IndexVector{0, 1, 2, 1, -1, 0}));
    auto year = Column::create(text("Year"), DataType::NUMERIC, nullptr, text("4."));
    year->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{2020, 2021, 2020, 2022, 2021, 2020}));
    auto sales = Column::create(text("Sales"), DataType::NUMERIC, text("Sales in dollars"), text("DOLLAR12.2"));
    sales->setNumbers(std::make_shared<Column::NumberVector>(Column::NumberVector{1.5, -2, 3e9, 0, 7.25, 11}));
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{region, year, sales}));
    dataSet->setName(text("sales"));
    dataSet->setStringTable(
        std::make_shared<DataSet::StringTable>(DataSet::StringTable{text("East"), text("North"), text("West")}));
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

template <typename Write>
std::string written(const Write& write) {
    std::stringstream stream;
    SerialWriter writer(stream);
    EXPECT_TRUE(write(writer));
    return stream.str();
}

struct StreamCase {
    std::string name;
    std::function<std::string()> validBytes;
    std::function<bool(std::string_view)> read;
};

std::vector<StreamCase> streamCases() {
    return {
        {"data set stream",
         [] { return written([](SerialWriter& writer) { return DataSet::serialize(writer, smallDataSet()); }); },
         [](std::string_view bytes) {
             MemoryInputStream stream(bytes);
             return DataSet::createFromSerialData(stream) != nullptr;
         }},
        {"data value stream",
         [] {
             return written([](SerialWriter& writer) {
                 return DataValue::serialize(writer, DataValue::create(text("a text of some length"), 7)) &&
                        DataValue::serialize(writer, DataValue::create(42.5));
             });
         },
         [](std::string_view bytes) {
             MemoryInputStream stream(bytes);
             std::shared_ptr<DataValue> first;
             std::shared_ptr<DataValue> second;
             return DataValue::unserialize(stream, first) && DataValue::unserialize(stream, second);
         }},
        {"where clause stream",
         [] {
             const auto clause = CompoundWhereClauseExpression::create(
                 Op::OR, {WhereClauseExpression::create(text("Region"), Op::EQ, DataValue::create(text("East"), -1000)),
                          WhereClauseExpression::create(text("Sales"), Op::GT, DataValue::create(5.0))});
             return written(
                 [&](SerialWriter& writer) { return AbstractWhereClauseExpression::serialize(writer, clause); });
         },
         [](std::string_view bytes) {
             MemoryInputStream stream(bytes);
             std::shared_ptr<AbstractWhereClauseExpression> tree;
             return AbstractWhereClauseExpression::unserialize(stream, tree);
         }},
        {"hierarchy data set stream",
         [] {
             const auto dataSet = smallDataSet();
             auto rows = Hierarchy::create(text("Rows"), nullptr,
                                           {Level::createForColumn(*dataSet->getColumnWithName("Region"))});
             auto columns = Hierarchy::create(text("Years"), nullptr,
                                              {Level::createForColumn(*dataSet->getColumnWithName("Year"))});
             auto crosstab = HierarchyDataSet::create({rows, columns}, {text("Sales")});
             crosstab->setDataSet(dataSet);
             return written([&](SerialWriter& writer) { return HierarchyDataSet::serialize(writer, crosstab); });
         },
         [](std::string_view bytes) {
             MemoryInputStream stream(bytes);
             SerialReader reader(stream);
             std::shared_ptr<HierarchyDataSet> read;
             return HierarchyDataSet::unserialize(reader, read);
         }},
    };
}

// Every four bytes of a valid stream in turn replaced by a count of about two billion, in either
// byte order, or sixteen million: wherever the stream keeps a count, the reader meets a claim far
// beyond the bytes left. It must refuse it, or read it as something harmless, before allocating
// for it.
TEST(ReaderResourceLimits, StreamsClaimingHugeCountsAllocateLittleMoreThanTheirSize) {
    const std::vector<std::string> claims = {std::string("\x7F\xFF\xFF\xFF", 4), std::string("\xFF\xFF\xFF\x7F", 4),
                                             std::string("\x00\xFF\xFF\xFF", 4), std::string("\xFF\xFF\xFF\x00", 4)};
    for (const auto& streamCase : streamCases()) {
        const std::string bytes = streamCase.validBytes();
        ASSERT_TRUE(streamCase.read(bytes)) << streamCase.name;  // also makes what is made once
        const std::size_t allowance = 64 * bytes.size() + 16384;
        std::size_t worst = 0;
        for (std::size_t position = 0; position + 4 <= bytes.size(); ++position) {
            for (const auto& claim : claims) {
                std::string patched = bytes;
                patched.replace(position, 4, claim);
                const auto allocations = allocationsOf([&] { streamCase.read(patched); });
                worst = std::max(worst, allocations.total);
                ASSERT_LE(allocations.total, allowance)
                    << streamCase.name << ": a claim at byte " << position << " of " << bytes.size();
            }
        }
        RecordProperty(streamCase.name, std::to_string(worst) + " bytes at most for " + std::to_string(bytes.size()));
    }
}

// --- Texts of the worst shapes ---------------------------------------------------------------------

struct TextCase {
    std::string name;
    /// About `size` bytes of the shape.
    std::function<std::string(std::size_t size)> make;
    std::function<void(std::string_view)> read;
    /// Allocation allowed per input byte.
    std::size_t bytesPerInputByte;
};

void readCSV(std::string_view text) {
    CSVReadOptions options;
    options.maximumFieldBytes = std::size_t{1} << 30;
    options.maximumRecordBytes = std::size_t{1} << 30;
    CSVDataSetReader::readText(text, options);
}

std::vector<TextCase> textCases() {
    const auto decode = [](std::string_view text) {
        std::vector<std::byte> bytes;
        TranscodingUtilities::decodeBase64(text, bytes);
    };
    const auto statement = [](std::string_view text) { WhereClauseStatement::create(text); };
    const auto expression = [](std::string_view text) {
        ExpressionParseError error;
        ExpressionUtil::createExpressionTree(text, error);
    };
    const auto zones = [](std::string_view text) { ZoneDataReader::create(text, text); };
    const auto properties = [](std::string_view text) {
        PropertiesReader::read(text);
        ResourceBundle::create("limits", "en_US", text);
    };
    const auto logging = [](std::string_view text) { LoggingConfiguration::createFromText(text); };
    return {
        {"base64, valid", [](std::size_t size) { return repeated("QUJD", size / 4); }, decode, 4},
        {"base64, broken at the end", [](std::size_t size) { return repeated("QUJD", size / 4) + "=A"; }, decode, 4},
        {"base64, line breaks only", [](std::size_t size) { return repeated("\r\n", size / 2); }, decode, 4},
        {"CSV, half a million fields on one line",
         [](std::size_t size) { return repeated("a,", size / 2) + "a\n" + repeated("1,", size / 2) + "1\n"; }, readCSV,
         64},
        {"CSV, one huge quoted field",
         [](std::size_t size) { return "name\n\"" + repeated("x\"\"", size / 3) + "\"\n"; }, readCSV, 8},
        {"CSV, an unbalanced quote", [](std::size_t size) { return "name\n\"" + repeated("x", size); }, readCSV, 8},
        {"CSV, many short rows", [](std::size_t size) { return "a,b\n" + repeated("1,x\n", size / 4); }, readCSV, 32},
        {"where statement, a long chain",
         [](std::size_t size) { return repeated("a EQ 1 AND ", size / 11) + "a EQ 1"; }, statement, 48},
        {"where statement, an open quote", [](std::size_t size) { return "a EQ '" + repeated("x", size); }, statement,
         8},
        {"expression, open parentheses", [](std::size_t size) { return repeated("(", size); }, expression, 8},
        {"expression, prefix minus signs", [](std::size_t size) { return repeated("-", size) + "1"; }, expression, 8},
        {"expression, a long sum", [](std::size_t size) { return "1" + repeated("+1", size / 2); }, expression, 8},
        {"expression, an open list", [](std::size_t size) { return "In(x, [" + repeated("1,", size / 2); }, expression,
         80},
        {"zone rules, one long line", [](std::size_t size) { return repeated("x ", size / 2); }, zones, 16},
        {"zone rules, many malformed lines", [](std::size_t size) { return repeated("Z a b\n", size / 6); }, zones, 32},
        {"properties, continuation lines", [](std::size_t size) { return "key=" + repeated("v\\\n", size / 3); },
         properties, 16},
        {"properties, escapes", [](std::size_t size) { return "key=" + repeated("\\u00e9", size / 6); }, properties,
         16},
        {"properties, many keys", [](std::size_t size) { return repeated("k=v\n", size / 4); }, properties, 48},
        {"logging, section openers", [](std::size_t size) { return repeated("[", size); }, logging, 8},
        {"logging, many outputs", [](std::size_t size) { return "[ERROR]\noutput=" + repeated("console,", size / 8); },
         logging, 16},
    };
}

TEST(ReaderResourceLimits, WorstCaseTextsAllocateASmallMultipleOfTheirSize) {
    QuietLog quiet;
    constexpr std::size_t SMALL = 1 << 14;
    constexpr std::size_t LARGE = 1 << 20;
    for (const auto& textCase : textCases()) {
        textCase.read(textCase.make(SMALL));  // makes what is made once (tables, interned names)
        const std::string small = textCase.make(SMALL);
        const std::string large = textCase.make(LARGE);
        const auto atSmall = allocationsOf([&] { textCase.read(small); });
        const auto atLarge = allocationsOf([&] { textCase.read(large); });
        // What is held at once is a small multiple of the input.
        EXPECT_LE(atLarge.peak, textCase.bytesPerInputByte * large.size() + 65536) << textCase.name;
        // Nothing grows faster than the input: sixty-four times the text, at most sixty-four times the
        // memory churned through (doubling vectors add a little), so no quadratic copying.
        EXPECT_LE(atLarge.total, 80 * atSmall.total + 65536 * 64) << textCase.name;
    }
}

// --- Nesting -------------------------------------------------------------------------------------------

std::shared_ptr<AbstractWhereClauseExpression> nestedClause(int depth) {
    std::shared_ptr<AbstractWhereClauseExpression> clause =
        WhereClauseExpression::create(text("a"), Op::EQ, DataValue::create(1.0));
    for (int level = 0; level < depth; ++level) {
        clause = CompoundWhereClauseExpression::create(Op::NOT, {clause});
    }
    return clause;
}

bool readsWhereClauseNestedTo(int depth) {
    const auto clause = nestedClause(depth);
    const std::string bytes =
        written([&](SerialWriter& writer) { return AbstractWhereClauseExpression::serialize(writer, clause); });
    MemoryInputStream stream(bytes);
    std::shared_ptr<AbstractWhereClauseExpression> tree;
    return AbstractWhereClauseExpression::unserialize(stream, tree) && tree != nullptr;
}

struct ParsedExpression {
    bool accepted = false;
    std::string message;
};

ParsedExpression parse(const std::string& text) {
    ExpressionParseError error;
    const auto tree = ExpressionUtil::createExpressionTree(text, error);
    return {tree != nullptr, error.message};
}

// Each reader that recurses takes exactly its documented depth and refuses one more, with an
// error; far deeper input is refused the same way (and does not run out of stack).
TEST(ReaderResourceLimits, NestingIsRefusedJustPastTheDocumentedDepth) {
    constexpr auto WHERE_LIMIT = AbstractWhereClauseExpression::MAXIMUM_STREAM_NESTING;
    // A compound at nesting n holds its children at n + 1; the outermost is at 0.
    EXPECT_TRUE(readsWhereClauseNestedTo(WHERE_LIMIT));
    EXPECT_FALSE(readsWhereClauseNestedTo(WHERE_LIMIT + 1));

    struct ExpressionCase {
        std::string name;
        std::function<std::string(std::size_t depth)> nestedTo;
        std::size_t limit;
    };
    const std::vector<ExpressionCase> expressionCases = {
        {"parentheses", [](std::size_t depth) { return repeated("(", depth) + "1" + repeated(")", depth); },
         ExpressionUtil::MAXIMUM_NESTING_DEPTH},
        {"calls", [](std::size_t depth) { return repeated("Abs(", depth) + "1" + repeated(")", depth); },
         ExpressionUtil::MAXIMUM_NESTING_DEPTH},
        {"prefix operators", [](std::size_t depth) { return repeated("NOT ", depth) + "1"; },
         ExpressionUtil::MAXIMUM_NESTING_DEPTH},
        {"a chain of sums", [](std::size_t depth) { return "1" + repeated("+1", depth); },
         ExpressionUtil::MAXIMUM_TREE_DEPTH},
        {"a chain of products", [](std::size_t depth) { return "2" + repeated("*2", depth); },
         ExpressionUtil::MAXIMUM_TREE_DEPTH},
    };
    // The whole text is the first level of nesting, and the leaf of a chain its last level.
    for (const auto& expressionCase : expressionCases) {
        const auto accepted = parse(expressionCase.nestedTo(expressionCase.limit - 2));
        EXPECT_TRUE(accepted.accepted) << expressionCase.name << ": " << accepted.message;
        for (const std::size_t depth : {expressionCase.limit, std::size_t{200'000}}) {
            const auto refused = parse(expressionCase.nestedTo(depth));
            EXPECT_FALSE(refused.accepted) << expressionCase.name << " nested " << depth;
            EXPECT_FALSE(refused.message.empty()) << expressionCase.name << " nested " << depth;
        }
    }
}

}  // namespace

}  // namespace pellium::test
