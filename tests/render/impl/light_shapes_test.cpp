#include "render/impl/light_shapes.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

Light ballAt(const Vec3& origin, float radius) {
    Light light;
    light.radius = radius;
    light.place.origin = origin;
    return light;
}
Light areaAt(const Vec3& origin, LightShape shape = LightShape::Rectangle) {
    Light light;
    light.shape = shape;
    light.place.origin = origin;
    return light;
}

// Returns the numbers of the lights that a ray meets, in their order.
std::vector<u32> metBy(const std::vector<Light>& lights, const Ray& ray) {
    std::vector<u32> met;
    LightShapes(lights).visit(ray, [&](u32 number, const Vec3&) { met.push_back(number); });
    return met;
}
using Numbers = std::vector<u32>;
const Ray forward{{}, {0, 0, -1}};
const Ray backward{{}, {0, 0, 1}};

TEST(LightShapes, Ray_PassesAllThatItMeets) {
    const std::vector<Light> lights{ballAt({0, 0, -9}, 1), areaAt({9, 0, -1}), Light(),
                                    ballAt({0, 0.5F, -5}, 1)};
    EXPECT_EQ(metBy(lights, forward), (Numbers{3, 0}));
}

TEST(LightShapes, Point_IsOnTheShape) {
    Vec3 found;
    const std::vector<Light> lights{ballAt({0, 0, -9}, 1)};
    LightShapes(lights).visit(forward, [&](u32, const Vec3& point) { found = point; });
    EXPECT_NEAR(length(found - Vec3{0, 0, -8}), 0.0F, 1e-4F);
}

TEST(LightShapes, Ball_DoesNotShineInside) {
    EXPECT_EQ(metBy({ballAt({}, 2)}, forward), Numbers());
}

TEST(LightShapes, Area_ShinesAlongItsNegativeAxisOrToBothSides) {
    EXPECT_EQ(metBy({areaAt({0, 0, -3})}, forward), Numbers());
    EXPECT_EQ(metBy({areaAt({0, 0, 3})}, backward), (Numbers{0}));
    Light both = areaAt({0, 0, -3});
    both.isTwoSided = true;
    EXPECT_EQ(metBy({both}, forward), (Numbers{0}));
}

TEST(LightShapes, Ellipse_HasNoCorners) {
    const Ray corner{{0.9F, 0.9F, 0}, {0, 0, 1}}, side{{0.9F, 0.1F, 0}, {0, 0, 1}};
    EXPECT_EQ(metBy({areaAt({0, 0, 3})}, corner), (Numbers{0}));
    EXPECT_EQ(metBy({areaAt({0, 0, 3}, LightShape::Ellipse)}, corner), Numbers());
    EXPECT_EQ(metBy({areaAt({0, 0, 3}, LightShape::Ellipse)}, side), (Numbers{0}));
}

TEST(LightShapes, EndOfTheRay_IsTheEnd) {
    Ray ray = forward;
    ray.far = 4;
    EXPECT_EQ(metBy({ballAt({0, 0, -9}, 1)}, ray), Numbers());
}

TEST(LightShapes, LightsWithoutExtent_AreNoShapes) {
    EXPECT_EQ(metBy({Light(), ballAt({0, 0, -3}, 0)}, forward), Numbers());
    EXPECT_EQ(metBy({}, forward), Numbers());
}

TEST(LightShapes, ManyAtOnePlace_EndAfterSome) {
    const std::vector<Light> lights(1000, ballAt({0, 0, -9}, 1));
    EXPECT_LE(metBy(lights, forward).size(), 256U);
}

} // namespace
} // namespace qv::render::impl
