#include <gtest/gtest.h>
#include <string>

#include "pellium/resources/logging/LogLevel.h"

namespace pellium {
namespace {

TEST(LogLevel, EveryValueRoundTripsThroughItsNameInAnyCase) {
    for (const LogLevel::type level : LogLevel::allValues()) {
        const std::string name(LogLevel::getStringFromValue(level));
        ASSERT_FALSE(name.empty());
        std::string lower = name;
        for (char& character : lower) {
            character = static_cast<char>(character - 'A' + 'a');
        }
        std::string mixed = lower;
        mixed[0] = name[0];
        for (const std::string& spelling : {name, lower, mixed}) {
            EXPECT_EQ(LogLevel::getValueFromString(spelling), level) << spelling;
        }
    }
}

TEST(LogLevel, NamesAndNumbersOutsideTheTableAreRejected) {
    for (const char* name : {"", "WARN", "ERRORS", " INFO", "INFO ", "DEBUG\n", "GENERAL", "\xC4\xB0NFO"}) {
        EXPECT_FALSE(LogLevel::getValueFromString(name).has_value()) << name;
    }
    for (const int number : {-1, LogLevel::NUMBER_OF_VALUES, 1000}) {
        const auto value = static_cast<LogLevel::type>(number);
        EXPECT_TRUE(LogLevel::getStringFromValue(value).empty()) << number;
        EXPECT_FALSE(LogLevel::isValid(value)) << number;
    }
}

}  // namespace
}  // namespace pellium
