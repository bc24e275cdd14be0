#include "pellium/resources/logging/LogLevel.h"

#include <cstddef>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, LogLevel::NUMBER_OF_VALUES> levelNames = {
    "ERROR", "WARNING", "INFO", "DEBUG", "PERFORMANCE", "NETWORK", "EVENTS",
};

}  // namespace

std::optional<LogLevel::type> LogLevel::getValueFromString(std::string_view name) {
    for (std::size_t index = 0; index < levelNames.size(); ++index) {
        if (StringUtilities::equalsIgnoreCase(name, levelNames[index])) {
            return static_cast<type>(index);
        }
    }
    return std::nullopt;
}

std::string_view LogLevel::getStringFromValue(type value) {
    return isValid(value) ? levelNames[static_cast<std::size_t>(value)] : std::string_view();
}

}  // namespace pellium
