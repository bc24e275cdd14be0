#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "pellium/Export.h"
#include "pellium/resources/logging/LogLevel.h"
#include "pellium/resources/logging/LoggingConfiguration.h"

namespace pellium {

/// The library's log: one per process, used from any thread. Messages go to the console
/// (standard error) and the log file that the configuration names for their level, or to a sink
/// that a host or a test installs in place of both.
///
/// Until a host configures it, the log follows the configuration compiled into the library.
/// Asking whether a level is enabled is one atomic read, so a disabled level costs next to
/// nothing; build expensive messages inside `logLazily` or behind `isEnabled`. Writing takes a
/// lock, so that lines from different threads never interleave.
///
/// A line reads "2024-05-01T12:34:56.789Z WARNING: message" (the time in UTC, to the millisecond,
/// only when the configuration asks for timestamps). Control characters in the message are
/// written escaped ("\n", "\r", "\t", "\xHH"), so a message cannot forge further lines.
class PELLIUM_EXPORT Logger {
public:
    /// Receives each enabled message in place of the console and the log file: its level, the
    /// message as given, and the line as it would have been written, without the line end. Called
    /// under the logger's lock, one message at a time, so it needs no locking of its own; it must
    /// not block for long. Messages that it logs itself are dropped, configuring the logger or
    /// changing the sink from inside it has no effect, and an exception it throws is swallowed, so
    /// that a failing sink never fails the code that logged.
    using Sink = std::function<void(LogLevel::type level, std::string_view message, std::string_view line)>;

    Logger() = delete;

    /// Replaces the configuration with one read from `iniText` (see `LoggingConfiguration`). Lines
    /// that were not understood are reported as one WARNING; a log file that cannot be opened is
    /// reported as an ERROR, and its levels then write to their other outputs only.
    static void configure(std::string_view iniText);

    /// Replaces the configuration; null restores the configuration compiled into the library.
    static void configure(std::shared_ptr<const LoggingConfiguration> configuration);

    static std::shared_ptr<const LoggingConfiguration> getConfiguration();

    /// Returns to the state of a fresh process: the compiled-in configuration and no sink.
    static void restoreDefaults();

    /// Sends every enabled message to `sink` instead of the console and the log file; an empty
    /// sink restores them.
    static void setSink(Sink sink);

    /// Whether messages of `level` are written anywhere; false for a number that is no level.
    /// Inline: one relaxed atomic load, a shift and a comparison.
    static bool isEnabled(LogLevel::type level) {
        const std::uint32_t levels = enabledLevels.load(std::memory_order_relaxed);
        if ((levels & NOT_YET_CONFIGURED) != 0) [[unlikely]] {
            return isEnabledOnFirstUse(level);
        }
        const auto bit = static_cast<std::uint32_t>(level);
        return bit < LogLevel::NUMBER_OF_VALUES && ((levels >> bit) & 1U) != 0;
    }

    /// Writes `message` at `level` when that level is enabled.
    static void log(LogLevel::type level, std::string_view message);

    /// Writes the message that `makeMessage()` returns, calling it only when `level` is enabled.
    template <class MakeMessage>
    static void logLazily(LogLevel::type level, MakeMessage&& makeMessage) {
        if (isEnabled(level)) {
            log(level, std::forward<MakeMessage>(makeMessage)());
        }
    }

    static void error(std::string_view message) { log(LogLevel::ERROR, message); }
    static void warning(std::string_view message) { log(LogLevel::WARNING, message); }
    static void info(std::string_view message) { log(LogLevel::INFO, message); }
    static void debug(std::string_view message) { log(LogLevel::DEBUG, message); }

private:
    struct State;

    static bool isEnabledOnFirstUse(LogLevel::type level);

    // Set until the compiled-in configuration has been loaded on first use.
    static constexpr std::uint32_t NOT_YET_CONFIGURED = 1U << 31;
    // One bit per enabled level, read without a lock; written under the lock of the state.
    static std::atomic<std::uint32_t> enabledLevels;
};

}  // namespace pellium
