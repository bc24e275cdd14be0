#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace pellium {

/// The value types that travel as a tagged primitive: a tag byte, then the value's raw bytes.
template <typename T>
concept SerialPrimitive = std::same_as<T, bool> || std::same_as<T, std::int32_t> || std::same_as<T, std::uint32_t> ||
    std::same_as<T, float> || std::same_as<T, double>;

/// The element types of primitive vectors, which travel as one block of raw bytes. Every bit pattern
/// of these types is a valid value, so a block can be copied into a vector's storage unchecked.
template <typename T>
concept SerialVectorElement = SerialPrimitive<T> && !std::same_as<T, bool>;

/// Texts are shared immutable strings; a null pointer is a null text.
using SharedString = std::shared_ptr<const std::string>;
using SharedStringVector = std::vector<SharedString>;

// Numbers travel in the machine's byte order, and every platform served is little-endian with IEEE
// floating point, so the wire bytes of a vector are exactly its bytes in memory.
static_assert(std::endian::native == std::endian::little, "the serial stream is little-endian");
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559,
              "the serial stream holds IEEE 754 floating point numbers");
static_assert(sizeof(bool) == 1 && sizeof(float) == 4 && sizeof(double) == 8);

}  // namespace pellium
