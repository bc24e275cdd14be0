#include "pellium/models/data/hierarchy/build/RowCrossings.h"

#include <algorithm>

#include "pellium/models/data/hierarchy/build/CodeMap.h"

namespace pellium {

namespace {

constexpr std::uint32_t NO_CODE = CodeMap::NO_CODE;

}  // namespace

RowCrossings::RowCrossings(const std::vector<std::unique_ptr<LevelMembers>>& levels, const RowSource& rows)
    : rows_(rows) {
    std::uint64_t product = 1;
    bool fits = true;
    for (const auto& level : levels) {
        product *= std::max<std::size_t>(level->memberCount(), 1);
        fits = fits && product <= denseLimit(rows.size());
    }
    if (fits) {
        makeStrideTables(levels);
    } else {
        numberPerRow(levels);
    }
}

void RowCrossings::makeStrideTables(const std::vector<std::unique_ptr<LevelMembers>>& levels) {
    std::uint32_t stride = 1;
    storage_.resize(levels.size());
    for (std::size_t level = levels.size(); level-- > 0;) {
        const LevelMembers& members = *levels[level];
        std::vector<std::uint32_t>& table = storage_[level];
        table.resize(members.keyCount());
        const std::uint32_t* codes = members.codeOfKey() + members.firstKey();
        for (std::size_t key = 0; key < table.size(); ++key) {
            // Keys that never occur keep an out-of-range code; they are never read.
            table[key] = codes[key] == NO_CODE ? 0 : codes[key] * stride;
        }
        stride *= static_cast<std::uint32_t>(std::max<std::size_t>(members.memberCount(), 1));
    }
    for (std::size_t level = 0; level < levels.size(); ++level) {
        keys_.push_back(levels[level]->keys());
        tables_.push_back(storage_[level].data() - levels[level]->firstKey());
    }
    crossingCount_ = stride;
}

void RowCrossings::numberPerRow(const std::vector<std::unique_ptr<LevelMembers>>& levels) {
    crossingOfPosition_.assign(rows_.size(), 0);
    std::uint64_t count = 1;
    for (const auto& level : levels) {
        const std::uint64_t width = std::max<std::size_t>(level->memberCount(), 1);
        if (count * width <= denseLimit(rows_.size())) {
            for (std::size_t position = 0; position < rows_.size(); ++position) {
                std::uint32_t& crossing = crossingOfPosition_[position];
                crossing = crossing * static_cast<std::uint32_t>(width) + level->memberOfRow(rows_[position]);
            }
            count *= width;
            continue;
        }
        CodeMap renumbered(1024);
        std::uint32_t next = 0;
        for (std::size_t position = 0; position < rows_.size(); ++position) {
            std::uint32_t& crossing = crossingOfPosition_[position];
            std::uint32_t& number =
                renumbered.find((std::uint64_t{crossing} << 32) | level->memberOfRow(rows_[position]));
            if (number == NO_CODE) {
                number = next++;
            }
            crossing = number;
        }
        count = next;
    }
    crossingCount_ = static_cast<std::size_t>(count);
}

}  // namespace pellium
