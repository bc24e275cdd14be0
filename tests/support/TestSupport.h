#pragma once

#include <string>

// Helpers shared by the test executables; nothing here is part of the library.
namespace pellium::test {

/// Absolute path of a file below the source tree, for tests that read committed fixtures.
std::string sourcePath(const std::string& relative);

}  // namespace pellium::test
