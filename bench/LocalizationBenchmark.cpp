// Cost of a localised text look-up, the path a cell's display text takes on every call
// (current context -> fallback chain -> loaded bundle), against a plain map look-up.

#include <benchmark/benchmark.h>
#include <map>
#include <memory>
#include <string>

#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace {

using pellium::LocalizationContext;
using pellium::ResourceManager;

// Baseline: one ordered-map look-up of a key of the same length, handing out a shared text.
void BM_BaselineMapFind(benchmark::State& state) {
    std::map<std::string, std::shared_ptr<const std::string>, std::less<>> texts;
    for (const char* key : {"ALL_OTHER.txt", "suppressed.txt", "missingValue.txt", "DATASET_NO_NAME.txt"}) {
        texts.emplace(key, std::make_shared<const std::string>("text"));
    }
    for (auto _ : state) {
        auto found = texts.find(std::string_view("missingValue.txt"))->second;
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK(BM_BaselineMapFind)->ThreadRange(1, 2);

void BM_GetCurrentContext(benchmark::State& state) {
    for (auto _ : state) {
        auto context = ResourceManager::instance().getCurrentContext();
        benchmark::DoNotOptimize(context);
    }
}
BENCHMARK(BM_GetCurrentContext)->ThreadRange(1, 2);

// Found in the first bundle of the chain (en_US).
void BM_ContextGetStringEnUs(benchmark::State& state) {
    const auto context = LocalizationContext::create("en_US");
    for (auto _ : state) {
        auto text = context->getString("vek_pellium", "missingValue.txt");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_ContextGetStringEnUs)->ThreadRange(1, 2);

// Found only in the last bundle of the chain: ar_SA (absent), ar (lacks the key), en_US.
void BM_ContextGetStringArSaFallingBackToEnUs(benchmark::State& state) {
    const auto context = LocalizationContext::create("ar_SA");
    for (auto _ : state) {
        auto text = context->getString("vek_pellium", "COLUMN_NO_NAME.txt");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_ContextGetStringArSaFallingBackToEnUs)->ThreadRange(1, 2);

// The whole road of a missing cell's display text.
void BM_DisplayTextThroughCurrentContext(benchmark::State& state) {
    for (auto _ : state) {
        auto text = ResourceManager::instance().getCurrentContext()->getString("vek_pellium", "missingValue.txt");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_DisplayTextThroughCurrentContext)->ThreadRange(1, 2);

}  // namespace
