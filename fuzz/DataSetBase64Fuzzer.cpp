// Reads a data set from arbitrary base64 text, as it arrives from a server. A text that gives a
// data set must give one whose own base64 text reads back to the same rows and columns.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "pellium/models/data/dataset/DataSet.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto dataSet = pellium::DataSet::createFromBase64SerialData(text);
    if (!dataSet) {
        return 0;
    }
    const auto encoded = pellium::DataSet::serializeAsBase64String(dataSet);
    require(encoded != nullptr);
    const auto again = pellium::DataSet::createFromBase64SerialData(*encoded);
    require(again && again->getNumberOfRows() == dataSet->getNumberOfRows() &&
            again->getNumberOfColumns() == dataSet->getNumberOfColumns());
    return 0;
}
