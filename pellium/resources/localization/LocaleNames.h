#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// Locale names as the library writes them ("en_US", "ar", "zh_Hant_TW", "sr_Latn_RS") and the
/// few facts derived from them: the normal spelling, the order in which bundles are searched,
/// and the writing direction. Used by localisation contexts and the resource manager; hosts may
/// use it to check a locale text before they hand it over.
///
/// A locale name is a language of two or three letters, then optionally a script of four letters,
/// a region of two letters or three digits, and variants of one to eight letters or digits, the
/// parts separated by "_" or "-". Normalising lower-cases the language, title-cases the script,
/// upper-cases the region, keeps variants as they are and joins the parts with "_"
/// ("EN-us" -> "en_US", "zh-hant-tw" -> "zh_Hant_TW").
class PELLIUM_EXPORT LocaleNames {
public:
    /// The locale of last resort: every bundle has its complete text in this locale.
    static constexpr std::string_view DEFAULT_LOCALE = "en_US";

    LocaleNames() = delete;

    /// The normal spelling of `locale` (surrounding white space ignored), or an empty optional
    /// when the text is not a locale name as described above (empty, too long, a bad part).
    static std::optional<std::string> normalize(std::string_view locale);

    /// True when `locale` is already in its normal spelling.
    static bool isNormalized(std::string_view locale);

    /// The locales whose bundles are searched for a key, most specific first: the normalised
    /// locale, each shorter form obtained by dropping its last part, then "en_US", without
    /// repeats ("ar_SA" -> ar_SA, ar, en_US; "en_US" -> en_US, en; "sr_Latn_RS" -> sr_Latn_RS,
    /// sr_Latn, sr, en_US). A text that is not a locale name gives just "en_US".
    static std::vector<std::string> getFallbackChain(std::string_view locale);

    /// The language part of a locale name ("ar" for "ar_SA"); empty for a text that is not one.
    static std::string getLanguage(std::string_view locale);

    /// True when text in `locale` runs from right to left: its script is a right-to-left one
    /// (Arab, Hebr, Thaa, Syrc, Nkoo, Adlm, Rohg, ...) or, without a script part, its language is
    /// usually written in one (ar, he, iw, fa, ur, yi, ji, ps, dv, ckb, sd, ug, ...). An explicit
    /// script wins over the language ("az_Arab" is right-to-left, "sd_Deva" is not). False for a
    /// text that is not a locale name.
    static bool isRightToLeft(std::string_view locale);
};

}  // namespace pellium
