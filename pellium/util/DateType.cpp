#include "pellium/util/DateType.h"

#include <cstddef>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, DateType::NUMBER_OF_VALUES> typeNames = {"Wall", "Universal", "Standard"};

}  // namespace

std::optional<DateType::type> DateType::getValueFromString(std::string_view name) {
    for (std::size_t index = 0; index < typeNames.size(); ++index) {
        if (StringUtilities::equalsIgnoreCase(name, typeNames[index])) {
            return static_cast<type>(index);
        }
    }
    return std::nullopt;
}

std::string_view DateType::getStringFromValue(type value) {
    return isValid(value) ? typeNames[static_cast<std::size_t>(value)] : std::string_view();
}

}  // namespace pellium
