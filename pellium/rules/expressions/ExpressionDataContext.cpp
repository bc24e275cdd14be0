#include "pellium/rules/expressions/ExpressionDataContext.h"

#include <atomic>

namespace pellium {

namespace {

std::uint64_t nextSerialNumber() {
    // Starts at 1, so that 0 can mean "no context yet" in the caches of nodes.
    static std::atomic<std::uint64_t> counter{0};
    return counter.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

ExpressionDataContext::ExpressionDataContext() : serialNumber_(nextSerialNumber()) {}

ExpressionDataContext::ExpressionDataContext(const ExpressionDataContext& other)
    : serialNumber_(nextSerialNumber()), tolerance_(other.tolerance_) {}

ExpressionDataContext& ExpressionDataContext::operator=(const ExpressionDataContext& other) {
    // A context that takes other items must not keep positions nodes found in it.
    serialNumber_ = nextSerialNumber();
    tolerance_ = other.tolerance_;
    return *this;
}

ExpressionDataContext::~ExpressionDataContext() = default;

}  // namespace pellium
