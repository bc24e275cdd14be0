// Reads data values from arbitrary bytes, one after another, until a read fails. Besides surviving
// any input, what was read must be a fixed point of writing: writing a value read, reading that
// back and writing it again gives the same bytes and the same value, whose text is the same
// interned string.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string written(const std::shared_ptr<pellium::DataValue>& value) {
    std::ostringstream stream;
    require(pellium::DataValue::serialize(stream, value));
    return stream.str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pellium::MemoryInputStream stream(std::string_view(reinterpret_cast<const char*>(data), size));
    pellium::SerialReader reader(stream);
    for (int count = 0; count < 64; ++count) {
        std::shared_ptr<pellium::DataValue> value;
        if (!pellium::DataValue::unserialize(reader, value)) {
            break;
        }
        const std::string bytes = written(value);
        pellium::MemoryInputStream again(bytes);
        std::shared_ptr<pellium::DataValue> copy;
        require(pellium::DataValue::unserialize(again, copy));
        require(again.peek() == std::char_traits<char>::eof());
        require(written(copy) == bytes);
        require(!value == !copy);
        require(!value || value->getDescription() == copy->getDescription());
        // Texts read from a stream are interned: equal texts are one string.
        require(!value || !value->isString() || value->getStringValue() == copy->getStringValue());
    }
    return 0;
}
