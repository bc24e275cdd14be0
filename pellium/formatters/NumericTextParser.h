#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pellium/formatters/NumericSymbols.h"

namespace pellium {

/// Reads the texts the numeric formatters write back into numbers: a number in the locale's
/// form (grouping separators in the right places, the locale's decimal separator and exponent),
/// with an optional sign or parentheses for negative values, and the affixes its formatter
/// registered around it ("$", "%", "K", "MB", "<"). A text that is not in that form is tried as a
/// plain number in the C form ("1234.56", "-1.5e3"). Anything else answers NaN.
///
/// Bidirectional controls and surrounding spaces (no-break spaces included) are ignored; a space
/// may stand for a locale's no-break grouping space and "'" for its apostrophe. Internal to the
/// formatters; allocation happens only while parsing, never in formatting.
class NumericTextParser {
public:
    /// Texts longer than this are no number any formatter writes; they answer NaN at once.
    static constexpr std::size_t MAXIMUM_TEXT_LENGTH = 512;

    NumericTextParser() = default;
    NumericTextParser(const NumericSymbols& symbols, std::string_view negativeSign);

    /// Accepts `text` before or after the number; the value is multiplied by 10^decimalShift and
    /// by `factor` ("%" is -2, "K" is 3, "KB" is a factor of 1024). Empty texts are ignored.
    void addAffix(std::string_view text, int decimalShift, double factor = 1);

    double parse(std::string_view text) const;

private:
    struct Affix {
        std::string text;
        int decimalShift;
        double factor;
    };

    bool readLocaleNumber(std::string_view body, std::string& ascii) const;
    bool readIntegerPart(std::string_view body, std::size_t& position, std::string& ascii) const;
    bool matchGroupingSeparator(std::string_view body, std::size_t& position) const;
    static bool match(std::string_view body, std::size_t& position, std::string_view text);

    std::string decimalSeparator_ = ".";
    std::vector<std::string> groupingSeparators_ = {","};
    std::vector<std::string> signs_;
    std::vector<std::string> plusSigns_;
    std::string exponentSeparator_ = "E";
    std::string infinity_;
    int primaryGroupSize_ = 3;
    int secondaryGroupSize_ = 3;
    std::vector<Affix> affixes_;
};

}  // namespace pellium
