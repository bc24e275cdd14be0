#pragma once

#include <memory>
#include <vector>

#include "pellium/Export.h"
#include "pellium/models/data/sorting/SortComparator.h"

namespace pellium {

/// Orders indices by several comparators in turn: the first comparator that orders a pair (either
/// way) decides, the next ones break its ties, and a pair that none orders is unordered. A table
/// sorted by region, then by sales descending, is a compound of two column comparators over the
/// same rows. Null comparators in the list are skipped.
class PELLIUM_EXPORT CompoundSortComparator final : public SortComparator {
    struct Token {};

public:
    using ComparatorList = std::vector<std::shared_ptr<const SortComparator>>;

    static std::shared_ptr<CompoundSortComparator> create(ComparatorList comparators = {});

    CompoundSortComparator(Token, ComparatorList comparators);

    bool operator()(std::uint32_t i, std::uint32_t j) const override;

    void addComparator(std::shared_ptr<const SortComparator> comparator);
    const ComparatorList& getComparators() const { return comparators_; }

private:
    ComparatorList comparators_;
};

}  // namespace pellium
