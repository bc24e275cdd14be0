#include "pellium/models/data/sorting/CompoundSortComparator.h"

namespace pellium {

std::shared_ptr<CompoundSortComparator> CompoundSortComparator::create(ComparatorList comparators) {
    return std::make_shared<CompoundSortComparator>(Token{}, std::move(comparators));
}

CompoundSortComparator::CompoundSortComparator(Token, ComparatorList comparators)
    : comparators_(std::move(comparators)) {}

bool CompoundSortComparator::operator()(std::uint32_t i, std::uint32_t j) const {
    for (const auto& comparator : comparators_) {
        if (!comparator) {
            continue;
        }
        if ((*comparator)(i, j)) {
            return true;
        }
        if ((*comparator)(j, i)) {
            return false;
        }
    }
    return false;
}

void CompoundSortComparator::addComparator(std::shared_ptr<const SortComparator> comparator) {
    comparators_.push_back(std::move(comparator));
}

}  // namespace pellium
