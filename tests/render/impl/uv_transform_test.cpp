#include "render/impl/uv_transform.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

constexpr float quarter = 1.0F; // the sine of a quarter of a turn

void expectNear(const Vec2& a, const Vec2& b) {
    EXPECT_NEAR(a.x, b.x, 1e-6F);
    EXPECT_NEAR(a.y, b.y, 1e-6F);
}

TEST(UvTransform, Nothing_KeepsCoordinatesToTheBit) {
    EXPECT_EQ(UvTransform().at({0.1F, 0.7F}), (Vec2{0.1F, 0.7F}));
}

TEST(UvTransform, ScaleAndOffset_ApplyInThisOrder) {
    expectNear(UvTransform{{0.5F, 1}, {2, 3}}.at({1, 1}), {2.5F, 4});
}

TEST(UvTransform, Rotation_TurnsThePictureAroundItsMiddle) {
    const UvTransform turned{{}, {1, 1}, quarter, 0.0F};
    expectNear(turned.at({0.5F, 0.5F}), {0.5F, 0.5F});
    // The right edge of the picture goes to the top.
    expectNear(turned.at({0.5F, 1}), {1, 0.5F});
    expectNear(turned.at({0, 0.5F}), {0.5F, 1});
}

TEST(UvTransform, Scale_AppliesAfterTheRotation) {
    const UvTransform both{{}, {2, 1}, quarter, 0.0F};
    expectNear(both.at({0.5F, 1}), {2, 0.5F});
}

TEST(UvTransform, Directions_TurnAndMirrorWithThePicture) {
    expectNear((UvTransform{{}, {1, 1}, quarter, 0.0F}.direction({1, 0})), {0, 1});
    expectNear((UvTransform{{}, {-2, 1}}.direction({0.5F, 0.25F})), {-0.5F, 0.25F});
    // A step in the direction on the surface is one to the right in the picture.
    const UvTransform some{{0.1F, 0.2F}, {1, 1}, std::sin(0.4F), std::cos(0.4F)};
    const Vec2 step = some.direction({1, 0});
    const Vec2 from = some.at({0.3F, 0.3F}), to = some.at({0.3F + step.x, 0.3F + step.y});
    expectNear({to.x - from.x, to.y - from.y}, {1, 0});
}

} // namespace
} // namespace qv::render::impl
