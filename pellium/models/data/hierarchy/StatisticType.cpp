#include "pellium/models/data/hierarchy/StatisticType.h"

#include <array>
#include <cstddef>
#include <optional>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

struct StatisticNames {
    std::string_view name;
    std::string_view xmlName;
};

constexpr std::array<StatisticNames, StatisticType::NUMBER_OF_VALUES> statisticNames{{
    {"SUM", "sum"},
    {"FREQUENCY", "count"},
    {"MEAN", "average"},
    {"PERCENT", "totalCountPercent"},
    {"FIRST", "first"},
    {"MIN", "min"},
    {"MAX", "max"},
    {"MEDIAN", "median"},
    {"FREQUENCY_WITH_MISSING", "totalCount"},
    {"COUNT_DISTINCT", "countDistinct"},
    {"STANDARD_DEVIATION", "standardDeviation"},
    {"STANDARD_ERROR", "standardError"},
    {"VARIANCE", "variance"},
    {"MODE", "mode"},
    {"COUNT_MISSING", "countMissing"},
    {"FIRST_QUARTILE", "firstQuartile"},
    {"THIRD_QUARTILE", "thirdQuartile"},
    {"SKEW", "skew"},
    {"KURTOSIS", "kurtosis"},
    {"COEFFICIENT_OF_VARIATION", "coefficientOfVariation"},
    {"UNCORRECTED_SUM_OF_SQUARES", "uncorrectedSumOfSquares"},
    {"CORRECTED_SUM_OF_SQUARES", "correctedSumOfSquares"},
    {"T_STATISTIC", "tStatistic"},
    {"P_VALUE", "pValue"},
    {"NONE", "none"},
}};

struct LookupEntry {
    std::string_view text;
    StatisticType::type value;
};

// Matched without regard to case, so an XML name that differs from a name only in case has no entry
// of its own.
constexpr std::array<LookupEntry, 41> lookupEntries{{
    {"average", StatisticType::MEAN},
    {"COEFFICIENT_OF_VARIATION", StatisticType::COEFFICIENT_OF_VARIATION},
    {"coefficientOfVariation", StatisticType::COEFFICIENT_OF_VARIATION},
    {"CORRECTED_SUM_OF_SQUARES", StatisticType::CORRECTED_SUM_OF_SQUARES},
    {"correctedSumOfSquares", StatisticType::CORRECTED_SUM_OF_SQUARES},
    {"count", StatisticType::FREQUENCY},
    {"COUNT_DISTINCT", StatisticType::COUNT_DISTINCT},
    {"COUNT_MISSING", StatisticType::COUNT_MISSING},
    {"countDistinct", StatisticType::COUNT_DISTINCT},
    {"countMissing", StatisticType::COUNT_MISSING},
    {"FIRST", StatisticType::FIRST},
    {"FIRST_QUARTILE", StatisticType::FIRST_QUARTILE},
    {"firstQuartile", StatisticType::FIRST_QUARTILE},
    {"FREQUENCY", StatisticType::FREQUENCY},
    {"FREQUENCY_WITH_MISSING", StatisticType::FREQUENCY_WITH_MISSING},
    {"KURTOSIS", StatisticType::KURTOSIS},
    {"MAX", StatisticType::MAX},
    {"MEAN", StatisticType::MEAN},
    {"MEDIAN", StatisticType::MEDIAN},
    {"MIN", StatisticType::MIN},
    {"MODE", StatisticType::MODE},
    {"NONE", StatisticType::NONE},
    {"P_VALUE", StatisticType::P_VALUE},
    {"PERCENT", StatisticType::PERCENT},
    {"pValue", StatisticType::P_VALUE},
    {"SKEW", StatisticType::SKEW},
    {"STANDARD_DEVIATION", StatisticType::STANDARD_DEVIATION},
    {"STANDARD_ERROR", StatisticType::STANDARD_ERROR},
    {"standardDeviation", StatisticType::STANDARD_DEVIATION},
    {"standardError", StatisticType::STANDARD_ERROR},
    {"STANDARDERRORSTATISTIC", StatisticType::STANDARD_ERROR},
    {"SUM", StatisticType::SUM},
    {"T_STATISTIC", StatisticType::T_STATISTIC},
    {"THIRD_QUARTILE", StatisticType::THIRD_QUARTILE},
    {"thirdQuartile", StatisticType::THIRD_QUARTILE},
    {"totalCount", StatisticType::FREQUENCY_WITH_MISSING},
    {"totalCountPercent", StatisticType::PERCENT},
    {"tStatistic", StatisticType::T_STATISTIC},
    {"UNCORRECTED_SUM_OF_SQUARES", StatisticType::UNCORRECTED_SUM_OF_SQUARES},
    {"uncorrectedSumOfSquares", StatisticType::UNCORRECTED_SUM_OF_SQUARES},
    {"VARIANCE", StatisticType::VARIANCE},
}};

std::optional<StatisticType::type> findStatistic(std::string_view text) {
    for (const LookupEntry& entry : lookupEntries) {
        if (StringUtilities::equalsIgnoreCase(text, entry.text)) {
            return entry.value;
        }
    }
    return std::nullopt;
}

}  // namespace

StatisticType::type StatisticType::getValueFromString(std::string_view text, type defaultValue) {
    return findStatistic(text).value_or(defaultValue);
}

bool StatisticType::isValueValid(std::string_view text) {
    return findStatistic(text).has_value();
}

std::string_view StatisticType::getStringFromValue(type value) {
    return isValid(value) ? statisticNames[static_cast<std::size_t>(value)].name : std::string_view();
}

std::string_view StatisticType::getXmlRepresentation(type value) {
    return isValid(value) ? statisticNames[static_cast<std::size_t>(value)].xmlName : std::string_view();
}

}  // namespace pellium
