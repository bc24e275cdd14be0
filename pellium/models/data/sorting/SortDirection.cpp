#include "pellium/models/data/sorting/SortDirection.h"

#include <array>

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, SortDirection::NUMBER_OF_VALUES> directionNames = {"DATA", "ASCENDING",
                                                                                          "DESCENDING"};

}  // namespace

std::string_view SortDirection::getStringFromValue(type value) {
    return isValid(value) ? directionNames[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<SortDirection::type> SortDirection::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(directionNames, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

}  // namespace pellium
