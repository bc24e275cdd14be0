#include "pellium/rules/expressions/TextFunctions.h"

#include <algorithm>
#include <vector>

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

// The byte offset of every character, and the text's length after the last.
std::vector<std::size_t> characterOffsets(std::string_view text) {
    std::vector<std::size_t> offsets;
    std::size_t position = 0;
    char32_t codePoint = 0;
    while (position < text.size()) {
        offsets.push_back(position);
        StringUtilities::decodeUtf8(text, position, codePoint);
    }
    offsets.push_back(text.size());
    return offsets;
}

// The character index (0-based, clamped to 0..count) of a 1-based position.
std::size_t clampedIndex(std::int64_t position, std::size_t count) {
    if (position <= 1) {
        return 0;
    }
    return static_cast<std::size_t>(std::min<std::int64_t>(position - 1, static_cast<std::int64_t>(count)));
}

bool containsCodePoint(std::string_view characters, char32_t wanted) {
    std::size_t position = 0;
    char32_t codePoint = 0;
    while (position < characters.size()) {
        StringUtilities::decodeUtf8(characters, position, codePoint);
        if (codePoint == wanted) {
            return true;
        }
    }
    return false;
}

struct Word {
    std::size_t begin;
    std::size_t end;
};

std::vector<Word> splitWords(std::string_view text, std::string_view delimiters) {
    std::vector<Word> words;
    std::size_t position = 0;
    std::size_t wordBegin = 0;
    bool inWord = false;
    char32_t codePoint = 0;
    while (position < text.size()) {
        const std::size_t start = position;
        StringUtilities::decodeUtf8(text, position, codePoint);
        const bool isDelimiter = containsCodePoint(delimiters, codePoint);
        if (isDelimiter && inWord) {
            words.push_back({wordBegin, start});
        } else if (!isDelimiter && !inWord) {
            wordBegin = start;
        }
        inWord = !isDelimiter;
    }
    if (inWord) {
        words.push_back({wordBegin, text.size()});
    }
    return words;
}

// The word at a 1-based index (negative from the end); null when there is none.
const Word* wordAt(const std::vector<Word>& words, std::int64_t index) {
    const auto count = static_cast<std::int64_t>(words.size());
    const std::int64_t position = index > 0 ? index - 1 : count + index;
    if (index == 0 || position < 0 || position >= count) {
        return nullptr;
    }
    return &words[static_cast<std::size_t>(position)];
}

}  // namespace

std::string TextFunctions::substring(std::string_view text, std::int64_t start, std::int64_t length) {
    const auto offsets = characterOffsets(text);
    const std::size_t count = offsets.size() - 1;
    // Characters before position 1 are counted in the length but do not exist.
    const std::int64_t end = length < 0 ? static_cast<std::int64_t>(count) + 1 : start + length;
    const std::size_t first = clampedIndex(start, count);
    const std::size_t last = std::max(first, clampedIndex(end, count));
    return std::string(text.substr(offsets[first], offsets[last] - offsets[first]));
}

std::int64_t TextFunctions::find(std::string_view text, std::string_view part, std::int64_t start) {
    const auto offsets = characterOffsets(text);
    const std::size_t first = clampedIndex(start, offsets.size() - 1);
    const std::size_t found = text.find(part, offsets[first]);
    if (found == std::string_view::npos) {
        return 0;
    }
    const auto character = std::lower_bound(offsets.begin(), offsets.end(), found);
    return static_cast<std::int64_t>(character - offsets.begin()) + 1;
}

std::int64_t TextFunctions::findCharacter(std::string_view text, std::string_view characters, std::int64_t start) {
    const auto offsets = characterOffsets(text);
    for (std::size_t index = clampedIndex(start, offsets.size() - 1); index + 1 < offsets.size(); ++index) {
        std::size_t position = offsets[index];
        char32_t codePoint = 0;
        StringUtilities::decodeUtf8(text, position, codePoint);
        if (containsCodePoint(characters, codePoint)) {
            return static_cast<std::int64_t>(index) + 1;
        }
    }
    return 0;
}

std::string TextFunctions::replaceAll(std::string_view text, std::string_view part, std::string_view replacement) {
    if (part.empty()) {
        return std::string(text);
    }
    std::string result;
    std::size_t start = 0;
    for (std::size_t found = text.find(part); found != std::string_view::npos; found = text.find(part, start)) {
        result.append(text.substr(start, found - start)).append(replacement);
        start = found + part.size();
    }
    return result.append(text.substr(start));
}

std::string TextFunctions::replaceAt(std::string_view text, std::int64_t start, std::int64_t length,
                                     std::string_view replacement) {
    const auto offsets = characterOffsets(text);
    const std::size_t count = offsets.size() - 1;
    const std::size_t first = clampedIndex(start, count);
    const std::size_t last = std::max(first, clampedIndex(start + std::max<std::int64_t>(length, 0), count));
    std::string result(text.substr(0, offsets[first]));
    return result.append(replacement).append(text.substr(offsets[last]));
}

std::string TextFunctions::reverse(std::string_view text) {
    const auto offsets = characterOffsets(text);
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = offsets.size() - 1; index > 0; --index) {
        result.append(text.substr(offsets[index - 1], offsets[index] - offsets[index - 1]));
    }
    return result;
}

std::string TextFunctions::removeCharacters(std::string_view text, std::string_view characters) {
    std::string result;
    std::size_t position = 0;
    char32_t codePoint = 0;
    while (position < text.size()) {
        const std::size_t start = position;
        StringUtilities::decodeUtf8(text, position, codePoint);
        if (!containsCodePoint(characters, codePoint)) {
            result.append(text.substr(start, position - start));
        }
    }
    return result;
}

std::string TextFunctions::removeWhitespace(std::string_view text) {
    std::string result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result),
                 [](char character) { return !StringUtilities::isWhiteSpace(character); });
    return result;
}

std::string TextFunctions::getWord(std::string_view text, std::int64_t index, std::string_view delimiters) {
    const auto words = splitWords(text, delimiters);
    const Word* word = wordAt(words, index);
    return word ? std::string(text.substr(word->begin, word->end - word->begin)) : std::string();
}

std::string TextFunctions::removeWord(std::string_view text, std::int64_t index, std::string_view delimiters) {
    const auto words = splitWords(text, delimiters);
    const Word* word = wordAt(words, index);
    if (!word) {
        return std::string(text);
    }
    const bool isLast = word == &words.back();
    if (isLast && words.size() > 1) {
        const std::size_t previousEnd = (word - 1)->end;
        return std::string(text.substr(0, previousEnd)).append(text.substr(word->end));
    }
    const std::size_t nextBegin = isLast ? text.size() : (word + 1)->begin;
    return std::string(text.substr(0, word->begin)).append(text.substr(nextBegin));
}

std::string TextFunctions::replaceWord(std::string_view text, std::int64_t index, std::string_view replacement,
                                       std::string_view delimiters) {
    const auto words = splitWords(text, delimiters);
    const Word* word = wordAt(words, index);
    if (!word) {
        return std::string(text);
    }
    return std::string(text.substr(0, word->begin)).append(replacement).append(text.substr(word->end));
}

std::string TextFunctions::urlEncode(std::string_view text) {
    static constexpr char HEX[] = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isUnreserved = (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
                                  (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' || byte == '.' ||
                                  byte == '~';
        if (isUnreserved) {
            result += character;
        } else {
            result += '%';
            result += HEX[byte >> 4];
            result += HEX[byte & 0x0F];
        }
    }
    return result;
}

std::string TextFunctions::urlDecode(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char character = text[index];
        if (character == '+') {
            result += ' ';
            continue;
        }
        if (character == '%' && index + 2 < text.size() && StringUtilities::hexDigitValue(text[index + 1]) >= 0 &&
            StringUtilities::hexDigitValue(text[index + 2]) >= 0) {
            result += static_cast<char>(StringUtilities::hexDigitValue(text[index + 1]) * 16 + StringUtilities::hexDigitValue(text[index + 2]));
            index += 2;
            continue;
        }
        result += character;
    }
    return result;
}

}  // namespace pellium
