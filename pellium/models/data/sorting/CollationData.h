#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// The character data behind Collator, compiled in. Internal to the library.
namespace pellium::detail {

/// A precomposed letter and its canonical decomposition: a base character and up to three
/// combining marks (0 where none).
struct Decomposition {
    char16_t codePoint;
    char16_t base;
    char16_t marks[3];
};

/// A compatibility character (ligature, superscript, fraction, ordinal indicator) and the
/// characters it collates as, with a variant weight at the third level.
struct Expansion {
    char16_t codePoint;
    char16_t characters[4];
};

/// An upper-case letter that does not decompose and its lower-case letter.
struct CaseMapping {
    char16_t upper;
    char16_t lower;
};

/// A punctuation mark, space or symbol: its rank among them (first level) and its variant rank
/// within characters of the same rank (third level).
struct SymbolWeight {
    char16_t codePoint;
    std::uint16_t rank;
    std::uint8_t variant;
};

// Each table is sorted by code point.
extern const std::span<const Decomposition> canonicalDecompositions;
extern const std::span<const Expansion> compatibilityExpansions;
extern const std::span<const CaseMapping> lowerCaseLetters;
extern const std::span<const SymbolWeight> symbolWeights;
/// Format and invisible characters that collation ignores altogether.
extern const std::span<const char16_t> ignorableCharacters;

/// The letters of each script in their root order, lower case (UTF-8). Letters not listed sort
/// after the listed ones of their script by code point.
extern const std::string_view latinRootOrder;
extern const std::string_view greekRootOrder;
extern const std::string_view cyrillicRootOrder;

/// The combining marks in the order of their accent weights (second level); marks on one
/// entry share a weight.
extern const std::span<const std::u16string_view> markOrder;

}  // namespace pellium::detail
