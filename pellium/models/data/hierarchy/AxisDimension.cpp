#include "pellium/models/data/hierarchy/AxisDimension.h"

#include <array>

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, AxisDimension::NUMBER_OF_VALUES> axisNames = {"NONE", "ROW", "COLUMN", "PAGE"};

}  // namespace

std::string_view AxisDimension::getStringFromValue(type value) {
    return isValid(value) ? axisNames[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<AxisDimension::type> AxisDimension::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(axisNames, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

}  // namespace pellium
