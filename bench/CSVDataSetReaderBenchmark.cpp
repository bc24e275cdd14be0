// Loading a CSV of 1,000,000 rows and 6 columns: three numeric (integers, prices with two
// decimals, measurements with many digits) and three string columns of 10, 1,000 and 10,000
// distinct texts. Compared with the raw passes any CSV reader must make over the same bytes:
// counting the line feeds (memory bandwidth) and splitting the records into fields.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "pellium/models/data/dataset/DataSet.h"
#include "pellium/parsers/CSVDataSetReader.h"
#include "pellium/parsers/CSVRecordScanner.h"

namespace {

constexpr std::size_t ROW_COUNT = 1'000'000;

std::vector<std::string> makeWords(const char* prefix, std::size_t count) {
    std::vector<std::string> words;
    for (std::size_t index = 0; index < count; ++index) {
        words.push_back(prefix + std::to_string(index * 7919 % 100000));
    }
    return words;
}

const std::string& csvText() {
    static const std::string text = [] {
        std::mt19937_64 random(42);
        const auto regions = makeWords("Region ", 10);
        const auto products = makeWords("Product-", 1000);
        const auto customers = makeWords("Customer ", 10000);
        std::string csv = "id,region,price,product,measure,customer\n";
        csv.reserve(ROW_COUNT * 64);
        char number[64];
        for (std::size_t row = 0; row < ROW_COUNT; ++row) {
            csv += std::to_string(row);
            csv += ',';
            csv += regions[random() % regions.size()];
            csv += ',';
            std::snprintf(number, sizeof(number), "%.2f", static_cast<double>(random() % 100000) / 100);
            csv += number;
            csv += ',';
            csv += products[random() % products.size()];
            csv += ',';
            std::snprintf(number, sizeof(number), "%.9g", std::ldexp(static_cast<double>(random() >> 11), -40));
            csv += number;
            csv += ',';
            csv += customers[random() % customers.size()];
            csv += '\n';
        }
        return csv;
    }();
    return text;
}

// The text written to a temporary file, removed when the program ends.
class CSVFile {
public:
    CSVFile() : path_(std::filesystem::temp_directory_path() / ("pellium-bench-" + std::to_string(getpid()) + ".csv")) {
        std::ofstream(path_, std::ios::binary).write(csvText().data(), static_cast<std::streamsize>(csvText().size()));
    }
    ~CSVFile() { std::filesystem::remove(path_); }

    std::string path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

const std::string& csvFile() {
    static const CSVFile file;
    static const std::string path = file.path();
    return path;
}

void setBytesProcessed(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * csvText().size()));
}

// Baseline: one pass over the bytes that finds every line feed.
void countLineFeeds(benchmark::State& state) {
    const std::string& text = csvText();
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::count(text.begin(), text.end(), '\n'));
    }
    setBytesProcessed(state);
}
BENCHMARK(countLineFeeds)->Unit(benchmark::kMillisecond);

// The splitting alone: records and fields found, nothing converted or stored.
void scanRecords(benchmark::State& state) {
    const std::string& text = csvText();
    const pellium::CSVRecordScanner scanner(',', std::size_t{16} << 20);
    std::vector<pellium::CSVField> fields;
    for (auto _ : state) {
        std::string_view rest = text;
        std::size_t records = 0;
        for (auto scan = scanner.scan(rest, true, fields); scan.status == pellium::CSVRecordScanner::Status::RECORD;
             scan = scanner.scan(rest, true, fields)) {
            rest.remove_prefix(scan.consumed);
            ++records;
        }
        benchmark::DoNotOptimize(records);
    }
    setBytesProcessed(state);
}
BENCHMARK(scanRecords)->Unit(benchmark::kMillisecond);

void readText(benchmark::State& state) {
    const std::string& text = csvText();
    for (auto _ : state) {
        const auto result = pellium::CSVDataSetReader::readText(text);
        if (!result || result.dataSet->getNumberOfRows() != static_cast<std::int32_t>(ROW_COUNT)) {
            state.SkipWithError(result.message.c_str());
            break;
        }
    }
    setBytesProcessed(state);
}
BENCHMARK(readText)->Unit(benchmark::kMillisecond);

void readFile(benchmark::State& state) {
    const std::string& path = csvFile();
    for (auto _ : state) {
        const auto result = pellium::CSVDataSetReader::readFile(path);
        if (!result || result.dataSet->getNumberOfRows() != static_cast<std::int32_t>(ROW_COUNT)) {
            state.SkipWithError(result.message.c_str());
            break;
        }
    }
    setBytesProcessed(state);
}
BENCHMARK(readFile)->Unit(benchmark::kMillisecond);

// A column that looks numeric until its last row: the source is read a second time for the texts.
void readTextWithALateTextColumn(benchmark::State& state) {
    static const std::string text = [] {
        const std::string& source = csvText();
        std::string late;
        late.reserve(source.size() + ROW_COUNT * 5);
        std::size_t position = 0;
        for (std::size_t line = 0; position < source.size(); ++line) {
            const std::size_t end = source.find('\n', position);
            late.append(source, position, end - position);
            if (line == 0) {
                late += ",late";
            } else if (line == ROW_COUNT) {
                late += ",text";
            } else {
                late += ',';
                late += std::to_string(line % 1000);
            }
            late += '\n';
            position = end + 1;
        }
        return late;
    }();
    for (auto _ : state) {
        const auto result = pellium::CSVDataSetReader::readText(text);
        if (!result) {
            state.SkipWithError(result.message.c_str());
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(readTextWithALateTextColumn)->Unit(benchmark::kMillisecond);

// 1,000,000 ISO dates of ten years in random order, read by their date format, as report data
// keeps its dates: what reading a date costs when texts repeat.
void readTextWithADateColumn(benchmark::State& state) {
    static const std::string text = [] {
        std::mt19937_64 random(42);
        std::string csv = "date\n";
        char date[16];
        for (std::size_t row = 0; row < ROW_COUNT; ++row) {
            std::snprintf(date, sizeof(date), "%d-%02d-%02d\n", 2015 + static_cast<int>(random() % 10),
                          1 + static_cast<int>(random() % 12), 1 + static_cast<int>(random() % 28));
            csv += date;
        }
        return csv;
    }();
    pellium::CSVDataSetReader::Options options;
    options.columnDefinitions.push_back({"date", pellium::DataType::NUMERIC, "YYMMDD10."});
    for (auto _ : state) {
        const auto result = pellium::CSVDataSetReader::readText(text, options);
        if (!result) {
            state.SkipWithError(result.message.c_str());
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(readTextWithADateColumn)->Unit(benchmark::kMillisecond);

}  // namespace
