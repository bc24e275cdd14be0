// Cost of resolving an already cached format name, next to one std::map look-up of a similar key.
#include <benchmark/benchmark.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"

namespace {

std::vector<std::string> makeNames() {
    const char* stems[] = {"BEST", "DOLLAR", "DATE", "MMDDYY", "COMMA", "PERCENT", "TIME", "NLMNLEUR"};
    std::vector<std::string> names;
    for (int index = 0; index < 1000; ++index) {
        names.push_back(std::string(stems[index % 8]) + std::to_string(index % 125) + "." + std::to_string(index % 3));
    }
    return names;
}

void BM_CachedFactoryLookup(benchmark::State& state) {
    const auto names = makeNames();
    auto& factory = *pellium::FormatterFactory::instance();
    for (const auto& name : names) {
        factory.getFormatterForFormatName(name);
    }
    std::size_t index = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(factory.getFormatterForFormatName(names[index]));
        index = (index + 7) % names.size();
    }
}
BENCHMARK(BM_CachedFactoryLookup);

void BM_StdMapLookup(benchmark::State& state) {
    const auto names = makeNames();
    std::map<std::string, std::shared_ptr<int>> map;
    for (const auto& name : names) {
        map.emplace(name, std::make_shared<int>(1));
    }
    std::size_t index = 0;
    for (auto _ : state) {
        std::shared_ptr<int> found = map.find(names[index])->second;
        benchmark::DoNotOptimize(found);
        index = (index + 7) % names.size();
    }
}
BENCHMARK(BM_StdMapLookup);

}  // namespace
