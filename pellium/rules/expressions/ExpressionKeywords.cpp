#include "pellium/rules/expressions/ExpressionKeywords.h"

#include <array>

#include "pellium/models/data/dataset/EnumerationNames.h"

namespace pellium {

namespace {

constexpr std::array<std::string_view, ExpressionKeywords::NUMBER_OF_KEYWORDS> UPPER_CASE_NAMES = {
    "KW_UNKNOWN",
    "KW_FALSE",
    "KW_TRUE",
    "KW_NONE",
    "KW_ALL",
    "KW_ASCENDING",
    "KW_DESCENDING",
    "KW_DATE",
    "KW_TIME",
    "KW_DATETIME",
    "KW_DOUBLE",
    "KW_AVERAGE",
    "KW_COEFFICIENT_OF_VARIATION",
    "KW_CORRECTED_SUM_OF_SQUARES",
    "KW_COUNT",
    "KW_COUNT_MISSING",
    "KW_COUNT_DISTINCT",
    "KW_FIRST_QUARTILE",
    "KW_KURTOSIS",
    "KW_MAX",
    "KW_MEDIAN",
    "KW_MIN",
    "KW_MODE",
    "KW_PVALUE",
    "KW_SKEW",
    "KW_STANDARD_DEVIATION",
    "KW_STANDARD_ERROR_STATISTIC",
    "KW_SUM",
    "KW_THIRD_QUARTILE",
    "KW_T_STATISTIC",
    "KW_UNCORRECTED_SUM_OF_SQUARES",
    "KW_VARIANCE",
    "KW_DEFAULT",
    "KW_GROUP",
    "KW_ALL_FILTERS_APPLY",
    "KW_TIMEFRAME_FILTERS_IGNORED",
    "KW_TIMEFRAME_INTERACTIVE_FILTERS_IGNORED",
    "KW_INFERRED",
    "KW_YEAR",
    "KW_QUARTER",
    "KW_MONTH",
    "KW_WEEKV",
    "KW_DAY",
    "KW_FULL",
    "KW_PARTIAL_TO_TODAY",
    "KW_PARTIAL_TO_DATE",
    "KW_INCLUDE_MISSING",
    "KW_IGNORE_MISSING",
    "KW_FIRST",
    "KW_LAST",
    "KW_LEADING",
    "KW_TRAILING",
    "KW_LEADING_AND_TRAILING",
    "KW_WITH_COMPLEMENT",
    "KW_WITHOUT_COMPLEMENT",
    "KW_ROW",
    "KW_COLUMN",
    "KW_START",
    "KW_END",
    "KW_CURRENT",
};

constexpr std::array<std::string_view, ExpressionKeywords::NUMBER_OF_KEYWORDS> NAMES = {
    "unknown",
    "false",
    "true",
    "NONE",
    "ALL",
    "ascending",
    "descending",
    "date",
    "time",
    "datetime",
    "double",
    "average",
    "coefficientOfVariation",
    "correctedSumOfSquares",
    "count",
    "countMissing",
    "countDistinct",
    "firstQuartile",
    "kurtosis",
    "max",
    "median",
    "min",
    "mode",
    "pvalue",
    "skew",
    "standardDeviation",
    "standardErrorStatistic",
    "sum",
    "thirdQuartile",
    "tStatistic",
    "uncorrectedSumOfSquares",
    "variance",
    "default",
    "group",
    "allFiltersApply",
    "timeframeFiltersIgnored",
    "timeframeInteractiveFiltersIgnored",
    "inferred",
    "year",
    "quarter",
    "month",
    "weekv",
    "day",
    "full",
    "partialToToday",
    "partialToDate",
    "includeMissing",
    "ignoreMissing",
    "first",
    "last",
    "leading",
    "trailing",
    "leading_and_trailing",
    "withComplement",
    "withoutComplement",
    "row",
    "column",
    "start",
    "end",
    "current",
};

}  // namespace

std::string_view ExpressionKeywords::getUpperCaseName(type value) {
    return isValid(value) ? UPPER_CASE_NAMES[static_cast<std::size_t>(value)] : std::string_view();
}

std::string_view ExpressionKeywords::getName(type value) {
    return isValid(value) ? NAMES[static_cast<std::size_t>(value)] : std::string_view();
}

std::optional<ExpressionKeywords::type> ExpressionKeywords::getValueFromString(std::string_view name) {
    auto index = findNameIgnoringCase(UPPER_CASE_NAMES, name);
    if (!index) {
        index = findNameIgnoringCase(NAMES, name);
    }
    if (!index) {
        return std::nullopt;
    }
    return static_cast<type>(*index);
}

}  // namespace pellium
