#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "pellium/models/data/hierarchy/build/RowSource.h"
#include "pellium/models/data/tree/PendingRowIndices.h"

namespace pellium {

class DataTreeNode;

/// The crossing of every classified row, expanded into the leaves' row vectors on first request: one
/// counting pass and one scattered write per row, paid only by whoever needs the rows.
class RecordedLeafRows : public PendingRowIndices {
public:
    RecordedLeafRows(const RowSource& rows, std::vector<std::uint32_t> crossingOfPosition,
                     std::vector<std::uint32_t> leafOfCrossing,
                     const std::vector<std::shared_ptr<DataTreeNode>>& leaves);

    void materialize() override;

private:
    std::once_flag once_;
    std::vector<std::uint32_t> crossingOfPosition_;
    std::vector<std::uint32_t> leafOfCrossing_;
    std::vector<std::int32_t> rows_;
    std::vector<std::weak_ptr<DataTreeNode>> leaves_;
};

}  // namespace pellium
