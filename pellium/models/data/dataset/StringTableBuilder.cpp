#include "pellium/models/data/dataset/StringTableBuilder.h"

#include <bit>
#include <cstring>
#include <limits>
#include <random>

namespace pellium {

namespace {

constexpr std::uint64_t multiplier = 0xD6E8FEB86659FD93ULL;

std::uint64_t mix(std::uint64_t value) {
    value ^= value >> 32;
    value *= multiplier;
    value ^= value >> 32;
    value *= multiplier;
    return value ^ (value >> 32);
}

std::uint64_t load64(const char* bytes) {
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

std::uint64_t load32(const char* bytes) {
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

std::uint64_t processSeed() {
    static const std::uint64_t seed = [] {
        std::random_device device;
        return (static_cast<std::uint64_t>(device()) << 32) ^ device();
    }();
    return seed;
}

}  // namespace

StringTableBuilder::StringTableBuilder(std::size_t expectedTexts)
    : table_(std::make_shared<std::vector<SharedString>>()) {
    const std::size_t capacity = std::bit_ceil(std::max<std::size_t>(16, expectedTexts * 2));
    slots_.resize(capacity);
    mask_ = capacity - 1;
    views_.reserve(expectedTexts);
    table_->reserve(expectedTexts);
}

// Words of eight bytes are mixed in turn; a short text is read as one or two overlapping words,
// so every byte takes part without a loop over single bytes.
std::uint64_t StringTableBuilder::hash(std::string_view text) const {
    const char* bytes = text.data();
    std::size_t length = text.size();
    std::uint64_t state = processSeed() ^ (length * 0x9E3779B97F4A7C15ULL);
    if (length >= 8) {
        const char* last = bytes + length - 8;
        while (length > 8) {
            state = mix(state ^ load64(bytes));
            bytes += 8;
            length -= 8;
        }
        return mix(state ^ load64(last));
    }
    if (length >= 4) {
        return mix(state ^ load32(bytes) ^ (load32(bytes + length - 4) << 32));
    }
    if (length > 0) {
        const auto byte = [&](std::size_t position) {
            return static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[position]));
        };
        return mix(state ^ byte(0) ^ (byte(length / 2) << 8) ^ (byte(length - 1) << 16));
    }
    return mix(state);
}

std::int32_t StringTableBuilder::add(std::string_view text, Refusal& refusal) {
    const std::uint64_t hashed = hash(text);
    const auto tag = static_cast<std::uint32_t>(hashed >> 32);
    for (std::uint64_t position = hashed & mask_;; position = (position + 1) & mask_) {
        const Slot& slot = slots_[position];
        if (slot.index < 0) {
            break;
        }
        if (slot.hashTag == tag && views_[static_cast<std::size_t>(slot.index)] == text) {
            refusal = Refusal::NONE;
            return slot.index;
        }
    }
    if (!StringUtilities::isValidUtf8(text)) {
        refusal = Refusal::INVALID_UTF8;
        return -1;
    }
    if (views_.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        refusal = Refusal::TABLE_FULL;
        return -1;
    }
    const auto index = static_cast<std::int32_t>(views_.size());
    SharedString interned = StringUtilities::internString(text);
    views_.emplace_back(*interned);
    table_->push_back(std::move(interned));
    if (views_.size() * 2 > slots_.size()) {
        grow();
    } else {
        place(hashed, index);
    }
    refusal = Refusal::NONE;
    return index;
}

void StringTableBuilder::place(std::uint64_t hashed, std::int32_t index) {
    std::uint64_t position = hashed & mask_;
    while (slots_[position].index >= 0) {
        position = (position + 1) & mask_;
    }
    slots_[position] = {static_cast<std::uint32_t>(hashed >> 32), index};
}

// Keeps the load at most one half, so that probe sequences stay short.
void StringTableBuilder::grow() {
    slots_.assign(slots_.size() * 2, Slot{});
    mask_ = slots_.size() - 1;
    for (std::size_t index = 0; index < views_.size(); ++index) {
        place(hash(views_[index]), static_cast<std::int32_t>(index));
    }
}

}  // namespace pellium
