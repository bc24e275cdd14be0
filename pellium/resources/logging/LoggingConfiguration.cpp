#include "pellium/resources/logging/LoggingConfiguration.h"

#include <optional>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::string_view defaultConfigurationAsset = "logging/pellium.ini";
constexpr std::string_view utf8ByteOrderMark = "\xEF\xBB\xBF";

bool startsComment(char character) {
    return character == ';' || character == '#';
}

/// `text` up to the comment that a ';' or '#' at its start or after a blank begins.
std::string_view withoutComment(std::string_view text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (startsComment(text[index]) && (index == 0 || StringUtilities::isWhiteSpace(text[index - 1]))) {
            return text.substr(0, index);
        }
    }
    return text;
}

bool isBlankOrComment(std::string_view text) {
    const std::string_view trimmed = StringUtilities::trim(text);
    return trimmed.empty() || startsComment(trimmed.front());
}

/// The value of a key: trimmed, without its comment, or the text between double quotes. Empty when
/// a quote is not closed or something other than a comment follows the closing quote.
std::optional<std::string_view> readValue(std::string_view rawValue) {
    const std::string_view trimmed = StringUtilities::trim(rawValue);
    if (trimmed.empty() || trimmed.front() != '"') {
        return StringUtilities::trim(withoutComment(trimmed));
    }
    const std::size_t closingQuote = trimmed.find('"', 1);
    if (closingQuote == std::string_view::npos || !isBlankOrComment(trimmed.substr(closingQuote + 1))) {
        return std::nullopt;
    }
    return trimmed.substr(1, closingQuote - 1);
}

std::optional<bool> readBoolean(std::string_view value) {
    for (const std::string_view word : {"true", "yes", "on", "1"}) {
        if (StringUtilities::equalsIgnoreCase(value, word)) {
            return true;
        }
    }
    for (const std::string_view word : {"false", "no", "off", "0"}) {
        if (StringUtilities::equalsIgnoreCase(value, word)) {
            return false;
        }
    }
    return std::nullopt;
}

}  // namespace

/// Reads an INI text line by line into a configuration that already holds the defaults.
class LoggingConfiguration::Reader {
public:
    explicit Reader(LoggingConfiguration& target) : configuration(target) {}

    void read(std::string_view text) {
        if (text.starts_with(utf8ByteOrderMark)) {
            text.remove_prefix(utf8ByteOrderMark.size());
        }
        std::size_t lineNumber = 0;
        while (!text.empty()) {
            ++lineNumber;
            const std::size_t end = text.find_first_of("\r\n");
            const std::string_view line = text.substr(0, end);
            if (!readLine(line)) {
                noteLineNotUnderstood(lineNumber);
            }
            if (end == std::string_view::npos) {
                break;
            }
            const bool isCrLf = text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n';
            text.remove_prefix(end + (isCrLf ? 2 : 1));
        }
    }

private:
    enum class Section { NONE_YET, MALFORMED, UNKNOWN, GENERAL, LEVEL };

    /// Answers false for a line that was not understood.
    bool readLine(std::string_view line) {
        const std::string_view trimmed = StringUtilities::trim(line);
        if (isBlankOrComment(trimmed)) {
            return true;
        }
        if (trimmed.front() == '[') {
            return readSectionHeader(trimmed);
        }
        return readKeyAndValue(trimmed);
    }

    bool readSectionHeader(std::string_view line) {
        // Until a readable header follows, the keys of a malformed one belong nowhere: applying
        // them to the previous section would misconfigure it.
        section = Section::MALFORMED;
        const std::size_t closingBracket = line.find(']');
        if (closingBracket == std::string_view::npos || !isBlankOrComment(line.substr(closingBracket + 1))) {
            return false;
        }
        const std::string_view name = StringUtilities::trim(line.substr(1, closingBracket - 1));
        if (name.empty()) {
            return false;
        }
        if (StringUtilities::equalsIgnoreCase(name, "GENERAL")) {
            section = Section::GENERAL;
        } else if (const auto level = LogLevel::getValueFromString(name)) {
            section = Section::LEVEL;
            sectionLevel = *level;
        } else {
            section = Section::UNKNOWN;
        }
        return true;
    }

    bool readKeyAndValue(std::string_view line) {
        const std::size_t equalsSign = line.find('=');
        if (equalsSign == std::string_view::npos) {
            return false;
        }
        const std::string_view key = StringUtilities::trim(line.substr(0, equalsSign));
        const auto value = readValue(line.substr(equalsSign + 1));
        if (key.empty() || !value) {
            return false;
        }
        switch (section) {
            case Section::NONE_YET:
            case Section::MALFORMED:
                return false;
            case Section::UNKNOWN:
                return true;
            case Section::GENERAL:
                return readGeneralKey(key, *value);
            case Section::LEVEL:
                return readLevelKey(key, *value);
        }
        return false;
    }

    bool readGeneralKey(std::string_view key, std::string_view value) {
        if (StringUtilities::equalsIgnoreCase(key, "logfile")) {
            // A path cannot hold a NUL byte; taking the text before it would open another file.
            if (value.find('\0') != std::string_view::npos) {
                return false;
            }
            configuration.logFile.assign(value);
            return true;
        }
        if (StringUtilities::equalsIgnoreCase(key, "loglevel")) {
            const auto level = LogLevel::getValueFromString(value);
            if (!level || LogLevel::isSpecialSection(*level)) {
                return false;
            }
            configuration.logLevel = *level;
            return true;
        }
        if (StringUtilities::equalsIgnoreCase(key, "timestamp")) {
            const auto enabled = readBoolean(value);
            if (!enabled) {
                return false;
            }
            configuration.timestamps = *enabled;
            return true;
        }
        return true;
    }

    bool readLevelKey(std::string_view key, std::string_view value) {
        if (!StringUtilities::equalsIgnoreCase(key, "output")) {
            return true;
        }
        // Known destinations apply even when the list also names an unknown one, so that a typo
        // in one name does not silence a section.
        std::uint8_t sectionOutputs = NO_OUTPUT;
        bool understoodEveryName = true;
        while (true) {
            const std::size_t comma = value.find(',');
            const std::string_view name = StringUtilities::trim(value.substr(0, comma));
            if (StringUtilities::equalsIgnoreCase(name, "console")) {
                sectionOutputs |= CONSOLE;
            } else if (StringUtilities::equalsIgnoreCase(name, "logfile")) {
                sectionOutputs |= LOG_FILE;
            } else if (!name.empty() && !StringUtilities::equalsIgnoreCase(name, "none")) {
                understoodEveryName = false;
            }
            if (comma == std::string_view::npos) {
                break;
            }
            value.remove_prefix(comma + 1);
        }
        configuration.outputs[static_cast<std::size_t>(sectionLevel)] = sectionOutputs;
        return understoodEveryName;
    }

    void noteLineNotUnderstood(std::size_t lineNumber) {
        if (configuration.numberOfLinesNotUnderstood++ == 0) {
            configuration.firstLineNotUnderstood = lineNumber;
        }
    }

    LoggingConfiguration& configuration;
    Section section = Section::NONE_YET;
    LogLevel::type sectionLevel = LogLevel::ERROR;
};

LoggingConfiguration::LoggingConfiguration() {
    for (const LogLevel::type level : LogLevel::allValues()) {
        outputs[static_cast<std::size_t>(level)] = LogLevel::isSpecialSection(level) ? NO_OUTPUT : CONSOLE;
    }
}

std::shared_ptr<LoggingConfiguration> LoggingConfiguration::create() {
    return createFromText(CompiledAssets::find(defaultConfigurationAsset).value_or(std::string_view()));
}

std::shared_ptr<LoggingConfiguration> LoggingConfiguration::createFromText(std::string_view iniText) {
    std::shared_ptr<LoggingConfiguration> configuration(new LoggingConfiguration());
    Reader(*configuration).read(iniText);
    return configuration;
}

std::uint8_t LoggingConfiguration::getOutputs(LogLevel::type level) const {
    return LogLevel::isValid(level) ? outputs[static_cast<std::size_t>(level)] : NO_OUTPUT;
}

bool LoggingConfiguration::writesToConsole(LogLevel::type level) const {
    return (getOutputs(level) & CONSOLE) != 0;
}

bool LoggingConfiguration::writesToLogFile(LogLevel::type level) const {
    return (getOutputs(level) & LOG_FILE) != 0 && !logFile.empty();
}

bool LoggingConfiguration::isEnabled(LogLevel::type level) const {
    const bool isWithinLevel = LogLevel::isSpecialSection(level) || level <= logLevel;
    return LogLevel::isValid(level) && isWithinLevel && (writesToConsole(level) || writesToLogFile(level));
}

}  // namespace pellium
