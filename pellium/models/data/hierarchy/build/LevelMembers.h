#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/hierarchy/build/RowSource.h"

namespace pellium {

class MemberDictionary;

/// The member of every visited row at one level: a key per row and a member code per key, so that
/// the code of a row is codeOfKey[keys[row]]. A string column read through its string table is keyed
/// by the string index itself, and each index that occurs (token codes included) is resolved to its
/// member once. Any other column gets a member code per row up front, its keys being those codes: a
/// numeric column formats each distinct number once, a column of explicit texts looks each row's text
/// up. Member codes number the distinct formatted texts: two cells that format alike are one member.
class LevelMembers {
public:
    LevelMembers(const Column& column, const RowSource& rows);

    /// The keys, indexed by row (valid for the visited rows).
    const std::int32_t* keys() const { return keys_; }
    /// The member code of each key, offset so that it can be indexed by any key that occurs.
    const std::uint32_t* codeOfKey() const { return codeOfKey_.data() + keyOffset_; }
    std::int32_t firstKey() const { return -static_cast<std::int32_t>(keyOffset_); }
    std::size_t keyCount() const { return codeOfKey_.size(); }
    std::uint32_t memberOfRow(std::int32_t row) const { return codeOfKey()[keys_[row]]; }
    std::size_t memberCount() const { return texts_.size(); }
    const std::vector<SharedString>& texts() const { return texts_; }

private:
    // Token codes run from -100 (matches all) to -1 (missing).
    static constexpr std::size_t TOKEN_KEYS = 100;

    // False, having done nothing, when the column has no string table to key by, or a row's index
    // lies outside it.
    bool encodeByStringIndex(const Column& column, const RowSource& rows);
    void encodeByRow(const Column& column, const RowSource& rows);
    void encodeNumbers(const Column& column, const RowSource& rows, MemberDictionary& dictionary);

    std::shared_ptr<Column::IndexVector> indices_;  // keeps the keys alive
    std::vector<std::int32_t> codeOfRow_;
    const std::int32_t* keys_ = nullptr;
    std::size_t keyOffset_ = 0;
    std::vector<std::uint32_t> codeOfKey_;
    std::vector<SharedString> texts_;
};

}  // namespace pellium
