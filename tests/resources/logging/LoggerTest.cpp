#include <atomic>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

#include "pellium/resources/logging/Logger.h"

namespace pellium {
namespace {

struct Record {
    LogLevel::type level;
    std::string message;
    std::string line;
};

/// Captures the log through a sink, and leaves the logger as it found it.
class LoggerTest : public testing::Test {
protected:
    void SetUp() override { captureInto(records); }

    void TearDown() override { Logger::restoreDefaults(); }

    static void captureInto(std::vector<Record>& target) {
        Logger::setSink([&target](LogLevel::type level, std::string_view message, std::string_view line) {
            target.push_back({level, std::string(message), std::string(line)});
        });
    }

    std::vector<std::string> capturedLines() const {
        std::vector<std::string> lines;
        for (const Record& record : records) {
            lines.push_back(record.line);
        }
        return lines;
    }

    std::vector<Record> records;
};

constexpr std::string_view timestampShape = "dddd-dd-ddTdd:dd:dd.dddZ ";

/// Whether `text` starts with `shape`, where each 'd' stands for a decimal digit.
bool startsWithShape(std::string_view text, std::string_view shape) {
    if (text.size() < shape.size()) {
        return false;
    }
    for (std::size_t index = 0; index < shape.size(); ++index) {
        const bool matches = shape[index] == 'd' ? std::isdigit(static_cast<unsigned char>(text[index])) != 0
                                                 : text[index] == shape[index];
        if (!matches) {
            return false;
        }
    }
    return true;
}

int numberAt(std::string_view text, std::size_t position, std::size_t length) {
    return std::stoi(std::string(text.substr(position, length)));
}

void logOneMessageAtEveryLevel() {
    for (const LogLevel::type level : LogLevel::allValues()) {
        Logger::log(level, "at " + std::string(LogLevel::getStringFromValue(level)));
    }
}

// ctest runs each test in a process of its own, where this is the logger's first use: the
// compiled-in configuration must already decide the answer.
TEST(LoggerFirstUse, TheCompiledInLevelsApplyBeforeAnyConfiguration) {
    EXPECT_TRUE(Logger::isEnabled(LogLevel::ERROR));
    EXPECT_TRUE(Logger::isEnabled(LogLevel::WARNING));
    EXPECT_FALSE(Logger::isEnabled(LogLevel::INFO));
    EXPECT_FALSE(Logger::isEnabled(LogLevel::EVENTS));
}

TEST_F(LoggerTest, EachLevelWritesItselfAndEveryMoreSevereLevel) {
    const std::vector<std::string> allLines = {"ERROR: at ERROR", "WARNING: at WARNING", "INFO: at INFO",
                                               "DEBUG: at DEBUG"};
    for (std::size_t threshold = 0; threshold < allLines.size(); ++threshold) {
        const auto level = static_cast<LogLevel::type>(threshold);
        Logger::configure("[GENERAL]\ntimestamp=false\nloglevel=" + std::string(LogLevel::getStringFromValue(level)));
        records.clear();
        logOneMessageAtEveryLevel();
        const std::vector<std::string> expected(allLines.begin(), allLines.begin() + static_cast<long>(threshold) + 1);
        EXPECT_EQ(capturedLines(), expected) << "loglevel " << LogLevel::getStringFromValue(level);
        for (const LogLevel::type each : LogLevel::allValues()) {
            EXPECT_EQ(Logger::isEnabled(each), each <= level) << LogLevel::getStringFromValue(each);
        }
    }
}

TEST_F(LoggerTest, SpecialSectionsAreWrittenWheneverTheyNameAnOutput) {
    Logger::configure("[GENERAL]\ntimestamp=off\nloglevel=ERROR\n[NETWORK]\noutput=console\n[ERROR]\noutput=");
    logOneMessageAtEveryLevel();
    EXPECT_EQ(capturedLines(), (std::vector<std::string>{"NETWORK: at NETWORK"}));
    EXPECT_EQ(records.at(0).level, LogLevel::NETWORK);
}

TEST_F(LoggerTest, NumbersOutsideTheEnumerationAreNeverWritten) {
    Logger::configure("[GENERAL]\nloglevel=DEBUG\n[EVENTS]\noutput=console");
    for (const int number : {-1, LogLevel::NUMBER_OF_VALUES, 31, 32, 64}) {
        const auto level = static_cast<LogLevel::type>(number);
        EXPECT_FALSE(Logger::isEnabled(level)) << number;
        Logger::log(level, "invalid");
    }
    EXPECT_TRUE(records.empty());
}

TEST_F(LoggerTest, LinesStartWithTheCurrentUtcTimeWhenAskedTo) {
    Logger::configure("[GENERAL]\ntimestamp=true");
    const std::time_t before = std::time(nullptr);
    Logger::warning("stamped");
    const std::time_t after = std::time(nullptr);
    ASSERT_EQ(records.size(), 1U);

    const std::string& line = records[0].line;
    ASSERT_TRUE(startsWithShape(line, timestampShape)) << line;
    EXPECT_EQ(line.substr(timestampShape.size()), "WARNING: stamped");
    // The C library's UTC conversion is the independent judge of the written fields.
    std::tm written{};
    written.tm_year = numberAt(line, 0, 4) - 1900;
    written.tm_mon = numberAt(line, 5, 2) - 1;
    written.tm_mday = numberAt(line, 8, 2);
    written.tm_hour = numberAt(line, 11, 2);
    written.tm_min = numberAt(line, 14, 2);
    written.tm_sec = numberAt(line, 17, 2);
    const std::time_t stamped = timegm(&written);
    EXPECT_GE(stamped, before);
    EXPECT_LE(stamped, after);
}

TEST_F(LoggerTest, ControlCharactersCannotForgeLines) {
    Logger::configure("[GENERAL]\ntimestamp=false");
    const std::string message = "a\nERROR: forged\rb\tc\x01\x7F\xC3\xA9";
    Logger::error(message);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].line, "ERROR: a\\nERROR: forged\\rb\\tc\\x01\\x7F\xC3\xA9");
    EXPECT_EQ(records[0].message, message);
}

TEST_F(LoggerTest, LazyMessagesAreBuiltOnlyForEnabledLevels) {
    Logger::configure("[GENERAL]\nloglevel=INFO\ntimestamp=false");
    int built = 0;
    Logger::logLazily(LogLevel::DEBUG, [&] {
        ++built;
        return std::string("debug");
    });
    Logger::logLazily(LogLevel::INFO, [&] {
        ++built;
        return std::string("info");
    });
    EXPECT_EQ(built, 1);
    EXPECT_EQ(capturedLines(), (std::vector<std::string>{"INFO: info"}));
}

TEST_F(LoggerTest, ConfigurationProblemsAreReported) {
    Logger::configure("[GENERAL]\ntimestamp=false\nnonsense\nloglevel=LOUD\n");
    EXPECT_EQ(capturedLines(),
              (std::vector<std::string>{"WARNING: The logging configuration has 2 line(s) that were not understood "
                                        "and were skipped; the first is line 3."}));

    records.clear();
    const std::string missingFolder =
        (std::filesystem::temp_directory_path() / "pellium-no-such-folder" / "x.log").string();
    Logger::configure("[GENERAL]\ntimestamp=false\nlogfile=" + missingFolder + "\n[ERROR]\noutput=console,logfile");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].level, LogLevel::ERROR);
    EXPECT_TRUE(records[0].message.starts_with("Cannot open the log file " + missingFolder + ": "))
        << records[0].message;
}

TEST_F(LoggerTest, TheSinkCannotDeadlockOrBreakTheLogger) {
    Logger::configure("[GENERAL]\ntimestamp=false");
    int sinkCalls = 0;
    Logger::setSink([&](LogLevel::type, std::string_view, std::string_view) {
        ++sinkCalls;
        Logger::error("from inside the sink");           // dropped
        Logger::configure("[GENERAL]\nloglevel=ERROR");  // ignored
        Logger::setSink({});                             // ignored
        throw std::runtime_error("sink failed");
    });
    Logger::warning("first");
    Logger::warning("second");
    EXPECT_EQ(sinkCalls, 2);
    EXPECT_EQ(Logger::getConfiguration()->getLogLevel(), LogLevel::WARNING);
}

TEST_F(LoggerTest, WritesToTheConsoleAndAppendsToTheLogFileWithoutASink) {
    const auto path =
        std::filesystem::temp_directory_path() / ("pellium-logger-test-" + std::to_string(::getpid()) + ".log");
    std::filesystem::remove(path);
    const std::string configuration = "[GENERAL]\ntimestamp=false\nlogfile=" + path.string() +
                                      "\n[ERROR]\noutput=logfile\n[WARNING]\noutput=console, logfile";
    Logger::setSink({});
    Logger::configure(configuration);
    testing::internal::CaptureStderr();
    Logger::error("one");
    Logger::warning("two");
    Logger::info("not written");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "WARNING: two\n");
    // Configuring the same file again keeps what it holds.
    Logger::configure(configuration);
    Logger::error("three");
    Logger::restoreDefaults();

    std::ifstream file(path);
    std::stringstream contents;
    contents << file.rdbuf();
    EXPECT_EQ(contents.str(), "ERROR: one\nWARNING: two\nERROR: three\n");
    std::filesystem::remove(path);
}

TEST_F(LoggerTest, ByDefaultTheCompiledInConfigurationApplies) {
    Logger::configure("[GENERAL]\nloglevel=DEBUG");
    Logger::restoreDefaults();
    EXPECT_TRUE(Logger::isEnabled(LogLevel::ERROR));
    EXPECT_TRUE(Logger::isEnabled(LogLevel::WARNING));
    EXPECT_FALSE(Logger::isEnabled(LogLevel::INFO));
    EXPECT_FALSE(Logger::isEnabled(LogLevel::PERFORMANCE));
    EXPECT_TRUE(Logger::getConfiguration()->hasTimestamps());
}

// Run under ThreadSanitizer as well: eight threads log while another one keeps reconfiguring.
TEST_F(LoggerTest, MessagesFromManyThreadsArriveWholeAndInOrderPerThread) {
    constexpr int numberOfThreads = 8;
    constexpr int messagesPerThread = 400;
    Logger::configure("[GENERAL]\nloglevel=INFO\ntimestamp=false");
    std::atomic<bool> done{false};
    std::thread reconfigurer([&done] {
        bool withTimestamps = false;
        while (!done.load()) {
            withTimestamps = !withTimestamps;
            Logger::configure(std::string("[GENERAL]\nloglevel=INFO\ntimestamp=") + (withTimestamps ? "on" : "off"));
        }
    });
    std::vector<std::thread> writers;
    for (int thread = 0; thread < numberOfThreads; ++thread) {
        writers.emplace_back([thread] {
            for (int index = 0; index < messagesPerThread; ++index) {
                Logger::debug("never written");
                Logger::info("thread " + std::to_string(thread) + " message " + std::to_string(index));
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    done = true;
    reconfigurer.join();

    ASSERT_EQ(records.size(), static_cast<std::size_t>(numberOfThreads * messagesPerThread));
    std::vector<int> nextIndex(numberOfThreads, 0);
    for (const Record& record : records) {
        std::string_view line = record.line;
        if (startsWithShape(line, timestampShape)) {
            line.remove_prefix(timestampShape.size());
        }
        int thread = -1;
        int index = -1;
        int consumed = 0;
        const std::string rest(line);
        ASSERT_EQ(std::sscanf(rest.c_str(), "INFO: thread %d message %d%n", &thread, &index, &consumed), 2) << rest;
        ASSERT_EQ(static_cast<std::size_t>(consumed), rest.size()) << rest;
        ASSERT_TRUE(thread >= 0 && thread < numberOfThreads) << rest;
        EXPECT_EQ(index, nextIndex[static_cast<std::size_t>(thread)]++) << rest;
    }
}

}  // namespace
}  // namespace pellium
