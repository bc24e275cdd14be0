#include "pellium/resources/localization/PropertiesReader.h"

#include <cstddef>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::string_view UTF8_BYTE_ORDER_MARK = "\xEF\xBB\xBF";

// Properties files know three blanks; "\n" and "\r" end lines and are never blanks here.
bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\f';
}

bool isLineEnd(char character) {
    return character == '\n' || character == '\r';
}

bool isSeparator(char character) {
    return character == '=' || character == ':';
}

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Walks the text one physical line at a time and assembles logical lines.
class LineAssembler {
public:
    explicit LineAssembler(std::string_view text) : text_(text) {
        if (text_.starts_with(UTF8_BYTE_ORDER_MARK)) {
            position_ = UTF8_BYTE_ORDER_MARK.size();
        }
    }

    /// The next logical line that is neither blank nor a comment, with its leading blanks and
    /// continuation backslashes removed, in `line`; false at the end of the text.
    bool next(std::string& line) {
        line.clear();
        if (!skipBlankAndCommentLines()) {
            return false;
        }
        while (true) {
            const std::string_view physical = takePhysicalLine();
            if (!endsInOddBackslashes(physical)) {
                line.append(physical);
                return true;
            }
            line.append(physical.substr(0, physical.size() - 1));
            if (position_ >= text_.size()) {
                return true;  // nothing left to continue on: the backslash is dropped
            }
            skipBlanks();
        }
    }

private:
    bool skipBlankAndCommentLines() {
        while (position_ < text_.size()) {
            skipBlanks();
            if (position_ >= text_.size()) {
                return false;
            }
            const char first = text_[position_];
            if (isLineEnd(first) || first == '#' || first == '!') {
                takePhysicalLine();
            } else {
                return true;
            }
        }
        return false;
    }

    void skipBlanks() {
        while (position_ < text_.size() && isBlank(text_[position_])) {
            ++position_;
        }
    }

    /// The rest of the current physical line, without its terminator; advances past the terminator.
    std::string_view takePhysicalLine() {
        const std::size_t start = position_;
        while (position_ < text_.size() && !isLineEnd(text_[position_])) {
            ++position_;
        }
        const std::string_view physical = text_.substr(start, position_ - start);
        if (position_ < text_.size()) {
            const bool carriageReturn = text_[position_] == '\r';
            ++position_;
            if (carriageReturn && position_ < text_.size() && text_[position_] == '\n') {
                ++position_;
            }
        }
        return physical;
    }

    static bool endsInOddBackslashes(std::string_view physical) {
        std::size_t count = 0;
        while (count < physical.size() && physical[physical.size() - 1 - count] == '\\') {
            ++count;
        }
        return count % 2 == 1;
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

/// Reads the four hex digits of a "\u" escape that starts at `position` (just after the "u").
/// Answers the code unit, or -1 when fewer than four hex digits follow; `position` advances past
/// the digits that were read either way.
long readUtf16Unit(std::string_view text, std::size_t& position) {
    long unit = 0;
    for (int digit = 0; digit < 4; ++digit) {
        const int value = position < text.size() ? StringUtilities::hexDigitValue(text[position]) : -1;
        if (value < 0) {
            return -1;
        }
        unit = unit * 16 + value;
        ++position;
    }
    return unit;
}

/// Appends the code point of the "\u" escape whose hex digits start at `position`, pairing a
/// high surrogate with a "\u" low surrogate that follows at once.
void appendUnicodeEscape(std::string_view text, std::size_t& position, std::string& out) {
    const long unit = readUtf16Unit(text, position);
    if (unit < 0) {
        StringUtilities::appendUtf8(out, StringUtilities::REPLACEMENT_CHARACTER);
        return;
    }
    const auto first = static_cast<char32_t>(unit);
    if (!isHighSurrogate(first)) {
        // appendUtf8 turns a lone low surrogate into U+FFFD.
        StringUtilities::appendUtf8(out, first);
        return;
    }
    const bool escapeFollows = position + 1 < text.size() && text[position] == '\\' && text[position + 1] == 'u';
    if (escapeFollows) {
        std::size_t lookAhead = position + 2;
        const long next = readUtf16Unit(text, lookAhead);
        if (next >= 0 && isLowSurrogate(static_cast<char32_t>(next))) {
            position = lookAhead;
            const char32_t codePoint = 0x10000 + ((first - 0xD800) << 10) + (static_cast<char32_t>(next) - 0xDC00);
            StringUtilities::appendUtf8(out, codePoint);
            return;
        }
    }
    StringUtilities::appendUtf8(out, StringUtilities::REPLACEMENT_CHARACTER);
}

/// The text with its escapes resolved and any ill-formed UTF-8 replaced by U+FFFD.
std::string unescape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const char character = text[position++];
        if (character != '\\') {
            out.push_back(character);
            continue;
        }
        if (position >= text.size()) {
            break;  // a trailing lone backslash escapes nothing
        }
        const char escaped = text[position++];
        switch (escaped) {
            case 't':
                out.push_back('\t');
                break;
            case 'n':
                out.push_back('\n');
                break;
            case 'r':
                out.push_back('\r');
                break;
            case 'f':
                out.push_back('\f');
                break;
            case 'u':
                appendUnicodeEscape(text, position, out);
                break;
            default:
                out.push_back(escaped);
                break;
        }
    }
    if (StringUtilities::isValidUtf8(out)) {
        return out;
    }
    std::string repaired;
    repaired.reserve(out.size());
    std::size_t at = 0;
    char32_t codePoint = 0;
    while (at < out.size()) {
        StringUtilities::decodeUtf8(out, at, codePoint);  // answers U+FFFD for each fault
        StringUtilities::appendUtf8(repaired, codePoint);
    }
    return repaired;
}

/// Splits one logical line into its raw key and raw value (escapes still in place).
std::pair<std::string_view, std::string_view> splitKeyAndValue(std::string_view line) {
    std::size_t keyEnd = 0;
    bool escaped = false;
    while (keyEnd < line.size()) {
        const char character = line[keyEnd];
        if (!escaped && (isSeparator(character) || isBlank(character))) {
            break;
        }
        escaped = character == '\\' && !escaped;
        ++keyEnd;
    }
    std::size_t valueStart = keyEnd;
    bool separatorSeen = false;
    while (valueStart < line.size()) {
        const char character = line[valueStart];
        if (isBlank(character)) {
            ++valueStart;
        } else if (isSeparator(character) && !separatorSeen) {
            separatorSeen = true;
            ++valueStart;
        } else {
            break;
        }
    }
    return {line.substr(0, keyEnd), line.substr(valueStart)};
}

}  // namespace

std::vector<PropertiesReader::Entry> PropertiesReader::read(std::string_view text) {
    std::vector<Entry> entries;
    LineAssembler lines(text);
    std::string line;
    while (lines.next(line)) {
        const auto [rawKey, rawValue] = splitKeyAndValue(line);
        entries.push_back(Entry{unescape(rawKey), unescape(rawValue)});
    }
    return entries;
}

}  // namespace pellium
