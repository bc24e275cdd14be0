#include "pellium/models/data/tree/PendingRowIndices.h"

namespace pellium {

PendingRowIndices::~PendingRowIndices() = default;

}  // namespace pellium
