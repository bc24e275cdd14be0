#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// Reads the key/value text of `.properties` resource files, the form in which every localised
/// bundle is compiled into the library (and in which a host may register bundles of its own).
/// The syntax is the familiar Java one, with one deliberate difference: the bytes are UTF-8, not
/// Latin-1, so translators can write their texts directly.
///
/// - A logical line is a physical line (ended by "\n", "\r" or "\r\n") plus its continuations:
///   a line that ends in an odd number of backslashes continues on the next physical line, whose
///   leading white space (space, tab, form feed) is dropped. A backslash at the end of the text
///   is dropped. A blank continuation line ends the logical line.
/// - Blank lines are skipped. A line whose first non-blank character is "#" or "!" is a comment;
///   a comment never continues, whatever it ends with.
/// - The key runs up to the first unescaped "=", ":" or white space; white space around the
///   separator is skipped, and one "=" or ":" may follow white space. The rest of the line is the
///   value, trailing white space included. A line with a key only has an empty value.
/// - In keys and values "\t", "\n", "\r" and "\f" are the control characters, "\uXXXX" is a
///   UTF-16 code unit (a high and a low surrogate written as two escapes give one code point), and
///   a backslash before any other character gives that character ("\\", "\=", "\:", "\#", "\ ").
/// - A "\u" escape with fewer than four hex digits, and a surrogate that is not part of a pair,
///   become U+FFFD; the digits that were present are consumed. Bytes that are not well-formed
///   UTF-8 become U+FFFD as well, so every key and value is valid UTF-8. A UTF-8 byte order mark
///   at the start is skipped.
///
/// Reading never fails and never throws on any input: malformed text is read as far as the rules
/// above allow. Time and memory are linear in the length of the text.
class PELLIUM_EXPORT PropertiesReader {
public:
    struct Entry {
        std::string key;
        std::string value;
        bool operator==(const Entry&) const = default;
    };

    PropertiesReader() = delete;

    /// Every entry of `text` in the order of the file. A key that occurs twice is listed twice;
    /// whoever builds a table from the list lets the later one win, as a properties file does.
    static std::vector<Entry> read(std::string_view text);
};

}  // namespace pellium
