#include "tests/support/TestSupport.h"

namespace pellium::test {

std::string sourcePath(const std::string& relative) {
    return std::string(PELLIUM_SOURCE_DIR) + "/" + relative;
}

}  // namespace pellium::test
