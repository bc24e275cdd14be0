#include "pellium/models/data/sorting/Collator.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>

#include "pellium/models/data/sorting/CollationData.h"
#include "pellium/resources/localization/LocaleNames.h"
#include "pellium/util/StringUtilities.h"

// How a text becomes a sort key:
// 1. Its code points become units: a lower-case base character with its case, a variant flag
//    (ligatures, superscripts, final sigma) and the combining marks that follow it. Precomposed
//    letters are decomposed, so "é" and "e" + U+0301 give the same unit; format characters vanish.
// 2. Units become collation elements (primary, secondary, tertiary weights). A language's
//    tailoring may turn one or more units into a letter of its own ("č" in Czech, "ch" in Czech,
//    "å" in Swedish); every other base gets its root weight, and each remaining mark a secondary
//    element of its own.
// 3. The key lists the primaries of all elements, a 0 byte, their secondaries, a 0 byte and their
//    tertiaries. Weights are never 0, so a shorter text that is a prefix sorts first.

namespace pellium {

namespace {

using detail::CaseMapping;
using detail::Decomposition;
using detail::Expansion;
using detail::SymbolWeight;

// Marks the collator adds for letters that Unicode does not decompose.
constexpr char32_t MARK_ETH = 0xE001;
constexpr char32_t MARK_LIGATURE = 0xE002;
constexpr char32_t MARK_LONG_S = 0xE003;
constexpr char32_t MARK_SHARP_S = 0xE004;
constexpr char32_t MARK_UPTURN = 0xE005;
// The strokes of "đ" and "ø" weigh as U+0335 and U+0338 but, unlike those, never let a tailored
// letter reach past them: "ø" followed by a diaeresis is no "ö".
constexpr char32_t MARK_STROKE = 0xE006;
constexpr char32_t MARK_SOLIDUS = 0xE007;
constexpr char32_t MARK_DOT_ABOVE = 0x0307;
constexpr char32_t MIDDLE_DOT = 0x00B7;

constexpr std::uint8_t SECONDARY_COMMON = 0x05;
constexpr std::uint8_t SECONDARY_ETH = 0x0F;
constexpr std::uint8_t SECONDARY_FIRST_MARK = 0x10;
constexpr std::uint8_t SECONDARY_OTHER_MARK = 0xF0;
constexpr std::uint8_t TERTIARY_COMMON = 0x05;
constexpr std::uint8_t TERTIARY_VARIANT_STEP = 0x05;
// Tertiary offset of each "<<<" step of a tailoring, above every case and variant weight.
constexpr std::uint8_t TERTIARY_TAILORED_STEP = 0x10;
// With upper case first, the case takes the top of the third-level weight.
constexpr std::uint8_t UPPER_FIRST_CASE_STEP = 0x30;

// Primary weights are group << 24 | weight within the group.
constexpr std::uint32_t GROUP_SYMBOLS = 0x01;
constexpr std::uint32_t GROUP_OTHER_SYMBOLS = 0x02;
constexpr std::uint32_t GROUP_DIGITS = 0x03;
constexpr std::uint32_t GROUP_FIRST_SCRIPT = 0x10;
constexpr std::uint32_t GROUP_OTHER_LETTERS = 0x20;
// Root letters are LETTER_SPACING apart, leaving room for tailored letters after (1 to 15) and
// before (the slot just below) them.
constexpr std::uint32_t LETTER_SPACING = 64;
constexpr std::uint32_t UNLISTED_LETTERS = 0x800000;
constexpr std::uint32_t SCRIPT_TAIL = 0xF00000;

enum Script : std::uint8_t { LATIN = 0, GREEK = 1, CYRILLIC = 2, SCRIPT_COUNT = 3, NO_SCRIPT = 4 };

constexpr std::uint32_t makePrimary(std::uint32_t group, std::uint32_t weight) {
    return group << 24 | weight;
}

struct Unit {
    static constexpr std::size_t MAXIMUM_MARKS = 6;
    char32_t base = 0;  // lower case; 0 for marks that follow no character
    bool upper = false;
    bool variant = false;
    bool joined = false;  // the second or a later unit of one character ("e" of "æ")
    std::uint8_t markCount = 0;
    std::array<char32_t, MAXIMUM_MARKS> marks{};

    std::u32string_view getMarks() const { return {marks.data(), markCount}; }
};

struct Element {
    std::uint32_t primary;
    std::uint8_t secondary;
    std::uint8_t tertiary;
};

bool isCombiningMark(char32_t c) {
    return (c >= 0x0300 && c <= 0x036F) || (c >= 0x0483 && c <= 0x0487) || (c >= 0x1AB0 && c <= 0x1AFF) ||
           (c >= 0x1DC0 && c <= 0x1DFF) || (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE20 && c <= 0xFE2F) ||
           (c >= MARK_ETH && c <= MARK_SOLIDUS);
}

// The canonical combining class of the marks that reorder in practice: below 220, attached below
// 202, overlays 1, iota subscript 240, everything else above (230). The collator's own marks are
// 0, so nothing moves across them.
int combiningClassOf(char32_t mark) {
    if (mark >= MARK_ETH && mark <= MARK_SOLIDUS) {
        return 0;
    }
    if (mark == 0x0327 || mark == 0x0328 || mark == 0x0321 || mark == 0x0322) {
        return 202;
    }
    if (mark >= 0x0334 && mark <= 0x0338) {
        return 1;
    }
    if (mark == 0x0345) {
        return 240;
    }
    if ((mark >= 0x0316 && mark <= 0x0319) || (mark >= 0x031C && mark <= 0x0320) ||
        (mark >= 0x0323 && mark <= 0x0326) || (mark >= 0x0329 && mark <= 0x0333) ||
        (mark >= 0x0339 && mark <= 0x033C) || (mark >= 0x0347 && mark <= 0x0349) || mark == 0x034D || mark == 0x034E ||
        (mark >= 0x0353 && mark <= 0x0356) || mark == 0x0359 || mark == 0x035A) {
        return 220;
    }
    return 230;
}

bool isIgnorable(char32_t c) {
    if (c < 0x20) {
        return c < 0x09 || c > 0x0D;
    }
    if (c >= 0x7F && c <= 0x9F) {
        return true;
    }
    return c == 0xFEFF ||
           (c <= 0xFFFF && std::ranges::binary_search(detail::ignorableCharacters, static_cast<char16_t>(c)));
}

template <typename Entry, typename Key>
const Entry* findByCodePoint(std::span<const Entry> table, char32_t c, Key Entry::*key) {
    if (c > 0xFFFF) {
        return nullptr;
    }
    const auto found = std::ranges::lower_bound(table, static_cast<char16_t>(c), {}, key);
    return found != table.end() && (*found).*key == c ? &*found : nullptr;
}

Script scriptOfBlock(char32_t c) {
    if ((c >= 0x0041 && c <= 0x024F) || (c >= 0x0250 && c <= 0x02AF) || (c >= 0x1D00 && c <= 0x1DBF) ||
        (c >= 0x1E00 && c <= 0x1EFF) || (c >= 0x2C60 && c <= 0x2C7F) || (c >= 0xA720 && c <= 0xA7FF)) {
        return LATIN;
    }
    if ((c >= 0x0370 && c <= 0x03FF) || (c >= 0x1F00 && c <= 0x1FFF)) {
        return GREEK;
    }
    if ((c >= 0x0400 && c <= 0x052F) || (c >= 0x2DE0 && c <= 0x2DFF) || (c >= 0xA640 && c <= 0xA69F)) {
        return CYRILLIC;
    }
    return NO_SCRIPT;
}

bool isOtherSymbol(char32_t c) {
    return (c >= 0x2000 && c <= 0x2BFF) || (c >= 0x3000 && c <= 0x303F) || (c >= 0xFF01 && c <= 0xFF0F) ||
           (c >= 0x00A0 && c <= 0x00BF) || c == 0x00D7 || c == 0x00F7 || (c >= 0x02B9 && c <= 0x02FF);
}

// --- Root data -------------------------------------------------------------------------------------

struct RootData {
    // Script and weight of each listed letter.
    std::unordered_map<char32_t, std::pair<Script, std::uint32_t>> letterWeights;
    std::unordered_map<char32_t, std::uint8_t> markWeights;

    RootData() {
        addScript(detail::latinRootOrder, LATIN);
        addScript(detail::greekRootOrder, GREEK);
        addScript(detail::cyrillicRootOrder, CYRILLIC);
        for (std::size_t group = 0; group < detail::markOrder.size(); ++group) {
            for (const char16_t mark : detail::markOrder[group]) {
                markWeights.emplace(mark, static_cast<std::uint8_t>(SECONDARY_FIRST_MARK + group));
            }
        }
    }

    void addScript(std::string_view letters, Script script) {
        std::size_t position = 0;
        char32_t letter = 0;
        std::uint32_t index = 1;  // 0 stays free for a letter tailored before the first
        while (position < letters.size()) {
            StringUtilities::decodeUtf8(letters, position, letter);
            letterWeights.emplace(letter, std::pair{script, index++ * LETTER_SPACING});
        }
    }

    static const RootData& get() {
        static const RootData data;
        return data;
    }
};

}  // namespace

// --- Tailorings --------------------------------------------------------------------------------------

// A language's rules, written like the collation rules of the Unicode locale data: "&c<č" puts č
// right after c at the first level, "<<" after the previous letter at the second level, "<<<" at
// the third, "=" makes it equal. Anchors are a letter, "[tail]" (after every Latin letter) or
// "[before]x" (just before x). Upper-case letters follow their lower-case ones by themselves; a
// contraction also matches in title case and upper case ("Ch", "CH"), and in the form "cH" only
// when marked "ch*".
struct TailoringRules {
    std::string_view language;
    std::string_view rules;
    bool upperFirst = false;
    bool turkishCasing = false;
    std::array<Script, SCRIPT_COUNT> scriptOrder{LATIN, GREEK, CYRILLIC};
    // Accents compare from the end of the text ("coté" < "côte"), as Canadian French reads them.
    bool backwardsSecondary = false;
};

constexpr TailoringRules TAILORING_RULES[] = {
    {"", ""},
    {"cs", "&c<č&h<ch*&r<ř&s<š&z<ž"},
    {"da", "&y<<ü<<ű&[tail]<æ<<ä<ø<<ö<<ő<å<<<aa", true},
    {"nb", "&y<<ü<<ű&[tail]<æ<<ä<<ę<ø<<ö<<ő<<œ<å<<aa"},
    {"no", "&y<<ü<<ű&[tail]<æ<<ä<<ę<ø<<ö<<ő<<œ<å<<aa"},
    {"fi", "&y<<ü&[tail]<å<ä<<æ<ö<<ø"},
    {"sv", "&y<<ü<<ű&[tail]<å<ä<<æ<<ę<ö<<ø<<ő<<œ<<ô"},
    {"es", "&n<ñ"},
    {"pl", "&a<ą&c<ć&e<ę&l<ł&n<ń&o<ó&s<ś&z<ź<ż"},
    {"ro", "&a<ă<â&i<î&s<ş=ș&t<ţ=ț"},
    {"tr", "&[before]i<ı&c<ç&g<ğ&o<ö&s<ş&u<ü", false, true},
    {"hu", "&c<cs&d<dz<dzs&g<gy&l<ly&n<ny&s<sz&t<ty&z<zs&o<ö<<ő&u<ü<<ű"},
    {"uk", "&г<ґ&і<ї", false, false, {CYRILLIC, LATIN, GREEK}},
    {"ru", "", false, false, {CYRILLIC, LATIN, GREEK}},
    {"el", "", false, false, {GREEK, LATIN, CYRILLIC}},
    {"fr_CA", "", false, false, {LATIN, GREEK, CYRILLIC}, true},
};

struct Collator::Tailoring {
    // Bit i set: mark i of a unit belongs to the tailored letter.
    using MarkSet = std::uint8_t;

    struct Entry {
        std::vector<Unit> units;
        std::uint32_t primary;
        std::uint8_t secondary;
        std::uint8_t tertiaryOffset;
        // Whether "cH" contracts as well as "ch", "Ch" and "CH" (written "ch*" in the rules).
        bool allowsLowerThenUpper = false;
    };

    std::string_view language;
    bool upperFirst = false;
    bool turkishCasing = false;
    bool backwardsSecondary = false;
    std::array<std::uint32_t, SCRIPT_COUNT> scriptGroups{};
    // Sorted by the base of the first unit.
    std::vector<Entry> entries;

    explicit Tailoring(const TailoringRules& rules);

    // --- Units ---------------------------------------------------------------------------------

    void appendUnits(char32_t c, std::vector<Unit>& units, bool variant) const;
    void appendUnit(char32_t base, bool upper, bool variant, std::vector<Unit>& units) const;
    void appendMark(char32_t mark, std::vector<Unit>& units) const;
    static void orderMarks(Unit& unit);
    std::vector<Unit> toUnits(std::string_view text) const;

    // --- Elements ------------------------------------------------------------------------------

    void appendElements(std::span<const Unit> units, std::vector<Element>& elements) const;
    const Entry* findEntry(std::span<const Unit> units, MarkSet& consumedMarks) const;
    static bool matches(const Entry& entry, std::span<const Unit> units, MarkSet& consumedMarks);
    static bool matchMarks(std::u32string_view wanted, std::u32string_view text, MarkSet& consumedMarks);
    std::uint32_t getRootPrimary(char32_t base, std::uint8_t& variantRank) const;
    std::uint8_t getCaseTertiary(bool firstUpper, bool laterUpper, bool variant) const;
    static std::uint8_t getMarkSecondary(char32_t mark);

private:
    void compileRules(std::string_view rules);
    void addEntry(Entry entry);
    std::uint32_t resolveAnchor(std::string_view anchor) const;
};

Collator::Tailoring::Tailoring(const TailoringRules& rules)
    : language(rules.language),
      upperFirst(rules.upperFirst),
      turkishCasing(rules.turkishCasing),
      backwardsSecondary(rules.backwardsSecondary) {
    for (std::size_t rank = 0; rank < SCRIPT_COUNT; ++rank) {
        scriptGroups[rules.scriptOrder[rank]] = GROUP_FIRST_SCRIPT + static_cast<std::uint32_t>(rank);
    }
    // The root's own contractions: listed letters that Unicode decomposes (Cyrillic short i is a
    // letter of its own, not i with a breve).
    for (const auto& [letter, weight] : RootData::get().letterWeights) {
        if (findByCodePoint(detail::canonicalDecompositions, letter, &Decomposition::codePoint) != nullptr) {
            std::string text;
            StringUtilities::appendUtf8(text, letter);
            addEntry({toUnits(text), makePrimary(scriptGroups[weight.first], weight.second), SECONDARY_COMMON, 0});
        }
    }
    compileRules(rules.rules);
}

void Collator::Tailoring::addEntry(Entry entry) {
    if (entry.units.empty() || entry.units.front().base == 0) {
        return;
    }
    // Kept sorted, since later rules are anchored on letters that earlier ones made.
    const auto position = std::ranges::upper_bound(entries, entry.units.front().base, {},
                                                   [](const Entry& other) { return other.units.front().base; });
    entries.insert(position, std::move(entry));
}

void Collator::Tailoring::compileRules(std::string_view rules) {
    std::uint32_t primary = 0;
    std::uint8_t secondary = SECONDARY_COMMON;
    std::uint8_t tertiaryOffset = 0;
    std::size_t position = 0;
    const auto readText = [&] {
        const std::size_t end = std::min(rules.find_first_of("&<=", position), rules.size());
        const std::string_view text = rules.substr(position, end - position);
        position = end;
        return text;
    };
    while (position < rules.size()) {
        if (rules[position] == '&') {
            ++position;
            primary = resolveAnchor(readText());
            secondary = SECONDARY_COMMON;
            tertiaryOffset = 0;
            continue;
        }
        std::size_t strength = 0;
        while (position < rules.size() && rules[position] == '<') {
            ++strength;
            ++position;
        }
        if (strength == 0) {
            ++position;  // "=": the same weights as the previous letter
        } else if (strength == 1) {
            ++primary;
            secondary = SECONDARY_COMMON;
            tertiaryOffset = 0;
        } else if (strength == 2) {
            ++secondary;
            tertiaryOffset = 0;
        } else {
            tertiaryOffset = static_cast<std::uint8_t>(tertiaryOffset + TERTIARY_TAILORED_STEP);
        }
        std::string_view text = readText();
        const bool allowsLowerThenUpper = text.ends_with('*');
        if (allowsLowerThenUpper) {
            text.remove_suffix(1);
        }
        addEntry({toUnits(text), primary, secondary, tertiaryOffset, allowsLowerThenUpper});
    }
}

std::uint32_t Collator::Tailoring::resolveAnchor(std::string_view anchor) const {
    constexpr std::string_view tail = "[tail]";
    constexpr std::string_view before = "[before]";
    if (anchor == tail) {
        return makePrimary(scriptGroups[LATIN], SCRIPT_TAIL);
    }
    const bool isBefore = anchor.starts_with(before);
    if (isBefore) {
        anchor.remove_prefix(before.size());
    }
    std::vector<Element> elements;
    appendElements(toUnits(anchor), elements);
    const std::uint32_t primary = elements.empty() ? 0 : elements.back().primary;
    // Room for up to 15 letters between the one before the anchor and the anchor.
    return isBefore ? primary - 16 : primary;
}

std::vector<Unit> Collator::Tailoring::toUnits(std::string_view text) const {
    std::vector<Unit> units;
    std::size_t position = 0;
    char32_t c = 0;
    while (position < text.size()) {
        StringUtilities::decodeUtf8(text, position, c);
        appendUnits(c, units, false);
    }
    for (Unit& unit : units) {
        orderMarks(unit);
    }
    return units;
}

void Collator::Tailoring::appendUnits(char32_t c, std::vector<Unit>& units, bool variant) const {
    if (isIgnorable(c)) {
        // Invisible, yet it keeps the characters on either side apart: no contraction spans it
        // and no mark after it joins the letter before it.
        if (!units.empty() && (units.back().base != 0 || units.back().markCount != 0)) {
            units.emplace_back();
        }
        return;
    }
    if (isCombiningMark(c)) {
        appendMark(c, units);
        return;
    }
    if (turkishCasing && (c == U'I' || c == U'\u0130')) {
        appendUnit(c == U'I' ? U'\u0131' : U'i', true, variant, units);
        return;
    }
    switch (c) {
        case U'\u00C6':
        case U'\u00E6':
        case U'\u0152':
        case U'\u0153': {
            const bool upper = c == U'\u00C6' || c == U'\u0152';
            appendUnit(c <= U'\u00E6' ? U'a' : U'o', upper, variant, units);
            appendMark(MARK_LIGATURE, units);
            appendUnit(U'e', upper, variant, units);
            units.back().joined = true;
            return;
        }
        case U'\u00DF':
        case U'\u1E9E':
            appendUnit(U's', c != U'\u00DF', variant, units);
            appendMark(MARK_SHARP_S, units);
            appendUnit(U's', c != U'\u00DF', variant, units);
            units.back().joined = true;
            return;
        case U'\u017F':
            appendUnit(U's', false, variant, units);
            appendMark(MARK_LONG_S, units);
            return;
        case U'\u013F':
        case U'\u0140':
            appendUnit(U'l', c == U'\u013F', variant, units);
            appendUnits(MIDDLE_DOT, units, variant);
            units.back().joined = true;
            return;
        case U'\u03C2':
            appendUnit(U'\u03C3', false, true, units);
            return;
        default:
            break;
    }
    struct Stroked {
        char32_t upper;
        char32_t lower;
        char32_t base;
        char32_t mark;
    };
    static constexpr Stroked stroked[] = {
        {U'\u0110', U'\u0111', U'd', MARK_STROKE},  {U'\u00D0', U'\u00F0', U'd', MARK_ETH},
        {U'\u0126', U'\u0127', U'h', MARK_STROKE},  {U'\u0141', U'\u0142', U'l', MARK_STROKE},
        {U'\u00D8', U'\u00F8', U'o', MARK_SOLIDUS}, {U'\u0490', U'\u0491', U'\u0433', MARK_UPTURN},
    };
    for (const Stroked& letter : stroked) {
        if (c == letter.upper || c == letter.lower) {
            appendUnit(letter.base, c == letter.upper, variant, units);
            appendMark(letter.mark, units);
            return;
        }
    }
    if (const auto* decomposition = findByCodePoint(detail::canonicalDecompositions, c, &Decomposition::codePoint)) {
        appendUnits(decomposition->base, units, variant);
        for (const char16_t mark : decomposition->marks) {
            if (mark != 0) {
                appendMark(mark, units);
            }
        }
        return;
    }
    if (const auto* expansion = findByCodePoint(detail::compatibilityExpansions, c, &Expansion::codePoint)) {
        const std::size_t first = units.size();
        for (const char16_t character : expansion->characters) {
            if (character != 0) {
                appendUnits(character, units, true);
            }
        }
        for (std::size_t index = first + 1; index < units.size(); ++index) {
            units[index].joined = true;
        }
        return;
    }
    if (c >= U'A' && c <= U'Z') {
        appendUnit(c + (U'a' - U'A'), true, variant, units);
        return;
    }
    if (const auto* mapping = findByCodePoint(detail::lowerCaseLetters, c, &CaseMapping::upper)) {
        appendUnit(mapping->lower, true, variant, units);
        return;
    }
    appendUnit(c, false, variant, units);
}

void Collator::Tailoring::appendUnit(char32_t base, bool upper, bool variant, std::vector<Unit>& units) const {
    Unit unit;
    unit.base = base;
    unit.upper = upper;
    unit.variant = variant;
    units.push_back(unit);
}

void Collator::Tailoring::appendMark(char32_t mark, std::vector<Unit>& units) const {
    if (!units.empty() && turkishCasing && mark == MARK_DOT_ABOVE && units.back().base == U'\u0131' &&
        units.back().markCount == 0) {
        units.back().base = U'i';  // I with a combining dot above is the Turkish capital of i
        return;
    }
    // A mark before any character, or beyond what one character carries, stands alone.
    if (units.empty() || units.back().markCount == Unit::MAXIMUM_MARKS) {
        units.emplace_back();
    }
    Unit& unit = units.back();
    unit.marks[unit.markCount++] = mark;
}

void Collator::Tailoring::orderMarks(Unit& unit) {
    // Canonical order: marks of a lower combining class first, marks of class 0 stay in place.
    auto* begin = unit.marks.data();
    auto* end = begin + unit.markCount;
    while (begin != end) {
        auto* blockEnd = std::find_if(begin, end, [](char32_t mark) { return combiningClassOf(mark) == 0; });
        std::stable_sort(begin, blockEnd, [](char32_t left, char32_t right) {
            return combiningClassOf(left) < combiningClassOf(right);
        });
        begin = blockEnd == end ? end : blockEnd + 1;
    }
}

bool Collator::Tailoring::matches(const Entry& entry, std::span<const Unit> units, MarkSet& consumedMarks) {
    const std::size_t count = entry.units.size();
    // A match takes whole characters: it neither ends inside the units of one character nor
    // starts there.
    if (count > units.size() || (count < units.size() && units[count].joined)) {
        return false;
    }
    for (std::size_t index = 0; index < count; ++index) {
        const Unit& text = units[index];
        const Unit& wanted = entry.units[index];
        // Ligatures and other compatibility forms keep their root letters: "ǆ" is not the Czech
        // "dž".
        if (text.variant || text.base != wanted.base || text.joined != wanted.joined) {
            return false;
        }
        if (index + 1 < count && text.getMarks() != wanted.getMarks()) {
            return false;
        }
        if (index > 0 && text.upper && !units[0].upper && !entry.allowsLowerThenUpper) {
            return false;
        }
    }
    return matchMarks(entry.units.back().getMarks(), units[count - 1].getMarks(), consumedMarks);
}

bool Collator::Tailoring::matchMarks(std::u32string_view wanted, std::u32string_view text, MarkSet& consumedMarks) {
    // The wanted marks in order; a mark of the text may be passed over when it could trade places
    // with the next wanted one (a lower, nonzero combining class), as canonically equivalent
    // spellings allow.
    consumedMarks = 0;
    std::size_t next = 0;
    for (std::size_t index = 0; index < text.size() && next < wanted.size(); ++index) {
        if (text[index] == wanted[next]) {
            consumedMarks |= static_cast<MarkSet>(1u << index);
            ++next;
            continue;
        }
        const int passedClass = combiningClassOf(text[index]);
        if (passedClass == 0 || passedClass >= combiningClassOf(wanted[next])) {
            return false;
        }
    }
    return next == wanted.size();
}

const Collator::Tailoring::Entry* Collator::Tailoring::findEntry(std::span<const Unit> units,
                                                                 MarkSet& consumedMarks) const {
    // Two partition points rather than ranges::equal_range, whose subrange clang 14 cannot
    // destructure with this standard library.
    const auto base = units.front().base;
    const auto first = std::partition_point(entries.begin(), entries.end(),
                                            [&](const Entry& entry) { return entry.units.front().base < base; });
    const auto last = std::partition_point(first, entries.end(),
                                           [&](const Entry& entry) { return !(base < entry.units.front().base); });
    // The longest match wins, and among matches of one length the one with more marks ("ő" over
    // "o").
    const Entry* best = nullptr;
    for (auto entry = first; entry != last; ++entry) {
        MarkSet marks = 0;
        if (!matches(*entry, units, marks)) {
            continue;
        }
        if (best == nullptr || entry->units.size() > best->units.size() ||
            (entry->units.size() == best->units.size() &&
             entry->units.back().markCount > best->units.back().markCount)) {
            best = &*entry;
            consumedMarks = marks;
        }
    }
    return best;
}

std::uint8_t Collator::Tailoring::getCaseTertiary(bool firstUpper, bool laterUpper, bool variant) const {
    // Lower case first: ch < cH < Ch < CH. With upper case first the case decides before any other
    // third-level difference: CH < Ch < cH < ch, and every upper-case form before every lower-case
    // one.
    const auto caseRank = static_cast<std::uint8_t>((firstUpper ? 2 : 0) + (laterUpper ? 1 : 0));
    const std::uint8_t variantWeight = variant ? TERTIARY_VARIANT_STEP : 0;
    if (upperFirst) {
        return static_cast<std::uint8_t>(TERTIARY_COMMON + (3 - caseRank) * UPPER_FIRST_CASE_STEP + variantWeight);
    }
    return static_cast<std::uint8_t>(TERTIARY_COMMON + caseRank + (caseRank >= 2 ? 1 : 0) + variantWeight);
}

std::uint8_t Collator::Tailoring::getMarkSecondary(char32_t mark) {
    const auto& weights = RootData::get().markWeights;
    const auto found = weights.find(mark);
    return found != weights.end() ? found->second : SECONDARY_OTHER_MARK;
}

std::uint32_t Collator::Tailoring::getRootPrimary(char32_t base, std::uint8_t& variantRank) const {
    variantRank = 0;
    if (base >= U'0' && base <= U'9') {
        return makePrimary(GROUP_DIGITS, base - U'0' + 1);
    }
    const auto& letters = RootData::get().letterWeights;
    if (const auto found = letters.find(base); found != letters.end()) {
        return makePrimary(scriptGroups[found->second.first], found->second.second);
    }
    if (const auto* symbol = findByCodePoint(detail::symbolWeights, base, &SymbolWeight::codePoint)) {
        variantRank = symbol->variant;
        return makePrimary(GROUP_SYMBOLS, symbol->rank);
    }
    if (const Script script = scriptOfBlock(base); script != NO_SCRIPT) {
        return makePrimary(scriptGroups[script], UNLISTED_LETTERS + base);
    }
    if (isOtherSymbol(base)) {
        return makePrimary(GROUP_OTHER_SYMBOLS, base);
    }
    return makePrimary(GROUP_OTHER_LETTERS, base);
}

void Collator::Tailoring::appendElements(std::span<const Unit> units, std::vector<Element>& elements) const {
    std::size_t position = 0;
    while (position < units.size()) {
        const Unit& unit = units[position];
        MarkSet consumedMarks = 0;
        std::size_t consumedUnits = 1;
        if (unit.base != 0) {
            if (const Entry* entry = findEntry(units.subspan(position), consumedMarks)) {
                consumedUnits = entry->units.size();
                bool laterUpper = false;
                bool variant = unit.variant;
                for (std::size_t index = 1; index < consumedUnits; ++index) {
                    laterUpper = laterUpper || units[position + index].upper;
                    variant = variant || units[position + index].variant;
                }
                elements.push_back({entry->primary, entry->secondary,
                                    static_cast<std::uint8_t>(getCaseTertiary(unit.upper, laterUpper, variant) +
                                                              entry->tertiaryOffset)});
            } else {
                std::uint8_t variantRank = 0;
                const std::uint32_t primary = getRootPrimary(unit.base, variantRank);
                // Eth is one element, d with an accent weight of its own below every mark's.
                const bool isEth = unit.markCount > 0 && unit.marks[0] == MARK_ETH;
                if (isEth) {
                    consumedMarks = 1;
                }
                elements.push_back(
                    {primary, isEth ? SECONDARY_ETH : SECONDARY_COMMON,
                     static_cast<std::uint8_t>(getCaseTertiary(unit.upper, false, unit.variant) + variantRank)});
            }
        }
        const Unit& last = units[position + consumedUnits - 1];
        for (std::size_t mark = 0; mark < last.markCount; ++mark) {
            if ((consumedMarks & (1u << mark)) == 0) {
                elements.push_back({0, getMarkSecondary(last.marks[mark]), TERTIARY_COMMON});
            }
        }
        position += consumedUnits;
    }
}

// --- Collator ----------------------------------------------------------------------------------------

std::shared_ptr<const Collator> Collator::create(std::string_view locale) {
    // Built once and kept until the library is unloaded, since collators are handed out freely.
    static const auto* const collators = [] {
        auto* made = new std::vector<std::shared_ptr<const Collator>>();
        for (const TailoringRules& rules : TAILORING_RULES) {
            made->push_back(std::make_shared<const Collator>(Token{}, new Tailoring(rules)));
        }
        return made;
    }();
    // The rules of the locale itself ("fr_CA"), else those of its language ("fr").
    const std::string localeName = LocaleNames::normalize(locale).value_or("");
    const std::string language = LocaleNames::getLanguage(locale);
    for (const std::string& wanted : {localeName, language}) {
        for (const auto& collator : *collators) {
            if (!wanted.empty() && collator->getLanguage() == wanted) {
                return collator;
            }
        }
    }
    return collators->front();
}

Collator::Collator(Token, const Tailoring* tailoring) : tailoring_(tailoring) {}

std::string_view Collator::getLanguage() const {
    return tailoring_->language;
}

void Collator::appendSortKey(std::string_view text, std::string& key) const {
    const std::vector<Unit> units = tailoring_->toUnits(text);
    std::vector<Element> elements;
    elements.reserve(units.size() * 2);
    tailoring_->appendElements(units, elements);
    for (const Element& element : elements) {
        if (element.primary != 0) {
            for (int shift = 24; shift >= 0; shift -= 8) {
                key.push_back(static_cast<char>((element.primary >> shift) & 0xFF));
            }
        }
    }
    key.push_back('\0');
    const std::size_t secondaryStart = key.size();
    for (const Element& element : elements) {
        key.push_back(static_cast<char>(element.secondary));
    }
    if (tailoring_->backwardsSecondary) {
        std::reverse(key.begin() + static_cast<std::ptrdiff_t>(secondaryStart), key.end());
    }
    key.push_back('\0');
    for (const Element& element : elements) {
        key.push_back(static_cast<char>(element.tertiary));
    }
}

std::string Collator::getSortKey(std::string_view text) const {
    std::string key;
    appendSortKey(text, key);
    return key;
}

int Collator::compare(std::string_view left, std::string_view right) const {
    const int order = getSortKey(left).compare(getSortKey(right));
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

}  // namespace pellium
