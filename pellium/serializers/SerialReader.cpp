#include "pellium/serializers/SerialReader.h"

#include <algorithm>
#include <cstdint>
#include <istream>
#include <string>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace pellium {

namespace {

// A stream that cannot seek is read in chunks of at least this size, and never more than the bytes
// already received, so that a hostile count costs at most this much before the data runs out.
constexpr std::size_t MINIMUM_CHUNK_BYTES = std::size_t{64} * 1024;

// The flags of a bool vector pass through a small buffer because std::vector<bool> keeps bits.
constexpr std::size_t FLAG_CHUNK_BYTES = 4096;

// The smallest stream form of a string is the null mark.
constexpr std::size_t MINIMUM_STRING_BYTES = 1;

}  // namespace

SerialReader::SerialReader(std::istream& stream) : stream_(stream) {
    if (stream_.rdbuf() == nullptr || stream_.fail()) {
        fail();
        return;
    }
    learnRemainingBytes();
}

void SerialReader::learnRemainingBytes() {
    using Position = std::streambuf::pos_type;
    const Position unknown(std::streambuf::off_type(-1));
    std::streambuf& buffer = *stream_.rdbuf();
    try {
        const Position here = buffer.pubseekoff(0, std::ios_base::cur, std::ios_base::in);
        if (here == unknown) {
            return;  // not seekable: read in chunks
        }
        const Position end = buffer.pubseekoff(0, std::ios_base::end, std::ios_base::in);
        if (end == unknown) {
            return;
        }
        if (buffer.pubseekpos(here, std::ios_base::in) != here) {
            fail();  // the stream moved and cannot go back to where the data starts
            return;
        }
        const std::streamoff length = end - here;
        length_ = length > 0 ? static_cast<std::uint64_t>(length) : 0;
        knowsLength_ = true;
    } catch (...) {
        fail();
    }
}

bool SerialReader::isGood() const {
    return !failed_ && !stream_.fail();
}

std::optional<std::uint64_t> SerialReader::remainingBytes() const {
    if (!knowsLength_) {
        return std::nullopt;
    }
    return consumed_ < length_ ? length_ - consumed_ : 0;
}

bool SerialReader::fail() {
    failed_ = true;
    try {
        stream_.setstate(std::ios_base::failbit);
    } catch (...) {  // NOLINT(bugprone-empty-catch): the state is set before the stream throws
    }
    return false;
}

bool SerialReader::readBytes(void* destination, std::size_t size) {
    if (!isGood()) {
        return false;
    }
    std::streamsize received = 0;
    try {
        received = stream_.rdbuf()->sgetn(static_cast<char*>(destination), static_cast<std::streamsize>(size));
    } catch (...) {
        return fail();
    }
    consumed_ += static_cast<std::uint64_t>(received);
    if (received != static_cast<std::streamsize>(size)) {
        try {
            stream_.setstate(std::ios_base::eofbit);
        } catch (...) {  // NOLINT(bugprone-empty-catch): the state is set before the stream throws
        }
        return fail();
    }
    return true;
}

bool SerialReader::fitsInRemainingBytes(std::size_t count, std::size_t bytesPerElement) const {
    // Counts are below 2^31 and elements at most 8 bytes, so the product cannot overflow.
    return !knowsLength_ || static_cast<std::uint64_t>(count) * bytesPerElement <= *remainingBytes();
}

void SerialReader::adviseLargeStorage([[maybe_unused]] void* storage, [[maybe_unused]] std::size_t bytes) {
#ifdef __linux__
    constexpr std::uintptr_t hugePage = std::uintptr_t{2} << 20;
    if (bytes < 2 * hugePage) {
        return;
    }
    // Only the whole huge pages inside the storage are advised; the advice is a hint, so a
    // refusal changes nothing.
    const auto start = reinterpret_cast<std::uintptr_t>(storage);
    const std::uintptr_t first = (start + hugePage - 1) & ~(hugePage - 1);
    const std::uintptr_t last = (start + bytes) & ~(hugePage - 1);
    if (first < last) {
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
#endif
}

std::size_t SerialReader::nextBulkElementCount(std::size_t wanted, std::size_t alreadyRead,
                                               std::size_t elementSize) const {
    if (knowsLength_) {
        return wanted;  // checked against the remaining bytes: one read into the final storage
    }
    const std::size_t chunkBytes = std::max(MINIMUM_CHUNK_BYTES, alreadyRead * elementSize);
    return std::min(wanted, std::max<std::size_t>(1, chunkBytes / elementSize));
}

bool SerialReader::readVersionMark() {
    std::array<std::uint8_t, 2> bytes{};
    if (!readBytes(bytes.data(), bytes.size())) {
        return false;
    }
    if (bytes[0] != SerialMarks::VERSION || bytes[1] != SerialMarks::CURRENT_VERSION) {
        return fail();
    }
    return true;
}

bool SerialReader::readMark(std::uint8_t& mark) {
    return readBytes(&mark, 1);
}

bool SerialReader::expectMark(std::uint8_t expected) {
    std::uint8_t mark = 0;
    if (!readMark(mark)) {
        return false;
    }
    return mark == expected || fail();
}

bool SerialReader::readPresence(bool& isPresent, std::uint8_t presentMark) {
    std::uint8_t mark = 0;
    if (!readMark(mark)) {
        return false;
    }
    if (mark != presentMark && mark != SerialMarks::NULL_VALUE) {
        return fail();
    }
    isPresent = mark == presentMark;
    return true;
}

bool SerialReader::readCount(std::size_t minimumBytesPerElement, std::size_t& count) {
    std::int32_t value = 0;
    if (!readPrimitive(SerialMarks::COUNT, value)) {
        return false;
    }
    if (value < 0 || !fitsInRemainingBytes(static_cast<std::size_t>(value), minimumBytesPerElement)) {
        return fail();
    }
    count = static_cast<std::size_t>(value);
    return true;
}

bool SerialReader::readString(SharedString& text) {
    std::uint8_t mark = 0;
    if (!readMark(mark)) {
        return false;
    }
    if (mark == SerialMarks::NULL_VALUE) {
        text = nullptr;
        return true;
    }
    if (mark != SerialMarks::STRING) {
        return fail();
    }
    std::int32_t length = 0;
    if (!readPrimitive(SerialMarks::COUNT, length)) {
        return false;
    }
    const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
    if (!fitsInRemainingBytes(size, 1)) {
        return fail();
    }
    auto bytes = std::make_shared<std::string>();
    if (!readBulk(*bytes, size)) {
        return false;
    }
    text = std::move(bytes);
    return true;
}

bool SerialReader::readStringVectorBody(SharedStringVector& texts) {
    texts.clear();
    std::size_t count = 0;
    if (!readCount(MINIMUM_STRING_BYTES, count) || !expectMark(SerialMarks::START)) {
        return false;
    }
    // No reserve for `count`: a string takes one byte in the stream but a pointer and more in memory.
    for (std::size_t index = 0; index < count; ++index) {
        SharedString text;
        if (!readString(text)) {
            return false;
        }
        texts.push_back(std::move(text));
    }
    return expectMark(SerialMarks::END);
}

bool SerialReader::readSharedStringVector(std::shared_ptr<SharedStringVector>& texts) {
    bool isPresent = false;
    if (!readVersionMark() || !readPresence(isPresent, SerialMarks::VECTOR)) {
        return false;
    }
    texts = isPresent ? std::make_shared<SharedStringVector>() : nullptr;
    return !isPresent || readStringVectorBody(*texts);
}

bool SerialReader::readObjectVectorBody(const ElementReader& readElement) {
    std::size_t count = 0;
    if (!expectMark(SerialMarks::OBJECT) || !readCount(1, count) || !expectMark(SerialMarks::START)) {
        return false;
    }
    for (std::size_t index = 0; index < count; ++index) {
        if (!readElement(index)) {
            return fail();
        }
    }
    return expectMark(SerialMarks::END);
}

bool SerialReader::readSharedObjectVector(bool& isPresent, const ElementReader& readElement) {
    isPresent = false;
    if (!readVersionMark() || !readPresence(isPresent, SerialMarks::VECTOR)) {
        return false;
    }
    return !isPresent || readObjectVectorBody(readElement);
}

bool SerialReader::readSharedBoolVector(std::shared_ptr<std::vector<bool>>& flags) {
    bool isPresent = false;
    if (!readPresence(isPresent, SerialMarks::VECTOR)) {
        return false;
    }
    if (!isPresent) {
        flags = nullptr;
        return true;
    }
    std::size_t count = 0;
    if (!expectMark(SerialMarks::TAG_C) || !readCount(1, count) || !expectMark(SerialMarks::START)) {
        return false;
    }
    flags = std::make_shared<std::vector<bool>>();
    if (knowsLength_) {
        flags->reserve(count);  // one bit per flag, and the flags' bytes are known to be there
    }
    std::array<std::uint8_t, FLAG_CHUNK_BYTES> chunk{};
    for (std::size_t start = 0; start < count; start += chunk.size()) {
        const std::size_t length = std::min(chunk.size(), count - start);
        if (!readBytes(chunk.data(), length)) {
            return false;
        }
        for (std::size_t offset = 0; offset < length; ++offset) {
            flags->push_back(chunk[offset] != 0);
        }
    }
    return expectMark(SerialMarks::END);
}

bool SerialReader::readSharedSet(std::shared_ptr<std::vector<std::uint32_t>>& elements) {
    bool isPresent = false;
    if (!readVersionMark() || !readPresence(isPresent, SerialMarks::SET)) {
        return false;
    }
    if (!isPresent) {
        elements = nullptr;
        return true;
    }
    elements = std::make_shared<std::vector<std::uint32_t>>();
    if (!readPrimitiveVectorBody(*elements)) {
        return false;
    }
    if (std::ranges::adjacent_find(*elements, std::ranges::greater_equal()) != elements->end()) {
        return fail();
    }
    return true;
}

bool SerialReader::readSharedSet(std::shared_ptr<std::set<std::uint32_t>>& elements) {
    std::shared_ptr<std::vector<std::uint32_t>> ascending;
    if (!readSharedSet(ascending)) {
        return false;
    }
    elements = ascending ? std::make_shared<std::set<std::uint32_t>>(ascending->begin(), ascending->end()) : nullptr;
    return true;
}

}  // namespace pellium
