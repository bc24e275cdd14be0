#include <cctype>
#include <gtest/gtest.h>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "pellium/resources/files/CompiledAssets.h"
#include "pellium/resources/logging/LoggingConfiguration.h"

namespace pellium {
namespace {

using namespace std::string_literals;

/// One letter per level, in numeric order: 'b' console and log file, 'c' console, 'f' log file,
/// '-' nowhere.
std::string describeOutputs(const LoggingConfiguration& configuration) {
    std::string outputs;
    for (const LogLevel::type level : LogLevel::allValues()) {
        const bool console = configuration.writesToConsole(level);
        const bool file = configuration.writesToLogFile(level);
        outputs.push_back(console && file ? 'b' : console ? 'c' : file ? 'f' : '-');
    }
    return outputs;
}

/// '1' for each enabled level, in numeric order.
std::string describeEnabled(const LoggingConfiguration& configuration) {
    std::string enabled;
    for (const LogLevel::type level : LogLevel::allValues()) {
        enabled.push_back(configuration.isEnabled(level) ? '1' : '0');
    }
    return enabled;
}

struct ReadCase {
    const char* description;
    std::string text;
    LogLevel::type logLevel;
    std::string logFile;
    bool timestamps;
    std::string outputs;  // ERROR WARNING INFO DEBUG PERFORMANCE NETWORK EVENTS
    std::string enabled;
    std::size_t linesNotUnderstood;
    std::size_t firstLineNotUnderstood;
};

void PrintTo(const ReadCase& readCase, std::ostream* output) {
    *output << readCase.description;
}

class LoggingConfigurationReading : public testing::TestWithParam<ReadCase> {};

TEST_P(LoggingConfigurationReading, ReadsWhatItUnderstandsAndCountsTheRest) {
    const ReadCase& expected = GetParam();
    const auto configuration = LoggingConfiguration::createFromText(expected.text);
    EXPECT_EQ(configuration->getLogLevel(), expected.logLevel);
    EXPECT_EQ(configuration->getLogFile(), expected.logFile);
    EXPECT_EQ(configuration->hasTimestamps(), expected.timestamps);
    EXPECT_EQ(describeOutputs(*configuration), expected.outputs);
    EXPECT_EQ(describeEnabled(*configuration), expected.enabled);
    EXPECT_EQ(configuration->getNumberOfLinesNotUnderstood(), expected.linesNotUnderstood);
    EXPECT_EQ(configuration->getFirstLineNotUnderstood(), expected.firstLineNotUnderstood);
}

INSTANTIATE_TEST_SUITE_P(
    LoggingConfiguration, LoggingConfigurationReading,
    testing::Values(
        ReadCase{"empty text keeps the defaults", "", LogLevel::WARNING, "", true, "cccc---", "1100000", 0, 0},
        ReadCase{"comments blanks and the case of names and keys",
                 "; comment\n  # another comment\n\n  [ general ]  ; trailing comment\n"
                 "  LogFile = /tmp/viewer.log   ; where\nLOGLEVEL\t=\tdebug\nTimestamp = NO # not wanted\n"
                 "[Error]\nOutput = Console , LOGFILE\n[warning]\noutput=logfile\n[PERFORMANCE]\noutput = console\n",
                 LogLevel::DEBUG, "/tmp/viewer.log", false, "bfccc--", "1111100", 0, 0},
        ReadCase{"CRLF and lone CR line ends",
                 "[GENERAL]\r\nloglevel=INFO\r\n[INFO]\routput=\r\n[EVENTS]\r\noutput=console\r", LogLevel::INFO, "",
                 true, "cc-c--c", "1100001", 0, 0},
        ReadCase{"a log file output without a log file writes nowhere",
                 "[DEBUG]\noutput=logfile\n[ERROR]\noutput=", LogLevel::WARNING, "", true, "-cc----", "0100000", 0, 0},
        ReadCase{"garbage lines and values that are not understood",
                 "garbage\n[GENERAL\nloglevel=DEBUG\n[GENERAL]\n=value\nloglevel=VERBOSE\ntimestamp=maybe\n"
                 "loglevel=INFO\n\x01\xff binary\nloglevel=NETWORK\nlogfile=\"unterminated\n"
                 "logfile=\"quoted\" trailing\n[ERROR] extra\noutput=logfile\n[]\n",
                 LogLevel::INFO, "", true, "cccc---", "1110000", 13, 1},
        ReadCase{
            "unknown sections and keys are ignored without complaint",
            "[GENERAL]\ncolour=blue\n[STYLES]\noutput=logfile\nloglevel=DEBUG\n[ERROR]\nformat=json\noutput=console",
            LogLevel::WARNING, "", true, "cccc---", "1100000", 0, 0},
        ReadCase{"keys before any section are not understood", "loglevel=DEBUG\n[GENERAL]\ntimestamp=off",
                 LogLevel::WARNING, "", false, "cccc---", "1100000", 1, 1},
        ReadCase{"quotes keep comment characters and blanks",
                 "[GENERAL]\nlogfile=\"/tmp/a ; b #c.log \" ; comment\ntimestamp=1", LogLevel::WARNING,
                 "/tmp/a ; b #c.log ", true, "cccc---", "1100000", 0, 0},
        ReadCase{"comment characters inside a word stay part of the value",
                 "[GENERAL]\nlogfile=/tmp/run#1;a.log\n[WARNING]\noutput=logfile", LogLevel::WARNING,
                 "/tmp/run#1;a.log", true, "cfcc---", "1100000", 0, 0},
        ReadCase{"an unknown output name still applies the known ones",
                 "[GENERAL]\nloglevel=error\n[ERROR]\noutput=syslog, console\n[NETWORK]\noutput=,,console,",
                 LogLevel::ERROR, "", true, "cccc-c-", "1000010", 1, 4},
        ReadCase{"the last setting wins and none writes nowhere",
                 "[GENERAL]\nloglevel=DEBUG\nloglevel=INFO\n[INFO]\noutput=console\n[info]\noutput=none",
                 LogLevel::INFO, "", true, "cc-c---", "1100000", 0, 0},
        ReadCase{"a byte order mark is skipped", "\xEF\xBB\xBF[GENERAL]\nloglevel=DEBUG", LogLevel::DEBUG, "", true,
                 "cccc---", "1111000", 0, 0},
        ReadCase{"a log file name cannot hold a NUL byte", "[GENERAL]\nlogfile=/tmp/a\0b.log\nloglevel=INFO"s,
                 LogLevel::INFO, "", true, "cccc---", "1110000", 1, 2}),
    [](const testing::TestParamInfo<ReadCase>& parameter) {
        std::string name;
        for (const char character : std::string(parameter.param.description)) {
            name.push_back(std::isalnum(static_cast<unsigned char>(character)) ? character : '_');
        }
        return name;
    });

TEST(LoggingConfiguration, TheCompiledInFileIsReadWithoutProblemsAndStatesTheDefaults) {
    ASSERT_TRUE(CompiledAssets::find("logging/pellium.ini").has_value());
    const auto compiledIn = LoggingConfiguration::create();
    const auto defaults = LoggingConfiguration::createFromText("");
    EXPECT_EQ(compiledIn->getNumberOfLinesNotUnderstood(), 0U);
    EXPECT_EQ(compiledIn->getLogLevel(), defaults->getLogLevel());
    EXPECT_EQ(compiledIn->getLogFile(), defaults->getLogFile());
    EXPECT_EQ(compiledIn->hasTimestamps(), defaults->hasTimestamps());
    EXPECT_EQ(describeOutputs(*compiledIn), describeOutputs(*defaults));
}

TEST(LoggingConfiguration, LevelsOutsideTheEnumerationAreNeverEnabled) {
    const auto configuration = LoggingConfiguration::createFromText("[GENERAL]\nloglevel=DEBUG");
    for (const int number : {-1, LogLevel::NUMBER_OF_VALUES, 31, 32}) {
        const auto level = static_cast<LogLevel::type>(number);
        EXPECT_FALSE(configuration->isEnabled(level));
        EXPECT_FALSE(configuration->writesToConsole(level));
    }
}

// Texts stitched from the format's own pieces reach far more reader states than random bytes do;
// whatever they hold, the result keeps its invariants.
TEST(LoggingConfiguration, RandomTextsKeepTheInvariants) {
    const std::vector<std::string> pieces = {
        "[GENERAL]", "[ERROR]", "[debug]", "[EVENTS]", "[",    "]", "[x]", "loglevel", "logfile", "timestamp",
        "output",    "=",       "==",      " ",        "\t",   ";", "#",   "\"",       ",",       "console",
        "logfile",   "INFO",    "DEBUG",   "NETWORK",  "true", "0", "\n",  "\r\n",     "\r",      "\xEF\xBB\xBF",
        "\0"s};
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (auto count = random() % 40; count > 0; --count) {
            text += pieces[random() % pieces.size()];
        }
        const auto configuration = LoggingConfiguration::createFromText(text);
        EXPECT_FALSE(LogLevel::isSpecialSection(configuration->getLogLevel())) << text;
        EXPECT_EQ(configuration->getLogFile().find('\0'), std::string::npos) << text;
        EXPECT_EQ(configuration->getNumberOfLinesNotUnderstood() == 0, configuration->getFirstLineNotUnderstood() == 0);
        for (const LogLevel::type level : LogLevel::allValues()) {
            if (!LogLevel::isSpecialSection(level) && level > configuration->getLogLevel()) {
                EXPECT_FALSE(configuration->isEnabled(level)) << text;
            }
        }
    }
}

}  // namespace
}  // namespace pellium
