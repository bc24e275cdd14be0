#include <gtest/gtest.h>
#include <limits>
#include <sstream>

#include "tests/serializers/AllocationRecorder.h"
#include "tests/serializers/SerialBlockCases.h"

#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

using test::StreamKind;
using test::TestInput;

constexpr std::int32_t LARGEST_COUNT = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t SMALLEST_COUNT = std::numeric_limits<std::int32_t>::min();

// Hostile input may cost a few small objects (a shared vector, a shared string); a stream that cannot
// tell its length may also cost one read chunk.
constexpr std::size_t SMALL_ALLOCATION = 64;
constexpr std::size_t ONE_CHUNK = std::size_t{64} * 1024 + SMALL_ALLOCATION;

struct HostileCase {
    std::string name;
    std::string bytes;
    std::function<bool(SerialReader&)> read;
};

bool readDoubles(SerialReader& reader) {
    std::shared_ptr<std::vector<double>> numbers;
    return reader.readSharedPrimitiveVector(numbers);
}

bool readText(SerialReader& reader) {
    SharedString text;
    return reader.readString(text);
}

bool readTexts(SerialReader& reader) {
    std::shared_ptr<SharedStringVector> texts;
    return reader.readSharedStringVector(texts);
}

bool readFlags(SerialReader& reader) {
    std::shared_ptr<std::vector<bool>> flags;
    return reader.readSharedBoolVector(flags);
}

bool readSetAsVector(SerialReader& reader) {
    std::shared_ptr<std::vector<std::uint32_t>> elements;
    return reader.readSharedSet(elements);
}

bool readSetAsSet(SerialReader& reader) {
    std::shared_ptr<std::set<std::uint32_t>> elements;
    return reader.readSharedSet(elements);
}

bool readObjectsOfOneByte(SerialReader& reader) {
    bool isPresent = false;
    return reader.readSharedObjectVector(isPresent, [&](std::size_t) {
        std::uint8_t mark = 0;
        return reader.readMark(mark);
    });
}

std::string bytesOf(const std::string& notation) {
    return test::expect(notation).bytes;
}

std::vector<HostileCase> hostileCases() {
    const std::string largest = std::to_string(LARGEST_COUNT);
    const std::string smallest = std::to_string(SMALLEST_COUNT);
    const std::string someBytes = " 01 02 03 04 05 06 07 08 09 0A 0B 0C T";
    return {
        {"a double vector counting 2^31-1 elements", bytesOf("V !01 f c U i" + largest + " S" + someBytes),
         readDoubles},
        {"a negative element count", bytesOf("V !01 f c U i-1 S T"), readDoubles},
        {"the most negative element count", bytesOf("V !01 f c U i" + smallest + " S T"), readDoubles},
        {"a double vector one element longer than its bytes", bytesOf("V !01 f c U i2 S i0 i0 T"), readDoubles},
        {"a text of 2^31-1 bytes", bytesOf("d U i" + largest + " 'abc'"), readText},
        {"a string vector counting 2^31-1 texts", bytesOf("V !01 f U i" + largest + " S a a T"), readTexts},
        {"a negative string vector count", bytesOf("V !01 f U i-3 S T"), readTexts},
        {"an object vector counting 2^31-1 objects", bytesOf("V !01 f g U i" + largest + " S a a T"),
         readObjectsOfOneByte},
        {"a negative object count", bytesOf("V !01 f g U i-1 S T"), readObjectsOfOneByte},
        {"a bool vector counting 2^31-1 flags", bytesOf("f c U i" + largest + " S 01 00 T"), readFlags},
        {"a negative flag count", bytesOf("f c U i-2 S T"), readFlags},
        {"a set counting 2^31-1 elements", bytesOf("V !01 e c U i" + largest + " S" + someBytes), readSetAsVector},
        {"a negative set count", bytesOf("V !01 e c U i-4 S T"), readSetAsSet},
        {"a set whose elements descend", bytesOf("V !01 e c U i2 S i2 i1 T"), readSetAsVector},
        {"a std::set from descending elements", bytesOf("V !01 e c U i2 S i2 i1 T"), readSetAsSet},
        {"a set with a repeated element", bytesOf("V !01 e c U i2 S i7 i7 T"), readSetAsSet},
        {"a shared vector with the object mark", bytesOf("V !01 g c U i0 S T"), readDoubles},
        {"a set with the vector mark", bytesOf("V !01 f c U i0 S T"), readSetAsVector},
        {"a string with an unknown first byte", bytesOf("g U i0"), readText},
    };
}

std::size_t allocationAllowance(StreamKind kind) {
    return kind == StreamKind::Trickle ? ONE_CHUNK : SMALL_ALLOCATION;
}

class SerialReaderOverEveryStream : public ::testing::TestWithParam<StreamKind> {};

}  // namespace

TEST_P(SerialReaderOverEveryStream, EveryBlockReadsBackItsValueAndConsumesExactlyItsBytes) {
    for (const auto& blockCase : test::handWrittenCases()) {
        TestInput input(GetParam(), blockCase.expected.bytes);
        SerialReader reader(input.stream());
        const test::ReadOutcome outcome = blockCase.read(reader);
        EXPECT_TRUE(outcome.ok && outcome.equal) << blockCase.name << ": " << test::hex(blockCase.expected.bytes);
        EXPECT_TRUE(input.isExhausted()) << blockCase.name;
    }
}

TEST_P(SerialReaderOverEveryStream, ABlockCutShortAtAnyByteFails) {
    for (const auto& blockCase : test::handWrittenCases()) {
        for (std::size_t length = 0; length < blockCase.expected.bytes.size(); ++length) {
            TestInput input(GetParam(), blockCase.expected.bytes.substr(0, length));
            SerialReader reader(input.stream());
            EXPECT_FALSE(blockCase.read(reader).ok) << blockCase.name << " cut to " << length << " bytes";
            EXPECT_FALSE(reader.isGood());
        }
    }
}

// A marker, tag or version byte admits no other value: with any other byte the block either fails or
// is read as something shorter (a null in place of a vector), which leaves bytes unread.
TEST_P(SerialReaderOverEveryStream, AnyOtherByteInPlaceOfAMarkerFailsOrLeavesBytesUnread) {
    for (const auto& blockCase : test::handWrittenCases()) {
        const auto& expected = blockCase.expected;
        for (std::size_t position = 0; position < expected.bytes.size(); ++position) {
            if (expected.roles[position] != test::ByteRole::Marker) {
                continue;
            }
            for (int value = 0; value < 256; ++value) {
                std::string changed = expected.bytes;
                if (changed[position] == static_cast<char>(value)) {
                    continue;
                }
                changed[position] = static_cast<char>(value);
                TestInput input(GetParam(), changed);
                SerialReader reader(input.stream());
                const bool ok = blockCase.read(reader).ok;
                EXPECT_TRUE(!ok || !input.isExhausted())
                    << blockCase.name << ": byte " << position << " set to " << value << " in " << test::hex(changed);
            }
        }
    }
}

TEST_P(SerialReaderOverEveryStream, HostileCountsFailWithoutAllocatingForThem) {
    for (const auto& hostile : hostileCases()) {
        TestInput input(GetParam(), hostile.bytes);
        test::AllocationRecorder recorder;
        SerialReader reader(input.stream());
        EXPECT_FALSE(hostile.read(reader)) << hostile.name;
        EXPECT_LE(recorder.largestAllocation(), allocationAllowance(GetParam())) << hostile.name;
        EXPECT_LE(recorder.totalAllocated(), 2 * allocationAllowance(GetParam())) << hostile.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, SerialReaderOverEveryStream,
                         ::testing::Values(StreamKind::StringStream, StreamKind::Memory, StreamKind::Trickle),
                         [](const auto& parameter) { return test::streamKindName(parameter.param); });

TEST(SerialReader, ACountLargerThanASeekableStreamFailsBeforeAnyElementIsRead) {
    TestInput input(StreamKind::Memory, bytesOf("g U i5 S a a a"));
    SerialReader reader(input.stream());
    int elementsRead = 0;
    EXPECT_FALSE(reader.readObjectVectorBody([&](std::size_t) { return ++elementsRead > 0; }));
    EXPECT_EQ(elementsRead, 0);
}

TEST(SerialReader, AfterAFailureEveryBlockFailsEvenOnValidBytes) {
    for (const auto& blockCase : test::handWrittenCases()) {
        std::istringstream stream(bytesOf("V !02") + blockCase.expected.bytes);
        SerialReader reader(stream);
        EXPECT_FALSE(reader.readVersionMark());
        EXPECT_TRUE(stream.fail());
        stream.clear();  // even when the caller clears the stream, the reader stays failed
        EXPECT_FALSE(blockCase.read(reader).ok) << blockCase.name;
    }
}

TEST(SerialReader, AStreamThatIsAlreadyFailedFailsTheFirstRead) {
    std::istringstream stream("V\x01");
    stream.setstate(std::ios_base::failbit);
    SerialReader reader(stream);
    EXPECT_FALSE(reader.readVersionMark());
}

TEST(SerialReader, AFailureOfAnotherReaderOfTheSameStreamStopsThisOne) {
    std::istringstream stream("V\x01V\x02V\x01");
    SerialReader outer(stream);
    EXPECT_TRUE(outer.readVersionMark());
    SerialReader inner(stream);
    EXPECT_FALSE(inner.readVersionMark());
    EXPECT_FALSE(outer.readVersionMark());
}

TEST(SerialReader, NothingThrowsWhenTheStreamIsAskedToThrowOnFailure) {
    std::istringstream stream(bytesOf("d U i9 'a'"));
    stream.exceptions(std::ios_base::failbit | std::ios_base::eofbit | std::ios_base::badbit);
    SerialReader reader(stream);
    SharedString text;
    bool ok = true;
    EXPECT_NO_THROW(ok = reader.readString(text));
    EXPECT_FALSE(ok);
}

TEST(SerialReader, TheRemainingBytesCountFromWhereTheStreamStands) {
    std::istringstream stream(bytesOf("'skip' c U i1 S"));
    stream.ignore(4);
    SerialReader reader(stream);
    EXPECT_EQ(reader.remainingBytes(), std::optional<std::uint64_t>(7));
    std::vector<float> elements;
    EXPECT_FALSE(reader.readPrimitiveVectorBody(elements));  // one float cannot fit in what remains
}

TEST(SerialReader, AStreamWrittenAndThenReadKnowsItsLength) {
    std::stringstream stream;
    SerialWriter writer(stream);
    const auto numbers = std::make_shared<const std::vector<double>>(std::vector<double>{1.0, -2.0, 3.5});
    ASSERT_TRUE(writer.writeSharedPrimitiveVector(numbers));
    SerialReader reader(stream);
    EXPECT_EQ(reader.remainingBytes(), std::optional<std::uint64_t>(stream.str().size()));
    std::shared_ptr<std::vector<double>> readBack;
    EXPECT_TRUE(reader.readSharedPrimitiveVector(readBack));
    EXPECT_EQ(*readBack, *numbers);
    EXPECT_EQ(reader.remainingBytes(), std::optional<std::uint64_t>(0));
}

TEST(SerialReader, AStreamThatCannotSeekHasNoKnownLength) {
    TestInput input(StreamKind::Trickle, "abc");
    SerialReader reader(input.stream());
    EXPECT_FALSE(reader.remainingBytes().has_value());
}

TEST(SerialReader, ALengthOfZeroOrLessReadsAsAnEmptyText) {
    for (const std::int32_t length : {0, -1, SMALLEST_COUNT}) {
        TestInput input(StreamKind::Memory, bytesOf("d U i" + std::to_string(length)));
        SerialReader reader(input.stream());
        SharedString text;
        ASSERT_TRUE(reader.readString(text)) << length;
        ASSERT_NE(text, nullptr);
        EXPECT_TRUE(text->empty());
        EXPECT_TRUE(input.isExhausted());
    }
}

TEST(SerialReader, AnyByteOtherThanZeroReadsAsTrue) {
    TestInput input(StreamKind::Memory, bytesOf("c 02 f c U i3 S 00 FF 01 T"));
    SerialReader reader(input.stream());
    bool flag = false;
    std::shared_ptr<std::vector<bool>> flags;
    EXPECT_TRUE(reader.readPrimitive(SerialMarks::TAG_C, flag));
    EXPECT_TRUE(flag);
    ASSERT_TRUE(reader.readSharedBoolVector(flags));
    EXPECT_EQ(*flags, (std::vector<bool>{false, true, true}));
}

TEST(SerialReader, AnElementThatFailsFailsTheReader) {
    TestInput input(StreamKind::Memory, bytesOf("g U i2 S a a T"));
    SerialReader reader(input.stream());
    EXPECT_FALSE(reader.readObjectVectorBody([](std::size_t index) { return index == 0; }));
    EXPECT_FALSE(reader.isGood());
}

}  // namespace pellium
