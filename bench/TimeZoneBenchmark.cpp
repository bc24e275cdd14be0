// What a time-zone offset costs: TimeZone::getOffset for UTC and for wall-clock times, against the
// C library (localtime_r for UTC, mktime for wall-clock times, with TZ set to the zone) and, when
// it is installed, Howard Hinnant's date/tz library (time_zone::get_info). Random times from 1970
// to 2037 in 20 zones; each benchmark iteration answers 1024 times of one zone, the zones taken in
// turn. The counter "per_call" is the time of one answer.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/util/TimeUtilities.h"
#include "pellium/util/TimeZone.h"
#include "pellium/util/ZoneDataReader.h"

#ifdef PELLIUM_BENCH_WITH_DATE_TZ
#include <date/tz.h>
#endif

namespace {

constexpr std::size_t BATCH = 1024;

const std::vector<std::string> ZONE_IDS = {
    "America/New_York",  "Europe/Berlin",   "Asia/Tokyo",          "Australia/Sydney",    "America/Sao_Paulo",
    "Asia/Kolkata",      "Africa/Cairo",    "Europe/London",       "America/Los_Angeles", "Asia/Shanghai",
    "Europe/Moscow",     "America/Chicago", "Pacific/Auckland",    "Asia/Tehran",         "America/Santiago",
    "Africa/Casablanca", "Europe/Dublin",   "Australia/Lord_Howe", "America/St_Johns",    "Asia/Jerusalem"};

// Per zone, BATCH random Unix times from 1970 to 2037 and the wall-clock readings of the same
// instants (Unix time plus the zone's offset then).
struct Workload {
    std::vector<std::vector<std::int64_t>> universalTimes;
    std::vector<std::vector<std::int64_t>> wallTimes;
};

const Workload& workload() {
    static const Workload data = [] {
        Workload built;
        std::mt19937_64 random(2018);
        std::uniform_int_distribution<std::int64_t> times(0, 2145916799);
        for (const std::string& id : ZONE_IDS) {
            const auto zone = pellium::TimeZone::create(id);
            std::vector<std::int64_t>& universal = built.universalTimes.emplace_back();
            std::vector<std::int64_t>& wall = built.wallTimes.emplace_back();
            for (std::size_t index = 0; index < BATCH; ++index) {
                const std::int64_t time = times(random);
                universal.push_back(time);
                wall.push_back(time + static_cast<std::int64_t>(zone->getOffset(
                                          pellium::TimeUtilities::fromUnixTime(static_cast<double>(time)),
                                          pellium::DateType::Universal)));
            }
        }
        return built;
    }();
    return data;
}

void countCalls(benchmark::State& state) {
    state.counters["per_call"] = benchmark::Counter(static_cast<double>(state.iterations() * BATCH),
                                                    benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void setZoneOfCLibrary(const std::string& id) {
    ::setenv("TZ", (":" + id).c_str(), 1);
    ::tzset();
}

template <pellium::DateType::type CLOCK>
void pelliumGetOffset(benchmark::State& state) {
    const Workload& data = workload();
    const std::vector<std::vector<std::int64_t>>& times =
        CLOCK == pellium::DateType::Wall ? data.wallTimes : data.universalTimes;
    std::vector<std::shared_ptr<pellium::TimeZone>> zones;
    std::vector<std::vector<double>> libraryTimes;
    for (std::size_t index = 0; index < ZONE_IDS.size(); ++index) {
        zones.push_back(pellium::TimeZone::create(ZONE_IDS[index]));
        std::vector<double>& converted = libraryTimes.emplace_back();
        for (const std::int64_t time : times[index]) {
            converted.push_back(pellium::TimeUtilities::fromUnixTime(static_cast<double>(time)));
        }
    }
    std::size_t zone = 0;
    for (auto _ : state) {
        double sum = 0;
        const pellium::TimeZone& timeZone = *zones[zone];
        for (const double time : libraryTimes[zone]) {
            sum += timeZone.getOffset(time, CLOCK);
        }
        benchmark::DoNotOptimize(sum);
        zone = (zone + 1) % zones.size();
    }
    countCalls(state);
}
BENCHMARK(pelliumGetOffset<pellium::DateType::Universal>)->Name("TimeZone::getOffset/Universal");
BENCHMARK(pelliumGetOffset<pellium::DateType::Wall>)->Name("TimeZone::getOffset/Wall");

void cLibraryLocaltime(benchmark::State& state) {
    const Workload& data = workload();
    std::size_t zone = 0;
    for (auto _ : state) {
        state.PauseTiming();
        setZoneOfCLibrary(ZONE_IDS[zone]);
        state.ResumeTiming();
        long sum = 0;
        for (const std::int64_t time : data.universalTimes[zone]) {
            const auto unixTime = static_cast<std::time_t>(time);
            std::tm local{};
            localtime_r(&unixTime, &local);
            sum += local.tm_gmtoff;
        }
        benchmark::DoNotOptimize(sum);
        zone = (zone + 1) % ZONE_IDS.size();
    }
    countCalls(state);
}
BENCHMARK(cLibraryLocaltime)->Name("localtime_r/Universal");

void cLibraryMktime(benchmark::State& state) {
    const Workload& data = workload();
    std::size_t zone = 0;
    for (auto _ : state) {
        state.PauseTiming();
        setZoneOfCLibrary(ZONE_IDS[zone]);
        state.ResumeTiming();
        long sum = 0;
        for (const std::int64_t time : data.wallTimes[zone]) {
            // The wall-clock reading as the fields mktime takes; it answers the instant.
            const auto wallTime = static_cast<std::time_t>(time);
            std::tm local{};
            gmtime_r(&wallTime, &local);
            local.tm_isdst = -1;
            sum += static_cast<long>(time - std::mktime(&local));
        }
        benchmark::DoNotOptimize(sum);
        zone = (zone + 1) % ZONE_IDS.size();
    }
    countCalls(state);
}
BENCHMARK(cLibraryMktime)->Name("mktime/Wall");

#ifdef PELLIUM_BENCH_WITH_DATE_TZ
void dateTzSystemTime(benchmark::State& state) {
    const Workload& data = workload();
    std::vector<const date::time_zone*> zones;
    for (const std::string& id : ZONE_IDS) {
        zones.push_back(date::locate_zone(id));
    }
    std::size_t zone = 0;
    for (auto _ : state) {
        std::int64_t sum = 0;
        const date::time_zone& timeZone = *zones[zone];
        for (const std::int64_t time : data.universalTimes[zone]) {
            sum += timeZone.get_info(date::sys_seconds(std::chrono::seconds(time))).offset.count();
        }
        benchmark::DoNotOptimize(sum);
        zone = (zone + 1) % zones.size();
    }
    countCalls(state);
}
BENCHMARK(dateTzSystemTime)->Name("date::time_zone::get_info/Universal");

void dateTzLocalTime(benchmark::State& state) {
    const Workload& data = workload();
    std::vector<const date::time_zone*> zones;
    for (const std::string& id : ZONE_IDS) {
        zones.push_back(date::locate_zone(id));
    }
    std::size_t zone = 0;
    for (auto _ : state) {
        std::int64_t sum = 0;
        const date::time_zone& timeZone = *zones[zone];
        for (const std::int64_t time : data.wallTimes[zone]) {
            sum += timeZone.get_info(date::local_seconds(std::chrono::seconds(time))).first.offset.count();
        }
        benchmark::DoNotOptimize(sum);
        zone = (zone + 1) % zones.size();
    }
    countCalls(state);
}
BENCHMARK(dateTzLocalTime)->Name("date::time_zone::get_info/Wall");
#endif

// What creating a zone costs: the first time, reading its rows and working out its transitions
// (from a reader of the same texts, which keeps nothing between creations), and then for the
// compiled-in zones, whose definitions are kept once worked out.
void pelliumCreateFirstTime(benchmark::State& state) {
    const auto reader =
        pellium::ZoneDataReader::create(pellium::CompiledAssets::find(pellium::ZoneDataReader::ZONE_ASSET).value(),
                                        pellium::CompiledAssets::find(pellium::ZoneDataReader::SAVING_ASSET).value());
    std::size_t zone = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pellium::TimeZone::create(ZONE_IDS[zone], reader));
        zone = (zone + 1) % ZONE_IDS.size();
    }
}
BENCHMARK(pelliumCreateFirstTime)->Name("TimeZone::create/first");

void pelliumCreateAgain(benchmark::State& state) {
    std::size_t zone = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(pellium::TimeZone::create(ZONE_IDS[zone]));
        zone = (zone + 1) % ZONE_IDS.size();
    }
}
BENCHMARK(pelliumCreateAgain)->Name("TimeZone::create/again");

}  // namespace
