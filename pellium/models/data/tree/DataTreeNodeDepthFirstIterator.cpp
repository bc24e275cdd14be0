#include "pellium/models/data/tree/DataTreeNodeDepthFirstIterator.h"

#include "pellium/models/data/tree/DataTreeNode.h"

namespace pellium {

DataTreeNodeDepthFirstIterator::DataTreeNodeDepthFirstIterator(std::shared_ptr<DataTreeNode> root)
    : node_(std::move(root)), nodeVisited_(node_ == nullptr) {}

std::shared_ptr<DataTreeNodeDepthFirstIterator> DataTreeNodeDepthFirstIterator::create(
    std::shared_ptr<DataTreeNode> root) {
    return std::make_shared<DataTreeNodeDepthFirstIterator>(std::move(root));
}

bool DataTreeNodeDepthFirstIterator::hasNext() const {
    if (!nodeVisited_) {
        return true;
    }
    if (!node_) {
        return false;
    }
    // A child iterator that is exhausted is followed by the next child, which has at least itself.
    return (childIterator_ && childIterator_->hasNext()) ||
           childIndex_ + (childIterator_ ? 1 : 0) < node_->getChildren().size();
}

std::shared_ptr<DataTreeNode> DataTreeNodeDepthFirstIterator::next() {
    if (!nodeVisited_) {
        nodeVisited_ = true;
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
        const auto& children = node_->getChildren();
        if (childIndex_ >= children.size()) {
            childIterator_.reset();
            return nullptr;
        }
        childIterator_ = std::make_unique<DataTreeNodeDepthFirstIterator>(children[childIndex_]);
    }
}

}  // namespace pellium
