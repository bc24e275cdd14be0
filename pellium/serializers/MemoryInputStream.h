#pragma once

#include <cstddef>
#include <istream>
#include <span>
#include <streambuf>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// A seekable input stream over bytes already in memory (a decoded base64 text, a file's contents),
/// so that the stream readers, which take a `std::istream&`, can read them without a copy. The bytes
/// are not copied and must outlive the stream; the stream never writes to them.
class PELLIUM_EXPORT MemoryInputStream : public std::istream {
public:
    explicit MemoryInputStream(std::span<const std::byte> bytes);
    explicit MemoryInputStream(std::string_view bytes);

    MemoryInputStream(const MemoryInputStream&) = delete;
    MemoryInputStream& operator=(const MemoryInputStream&) = delete;

private:
    // A read-only get area over the bytes; seeking moves within them and fails outside them.
    class Buffer : public std::streambuf {
    public:
        explicit Buffer(std::string_view bytes);

    protected:
        pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode which) override;
        pos_type seekpos(pos_type position, std::ios_base::openmode which) override;
    };

    Buffer buffer_;
};

}  // namespace pellium
