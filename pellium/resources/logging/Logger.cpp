#include "pellium/resources/logging/Logger.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace pellium {

namespace {

struct LoggerState {
    std::mutex mutex;
    // One bit per enabled level, read without the lock; written under it.
    std::atomic<std::uint32_t> enabledLevels{0};
    std::shared_ptr<const LoggingConfiguration> configuration;
    Logger::Sink sink;
    std::string logFilePath;
    std::FILE* logFile = nullptr;
};

// Set while this thread runs the sink, whose own log calls would otherwise wait for the lock that
// this thread holds.
thread_local bool isInsideSink = false;

std::uint32_t enabledLevelsOf(const LoggingConfiguration& configuration) {
    std::uint32_t bits = 0;
    for (const LogLevel::type level : LogLevel::allValues()) {
        if (configuration.isEnabled(level)) {
            bits |= 1U << static_cast<std::uint32_t>(level);
        }
    }
    return bits;
}

void closeLogFile(LoggerState& state) {
    if (state.logFile != nullptr) {
        std::fclose(state.logFile);
        state.logFile = nullptr;
    }
    state.logFilePath.clear();
}

/// Installs `configuration` and opens its log file unless it is open already. Answers the message
/// to report when the file cannot be opened, else an empty text. Called under the lock.
std::string install(LoggerState& state, std::shared_ptr<const LoggingConfiguration> configuration) {
    std::string problem;
    const std::string& path = configuration->getLogFile();
    // A file that failed to open has no recorded path, so configuring it again tries again.
    if (path != state.logFilePath) {
        closeLogFile(state);
        if (!path.empty()) {
            state.logFile = std::fopen(path.c_str(), "a");
            if (state.logFile == nullptr) {
                problem = "Cannot open the log file " + path + ": " + std::strerror(errno);
            } else {
                state.logFilePath = path;
            }
        }
    }
    state.enabledLevels.store(enabledLevelsOf(*configuration), std::memory_order_release);
    state.configuration = std::move(configuration);
    return problem;
}

LoggerState& loggerState() {
    // Never destroyed: objects destroyed at process exit may still log, after every static object
    // of this library could have been torn down.
    static LoggerState& state = []() -> LoggerState& {
        auto* created = new LoggerState();
        install(*created, LoggingConfiguration::create());
        return *created;
    }();
    return state;
}

void appendTimestamp(std::string& line) {
    using namespace std::chrono;
    const auto now = time_point_cast<milliseconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    char text[40];
    const int length =
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ ", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                      static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    if (length > 0) {
        line.append(text, static_cast<std::size_t>(length));
    }
}

/// Appends `message` with its control characters escaped, so that one message stays one line.
void appendEscaped(std::string& line, std::string_view message) {
    for (const char character : message) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != 0x7F) {
            line.push_back(character);
        } else if (character == '\n') {
            line.append("\\n");
        } else if (character == '\r') {
            line.append("\\r");
        } else if (character == '\t') {
            line.append("\\t");
        } else {
            static constexpr char hexDigits[] = "0123456789ABCDEF";
            line.append("\\x");
            line.push_back(hexDigits[byte >> 4]);
            line.push_back(hexDigits[byte & 0x0F]);
        }
    }
}

std::string formatLine(bool withTimestamp, LogLevel::type level, std::string_view message) {
    std::string line;
    line.reserve(message.size() + 48);
    if (withTimestamp) {
        appendTimestamp(line);
    }
    line.append(LogLevel::getStringFromValue(level));
    line.append(": ");
    appendEscaped(line, message);
    return line;
}

void writeLine(std::FILE* output, std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), output);
    std::fflush(output);
}

void callSink(const Logger::Sink& sink, LogLevel::type level, std::string_view message, std::string_view line) {
    isInsideSink = true;
    try {
        sink(level, message, line);
    } catch (...) {
        // A failing sink must not turn a log call into a failure of the code that logged.
    }
    isInsideSink = false;
}

}  // namespace

void Logger::configure(std::string_view iniText) {
    configure(LoggingConfiguration::createFromText(iniText));
}

void Logger::configure(std::shared_ptr<const LoggingConfiguration> configuration) {
    if (isInsideSink) {
        return;
    }
    if (configuration == nullptr) {
        configuration = LoggingConfiguration::create();
    }
    const std::size_t linesNotUnderstood = configuration->getNumberOfLinesNotUnderstood();
    const std::size_t firstLineNotUnderstood = configuration->getFirstLineNotUnderstood();
    std::string problem;
    {
        LoggerState& state = loggerState();
        const std::lock_guard lock(state.mutex);
        problem = install(state, std::move(configuration));
    }
    // Reported after the lock is released: reporting takes it again.
    if (!problem.empty()) {
        error(problem);
    }
    if (linesNotUnderstood > 0) {
        logLazily(LogLevel::WARNING, [&] {
            return "The logging configuration has " + std::to_string(linesNotUnderstood) +
                   " line(s) that were not understood and were skipped; the first is line " +
                   std::to_string(firstLineNotUnderstood) + ".";
        });
    }
}

std::shared_ptr<const LoggingConfiguration> Logger::getConfiguration() {
    LoggerState& state = loggerState();
    const std::lock_guard lock(state.mutex);
    return state.configuration;
}

void Logger::restoreDefaults() {
    setSink({});
    configure(std::shared_ptr<const LoggingConfiguration>());
}

void Logger::setSink(Sink sink) {
    if (isInsideSink) {
        return;
    }
    LoggerState& state = loggerState();
    const std::lock_guard lock(state.mutex);
    state.sink = std::move(sink);
}

bool Logger::isEnabled(LogLevel::type level) {
    const auto bit = static_cast<std::uint32_t>(level);
    return bit < LogLevel::NUMBER_OF_VALUES &&
           ((loggerState().enabledLevels.load(std::memory_order_relaxed) >> bit) & 1U) != 0;
}

void Logger::log(LogLevel::type level, std::string_view message) {
    if (!isEnabled(level) || isInsideSink) {
        return;
    }
    LoggerState& state = loggerState();
    const std::lock_guard lock(state.mutex);
    const LoggingConfiguration& configuration = *state.configuration;
    // The configuration may have changed since the unlocked check.
    if (!configuration.isEnabled(level)) {
        return;
    }
    std::string line = formatLine(configuration.hasTimestamps(), level, message);
    if (state.sink) {
        callSink(state.sink, level, message, line);
        return;
    }
    line.push_back('\n');
    if (configuration.writesToConsole(level)) {
        writeLine(stderr, line);
    }
    if (configuration.writesToLogFile(level) && state.logFile != nullptr) {
        writeLine(state.logFile, line);
    }
}

}  // namespace pellium
