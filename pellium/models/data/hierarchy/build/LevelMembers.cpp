#include "pellium/models/data/hierarchy/build/LevelMembers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>
#include <unordered_map>

#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/dataset/DataValue.h"
#include "pellium/models/data/hierarchy/build/CodeMap.h"

namespace pellium {

// Member codes by formatted text: two cells whose values format alike are one member.
class MemberDictionary {
public:
    std::uint32_t codeFor(const SharedString& formattedValue) {
        const std::string_view key = formattedValue ? std::string_view(*formattedValue) : std::string_view();
        const auto [position, inserted] = codes_.try_emplace(key, static_cast<std::uint32_t>(texts_.size()));
        if (inserted) {
            // The key views the text this vector keeps alive.
            texts_.push_back(formattedValue ? formattedValue : StringUtilities::internString(std::string_view()));
        }
        return position->second;
    }
    const std::vector<SharedString>& texts() const { return texts_; }

private:
    std::unordered_map<std::string_view, std::uint32_t> codes_;
    std::vector<SharedString> texts_;
};

namespace {

constexpr std::uint32_t NO_CODE = CodeMap::NO_CODE;

std::shared_ptr<Formatter> formatterFor(const Column& column) {
    auto& factory = *FormatterFactory::instance();
    const SharedString& formatName = column.getFormatName();
    auto formatter = formatName ? factory.getFormatterForFormatName(formatName) : nullptr;
    return formatter ? formatter : factory.getDefaultNumericFormatter();
}

SharedString formattedStringCell(const Column& column, std::int32_t row) {
    return DataValue::formatStringValue(column.getStringAtIndex(row), column.getStringIndexAtIndex(row));
}

}  // namespace

LevelMembers::LevelMembers(const Column& column, const RowSource& rows) {
    if (!encodeByStringIndex(column, rows)) {
        encodeByRow(column, rows);
    }
}

bool LevelMembers::encodeByStringIndex(const Column& column, const RowSource& rows) {
    const auto& table = column.getResolvedStringTable();
    indices_ = column.getStringIndices();
    if (column.getDataType() != DataType::STRING || !indices_ || !table || column.hasExplicitStrings()) {
        indices_.reset();
        return false;
    }
    // A row of each key that occurs (any row: a key's text does not depend on the row). An index
    // that is neither a token nor in the table lands in the last slot, and makes the column fall
    // back to codes per row. The loop stores without testing, so that it runs at memory speed.
    const std::size_t keyCount = table->size() + TOKEN_KEYS;
    std::vector<std::int32_t> rowOfKey(keyCount + 1, -1);
    const std::int32_t* indexOfRow = indices_->data();
    const auto recordRow = [&](std::int32_t row) {
        const auto key = static_cast<std::uint32_t>(indexOfRow[row] + static_cast<std::int32_t>(TOKEN_KEYS));
        rowOfKey[std::min<std::size_t>(key, keyCount)] = row;
    };
    if (rows.isList()) {
        for (std::size_t position = 0; position < rows.size(); ++position) {
            recordRow(rows[position]);
        }
    } else {
        for (std::int32_t row = 0; row < static_cast<std::int32_t>(rows.size()); ++row) {
            recordRow(row);
        }
    }
    if (rowOfKey[keyCount] >= 0) {
        indices_.reset();
        return false;
    }
    rowOfKey.pop_back();
    MemberDictionary dictionary;
    codeOfKey_.assign(rowOfKey.size(), NO_CODE);
    for (std::size_t key = 0; key < rowOfKey.size(); ++key) {
        if (rowOfKey[key] >= 0) {
            codeOfKey_[key] = dictionary.codeFor(formattedStringCell(column, rowOfKey[key]));
        }
    }
    keyOffset_ = TOKEN_KEYS;
    keys_ = indexOfRow;
    texts_ = dictionary.texts();
    return true;
}

void LevelMembers::encodeByRow(const Column& column, const RowSource& rows) {
    MemberDictionary dictionary;
    codeOfRow_.assign(rows.rowLimit(), 0);
    if (column.getDataType() == DataType::STRING) {
        for (std::size_t position = 0; position < rows.size(); ++position) {
            const std::int32_t row = rows[position];
            codeOfRow_[static_cast<std::size_t>(row)] =
                static_cast<std::int32_t>(dictionary.codeFor(formattedStringCell(column, row)));
        }
    } else if (column.getNumbers()) {
        encodeNumbers(column, rows, dictionary);
    } else {
        dictionary.codeFor(DataTokens::getMissingNumericDisplayString());
    }
    texts_ = dictionary.texts();
    codeOfKey_.resize(texts_.size());
    for (std::size_t code = 0; code < codeOfKey_.size(); ++code) {
        codeOfKey_[code] = static_cast<std::uint32_t>(code);
    }
    keyOffset_ = 0;
    keys_ = codeOfRow_.data();
}

// Each distinct number is formatted once. A small direct-mapped cache of recent numbers keeps
// the hash map out of the loop for the few distinct numbers a level usually has.
void LevelMembers::encodeNumbers(const Column& column, const RowSource& rows, MemberDictionary& dictionary) {
    const double* numbers = column.getNumbers()->data();
    const auto formatter = formatterFor(column);
    CodeMap codeOfNumber;
    struct CachedNumber {
        std::uint64_t bits = 0;
        std::uint32_t code = NO_CODE;
    };
    std::array<CachedNumber, 256> cache{};
    for (std::size_t position = 0; position < rows.size(); ++position) {
        const std::int32_t row = rows[position];
        const auto bits = std::bit_cast<std::uint64_t>(numbers[row]);
        CachedNumber& cached = cache[(bits * 0x9E3779B97F4A7C15ULL) >> 56];
        if (cached.bits != bits || cached.code == NO_CODE) [[unlikely]] {
            std::uint32_t& code = codeOfNumber.find(bits);
            if (code == NO_CODE) {
                code = dictionary.codeFor(
                    StringUtilities::internString(DataValue::formatNumericValue(numbers[row], *formatter)));
            }
            cached = {bits, code};
        }
        codeOfRow_[static_cast<std::size_t>(row)] = static_cast<std::int32_t>(cached.code);
    }
}

}  // namespace pellium
