#include "pellium/models/data/dataset/DataUsage.h"

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, DataUsage::NUMBER_OF_VALUES> usageNames = {"CATEGORICAL", "QUANTITATIVE",
                                                                                  "UNDEFINED"};

}  // namespace

std::string_view DataUsage::getStringFromValue(type value) {
    return isValid(value) ? usageNames[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<DataUsage::type> DataUsage::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(usageNames, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

}  // namespace pellium
