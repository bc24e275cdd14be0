#include "pellium/rules/expressions/DataTypeExt.h"

#include <array>
#include <bit>

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

// Position i names the type with bit i.
constexpr std::array<std::string_view, 9> NAMES = {
    "UNKNOWN", "NUMERIC", "CHARACTER", "DATE", "TIME", "DATETIME", "BOOLEAN", "LIST", "TABLE",
};

}  // namespace

std::string_view DataTypeExt::getStringFromValue(type value) {
    const auto bits = static_cast<std::uint32_t>(value);
    if (!std::has_single_bit(bits) || bits > TABLE) {
        return {};
    }
    return NAMES[static_cast<std::size_t>(std::countr_zero(bits))];
}

std::optional<DataTypeExt::type> DataTypeExt::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(NAMES, name);
    if (!index) {
        return std::nullopt;
    }
    return static_cast<type>(1 << *index);
}

}  // namespace pellium
