#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

class DataTreeNode;
class DataTreeSortContext;

/// Visits a tree in pre-order: a node before its children, children in insertion order or, with a
/// sort context, in its order. It holds its node, the index of the child being walked and a nested
/// iterator for that child, so a walk costs one small object per level of depth (and, when sorted,
/// the sorted children of the nodes on the way). The tree must not change while it is walked.
class PELLIUM_EXPORT DataTreeNodeDepthFirstIterator {
public:
    /// Nothing to visit for a null root. `sortContext` may be null.
    explicit DataTreeNodeDepthFirstIterator(std::shared_ptr<DataTreeNode> root,
                                            std::shared_ptr<const DataTreeSortContext> sortContext = nullptr);
    static std::shared_ptr<DataTreeNodeDepthFirstIterator> create(
        std::shared_ptr<DataTreeNode> root, std::shared_ptr<const DataTreeSortContext> sortContext = nullptr);

    bool hasNext() const;
    /// The next node; null when there is none.
    std::shared_ptr<DataTreeNode> next();

private:
    const std::vector<std::shared_ptr<DataTreeNode>>& children() const;

    std::shared_ptr<DataTreeNode> node_;
    std::shared_ptr<const DataTreeSortContext> sortContext_;
    bool nodeVisited_ = false;
    bool childrenAreSorted_ = false;
    std::vector<std::shared_ptr<DataTreeNode>> sortedChildren_;
    std::size_t childIndex_ = 0;
    std::unique_ptr<DataTreeNodeDepthFirstIterator> childIterator_;
};

}  // namespace pellium
