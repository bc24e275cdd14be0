#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "pellium/formatters/DecimalDigits.h"
#include "pellium/formatters/NumericSymbols.h"

namespace pellium {

/// The stack buffer in which the numeric formatters assemble a text, counting its width on screen
/// as it grows. A formatter writes a candidate layout, checks width() against its format width and
/// tries the next layout after clear() when it is too wide; nothing here allocates. Bytes past the
/// capacity are counted but not stored (overflowed() tells), so even a 309-digit number can be
/// measured and rejected. Internal to the formatters.
class NumericTextBuilder {
public:
    static constexpr std::size_t CAPACITY = 384;

    void clear() noexcept {
        size_ = 0;
        width_ = 0;
    }
    int width() const noexcept { return width_; }
    bool overflowed() const noexcept { return size_ > CAPACITY; }
    std::string_view view() const noexcept { return {bytes_, size_ < CAPACITY ? size_ : CAPACITY}; }

    void append(const NumericSymbol& symbol) noexcept { appendBytes(symbol.text, symbol.width); }
    void appendBytes(std::string_view text, int width) noexcept {
        if (size_ + text.size() <= CAPACITY) {
            std::memcpy(bytes_ + size_, text.data(), text.size());
        }
        size_ += text.size();
        width_ += width;
    }
    void appendAscii(char character) noexcept {
        if (size_ < CAPACITY) {
            bytes_[size_] = character;
        }
        ++size_;
        ++width_;
    }
    void appendRepeated(char character, int count) noexcept {
        for (int index = 0; index < count; ++index) {
            appendAscii(character);
        }
    }

    /// The integer digits of `digits` ("0" for a value below one unless `leadingZero` is false),
    /// with the grouping separators of `grouping` when it is not null.
    void appendIntegerDigits(const DecimalDigits& digits, const NumericSymbols* grouping, bool leadingZero) noexcept {
        const int integerDigits = digits.pointPosition;
        if (integerDigits <= 0) {
            if (leadingZero) {
                appendAscii('0');
            }
            return;
        }
        const bool grouped = grouping && grouping->groupsIntegerOf(integerDigits);
        for (int index = 0; index < integerDigits; ++index) {
            appendAscii(digits.digitAt(index));
            const int toTheRight = integerDigits - index - 1;
            if (grouped && toTheRight > 0 && grouping->separatorAfter(toTheRight)) {
                append(grouping->groupingSeparator);
            }
        }
    }

    /// The separator and exactly `decimals` digits after the point (zeros past the last digit);
    /// nothing for no decimals.
    void appendFractionDigits(const DecimalDigits& digits, int decimals, const NumericSymbol& separator) noexcept {
        if (decimals <= 0) {
            return;
        }
        append(separator);
        for (int index = 0; index < decimals; ++index) {
            appendAscii(digits.digitAt(digits.pointPosition + index));
        }
    }

    /// The digits of `digits` as a mantissa d.ddd with exactly `decimals` decimals.
    void appendMantissa(const DecimalDigits& digits, int decimals, const NumericSymbol& separator) noexcept {
        appendAscii(digits.isZero() ? '0' : digits.digitAt(0));
        if (decimals > 0) {
            append(separator);
            for (int index = 1; index <= decimals; ++index) {
                appendAscii(digits.digitAt(index));
            }
        }
    }

    /// A decimal exponent with at least `minimumDigits` digits.
    void appendExponentDigits(int exponent, int minimumDigits) noexcept {
        char text[8];
        int length = 0;
        unsigned magnitude = static_cast<unsigned>(exponent < 0 ? -exponent : exponent);
        do {
            text[length++] = static_cast<char>('0' + magnitude % 10);
            magnitude /= 10;
        } while (magnitude > 0 && length < 8);
        appendRepeated('0', minimumDigits - length);
        while (length > 0) {
            appendAscii(text[--length]);
        }
    }

private:
    char bytes_[CAPACITY];
    std::size_t size_ = 0;
    int width_ = 0;
};

}  // namespace pellium
