#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

// One table of stream blocks shared by the writer, reader, hostile-input and round-trip tests: each
// case knows how to write its value, how to read it back and compare, and (for the hand-written
// cases) the exact bytes with the role of each byte.
namespace pellium::test {

/// What a byte of an expected stream is: a marker that admits no other value, a presence mark for
/// which the null mark "a" is also valid, or data.
enum class ByteRole { Marker, Presence, Data };

struct ExpectedBytes {
    std::string bytes;
    std::vector<ByteRole> roles;
};

/// Bytes written the way the stream tables read, as blank-separated tokens: a single character is a
/// marker ("V", "c"); "?f" is a presence mark; "!01" a marker given in hexadecimal (a version); two
/// hexadecimal digits a data byte; "i-2" a little-endian signed 32-bit integer; "'ab'" text bytes.
/// For example, an empty shared vector is "V !01 ?f c U i0 S T".
ExpectedBytes expect(std::string_view notation);

struct ReadOutcome {
    bool ok = false;
    bool equal = false;
};

struct SerialBlockCase {
    std::string name;
    ExpectedBytes expected;  // empty for generated cases
    std::function<bool(SerialWriter&)> write;
    std::function<ReadOutcome(SerialReader&)> read;
};

/// Every block with a value whose bytes are written out by hand.
std::vector<SerialBlockCase> handWrittenCases();

/// One case per block with random content, some of it large enough to span many read chunks.
std::vector<SerialBlockCase> randomCases(std::mt19937& random);

/// The bytes a case writes to a string stream.
std::string writeToString(const SerialBlockCase& blockCase);

/// The kinds of input stream a reader meets: a string stream and a memory stream know their length,
/// a trickle stream (a pipe) does not.
enum class StreamKind { StringStream, Memory, Trickle };

/// An input stream of one kind over its own copy of some bytes.
class TestInput {
public:
    TestInput(StreamKind kind, std::string bytes);
    std::istream& stream() { return *stream_; }
    /// True when every byte has been read.
    bool isExhausted();

private:
    std::unique_ptr<std::string> bytes_;
    std::unique_ptr<std::istream> stream_;
};

std::string streamKindName(StreamKind kind);

/// Bytes as hexadecimal pairs, for failure messages.
std::string hex(const std::string& bytes);

}  // namespace pellium::test
