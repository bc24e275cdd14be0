#include "pellium/models/data/dataset/StringTableBuilder.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <random>

namespace pellium {

namespace {

std::uint64_t processSeed() {
    static const std::uint64_t seed = [] {
        std::random_device device;
        return (static_cast<std::uint64_t>(device()) << 32) ^ device();
    }();
    return seed;
}

}  // namespace

StringTableBuilder::StringTableBuilder(std::size_t expectedTexts)
    : seed_(processSeed()),
      tableIndex_(std::bit_ceil(std::max<std::size_t>(16, expectedTexts * 2))),
      table_(std::make_shared<std::vector<SharedString>>()) {
    entries_.reserve(expectedTexts);
    table_->reserve(expectedTexts);
}

std::uint64_t StringTableBuilder::hashLongText(std::string_view text, std::uint64_t state) {
    const char* bytes = text.data();
    std::size_t position = 0;
    for (; position + 8 < text.size(); position += 8) {
        state = mix(state ^ TextWords::load<std::uint64_t>(bytes + position));
    }
    return mix(state ^ TextWords::load<std::uint64_t>(bytes + text.size() - 8));
}

std::int32_t StringTableBuilder::addToIndex(std::string_view text, std::uint64_t hashed, Index& index,
                                            Refusal& refusal) {
    const Slot* known = tableIndex_.find(hashed, text, bytes_.data());
    const std::int32_t entry = known ? known->index : insert(text, hashed, refusal);
    if (known) {
        refusal = Refusal::NONE;
    }
    if (entry >= 0) {
        place(index, hashed, entry);
    }
    return entry;
}

std::int32_t StringTableBuilder::insert(std::string_view text, std::uint64_t hashed, Refusal& refusal) {
    if (!StringUtilities::isValidUtf8(text)) {
        refusal = Refusal::INVALID_UTF8;
        return -1;
    }
    // Offsets and lengths are 32-bit, and indices must stay below the 32-bit limit.
    if (entries_.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) ||
        bytes_.size() + text.size() > std::numeric_limits<std::uint32_t>::max()) {
        refusal = Refusal::TABLE_FULL;
        return -1;
    }
    const auto entry = static_cast<std::int32_t>(entries_.size());
    entries_.push_back({static_cast<std::uint32_t>(bytes_.size()), static_cast<std::uint32_t>(text.size())});
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    table_->push_back(StringUtilities::internString(text));
    place(tableIndex_, hashed, entry);
    refusal = Refusal::NONE;
    return entry;
}

void StringTableBuilder::place(Index& index, std::uint64_t hashed, std::int32_t entry) {
    if ((index.size_ + 1) * 2 > index.slots_.size()) {
        // Keeps the load at most one half, so that probe sequences stay short.
        std::vector<Slot> old(index.slots_.size() * 2);
        old.swap(index.slots_);
        index.mask_ = index.slots_.size() - 1;
        index.size_ = 0;
        for (const Slot& slot : old) {
            if (slot.index >= 0) {
                place(index, hash(std::string_view(bytes_.data() + slot.offset, slot.length)), slot.index);
            }
        }
    }
    std::uint64_t position = hashed & index.mask_;
    while (index.slots_[position].index >= 0) {
        position = (position + 1) & index.mask_;
    }
    const Entry& bytes = entries_[static_cast<std::size_t>(entry)];
    index.slots_[position] = {static_cast<std::uint32_t>(hashed >> 32), entry, bytes.offset, bytes.length};
    ++index.size_;
}

}  // namespace pellium
