// Writing and reading the stream of a data set of 10,000,000 rows (3 numeric columns and 2 string
// columns over 1,000 distinct texts, about 320 MB), against memcpy of the same bytes in the same
// run: into a buffer that is already mapped (warm), and into freshly allocated memory, which pays
// the page faults that reading into new vectors pays too. Also base64 encoding and decoding of the
// stream, as data sets arrive from servers.

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/util/TranscodingUtilities.h"

namespace {

using pellium::Column;
using pellium::DataSet;
using pellium::DataType;
using pellium::StringUtilities;
using pellium::TranscodingUtilities;

constexpr std::int32_t ROW_COUNT = 10'000'000;
constexpr std::size_t DISTINCT_TEXTS = 1'000;

std::shared_ptr<Column> numericColumn(std::string_view name, std::mt19937_64& random) {
    auto numbers = std::make_shared<Column::NumberVector>(static_cast<std::size_t>(ROW_COUNT));
    for (double& number : *numbers) {
        number = static_cast<double>(random() % 100'000'000) / 100;
    }
    auto column = Column::create(StringUtilities::internString(name), DataType::NUMERIC, nullptr,
                                 StringUtilities::internString("BEST12."));
    column->setNumbers(std::move(numbers));
    return column;
}

std::shared_ptr<Column> stringColumn(std::string_view name, std::mt19937_64& random) {
    auto indices = std::make_shared<Column::IndexVector>(static_cast<std::size_t>(ROW_COUNT));
    for (std::int32_t& index : *indices) {
        index = static_cast<std::int32_t>(random() % DISTINCT_TEXTS);
    }
    auto column = Column::create(StringUtilities::internString(name), DataType::STRING);
    column->setStringIndices(std::move(indices));
    return column;
}

std::shared_ptr<DataSet> makeDataSet() {
    std::mt19937_64 random(9);
    auto dataSet = DataSet::create(std::make_shared<DataSet::ColumnList>(DataSet::ColumnList{
        numericColumn("amount", random), numericColumn("quantity", random), numericColumn("price", random),
        stringColumn("customer", random), stringColumn("product", random)}));
    auto table = std::make_shared<DataSet::StringTable>();
    for (std::size_t index = 0; index < DISTINCT_TEXTS; ++index) {
        table->push_back(StringUtilities::internString("Customer or product " + std::to_string(index)));
    }
    dataSet->setName(StringUtilities::internString("sales"));
    dataSet->setStringTable(table);
    dataSet->assignStringValuesFromIndices();
    return dataSet;
}

const std::shared_ptr<DataSet>& dataSet() {
    static const auto made = makeDataSet();
    return made;
}

const std::string& streamBytes() {
    static const std::string bytes = [] {
        std::ostringstream stream;
        DataSet::serialize(stream, dataSet());
        return std::move(stream).str();
    }();
    return bytes;
}

const std::string& base64Text() {
    static const std::string text = TranscodingUtilities::encodeBase64(streamBytes());
    return text;
}

// An output buffer over memory that is mapped once, so that writing measures the writer and not
// the growth of a string.
class FixedOutputBuffer : public std::streambuf {
public:
    explicit FixedOutputBuffer(std::vector<char>& memory) { setp(memory.data(), memory.data() + memory.size()); }
};

void setBytesProcessed(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

// Baseline: the stream's bytes copied into memory that is already mapped.
void memcpyIntoWarmMemory(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    std::vector<char> target(bytes.size());
    for (auto _ : state) {
        std::memcpy(target.data(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    setBytesProcessed(state, bytes.size());
}
BENCHMARK(memcpyIntoWarmMemory)->Unit(benchmark::kMillisecond)->UseRealTime();

// Baseline: the stream's bytes copied into freshly allocated memory, page faults included.
void memcpyIntoFreshMemory(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    for (auto _ : state) {
        std::unique_ptr<char[]> target(new char[bytes.size()]);
        std::memcpy(target.get(), bytes.data(), bytes.size());
        benchmark::DoNotOptimize(target.get());
        benchmark::ClobberMemory();
    }
    setBytesProcessed(state, bytes.size());
}
BENCHMARK(memcpyIntoFreshMemory)->Unit(benchmark::kMillisecond)->UseRealTime();

void serializeDataSet(benchmark::State& state) {
    const std::size_t size = streamBytes().size();
    std::vector<char> memory(size);
    for (auto _ : state) {
        FixedOutputBuffer buffer(memory);
        std::ostream stream(&buffer);
        if (!DataSet::serialize(stream, dataSet())) {
            state.SkipWithError("writing failed");
        }
        benchmark::ClobberMemory();
    }
    setBytesProcessed(state, size);
}
BENCHMARK(serializeDataSet)->Unit(benchmark::kMillisecond)->UseRealTime();

void unserializeDataSet(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    for (auto _ : state) {
        pellium::MemoryInputStream stream(bytes);
        auto read = DataSet::createFromSerialData(stream);
        if (!read || read->getNumberOfRows() != ROW_COUNT) {
            state.SkipWithError("reading failed");
        }
        benchmark::DoNotOptimize(read.get());
    }
    setBytesProcessed(state, bytes.size());
}
BENCHMARK(unserializeDataSet)->Unit(benchmark::kMillisecond)->UseRealTime();

void encodeBase64(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    for (auto _ : state) {
        std::string text = TranscodingUtilities::encodeBase64(bytes);
        benchmark::DoNotOptimize(text.data());
    }
    setBytesProcessed(state, bytes.size());
}
BENCHMARK(encodeBase64)->Unit(benchmark::kMillisecond)->UseRealTime();

// Bytes processed are the decoded bytes, so that the rate compares with memcpy of the stream.
void decodeBase64(benchmark::State& state) {
    const std::string& text = base64Text();
    std::string bytes;
    for (auto _ : state) {
        if (!TranscodingUtilities::decodeBase64(text, bytes)) {
            state.SkipWithError("decoding failed");
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytesProcessed(state, streamBytes().size());
}
BENCHMARK(decodeBase64)->Unit(benchmark::kMillisecond)->UseRealTime();

void createFromBase64SerialData(benchmark::State& state) {
    const std::string& text = base64Text();
    for (auto _ : state) {
        auto read = DataSet::createFromBase64SerialData(text);
        if (!read) {
            state.SkipWithError("reading failed");
        }
        benchmark::DoNotOptimize(read.get());
    }
    setBytesProcessed(state, streamBytes().size());
}
BENCHMARK(createFromBase64SerialData)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
