#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/sorting/SortComparator.h"
#include "pellium/models/data/sorting/SortKeyOrder.h"

namespace pellium {

/// Orders indices by keys computed beforehand, one signed 32-bit key per index, ascending or
/// descending. The keys follow the conventions of SortKeyOrder with -99 as the key that sorts
/// last: -99 (all-others) is last in both directions; keys below -1000 form a band before the
/// others when ascending and after them when descending; the token codes -100, -2, -1 and -98
/// form the bands of matches-all, sparse, missing and suppressed; every other key is an ordinary
/// key ordered by value. CollationKeys builds such keys from values (pass -99 as the all-others
/// key). Equal keys are unordered, so a stable sort keeps their data order.
class PELLIUM_EXPORT IndexedSortComparator final : public SortComparator {
    struct Token {};

public:
    static constexpr std::int32_t ALL_OTHERS_KEY = -99;

    /// A null vector holds no keys (every index is then out of range).
    static std::shared_ptr<IndexedSortComparator> create(std::shared_ptr<const std::vector<std::int32_t>> keys,
                                                         bool ascending);

    IndexedSortComparator(Token, std::shared_ptr<const std::vector<std::int32_t>> keys, bool ascending);

    /// True when index `i` comes before index `j`; std::out_of_range for an index beyond the keys.
    bool operator()(std::uint32_t i, std::uint32_t j) const override {
        return getKeyOrder().isBefore(keys_->at(i), keys_->at(j));
    }

    /// Sorts stably by sorting the keys.
    void sortIndices(std::vector<std::uint32_t>& indices) const override;

    const std::shared_ptr<const std::vector<std::int32_t>>& getKeys() const { return keys_; }
    bool isAscending() const { return ascending_; }
    void setAscending(bool ascending) { ascending_ = ascending; }

private:
    SortKeyOrder getKeyOrder() const { return SortKeyOrder(ALL_OTHERS_KEY, true, ascending_); }

    std::shared_ptr<const std::vector<std::int32_t>> keys_;
    bool ascending_;
};

}  // namespace pellium
