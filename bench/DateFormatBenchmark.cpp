// Cost of formatting 1,000,000 dates with DATE9. and 1,000,000 date-times with DATETIME20. in
// en_US, next to ICU's SimpleDateFormat (same pattern and locale, its UTF-16 text turned into
// UTF-8 as the library hands out) and the C library's gmtime_r + strftime into a stack buffer.
// Argument 0: DATE9. ("ddMMMyyyy"); argument 1: DATETIME20. ("EEEE, MMMM d, yyyy hh:mm:ss a").
// Each iteration formats all the values; the items per second give the cost per value.
#include <benchmark/benchmark.h>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#ifdef PELLIUM_BENCH_WITH_ICU
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#endif

#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/VekCalendarFormat.h"
#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/util/TimeUtilities.h"

namespace {

constexpr std::size_t VALUE_COUNT = 1000000;

struct Case {
    const char* formatName;
    const char* pattern;          // the en_US display pattern of the format
    const char* strftimePattern;  // the nearest C library equivalent
    bool dateTime;
};

const Case cases[] = {
    {"DATE9.", "ddMMMyyyy", "%d%b%Y", false},
    {"DATETIME20.", "EEEE, MMMM d, yyyy hh:mm:ss a", "%A, %B %e, %Y %I:%M:%S %p", true},
};

// Dates from 1900 to 2100 (days) or date-times in them (seconds).
const std::vector<double>& values(bool dateTime) {
    static const auto make = [](bool seconds) {
        std::mt19937_64 random(42);
        std::uniform_int_distribution<int> day(-21915, 51134);
        std::uniform_int_distribution<int> second(0, 86399);
        std::vector<double> result(VALUE_COUNT);
        for (auto& value : result) {
            value = seconds ? day(random) * pellium::TimeUtilities::SECONDS_PER_DAY + second(random) : day(random);
        }
        return result;
    };
    static const std::vector<double> dates = make(false);
    static const std::vector<double> dateTimes = make(true);
    return dateTime ? dateTimes : dates;
}

double toUnixSeconds(double value, bool dateTime) {
    return pellium::TimeUtilities::toUnixTime(dateTime ? value : value * pellium::TimeUtilities::SECONDS_PER_DAY);
}

std::shared_ptr<const pellium::VekCalendarFormat> calendarFormat(const Case& item) {
    const auto formatter = pellium::FormatterFactory::instance()->getFormatter(
        pellium::LocalizationContext::create("en_US"), std::string_view(item.formatName));
    return std::dynamic_pointer_cast<const pellium::VekCalendarFormat>(formatter);
}

void finish(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(VALUE_COUNT));
}

// The whole public path: a new shared string per value.
void BM_PelliumFormat(benchmark::State& state) {
    const Case& item = cases[state.range(0)];
    const auto format = calendarFormat(item);
    const auto& data = values(item.dateTime);
    for (auto _ : state) {
        for (const double value : data) {
            benchmark::DoNotOptimize(format->format(value));
        }
    }
    finish(state);
}
BENCHMARK(BM_PelliumFormat)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The rendering alone, into one reused buffer.
void BM_PelliumFormatTo(benchmark::State& state) {
    const Case& item = cases[state.range(0)];
    const auto format = calendarFormat(item);
    const auto& data = values(item.dateTime);
    std::string text;
    for (auto _ : state) {
        for (const double value : data) {
            text.clear();
            benchmark::DoNotOptimize(format->formatTo(value, text));
            benchmark::ClobberMemory();
        }
    }
    finish(state);
}
BENCHMARK(BM_PelliumFormatTo)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The calendar fields alone (year, month and day of each date), what every date format starts from.
void BM_CalendarFields(benchmark::State& state) {
    const auto& data = values(false);
    for (auto _ : state) {
        for (const double value : data) {
            int year = 0;
            int month = 0;
            int day = 0;
            benchmark::DoNotOptimize(pellium::TimeUtilities::getDate(value, year, month, day));
            benchmark::DoNotOptimize(year + month + day);
        }
    }
    finish(state);
}
BENCHMARK(BM_CalendarFields)->Unit(benchmark::kMillisecond);

void BM_Strftime(benchmark::State& state) {
    const Case& item = cases[state.range(0)];
    const auto& data = values(item.dateTime);
    char buffer[128];
    for (auto _ : state) {
        for (const double value : data) {
            const auto seconds = static_cast<std::time_t>(toUnixSeconds(value, item.dateTime));
            std::tm fields{};
            gmtime_r(&seconds, &fields);
            benchmark::DoNotOptimize(std::strftime(buffer, sizeof buffer, item.strftimePattern, &fields));
            benchmark::ClobberMemory();
        }
    }
    finish(state);
}
BENCHMARK(BM_Strftime)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

#ifdef PELLIUM_BENCH_WITH_ICU
void BM_IcuSimpleDateFormat(benchmark::State& state) {
    const Case& item = cases[state.range(0)];
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat format(icu::UnicodeString(item.pattern), icu::Locale("en_US"), status);
    format.adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
    if (U_FAILURE(status)) {
        state.SkipWithError("ICU could not make the format");
        return;
    }
    const auto& data = values(item.dateTime);
    icu::UnicodeString text;
    std::string utf8;
    for (auto _ : state) {
        for (const double value : data) {
            text.remove();
            format.format(toUnixSeconds(value, item.dateTime) * 1000.0, text);
            utf8.clear();
            text.toUTF8String(utf8);
            benchmark::DoNotOptimize(utf8.data());
            benchmark::ClobberMemory();
        }
    }
    finish(state);
}
BENCHMARK(BM_IcuSimpleDateFormat)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
