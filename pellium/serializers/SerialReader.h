#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "pellium/Export.h"
#include "pellium/serializers/SerialMarks.h"
#include "pellium/serializers/SerialTypes.h"

namespace pellium {

/// Reads the building blocks of the tagged byte stream (version marks, tagged primitives, strings,
/// vectors and sets) from an input stream, checking every marker, tag and count. Data values, data
/// sets, row states and where clauses read their stream forms as a straight sequence of these calls,
/// each followed by `if (!ok) return false;`.
///
/// Every function reads one block and returns true on success. It answers false when the data runs
/// out, when a marker or tag differs from the expected byte, when a version byte is not 1 or when a
/// count is negative or larger than the bytes that remain could hold; the last is checked before
/// anything is allocated, so a hostile count costs nothing. Failure is sticky: the stream's failbit is
/// set and every later call answers false. On failure the output argument holds whatever was read so
/// far and must be discarded. Nothing throws, even when the stream's exception mask is set.
///
/// For a seekable stream the reader learns the remaining bytes once, at construction, and reads each
/// vector or string with one bulk read into its final storage. For a stream that cannot seek (a pipe)
/// it reads vectors and strings in chunks that grow with the data already received, so that memory
/// stays within a small multiple of what actually arrived, plus one 64 KiB chunk. Bytes go straight to the stream's
/// buffer; whoever reads the same stream while this reader is in use should read through this reader (pass it down),
/// since bytes read around it are not counted.
class PELLIUM_EXPORT SerialReader {
public:
    /// Reads one element of an object vector, given its index; false stops the reading.
    using ElementReader = std::function<bool(std::size_t index)>;

    explicit SerialReader(std::istream& stream);

    /// True while every read has succeeded and the stream is not failed.
    bool isGood() const;
    /// The bytes left in a seekable stream, or empty when the stream cannot tell.
    std::optional<std::uint64_t> remainingBytes() const;

    /// "V" followed by version 1; any other version fails.
    bool readVersionMark();
    /// Any one byte, for streams that branch on a class byte.
    bool readMark(std::uint8_t& mark);
    /// One byte that must equal `expected`.
    bool expectMark(std::uint8_t expected);
    /// "a" (null: `isPresent` false) or `presentMark` ("g" by default; `isPresent` true); any other
    /// byte fails.
    bool readPresence(bool& isPresent, std::uint8_t presentMark = SerialMarks::OBJECT);

    /// `tag`, then the raw bytes of a T. A bool is true for any byte other than 0.
    template <SerialPrimitive T>
    bool readPrimitive(std::uint8_t tag, T& value);

    /// "U" and a signed 32-bit count of elements that take at least `minimumBytesPerElement` bytes
    /// each. Fails for a negative count or one whose elements could not fit in the bytes that remain.
    bool readCount(std::size_t minimumBytesPerElement, std::size_t& count);

    /// A string block: "a" gives a null `text`; "d", "U", a length and that many bytes give the text,
    /// and a length of 0 or less gives an empty, non-null text. Texts are not interned here.
    bool readString(SharedString& text);

    /// "c", "U", count, "S", the raw elements in one bulk read, "T". `elements` is replaced.
    template <SerialVectorElement T>
    bool readPrimitiveVectorBody(std::vector<T>& elements);
    /// The version mark, then "a" (null `elements`) or "f" and a primitive vector body.
    template <SerialVectorElement T>
    bool readSharedPrimitiveVector(std::shared_ptr<std::vector<T>>& elements);

    /// "U", count, "S", each text as a string block, "T". `texts` is replaced.
    bool readStringVectorBody(SharedStringVector& texts);
    /// The version mark, then "a" (null `texts`) or "f" and a string vector body.
    bool readSharedStringVector(std::shared_ptr<SharedStringVector>& texts);

    /// "g", "U", count, "S", then `readElement(i)` for each i below the count, which reads element i
    /// in its class's static form through this reader, then "T". Each element takes at least one
    /// byte, so the count is checked against the bytes that remain; callers should not reserve room
    /// for `count` objects up front, as an object needs more memory than its smallest stream form.
    /// An element that answers false fails the reader.
    bool readObjectVectorBody(const ElementReader& readElement);
    /// The version mark, then "a" (`isPresent` false, no element read) or "f" and an object vector body.
    bool readSharedObjectVector(bool& isPresent, const ElementReader& readElement);
    /// The same into a shared vector of objects: `readElement(Object&)` reads one element into a
    /// value-initialised Object (for example a null `std::shared_ptr` to a column), which is kept.
    template <typename Object, typename ReadElement>
    bool readSharedObjectVector(std::shared_ptr<std::vector<Object>>& objects, ReadElement&& readElement);

    /// No version mark: "a" (null `flags`) or "f", "c", "U", count, "S", one byte per flag, "T". Any
    /// byte other than 0 reads as true. Flags are kept as `std::vector<bool>`, one bit each.
    bool readSharedBoolVector(std::shared_ptr<std::vector<bool>>& flags);

    /// The version mark, then "a" (null `elements`) or "e" and a primitive vector body of unsigned
    /// 32-bit integers, which must be strictly ascending; a repeated or descending element fails.
    bool readSharedSet(std::shared_ptr<std::vector<std::uint32_t>>& elements);
    /// The same into a `std::set`, built in linear time from the ascending elements.
    bool readSharedSet(std::shared_ptr<std::set<std::uint32_t>>& elements);

private:
    void learnRemainingBytes();
    bool readBytes(void* destination, std::size_t size);
    bool fail();
    bool fitsInRemainingBytes(std::size_t count, std::size_t bytesPerElement) const;
    std::size_t nextBulkElementCount(std::size_t wanted, std::size_t alreadyRead, std::size_t elementSize) const;
    /// Asks the system to back storage of many megabytes with huge pages before it is first
    /// touched, so that filling a fresh vector takes one page fault per 2 MiB instead of per 4 KiB.
    static void adviseLargeStorage(void* storage, std::size_t bytes);
    template <typename Container>
    bool readBulk(Container& container, std::size_t count);

    std::istream& stream_;
    std::uint64_t length_ = 0;  // the stream's bytes from the construction position, when seekable
    std::uint64_t consumed_ = 0;
    bool knowsLength_ = false;
    bool failed_ = false;
};

template <SerialPrimitive T>
bool SerialReader::readPrimitive(std::uint8_t tag, T& value) {
    std::array<std::uint8_t, 1 + sizeof(T)> bytes{};
    if (!readBytes(bytes.data(), bytes.size())) {
        return false;
    }
    if (bytes[0] != tag) {
        return fail();
    }
    if constexpr (std::same_as<T, bool>) {
        value = bytes[1] != 0;  // a byte other than 0 or 1 is not a valid bool representation
    } else {
        std::memcpy(&value, bytes.data() + 1, sizeof(T));
    }
    return true;
}

// REQUIRES: `count` elements were checked against the remaining bytes (readCount or readString).
template <typename Container>
bool SerialReader::readBulk(Container& container, std::size_t count) {
    using Element = typename Container::value_type;
    container.clear();
    while (container.size() < count) {
        const std::size_t alreadyRead = container.size();
        const std::size_t step = nextBulkElementCount(count - alreadyRead, alreadyRead, sizeof(Element));
        if (container.capacity() < alreadyRead + step) {
            container.reserve(alreadyRead + step);
            adviseLargeStorage(container.data(), container.capacity() * sizeof(Element));
        }
        container.resize(alreadyRead + step);
        if (!readBytes(container.data() + alreadyRead, step * sizeof(Element))) {
            return false;
        }
    }
    return true;
}

template <SerialVectorElement T>
bool SerialReader::readPrimitiveVectorBody(std::vector<T>& elements) {
    std::size_t count = 0;
    return expectMark(SerialMarks::TAG_C) && readCount(sizeof(T), count) && expectMark(SerialMarks::START) &&
           readBulk(elements, count) && expectMark(SerialMarks::END);
}

template <SerialVectorElement T>
bool SerialReader::readSharedPrimitiveVector(std::shared_ptr<std::vector<T>>& elements) {
    bool isPresent = false;
    if (!readVersionMark() || !readPresence(isPresent, SerialMarks::VECTOR)) {
        return false;
    }
    elements = isPresent ? std::make_shared<std::vector<T>>() : nullptr;
    return !isPresent || readPrimitiveVectorBody(*elements);
}

template <typename Object, typename ReadElement>
bool SerialReader::readSharedObjectVector(std::shared_ptr<std::vector<Object>>& objects, ReadElement&& readElement) {
    auto vector = std::make_shared<std::vector<Object>>();
    bool isPresent = false;
    const bool ok = readSharedObjectVector(isPresent, [&](std::size_t) {
        vector->emplace_back();
        return readElement(vector->back());
    });
    objects = isPresent ? std::move(vector) : nullptr;
    return ok;
}

}  // namespace pellium
