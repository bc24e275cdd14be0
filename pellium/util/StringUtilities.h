#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// An immutable UTF-8 text held by shared pointer; a null pointer is the library's "no text".
using SharedString = std::shared_ptr<const std::string>;

/// The text helpers every part of the library leans on: the process-wide pool of interned texts,
/// locale-independent number conversions, splitting and trimming, ASCII case folding, removal of
/// bidirectional controls and UTF-8 encoding and decoding. All texts are UTF-8 byte strings.
/// Nothing here throws on bad input; conversions answer 0, NaN or false as documented.
class PELLIUM_EXPORT StringUtilities {
public:
    StringUtilities() = delete;

    // --- Interning -------------------------------------------------------------------------------

    /// The one shared instance of `text`: equal texts interned anywhere in the process give the
    /// same pointer, so interned texts compare by pointer first. Safe from any thread; a text that
    /// is already interned is found under a shared lock without allocating. Interned texts are
    /// never released while the library is loaded.
    static SharedString internString(std::string_view text);
    /// As above; null in gives null out. A text not yet interned is adopted without a copy, so it
    /// must not be changed afterwards through some other, non-const pointer.
    static SharedString internString(const SharedString& text);
    /// The library's shared null text (a null SharedString), for functions that answer by reference.
    static const SharedString& getNullString();

    // --- Numbers ---------------------------------------------------------------------------------

    /// The shortest text that reads back to exactly `value` (at most 17 significant digits), laid
    /// out as a reader expects: plain digits for magnitudes from 0.000001 up to below 1e21
    /// ("100000", "0.000001", "123.45"), an exponent outside that range ("1e+21", "1.5e-7",
    /// "-2.2250738585072014e-308"). NaN gives "NaN", the infinities "Infinity" and "-Infinity", zero
    /// "0" and negative zero "-0". Independent of the C locale; createDoubleFromString reads every
    /// result back to the same double.
    static std::string createStringFromDouble(double value);

    /// The integer at the start of `text`: optional leading white space, an optional sign, then
    /// decimal digits up to the first non-digit. No digits gives 0; a value beyond the range of
    /// int saturates to INT_MAX or INT_MIN. Used for width texts and integer fields of rule files.
    static int createIntFromString(std::string_view text);
    /// Strict variant: the whole text, less surrounding white space, must be an optional sign and
    /// at least one decimal digit, and the value must fit an int. Otherwise answers false and
    /// leaves `value` unchanged.
    static bool tryParseInt(std::string_view text, int& value);

    /// The number written in `text`, locale-independent ("." is the decimal point, no grouping).
    /// The whole text less surrounding white space must be a decimal number with an optional sign
    /// and exponent ("-1.5e+3", ".5", "7."), or "NaN", "Infinity", "+Infinity", "-Infinity".
    /// Anything else, including trailing junk and hexadecimal, gives NaN. A number too large for a
    /// double gives an infinity of its sign, one too small a zero of its sign.
    static double createDoubleFromString(std::string_view text);

    // --- Splitting and trimming ------------------------------------------------------------------

    /// Splits `text` at every byte that occurs in `delimiters`. With `keepEmpty` a text with n
    /// delimiters gives exactly n + 1 fields, empty ones included ("a;;b" -> "a", "", "b"; "" -> one
    /// empty field), which is what field-positional rule files need. Without it empty fields are
    /// dropped ("" -> none). Delimiters are single bytes; ASCII delimiters are safe on UTF-8 text.
    static std::vector<std::string> tokenize(std::string_view text, std::string_view delimiters, bool keepEmpty = true);
    /// As tokenize, but the fields are views into `text`, for hot paths; they live as long as it.
    static std::vector<std::string_view> tokenizeViews(std::string_view text, std::string_view delimiters,
                                                       bool keepEmpty = true);

    /// White space is the standard C set: space, \t, \n, \v, \f and \r (ASCII only, so a
    /// no-break space is kept).
    static constexpr bool isWhiteSpace(char character) noexcept {
        return character == ' ' || (character >= '\t' && character <= '\r');
    }
    /// `text` less leading and trailing white space; a view into `text`.
    static std::string_view trim(std::string_view text) noexcept;
    static std::string_view trimLeft(std::string_view text) noexcept;
    static std::string_view trimRight(std::string_view text) noexcept;
    /// True for a null text, an empty one or one of white space only.
    static bool isStringMissing(const SharedString& text) noexcept;
    static bool isStringMissing(std::string_view text) noexcept;

    // --- ASCII case folding ----------------------------------------------------------------------
    // Only A-Z and a-z fold; every other byte, including all of multi-byte UTF-8, compares as its
    // unsigned value. Independent of the C locale. Language-aware comparison is collation's job.

    static constexpr char toLowerAscii(char character) noexcept {
        return (character >= 'A' && character <= 'Z') ? static_cast<char>(character + ('a' - 'A')) : character;
    }
    static constexpr char toUpperAscii(char character) noexcept {
        return (character >= 'a' && character <= 'z') ? static_cast<char>(character - ('a' - 'A')) : character;
    }
    /// The value of an ASCII hexadecimal digit (either case), or -1 for any other character.
    static constexpr int hexDigitValue(char character) noexcept {
        if (character >= '0' && character <= '9') {
            return character - '0';
        }
        const char lower = toLowerAscii(character);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    }
    /// Appends the text as one CSV field in double quotes, each double quote inside doubled.
    static void appendQuotedField(std::string& out, std::string_view text);
    static std::string toLowerAscii(std::string_view text);
    static std::string toUpperAscii(std::string_view text);
    static bool equalsIgnoreCase(std::string_view left, std::string_view right) noexcept;
    /// Negative, zero or positive as `left` sorts before, with or after `right` once both are folded
    /// to lower case; a proper prefix sorts first.
    static int compareIgnoreCase(std::string_view left, std::string_view right) noexcept;

    // --- Bidirectional controls ------------------------------------------------------------------

    /// `text` without any bidirectional control character: the marks U+200E LRM, U+200F RLM and
    /// U+061C ALM, the embeddings and overrides U+202A-U+202E and the isolates U+2066-U+2069.
    /// Only those exact encoded sequences are removed; every other byte is kept as it is.
    static std::string removeBidiControls(std::string_view text);
    /// `text` without the embedding, override and isolate controls (U+202A-U+202E,
    /// U+2066-U+2069); the marks (LRM, RLM, ALM) are kept, since they do not nest and are safe to
    /// leave in a text that is cut or concatenated.
    static std::string removeBidiControlEmbedded(std::string_view text);

    // --- UTF-8 -----------------------------------------------------------------------------------

    static constexpr char32_t REPLACEMENT_CHARACTER = U'\uFFFD';
    static constexpr char32_t MAXIMUM_CODE_POINT = U'\U0010FFFF';

    /// Appends the UTF-8 encoding of `codePoint`; a surrogate (U+D800-U+DFFF) or a value above
    /// U+10FFFF appends U+FFFD instead.
    static void appendUtf8(std::string& out, char32_t codePoint);
    /// Decodes the code point starting at `position` and advances past it. A malformed sequence
    /// (stray continuation byte, overlong form, surrogate, value above U+10FFFF, truncated
    /// sequence) answers false with `codePoint` = U+FFFD and advances past the longest ill-formed
    /// prefix (at least one byte), so a loop replaces each fault by one U+FFFD as Unicode advises.
    /// At or past the end it answers false and leaves `position` unchanged.
    static bool decodeUtf8(std::string_view text, std::size_t& position, char32_t& codePoint) noexcept;
    /// True when `text` is well-formed UTF-8 throughout.
    static bool isValidUtf8(std::string_view text) noexcept;
    /// The number of code points in `text`; in malformed text each fault counts as one, as if it
    /// had been replaced by U+FFFD.
    static std::size_t countUtf8CodePoints(std::string_view text) noexcept;
};

}  // namespace pellium
