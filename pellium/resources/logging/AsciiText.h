#pragma once

#include <algorithm>
#include <string_view>

// Small ASCII text helpers shared by the logging name table and the configuration reader. Internal
// to the library: configuration keys and names are ASCII, so no locale or Unicode rules apply.
namespace pellium::detail {

constexpr char toAsciiLower(char character) {
    return (character >= 'A' && character <= 'Z') ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool equalsIgnoringAsciiCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(),
                                                     [](char a, char b) { return toAsciiLower(a) == toAsciiLower(b); });
}

constexpr bool isAsciiBlank(char character) {
    return character == ' ' || character == '\t' || character == '\v' || character == '\f';
}

/// `text` without the blanks (space, tab, vertical tab, form feed) at either end.
constexpr std::string_view trimAsciiBlanks(std::string_view text) {
    while (!text.empty() && isAsciiBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isAsciiBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace pellium::detail
