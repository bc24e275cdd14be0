#pragma once

#include <cstddef>

namespace pellium::test {

/// Records the sizes requested from operator new on this thread while it lives, so that a test can
/// assert that hostile input was refused without a large allocation.
class AllocationRecorder {
public:
    AllocationRecorder();
    ~AllocationRecorder();
    AllocationRecorder(const AllocationRecorder&) = delete;
    AllocationRecorder& operator=(const AllocationRecorder&) = delete;

    std::size_t largestAllocation() const { return largest_; }
    std::size_t totalAllocated() const { return total_; }

    /// Called by the replaced operator new.
    static void record(std::size_t size);

private:
    std::size_t largest_ = 0;
    std::size_t total_ = 0;
    AllocationRecorder* previous_ = nullptr;
};

}  // namespace pellium::test
