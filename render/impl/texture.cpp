#include "render/impl/texture.h"

#include <array>

namespace qv::render::impl {

namespace {

const std::array<float, 256>& linearBytes() noexcept {
    static const std::array<float, 256> table = [] {
        std::array<float, 256> made{};
        for (u64 i = 0; i < made.size(); ++i)
            made[i] = linearFromSrgb(static_cast<float>(i) / 255.0F);
        return made;
    }();
    return table;
}

// Returns the position of a pixel in a row or column of `size`; negative outside of a decal.
i64 wrapped(i64 i, i64 size, Wrap wrap) noexcept {
    if (wrap == Wrap::Clamp) return std::clamp<i64>(i, 0, size - 1);
    if (wrap == Wrap::Decal) return i < 0 || i >= size ? -1 : i;
    const i64 period = wrap == Wrap::Mirror ? 2 * size : size;
    const i64 rest = (i % period + period) % period;
    return rest < size ? rest : period - 1 - rest;
}

// Returns the weights of the pixels from floor(x) - 1 to floor(x) + 2, where `t` is the rest.
std::array<float, 4> weights(Filter filter, float t) noexcept {
    if (filter == Filter::Nearest) return {0.0F, 1.0F, 0.0F, 0.0F};
    if (filter == Filter::Linear) return {0.0F, 1.0F - t, t, 0.0F};
    // A cubic B-spline: its weights are never negative, so that no colour leaves its range.
    const float s = 1.0F - t;
    return {s * s * s / 6.0F, (4.0F - 6.0F * t * t + 3.0F * t * t * t) / 6.0F,
            (4.0F - 6.0F * s * s + 3.0F * s * s * s) / 6.0F, t * t * t / 6.0F};
}

// Coordinates that are no place in any picture count as 0.
float sane(float coordinate) noexcept {
    return std::abs(coordinate) < 1e6F ? coordinate : 0.0F;
}

} // namespace

float linearFromSrgb(float value) noexcept {
    return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

float srgbFromLinear(float value) noexcept {
    return value <= 0.0031308F ? value * 12.92F : 1.055F * std::pow(value, 1.0F / 2.4F) - 0.055F;
}

Vec4 Texture::pixel(u32 x, u32 y, Meaning meaning) const noexcept {
    const u64 at = (u64{y} * width + x) * 4;
    const bool isEncoded = isSrgb && meaning == Meaning::Colors;
    if (bytes.empty()) {
        const float* p = floats.data() + at;
        if (!isEncoded) return {{p[0], p[1], p[2]}, p[3]};
        return {{linearFromSrgb(p[0]), linearFromSrgb(p[1]), linearFromSrgb(p[2])}, p[3]};
    }
    const u8* p = bytes.data() + at;
    const float alpha = static_cast<float>(p[3]) / 255.0F;
    if (!isEncoded) {
        const Vec3 color{static_cast<float>(p[0]), static_cast<float>(p[1]),
                         static_cast<float>(p[2])};
        return {color / 255.0F, alpha};
    }
    const std::array<float, 256>& linear = linearBytes();
    return {{linear[p[0]], linear[p[1]], linear[p[2]]}, alpha};
}

Vec4 Texture::at(float u, float v, Wrap wrapU, Wrap wrapV, Meaning meaning) const noexcept {
    // The centre of the first pixel is at half a pixel; a pixel itself begins at its border.
    const float shift = filter == Filter::Nearest ? 0.0F : 0.5F;
    const float px = sane(u) * static_cast<float>(width) - shift;
    const float py = (1.0F - sane(v)) * static_cast<float>(height) - shift;
    const float left = std::floor(px), top = std::floor(py);
    const std::array<float, 4> wx = weights(filter, px - left), wy = weights(filter, py - top);
    Vec4 sum{{0, 0, 0}, 0};
    for (u32 j = 0; j < 4; ++j) {
        const i64 y = wrapped(static_cast<i64>(top) + j - 1, height, wrapV);
        for (u32 i = 0; i < 4; ++i) {
            const float weight = wx[i] * wy[j];
            if (weight == 0.0F) continue;
            const i64 x = wrapped(static_cast<i64>(left) + i - 1, width, wrapU);
            const Vec4 value =
                x < 0 || y < 0 ? Vec4() : pixel(static_cast<u32>(x), static_cast<u32>(y), meaning);
            sum.color += value.color * weight;
            sum.alpha += value.alpha * weight;
        }
    }
    return sum;
}

} // namespace qv::render::impl
