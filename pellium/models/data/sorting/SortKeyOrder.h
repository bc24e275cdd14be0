#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "pellium/Export.h"

namespace pellium {

/// How the keyed comparators order signed 32-bit keys, one per index. The key conventions:
/// - one key (`lastKey`) sorts last in every direction, even in data order;
/// - keys below -1000 form a band that comes before all other keys when ascending and after
///   them when descending, ordered by key among themselves;
/// - the token codes of special values fall into planes, ordered before the ordinary keys when
///   ascending and after them, in reverse, when descending: -99 (all-others) plane -1, -100
///   (matches-all) 0, -2 (sparse) 1, -1 (missing) 2, -98 (suppressed) 3, every other key 4;
/// - ordinary keys (plane 4) order by key; equal planes below 4 are unordered.
/// Without direction (`active` false) every pair but those with the last key is unordered.
///
/// The order is a total preorder on keys, so it maps each key to one unsigned 64-bit word whose
/// plain order is the same (getWord); sortIndices sorts those words, which is stable by
/// construction and far faster than calling a comparator per pair.
class PELLIUM_EXPORT SortKeyOrder {
public:
    static constexpr std::int32_t BAND_LIMIT = -1000;
    static constexpr int ORDINARY_PLANE = 4;

    constexpr SortKeyOrder(std::int32_t lastKey, bool active, bool ascending)
        : lastKey_(lastKey), active_(active), ascending_(ascending) {}

    /// The plane of a key, as listed above.
    static constexpr int getPlane(std::int32_t key) {
        switch (key) {
            case -99:
                return -1;
            case -100:
                return 0;
            case -2:
                return 1;
            case -1:
                return 2;
            case -98:
                return 3;
            default:
                return ORDINARY_PLANE;
        }
    }

    /// True when a key `left` comes before a key `right`.
    constexpr bool isBefore(std::int32_t left, std::int32_t right) const {
        if (left == lastKey_) {
            return false;
        }
        if (right == lastKey_) {
            return true;
        }
        if (!active_) {
            return false;
        }
        const bool leftInBand = left < BAND_LIMIT;
        const bool rightInBand = right < BAND_LIMIT;
        if (leftInBand || rightInBand) {
            if (leftInBand && rightInBand) {
                return ascending_ ? left < right : right < left;
            }
            return leftInBand == ascending_;
        }
        const int leftPlane = getPlane(left);
        const int rightPlane = getPlane(right);
        if (leftPlane != rightPlane) {
            return (leftPlane < rightPlane) == ascending_;
        }
        if (leftPlane < ORDINARY_PLANE) {
            return false;
        }
        return ascending_ ? left < right : right < left;
    }

    /// True when equal keys `key` leave the order to the values behind them: ordinary keys in an
    /// active order.
    constexpr bool leavesTieToValues(std::int32_t key) const {
        return active_ && key != lastKey_ && key >= BAND_LIMIT && getPlane(key) == ORDINARY_PLANE;
    }

    /// A word whose unsigned order is the order of the keys: isBefore(a, b) exactly when
    /// getWord(a) < getWord(b).
    constexpr std::uint64_t getWord(std::int32_t key) const {
        constexpr std::uint64_t lastGroup = 8;
        if (key == lastKey_) {
            return lastGroup << 32;
        }
        if (!active_) {
            return 0;
        }
        // Groups in ascending order: band 0, planes -1..3 as 1..5, ordinary 6.
        std::uint64_t group;
        if (key < BAND_LIMIT) {
            group = 0;
        } else {
            group = static_cast<std::uint64_t>(getPlane(key) + 2);
        }
        std::uint32_t within = static_cast<std::uint32_t>(key) ^ 0x80000000u;  // keeps the signed order
        if (!ascending_) {
            group = 6 - group;
            within = ~within;
        }
        const bool keyOrdersWithinGroup = group == 0 || group == 6;
        return (group << 32) | (keyOrdersWithinGroup ? within : 0u);
    }

    /// Sorts `indices` stably by the keys they index (keys[index]); an index beyond `keys` throws
    /// std::out_of_range before anything moves.
    void sortIndices(std::span<const std::int32_t> keys, std::vector<std::uint32_t>& indices) const;

private:
    std::int32_t lastKey_;
    bool active_;
    bool ascending_;
};

}  // namespace pellium
