#pragma once

#include "kelvo/base/empty_arrays.h"
#include "kelvo/base/equality.h"
#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/base/types.h"
#include "kelvo/base/vector.h"

#include <cstddef>
#include <iterator>
#include <new>
#include <utility>

namespace qv::ds {

/// A table of exactly 256 buckets stored inline, without other members; made for a few entries.
///
/// An entry with hash h is in bucket h modulo 256. Every bucket owns an array from the start: empty
/// buckets get theirs from a pool (`EmptyArrays`). Iteration goes bucket by bucket, within one in
/// the order of insertion. Running out of memory throws `std::bad_alloc` and changes nothing.
template<class K, class V>
class QV_EXPORT HashMap {
public:
    static constexpr u64 bucketCount = 256;

    /// An entry: its hash, which copies keep, its key and its value.
    struct Node {
        static constexpr bool keepsEmptyArray = true;

        u64 hash = 0;
        K key;
        V value;
    };
    using Bucket = Vector<Node>;

    /// Makes an empty map, each bucket with an array of its own.
    HashMap() {
        EmptyArrays* run = EmptyArrays::take();
        for (u64 i = 0; i < bucketCount; ++i)
            ::new (&m_buckets[i])
                Bucket(typename Bucket::EmptyStorage{static_cast<Node*>(run->array(i))});
    }

    /// Copies bucket by bucket; keys and values share their texts with the source.
    HashMap(const HashMap& other) : HashMap() {
        const auto copy = [&](u64 i) {
            if (!other.m_buckets[i].empty()) fill(i, Bucket(other.m_buckets[i]));
        };
        if (const EmptyArrays* cells = other.run())
            cells->forEachReleased(copy);
        else
            for (u64 i = 0; i < bucketCount; ++i)
                copy(i);
    }

    /// Leaves `other` empty. May throw, because `other` needs arrays of its own.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor)
    HashMap(HashMap&& other) : HashMap() { swap(other); }

    HashMap& operator=(const HashMap& other) {
        if (this != &other) HashMap(other).swap(*this);
        return *this;
    }
    HashMap& operator=(HashMap&& other) noexcept {
        if (this == &other) return *this;
        swap(other);
        other.clear();
        return *this;
    }

    /// Destroys buckets from last to first, and entries within one likewise, value before key.
    // Reads no more buckets than it must, because they may have left the cache long ago.
    ~HashMap() {
        EmptyArrays* const cells = run();
        if (!cells || cells->live() < bucketCount) destroyFilled(cells);
        if (cells) cells->releaseAll();
    }

    /// Returns the number of entries, counted through the buckets.
    [[nodiscard]] u64 size() const noexcept {
        u64 count = 0;
        for (const Bucket& bucket : m_buckets)
            count += bucket.size();
        return count;
    }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }

    /// Inserts an entry or replaces the value of the one with that key; true when the key is new.
    bool set(K key, V value) {
        const u64 hash = keyHash(key);
        if (Node* node = findNode(key, hash)) {
            node->value = std::move(value);
            return false;
        }
        const u64 index = hash % bucketCount;
        if (m_buckets[index].capacity() == 0) {
            Bucket grown;
            grown.reserve(2);
            fill(index, std::move(grown));
        }
        m_buckets[index].push_back(Node{hash, std::move(key), std::move(value)});
        return true;
    }
    /// Same as `set`.
    bool insert(K key, V value) { return set(std::move(key), std::move(value)); }

    /// Returns the value of `key`, valid until the map changes; null when absent.
    [[nodiscard]] V* find(const K& key) {
        Node* node = findNode(key, keyHash(key));
        return node ? &node->value : nullptr;
    }
    [[nodiscard]] const V* find(const K& key) const {
        return const_cast<HashMap*>(this)->find(key);
    }
    [[nodiscard]] bool contains(const K& key) const { return find(key) != nullptr; }
    [[nodiscard]] V value(const K& key, V fallback = V{}) const {
        const V* found = find(key);
        return found ? *found : fallback;
    }

    /// Removes the entry of `key`; false when there is none.
    bool remove(const K& key) {
        const u64 hash = keyHash(key);
        const Node* node = findNode(key, hash);
        if (!node) return false;
        Bucket& bucket = m_buckets[hash % bucketCount];
        bucket.remove(static_cast<u64>(node - bucket.data()));
        return true;
    }

    /// Removes all entries; buckets keep their storage.
    void clear() noexcept {
        for (Bucket& bucket : m_buckets)
            bucket.clear();
    }

    void swap(HashMap& other) noexcept {
        for (u64 i = 0; i < bucketCount; ++i)
            m_buckets[i].swap(other.m_buckets[i]);
    }

    /// Returns the bucket at `index`, which must be below 256.
    [[nodiscard]] const Bucket& bucket(u64 index) const noexcept { return m_buckets[index]; }

    /// Calls `visit(key, value)` for each entry.
    template<class F>
    void forEach(F&& visit) const {
        for (const Bucket& bucket : m_buckets)
            for (const Node& node : bucket)
                visit(node.key, node.value);
    }

    /// Iterates over the entries; valid until the map changes.
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Node;
        using difference_type = std::ptrdiff_t;
        using pointer = const Node*;
        using reference = const Node&;

        const_iterator() noexcept = default;
        [[nodiscard]] reference operator*() const noexcept { return (*m_bucket)[m_index]; }
        [[nodiscard]] pointer operator->() const noexcept { return &**this; }
        const_iterator& operator++() noexcept {
            ++m_index;
            skipEmpty();
            return *this;
        }
        const_iterator operator++(int) noexcept {
            const_iterator before = *this;
            ++*this;
            return before;
        }
        [[nodiscard]] bool operator==(const const_iterator&) const noexcept = default;

    private:
        friend class HashMap;
        const_iterator(const Bucket* bucket, const Bucket* last) noexcept
            : m_bucket(bucket), m_last(last) {
            skipEmpty();
        }
        void skipEmpty() noexcept {
            while (m_bucket != m_last && m_index == m_bucket->size()) {
                ++m_bucket;
                m_index = 0;
            }
        }
        const Bucket* m_bucket = nullptr;
        const Bucket* m_last = nullptr;
        u64 m_index = 0;
    };
    [[nodiscard]] const_iterator begin() const noexcept {
        return {m_buckets, m_buckets + bucketCount};
    }
    [[nodiscard]] const_iterator end() const noexcept {
        return {m_buckets + bucketCount, m_buckets + bucketCount};
    }

    /// Tells whether both have the same keys with equal values.
    [[nodiscard]] bool operator==(const HashMap& other) const {
        if (size() != other.size()) return false;
        for (const Node& node : *this) {
            const V* value = other.find(node.key);
            if (!value || !sameValue(*value, node.value)) return false;
        }
        return true;
    }

private:
    [[nodiscard]] Node* findNode(const K& key, u64 hash) {
        for (Node& node : m_buckets[hash % bucketCount])
            if (node.hash == hash && sameValue(node.key, key)) return &node;
        return nullptr;
    }

    // Capacity 0 means that the bucket's array is a cell of the run; arrays on the heap always have
    // capacity.
    void fill(u64 index, Bucket&& content) noexcept {
        Bucket& bucket = m_buckets[index];
        if (bucket.capacity() == 0) {
            EmptyArrays::of(bucket.data(), index)->release(index);
            bucket.abandonStorage();
        }
        bucket = std::move(content);
    }

    // Not inlined, so that the destructor of an empty map, as most are, needs no stack frame.
    [[gnu::noinline]] void destroyFilled(const EmptyArrays* cells) noexcept {
        const auto destroy = [this](u64 i) { m_buckets[i].~Bucket(); };
        if (cells)
            cells->forEachReleasedReversed(destroy);
        else
            for (u64 i = bucketCount; i-- > 0;)
                destroy(i);
    }

    // Returns the run whose cells are the arrays of buckets without storage of their own; null when
    // there are none.
    [[nodiscard]] EmptyArrays* run() const noexcept {
        for (u64 i = 0; i < bucketCount; ++i) {
            const Bucket& bucket = m_buckets[i];
            if (bucket.capacity() == 0) return EmptyArrays::of(const_cast<Node*>(bucket.data()), i);
        }
        return nullptr;
    }

    // In a union, so that only the map constructs and destroys them.
    union {
        Bucket m_buckets[bucketCount];
    };
};

static_assert(sizeof(HashMap<String, String>) ==
              HashMap<String, String>::bucketCount * sizeof(Vector<void*>));

} // namespace qv::ds
