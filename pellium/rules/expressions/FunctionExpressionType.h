#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The functions of expression text, numbered 1 to 119. Each has two names, a lower-camel name
/// ("applyVekFormat", which also forms its token key) and an upper-case `F_` name
/// ("F_APPLY_VEK_FORMAT"); the word shown in expression text ("Format") comes from the expression
/// token bundle. Look-ups answer an empty optional or an empty name, never throw.
class PELLIUM_EXPORT FunctionExpressionType {
public:
    enum type : std::int32_t {
        F_EQ = 1,
        F_NE = 2,
        F_GT = 3,
        F_GE = 4,
        F_LT = 5,
        F_LE = 6,
        F_IS_MISSING = 7,
        F_IN = 8,
        F_BEGINSWITH = 9,
        F_ENDSWITH = 10,
        F_CONTAINS = 11,
        F_PATH_BEGINS_WITH = 12,
        F_PATH_ENDS_WITH = 13,
        F_PATH_CONTAINS = 14,
        F_PATH_CONTAINS_NODE = 15,
        F_PATH_CONTAINS_SUB_PATH = 16,
        F_PATH_EQUALS = 17,
        F_IN_SHORTEST_PATH = 18,
        F_IN_LONGEST_PATH = 19,
        F_BETWEEN = 20,
        F_AND = 21,
        F_OR = 22,
        F_NOT = 23,
        F_TRIM = 24,
        F_UPPER = 25,
        F_LOWER = 26,
        F_AGGREGATE = 27,
        F_DRILL = 28,
        F_EXPAND = 29,
        F_EXPAND_ALL = 30,
        F_COLLAPSE = 31,
        F_SORT_ITEM = 32,
        F_SORT_LEVEL = 33,
        F_SORT_MEMBER = 34,
        F_MEASURE_SORT_ITEM = 35,
        F_NOT_MISSING = 36,
        F_NOT_IN = 37,
        F_NOT_CONTAINS = 38,
        F_BETWEEN_EXCLUDING_BOUNDS = 39,
        F_OUTSIDE_INCLUDING_BOUNDS = 40,
        F_OUTSIDE_EXCLUDING_BOUNDS = 41,
        F_PLUS = 42,
        F_MINUS = 43,
        F_TIMES = 44,
        F_DIV = 45,
        F_NEG = 46,
        F_POW = 47,
        F_ROOT = 48,
        F_ABS = 49,
        F_INT = 50,
        F_MOD = 51,
        F_FLOOR = 52,
        F_CEIL = 53,
        F_ROUND = 54,
        F_EXP = 55,
        F_LN = 56,
        F_LOG = 57,
        F_NOW = 58,
        F_TIMEPART = 59,
        F_DATEPART = 60,
        F_DHMS = 61,
        F_TMDY = 62,
        F_MDY = 63,
        F_YYQ = 64,
        F_HMS = 65,
        F_DOM = 66,
        F_DOW = 67,
        F_DOY = 68,
        F_MONTH = 69,
        F_YEAR = 70,
        F_QTR = 71,
        F_WEEK = 72,
        F_HOUR = 73,
        F_MINUTE = 74,
        F_SECOND = 75,
        F_COND = 76,
        F_CONDSTR = 77,
        F_PERIOD = 78,
        F_PERIOD_INCLUDING_DATE = 79,
        F_RELATIVE_PERIOD = 80,
        F_PARALLEL_PERIOD = 81,
        F_CUMULATIVE_PERIOD = 82,
        F_CUMULATIVE_PERIOD_WITH_START_POINT = 83,
        F_TYPECAST = 84,
        F_FIRST_VALUE = 85,
        F_LAST_VALUE = 86,
        F_PERCENTILE = 87,
        F_PERCENTAGE_GREATER_THAN = 88,
        F_PERCENTAGE_LESS_THAN = 89,
        F_PERCENTAGE_IN_RANGE = 90,
        F_APPLY_VEK_FORMAT = 91,
        F_APPLY_VEK_INFORMAT = 92,
        F_URL_ENCODE = 93,
        F_URL_DECODE = 94,
        F_CONCATENATE = 95,
        F_FIND = 96,
        F_FIND_AND_REPLACE_STRING = 97,
        F_FIND_CHARACTER = 98,
        F_GET_WORD_AT_TOKEN_INDEX = 99,
        F_LENGTH = 100,
        F_REMOVE_CHARACTERS = 101,
        F_REMOVE_WHITESPACE = 102,
        F_REMOVE_WORD_AT_TOKEN_INDEX = 103,
        F_REPLACE_SUBSTRING_AT_INDEX = 104,
        F_REPLACE_WORD_AT_TOKEN_INDEX = 105,
        F_REVERSE = 106,
        F_SUBSTRING = 107,
        F_SUPPRESS = 108,
        F_CELL_INDEX = 109,
        F_AGGREGATE_CELLS = 110,
        F_ADD_GROUPS = 111,
        F_REMOVE_GROUPS = 112,
        F_GROUP_BY = 113,
        F_NESTED_AGGREGATE = 114,
        F_TABLE = 115,
        F_AGGREGATE_INNER_TABLE = 116,
        F_SELECT = 117,
        F_WHEN = 118,
        F_OTHERWISE = 119,
        FAKE_LAST_FUNCTION = 120,
        INVALID_FUNCTION = 120,
    };

    static constexpr int NUMBER_OF_FUNCTIONS = 119;

    FunctionExpressionType() = delete;

    static constexpr bool isValid(std::int32_t value) { return value >= 1 && value <= NUMBER_OF_FUNCTIONS; }
    /// eq to le, numbered as BinaryRelationalOperator numbers the operators.
    static constexpr bool isComparison(type value) { return value >= F_EQ && value <= F_LE; }
    /// between and its three variants.
    static constexpr bool isRange(type value) {
        return value == F_BETWEEN || (value >= F_BETWEEN_EXCLUDING_BOUNDS && value <= F_OUTSIDE_EXCLUDING_BOUNDS);
    }

    /// The lower-camel name ("applyVekFormat"); empty for a value that is no function.
    static std::string_view getName(type value);
    /// The `F_` name ("F_APPLY_VEK_FORMAT"); empty for a value that is no function.
    static std::string_view getUpperCaseName(type value);
    /// The function with either name, compared without regard to ASCII case; empty when none has it.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
