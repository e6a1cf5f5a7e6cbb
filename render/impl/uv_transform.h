#pragma once

#include "render/impl/vec3.h"

namespace qv::render::impl {

/// How texture coordinates are changed before a picture is looked up: they are turned around the
/// middle of the picture, then scaled, then moved.
struct UvTransform {
    Vec2 offset;
    Vec2 scale{1, 1};
    /// The sine and cosine of the angle by which the picture is turned counter-clockwise.
    float sine = 0.0F;
    float cosine = 1.0F;

    [[nodiscard]] Vec2 at(const Vec2& uv) const noexcept {
        if (sine == 0.0F && cosine == 1.0F)
            return {uv.x * scale.x + offset.x, uv.y * scale.y + offset.y};
        const Vec2 turned = turnedBack({uv.x - 0.5F, uv.y - 0.5F});
        return {(turned.x + 0.5F) * scale.x + offset.x, (turned.y + 0.5F) * scale.y + offset.y};
    }
    /// Returns the direction on the surface that a direction in the picture has there.
    [[nodiscard]] Vec2 direction(const Vec2& inPicture) const noexcept {
        const Vec2 mirrored{scale.x < 0.0F ? -inPicture.x : inPicture.x,
                            scale.y < 0.0F ? -inPicture.y : inPicture.y};
        return {cosine * mirrored.x - sine * mirrored.y, sine * mirrored.x + cosine * mirrored.y};
    }
    [[nodiscard]] bool operator==(const UvTransform&) const noexcept = default;

private:
    // A picture is turned by turning its coordinates the other way.
    [[nodiscard]] Vec2 turnedBack(const Vec2& p) const noexcept {
        return {cosine * p.x + sine * p.y, cosine * p.y - sine * p.x};
    }
};

} // namespace qv::render::impl
