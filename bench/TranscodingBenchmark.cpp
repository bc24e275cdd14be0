// Base64 throughput on a 64 MiB buffer, next to memcpy of the same bytes as the ceiling.
// Bytes processed are counted on the binary side, so the GB/s of encode, decode and memcpy
// compare directly.
#include <benchmark/benchmark.h>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pellium/util/TranscodingUtilities.h"

namespace {

constexpr std::size_t BYTE_COUNT = 64 << 20;

const std::string& randomBytes() {
    static const std::string bytes = [] {
        std::mt19937_64 random(64);
        std::string result(BYTE_COUNT, '\0');
        for (std::size_t index = 0; index + 8 <= result.size(); index += 8) {
            const auto word = random();
            std::memcpy(result.data() + index, &word, sizeof word);
        }
        return result;
    }();
    return bytes;
}

const std::string& encodedText() {
    static const std::string text = pellium::TranscodingUtilities::encodeBase64(randomBytes());
    return text;
}

void BM_Memcpy(benchmark::State& state) {
    const std::string& source = randomBytes();
    std::vector<char> target(source.size());
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * source.size()));
}
BENCHMARK(BM_Memcpy)->Unit(benchmark::kMillisecond);

void BM_EncodeBase64(benchmark::State& state) {
    const std::string& source = randomBytes();
    for (auto _ : state) {
        std::string text = pellium::TranscodingUtilities::encodeBase64(source);
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * source.size()));
}
BENCHMARK(BM_EncodeBase64)->Unit(benchmark::kMillisecond);

void BM_DecodeBase64(benchmark::State& state) {
    const std::string& text = encodedText();
    std::vector<std::byte> bytes;
    for (auto _ : state) {
        const bool ok = pellium::TranscodingUtilities::decodeBase64(text, bytes);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * BYTE_COUNT));
}
BENCHMARK(BM_DecodeBase64)->Unit(benchmark::kMillisecond);

// A server text broken into lines of 76 characters takes the joining path.
void BM_DecodeBase64WithLineBreaks(benchmark::State& state) {
    static const std::string broken = [] {
        const std::string& text = encodedText();
        std::string result;
        result.reserve(text.size() + text.size() / 76 * 2 + 2);
        for (std::size_t start = 0; start < text.size(); start += 76) {
            result.append(text, start, 76).append("\r\n");
        }
        return result;
    }();
    std::vector<std::byte> bytes;
    for (auto _ : state) {
        const bool ok = pellium::TranscodingUtilities::decodeBase64(broken, bytes);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * BYTE_COUNT));
}
BENCHMARK(BM_DecodeBase64WithLineBreaks)->Unit(benchmark::kMillisecond);

}  // namespace
