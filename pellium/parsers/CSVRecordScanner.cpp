#include "pellium/parsers/CSVRecordScanner.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "pellium/util/TextWords.h"

namespace pellium {

namespace {

using Scan = CSVRecordScanner::Scan;
using Status = CSVRecordScanner::Status;
using Fault = CSVRecordScanner::Fault;

Scan needMore() {
    return Scan{Status::NEED_MORE};
}

Scan fault(Fault kind, std::size_t field, std::size_t lineBreaks) {
    Scan scan{Status::ERROR};
    scan.fault = kind;
    scan.faultField = field;
    scan.faultLineBreaks = lineBreaks;
    return scan;
}

Scan record(const char* begin, const char* end, std::size_t lineBreaks) {
    Scan scan{Status::RECORD};
    scan.consumed = static_cast<std::size_t>(end - begin);
    scan.lineBreaks = lineBreaks;
    return scan;
}

}  // namespace

CSVRecordScanner::CSVRecordScanner(char delimiter, std::size_t maximumFieldBytes)
    : delimiter_(delimiter), maximumFieldBytes_(maximumFieldBytes) {
    endsUnquotedField_[static_cast<unsigned char>(delimiter)] = true;
    endsUnquotedField_['\n'] = true;
    endsUnquotedField_['\r'] = true;
}

// Eight bytes at a time: a byte equal to c becomes zero after the exclusive or, and the classic
// test marks the lowest zero byte of a word exactly (marks above it may be false, and are unused).
const char* CSVRecordScanner::findEndOfUnquotedField(const char* position, const char* end) const {
    constexpr std::uint64_t ones = 0x0101010101010101ULL;
    constexpr std::uint64_t highs = 0x8080808080808080ULL;
    const auto zeroBytes = [](std::uint64_t word) { return (word - ones) & ~word & highs; };
    for (; end - position >= 8; position += 8) {
        const auto word = TextWords::load<std::uint64_t>(position);
        const std::uint64_t marks = zeroBytes(word ^ (ones * static_cast<unsigned char>(delimiter_))) |
                                    zeroBytes(word ^ (ones * '\n')) | zeroBytes(word ^ (ones * '\r'));
        if (marks != 0) {
            return position + std::countr_zero(marks) / 8;
        }
    }
    while (position < end && !endsUnquotedField(*position)) {
        ++position;
    }
    return position;
}

// One bit for each byte of a 64-byte block that ends an unquoted field, so that the fields of a
// record are found by counting bits instead of by a search per field.
std::uint64_t CSVRecordScanner::fieldEndsOfBlock(const char* block) const {
#if defined(__SSE2__)
    const __m128i delimiters = _mm_set1_epi8(delimiter_);
    const __m128i lineFeeds = _mm_set1_epi8('\n');
    const __m128i carriageReturns = _mm_set1_epi8('\r');
    std::uint64_t ends = 0;
    for (int part = 0; part < 4; ++part) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 16 * part));
        const __m128i matches =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, delimiters), _mm_cmpeq_epi8(bytes, lineFeeds)),
                         _mm_cmpeq_epi8(bytes, carriageReturns));
        ends |= static_cast<std::uint64_t>(static_cast<std::uint16_t>(_mm_movemask_epi8(matches))) << (16 * part);
    }
    return ends;
#else
    std::uint64_t ends = 0;
    for (int index = 0; index < 64; ++index) {
        ends |= static_cast<std::uint64_t>(endsUnquotedField(block[index])) << index;
    }
    return ends;
#endif
}

const char* CSVRecordScanner::FieldEnds::find(const char* position) {
    while (end_ - position >= 64) {
        if (block_ == nullptr || position - block_ >= 64) {
            block_ = position;
            ends_ = scanner_.fieldEndsOfBlock(position);
        }
        if (const std::uint64_t later = ends_ >> (position - block_); later != 0) {
            return position + std::countr_zero(later);
        }
        position = block_ + 64;
    }
    return scanner_.findEndOfUnquotedField(position, end_);
}

Scan CSVRecordScanner::scan(std::string_view bytes, bool isFinal, std::vector<CSVField>& fields) const {
    fields.clear();
    const char* const begin = bytes.data();
    const char* const end = begin + bytes.size();
    if (begin == end) {
        return isFinal ? Scan{Status::END} : needMore();
    }
    const char* position = begin;
    std::size_t lineBreaks = 0;
    FieldEnds fieldEnds(*this, end);
    while (true) {
        const char* const fieldStart = position;
        const std::size_t fieldIndex = fields.size();
        const auto isTooLong = [&](const char* fieldEnd) {
            return static_cast<std::size_t>(fieldEnd - fieldStart) > maximumFieldBytes_;
        };
        CSVField field;
        if (position < end && *position == '"') {
            const char* cursor = position + 1;
            const char* closingQuote = nullptr;
            while (!closingQuote) {
                const auto* quote =
                    static_cast<const char*>(std::memchr(cursor, '"', static_cast<std::size_t>(end - cursor)));
                if (!quote || (quote + 1 == end && !isFinal)) {
                    // The field goes on beyond the bytes, or a doubled quote may straddle their end.
                    if (isTooLong(end)) {
                        return fault(Fault::FIELD_TOO_LONG, fieldIndex, lineBreaks);
                    }
                    return isFinal ? fault(Fault::UNBALANCED_QUOTE, fieldIndex, lineBreaks) : needMore();
                }
                if (quote + 1 < end && quote[1] == '"') {
                    field.hasDoubledQuotes = true;
                    cursor = quote + 2;
                } else {
                    closingQuote = quote;
                }
            }
            if (isTooLong(closingQuote - 1)) {
                return fault(Fault::FIELD_TOO_LONG, fieldIndex, lineBreaks);
            }
            field.text = std::string_view(position + 1, static_cast<std::size_t>(closingQuote - position - 1));
            field.isQuoted = true;
            lineBreaks += static_cast<std::size_t>(std::count(field.text.begin(), field.text.end(), '\n'));
            position = closingQuote + 1;
            if (position < end && !endsUnquotedField(*position)) {
                return fault(Fault::TEXT_AFTER_CLOSING_QUOTE, fieldIndex, lineBreaks);
            }
        } else {
            const char* cursor = fieldEnds.find(position);
            if (isTooLong(cursor)) {
                return fault(Fault::FIELD_TOO_LONG, fieldIndex, lineBreaks);
            }
            if (cursor == end && !isFinal) {
                return needMore();
            }
            field.text = std::string_view(position, static_cast<std::size_t>(cursor - position));
            position = cursor;
        }
        fields.push_back(field);
        if (position == end) {
            return isFinal ? record(begin, end, lineBreaks) : needMore();
        }
        if (*position == delimiter_) {
            ++position;
            continue;
        }
        // A line break ends the record; a carriage return may be followed by a line feed.
        if (*position == '\r') {
            if (position + 1 == end && !isFinal) {
                return needMore();
            }
            if (position + 1 < end && position[1] == '\n') {
                ++position;
            }
        }
        return record(begin, position + 1, lineBreaks + 1);
    }
}

void CSVRecordScanner::appendUnescaped(std::string_view quotedText, std::string& text) {
    for (std::size_t quote = quotedText.find('"'); quote != std::string_view::npos; quote = quotedText.find('"')) {
        text.append(quotedText.substr(0, quote + 1));
        quotedText.remove_prefix(std::min(quote + 2, quotedText.size()));  // past the second quote of the pair
    }
    text.append(quotedText);
}

}  // namespace pellium
