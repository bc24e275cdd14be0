// Reads a data set from arbitrary bytes. Besides surviving any input without crashing, hanging or
// allocating beyond what the bytes justify, a data set that reads must write a stream that reads
// back, and from that first reading on writing is a fixed point: the same bytes, the same rows.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/serializers/MemoryInputStream.h"

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

std::string written(const std::shared_ptr<pellium::DataSet>& dataSet) {
    std::ostringstream stream;
    require(pellium::DataSet::serialize(stream, dataSet));
    return stream.str();
}

std::shared_ptr<pellium::DataSet> read(std::string_view bytes, bool& ok) {
    pellium::MemoryInputStream stream(bytes);
    std::shared_ptr<pellium::DataSet> dataSet;
    ok = pellium::DataSet::unserialize(stream, dataSet);
    return dataSet;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    bool ok = false;
    const auto dataSet = read(std::string_view(reinterpret_cast<const char*>(data), size), ok);
    if (!ok) {
        require(!dataSet);
        return 0;
    }
    const std::string first = written(dataSet);
    const auto again = read(first, ok);
    require(ok && !again == !dataSet);
    const std::string second = written(again);
    require(written(read(second, ok)) == second && ok);
    if (dataSet) {
        require(again->getNumberOfRows() == dataSet->getNumberOfRows());
        require(again->getNumberOfColumns() == dataSet->getNumberOfColumns());
        require(again->getRowStates()->getNumberOfSelectedIndices() ==
                dataSet->getRowStates()->getNumberOfSelectedIndices());
        // Reading every cell of every column stays within the columns' rows.
        for (std::int32_t position = 0; position < again->getNumberOfColumns(); ++position) {
            const auto column = again->getColumnAtIndex(position);
            for (std::int32_t row = 0; column && row < column->getNumberOfRows() && row < 64; ++row) {
                require(column->getDataValueAtIndex(row) != nullptr);
            }
        }
    }
    return 0;
}
