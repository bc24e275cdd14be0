#pragma once

#include <memory>

#include "pellium/Export.h"

namespace pellium {

/// A replaceable implementation behind the formatter factory. The factory has exactly one
/// implementation compiled in, so this type carries no behaviour; it exists so that hosts
/// written against a pluggable factory keep compiling (FormatterFactory::setImplementation
/// accepts it and changes nothing).
class PELLIUM_EXPORT FormatterFactoryImplementation {
public:
    static std::shared_ptr<FormatterFactoryImplementation> create();
};

}  // namespace pellium
