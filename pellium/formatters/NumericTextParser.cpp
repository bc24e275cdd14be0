#include "pellium/formatters/NumericTextParser.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr std::string_view noBreakSpace = "\xC2\xA0";            // U+00A0
constexpr std::string_view narrowNoBreakSpace = "\xE2\x80\xAF";  // U+202F
constexpr std::string_view figureSpace = "\xE2\x80\x87";         // U+2007
constexpr std::string_view minusSign = "\xE2\x88\x92";           // U+2212
constexpr std::string_view rightSingleQuote = "\xE2\x80\x99";    // U+2019

bool isSpaceText(std::string_view text) {
    return text == " " || text == noBreakSpace || text == narrowNoBreakSpace || text == figureSpace;
}

// Removes white space, no-break spaces included, from both ends.
std::string_view trimSpaces(std::string_view text) {
    for (bool changed = true; changed;) {
        changed = false;
        text = StringUtilities::trim(text);
        for (const auto space : {noBreakSpace, narrowNoBreakSpace, figureSpace}) {
            if (text.starts_with(space)) {
                text.remove_prefix(space.size());
                changed = true;
            }
            if (text.ends_with(space)) {
                text.remove_suffix(space.size());
                changed = true;
            }
        }
    }
    return text;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

void addUnique(std::vector<std::string>& texts, std::string text) {
    if (!text.empty() && std::find(texts.begin(), texts.end(), text) == texts.end()) {
        texts.push_back(std::move(text));
    }
}

}  // namespace

NumericTextParser::NumericTextParser(const NumericSymbols& symbols, std::string_view negativeSign)
    : decimalSeparator_(StringUtilities::removeBidiControls(symbols.decimalSeparator.text)),
      exponentSeparator_(StringUtilities::removeBidiControls(symbols.exponentSeparator.text)),
      infinity_(StringUtilities::removeBidiControls(symbols.infinity.text)),
      primaryGroupSize_(symbols.primaryGroupSize),
      secondaryGroupSize_(symbols.secondaryGroupSize) {
    groupingSeparators_.clear();
    const auto grouping = StringUtilities::removeBidiControls(symbols.groupingSeparator.text);
    if (primaryGroupSize_ > 0 && grouping != decimalSeparator_) {
        addUnique(groupingSeparators_, grouping);
        if (isSpaceText(grouping)) {
            for (const auto space : {std::string_view(" "), noBreakSpace, narrowNoBreakSpace, figureSpace}) {
                addUnique(groupingSeparators_, std::string(space));
            }
        }
        if (grouping == rightSingleQuote) {
            addUnique(groupingSeparators_, "'");
        }
    }
    for (const auto& sign :
         {StringUtilities::removeBidiControls(negativeSign),
          StringUtilities::removeBidiControls(symbols.minusSign.text), std::string("-"), std::string(minusSign)}) {
        addUnique(signs_, std::string(sign));
    }
    addUnique(plusSigns_, StringUtilities::removeBidiControls(symbols.plusSign.text));
    addUnique(plusSigns_, "+");
}

void NumericTextParser::addAffix(std::string_view text, int decimalShift, double factor) {
    const auto clean = std::string(trimSpaces(StringUtilities::removeBidiControls(text)));
    if (clean.empty()) {
        return;
    }
    affixes_.push_back({clean, decimalShift, factor});
    // Longer affixes first, so that "KB" is tried before "B".
    std::stable_sort(affixes_.begin(), affixes_.end(),
                     [](const Affix& left, const Affix& right) { return left.text.size() > right.text.size(); });
}

bool NumericTextParser::match(std::string_view body, std::size_t& position, std::string_view text) {
    if (!text.empty() && body.substr(position).starts_with(text)) {
        position += text.size();
        return true;
    }
    return false;
}

bool NumericTextParser::matchGroupingSeparator(std::string_view body, std::size_t& position) const {
    return std::any_of(groupingSeparators_.begin(), groupingSeparators_.end(),
                       [&](const std::string& separator) { return match(body, position, separator); });
}

// Digits with grouping separators where the locale puts them: the last group has the primary
// size, the groups before it the secondary size, the first one at most that ("1,23,456" in India,
// "1,234" but not "1234,567" elsewhere).
bool NumericTextParser::readIntegerPart(std::string_view body, std::size_t& position, std::string& ascii) const {
    int groups = 0;
    int groupLength = 0;
    int firstGroupLength = 0;
    while (position < body.size()) {
        if (isDigit(body[position])) {
            ascii.push_back(body[position++]);
            ++groupLength;
            continue;
        }
        const std::size_t before = position;
        if (groupLength == 0 || !matchGroupingSeparator(body, position)) {
            break;
        }
        if (position >= body.size() || !isDigit(body[position])) {
            position = before;  // a separator must stand between digits
            break;
        }
        if (groups == 0) {
            firstGroupLength = groupLength;
        } else if (groupLength != secondaryGroupSize_) {
            return false;
        }
        ++groups;
        groupLength = 0;
    }
    return groups == 0 || (groupLength == primaryGroupSize_ && firstGroupLength <= secondaryGroupSize_);
}

bool NumericTextParser::readLocaleNumber(std::string_view body, std::string& ascii) const {
    std::size_t position = 0;
    if (!readIntegerPart(body, position, ascii)) {
        return false;
    }
    bool anyDigit = !ascii.empty();
    if (match(body, position, decimalSeparator_)) {
        ascii.push_back('.');
        while (position < body.size() && isDigit(body[position])) {
            ascii.push_back(body[position++]);
            anyDigit = true;
        }
    }
    if (!anyDigit) {
        return false;
    }
    if (position < body.size()) {
        if (!match(body, position, exponentSeparator_) && !match(body, position, "E") && !match(body, position, "e")) {
            return false;
        }
        ascii.push_back('e');
        bool negative = false;
        for (const auto& sign : signs_) {
            if (match(body, position, sign)) {
                negative = true;
                break;
            }
        }
        if (!negative) {
            for (const auto& sign : plusSigns_) {
                if (match(body, position, sign)) {
                    break;
                }
            }
        }
        if (negative) {
            ascii.push_back('-');
        }
        const std::size_t exponentStart = position;
        while (position < body.size() && isDigit(body[position])) {
            ascii.push_back(body[position++]);
        }
        if (position == exponentStart) {
            return false;
        }
    }
    return position == body.size();
}

double NumericTextParser::parse(std::string_view text) const {
    if (text.size() > MAXIMUM_TEXT_LENGTH) {
        return notANumber;
    }
    const auto clean = StringUtilities::removeBidiControls(text);
    std::string_view rest = trimSpaces(clean);
    if (rest.empty()) {
        return notANumber;
    }
    bool negative = false;
    if (rest.size() >= 2 && rest.front() == '(' && rest.back() == ')') {
        negative = true;
        rest = trimSpaces(rest.substr(1, rest.size() - 2));
    }
    // Signs and affixes may come in any order around the number ("-$1.5K", "1,5 %"), each once.
    bool signed_ = negative;
    int decimalShift = 0;
    double factor = 1;
    std::vector<bool> used(affixes_.size(), false);
    for (bool progress = true; progress && !rest.empty();) {
        progress = false;
        if (!signed_) {
            for (const auto& sign : signs_) {
                if (rest.starts_with(sign)) {
                    rest = trimSpaces(rest.substr(sign.size()));
                    negative = signed_ = progress = true;
                    break;
                }
            }
        }
        if (!signed_) {
            for (const auto& sign : plusSigns_) {
                if (rest.starts_with(sign)) {
                    rest = trimSpaces(rest.substr(sign.size()));
                    signed_ = progress = true;
                    break;
                }
            }
        }
        for (std::size_t index = 0; index < affixes_.size(); ++index) {
            const auto& affix = affixes_[index];
            if (used[index] || rest.size() <= affix.text.size()) {
                continue;
            }
            if (rest.starts_with(affix.text)) {
                rest = trimSpaces(rest.substr(affix.text.size()));
            } else if (rest.ends_with(affix.text)) {
                rest = trimSpaces(rest.substr(0, rest.size() - affix.text.size()));
            } else {
                continue;
            }
            used[index] = progress = true;
            decimalShift += affix.decimalShift;
            factor *= affix.factor;
        }
    }

    double value;
    std::string ascii;
    ascii.reserve(rest.size() + 8);
    if (!infinity_.empty() && rest == infinity_) {
        value = std::numeric_limits<double>::infinity();
    } else if (readLocaleNumber(rest, ascii)) {
        if (decimalShift != 0) {
            // Shifting in the text keeps "12.3%" at the double nearest to 0.123.
            if (ascii.find('e') == std::string::npos) {
                ascii.append("e0");
            }
            const auto exponentAt = ascii.find('e');
            const int exponent = StringUtilities::createIntFromString(std::string_view(ascii).substr(exponentAt + 1));
            ascii.resize(exponentAt + 1);
            ascii.append(std::to_string(static_cast<long long>(exponent) + decimalShift));
        }
        value = StringUtilities::createDoubleFromString(ascii);
    } else {
        if (signed_ && (rest.starts_with('-') || rest.starts_with('+'))) {
            return notANumber;  // one sign only
        }
        value = StringUtilities::createDoubleFromString(rest);
        if (std::isnan(value)) {
            return notANumber;
        }
        value *= std::pow(10.0, decimalShift);
    }
    value *= factor;
    return negative ? -value : value;
}

}  // namespace pellium
