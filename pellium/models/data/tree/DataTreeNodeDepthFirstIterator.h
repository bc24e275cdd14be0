#pragma once

#include <cstddef>
#include <memory>

#include "pellium/Export.h"

namespace pellium {

class DataTreeNode;

/// Visits a tree in pre-order: a node before its children, children in insertion order. It holds
/// its node, the index of the child being walked and a nested iterator for that child, so a walk
/// costs one small object per level of depth. The tree must not change while it is walked.
class PELLIUM_EXPORT DataTreeNodeDepthFirstIterator {
public:
    /// Nothing to visit for a null root.
    explicit DataTreeNodeDepthFirstIterator(std::shared_ptr<DataTreeNode> root);
    static std::shared_ptr<DataTreeNodeDepthFirstIterator> create(std::shared_ptr<DataTreeNode> root);

    bool hasNext() const;
    /// The next node; null when there is none.
    std::shared_ptr<DataTreeNode> next();

private:
    std::shared_ptr<DataTreeNode> node_;
    bool nodeVisited_ = false;
    std::size_t childIndex_ = 0;
    std::unique_ptr<DataTreeNodeDepthFirstIterator> childIterator_;
};

}  // namespace pellium
