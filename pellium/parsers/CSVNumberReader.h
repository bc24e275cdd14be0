#pragma once

#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// Reads the numbers of CSV fields: an optional sign ("+" or "-"), digits with an optional
/// decimal point, and an optional exponent ("1.5e-3"), with nothing around them; also "Infinity"
/// with an optional sign, as the library writes infinities. Other words that std::from_chars
/// accepts ("inf", "nan") and hexadecimal are refused, since in a report they are texts. Plain decimals of up to
/// nineteen digits take an exact fast path; everything else goes through std::from_chars; both give the correctly
/// rounded double.
class PELLIUM_EXPORT CSVNumberReader {
public:
    CSVNumberReader() = delete;

    /// The number `text` writes, in `value`; false, leaving `value` unspecified, when `text` is
    /// not a number. A number beyond the range of a double reads as an infinity or a zero of its
    /// sign.
    static bool read(std::string_view text, double& value);
};

}  // namespace pellium
