#pragma once

#include <cstdint>

#include "pellium/Export.h"

namespace pellium {

/// The marker bytes of the tagged byte stream in which data values, data sets, row states and where
/// clauses travel. `SerialWriter` writes them and `SerialReader` checks them; classes that add their
/// own class bytes (0xC0 for a column, 0x98 for a where-clause leaf...) keep those next to themselves.
class PELLIUM_EXPORT SerialMarks {
public:
    /// "V": opens a version mark; the next byte is the version.
    static constexpr std::uint8_t VERSION = 0x56;
    /// The only version the stream has: every version mark carries it.
    static constexpr std::uint8_t CURRENT_VERSION = 1;

    /// "a": a null string, vector, set or object; nothing follows.
    static constexpr std::uint8_t NULL_VALUE = 0x61;
    /// "b": one of the two primitive tags; each field of a class names the tag it uses.
    static constexpr std::uint8_t TAG_B = 0x62;
    /// "c": the other primitive tag; it also opens the body of a primitive vector.
    static constexpr std::uint8_t TAG_C = 0x63;
    /// "d": a present string.
    static constexpr std::uint8_t STRING = 0x64;
    /// "e": a present set of unsigned 32-bit integers.
    static constexpr std::uint8_t SET = 0x65;
    /// "f": a present shared vector.
    static constexpr std::uint8_t VECTOR = 0x66;
    /// "g": a present object, and the opening of an object vector body.
    static constexpr std::uint8_t OBJECT = 0x67;
    /// "S": the elements of a vector start.
    static constexpr std::uint8_t START = 0x53;
    /// "T": the elements of a vector end.
    static constexpr std::uint8_t END = 0x54;
    /// "U": a signed 32-bit element count or byte length follows.
    static constexpr std::uint8_t COUNT = 0x55;
};

}  // namespace pellium
