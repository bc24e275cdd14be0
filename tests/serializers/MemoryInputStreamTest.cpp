#include <array>
#include <gtest/gtest.h>
#include <string>

#include "pellium/serializers/MemoryInputStream.h"

namespace pellium {

TEST(MemoryInputStream, ReadsTheBytesInPlaceAndStopsAtTheirEnd) {
    const std::array<std::byte, 3> bytes{std::byte{'a'}, std::byte{0}, std::byte{0xFF}};
    MemoryInputStream stream(bytes);
    std::string read(4, '?');
    stream.read(read.data(), 4);
    EXPECT_EQ(stream.gcount(), 3);
    EXPECT_EQ(read, std::string("a\0\xFF?", 4));
    EXPECT_TRUE(stream.eof());
}

TEST(MemoryInputStream, SeeksWithinTheBytesAndRefusesToLeaveThem) {
    MemoryInputStream stream(std::string_view("0123456789"));
    struct Seek {
        std::streamoff offset;
        std::ios_base::seekdir direction;
        std::streamoff expected;  // -1 when the seek must fail
    };
    const Seek seeks[] = {
        {4, std::ios_base::beg, 4},   {2, std::ios_base::cur, 2},   {-1, std::ios_base::end, 9},
        {0, std::ios_base::end, 10},  {-10, std::ios_base::end, 0}, {11, std::ios_base::beg, -1},
        {-1, std::ios_base::beg, -1}, {1, std::ios_base::end, -1},
    };
    for (const Seek& seek : seeks) {
        stream.clear();
        stream.seekg(0);
        stream.seekg(seek.offset, seek.direction);
        if (seek.expected < 0) {
            EXPECT_TRUE(stream.fail()) << seek.offset;
        } else {
            EXPECT_EQ(static_cast<std::streamoff>(stream.tellg()), seek.expected) << seek.offset;
        }
    }
    stream.clear();
    stream.seekg(7);
    EXPECT_EQ(stream.get(), '7');
}

TEST(MemoryInputStream, AnEmptyRangeIsAnEmptyStream) {
    MemoryInputStream stream(std::string_view{});
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    stream.clear();
    EXPECT_EQ(static_cast<std::streamoff>(stream.tellg()), 0);
}

}  // namespace pellium
