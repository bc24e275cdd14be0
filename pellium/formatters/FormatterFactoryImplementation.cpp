#include "pellium/formatters/FormatterFactoryImplementation.h"

namespace pellium {

std::shared_ptr<FormatterFactoryImplementation> FormatterFactoryImplementation::create() {
    return std::make_shared<FormatterFactoryImplementation>();
}

}  // namespace pellium
