#pragma once

#include "kelvo/base/types.h"
#include "render/impl/vec3.h"

namespace qv::render::impl {

/// Random numbers of one sample of one pixel. They depend on nothing else, so that a picture is the
/// same whatever thread renders a pixel, and whenever.
class Random {
public:
    Random(u64 pixel, u64 sample) noexcept
        : m_state(mixed(mixed(pixel + step) ^ (sample * step))) {}

    /// Returns the next number, from 0 to less than 1.
    [[nodiscard]] float next() noexcept {
        m_state += step;
        return static_cast<float>(mixed(m_state) >> 40) * 0x1p-24F;
    }
    [[nodiscard]] Vec2 nextPair() noexcept {
        const float x = next();
        return {x, next()};
    }

private:
    // The odd number nearest to the golden ratio times 2^64.
    static constexpr u64 step = 0x9e3779b97f4a7c15;

    // SplitMix64 (Steele et al., 2014): each bit of the result depends on all bits.
    static constexpr u64 mixed(u64 z) noexcept {
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }

    u64 m_state;
};

} // namespace qv::render::impl
