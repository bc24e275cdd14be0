// What raising an event costs, against a direct call of the same listener as baseline.
#include <benchmark/benchmark.h>
#include <functional>
#include <memory>

#include "pellium/models/EventDispatcher.h"

namespace {

constexpr int CHANGED = 10046;

void directCallBaseline(benchmark::State& state) {
    int calls = 0;
    const std::function<void(const std::shared_ptr<pellium::Event>&)> listener =
        [&calls](const std::shared_ptr<pellium::Event>&) { ++calls; };
    const auto event = pellium::Event::create(CHANGED);
    for (auto _ : state) {
        listener(event);
        benchmark::DoNotOptimize(calls);
    }
}
BENCHMARK(directCallBaseline);

void raiseWithoutListeners(benchmark::State& state) {
    const auto dispatcher = pellium::EventDispatcher::create();
    for (auto _ : state) {
        dispatcher->dispatchEvent(CHANGED);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(raiseWithoutListeners);

void raiseWithListenersForOtherTypes(benchmark::State& state) {
    const auto dispatcher = pellium::EventDispatcher::create();
    for (int type = 0; type < 4; ++type) {
        dispatcher->addListener(type, [](const std::shared_ptr<pellium::Event>&) {});
    }
    for (auto _ : state) {
        dispatcher->dispatchEvent(CHANGED);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(raiseWithListenersForOtherTypes);

void dispatchMadeEventToOneListener(benchmark::State& state) {
    const auto dispatcher = pellium::EventDispatcher::create();
    int calls = 0;
    dispatcher->addListener(CHANGED, [&calls](const std::shared_ptr<pellium::Event>&) { ++calls; });
    const auto event = pellium::Event::create(CHANGED, dispatcher.get());
    for (auto _ : state) {
        dispatcher->dispatchEvent(event);
        benchmark::DoNotOptimize(calls);
    }
}
BENCHMARK(dispatchMadeEventToOneListener);

void raiseToOneListener(benchmark::State& state) {
    const auto dispatcher = pellium::EventDispatcher::create();
    int calls = 0;
    dispatcher->addListener(CHANGED, [&calls](const std::shared_ptr<pellium::Event>&) { ++calls; });
    for (auto _ : state) {
        dispatcher->dispatchEvent(CHANGED);
        benchmark::DoNotOptimize(calls);
    }
}
BENCHMARK(raiseToOneListener);

void raiseThroughOneRelay(benchmark::State& state) {
    const auto origin = pellium::EventDispatcher::create();
    const auto relay = pellium::EventDispatcher::create();
    relay->relayEventsFrom(origin);
    int calls = 0;
    relay->addListener(CHANGED, [&calls](const std::shared_ptr<pellium::Event>&) { ++calls; });
    const auto event = pellium::Event::create(CHANGED, origin.get());
    for (auto _ : state) {
        origin->dispatchEvent(event);
        benchmark::DoNotOptimize(calls);
    }
}
BENCHMARK(raiseThroughOneRelay);

}  // namespace
