#include "pellium/formatters/DecimalDigits.h"

#include <charconv>
#include <cmath>

namespace pellium {

DecimalDigits DecimalDigits::fromDouble(double value) noexcept {
    DecimalDigits result;
    result.negative = std::signbit(value);
    if (!std::isfinite(value) || value == 0) {
        return result;
    }
    // Scientific notation gives the shortest digits as "d.ddde+XX" without leading zeros.
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::scientific).ptr;
    const char* cursor = text;
    for (; cursor < end && *cursor != 'e'; ++cursor) {
        if (*cursor != '.' && result.count < MAX_DIGITS) {
            result.digits[result.count++] = *cursor;
        }
    }
    int exponent = 0;
    if (cursor < end) {
        ++cursor;
        if (cursor < end && *cursor == '+') {
            ++cursor;
        }
        std::from_chars(cursor, end, exponent);
    }
    while (result.count > 0 && result.digits[result.count - 1] == '0') {
        --result.count;
    }
    result.pointPosition = exponent + 1;
    return result;
}

void DecimalDigits::roundToLength(int keep) noexcept {
    if (keep >= count) {
        return;
    }
    if (keep < 0) {
        count = 0;
        pointPosition = 0;
        return;
    }
    const bool roundUp = digits[keep] >= '5';
    count = keep;
    if (roundUp) {
        // Trailing nines become zeros and are dropped; a carry past the first digit makes "1".
        while (count > 0 && digits[count - 1] == '9') {
            --count;
        }
        if (count == 0) {
            digits[0] = '1';
            count = 1;
            ++pointPosition;
        } else {
            ++digits[count - 1];
        }
    } else {
        while (count > 0 && digits[count - 1] == '0') {
            --count;
        }
        if (count == 0) {
            pointPosition = 0;  // zero has one form
        }
    }
}

}  // namespace pellium
