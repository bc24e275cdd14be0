#include "tests/serializers/AllocationRecorder.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
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

void AllocationRecorder::recordAllocation(std::size_t requested, std::size_t blockSize) {
    for (AllocationRecorder* recorder = activeRecorder; recorder != nullptr; recorder = recorder->previous_) {
        recorder->largest_ = std::max(recorder->largest_, requested);
        recorder->total_ += requested;
        recorder->held_ += static_cast<std::int64_t>(blockSize);
        recorder->peakHeld_ = std::max(recorder->peakHeld_, recorder->held_);
    }
}

void AllocationRecorder::recordRelease(std::size_t blockSize) {
    for (AllocationRecorder* recorder = activeRecorder; recorder != nullptr; recorder = recorder->previous_) {
        recorder->held_ -= static_cast<std::int64_t>(blockSize);
    }
}

}  // namespace pellium::test

// The test program replaces the global allocation functions so that every allocation, including
// those made inside the library, passes through the active recorder. Block sizes come from the C
// library, so that a release needs no size from its caller.
void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    if (memory != nullptr) {
        pellium::test::AllocationRecorder::recordRelease(malloc_usable_size(memory));
    }
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

// Every other unaligned form goes the same way, so that no block made by one allocator is returned
// to another (the standard library's temporary buffers use the nothrow form).
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        pellium::test::AllocationRecorder::recordAllocation(size, malloc_usable_size(memory));
        return memory;
    }
    return nullptr;
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    operator delete(memory);
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}

void operator delete[](void* memory) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    operator delete(memory);
}
