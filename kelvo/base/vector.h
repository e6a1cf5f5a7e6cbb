#pragma once

#include "kelvo/base/equality.h"
#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace qv::ds {

template<class K, class V>
class HashMap;

/// A growable array of three words: storage, count, capacity, in this order.
///
/// The storage is an array of `capacity` constructed elements, null when nothing was ever
/// allocated. Appending to a full vector makes the capacity 2, then doubles the count. Slots behind
/// the count own nothing: removed elements are replaced by `T{}`. Positions are not checked.
/// Running out of memory throws `std::bad_alloc` and changes nothing.
///
/// A long vector of pointers moves the elements before a position or those after it, whichever are
/// fewer, so that inserting and removing at both ends takes constant time. Free places in front
/// count neither as elements nor as capacity.
template<class T>
class QV_EXPORT Vector {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    Vector() noexcept = default;
    Vector(std::initializer_list<T> items) : Vector(items.begin(), items.size()) {}

    /// Copies with a capacity of exactly the count. An empty copy has no storage, unless the
    /// element type declares `keepsEmptyArray`: then it owns an array of 0 elements.
    Vector(const Vector& other) : Vector(other.m_data, other.m_count) {}
    Vector(Vector&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)),
          m_count(std::exchange(other.m_count, 0)),
          m_capacity(std::exchange(other.m_capacity, 0)) {}

    ~Vector() { delete[] storage(); }

    Vector& operator=(const Vector& other) {
        if (this != &other) Vector(other).swap(*this);
        return *this;
    }
    Vector& operator=(Vector&& other) noexcept {
        Vector(std::move(other)).swap(*this);
        return *this;
    }

    [[nodiscard]] u64 size() const noexcept { return m_count; }
    [[nodiscard]] u64 count() const noexcept { return m_count; }
    [[nodiscard]] u64 capacity() const noexcept {
        return movesFront ? m_capacity & ~roomFlag : m_capacity;
    }
    [[nodiscard]] bool empty() const noexcept { return m_count == 0; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_count == 0; }

    [[nodiscard]] T* data() noexcept { return m_data; }
    [[nodiscard]] const T* data() const noexcept { return m_data; }
    [[nodiscard]] T* begin() noexcept { return m_data; }
    [[nodiscard]] T* end() noexcept { return m_data + m_count; }
    [[nodiscard]] const T* begin() const noexcept { return m_data; }
    [[nodiscard]] const T* end() const noexcept { return m_data + m_count; }

    [[nodiscard]] T& operator[](u64 index) noexcept { return m_data[index]; }
    [[nodiscard]] const T& operator[](u64 index) const noexcept { return m_data[index]; }
    [[nodiscard]] T& front() noexcept { return m_data[0]; }
    [[nodiscard]] const T& front() const noexcept { return m_data[0]; }
    [[nodiscard]] T& back() noexcept { return m_data[m_count - 1]; }
    [[nodiscard]] const T& back() const noexcept { return m_data[m_count - 1]; }

    void push_back(const T& value) {
        if (m_count == capacity()) return pushGrowing(T(value));
        m_data[m_count] = value;
        ++m_count;
    }
    void push_back(T&& value) {
        if (m_count == capacity()) return pushGrowing(T(std::move(value)));
        m_data[m_count] = std::move(value);
        ++m_count;
    }
    void pop_back() {
        m_data[m_count - 1] = T{};
        --m_count;
    }

    /// Inserts `value` before the element at `index`, which may be the count.
    void insert(u64 index, T value) {
        if constexpr (movesFront) {
            if (isInFront(index) && makeRoom()) return insertMovingFront(index, value);
        }
        if (m_count == capacity()) grow();
        shiftUp(index);
        m_data[index] = std::move(value);
        ++m_count;
    }

    /// Removes the element at `index` and keeps the order of the rest.
    void remove(u64 index) {
        if constexpr (movesFront) {
            if (isInFront(index)) return removeMovingFront(index);
        }
        shiftDown(index);
        pop_back();
    }

    /// Removes the element at `index` and returns it.
    T extract(u64 index) {
        T result(std::move(m_data[index]));
        remove(index);
        return result;
    }

    /// Removes every element equal to `value` and keeps the order of the rest; true if any was.
    bool removeAll(const T& value) {
        u64 kept = indexOf(value);
        if (kept == noIndex) return false;
        const T wanted(value); // `value` may be one of the elements
        for (u64 i = kept + 1; i < m_count; ++i)
            if (!sameValue(m_data[i], wanted)) m_data[kept++] = std::move(m_data[i]);
        while (m_count > kept)
            pop_back();
        return true;
    }

    /// Returns the position of the first element equal to `value`; `noIndex` when absent.
    [[nodiscard]] u64 indexOf(const T& value) const {
        for (u64 i = 0; i < m_count; ++i)
            if (sameValue(m_data[i], value)) return i;
        return noIndex;
    }
    [[nodiscard]] bool contains(const T& value) const { return indexOf(value) != noIndex; }

    /// Removes all elements and keeps the storage.
    void clear() {
        while (m_count > 0)
            pop_back();
    }

    /// Removes all elements and the storage.
    void release() noexcept { Vector(std::move(*this)); }

    /// Makes the capacity at least `capacity`; exactly that when it has to grow.
    void reserve(u64 capacity) {
        if (capacity > this->capacity()) reallocate(capacity);
    }

    /// Sets the count; new elements are `T{}`.
    void resize(u64 count) {
        reserve(count);
        while (m_count > count)
            pop_back();
        for (; m_count < count; ++m_count)
            m_data[m_count] = T{};
    }

    void swap(Vector& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_count, other.m_count);
        std::swap(m_capacity, other.m_capacity);
    }

    /// Tells whether both have equal elements in the same order.
    [[nodiscard]] bool operator==(const Vector& other) const {
        return m_count == other.m_count &&
               std::equal(begin(), end(), other.begin(),
                          [](const T& a, const T& b) { return sameValue(a, b); });
    }

private:
    template<class K, class V>
    friend class HashMap;

    static constexpr bool keepsEmptyArray = requires { requires T::keepsEmptyArray; };
    static constexpr u64 maxBytes = std::numeric_limits<std::size_t>::max();

    // ---- Room in front ---------------------------------------------------------------------
    // While there are free places in front, the capacity has a flag, and the last of these places
    // contains their number.

    static constexpr bool movesFront = std::is_pointer_v<T> && sizeof(T) == sizeof(u64);
    static constexpr u64 roomFlag = u64(1) << 63;
    // Moving fewer elements is too cheap to avoid.
    static constexpr u64 fewest = 64;

    [[nodiscard]] bool isInFront(u64 index) const noexcept {
        return m_count >= fewest && index < m_count / 2;
    }

    [[nodiscard]] u64 room() const noexcept {
        u64 places = 0;
        if constexpr (movesFront) {
            if ((m_capacity & roomFlag) != 0) std::memcpy(&places, m_data - 1, sizeof places);
        }
        return places;
    }
    [[nodiscard]] T* storage() const noexcept { return m_data - room(); }

    // Makes the elements begin behind `places` free places; needs a storage of `total` places.
    void setRoom(T* storage, u64 places, u64 total) noexcept {
        m_data = storage + places;
        m_capacity = total - places;
        if (places == 0) return;
        m_capacity |= roomFlag;
        std::memcpy(m_data - 1, &places, sizeof places);
    }

    // Makes room in front; false when the spare capacity behind is too small to be worth the move.
    bool makeRoom() {
        if (room() != 0) return true;
        const u64 spare = m_capacity - m_count;
        if (spare != 0 && spare < fewest) return false;
        if (spare == 0) reallocate(2 * m_count);
        const u64 places = (m_capacity - m_count + 1) / 2;
        T* const first = m_data;
        std::memmove(first + places, first, m_count * sizeof(T));
        setRoom(first, places, m_capacity);
        return true;
    }

    // Moves the elements to the start of the storage, so that the free places are behind them;
    // false when there are none.
    bool moveToStorage() noexcept {
        const u64 places = room();
        if (places == 0) return false;
        T* const first = storage();
        std::memmove(first, m_data, m_count * sizeof(T));
        setRoom(first, 0, places + capacity());
        return true;
    }

    void insertMovingFront(u64 index, T value) noexcept {
        const u64 places = room();
        T* const first = storage();
        std::memmove(m_data - 1, m_data, index * sizeof(T));
        setRoom(first, places - 1, places + capacity());
        m_data[index] = value;
        ++m_count;
    }

    void removeMovingFront(u64 index) noexcept {
        const u64 places = room();
        T* const first = storage();
        std::memmove(m_data + 1, m_data, index * sizeof(T));
        setRoom(first, places + 1, places + capacity());
        --m_count;
    }

    // ---- Storage ---------------------------------------------------------------------------

    // An empty vector on an array of 0 elements, which its owner takes back after `abandonStorage`.
    struct EmptyStorage {
        T* array;
    };
    explicit Vector(EmptyStorage storage) noexcept : m_data(storage.array) {}
    void abandonStorage() noexcept { m_data = nullptr; }

    Vector(const T* items, u64 count) {
        if (count == 0 && !keepsEmptyArray) return;
        std::unique_ptr<T[]> fresh(allocate(count));
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (count != 0) std::memcpy(fresh.get(), items, count * sizeof(T));
        } else {
            std::copy(items, items + count, fresh.get());
        }
        m_data = fresh.release();
        m_count = m_capacity = count;
    }

    // A size that overflows becomes the largest request, which makes the allocator fail as usual.
    [[nodiscard]] static T* allocate(u64 count) {
        if (count > maxBytes / sizeof(T)) failAllocation();
        return new T[count];
    }
    [[noreturn, gnu::noinline]] static void failAllocation() {
        const volatile std::size_t bytes = maxBytes;
        if constexpr (requires { T::operator new[](bytes); })
            (void)T::operator new[](bytes);
        else
            (void)::operator new[](bytes);
        throw std::bad_alloc();
    }

    void reallocate(u64 capacity) {
        std::unique_ptr<T[]> fresh(allocate(capacity));
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (m_count != 0) std::memcpy(fresh.get(), m_data, m_count * sizeof(T));
        } else {
            std::move(begin(), end(), fresh.get());
        }
        delete[] storage();
        m_data = fresh.release();
        m_capacity = capacity;
    }

    void grow() {
        if (m_count > maxBytes / 2) failAllocation();
        if constexpr (movesFront) return growMovingFront();
        reallocate(m_count == 0 ? 2 : 2 * m_count);
    }

    // If at least half of the storage is free in front, uses that room to grow. Uses less room when
    // memory is out: a removed element can then always be put back.
    void growMovingFront() {
        if (room() >= m_count && moveToStorage()) return;
        try {
            reallocate(m_count == 0 ? 2 : 2 * m_count);
        } catch (const std::bad_alloc&) {
            if (!moveToStorage()) throw;
        }
    }

    // Needs a value outside the storage, because growing moves the elements.
    void pushGrowing(T&& value) {
        grow();
        m_data[m_count] = std::move(value);
        ++m_count;
    }

    void shiftUp(u64 index) {
        if constexpr (std::is_trivially_copyable_v<T>)
            std::memmove(m_data + index + 1, m_data + index, (m_count - index) * sizeof(T));
        else
            std::move_backward(m_data + index, m_data + m_count, m_data + m_count + 1);
    }

    // Moves nothing for an index behind the count.
    void shiftDown(u64 index) {
        if (index + 1 >= m_count) return;
        if constexpr (std::is_trivially_copyable_v<T>)
            std::memmove(m_data + index, m_data + index + 1, (m_count - index - 1) * sizeof(T));
        else
            std::move(m_data + index + 1, m_data + m_count, m_data + index);
    }

    T* m_data = nullptr;
    u64 m_count = 0;
    u64 m_capacity = 0;
};

static_assert(sizeof(Vector<void*>) == 3 * sizeof(u64));

} // namespace qv::ds
