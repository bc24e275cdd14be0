#include "pellium/rules/expressions/BinaryRelationalOperator.h"

#include <array>
#include <utility>

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, 7> NAMES = {"NONE", "EQ", "NE", "GT", "GE", "LT", "LE"};
constexpr std::array<std::string_view, 7> SYMBOLS = {"?", "=", "≠", ">", "≥", "<", "≤"};
constexpr std::array<std::pair<std::string_view, BinaryRelationalOperator::type>, 5> ASCII_SYMBOLS = {{
    {"<>", BinaryRelationalOperator::NE},
    {"!=", BinaryRelationalOperator::NE},
    {"==", BinaryRelationalOperator::EQ},
    {">=", BinaryRelationalOperator::GE},
    {"<=", BinaryRelationalOperator::LE},
}};

}  // namespace

std::string_view BinaryRelationalOperator::getStringFromValue(type value) {
    return isValid(value) ? NAMES[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<BinaryRelationalOperator::type> BinaryRelationalOperator::getValueFromString(std::string_view name) {
    const auto index = findNameIgnoringCase(NAMES, name);
    return index ? std::optional<type>(static_cast<type>(*index)) : std::nullopt;
}

std::string_view BinaryRelationalOperator::getSymbol(type value) {
    return isValid(value) ? SYMBOLS[static_cast<std::size_t>(value)] : SYMBOLS[0];
}

std::optional<BinaryRelationalOperator::type> BinaryRelationalOperator::getValueFromSymbol(std::string_view symbol) {
    for (std::size_t index = 0; index < SYMBOLS.size(); ++index) {
        if (SYMBOLS[index] == symbol) {
            return static_cast<type>(index);
        }
    }
    for (const auto& [spelling, value] : ASCII_SYMBOLS) {
        if (spelling == symbol) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace pellium
