#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "pellium/Export.h"
#include "pellium/resources/logging/LogLevel.h"

namespace pellium {

/// Where each section of the log goes, read from an INI text. The `Logger` holds one; hosts make
/// one from their own file to change what is logged.
///
/// The text has a [GENERAL] section and one section per level or special section:
///
///     [GENERAL]
///     logfile=/var/log/viewer.log   ; the log file; empty: no log file
///     loglevel=INFO                 ; ERROR, WARNING, INFO or DEBUG: the most detailed level written
///     timestamp=true                ; start each line with the UTC time (true/false, yes/no, on/off, 1/0)
///     [ERROR]
///     output=console, logfile       ; any of console and logfile, comma separated; empty: nowhere
///     [PERFORMANCE]
///     output=logfile
///
/// Section names, keys and the words of values are read without regard to case. A line whose
/// first non-blank character is ';' or '#' is a comment, as is the rest of a line from a ';' or
/// '#' that follows a blank; a value in double quotes keeps such characters. Lines may end in LF,
/// CRLF or CR. Unknown sections and keys are ignored, so that newer files still load; a line that
/// cannot be read, a known key with a value that is not understood, and the keys under a malformed
/// section header are skipped and counted. Whatever the text does not set keeps its default: no
/// log file, level WARNING, timestamps on, the four levels to the console, the special sections
/// nowhere.
class PELLIUM_EXPORT LoggingConfiguration {
public:
    /// The configuration compiled into the library (assets/logging/pellium.ini).
    static std::shared_ptr<LoggingConfiguration> create();

    /// The defaults changed by whatever `iniText` sets. Never fails: see the class comment for
    /// what is skipped.
    static std::shared_ptr<LoggingConfiguration> createFromText(std::string_view iniText);

    /// The path of the log file; empty when there is none.
    const std::string& getLogFile() const { return logFile; }

    /// The most detailed level of severity that is written (ERROR, WARNING, INFO or DEBUG).
    LogLevel::type getLogLevel() const { return logLevel; }

    bool hasTimestamps() const { return timestamps; }

    /// Whether messages of `level` go to the console (standard error).
    bool writesToConsole(LogLevel::type level) const;

    /// Whether messages of `level` go to the log file; false when no log file is named.
    bool writesToLogFile(LogLevel::type level) const;

    /// Whether messages of `level` are written anywhere: a level of severity must be within the
    /// configured level, and every section needs an output. False for a number that is no level.
    bool isEnabled(LogLevel::type level) const;

    /// How many lines were skipped or held a value that was not understood.
    std::size_t getNumberOfLinesNotUnderstood() const { return numberOfLinesNotUnderstood; }

    /// The number, counting from 1, of the first such line; 0 when there was none.
    std::size_t getFirstLineNotUnderstood() const { return firstLineNotUnderstood; }

private:
    class Reader;

    // Bits of a section's outputs.
    static constexpr std::uint8_t NO_OUTPUT = 0;
    static constexpr std::uint8_t CONSOLE = 1;
    static constexpr std::uint8_t LOG_FILE = 2;

    LoggingConfiguration();

    std::uint8_t getOutputs(LogLevel::type level) const;

    std::string logFile;
    LogLevel::type logLevel = LogLevel::WARNING;
    bool timestamps = true;
    std::array<std::uint8_t, LogLevel::NUMBER_OF_VALUES> outputs{};
    std::size_t numberOfLinesNotUnderstood = 0;
    std::size_t firstLineNotUnderstood = 0;
};

}  // namespace pellium
