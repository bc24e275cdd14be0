#pragma once

#include <string>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// A format name split into its parts: *dollar12.2* is the bare name "DOLLAR", width 12 and
/// 2 decimals; *CURRENCY_de_DE12.2* also carries the locale suffix "de_DE".
class PELLIUM_EXPORT FormatNameParts {
public:
    std::string name;          ///< bare name, upper-cased
    std::string localeSuffix;  ///< only for CURRENCY_<locale>; empty when absent
    int width = -1;            ///< total field width; 0 when the name carries no width digits
    int decimalWidth = -1;     ///< decimals; -1 when the name carries no decimals part

    /// Splits a name of the shape: bare name, optional "_" and locale (CURRENCY only), optional
    /// width digits, optional "." and optional decimals. Never fails: the first character is
    /// never a width digit ("5." is the name "5" with width 0), a width text longer than four
    /// digits clamps to 500 and a decimals text longer than four characters to 10, and any text
    /// after "_" other than a CURRENCY locale is dropped.
    static FormatNameParts extractFormatParts(std::string_view formatName);
};

}  // namespace pellium
