#pragma once

#include <algorithm>
#include <cstddef>
#include <istream>
#include <streambuf>
#include <string>
#include <utility>

namespace pellium::test {

/// An input stream that cannot seek and hands out its bytes a few at a time, as a pipe does, so
/// that readers must work without knowing how many bytes remain. Shared by the tests and the fuzzer.
class TrickleStream : public std::istream {
public:
    explicit TrickleStream(std::string bytes, std::size_t pieceSize = 7)
        : std::istream(nullptr), buffer_(std::move(bytes), pieceSize) {
        rdbuf(&buffer_);
    }

private:
    class Buffer : public std::streambuf {
    public:
        Buffer(std::string bytes, std::size_t pieceSize) : bytes_(std::move(bytes)), pieceSize_(pieceSize) {}

    protected:
        int_type underflow() override {
            if (gptr() < egptr()) {
                return traits_type::to_int_type(*gptr());
            }
            if (next_ >= bytes_.size()) {
                return traits_type::eof();
            }
            const std::size_t length = std::min(pieceSize_, bytes_.size() - next_);
            char* begin = bytes_.data() + next_;
            setg(begin, begin, begin + length);
            next_ += length;
            return traits_type::to_int_type(*begin);
        }

    private:
        std::string bytes_;
        std::size_t pieceSize_;
        std::size_t next_ = 0;
    };

    Buffer buffer_;
};

}  // namespace pellium::test
