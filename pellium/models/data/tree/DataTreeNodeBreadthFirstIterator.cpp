#include "pellium/models/data/tree/DataTreeNodeBreadthFirstIterator.h"

#include "pellium/models/data/tree/DataTreeNode.h"

namespace pellium {

DataTreeNodeBreadthFirstIterator::DataTreeNodeBreadthFirstIterator(std::shared_ptr<DataTreeNode> root) {
    if (root) {
        pending_.push_back(std::move(root));
    }
}

std::shared_ptr<DataTreeNode> DataTreeNodeBreadthFirstIterator::next() {
    if (!hasNext()) {
        return nullptr;
    }
    // The visited nodes stay in the queue, so a walk costs one vector however deep the tree is.
    std::shared_ptr<DataTreeNode> node = pending_[position_++];
    pending_.insert(pending_.end(), node->getChildren().begin(), node->getChildren().end());
    return node;
}

}  // namespace pellium
