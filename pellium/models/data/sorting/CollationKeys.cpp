#include "pellium/models/data/sorting/CollationKeys.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <string>
#include <unordered_map>

#include "pellium/models/data/dataset/DataTokens.h"
#include "pellium/models/data/sorting/Collator.h"
#include "pellium/models/data/sorting/RadixSort.h"
#include "pellium/util/StringUtilities.h"

namespace pellium {

namespace {

// The key of each sort plane, from all-others (-1) to ordinary (4).
std::int32_t keyForPlane(int plane, std::int32_t allOthersKey) {
    switch (plane) {
        case DataTokens::SORT_PLANE_ALL_OTHERS:
            return allOthersKey;
        case DataTokens::SORT_PLANE_MATCHES_ALL:
            return DataTokens::TOKEN_MATCHES_ALL;
        case DataTokens::SORT_PLANE_SPARSE:
            return DataTokens::TOKEN_SPARSE;
        case DataTokens::SORT_PLANE_MISSING:
            return DataTokens::TOKEN_MISSING;
        case DataTokens::SORT_PLANE_SUPPRESSED:
            return DataTokens::TOKEN_SUPPRESSED;
        default:
            return CollationKeys::NOT_SPECIAL;
    }
}

// An unsigned word whose order is the numeric order of ordinary doubles (no NaN here); -0 and 0
// share one word.
std::uint64_t orderedWordOf(double number) {
    const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);
    constexpr std::uint64_t signBit = std::uint64_t{1} << 63;
    return (bits & signBit) != 0 ? ~bits : bits | signBit;
}

// Writes dense ranks into keys[entry.index] for entries sorted by word: equal words, equal ranks.
void assignDenseRanks(const std::vector<detail::KeyedIndex>& sorted, std::vector<std::int32_t>& keys) {
    std::int32_t rank = -1;
    for (std::size_t position = 0; position < sorted.size(); ++position) {
        if (position == 0 || sorted[position].key != sorted[position - 1].key) {
            ++rank;
        }
        keys[sorted[position].index] = rank;
    }
}

}  // namespace

std::int32_t CollationKeys::getSpecialKeyForNumber(double number, std::int32_t allOthersKey) {
    return keyForPlane(DataTokens::getSortPlaneForValue(number), allOthersKey);
}

std::int32_t CollationKeys::getSpecialKeyForStringCell(std::int32_t index, const std::string* text,
                                                       std::int32_t allOthersKey) {
    // The order of the tests is the order in which a string value's plane is decided.
    if (index == DataTokens::TOKEN_ALL_OTHERS) {
        return allOthersKey;
    }
    if (index == DataTokens::TOKEN_SPARSE) {
        return DataTokens::TOKEN_SPARSE;
    }
    if (text == nullptr || StringUtilities::isStringMissing(std::string_view(*text))) {
        return DataTokens::TOKEN_MISSING;
    }
    if (index == DataTokens::TOKEN_SUPPRESSED || index == DataTokens::TOKEN_MATCHES_ALL) {
        return index;
    }
    return NOT_SPECIAL;
}

std::vector<std::int32_t> CollationKeys::forNumbers(std::span<const double> numbers, std::int32_t allOthersKey) {
    std::vector<std::int32_t> keys(numbers.size());
    std::vector<detail::KeyedIndex> ordinary;
    ordinary.reserve(numbers.size());
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        const std::int32_t special = getSpecialKeyForNumber(numbers[index], allOthersKey);
        if (special != NOT_SPECIAL) {
            keys[index] = special;
        } else {
            ordinary.push_back({orderedWordOf(numbers[index]), static_cast<std::uint32_t>(index)});
        }
    }
    detail::radixSortByKey(ordinary);
    assignDenseRanks(ordinary, keys);
    return keys;
}

std::vector<std::int32_t> CollationKeys::rankTexts(std::span<const std::string_view> texts, const Collator* collator) {
    std::vector<std::uint32_t> order(texts.size());
    std::iota(order.begin(), order.end(), 0u);
    std::vector<std::string> sortKeys;
    if (collator != nullptr) {
        sortKeys.resize(texts.size());
        for (std::size_t index = 0; index < texts.size(); ++index) {
            collator->appendSortKey(texts[index], sortKeys[index]);
        }
    }
    // Collation first (when asked), then bytes: texts that collate equal still differ.
    const auto isBefore = [&](std::uint32_t left, std::uint32_t right) {
        if (!sortKeys.empty()) {
            const int byCollation = sortKeys[left].compare(sortKeys[right]);
            if (byCollation != 0) {
                return byCollation < 0;
            }
        }
        return texts[left] < texts[right];
    };
    std::sort(order.begin(), order.end(), isBefore);
    std::vector<std::int32_t> ranks(texts.size());
    std::int32_t rank = -1;
    for (std::size_t position = 0; position < order.size(); ++position) {
        if (position == 0 || texts[order[position]] != texts[order[position - 1]]) {
            ++rank;
        }
        ranks[order[position]] = rank;
    }
    return ranks;
}

std::vector<std::int32_t> CollationKeys::forStringCells(std::span<const std::int32_t> indices,
                                                        std::span<const std::string* const> texts,
                                                        const Collator* collator, std::int32_t allOthersKey) {
    const std::size_t count = std::min(indices.size(), texts.size());
    std::vector<std::int32_t> keys(count);
    // Ranks are computed once per distinct text; interned texts are found by address.
    std::unordered_map<const std::string*, std::uint32_t> slotOfText;
    std::vector<std::string_view> distinctTexts;
    std::vector<std::uint32_t> slotOfCell(count, 0);
    for (std::size_t cell = 0; cell < count; ++cell) {
        const std::int32_t special = getSpecialKeyForStringCell(indices[cell], texts[cell], allOthersKey);
        if (special != NOT_SPECIAL) {
            keys[cell] = special;
            continue;
        }
        const auto [found, isNew] =
            slotOfText.try_emplace(texts[cell], static_cast<std::uint32_t>(distinctTexts.size()));
        if (isNew) {
            distinctTexts.emplace_back(*texts[cell]);
        }
        slotOfCell[cell] = found->second;
    }
    const std::vector<std::int32_t> ranks = rankTexts(distinctTexts, collator);
    for (std::size_t cell = 0; cell < count; ++cell) {
        if (keys[cell] == NOT_SPECIAL) {
            keys[cell] = ranks[slotOfCell[cell]];
        }
    }
    return keys;
}

std::vector<std::int32_t> CollationKeys::forValues(std::span<const std::shared_ptr<DataValue>> values,
                                                   DataType::type type, const Collator* collator,
                                                   std::int32_t allOthersKey) {
    if (type == DataType::NUMERIC) {
        std::vector<double> numbers(values.size(), DataTokens::MISSING_NUMERIC);
        for (std::size_t index = 0; index < values.size(); ++index) {
            if (values[index] && !values[index]->isString()) {
                numbers[index] = values[index]->getNumericValue();
            }
        }
        return forNumbers(numbers, allOthersKey);
    }
    std::vector<std::int32_t> indices(values.size(), DataTokens::TOKEN_MISSING);
    std::vector<const std::string*> texts(values.size(), nullptr);
    for (std::size_t index = 0; index < values.size(); ++index) {
        if (values[index] && values[index]->isString()) {
            indices[index] = values[index]->getStringIndex();
            texts[index] = values[index]->getStringValue().get();
        }
    }
    return forStringCells(indices, texts, collator, allOthersKey);
}

}  // namespace pellium
