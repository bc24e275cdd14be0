#pragma once

#include <cstdint>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The operators of where clauses: the six comparisons, LIKE, the compound joins AND, OR and NOT,
/// IS and IS_NOT, and the constant clauses FALSE and TRUE. Each has a short name, which the
/// machine form of a clause and the stream use, and a pretty name for people.
///
/// getValueFromString accepts the short names and a few synonyms ("==", "<>", "&&", "||",
/// "IS NOT"...) but deliberately not the pretty names "=" and "~": texts written by hosts rely on
/// those two being refused.
class PELLIUM_EXPORT WhereClauseOperators {
public:
    enum type : std::uint32_t {
        EQ = 1,
        LIKE = 2,
        NE = 3,
        LT = 4,
        LE = 5,
        GT = 6,
        GE = 7,
        AND = 8,
        OR = 9,
        NOT = 10,
        IS = 11,
        IS_NOT = 12,
        FALSE = 13,
        TRUE = 14,
        /// No operator: refused by every factory.
        UNKNOWN = 0xFFFFFFFF,
    };

    WhereClauseOperators() = delete;

    /// Whether `value` is one of the fourteen operators (1 to 14).
    static constexpr bool isValid(std::uint32_t value) { return value >= EQ && value <= TRUE; }
    /// EQ, NE, LT, LE, GT or GE.
    static constexpr bool isComparison(type value) { return value == EQ || (value >= NE && value <= GE); }

    /// The short name ("EQ", "NE", "AND", "IS_NOT"...); "UNKNOWN" for any other number, 0 included.
    static std::string_view getStringFromValue(type value);
    /// The name for people ("=", "~", "!=", "<"...; the compound and constant operators keep their
    /// short names); "UNKNOWN" for any other number.
    static std::string_view getPrettyStringFromValue(type value);
    /// The operator named `name`, by exact, case-sensitive match against the short names and their
    /// synonyms; `defaultValue` when the text names none. "=" and "~" are refused.
    static type getValueFromString(std::string_view name, type defaultValue);
};

}  // namespace pellium
