#include "render/impl/defaults.h"

#include "render/impl/camera_rays.h"

#include <gtest/gtest.h>

namespace qv::render::impl {
namespace {

RenderScene boxed(const Vec3& min, const Vec3& max) {
    RenderScene scene;
    scene.bounds.add(min);
    scene.bounds.add(max);
    return scene;
}

// Returns a point's place in a picture of a camera, each coordinate from -1 to 1 if it is inside.
Vec2 seen(const Camera& camera, const Vec3& point) {
    const Vec3 offset = point - camera.place.origin;
    const float depth = -dot(offset, camera.place.z), half = std::tan(camera.horizontalFov / 2.0F);
    return {dot(offset, camera.place.x) / (depth * half),
            dot(offset, camera.place.y) / (depth * half)};
}

TEST(Defaults, Camera_SeesAllCornersOfTheScene) {
    for (const RenderScene& scene :
         {boxed({-1, -1, -1}, {1, 1, 1}), boxed({100, 5, 7}, {1100, 6, 8}),
          boxed({1e-4F, 0, 0}, {2e-4F, 1e-4F, 1e-4F})}) {
        const Camera camera = cameraThatShows(scene);
        const Box& b = scene.bounds;
        for (u32 i = 0; i < 8; ++i) {
            const Vec3 corner{(i & 1) != 0 ? b.max.x : b.min.x, (i & 2) != 0 ? b.max.y : b.min.y,
                              (i & 4) != 0 ? b.max.z : b.min.z};
            const Vec2 place = seen(camera, corner);
            EXPECT_LT(std::max(std::abs(place.x), std::abs(place.y)), 1.0F) << i;
            EXPECT_GT(CameraRays(camera, 1, 1).depth(corner), camera.near) << i;
        }
    }
}

TEST(Defaults, Camera_IsUprightInTheSpaceOfTheScene) {
    RenderScene scene = boxed({-1, -1, -1}, {1, 1, 1});
    EXPECT_GT(cameraThatShows(scene).place.y.y, 0.5F);
    scene.up = {0, 0, 1};
    EXPECT_GT(cameraThatShows(scene).place.y.z, 0.5F);
}

TEST(Defaults, EmptyScene_HasACameraWithFiniteNumbers) {
    const Camera camera = cameraThatShows(RenderScene());
    EXPECT_TRUE(isFinite(camera.place.origin));
    EXPECT_TRUE(std::isfinite(camera.near));
}

TEST(Defaults, Lights_AreASunFromBehindTheCameraAndASky) {
    const Camera camera = cameraThatShows(boxed({-1, -1, -1}, {1, 1, 1}));
    std::vector<Light> lights;
    addDefaultLights(camera, lights);
    ASSERT_EQ(lights.size(), 2U);
    EXPECT_EQ(lights[0].shape, LightShape::Sun);
    EXPECT_GT(dot(lights[0].place.z, camera.place.z), 0.0F);
    EXPECT_EQ(lights[1].shape, LightShape::Sky);
    EXPECT_FALSE(lights[1].isInBackground);
}

TEST(Defaults, EmissiveMesh_IsALight) {
    RenderScene scene;
    EXPECT_FALSE(hasLight(scene));
    auto material = std::make_shared<Material>();
    scene.instances.push_back({nullptr, material, {}, 0});
    EXPECT_FALSE(hasLight(scene));
    material->emission = {0, 0, 1};
    EXPECT_TRUE(hasLight(scene));
}

} // namespace
} // namespace qv::render::impl
