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

    /// "NONE", "EQ"...; empty for a number that is no operator.
    static std::string_view getStringFromValue(type value);
    static std::optional<type> getValueFromString(std::string_view name);

    /// The infix symbol; "?" for NONE and for a number that is no operator.
    static std::string_view getSymbol(type value);
    /// The operator written by `symbol`, in its printed or its ASCII spelling.
    static std::optional<type> getValueFromSymbol(std::string_view symbol);
};

}  // namespace pellium
