#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The keywords of expression text: boolean constants, sort directions, type names, statistics,
/// period granularities and the options of the aggregation and period functions. Each keyword has
/// two names, an upper-case `KW_` name and a lower-camel name ("KW_COUNT_DISTINCT" and
/// "countDistinct"); the word shown in expression text comes from the expression token bundle.
/// Look-ups answer an empty optional or an empty name, never throw.
class PELLIUM_EXPORT ExpressionKeywords {
public:
    enum type : std::int32_t {
        KW_UNKNOWN = 0,
        KW_FALSE = 1,
        KW_TRUE = 2,
        KW_NONE = 3,
        KW_ALL = 4,
        KW_ASCENDING = 5,
        KW_DESCENDING = 6,
        KW_DATE = 7,
        KW_TIME = 8,
        KW_DATETIME = 9,
        KW_DOUBLE = 10,
        KW_AVERAGE = 11,
        KW_COEFFICIENT_OF_VARIATION = 12,
        KW_CORRECTED_SUM_OF_SQUARES = 13,
        KW_COUNT = 14,
        KW_COUNT_MISSING = 15,
        KW_COUNT_DISTINCT = 16,
        KW_FIRST_QUARTILE = 17,
        KW_KURTOSIS = 18,
        KW_MAX = 19,
        KW_MEDIAN = 20,
        KW_MIN = 21,
        KW_MODE = 22,
        KW_PVALUE = 23,
        KW_SKEW = 24,
        KW_STANDARD_DEVIATION = 25,
        KW_STANDARD_ERROR_STATISTIC = 26,
        KW_SUM = 27,
        KW_THIRD_QUARTILE = 28,
        KW_T_STATISTIC = 29,
        KW_UNCORRECTED_SUM_OF_SQUARES = 30,
        KW_VARIANCE = 31,
        KW_DEFAULT = 32,
        KW_GROUP = 33,
        KW_ALL_FILTERS_APPLY = 34,
        KW_TIMEFRAME_FILTERS_IGNORED = 35,
        KW_TIMEFRAME_INTERACTIVE_FILTERS_IGNORED = 36,
        KW_INFERRED = 37,
        KW_YEAR = 38,
        KW_QUARTER = 39,
        KW_MONTH = 40,
        KW_WEEKV = 41,
        KW_DAY = 42,
        KW_FULL = 43,
        KW_PARTIAL_TO_TODAY = 44,
        KW_PARTIAL_TO_DATE = 45,
        KW_INCLUDE_MISSING = 46,
        KW_IGNORE_MISSING = 47,
        KW_FIRST = 48,
        KW_LAST = 49,
        KW_LEADING = 50,
        KW_TRAILING = 51,
        KW_LEADING_AND_TRAILING = 52,
        KW_WITH_COMPLEMENT = 53,
        KW_WITHOUT_COMPLEMENT = 54,
        KW_ROW = 55,
        KW_COLUMN = 56,
        KW_START = 57,
        KW_END = 58,
        KW_CURRENT = 59,
        FAKE_LAST_KEYWORD = 60,
        INVALID_KEYWORD = 60,
    };

    static constexpr int NUMBER_OF_KEYWORDS = 60;

    ExpressionKeywords() = delete;

    static constexpr bool isValid(std::int32_t value) { return value >= 0 && value < NUMBER_OF_KEYWORDS; }

    /// The `KW_` name ("KW_COUNT_DISTINCT"); empty for a value that is no keyword.
    static std::string_view getUpperCaseName(type value);
    /// The lower-camel name ("countDistinct"), which also forms the token key; empty for a value
    /// that is no keyword.
    static std::string_view getName(type value);
    /// The keyword with either name, compared without regard to ASCII case; empty when none has it.
    static std::optional<type> getValueFromString(std::string_view name);
};

}  // namespace pellium
