#include "pellium/models/data/where/WhereClauseOperators.h"

#include <array>
#include <utility>

namespace pellium {

namespace {

constexpr std::string_view unknownName = "UNKNOWN";

// Indexed by code - 1.
constexpr std::array<std::string_view, 14> shortNames = {"EQ",  "LIKE", "NE",  "LT", "LE",     "GT",    "GE",
                                                         "AND", "OR",   "NOT", "IS", "IS_NOT", "FALSE", "TRUE"};
constexpr std::array<std::string_view, 14> prettyNames = {
    "=", "~", "!=", "<", "<=", ">", ">=", "AND", "OR", "NOT", "IS", "IS_NOT", "FALSE", "TRUE"};

using WhereOperator = WhereClauseOperators::type;

constexpr std::pair<std::string_view, WhereOperator> acceptedNames[] = {
    {"UNKNOWN", WhereClauseOperators::UNKNOWN},
    {"EQ", WhereClauseOperators::EQ},
    {"==", WhereClauseOperators::EQ},
    {"EQUALS", WhereClauseOperators::EQ},
    {"LIKE", WhereClauseOperators::LIKE},
    {"NE", WhereClauseOperators::NE},
    {"!=", WhereClauseOperators::NE},
    {"<>", WhereClauseOperators::NE},
    {"LT", WhereClauseOperators::LT},
    {"<", WhereClauseOperators::LT},
    {"LE", WhereClauseOperators::LE},
    {"<=", WhereClauseOperators::LE},
    {"LTE", WhereClauseOperators::LE},
    {"GT", WhereClauseOperators::GT},
    {">", WhereClauseOperators::GT},
    {"GE", WhereClauseOperators::GE},
    {">=", WhereClauseOperators::GE},
    {"GTE", WhereClauseOperators::GE},
    {"AND", WhereClauseOperators::AND},
    {"&&", WhereClauseOperators::AND},
    {"OR", WhereClauseOperators::OR},
    {"||", WhereClauseOperators::OR},
    {"NOT", WhereClauseOperators::NOT},
    {"IS", WhereClauseOperators::IS},
    {"IS_NOT", WhereClauseOperators::IS_NOT},
    {"IS NOT", WhereClauseOperators::IS_NOT},
    {"FALSE", WhereClauseOperators::FALSE},
    {"TRUE", WhereClauseOperators::TRUE},
};

std::string_view nameIn(const std::array<std::string_view, 14>& names, WhereOperator value) {
    return WhereClauseOperators::isValid(value) ? names[value - 1] : unknownName;
}

}  // namespace

std::string_view WhereClauseOperators::getStringFromValue(type value) {
    return nameIn(shortNames, value);
}

std::string_view WhereClauseOperators::getPrettyStringFromValue(type value) {
    return nameIn(prettyNames, value);
}

WhereClauseOperators::type WhereClauseOperators::getValueFromString(std::string_view name, type defaultValue) {
    for (const auto& [accepted, value] : acceptedNames) {
        if (accepted == name) {
            return value;
        }
    }
    return defaultValue;
}

}  // namespace pellium
