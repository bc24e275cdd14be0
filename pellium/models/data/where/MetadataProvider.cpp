#include "pellium/models/data/where/MetadataProvider.h"

namespace pellium {

MetadataProvider::~MetadataProvider() = default;

}  // namespace pellium
