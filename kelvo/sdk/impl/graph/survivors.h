#pragma once

#include "kelvo/base/ref_counted.h"

#include <array>

namespace qv::kelvo_sdk::impl {

/// Keeps alive what is told about until everyone was told: an observer may drop the last reference
/// to it. Takes no memory, and costs next to nothing until it holds something.
class Survivors {
public:
    Survivors() noexcept = default;
    /// Holds at once; see `hold`.
    template<typename... Things>
    explicit Survivors(const Things*... things) noexcept {
        hold(things...);
    }

    /// Holds things, which may be null, until this ends. Does nothing when it holds some already.
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
