#pragma once

#include <cstdint>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The statistic a measure column asks for when its rows are aggregated (its "aggregation"): a
/// column carries one, hierarchies aggregate by it, and a partially aggregated column keeps one
/// sub-column per statistic. Each value has a name ("FREQUENCY") and the name report definitions
/// use in XML ("count").
class PELLIUM_EXPORT StatisticType {
public:
    enum type : std::int32_t {
        SUM = 0,
        FREQUENCY = 1,
        MEAN = 2,
        PERCENT = 3,
        FIRST = 4,
        MIN = 5,
        MAX = 6,
        MEDIAN = 7,
        FREQUENCY_WITH_MISSING = 8,
        COUNT_DISTINCT = 9,
        STANDARD_DEVIATION = 10,
        STANDARD_ERROR = 11,
        VARIANCE = 12,
        MODE = 13,
        COUNT_MISSING = 14,
        FIRST_QUARTILE = 15,
        THIRD_QUARTILE = 16,
        SKEW = 17,
        KURTOSIS = 18,
        COEFFICIENT_OF_VARIATION = 19,
        UNCORRECTED_SUM_OF_SQUARES = 20,
        CORRECTED_SUM_OF_SQUARES = 21,
        T_STATISTIC = 22,
        P_VALUE = 23,
        NONE = 24,
    };

    static constexpr int NUMBER_OF_VALUES = 25;

    static constexpr bool isValid(std::int32_t value) { return value >= SUM && value <= NONE; }

    /// The value whose name or XML name is `text`, compared without regard to ASCII case (both have
    /// the same length and equal letters once folded); `defaultValue` when none matches. Besides
    /// the names, "count", "average", "totalCount" and "totalCountPercent" name FREQUENCY, MEAN,
    /// FREQUENCY_WITH_MISSING and PERCENT, and "STANDARDERRORSTATISTIC" names STANDARD_ERROR.
    static type getValueFromString(std::string_view text, type defaultValue);

    /// Whether `text` names a statistic in the sense of getValueFromString.
    static bool isValueValid(std::string_view text);

    /// The name of `value` ("FREQUENCY"); empty for a number that is no value.
    static std::string_view getStringFromValue(type value);

    /// The XML name of `value` ("count"); empty for a number that is no value.
    static std::string_view getXmlRepresentation(type value);
};

}  // namespace pellium
