// Reads a sequence of serial stream blocks from arbitrary bytes. Input layout: byte 0 chooses the
// stream (bit 0 set: a stream that cannot seek and trickles its bytes, else an in-memory stream),
// byte 1 the number of blocks (1 to 8), the next bytes the kind of each block, and the rest is the
// stream. Besides surviving any input, the readers must satisfy two properties:
//   - failure is sticky: once a block fails, the next block fails too;
//   - what was read, written back, is a fixed point: reading and writing it again gives the same bytes.

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <sstream>
#include <string>

#include "tests/serializers/TrickleStream.h"

#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace {

using pellium::SerialMarks;
using pellium::SerialReader;
using pellium::SerialWriter;
using pellium::SharedString;
using pellium::SharedStringVector;

// Reads one block and, when that succeeds, writes the value back.
using Block = bool (*)(SerialReader&, SerialWriter&);

// A small object with a static form of its own, standing in for data values and columns.
using Boxed = std::shared_ptr<std::int32_t>;

bool readBoxed(SerialReader& reader, Boxed& boxed) {
    bool isPresent = false;
    if (!reader.readPresence(isPresent)) {
        return false;
    }
    boxed = isPresent ? std::make_shared<std::int32_t>() : nullptr;
    return !isPresent || reader.readPrimitive(SerialMarks::TAG_C, *boxed);
}

bool writeBoxed(SerialWriter& writer, const Boxed& boxed) {
    return writer.writePresence(boxed != nullptr) && (!boxed || writer.writePrimitive(SerialMarks::TAG_C, *boxed));
}

template <typename T>
bool primitive(SerialReader& reader, SerialWriter& writer) {
    T value{};
    return reader.readPrimitive(SerialMarks::TAG_C, value) && writer.writePrimitive(SerialMarks::TAG_C, value);
}

template <typename T>
bool sharedPrimitiveVector(SerialReader& reader, SerialWriter& writer) {
    std::shared_ptr<std::vector<T>> elements;
    return reader.readSharedPrimitiveVector(elements) && writer.writeSharedPrimitiveVector(elements);
}

template <typename Set>
bool sharedSet(SerialReader& reader, SerialWriter& writer) {
    std::shared_ptr<Set> elements;
    return reader.readSharedSet(elements) && writer.writeSharedSet(elements);
}

const std::array<Block, 21> BLOCKS = {
    [](SerialReader& reader, SerialWriter& writer) { return reader.readVersionMark() && writer.writeVersionMark(); },
    [](SerialReader& reader, SerialWriter& writer) {
        std::uint8_t mark = 0;
        return reader.readMark(mark) && writer.writeMark(mark);
    },
    [](SerialReader& reader, SerialWriter& writer) {
        bool isPresent = false;
        return reader.readPresence(isPresent) && writer.writePresence(isPresent);
    },
    primitive<bool>,
    primitive<std::int32_t>,
    primitive<std::uint32_t>,
    primitive<float>,
    primitive<double>,
    [](SerialReader& reader, SerialWriter& writer) {
        std::size_t count = 0;
        return reader.readCount(0, count) && writer.writeCount(count);
    },
    [](SerialReader& reader, SerialWriter& writer) {
        SharedString text;
        return reader.readString(text) && writer.writeString(text);
    },
    [](SerialReader& reader, SerialWriter& writer) {
        std::vector<std::int32_t> elements;
        return reader.readPrimitiveVectorBody(elements) && writer.writePrimitiveVectorBody(elements);
    },
    sharedPrimitiveVector<double>,
    sharedPrimitiveVector<float>,
    sharedPrimitiveVector<std::uint32_t>,
    [](SerialReader& reader, SerialWriter& writer) {
        SharedStringVector texts;
        return reader.readStringVectorBody(texts) && writer.writeStringVectorBody(texts);
    },
    [](SerialReader& reader, SerialWriter& writer) {
        std::shared_ptr<SharedStringVector> texts;
        return reader.readSharedStringVector(texts) && writer.writeSharedStringVector(texts);
    },
    [](SerialReader& reader, SerialWriter& writer) {
        std::vector<Boxed> objects;
        return reader.readObjectVectorBody([&](std::size_t) { return readBoxed(reader, objects.emplace_back()); }) &&
               writer.writeObjectVectorBody(objects.size(),
                                            [&](std::size_t index) { return writeBoxed(writer, objects[index]); });
    },
    [](SerialReader& reader, SerialWriter& writer) {
        std::shared_ptr<std::vector<Boxed>> objects;
        return reader.readSharedObjectVector(objects, [&](Boxed& boxed) { return readBoxed(reader, boxed); }) &&
               writer.writeSharedObjectVector(objects, [&](const Boxed& boxed) { return writeBoxed(writer, boxed); });
    },
    [](SerialReader& reader, SerialWriter& writer) {
        std::shared_ptr<std::vector<bool>> flags;
        return reader.readSharedBoolVector(flags) && writer.writeSharedBoolVector(flags);
    },
    sharedSet<std::vector<std::uint32_t>>,
    sharedSet<std::set<std::uint32_t>>,
};

struct Pass {
    std::string rewritten;
    std::size_t blocksRead = 0;
};

Pass readAndRewrite(std::istream& stream, std::span<const std::uint8_t> kinds) {
    Pass pass;
    std::ostringstream output;
    SerialReader reader(stream);
    SerialWriter writer(output);
    for (const std::uint8_t kind : kinds) {
        if (!BLOCKS[kind % BLOCKS.size()](reader, writer)) {
            break;
        }
        ++pass.blocksRead;
    }
    if (pass.blocksRead < kinds.size() && (reader.isGood() || BLOCKS[0](reader, writer))) {
        __builtin_trap();  // a failed reader must stay failed
    }
    pass.rewritten = output.str();
    return pass;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const bool trickles = (data[0] & 1U) != 0;
    const std::size_t blockCount = data[1] % 8U + 1;
    if (size < 2 + blockCount) {
        return 0;
    }
    const std::span<const std::uint8_t> kinds(data + 2, blockCount);
    const std::string payload(reinterpret_cast<const char*>(data + 2 + blockCount), size - 2 - blockCount);

    Pass first;
    if (trickles) {
        pellium::test::TrickleStream stream(payload);
        first = readAndRewrite(stream, kinds);
    } else {
        pellium::MemoryInputStream stream(payload);
        first = readAndRewrite(stream, kinds);
    }

    pellium::MemoryInputStream again(first.rewritten);
    const Pass second = readAndRewrite(again, kinds.first(first.blocksRead));
    if (second.blocksRead != first.blocksRead || second.rewritten != first.rewritten) {
        __builtin_trap();  // what was read and written back must read back to the same bytes
    }
    return 0;
}
