#include "pellium/models/data/dataset/DataType.h"

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, DataType::NUMBER_OF_VALUES> typeNames = {"NUMERIC", "STRING"};

}  // namespace

std::string_view DataType::getStringFromValue(type value) {
    return isValid(value) ? typeNames[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<DataType::type> DataType::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(typeNames, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

}  // namespace pellium
