// What a log call costs when its level is disabled, against a relaxed atomic load as baseline, and
// what an enabled message costs against formatting it with snprintf.
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <string>

#include "pellium/resources/logging/Logger.h"

namespace {

std::atomic<unsigned> someFlags{3};

void atomicLoadBaseline(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize((someFlags.load(std::memory_order_relaxed) >> 3) & 1U);
    }
}
BENCHMARK(atomicLoadBaseline);

void disabledLevelCheck(benchmark::State& state) {
    pellium::Logger::configure("[GENERAL]\nloglevel=WARNING");
    for (auto _ : state) {
        benchmark::DoNotOptimize(pellium::Logger::isEnabled(pellium::LogLevel::DEBUG));
    }
}
BENCHMARK(disabledLevelCheck);

void disabledLazyMessage(benchmark::State& state) {
    pellium::Logger::configure("[GENERAL]\nloglevel=WARNING");
    for (auto _ : state) {
        pellium::Logger::logLazily(pellium::LogLevel::DEBUG, [] { return std::string("row ") + std::to_string(42); });
    }
}
BENCHMARK(disabledLazyMessage);

void snprintfBaseline(benchmark::State& state) {
    char line[128];
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::snprintf(line, sizeof line, "%s: %s", "INFO", "a message of ordinary length"));
    }
}
BENCHMARK(snprintfBaseline);

void enabledMessageToSink(benchmark::State& state) {
    pellium::Logger::configure(std::string("[GENERAL]\nloglevel=INFO\ntimestamp=") +
                               (state.range(0) != 0 ? "true" : "false"));
    std::size_t bytes = 0;
    pellium::Logger::setSink(
        [&bytes](pellium::LogLevel::type, std::string_view, std::string_view line) { bytes += line.size(); });
    for (auto _ : state) {
        pellium::Logger::info("a message of ordinary length");
    }
    benchmark::DoNotOptimize(bytes);
    pellium::Logger::restoreDefaults();
}
BENCHMARK(enabledMessageToSink)->Arg(0)->Arg(1);

}  // namespace
