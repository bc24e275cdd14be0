#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// One field of a CSV record, in place in the scanned bytes.
struct CSVField {
    /// The field's bytes; for a quoted field the bytes between the quotes, doubled quotes still
    /// doubled (see CSVRecordScanner::appendUnescaped).
    std::string_view text;
    bool isQuoted = false;
    bool hasDoubledQuotes = false;
};

/// Splits CSV bytes into records and fields without copying them: the fields point into the
/// scanned bytes. A field is quoted when it starts with a double quote; inside it a doubled quote
/// stands for one quote and delimiters and line breaks are text. A quote inside an unquoted field
/// is an ordinary character. Records end at a line feed, a carriage return or both together.
///
/// The scanner keeps no state between records, so that a reader can feed it a window of a file,
/// and when the window ends inside a record (NEED_MORE) scan the same record again in a longer
/// window. The record parser of CSVDataSetReader uses it.
class PELLIUM_EXPORT CSVRecordScanner {
public:
    enum class Status {
        /// A whole record was scanned.
        RECORD,
        /// The bytes end inside a record, and more bytes may follow.
        NEED_MORE,
        /// No bytes are left and none will follow.
        END,
        /// The record is malformed (see Fault).
        ERROR,
    };

    enum class Fault {
        NONE,
        /// A quoted field has no closing quote before the end of the data.
        UNBALANCED_QUOTE,
        /// A closing quote is followed by something else than a delimiter or a line break.
        TEXT_AFTER_CLOSING_QUOTE,
        /// A field is longer than the maximum field size.
        FIELD_TOO_LONG,
    };

    struct Scan {
        Status status = Status::END;
        /// RECORD: the bytes of the record, its line break included.
        std::size_t consumed = 0;
        /// RECORD: the line breaks in the record, inside quoted fields and at its end.
        std::size_t lineBreaks = 0;
        /// ERROR: what is wrong, in which field (from 0) and how many line breaks of the record
        /// come before that field.
        Fault fault = Fault::NONE;
        std::size_t faultField = 0;
        std::size_t faultLineBreaks = 0;
    };

    /// `delimiter` must not be a double quote, a line feed or a carriage return.
    CSVRecordScanner(char delimiter, std::size_t maximumFieldBytes);

    /// Scans the record at the start of `bytes` into `fields` (replacing them). `isFinal` tells
    /// that no bytes follow `bytes`, so that the end of the bytes ends the record.
    Scan scan(std::string_view bytes, bool isFinal, std::vector<CSVField>& fields) const;

    /// Appends the text of a quoted field with each doubled quote halved.
    static void appendUnescaped(std::string_view quotedText, std::string& text);

private:
    // Finds the ends of a record's unquoted fields from bit masks of 64-byte blocks, the last
    // block kept for the next field; the final bytes, short of a block, are searched directly.
    class FieldEnds {
    public:
        FieldEnds(const CSVRecordScanner& scanner, const char* end) : scanner_(scanner), end_(end) {}
        const char* find(const char* position);

    private:
        const CSVRecordScanner& scanner_;
        const char* end_;
        const char* block_ = nullptr;
        std::uint64_t ends_ = 0;
    };

    const char* findEndOfUnquotedField(const char* position, const char* end) const;
    std::uint64_t fieldEndsOfBlock(const char* block) const;
    bool endsUnquotedField(char character) const { return endsUnquotedField_[static_cast<unsigned char>(character)]; }

    char delimiter_;
    std::size_t maximumFieldBytes_;
    std::array<bool, 256> endsUnquotedField_{};
};

}  // namespace pellium
