#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace pellium {

/// An ordered map kept in one sorted std::vector of (key, value) pairs, for the small keyed tables
/// used throughout the library (a where clause's row map from column name to value, name tables).
/// Look-ups are binary searches over contiguous memory, iteration is in key order, and the map
/// costs one allocation however many entries it holds. Insertion and erasure move the entries
/// behind the position, so build large maps with reserve() and insertion in key order.
///
/// Differences from std::map: any insertion or erasure invalidates iterators and references;
/// keys must not be changed through an iterator (the elements are std::pair<Key, Value>, not
/// std::pair<const Key, Value>, so that the vector can move them). With a transparent comparator
/// (the default std::less<>) find, contains, count, lower_bound, upper_bound, at and erase accept
/// any type comparable with Key, such as a std::string_view for std::string keys.
template <class Key, class Value, class Compare = std::less<>>
class vector_map {
public:
    using key_type = Key;
    using mapped_type = Value;
    using value_type = std::pair<Key, Value>;
    using key_compare = Compare;
    using container_type = std::vector<value_type>;
    using size_type = typename container_type::size_type;
    using difference_type = typename container_type::difference_type;
    using reference = value_type&;
    using const_reference = const value_type&;
    using iterator = typename container_type::iterator;
    using const_iterator = typename container_type::const_iterator;
    using reverse_iterator = typename container_type::reverse_iterator;
    using const_reverse_iterator = typename container_type::const_reverse_iterator;

    /// Whether look-ups accept keys of other types than Key.
    static constexpr bool isTransparent = requires { typename Compare::is_transparent; };

    vector_map() = default;
    explicit vector_map(const Compare& compare) : compare_(compare) {}
    /// Like std::map, the first of several entries with equal keys is kept.
    vector_map(std::initializer_list<value_type> values, const Compare& compare = Compare()) : compare_(compare) {
        entries_.reserve(values.size());
        for (const value_type& value : values) {
            insert(value);
        }
    }

    // --- Iteration, in key order -----------------------------------------------------------------

    iterator begin() noexcept { return entries_.begin(); }
    iterator end() noexcept { return entries_.end(); }
    const_iterator begin() const noexcept { return entries_.begin(); }
    const_iterator end() const noexcept { return entries_.end(); }
    const_iterator cbegin() const noexcept { return entries_.cbegin(); }
    const_iterator cend() const noexcept { return entries_.cend(); }
    reverse_iterator rbegin() noexcept { return entries_.rbegin(); }
    reverse_iterator rend() noexcept { return entries_.rend(); }
    const_reverse_iterator rbegin() const noexcept { return entries_.rbegin(); }
    const_reverse_iterator rend() const noexcept { return entries_.rend(); }

    // --- Capacity --------------------------------------------------------------------------------

    size_type size() const noexcept { return entries_.size(); }
    bool empty() const noexcept { return entries_.empty(); }
    void clear() noexcept { entries_.clear(); }
    void reserve(size_type count) { entries_.reserve(count); }
    size_type capacity() const noexcept { return entries_.capacity(); }
    key_compare key_comp() const { return compare_; }

    // --- Insertion -------------------------------------------------------------------------------

    /// Inserts `value` unless its key is present; answers the entry with that key and whether
    /// it was inserted. An existing value is never overwritten.
    std::pair<iterator, bool> insert(const value_type& value) { return try_emplace(value.first, value.second); }
    std::pair<iterator, bool> insert(value_type&& value) {
        return try_emplace(std::move(value.first), std::move(value.second));
    }

    /// Inserts a value built from `arguments` unless `key` is present (then nothing is built).
    template <class... Arguments>
    std::pair<iterator, bool> try_emplace(const Key& key, Arguments&&... arguments) {
        return emplaceKey(key, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    std::pair<iterator, bool> try_emplace(Key&& key, Arguments&&... arguments) {
        return emplaceKey(std::move(key), std::forward<Arguments>(arguments)...);
    }

    /// Inserts, or assigns `value` to the entry whose key is `key`; answers whether it inserted.
    template <class M>
    std::pair<iterator, bool> insert_or_assign(const Key& key, M&& value) {
        return assignKey(key, std::forward<M>(value));
    }
    template <class M>
    std::pair<iterator, bool> insert_or_assign(Key&& key, M&& value) {
        return assignKey(std::move(key), std::forward<M>(value));
    }

    /// The value of `key`, inserted value-initialised when absent.
    Value& operator[](const Key& key) { return try_emplace(key).first->second; }
    Value& operator[](Key&& key) { return try_emplace(std::move(key)).first->second; }

    // --- Look-up ---------------------------------------------------------------------------------

    /// The entry whose key is equivalent to `key`, or end().
    iterator find(const Key& key) { return findIn(*this, key); }
    const_iterator find(const Key& key) const { return findIn(*this, key); }
    template <class K>
    requires isTransparent iterator find(const K& key) { return findIn(*this, key); }
    template <class K>
    requires isTransparent const_iterator find(const K& key)
    const { return findIn(*this, key); }

    bool contains(const Key& key) const { return find(key) != end(); }
    template <class K>
    requires isTransparent bool contains(const K& key) const { return find(key) != end(); }

    size_type count(const Key& key) const { return contains(key) ? 1 : 0; }
    template <class K>
    requires isTransparent size_type count(const K& key)
    const { return contains(key) ? 1 : 0; }

    /// The value of `key`; throws std::out_of_range when it is absent, like std::map::at.
    Value& at(const Key& key) { return atKey(*this, key); }
    const Value& at(const Key& key) const { return atKey(*this, key); }
    template <class K>
    requires isTransparent Value& at(const K& key) { return atKey(*this, key); }
    template <class K>
    requires isTransparent const Value& at(const K& key) const { return atKey(*this, key); }

    /// The first entry whose key is not less than `key`.
    iterator lower_bound(const Key& key) { return lowerBound(entries_, key); }
    const_iterator lower_bound(const Key& key) const { return lowerBound(entries_, key); }
    template <class K>
    requires isTransparent iterator lower_bound(const K& key) { return lowerBound(entries_, key); }
    template <class K>
    requires isTransparent const_iterator lower_bound(const K& key)
    const { return lowerBound(entries_, key); }

    /// The first entry whose key is greater than `key`.
    iterator upper_bound(const Key& key) { return upperBound(entries_, key); }
    const_iterator upper_bound(const Key& key) const { return upperBound(entries_, key); }
    template <class K>
    requires isTransparent iterator upper_bound(const K& key) { return upperBound(entries_, key); }
    template <class K>
    requires isTransparent const_iterator upper_bound(const K& key)
    const { return upperBound(entries_, key); }

    // --- Erasure ---------------------------------------------------------------------------------

    /// Removes the entry at `position`; answers the iterator to the entry after it.
    iterator erase(const_iterator position) { return entries_.erase(position); }
    iterator erase(iterator position) { return entries_.erase(position); }
    iterator erase(const_iterator first, const_iterator last) { return entries_.erase(first, last); }
    /// Removes the entry with `key`, if any; answers the number removed (0 or 1).
    size_type erase(const Key& key) { return eraseKey(key); }
    template <class K>
    requires(isTransparent && !std::is_convertible_v<K, const_iterator> &&
             !std::is_convertible_v<K, iterator>) size_type erase(const K& key) {
        return eraseKey(key);
    }

    void swap(vector_map& other) noexcept(std::is_nothrow_swappable_v<Compare>) {
        using std::swap;
        swap(entries_, other.entries_);
        swap(compare_, other.compare_);
    }

    /// Equal when both hold equal entries in the same order.
    friend bool operator==(const vector_map& left, const vector_map& right) { return left.entries_ == right.entries_; }

private:
    template <class Entries, class K>
    auto lowerBound(Entries& entries, const K& key) const {
        return std::lower_bound(entries.begin(), entries.end(), key, [this](const value_type& entry, const K& wanted) {
            return compare_(entry.first, wanted);
        });
    }

    template <class Entries, class K>
    auto upperBound(Entries& entries, const K& key) const {
        return std::upper_bound(entries.begin(), entries.end(), key, [this](const K& wanted, const value_type& entry) {
            return compare_(wanted, entry.first);
        });
    }

    // Shared by the const and non-const look-ups: Self is vector_map or const vector_map.
    template <class K>
    bool isKeyAt(const_iterator position, const K& key) const {
        return position != entries_.end() && !compare_(key, position->first);
    }

    template <class Self, class K>
    static auto findIn(Self& self, const K& key) {
        const auto position = self.lowerBound(self.entries_, key);
        return self.isKeyAt(position, key) ? position : self.entries_.end();
    }

    template <class Self, class K>
    static auto& atKey(Self& self, const K& key) {
        const auto position = findIn(self, key);
        if (position == self.entries_.end()) {
            throw std::out_of_range("vector_map::at: no entry with this key");
        }
        return position->second;
    }

    template <class K, class... Arguments>
    std::pair<iterator, bool> emplaceKey(K&& key, Arguments&&... arguments) {
        const auto position = lowerBound(entries_, key);
        if (isKeyAt(position, key)) {
            return {position, false};
        }
        const auto inserted =
            entries_.emplace(position, std::piecewise_construct, std::forward_as_tuple(std::forward<K>(key)),
                             std::forward_as_tuple(std::forward<Arguments>(arguments)...));
        return {inserted, true};
    }

    template <class K, class M>
    std::pair<iterator, bool> assignKey(K&& key, M&& value) {
        const auto position = lowerBound(entries_, key);
        if (isKeyAt(position, key)) {
            position->second = std::forward<M>(value);
            return {position, false};
        }
        return {entries_.emplace(position, std::forward<K>(key), std::forward<M>(value)), true};
    }

    template <class K>
    size_type eraseKey(const K& key) {
        const auto position = findIn(*this, key);
        if (position == entries_.end()) {
            return 0;
        }
        entries_.erase(position);
        return 1;
    }

    container_type entries_;
    [[no_unique_address]] Compare compare_{};
};

template <class Key, class Value, class Compare>
void swap(vector_map<Key, Value, Compare>& left,
          vector_map<Key, Value, Compare>& right) noexcept(noexcept(left.swap(right))) {
    left.swap(right);
}

}  // namespace pellium
