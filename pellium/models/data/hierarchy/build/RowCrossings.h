#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "pellium/models/data/hierarchy/build/LevelMembers.h"
#include "pellium/models/data/hierarchy/build/RowSource.h"

namespace pellium {

/// The crossing of every visited row: one number per distinct combination of its members at all
/// levels. When the product of the levels' member counts is small, the number is computed per row
/// from the keys through tables of premultiplied member codes (no array per row is written); past
/// that the crossings are numbered once per row, level by level, renumbering through a hash map
/// whenever the product would outgrow the limit.
class RowCrossings {
public:
    RowCrossings(const std::vector<std::unique_ptr<LevelMembers>>& levels, const RowSource& rows);

    /// The number of crossing numbers (some may not occur).
    std::size_t crossingCount() const { return crossingCount_; }

    /// Calls visit(position, row, crossing) for every visited row in order.
    template <typename Visit>
    void forEachRow(const Visit& visit) const {
        if (!crossingOfPosition_.empty()) {
            forEachRowOf(visit, [this](std::size_t position, std::int32_t) { return crossingOfPosition_[position]; });
            return;
        }
        const auto key = [this](std::size_t level) { return keys_[level]; };
        const auto table = [this](std::size_t level) { return tables_[level]; };
        switch (keys_.size()) {
            case 0:
                forEachRowOf(visit, [](std::size_t, std::int32_t) { return std::uint32_t{0}; });
                break;
            case 1:
                forEachRowOf(visit,
                             [k0 = key(0), t0 = table(0)](std::size_t, std::int32_t row) { return t0[k0[row]]; });
                break;
            case 2:
                forEachRowOf(visit, [k0 = key(0), t0 = table(0), k1 = key(1), t1 = table(1)](
                                        std::size_t, std::int32_t row) { return t0[k0[row]] + t1[k1[row]]; });
                break;
            case 3:
                forEachRowOf(visit,
                             [k0 = key(0), t0 = table(0), k1 = key(1), t1 = table(1), k2 = key(2), t2 = table(2)](
                                 std::size_t, std::int32_t row) { return t0[k0[row]] + t1[k1[row]] + t2[k2[row]]; });
                break;
            default:
                forEachRowOf(visit, [this](std::size_t, std::int32_t row) {
                    std::uint32_t crossing = 0;
                    for (std::size_t level = 0; level < keys_.size(); ++level) {
                        crossing += tables_[level][keys_[level][row]];
                    }
                    return crossing;
                });
                break;
        }
    }

private:
    // Dense numbers address flat per-crossing arrays; their size is held to the data's.
    static std::uint64_t denseLimit(std::size_t rowCount) {
        return std::clamp<std::uint64_t>(rowCount, std::uint64_t{1} << 16, std::uint64_t{1} << 22);
    }

    template <typename Visit, typename CrossingOf>
    void forEachRowOf(const Visit& visit, CrossingOf crossingOf) const {
        if (rows_.isList()) {
            for (std::size_t position = 0; position < rows_.size(); ++position) {
                const std::int32_t row = rows_[position];
                visit(position, row, crossingOf(position, row));
            }
        } else {
            const auto count = static_cast<std::int32_t>(rows_.size());
            for (std::int32_t row = 0; row < count; ++row) {
                visit(static_cast<std::size_t>(row), row, crossingOf(static_cast<std::size_t>(row), row));
            }
        }
    }

    // Row-major numbering: the last level varies fastest.
    void makeStrideTables(const std::vector<std::unique_ptr<LevelMembers>>& levels);
    void numberPerRow(const std::vector<std::unique_ptr<LevelMembers>>& levels);

    const RowSource& rows_;
    std::vector<const std::int32_t*> keys_;
    std::vector<const std::uint32_t*> tables_;
    std::vector<std::vector<std::uint32_t>> storage_;
    std::vector<std::uint32_t> crossingOfPosition_;
    std::size_t crossingCount_ = 1;
};

}  // namespace pellium
