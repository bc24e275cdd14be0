#pragma once

#include "pellium/Export.h"

namespace pellium {

/// Source rows that a tree builder recorded for many leaves at once (one leaf number per row) and
/// hands out as the leaves' row index vectors on first request. Building a tree over millions of
/// rows then costs no scattered write per row; whoever needs the rows of a leaf (a selection, a
/// stream) pays for all leaves once.
class PELLIUM_EXPORT PendingRowIndices {
public:
    virtual ~PendingRowIndices();

    /// Gives every leaf it covers its row index vector. Safe to call from several threads; only the
    /// first call does the work.
    virtual void materialize() = 0;
};

}  // namespace pellium
