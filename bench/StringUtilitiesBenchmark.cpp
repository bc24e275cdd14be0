// Interning and number texts against the standard baselines, in the same run: an intern hit
// against a find in an std::unordered_set<std::string>, and createStringFromDouble against
// snprintf("%.17g") (which is not the shortest text, only the usual round-trip idiom).
#include <benchmark/benchmark.h>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "pellium/util/StringUtilities.h"

namespace {

using pellium::StringUtilities;

constexpr std::size_t TEXT_COUNT = 4096;

const std::vector<std::string>& texts() {
    static const std::vector<std::string> values = [] {
        std::vector<std::string> result;
        for (std::size_t index = 0; index < TEXT_COUNT; ++index) {
            result.push_back("Region " + std::to_string(index * 7919) + " / Product line");
        }
        return result;
    }();
    return values;
}

const std::vector<double>& doubles() {
    static const std::vector<double> values = [] {
        std::mt19937_64 random(17);
        std::lognormal_distribution<double> magnitude(0.0, 6.0);
        std::vector<double> result(TEXT_COUNT);
        for (double& value : result) {
            value = magnitude(random) * ((random() & 1) != 0 ? -1.0 : 1.0);
        }
        return result;
    }();
    return values;
}

void BM_UnorderedSetFind(benchmark::State& state) {
    const std::unordered_set<std::string> set(texts().begin(), texts().end());
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(set.find(texts()[index++ % TEXT_COUNT]));
    }
}
BENCHMARK(BM_UnorderedSetFind);

void BM_InternStringHit(benchmark::State& state) {
    for (const auto& text : texts()) {
        StringUtilities::internString(text);
    }
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringUtilities::internString(std::string_view(texts()[index++ % TEXT_COUNT])));
    }
}
BENCHMARK(BM_InternStringHit)->Threads(1)->Threads(2);

void BM_Snprintf17g(benchmark::State& state) {
    std::size_t index = 0;
    char buffer[32];
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%.17g", doubles()[index++ % TEXT_COUNT]));
        benchmark::DoNotOptimize(buffer);
    }
}
BENCHMARK(BM_Snprintf17g);

void BM_CreateStringFromDouble(benchmark::State& state) {
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringUtilities::createStringFromDouble(doubles()[index++ % TEXT_COUNT]));
    }
}
BENCHMARK(BM_CreateStringFromDouble);

void BM_Strtod(benchmark::State& state) {
    std::vector<std::string> numbers;
    for (const double value : doubles()) {
        numbers.push_back(StringUtilities::createStringFromDouble(value));
    }
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::strtod(numbers[index++ % TEXT_COUNT].c_str(), nullptr));
    }
}
BENCHMARK(BM_Strtod);

void BM_CreateDoubleFromString(benchmark::State& state) {
    std::vector<std::string> numbers;
    for (const double value : doubles()) {
        numbers.push_back(StringUtilities::createStringFromDouble(value));
    }
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(StringUtilities::createDoubleFromString(numbers[index++ % TEXT_COUNT]));
    }
}
BENCHMARK(BM_CreateDoubleFromString);

}  // namespace
