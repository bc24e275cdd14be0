// A host program that only sees the installed headers and library.
#include <cstdio>

#include "pellium/resources/files/CompiledAssets.h"

int main() {
    const auto paths = pellium::CompiledAssets::listPaths();
    for (const auto path : paths) {
        if (!pellium::CompiledAssets::find(path)) {
            std::fprintf(stderr, "asset %.*s is listed but cannot be found\n", static_cast<int>(path.size()), path.data());
            return 1;
        }
    }
    std::printf("libPellium answers: %zu compiled assets\n", paths.size());
    return 0;
}
