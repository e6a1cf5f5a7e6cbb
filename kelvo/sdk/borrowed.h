#pragma once

#include <cstddef>
#include <type_traits>

namespace qv::kelvo_sdk {

template<class Pointer, class From>
concept PointerFrom = std::is_pointer_v<Pointer> && requires(From from) {
    static_cast<Pointer>(from);
};

/// A borrowed pointer from a handle. It converts to pointers only, so that `bool on = input.get()`,
/// a slip for `input.get<bool>()`, does not compile.
template<class T>
class Borrowed {
public:
    explicit constexpr Borrowed(T* object) noexcept : m_object(object) {}

    template<PointerFrom<T*> Pointer>
    constexpr explicit(!std::is_convertible_v<T*, Pointer>) operator Pointer() const noexcept {
        return static_cast<Pointer>(m_object);
    }
    /// Tells whether there is an object; works in conditions only.
    explicit constexpr operator bool() const noexcept { return m_object != nullptr; }
    [[nodiscard]] constexpr T* operator->() const noexcept { return m_object; }
    [[nodiscard]] constexpr T& operator*() const noexcept { return *m_object; }

    friend constexpr bool operator==(const Borrowed&, const Borrowed&) noexcept = default;
    // A template, so that no conversion of `b` competes with those of a Borrowed.
    template<class U>
    friend constexpr bool operator==(const Borrowed& a, U* b) noexcept {
        return a.m_object == b;
    }
    friend constexpr bool operator==(const Borrowed& a, std::nullptr_t) noexcept {
        return a.m_object == nullptr;
    }

private:
    T* m_object;
};

} // namespace qv::kelvo_sdk
