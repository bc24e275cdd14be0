#include "pellium/resources/localization/LocaleNames.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

// Longer texts are refused before any work, so hostile input costs nothing.
constexpr std::size_t MAXIMUM_LOCALE_LENGTH = 64;

// Languages written right to left when no script is named (CLDR's likely scripts), byte order.
constexpr std::array<std::string_view, 26> RIGHT_TO_LEFT_LANGUAGES = {
    "ar",  "arc", "bal", "bgn", "ckb", "dv", "fa", "glk", "he",  "iw",  "ji", "khw", "ks",
    "lrc", "mzn", "nqo", "pnb", "prs", "ps", "sd", "sdh", "skr", "syr", "ug", "ur",  "yi"};

// ISO 15924 scripts written right to left, byte order.
constexpr std::array<std::string_view, 27> RIGHT_TO_LEFT_SCRIPTS = {
    "Adlm", "Arab", "Aran", "Armi", "Avst", "Cprt", "Hebr", "Khar", "Mand", "Mani", "Mend", "Nbat", "Nkoo", "Orkh",
    "Palm", "Phli", "Phlp", "Phnx", "Prti", "Rohg", "Samr", "Sarb", "Sogd", "Sogo", "Syrc", "Thaa", "Yezi"};

bool isAsciiLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}
bool isAsciiDigit(char character) {
    return character >= '0' && character <= '9';
}

bool allOf(std::string_view text, bool (*predicate)(char)) {
    return std::all_of(text.begin(), text.end(), predicate);
}

bool isAlphanumeric(char character) {
    return isAsciiLetter(character) || isAsciiDigit(character);
}

enum class Part { Language, Script, Region, Variant };

/// The parts of a locale name in normal spelling, with their roles; empty when malformed.
struct ParsedLocale {
    std::vector<std::string> parts;
    std::vector<Part> roles;
};

std::optional<ParsedLocale> parse(std::string_view text) {
    text = StringUtilities::trim(text);
    if (text.empty() || text.size() > MAXIMUM_LOCALE_LENGTH) {
        return std::nullopt;
    }
    ParsedLocale parsed;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find_first_of("_-", start), text.size());
        const std::string_view piece = text.substr(start, end - start);
        const Part previous = parsed.roles.empty() ? Part::Language : parsed.roles.back();
        std::string normal(piece);
        Part role = Part::Variant;
        if (parsed.parts.empty()) {
            if (piece.size() < 2 || piece.size() > 3 || !allOf(piece, isAsciiLetter)) {
                return std::nullopt;
            }
            normal = StringUtilities::toLowerAscii(piece);
            role = Part::Language;
        } else if (previous == Part::Language && piece.size() == 4 && allOf(piece, isAsciiLetter)) {
            normal = StringUtilities::toLowerAscii(piece);
            normal[0] = StringUtilities::toUpperAscii(normal[0]);
            role = Part::Script;
        } else if ((previous == Part::Language || previous == Part::Script) &&
                   ((piece.size() == 2 && allOf(piece, isAsciiLetter)) ||
                    (piece.size() == 3 && allOf(piece, isAsciiDigit)))) {
            normal = StringUtilities::toUpperAscii(piece);
            role = Part::Region;
        } else if (piece.empty() || piece.size() > 8 || !allOf(piece, isAlphanumeric)) {
            return std::nullopt;
        }
        parsed.parts.push_back(std::move(normal));
        parsed.roles.push_back(role);
        start = end + 1;
    }
    return parsed;
}

std::string join(const std::vector<std::string>& parts, std::size_t count) {
    std::string joined;
    for (std::size_t index = 0; index < count; ++index) {
        if (index > 0) {
            joined.push_back('_');
        }
        joined += parts[index];
    }
    return joined;
}

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& sorted, std::string_view value) {
    return std::binary_search(sorted.begin(), sorted.end(), value);
}

}  // namespace

std::optional<std::string> LocaleNames::normalize(std::string_view locale) {
    const auto parsed = parse(locale);
    if (!parsed) {
        return std::nullopt;
    }
    return join(parsed->parts, parsed->parts.size());
}

bool LocaleNames::isNormalized(std::string_view locale) {
    const auto normal = normalize(locale);
    return normal && *normal == locale;
}

std::vector<std::string> LocaleNames::getFallbackChain(std::string_view locale) {
    std::vector<std::string> chain;
    if (const auto parsed = parse(locale)) {
        for (std::size_t count = parsed->parts.size(); count > 0; --count) {
            chain.push_back(join(parsed->parts, count));
        }
    }
    if (std::find(chain.begin(), chain.end(), DEFAULT_LOCALE) == chain.end()) {
        chain.emplace_back(DEFAULT_LOCALE);
    }
    return chain;
}

std::string LocaleNames::getLanguage(std::string_view locale) {
    const auto parsed = parse(locale);
    return parsed ? parsed->parts.front() : std::string();
}

bool LocaleNames::isRightToLeft(std::string_view locale) {
    const auto parsed = parse(locale);
    if (!parsed) {
        return false;
    }
    if (parsed->roles.size() > 1 && parsed->roles[1] == Part::Script) {
        return contains(RIGHT_TO_LEFT_SCRIPTS, parsed->parts[1]);
    }
    return contains(RIGHT_TO_LEFT_LANGUAGES, parsed->parts.front());
}

}  // namespace pellium
