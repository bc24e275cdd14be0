#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/dataset/DataType.h"
#include "pellium/models/data/dataset/DataValue.h"

namespace pellium {

class Collator;

/// Turns the values to sort into collation keys, one signed 32-bit key per value, computed once
/// before a sort so that comparing two values is comparing two integers. The row comparators use
/// it, and so can any code that orders members of a hierarchy: hand it the members' values and
/// give the keys to an IndexedSortComparator.
///
/// The keys:
/// - a special value keeps its token code, which the comparators map to its plane: -100
///   matches-all, -2 sparse, -1 missing, -98 suppressed; all-others gets the caller's key for
///   "last" (CollationKeys::LAST_KEY, -5, for the data value comparators; -99 for
///   IndexedSortComparator);
/// - ordinary values get their dense rank, 0 for the smallest: equal values share a key and
///   different values never do.
///   Numbers rank by numeric value (-0 equals 0; infinities are the extremes).
///   Texts rank by bytes (unsigned, a proper prefix first: the order of a data set's string table
///   after DataSet::sortOrderedUniqueStringValues), or, given a collator, by its collation first
///   and by bytes among texts that collate equal, so the order stays total and repeatable.
/// A value's special state is decided as DataTokens::getSortPlaneForValue decides it: a string
/// value by its index (-99, -2, -98, -100), except that a blank or null text is missing first.
class PELLIUM_EXPORT CollationKeys {
public:
    /// The key of an entry that sorts last in every direction.
    static constexpr std::int32_t LAST_KEY = -5;

    CollationKeys() = delete;

    /// Keys for numbers; NaN and the numeric sentinels are special.
    static std::vector<std::int32_t> forNumbers(std::span<const double> numbers, std::int32_t allOthersKey = LAST_KEY);

    /// Dense ranks of texts (all ordinary): by bytes, or by `collator` and then bytes.
    static std::vector<std::int32_t> rankTexts(std::span<const std::string_view> texts, const Collator* collator);

    /// Keys for string cells: `indices[i]` is the cell's index in the string table or its token
    /// code, `texts[i]` its text (null when none). Both spans have the same length.
    static std::vector<std::int32_t> forStringCells(std::span<const std::int32_t> indices,
                                                    std::span<const std::string* const> texts, const Collator* collator,
                                                    std::int32_t allOthersKey = LAST_KEY);

    /// Keys for values of `type`: numbers by forNumbers, texts by their string state and text. A
    /// null value, and a value of the other kind, is missing.
    static std::vector<std::int32_t> forValues(std::span<const std::shared_ptr<DataValue>> values, DataType::type type,
                                               const Collator* collator, std::int32_t allOthersKey = LAST_KEY);

    /// What the two functions below answer for an ordinary value; no special key is 0 or more.
    static constexpr std::int32_t NOT_SPECIAL = 0;

    /// The key of a special number (see above), or NOT_SPECIAL.
    static std::int32_t getSpecialKeyForNumber(double number, std::int32_t allOthersKey = LAST_KEY);
    /// The key of a special string cell, or NOT_SPECIAL.
    static std::int32_t getSpecialKeyForStringCell(std::int32_t index, const std::string* text,
                                                   std::int32_t allOthersKey = LAST_KEY);
};

}  // namespace pellium
