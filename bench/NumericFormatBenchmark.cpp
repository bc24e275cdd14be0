// Cost of formatting one double with DOLLAR12.2 and BEST12. (the result is a new shared string),
// next to snprintf("%.2f") and std::to_chars into a stack buffer, over the same values.
// Argument 0: amounts with cents (123456.78); argument 1: measurements with all 17 digits.
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <random>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace {

const std::vector<double>& values(int kind) {
    static const auto make = [](bool cents) {
        std::mt19937_64 random(42);
        std::uniform_real_distribution<double> magnitude(-1e6, 1e6);
        std::vector<double> result(4096);
        for (auto& value : result) {
            value = magnitude(random);
            if (cents) {
                value = static_cast<double>(static_cast<long long>(value * 100)) / 100;
            }
        }
        return result;
    };
    static const std::vector<double> amounts = make(true);
    static const std::vector<double> measurements = make(false);
    return kind == 0 ? amounts : measurements;
}

void BM_Snprintf2f(benchmark::State& state) {
    const auto& data = values(static_cast<int>(state.range(0)));
    std::size_t index = 0;
    char buffer[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%.2f", data[index]));
        benchmark::ClobberMemory();
        index = (index + 1) % data.size();
    }
}
BENCHMARK(BM_Snprintf2f)->Arg(0)->Arg(1);

void BM_ToCharsShortest(benchmark::State& state) {
    const auto& data = values(static_cast<int>(state.range(0)));
    std::size_t index = 0;
    char buffer[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::to_chars(buffer, buffer + sizeof buffer, data[index]));
        benchmark::ClobberMemory();
        index = (index + 1) % data.size();
    }
}
BENCHMARK(BM_ToCharsShortest)->Arg(0)->Arg(1);

void BM_ToCharsFixed2(benchmark::State& state) {
    const auto& data = values(static_cast<int>(state.range(0)));
    std::size_t index = 0;
    char buffer[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            std::to_chars(buffer, buffer + sizeof buffer, data[index], std::chars_format::fixed, 2));
        benchmark::ClobberMemory();
        index = (index + 1) % data.size();
    }
}
BENCHMARK(BM_ToCharsFixed2)->Arg(0)->Arg(1);

void formatWith(benchmark::State& state, const char* locale, const char* name) {
    const auto& data = values(static_cast<int>(state.range(0)));
    const auto formatter =
        pellium::FormatterFactory::instance()->getFormatter(pellium::LocalizationContext::create(locale), name);
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formatter->format(data[index]));
        index = (index + 1) % data.size();
    }
}

void BM_Dollar12_2(benchmark::State& state) {
    formatWith(state, "en_US", "DOLLAR12.2");
}
BENCHMARK(BM_Dollar12_2)->Arg(0)->Arg(1);

void BM_Best12(benchmark::State& state) {
    formatWith(state, "en_US", "BEST12.");
}
BENCHMARK(BM_Best12)->Arg(0)->Arg(1);

void BM_CurrencyGerman12_2(benchmark::State& state) {
    formatWith(state, "de_DE", "CURRENCY12.2");
}
BENCHMARK(BM_CurrencyGerman12_2)->Arg(0)->Arg(1);

}  // namespace
