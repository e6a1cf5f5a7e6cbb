#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <atomic>
#include <functional>
#include <type_traits>
#include <utility>

namespace qv {

/// The interface of every shared object. Any thread may take and drop references. The order of the
/// functions is part of the binary interface.
class QV_EXPORT IRefCounted {
public:
    /// Adds a reference.
    virtual void incRef() = 0;

    /// Drops a reference; dropping the last one destroys the object.
    virtual void decRef() = 0;

    virtual ~IRefCounted() = default;

protected:
    IRefCounted() = default;
    IRefCounted(const IRefCounted&) = default;
    IRefCounted& operator=(const IRefCounted&) = default;
};

/// A base class with a reference count. A new object has a count of 1, owned by its creator: hand
/// this reference to a handle with `RefersTo<T>::adopt(new T)`.
class QV_EXPORT RefCounted : public IRefCounted {
public:
    void incRef() override;
    void decRef() override;
    ~RefCounted() override;

    /// Returns the current number of references; other threads may change it at any time.
    [[nodiscard]] i32 refCount() const noexcept {
        return m_refCount.load(std::memory_order_acquire);
    }

protected:
    RefCounted() noexcept = default;
    // A copy is a new object with its own single reference.
    RefCounted(const RefCounted&) noexcept : RefCounted() {}
    RefCounted& operator=(const RefCounted&) noexcept { return *this; }

private:
    std::atomic<i32> m_refCount{1};
};

/// Marks that a handle takes over a reference of the caller.
struct AdoptRef {};
inline constexpr AdoptRef adoptRef{};

/// A handle that owns one reference to a shared object, or is null. Takes two words: its virtual
/// table and the object. Derived handles add no fields.
template<class T>
class QV_EXPORT RefersTo {
public:
    using Object = T;

    RefersTo() noexcept = default;
    RefersTo(std::nullptr_t) noexcept {}

    /// Takes an own reference to `object`, which may be null.
    explicit RefersTo(T* object) noexcept : m_object(object) { retain(m_object); }

    /// Takes over the caller's reference to `object`, which may be null.
    RefersTo(AdoptRef, T* object) noexcept : m_object(object) {}

    RefersTo(const RefersTo& other) noexcept : m_object(other.m_object) { retain(m_object); }
    RefersTo(RefersTo&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    template<class U>
    requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>)
        RefersTo(const RefersTo<U>& other)
    noexcept : RefersTo(static_cast<T*>(other.get())) {}

    virtual ~RefersTo() { release(m_object); }

    // Takes the new reference before dropping the old one: the old object may own the new one.
    RefersTo& operator=(const RefersTo& other) noexcept {
        T* old = m_object;
        retain(other.m_object);
        m_object = other.m_object;
        release(old);
        return *this;
    }
    RefersTo& operator=(RefersTo&& other) noexcept {
        T* const moved = std::exchange(other.m_object, nullptr);
        release(std::exchange(m_object, moved));
        return *this;
    }

    /// Makes a handle from the creator's own reference, so that `adopt(new T)` leaves the count at
    /// 1.
    [[nodiscard]] static RefersTo adopt(T* object) noexcept { return {adoptRef, object}; }

    /// Returns the object, borrowed and valid while a handle refers to it; null when empty.
    [[nodiscard]] T* get() const noexcept { return m_object; }
    [[nodiscard]] T* operator->() const noexcept { return m_object; }
    [[nodiscard]] T& operator*() const noexcept { return *m_object; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_object != nullptr; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_object == nullptr; }

    /// Drops the reference; the handle is null afterwards.
    void reset() noexcept { release(std::exchange(m_object, nullptr)); }

    /// Hands the reference to the caller, who must drop it; the handle is null afterwards.
    [[nodiscard]] T* detach() noexcept { return std::exchange(m_object, nullptr); }

    void swap(RefersTo& other) noexcept { std::swap(m_object, other.m_object); }

    /// Two handles are equal when they refer to the same object.
    [[nodiscard]] friend bool operator==(const RefersTo& a, const RefersTo& b) noexcept {
        return a.m_object == b.m_object;
    }
    [[nodiscard]] friend bool operator==(const RefersTo& a, const T* b) noexcept {
        return a.m_object == b;
    }

private:
    // An object with several bases is counted through its IRefCounted base.
    static void retain(T* object) noexcept {
        if (!object) return;
        if constexpr (std::is_base_of_v<IRefCounted, T>)
            static_cast<IRefCounted*>(object)->incRef();
        else
            object->incRef();
    }
    static void release(T* object) noexcept {
        if (!object) return;
        if constexpr (std::is_base_of_v<IRefCounted, T>)
            static_cast<IRefCounted*>(object)->decRef();
        else
            object->decRef();
    }

    T* m_object = nullptr;
};

static_assert(sizeof(RefersTo<RefCounted>) == 2 * sizeof(void*));

} // namespace qv

template<class T>
struct std::hash<qv::RefersTo<T>> {
    [[nodiscard]] std::size_t operator()(const qv::RefersTo<T>& handle) const noexcept {
        return std::hash<T*>{}(handle.get());
    }
};
