#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

class DataTreeNode;
class DataTreeSortContext;

/// Visits a tree level by level: the root, then its children, then their children, each level in
/// children order (insertion order, or a sort context's order for every node's children). For code
/// that works on one depth at a time (laying out the rows of a level). The tree must not change
/// while it is walked.
class PELLIUM_EXPORT DataTreeNodeBreadthFirstIterator {
public:
    /// Nothing to visit for a null root. `sortContext` may be null.
    explicit DataTreeNodeBreadthFirstIterator(std::shared_ptr<DataTreeNode> root,
                                              std::shared_ptr<const DataTreeSortContext> sortContext = nullptr);

    bool hasNext() const { return position_ < pending_.size(); }
    /// The next node; null when there is none.
    std::shared_ptr<DataTreeNode> next();

private:
    std::vector<std::shared_ptr<DataTreeNode>> pending_;
    std::size_t position_ = 0;
    std::shared_ptr<const DataTreeSortContext> sortContext_;
    std::vector<std::shared_ptr<DataTreeNode>> sorted_;
};

}  // namespace pellium
