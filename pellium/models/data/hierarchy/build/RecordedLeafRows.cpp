#include "pellium/models/data/hierarchy/build/RecordedLeafRows.h"

#include "pellium/models/data/tree/DataTreeNode.h"

namespace pellium {

RecordedLeafRows::RecordedLeafRows(const RowSource& rows, std::vector<std::uint32_t> crossingOfPosition,
                                   std::vector<std::uint32_t> leafOfCrossing,
                                   const std::vector<std::shared_ptr<DataTreeNode>>& leaves)
    : crossingOfPosition_(std::move(crossingOfPosition)), leafOfCrossing_(std::move(leafOfCrossing)) {
    if (rows.isList()) {
        rows_.reserve(rows.size());
        for (std::size_t position = 0; position < rows.size(); ++position) {
            rows_.push_back(rows[position]);
        }
    }
    leaves_.assign(leaves.begin(), leaves.end());
}

void RecordedLeafRows::materialize() {
    std::call_once(once_, [this] {
        std::vector<std::size_t> rowsPerLeaf(leaves_.size(), 0);
        for (const std::uint32_t crossing : crossingOfPosition_) {
            ++rowsPerLeaf[leafOfCrossing_[crossing]];
        }
        std::vector<std::shared_ptr<DataTreeNode::RowIndexVector>> vectors(leaves_.size());
        for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
            vectors[leaf] = std::make_shared<DataTreeNode::RowIndexVector>();
            vectors[leaf]->reserve(rowsPerLeaf[leaf]);
        }
        for (std::size_t position = 0; position < crossingOfPosition_.size(); ++position) {
            const auto row = rows_.empty() ? static_cast<std::int32_t>(position) : rows_[position];
            vectors[leafOfCrossing_[crossingOfPosition_[position]]]->push_back(row);
        }
        for (std::size_t leaf = 0; leaf < leaves_.size(); ++leaf) {
            if (const auto node = leaves_[leaf].lock()) {
                node->setRowIndexVector(std::move(vectors[leaf]));
            }
        }
        crossingOfPosition_ = {};
        leafOfCrossing_ = {};
        rows_ = {};
    });
}

}  // namespace pellium
