#include "pellium/formatters/FormatNameParts.h"

#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

constexpr std::size_t longestNumberText = 4;
constexpr int clampedWidth = 500;
constexpr int clampedDecimalWidth = 10;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

int readClampedNumber(std::string_view text, int clampedValue) {
    return text.size() > longestNumberText ? clampedValue : StringUtilities::createIntFromString(text);
}

}  // namespace

FormatNameParts FormatNameParts::extractFormatParts(std::string_view formatName) {
    FormatNameParts parts;
    if (formatName.empty()) {
        return parts;
    }

    // The name part ends before the first "."; everything after that "." is the decimals text.
    std::size_t last = formatName.size() - 1;
    if (const auto dot = formatName.find('.'); dot != std::string_view::npos) {
        if (dot + 1 < formatName.size()) {
            parts.decimalWidth = readClampedNumber(formatName.substr(dot + 1), clampedDecimalWidth);
        }
        last = dot > 0 ? dot - 1 : 0;
    }

    // Width digits are read from the right, but the first character always belongs to the name.
    std::size_t nameEnd = last;
    while (nameEnd > 0 && isDigit(formatName[nameEnd])) {
        --nameEnd;
    }
    parts.width = readClampedNumber(formatName.substr(nameEnd + 1, last - nameEnd), clampedWidth);

    const auto underscore = formatName.find('_');
    if (underscore != std::string_view::npos && underscore + 1 < formatName.size()) {
        parts.name = StringUtilities::toUpperAscii(formatName.substr(0, underscore));
        if (parts.name == "CURRENCY" && underscore < nameEnd) {
            parts.localeSuffix = std::string(formatName.substr(underscore + 1, nameEnd - underscore));
        }
    } else {
        parts.name = StringUtilities::toUpperAscii(formatName.substr(0, nameEnd + 1));
    }
    return parts;
}

}  // namespace pellium
