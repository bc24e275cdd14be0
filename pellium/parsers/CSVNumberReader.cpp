#include "pellium/parsers/CSVNumberReader.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>

#include "pellium/util/StringUtilities.h"
#include "pellium/util/TextWords.h"

namespace pellium {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Whether all eight bytes of a word are ASCII digits, and their value, without a loop: the
// classic word-at-a-time tests, the bytes being in reading order from the lowest.
bool areEightDigits(std::uint64_t word) {
    return (((word + 0x4646464646464646ULL) | (word - 0x3030303030303030ULL)) & 0x8080808080808080ULL) == 0;
}

std::uint64_t valueOfEightDigits(std::uint64_t word) {
    word -= 0x3030303030303030ULL;
    word = word * 10 + (word >> 8);  // pairs of digits
    constexpr std::uint64_t lowPairs = 0x000000FF000000FFULL;
    constexpr std::uint64_t scaleHigh = 100 + (1000000ULL << 32);
    constexpr std::uint64_t scaleLow = 1 + (10000ULL << 32);
    return (((word & lowPairs) * scaleHigh) + (((word >> 16) & lowPairs) * scaleLow)) >> 32;
}

// Adds the digits at `position` to `mantissa`, eight at a time while eight are there; false when
// there are more than nineteen digits in all, which a 64-bit mantissa may not hold.
[[gnu::always_inline]] inline bool accumulateDigits(const char*& position, const char* end, std::uint64_t& mantissa,
                                                    int& digits) {
    while (end - position >= 8 && areEightDigits(TextWords::load<std::uint64_t>(position))) {
        if ((digits += 8) > 19) {
            return false;
        }
        mantissa = mantissa * 100000000 + valueOfEightDigits(TextWords::load<std::uint64_t>(position));
        position += 8;
    }
    for (; position < end && isDigit(*position); ++position) {
        if (++digits > 19) {
            return false;
        }
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(*position - '0');
    }
    return true;
}

constexpr std::array<double, 23> powersOfTen{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

enum class ShortDecimal { READ, NOT_A_NUMBER, TOO_LONG_OR_EXPONENT };

// Clinger's fast path for the numbers CSV files mostly hold: digits with an optional point and no
// exponent, whose digits form an integer m of at most 2^53 with at most 22 decimals. Both m and
// the power of ten are exact doubles, so the one division, which IEEE arithmetic rounds correctly,
// gives the correctly rounded value. Texts that stop at a character no number holds ("2015-06-09")
// are refused here; the other numbers are left to std::from_chars.
ShortDecimal readShortDecimal(std::string_view text, double& value) {
    const char* position = text.data();
    const char* const end = position + text.size();
    const bool isNegative = position < end && *position == '-';
    position += isNegative ? 1 : 0;
    std::uint64_t mantissa = 0;
    int digits = 0;
    if (!accumulateDigits(position, end, mantissa, digits)) {
        return ShortDecimal::TOO_LONG_OR_EXPONENT;
    }
    const int integerDigits = digits;
    if (position < end && *position == '.') {
        ++position;
        if (!accumulateDigits(position, end, mantissa, digits)) {
            return ShortDecimal::TOO_LONG_OR_EXPONENT;
        }
    }
    if (position != end && *position != 'e' && *position != 'E') {
        return ShortDecimal::NOT_A_NUMBER;
    }
    const int decimals = digits - integerDigits;
    if (position != end || digits == 0 || mantissa > (std::uint64_t{1} << 53) ||
        decimals >= static_cast<int>(powersOfTen.size())) {
        return ShortDecimal::TOO_LONG_OR_EXPONENT;
    }
    const double magnitude = decimals == 0
                                 ? static_cast<double>(mantissa)
                                 : static_cast<double>(mantissa) / powersOfTen[static_cast<std::size_t>(decimals)];
    value = isNegative ? -magnitude : magnitude;
    return ShortDecimal::READ;
}

}  // namespace

bool CSVNumberReader::read(std::string_view text, double& value) {
    const bool hasPlusSign = !text.empty() && text.front() == '+';
    if (hasPlusSign) {
        text.remove_prefix(1);
    }
    const std::size_t signLength = !hasPlusSign && !text.empty() && text.front() == '-' ? 1 : 0;
    // The library writes infinities so (StringUtilities::createStringFromDouble); other spellings
    // are texts.
    if (text.substr(signLength) == "Infinity") {
        value = signLength == 0 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity();
        return true;
    }
    if (text.size() <= signLength || !(isDigit(text[signLength]) || text[signLength] == '.')) {
        return false;
    }
    switch (readShortDecimal(text, value)) {
        case ShortDecimal::READ:
            return true;
        case ShortDecimal::NOT_A_NUMBER:
            return false;
        case ShortDecimal::TOO_LONG_OR_EXPONENT:
            break;
    }
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (stop != end) {
        return false;
    }
    if (error == std::errc::result_out_of_range) {
        value = StringUtilities::createDoubleFromString(text);  // an infinity or a zero of the sign
    }
    return error == std::errc() || error == std::errc::result_out_of_range;
}

}  // namespace pellium
