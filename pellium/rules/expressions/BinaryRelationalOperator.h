#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The operator of a relational expression. Expression text writes it as the infix symbol "=",
/// "≠", ">", "≥", "<" or "≤" ("?" for NONE, which no comparison satisfies); the parser also reads
/// the ASCII spellings "<>", "!=", "==", ">=" and "<=". Look-ups answer an empty optional, never throw.
class PELLIUM_EXPORT BinaryRelationalOperator {
public:
    enum type : std::int32_t {
        NONE = 0,
        EQ = 1,
        NE = 2,
        GT = 3,
        GE = 4,
        LT = 5,
        LE = 6,
    };

    BinaryRelationalOperator() = delete;

    static constexpr bool isValid(std::int32_t value) { return value >= NONE && value <= LE; }

    /// The operator true exactly where `value` is false among ordered values (EQ and NE, GT and
    /// LE, GE and LT); NONE for NONE and for a number that is no operator.
    static constexpr type getInverse(type value) {
        constexpr type INVERSES[] = {NONE, NE, EQ, LE, LT, GE, GT};
        return isValid(value) ? INVERSES[value] : NONE;
    }
    /// The operator with its operands swapped (5 < x is x > 5); NONE for a number that is no operator.
    static constexpr type getMirrored(type value) {
        constexpr type MIRRORED[] = {NONE, EQ, NE, LT, LE, GT, GE};
        return isValid(value) ? MIRRORED[value] : NONE;
    }

    /// "NONE", "EQ"...; empty for a number that is no operator.
    static std::string_view getStringFromValue(type value);
    static std::optional<type> getValueFromString(std::string_view name);

    /// The infix symbol; "?" for NONE and for a number that is no operator.
    static std::string_view getSymbol(type value);
    /// The operator written by `symbol`, in its printed or its ASCII spelling.
    static std::optional<type> getValueFromSymbol(std::string_view symbol);
};

}  // namespace pellium
