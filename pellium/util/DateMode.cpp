#include "pellium/util/DateMode.h"

#include <cstddef>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, DateMode::NUMBER_OF_VALUES> modeNames = {"None", "DayOfMonth", "LastWeekday",
                                                                                "WeekdayOnOrAfter"};

}  // namespace

std::optional<DateMode::type> DateMode::getValueFromString(std::string_view name) {
    for (std::size_t index = 0; index < modeNames.size(); ++index) {
        if (StringUtilities::equalsIgnoreCase(name, modeNames[index])) {
            return static_cast<type>(index);
        }
    }
    return std::nullopt;
}

std::string_view DateMode::getStringFromValue(type value) {
    return isValid(value) ? modeNames[static_cast<std::size_t>(value)] : std::string_view();
}

}  // namespace pellium
