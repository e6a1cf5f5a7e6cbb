#pragma once

#include "kelvo/base/ref_counted.h"

#include <array>

namespace qv::kelvo_sdk::impl {

/// Keeps the objects of a notification alive until all observers were notified, because an observer
/// may drop the last reference to them. Allocates nothing, and is nearly free while it is empty.
class Survivors {
public:
    Survivors() noexcept = default;
    /// Starts with `hold` of the objects.
    template<typename... Things>
    explicit Survivors(const Things*... things) noexcept {
        hold(things...);
    }

    /// Keeps objects, which may be null, alive until this is destroyed. Only the first call counts.
    template<typename... Things>
    void hold(const Things*... things) noexcept {
        static_assert(sizeof...(Things) <= most);
        if (m_isHolding) return;
        m_isHolding = true;
        u64 place = 0;
        ((m_held[place++] = RefersTo<IRefCounted>(const_cast<Things*>(things))), ...);
    }
    [[nodiscard]] bool any() const noexcept { return m_isHolding; }

private:
    static constexpr u64 most = 4;

    std::array<RefersTo<IRefCounted>, most> m_held;
    bool m_isHolding = false;
};

} // namespace qv::kelvo_sdk::impl
