#include "pellium/models/Wrappable.h"

namespace pellium {

// Defined out of line so that the class's vtable and type information live in the library once.
Wrappable::~Wrappable() = default;

bool Wrappable::serialize(std::ostream& /*stream*/) const {
    return false;
}

bool Wrappable::unserialize(std::istream& /*stream*/) {
    return false;
}

}  // namespace pellium
