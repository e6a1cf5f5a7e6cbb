#pragma once

#include "kelvo/base/ref_counted.h"

#include <algorithm>
#include <array>
#include <utility>

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

    Survivors(const Survivors& other) noexcept : m_isHolding(other.m_isHolding) {
        for (u32 i = 0; i < other.m_count; ++i)
            keep(other.m_held[i]);
    }
    Survivors(Survivors&& other) noexcept
        : m_count(std::exchange(other.m_count, 0)), m_isHolding(other.m_isHolding) {
        std::copy_n(other.m_held.begin(), m_count, m_held.begin());
    }
    Survivors& operator=(const Survivors&) = delete;
    ~Survivors() {
        while (m_count > 0)
            m_held[--m_count]->decRef();
    }

    /// Keeps objects, which may be null, alive until this is destroyed. Only the first call counts.
    template<typename... Things>
    void hold(const Things*... things) noexcept {
        static_assert(sizeof...(Things) <= most);
        if (m_isHolding) return;
        m_isHolding = true;
        (keep(const_cast<Things*>(things)), ...);
    }
    [[nodiscard]] bool any() const noexcept { return m_isHolding; }

private:
    static constexpr u32 most = 4;

    void keep(IRefCounted* thing) noexcept {
        if (!thing) return;
        thing->incRef();
        m_held[m_count++] = thing;
    }

    // The first `m_count` are held, the others not even set: four handles would have to be made and
    // destroyed for each notification, although most hold nothing.
    std::array<IRefCounted*, most> m_held;
    u32 m_count = 0;
    bool m_isHolding = false;
};

} // namespace qv::kelvo_sdk::impl
