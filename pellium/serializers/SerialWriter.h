#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "pellium/Export.h"
#include "pellium/serializers/SerialMarks.h"
#include "pellium/serializers/SerialTypes.h"

namespace pellium {

/// Writes the building blocks of the tagged byte stream (version marks, tagged primitives, strings,
/// vectors and sets) to an output stream. Data values, data sets, row states and where clauses write
/// their stream forms as a straight sequence of these calls.
///
/// Every function writes one block and returns true on success. The writer stops at the first
/// failure: the bytes written so far stay in the stream, the stream's badbit is set, and every later
/// call writes nothing and answers false. A stream that is already failed fails the first call. Bytes
/// go straight to the stream's buffer; nothing is written twice and nothing throws, even when the
/// stream's exception mask is set.
class PELLIUM_EXPORT SerialWriter {
public:
    /// Writes one element of an object vector, given its index; false stops the writing.
    using ElementWriter = std::function<bool(std::size_t index)>;

    explicit SerialWriter(std::ostream& stream);

    /// True while every write has succeeded and the stream is not failed.
    bool isGood() const;

    /// "V" and the current version (1).
    bool writeVersionMark();
    /// One byte, as given.
    bool writeMark(std::uint8_t mark);
    /// `presentMark` ("g" by default) when `isPresent`, else the null mark "a".
    bool writePresence(bool isPresent, std::uint8_t presentMark = SerialMarks::OBJECT);

    /// `tag`, then the raw bytes of `value` (a bool as one byte, 0 or 1).
    template <SerialPrimitive T>
    bool writePrimitive(std::uint8_t tag, T value);

    /// "U" and `count` as a signed 32-bit integer. Fails, writing nothing, when `count` exceeds 2^31 - 1.
    bool writeCount(std::size_t count);

    /// A present string: "d", "U", the byte length, the bytes. Fails, writing nothing, when the text
    /// is longer than 2^31 - 1 bytes.
    bool writeString(std::string_view text);
    /// The null mark "a" for a null text, else the text as above.
    bool writeString(const SharedString& text);

    /// "c", "U", count, "S", the elements' raw bytes in one write, "T". Accepts any contiguous range
    /// (vector, array, span). Fails, writing nothing, when there are more than 2^31 - 1 elements.
    template <std::ranges::contiguous_range Range>
    requires SerialVectorElement<std::ranges::range_value_t<Range>>
    bool writePrimitiveVectorBody(const Range& elements);

    /// The version mark, then "a" for a null vector, else "f" and the primitive vector body.
    /// `Vector` is `std::vector<T>` or `const std::vector<T>` for an element type T of SerialVectorElement.
    template <typename Vector>
    requires SerialVectorElement<typename std::remove_const_t<Vector>::value_type>
    bool writeSharedPrimitiveVector(const std::shared_ptr<Vector>& elements);

    /// "U", count, "S", each text as a string block (null texts as "a"), "T".
    bool writeStringVectorBody(std::span<const SharedString> texts);
    /// The version mark, then "a" for a null vector, else "f" and the string vector body.
    bool writeSharedStringVector(const std::shared_ptr<const SharedStringVector>& texts);

    /// "g", "U", count, "S", then `writeElement(i)` for each i below `count`, which writes element i in
    /// its class's static form through this writer, then "T". An element that answers false fails the
    /// writer.
    bool writeObjectVectorBody(std::size_t count, const ElementWriter& writeElement);
    /// The version mark, then "a" when `count` is empty, else "f" and the object vector body.
    bool writeSharedObjectVector(std::optional<std::size_t> count, const ElementWriter& writeElement);
    /// The same for a shared vector of objects: `writeElement(element)` writes one element.
    template <typename Vector, typename WriteElement>
    bool writeSharedObjectVector(const std::shared_ptr<Vector>& objects, WriteElement&& writeElement);

    /// No version mark: "a" for a null vector, else "f", "c", "U", count, "S", one byte per flag
    /// (0 or 1), "T".
    bool writeSharedBoolVector(const std::shared_ptr<const std::vector<bool>>& flags);

    /// The version mark, then "a" for a null set, else "e" and a primitive vector body of the elements.
    /// `Set` is any range of unsigned 32-bit integers in strictly ascending order (`std::set`, a sorted
    /// `std::vector`); a range that is not strictly ascending fails, writing nothing.
    template <typename Set>
    requires std::ranges::forward_range<std::remove_const_t<Set>> &&
        std::same_as<std::ranges::range_value_t<std::remove_const_t<Set>>, std::uint32_t>
    bool writeSharedSet(const std::shared_ptr<Set>& elements);

private:
    bool writeBytes(const void* bytes, std::size_t size);
    bool fail();
    bool writeNullShared();
    bool writeRawVectorBody(const void* elements, std::size_t count, std::size_t elementSize);
    bool writeSharedSetOfElements(std::span<const std::uint32_t> elements);

    std::ostream& stream_;
    bool failed_ = false;
};

template <SerialPrimitive T>
bool SerialWriter::writePrimitive(std::uint8_t tag, T value) {
    std::array<std::byte, 1 + sizeof(T)> bytes{};
    bytes[0] = std::byte{tag};
    std::memcpy(bytes.data() + 1, &value, sizeof(T));
    return writeBytes(bytes.data(), bytes.size());
}

template <std::ranges::contiguous_range Range>
requires SerialVectorElement<std::ranges::range_value_t<Range>>
bool SerialWriter::writePrimitiveVectorBody(const Range& elements) {
    return writeRawVectorBody(std::ranges::data(elements), std::ranges::size(elements),
                              sizeof(std::ranges::range_value_t<Range>));
}

template <typename Vector>
requires SerialVectorElement<typename std::remove_const_t<Vector>::value_type>
bool SerialWriter::writeSharedPrimitiveVector(const std::shared_ptr<Vector>& elements) {
    if (!elements) {
        return writeNullShared();
    }
    return writeVersionMark() && writeMark(SerialMarks::VECTOR) && writePrimitiveVectorBody(*elements);
}

template <typename Vector, typename WriteElement>
bool SerialWriter::writeSharedObjectVector(const std::shared_ptr<Vector>& objects, WriteElement&& writeElement) {
    if (!objects) {
        return writeNullShared();
    }
    return writeSharedObjectVector(std::optional<std::size_t>{objects->size()},
                                   [&](std::size_t index) { return writeElement((*objects)[index]); });
}

template <typename Set>
requires std::ranges::forward_range<std::remove_const_t<Set>> &&
    std::same_as<std::ranges::range_value_t<std::remove_const_t<Set>>, std::uint32_t>
bool SerialWriter::writeSharedSet(const std::shared_ptr<Set>& elements) {
    if (!elements) {
        return writeNullShared();
    }
    if constexpr (std::ranges::contiguous_range<std::remove_const_t<Set>>) {
        return writeSharedSetOfElements(std::span<const std::uint32_t>(*elements));
    } else {
        // A node-based set is copied once so that its elements go out in one write like a vector's.
        const std::vector<std::uint32_t> copy(std::ranges::begin(*elements), std::ranges::end(*elements));
        return writeSharedSetOfElements(copy);
    }
}

}  // namespace pellium
