#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// Orders texts as a reader of a language expects, not by their bytes: "Ärger" < "arm" < "Zorn"
/// for a German reader (bytewise "Ärger" comes last), "zebra" < "ärlig" for a Swedish one. Sorts of texts by locale
/// build one sort key per distinct text with it and then compare keys bytewise.
///
/// The collation has three levels, each deciding only when the ones before are equal:
/// 1. base letters (and digits, symbols, punctuation), case and accents ignored;
/// 2. accents, compared from the start of the text;
/// 3. case and letter variants, lower case first.
/// The rules are compiled in: the root order of the common scripts (punctuation and symbols,
/// digits, Latin, Greek, Cyrillic, then every other character by code point) and the tailorings
/// of the languages whose alphabets differ from the root one (Czech, Danish, Norwegian, Finnish,
/// Swedish, Spanish, Polish, Romanian, Turkish, Ukrainian, ...). Canonically equivalent spellings
/// (a precomposed letter and its base letter with combining accents) collate equal. Texts that
/// collate equal are not equal texts: callers that need a total order break ties bytewise.
///
/// The order agrees with the Unicode locale data (CLDR 42, as ICU 72 implements it) on the
/// alphabets above; the tests check that pair by pair. Deliberate differences, each a rarity in
/// report data:
/// - other scripts (Arabic, Hebrew, Devanagari, Thai, CJK, ...) follow Cyrillic in code point
///   order, without their own letter order; so do the rare Latin, Greek and Cyrillic letters the
///   tables do not list;
/// - texts are compared in their canonical form, as ICU does only with normalisation on;
/// - Hungarian doubled digraphs ("ccs" as "cs" + "cs") and the Nordic "þ" as "th" are not
///   tailored; Chinese, Japanese and Korean orders (pinyin, stroke) are not built in.
///
/// Malformed UTF-8 never fails: each fault collates as U+FFFD. Collators are immutable and may be
/// used from any thread.
class PELLIUM_EXPORT Collator {
    struct Token {};

public:
    /// The collator of `locale` ("sv_SE", "sv", "de-DE"): the rules of the locale itself where it
    /// has its own ("fr_CA"), else those of its language, else the root rules (also for a text
    /// that is no locale name). Collators are shared: the same rules answer the same instance.
    static std::shared_ptr<const Collator> create(std::string_view locale);

    struct Tailoring;
    Collator(Token, const Tailoring* tailoring);

    /// The locale or language whose rules apply ("sv", "fr_CA"); empty for the root rules.
    std::string_view getLanguage() const;

    /// Appends the sort key of `text`: comparing keys bytewise (as unsigned bytes, a proper prefix
    /// first) orders the texts by this collation; equal keys mean the texts collate equal.
    void appendSortKey(std::string_view text, std::string& key) const;
    std::string getSortKey(std::string_view text) const;

    /// Negative, zero or positive as `left` collates before, equal to or after `right`.
    int compare(std::string_view left, std::string_view right) const;

private:
    const Tailoring* tailoring_;
};

}  // namespace pellium
