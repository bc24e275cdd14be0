// Reading a shared vector of 10 million doubles (80 MB) from the serial stream, against copying the
// same bytes with memcpy. A data set of 10 million rows is mostly such vectors, so this is the cost
// that decides how fast a large data set loads.

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <numeric>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "pellium/serializers/MemoryInputStream.h"
#include "pellium/serializers/SerialReader.h"
#include "pellium/serializers/SerialWriter.h"

namespace {

constexpr std::size_t ELEMENT_COUNT = 10'000'000;
constexpr std::size_t HEADER_BYTES = 9;  // "V", 1, "f", "c", "U", count, "S"

const std::string& streamBytes() {
    static const std::string bytes = [] {
        auto numbers = std::make_shared<std::vector<double>>(ELEMENT_COUNT);
        std::iota(numbers->begin(), numbers->end(), 0.5);
        std::ostringstream stream;
        pellium::SerialWriter writer(stream);
        writer.writeSharedPrimitiveVector(numbers);
        return stream.str();
    }();
    return bytes;
}

void setBytesProcessed(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * ELEMENT_COUNT * sizeof(double)));
}

// Baseline: the payload copied into storage that already exists.
void memcpyIntoExistingStorage(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    std::vector<double> numbers(ELEMENT_COUNT);
    for (auto _ : state) {
        std::memcpy(numbers.data(), bytes.data() + HEADER_BYTES, ELEMENT_COUNT * sizeof(double));
        benchmark::DoNotOptimize(numbers.data());
        benchmark::ClobberMemory();
    }
    setBytesProcessed(state);
}
BENCHMARK(memcpyIntoExistingStorage)->Unit(benchmark::kMillisecond);

// Baseline: the payload copied into a new vector, as any reader must (allocation and page faults).
void memcpyIntoNewVector(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    for (auto _ : state) {
        auto numbers = std::make_shared<std::vector<double>>(ELEMENT_COUNT);
        std::memcpy(numbers->data(), bytes.data() + HEADER_BYTES, ELEMENT_COUNT * sizeof(double));
        benchmark::DoNotOptimize(numbers->data());
    }
    setBytesProcessed(state);
}
BENCHMARK(memcpyIntoNewVector)->Unit(benchmark::kMillisecond);

// Baseline: the payload copied into new storage that is not zeroed first; the difference to the
// vector above is the price of std::vector's value-initialisation.
void memcpyIntoNewUninitialisedStorage(benchmark::State& state) {
    const std::string& bytes = streamBytes();
    for (auto _ : state) {
        const std::unique_ptr<double[]> numbers(new double[ELEMENT_COUNT]);
        std::memcpy(numbers.get(), bytes.data() + HEADER_BYTES, ELEMENT_COUNT * sizeof(double));
        benchmark::DoNotOptimize(numbers.get());
    }
    setBytesProcessed(state);
}
BENCHMARK(memcpyIntoNewUninitialisedStorage)->Unit(benchmark::kMillisecond);

template <typename Stream>
void readSharedVector(benchmark::State& state, Stream& stream) {
    for (auto _ : state) {
        stream.clear();
        stream.seekg(0);
        pellium::SerialReader reader(stream);
        std::shared_ptr<std::vector<double>> numbers;
        if (!reader.readSharedPrimitiveVector(numbers) || numbers->size() != ELEMENT_COUNT) {
            state.SkipWithError("reading failed");
            break;
        }
        benchmark::DoNotOptimize(numbers->data());
    }
    setBytesProcessed(state);
}

void readFromIstringstream(benchmark::State& state) {
    std::istringstream stream(streamBytes());
    readSharedVector(state, stream);
}
BENCHMARK(readFromIstringstream)->Unit(benchmark::kMillisecond);

void readFromStringstream(benchmark::State& state) {
    std::stringstream stream(streamBytes());
    readSharedVector(state, stream);
}
BENCHMARK(readFromStringstream)->Unit(benchmark::kMillisecond);

void readFromMemoryInputStream(benchmark::State& state) {
    pellium::MemoryInputStream stream(streamBytes());
    readSharedVector(state, stream);
}
BENCHMARK(readFromMemoryInputStream)->Unit(benchmark::kMillisecond);

// Reading into a vector whose storage already exists (a column read again), which pays no page faults.
void readIntoExistingVector(benchmark::State& state) {
    pellium::MemoryInputStream stream(streamBytes());
    std::vector<double> numbers;
    for (auto _ : state) {
        stream.clear();
        stream.seekg(3);  // past "V", 1, "f": the body alone
        pellium::SerialReader reader(stream);
        if (!reader.readPrimitiveVectorBody(numbers) || numbers.size() != ELEMENT_COUNT) {
            state.SkipWithError("reading failed");
            break;
        }
        benchmark::DoNotOptimize(numbers.data());
    }
    setBytesProcessed(state);
}
BENCHMARK(readIntoExistingVector)->Unit(benchmark::kMillisecond);

// A stream that cannot seek, as a pipe: the reader grows the vector chunk by chunk.
class UnseekableBuffer : public std::streambuf {
public:
    explicit UnseekableBuffer(const std::string& bytes) {
        char* begin = const_cast<char*>(bytes.data());
        setg(begin, begin, begin + bytes.size());
    }
};

void readFromUnseekableStream(benchmark::State& state) {
    for (auto _ : state) {
        UnseekableBuffer buffer(streamBytes());
        std::istream stream(&buffer);
        pellium::SerialReader reader(stream);
        std::shared_ptr<std::vector<double>> numbers;
        if (!reader.readSharedPrimitiveVector(numbers) || numbers->size() != ELEMENT_COUNT) {
            state.SkipWithError("reading failed");
            break;
        }
        benchmark::DoNotOptimize(numbers->data());
    }
    setBytesProcessed(state);
}
BENCHMARK(readFromUnseekableStream)->Unit(benchmark::kMillisecond);

}  // namespace
