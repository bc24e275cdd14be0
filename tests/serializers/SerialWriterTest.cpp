#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <streambuf>
#include <sys/mman.h>

#include "tests/serializers/SerialBlockCases.h"

#include "pellium/serializers/SerialWriter.h"

namespace pellium {

namespace {

// An output buffer that accepts a fixed number of bytes and refuses the rest, as a full disk does.
class BoundedBuffer : public std::streambuf {
public:
    explicit BoundedBuffer(std::size_t capacity) : capacity_(capacity) {}
    const std::string& written() const { return written_; }

protected:
    int_type overflow(int_type character) override {
        if (traits_type::eq_int_type(character, traits_type::eof()) || written_.size() >= capacity_) {
            return traits_type::eof();
        }
        written_.push_back(traits_type::to_char_type(character));
        return character;
    }

private:
    std::size_t capacity_;
    std::string written_;
};

}  // namespace

TEST(SerialWriter, EveryBlockWritesExactlyItsBytes) {
    for (const auto& blockCase : test::handWrittenCases()) {
        EXPECT_EQ(test::hex(test::writeToString(blockCase)), test::hex(blockCase.expected.bytes)) << blockCase.name;
    }
}

TEST(SerialWriter, ASetThatIsNotStrictlyAscendingFailsWithoutWritingIt) {
    for (const std::vector<std::uint32_t>& elements : {std::vector<std::uint32_t>{2, 1}, {1, 1}, {1, 3, 2}}) {
        std::ostringstream stream;
        SerialWriter writer(stream);
        EXPECT_FALSE(writer.writeSharedSet(std::make_shared<const std::vector<std::uint32_t>>(elements)));
        EXPECT_TRUE(stream.str().empty());
        EXPECT_TRUE(stream.bad());
    }
}

TEST(SerialWriter, AFailureKeepsTheBytesWrittenSoFarAndEveryLaterWriteFails) {
    BoundedBuffer buffer(4);
    std::ostream stream(&buffer);
    SerialWriter writer(stream);
    EXPECT_FALSE(writer.writeString(std::string_view("abcdef")));
    EXPECT_EQ(test::hex(buffer.written()), test::hex(std::string("dU\x06\x00", 4)));
    EXPECT_TRUE(stream.bad());
    stream.clear();  // even when the caller clears the stream, the writer stays failed
    EXPECT_FALSE(writer.writeMark('x'));
    EXPECT_FALSE(writer.writeVersionMark());
    EXPECT_FALSE(writer.isGood());
    EXPECT_EQ(buffer.written().size(), 4U);
}

TEST(SerialWriter, AStreamThatIsAlreadyFailedFailsTheFirstWrite) {
    std::ostringstream stream;
    stream.setstate(std::ios_base::failbit);
    SerialWriter writer(stream);
    EXPECT_FALSE(writer.writeMark('a'));
    EXPECT_TRUE(stream.str().empty());
}

TEST(SerialWriter, AnElementThatFailsStopsTheVectorAfterTheElementsBeforeIt) {
    std::ostringstream stream;
    SerialWriter writer(stream);
    const bool ok =
        writer.writeObjectVectorBody(3, [&](std::size_t index) { return index == 0 ? writer.writeMark(0xC0) : false; });
    EXPECT_FALSE(ok);
    EXPECT_EQ(test::hex(stream.str()), test::hex(std::string("gU\x03\x00\x00\x00S\xC0", 8)));
    EXPECT_FALSE(writer.writeMark(SerialMarks::END));
}

TEST(SerialWriter, NothingThrowsWhenTheStreamIsAskedToThrowOnFailure) {
    BoundedBuffer buffer(1);
    std::ostream stream(&buffer);
    stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
    SerialWriter writer(stream);
    bool ok = true;
    EXPECT_NO_THROW(ok = writer.writeVersionMark());
    EXPECT_FALSE(ok);
}

TEST(SerialWriter, CountsAndTextsBeyondSigned32BitsFailBeforeAnyByteIsWritten) {
    std::ostringstream stream;
    SerialWriter writer(stream);
    EXPECT_FALSE(writer.writeCount(std::size_t{1} << 31U));
    EXPECT_TRUE(stream.str().empty());

    // A text of 2^31 bytes, mapped but never touched: the length is refused before the bytes are read.
    const std::size_t length = std::size_t{1} << 31U;
    void* pages = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    std::ostringstream textStream;
    SerialWriter textWriter(textStream);
    EXPECT_FALSE(textWriter.writeString(std::string_view(static_cast<const char*>(pages), length)));
    EXPECT_TRUE(textStream.str().empty());
    munmap(pages, length);
}

}  // namespace pellium
