#include "pellium/models/data/tree/DataTreeNodeDepthFirstIterator.h"

#include "pellium/models/data/tree/DataTreeNode.h"
#include "pellium/models/data/tree/DataTreeSortContext.h"

namespace pellium {

DataTreeNodeDepthFirstIterator::DataTreeNodeDepthFirstIterator(std::shared_ptr<DataTreeNode> root,
                                                               std::shared_ptr<const DataTreeSortContext> sortContext)
    : node_(std::move(root)), sortContext_(std::move(sortContext)), nodeVisited_(node_ == nullptr) {}

std::shared_ptr<DataTreeNodeDepthFirstIterator> DataTreeNodeDepthFirstIterator::create(
    std::shared_ptr<DataTreeNode> root, std::shared_ptr<const DataTreeSortContext> sortContext) {
    return std::make_shared<DataTreeNodeDepthFirstIterator>(std::move(root), std::move(sortContext));
}

const std::vector<std::shared_ptr<DataTreeNode>>& DataTreeNodeDepthFirstIterator::children() const {
    return childrenAreSorted_ ? sortedChildren_ : node_->getChildren();
}

bool DataTreeNodeDepthFirstIterator::hasNext() const {
    if (!nodeVisited_) {
        return true;
    }
    if (!node_) {
        return false;
    }
    // A child iterator that is exhausted is followed by the next child, which has at least itself.
    return (childIterator_ && childIterator_->hasNext()) || childIndex_ + (childIterator_ ? 1 : 0) < children().size();
}

std::shared_ptr<DataTreeNode> DataTreeNodeDepthFirstIterator::next() {
    if (!nodeVisited_) {
        nodeVisited_ = true;
        // The children are ordered once, when the walk reaches them.
        childrenAreSorted_ = sortContext_ && sortContext_->sortChildren(*node_, sortedChildren_);
        return node_;
    }
    if (!node_) {
        return nullptr;
    }
    while (true) {
        if (childIterator_ && childIterator_->hasNext()) {
            return childIterator_->next();
        }
        if (childIterator_) {
            ++childIndex_;
        }
        const auto& ordered = children();
        if (childIndex_ >= ordered.size()) {
            childIterator_.reset();
            return nullptr;
        }
        childIterator_ = std::make_unique<DataTreeNodeDepthFirstIterator>(ordered[childIndex_], sortContext_);
    }
}

}  // namespace pellium
