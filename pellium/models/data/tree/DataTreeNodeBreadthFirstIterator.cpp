#include "pellium/models/data/tree/DataTreeNodeBreadthFirstIterator.h"

#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"

namespace pellium {

DataTreeNodeBreadthFirstIterator::DataTreeNodeBreadthFirstIterator(
    std::shared_ptr<DataTreeNode> root, std::shared_ptr<const DataTreeSortContext> sortContext)
    : sortContext_(std::move(sortContext)) {
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
    const bool sorted = sortContext_ && sortContext_->sortChildren(*node, sorted_);
    const auto& children = sorted ? sorted_ : node->getChildren();
    pending_.insert(pending_.end(), children.begin(), children.end());
    return node;
}

}  // namespace pellium
