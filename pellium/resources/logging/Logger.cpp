#include "pellium/resources/logging/Logger.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace pellium {

/// What the logger keeps besides its enabled levels, guarded by `mutex`.
struct Logger::State {
    std::mutex mutex;
    std::shared_ptr<const LoggingConfiguration> configuration;
    Sink sink;
    std::string logFilePath;
    std::FILE* logFile = nullptr;

    static State& instance();
    std::string install(std::shared_ptr<const LoggingConfiguration> newConfiguration);
    void closeLogFile();
};

constinit std::atomic<std::uint32_t> Logger::enabledLevels{Logger::NOT_YET_CONFIGURED};

namespace {

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

}  // namespace

Logger::State& Logger::State::instance() {
    // Never destroyed: objects destroyed at process exit may still log, after every static object
    // of this library could have been torn down.
    static State& state = []() -> State& {
        auto* created = new State();
        created->install(LoggingConfiguration::create());
        return *created;
    }();
    return state;
}

void Logger::State::closeLogFile() {
    if (logFile != nullptr) {
        std::fclose(logFile);
        logFile = nullptr;
    }
    logFilePath.clear();
}

/// Installs the configuration and opens its log file unless it is open already. Answers the
/// message to report when the file cannot be opened, else an empty text. Called under the lock,
/// or before the state is shared.
std::string Logger::State::install(std::shared_ptr<const LoggingConfiguration> newConfiguration) {
    std::string problem;
    const std::string& path = newConfiguration->getLogFile();
    // A file that failed to open has no recorded path, so configuring it again tries again.
    if (path != logFilePath) {
        closeLogFile();
        if (!path.empty()) {
            logFile = std::fopen(path.c_str(), "a");
            if (logFile == nullptr) {
                problem = "Cannot open the log file " + path + ": " + std::strerror(errno);
            } else {
                logFilePath = path;
            }
        }
    }
    enabledLevels.store(enabledLevelsOf(*newConfiguration), std::memory_order_release);
    configuration = std::move(newConfiguration);
    return problem;
}

namespace {

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
        State& state = State::instance();
        const std::lock_guard lock(state.mutex);
        problem = state.install(std::move(configuration));
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
    State& state = State::instance();
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
    State& state = State::instance();
    const std::lock_guard lock(state.mutex);
    state.sink = std::move(sink);
}

bool Logger::isEnabledOnFirstUse(LogLevel::type level) {
    // Loading the compiled-in configuration publishes the enabled levels.
    State::instance();
    return isEnabled(level);
}

void Logger::log(LogLevel::type level, std::string_view message) {
    if (!isEnabled(level) || isInsideSink) {
        return;
    }
    State& state = State::instance();
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
