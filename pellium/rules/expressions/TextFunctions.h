#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "pellium/Export.h"

namespace pellium {

/// The text operations behind the text functions of expressions (Substring, Find, GetWord,
/// UrlEncode...). Positions and lengths count characters (Unicode code points of UTF-8 text),
/// starting at 1, as report authors count them; a malformed byte counts as one character.
/// Positions outside the text are clamped, never an error. All static and allocation-light.
class PELLIUM_EXPORT TextFunctions {
public:
    TextFunctions() = delete;

    /// The characters from `start` on, at most `length` of them (all when `length` is negative).
    /// A start before 1 counts from 1, so Substring('abc', 0, 2) is 'a'.
    static std::string substring(std::string_view text, std::int64_t start, std::int64_t length);
    /// The position of the first occurrence of `part` at or after character `start`; 0 when
    /// there is none. An empty part is found at `start` (clamped to the text).
    static std::int64_t find(std::string_view text, std::string_view part, std::int64_t start);
    /// The position of the first character at or after `start` that is one of `characters`; 0
    /// when there is none.
    static std::int64_t findCharacter(std::string_view text, std::string_view characters, std::int64_t start);
    /// Every occurrence of `part` replaced by `replacement`, left to right without overlaps; the
    /// text unchanged for an empty part.
    static std::string replaceAll(std::string_view text, std::string_view part, std::string_view replacement);
    /// `length` characters from `start` replaced by `replacement`; a start past the end appends.
    static std::string replaceAt(std::string_view text, std::int64_t start, std::int64_t length,
                                 std::string_view replacement);
    /// The characters in reverse order.
    static std::string reverse(std::string_view text);
    /// The text without any of `characters`.
    static std::string removeCharacters(std::string_view text, std::string_view characters);
    /// The text without white space.
    static std::string removeWhitespace(std::string_view text);

    /// Words are the runs of characters between delimiters (any character of `delimiters`); empty
    /// runs are not words. `index` counts words from 1, or from the end when negative.
    /// The word; empty when there is no such word.
    static std::string getWord(std::string_view text, std::int64_t index, std::string_view delimiters);
    /// The text without the word and the delimiters that follow it (that precede it, for the
    /// last of several words); unchanged when there is no such word.
    static std::string removeWord(std::string_view text, std::int64_t index, std::string_view delimiters);
    /// The text with the word replaced by `replacement`; unchanged when there is no such word.
    static std::string replaceWord(std::string_view text, std::int64_t index, std::string_view replacement,
                                   std::string_view delimiters);

    /// Percent-encodes every byte except the unreserved ASCII letters, digits and "-_.~".
    static std::string urlEncode(std::string_view text);
    /// Decodes %XX escapes and "+" as a blank; a "%" not followed by two hexadecimal digits is kept.
    static std::string urlDecode(std::string_view text);
};

}  // namespace pellium
