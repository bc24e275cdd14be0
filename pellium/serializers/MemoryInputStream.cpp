#include "pellium/serializers/MemoryInputStream.h"

namespace pellium {

MemoryInputStream::MemoryInputStream(std::span<const std::byte> bytes)
    : MemoryInputStream(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) {}

// The base is built without a buffer because the member buffer does not exist yet; rdbuf() then
// attaches it and clears the bad state that the missing buffer caused.
MemoryInputStream::MemoryInputStream(std::string_view bytes) : std::istream(nullptr), buffer_(bytes) {
    rdbuf(&buffer_);
}

MemoryInputStream::Buffer::Buffer(std::string_view bytes) {
    // The get area needs non-const pointers, but nothing in a read-only stream buffer writes through them.
    char* begin = const_cast<char*>(bytes.data());
    setg(begin, begin, begin + bytes.size());
}

MemoryInputStream::Buffer::pos_type MemoryInputStream::Buffer::seekoff(off_type offset,
                                                                       std::ios_base::seekdir direction,
                                                                       std::ios_base::openmode which) {
    const pos_type invalid(off_type(-1));
    if ((which & std::ios_base::in) == 0) {
        return invalid;
    }
    const off_type size = egptr() - eback();
    off_type base = 0;
    if (direction == std::ios_base::cur) {
        base = gptr() - eback();
    } else if (direction == std::ios_base::end) {
        base = size;
    }
    if (offset < -base || offset > size - base) {
        return invalid;
    }
    const off_type position = base + offset;
    setg(eback(), eback() + position, egptr());
    return pos_type(position);
}

MemoryInputStream::Buffer::pos_type MemoryInputStream::Buffer::seekpos(pos_type position,
                                                                       std::ios_base::openmode which) {
    return seekoff(off_type(position), std::ios_base::beg, which);
}

}  // namespace pellium
