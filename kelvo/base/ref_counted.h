#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/types.h"

#include <atomic>
#include <functional>
#include <type_traits>
#include <utility>

namespace qv {

/// Interface of every shared object. The order of its operations is part of the binary interface.
/// Any thread may take and drop references.
class QV_EXPORT IRefCounted {
public:
    /// Adds one reference.
    virtual void incRef() = 0;

    /// Drops one reference; dropping the last one destroys the object.
    virtual void decRef() = 0;

    virtual ~IRefCounted() = default;

protected:
    IRefCounted() = default;
    IRefCounted(const IRefCounted&) = default;
    IRefCounted& operator=(const IRefCounted&) = default;
};

/// Counted base class. A new object has a count of 1, owned by whoever created it:
/// hand that reference to a handle with `RefersTo<T>::adopt(new T)`.
class QV_EXPORT RefCounted : public IRefCounted {
public:
    void incRef() override;
    void decRef() override;
    ~RefCounted() override;

    /// Number of references right now; other threads may change it at any time.
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

/// Says that a handle takes over a reference its caller already owns.
struct AdoptRef {};
inline constexpr AdoptRef adoptRef{};

/// Handle that keeps one reference on a shared object, or holds null.
/// Two words: the handle's interface pointer and the object. Derived handles add no fields.
template<class T>
class QV_EXPORT RefersTo {
public:
    using Object = T;

    RefersTo() noexcept = default;
    RefersTo(std::nullptr_t) noexcept {}

    /// Takes a reference of its own on `object`, which may be null.
    explicit RefersTo(T* object) noexcept : m_object(object) { retain(m_object); }

    /// Takes over the caller's reference on `object`, which may be null.
    RefersTo(AdoptRef, T* object) noexcept : m_object(object) {}

    RefersTo(const RefersTo& other) noexcept : m_object(other.m_object) { retain(m_object); }
    RefersTo(RefersTo&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    template<class U>
    requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>)
        RefersTo(const RefersTo<U>& other)
    noexcept : RefersTo(static_cast<T*>(other.get())) {}

    virtual ~RefersTo() { release(m_object); }

    // The new reference is taken before the old one goes: the old object may own the new one.
    RefersTo& operator=(const RefersTo& other) noexcept {
        T* old = m_object;
        retain(other.m_object);
        m_object = other.m_object;
        release(old);
        return *this;
    }
    RefersTo& operator=(RefersTo&& other) noexcept {
        T* old = m_object;
        m_object = std::exchange(other.m_object, nullptr);
        if (this == &other) {
            m_object = old;
            return *this;
        }
        release(old);
        return *this;
    }

    /// Makes a handle of the creator's own reference, so that `adopt(new T)` leaves the count at 1.
    [[nodiscard]] static RefersTo adopt(T* object) noexcept { return {adoptRef, object}; }

    /// The object, borrowed, valid while a handle holds it; null when empty.
    [[nodiscard]] T* get() const noexcept { return m_object; }
    [[nodiscard]] T* operator->() const noexcept { return m_object; }
    [[nodiscard]] T& operator*() const noexcept { return *m_object; }
    [[nodiscard]] explicit operator bool() const noexcept { return m_object != nullptr; }
    [[nodiscard]] bool isEmpty() const noexcept { return m_object == nullptr; }

    /// Drops the reference and holds null.
    void reset() noexcept { release(std::exchange(m_object, nullptr)); }

    /// Hands the reference to the caller, who must drop it; the handle holds null afterwards.
    [[nodiscard]] T* detach() noexcept { return std::exchange(m_object, nullptr); }

    void swap(RefersTo& other) noexcept { std::swap(m_object, other.m_object); }

    /// Two handles are equal when they hold the same object.
    [[nodiscard]] friend bool operator==(const RefersTo& a, const RefersTo& b) noexcept {
        return a.m_object == b.m_object;
    }
    [[nodiscard]] friend bool operator==(const RefersTo& a, const T* b) noexcept {
        return a.m_object == b;
    }

private:
    // Where the object has several bases, its count is reached through its IRefCounted part.
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
