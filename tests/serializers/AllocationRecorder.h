#pragma once

#include <cstddef>
#include <cstdint>

namespace pellium::test {

/// Records the allocations made through operator new on this thread while it lives, so that a test
/// can assert that hostile input was refused without a large allocation: the largest single
/// request, the sum of all requests (memory churned through), and the peak of the bytes held at
/// once beyond what was held when recording started (what the input actually cost).
class AllocationRecorder {
public:
    AllocationRecorder();
    ~AllocationRecorder();
    AllocationRecorder(const AllocationRecorder&) = delete;
    AllocationRecorder& operator=(const AllocationRecorder&) = delete;

    std::size_t largestAllocation() const { return largest_; }
    std::size_t totalAllocated() const { return total_; }
    std::size_t peakHeldBytes() const { return static_cast<std::size_t>(peakHeld_); }

    /// Called by the replaced operator new with the size asked for and the size of the block made.
    static void recordAllocation(std::size_t requested, std::size_t blockSize);
    /// Called by the replaced operator delete with the size of the block released.
    static void recordRelease(std::size_t blockSize);

private:
    std::size_t largest_ = 0;
    std::size_t total_ = 0;
    // Signed: blocks made before recording started may be released while it runs.
    std::int64_t held_ = 0;
    std::int64_t peakHeld_ = 0;
    AllocationRecorder* previous_ = nullptr;
};

}  // namespace pellium::test
