#pragma once

#include "pellium/Export.h"

namespace pellium {

/// The decimal digits of a double as a reader sees them, and decimal rounding on them. Every
/// numeric formatter starts here, so that rounding follows the digits the user typed rather than
/// the binary value: 2.675 is stored as 2.67499999999999982..., but its shortest text is "2.675",
/// and rounded to two decimals it shows 2.68, as it does on paper.
///
/// The digits are those of the shortest decimal that reads back to the same double (at most 17),
/// so formatting a value and reading the text back never drifts. Rounding is half away from zero.
/// The value is 0.d1 d2 ... dn x 10^pointPosition, with no leading and no trailing zero digits;
/// zero has no digits at all. Works without allocation; infinities and NaN are the caller's
/// business (fromDouble gives zero for them).
struct PELLIUM_EXPORT DecimalDigits {
    static constexpr int MAX_DIGITS = 17;

    char digits[MAX_DIGITS + 1] = {};  // ASCII '0' to '9'; only the first `count` are used
    int count = 0;                     // 0 for zero
    int pointPosition = 0;             // digits before the decimal point; negative for 0.00ddd
    bool negative = false;             // the sign of the double, negative zero included

    /// The shortest digits of a finite `value`; zero (keeping the sign) for NaN and infinities.
    static DecimalDigits fromDouble(double value) noexcept;

    bool isZero() const noexcept { return count == 0; }
    /// Digits before the decimal point, at least one: 0.25 has one ("0").
    int integerDigitCount() const noexcept { return pointPosition > 0 ? pointPosition : 1; }
    /// Decimals needed to show every digit: 0 for whole numbers.
    int fractionDigitCount() const noexcept { return count > pointPosition ? count - pointPosition : 0; }
    /// The digit at `index` counted from the first significant one, '0' outside the digits.
    char digitAt(int index) const noexcept { return index >= 0 && index < count ? digits[index] : '0'; }
    /// The exponent of scientific notation: 1234.5 is 1.2345E3.
    int scientificExponent() const noexcept { return pointPosition - 1; }

    /// Rounds half away from zero so that at most `decimals` digits follow the point; may add an
    /// integer digit (9.995 -> 10.00) and may leave zero.
    void roundToDecimals(int decimals) noexcept { roundToLength(pointPosition + decimals); }
    /// Rounds half away from zero to at most `significant` significant digits (at least one).
    void roundToSignificant(int significant) noexcept { roundToLength(significant > 0 ? significant : 1); }
    /// Multiplies by 10^power exactly (percent is a shift by 2).
    void shiftDecimalPoint(int power) noexcept {
        if (count > 0) {
            pointPosition += power;
        }
    }

private:
    void roundToLength(int keep) noexcept;
};

}  // namespace pellium
