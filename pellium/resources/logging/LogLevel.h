#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The sections of the library's log: four levels of severity and three special sections.
///
/// The levels are ordered: the configured level and every more severe one are written
/// (`loglevel=INFO` writes ERROR, WARNING and INFO). The special sections stand outside that order
/// and are written only when their own section of the configuration names an output, since they
/// trace one concern in detail rather than grade severity:
/// - PERFORMANCE: durations and sizes of expensive operations (decoding a data set, building a
///   hierarchy, aggregating), for finding what makes a report slow;
/// - NETWORK: requests and responses exchanged through the host's network layer, and the response
///   cache's hits and misses;
/// - EVENTS: change events raised by models and data sets, for following how a selection or an
///   edit travels through linked views.
class PELLIUM_EXPORT LogLevel {
public:
    enum type : std::int32_t {
        ERROR = 0,
        WARNING = 1,
        INFO = 2,
        DEBUG = 3,
        PERFORMANCE = 4,
        NETWORK = 5,
        EVENTS = 6,
    };

    static constexpr int NUMBER_OF_VALUES = 7;

    /// Every value, in numeric order.
    static constexpr std::array<type, NUMBER_OF_VALUES> allValues() {
        return {ERROR, WARNING, INFO, DEBUG, PERFORMANCE, NETWORK, EVENTS};
    }

    /// The value named `name`, compared without regard to ASCII case ("warning", "WARNING");
    /// empty when no value has that name.
    static std::optional<type> getValueFromString(std::string_view name);

    /// The upper-case name of `value` ("WARNING"); empty for a number that is no value.
    static std::string_view getStringFromValue(type value);

    /// Whether `value` is a value of the enumeration.
    static constexpr bool isValid(type value) { return value >= ERROR && value <= EVENTS; }

    /// Whether `value` is one of the three special sections rather than a level of severity.
    static constexpr bool isSpecialSection(type value) { return value >= PERFORMANCE && value <= EVENTS; }
};

}  // namespace pellium
