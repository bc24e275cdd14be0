#include "pellium/serializers/SerialWriter.h"

#include <algorithm>
#include <ios>
#include <limits>
#include <ostream>

namespace pellium {

namespace {

constexpr std::size_t MAXIMUM_COUNT = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());

// Flags are written through a small buffer, a chunk at a time, because std::vector<bool> keeps bits.
constexpr std::size_t FLAG_CHUNK_BYTES = 4096;

}  // namespace

SerialWriter::SerialWriter(std::ostream& stream) : stream_(stream) {}

bool SerialWriter::isGood() const {
    return !failed_ && !stream_.fail();
}

bool SerialWriter::fail() {
    failed_ = true;
    try {
        stream_.setstate(std::ios_base::badbit);
    } catch (...) {  // NOLINT(bugprone-empty-catch): the state is set before the stream throws
    }
    return false;
}

bool SerialWriter::writeBytes(const void* bytes, std::size_t size) {
    if (!isGood()) {
        return false;
    }
    std::streambuf* buffer = stream_.rdbuf();
    if (buffer == nullptr) {
        return fail();
    }
    try {
        const auto written = buffer->sputn(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
        if (written != static_cast<std::streamsize>(size)) {
            return fail();
        }
    } catch (...) {
        return fail();
    }
    return true;
}

bool SerialWriter::writeVersionMark() {
    const std::array<std::uint8_t, 2> bytes{SerialMarks::VERSION, SerialMarks::CURRENT_VERSION};
    return writeBytes(bytes.data(), bytes.size());
}

bool SerialWriter::writeMark(std::uint8_t mark) {
    return writeBytes(&mark, 1);
}

bool SerialWriter::writePresence(bool isPresent, std::uint8_t presentMark) {
    return writeMark(isPresent ? presentMark : SerialMarks::NULL_VALUE);
}

bool SerialWriter::writeNullShared() {
    return writeVersionMark() && writeMark(SerialMarks::NULL_VALUE);
}

bool SerialWriter::writeCount(std::size_t count) {
    if (count > MAXIMUM_COUNT) {
        return fail();
    }
    return writePrimitive(SerialMarks::COUNT, static_cast<std::int32_t>(count));
}

bool SerialWriter::writeString(std::string_view text) {
    if (text.size() > MAXIMUM_COUNT) {
        return fail();
    }
    return writeMark(SerialMarks::STRING) && writeCount(text.size()) && writeBytes(text.data(), text.size());
}

bool SerialWriter::writeString(const SharedString& text) {
    return text ? writeString(std::string_view(*text)) : writeMark(SerialMarks::NULL_VALUE);
}

bool SerialWriter::writeRawVectorBody(const void* elements, std::size_t count, std::size_t elementSize) {
    if (count > MAXIMUM_COUNT) {
        return fail();
    }
    return writeMark(SerialMarks::TAG_C) && writeCount(count) && writeMark(SerialMarks::START) &&
           writeBytes(elements, count * elementSize) && writeMark(SerialMarks::END);
}

bool SerialWriter::writeStringVectorBody(std::span<const SharedString> texts) {
    if (texts.size() > MAXIMUM_COUNT) {
        return fail();
    }
    if (!writeCount(texts.size()) || !writeMark(SerialMarks::START)) {
        return false;
    }
    for (const SharedString& text : texts) {
        if (!writeString(text)) {
            return false;
        }
    }
    return writeMark(SerialMarks::END);
}

bool SerialWriter::writeSharedStringVector(const std::shared_ptr<const SharedStringVector>& texts) {
    if (!texts) {
        return writeNullShared();
    }
    return writeVersionMark() && writeMark(SerialMarks::VECTOR) && writeStringVectorBody(*texts);
}

bool SerialWriter::writeObjectVectorBody(std::size_t count, const ElementWriter& writeElement) {
    if (count > MAXIMUM_COUNT) {
        return fail();
    }
    if (!writeMark(SerialMarks::OBJECT) || !writeCount(count) || !writeMark(SerialMarks::START)) {
        return false;
    }
    for (std::size_t index = 0; index < count; ++index) {
        if (!writeElement(index)) {
            return fail();
        }
    }
    return writeMark(SerialMarks::END);
}

bool SerialWriter::writeSharedObjectVector(std::optional<std::size_t> count, const ElementWriter& writeElement) {
    if (!count) {
        return writeNullShared();
    }
    return writeVersionMark() && writeMark(SerialMarks::VECTOR) && writeObjectVectorBody(*count, writeElement);
}

bool SerialWriter::writeSharedBoolVector(const std::shared_ptr<const std::vector<bool>>& flags) {
    if (!flags) {
        return writeMark(SerialMarks::NULL_VALUE);
    }
    if (flags->size() > MAXIMUM_COUNT) {
        return fail();
    }
    if (!writeMark(SerialMarks::VECTOR) || !writeMark(SerialMarks::TAG_C) || !writeCount(flags->size()) ||
        !writeMark(SerialMarks::START)) {
        return false;
    }
    std::array<std::uint8_t, FLAG_CHUNK_BYTES> chunk{};
    for (std::size_t start = 0; start < flags->size(); start += chunk.size()) {
        const std::size_t length = std::min(chunk.size(), flags->size() - start);
        for (std::size_t offset = 0; offset < length; ++offset) {
            chunk[offset] = (*flags)[start + offset] ? 1 : 0;
        }
        if (!writeBytes(chunk.data(), length)) {
            return false;
        }
    }
    return writeMark(SerialMarks::END);
}

bool SerialWriter::writeSharedSetOfElements(std::span<const std::uint32_t> elements) {
    if (std::ranges::adjacent_find(elements, std::ranges::greater_equal()) != elements.end()) {
        return fail();
    }
    return writeVersionMark() && writeMark(SerialMarks::SET) && writePrimitiveVectorBody(elements);
}

}  // namespace pellium
