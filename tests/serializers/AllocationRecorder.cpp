#include "tests/serializers/AllocationRecorder.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace pellium::test {

namespace {
thread_local AllocationRecorder* activeRecorder = nullptr;
}

AllocationRecorder::AllocationRecorder() : previous_(activeRecorder) {
    activeRecorder = this;
}

AllocationRecorder::~AllocationRecorder() {
    activeRecorder = previous_;
}

void AllocationRecorder::record(std::size_t size) {
    for (AllocationRecorder* recorder = activeRecorder; recorder != nullptr; recorder = recorder->previous_) {
        recorder->largest_ = std::max(recorder->largest_, size);
        recorder->total_ += size;
    }
}

}  // namespace pellium::test

// The test program replaces the global allocation functions so that every allocation, including
// those made inside the library, passes through the active recorder.
void* operator new(std::size_t size) {
    pellium::test::AllocationRecorder::record(size);
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
