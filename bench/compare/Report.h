// How the comparison program times a workload and says what it measured: each workload runs a
// given number of times, and one JSON line per workload and engine goes to standard output for
// the `run` script to put into the table.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

namespace compare {

/// What the workloads of one program run share: the data and how often to repeat.
struct Context {
    std::string csvPath;
    std::uint64_t rowCount = 0;
    /// How many values the formatting and time-zone workloads convert.
    std::uint64_t valueCount = 1'000'000;
    int runs = 5;
    /// When not empty, the only workload timed (for profiling one); the others are left out.
    std::string onlyWorkload;
};

/// One timed run of a workload. It answers a check value that every engine computing the same
/// thing answers too (a row count, a sum), so that the table shows they did the same work.
using Run = std::function<double()>;

/// Times workloads and writes one JSON line for each.
class Report {
public:
    Report(const Context& context, std::ostream& output) : context_(context), output_(output) {}

    /// Runs `run` context.runs times and writes the times in milliseconds and the check value of
    /// the last run. A run that throws is written as a failure with the exception's message.
    void measure(std::string_view workload, std::string_view engine, std::string_view detail, std::uint64_t rowCount,
                 const Run& run);

    /// Writes that `engine` cannot run `workload` in this build, and why.
    void unavailable(std::string_view workload, std::string_view engine, std::string_view reason);

    const Context& context() const { return context_; }
    /// Whether `workload` is timed in this run.
    bool wants(std::string_view workload) const {
        return context_.onlyWorkload.empty() || context_.onlyWorkload == workload;
    }

private:
    void writeHead(std::string_view workload, std::string_view engine);

    const Context& context_;
    std::ostream& output_;
};

/// `text` as a JSON string literal.
std::string jsonString(std::string_view text);

/// The workloads of libPellium, and those of the C and C++ libraries it is compared with.
void addPelliumWorkloads(Report& report);
void addLibraryWorkloads(Report& report);

}  // namespace compare
