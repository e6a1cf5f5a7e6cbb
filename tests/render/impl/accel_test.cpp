#include "render/impl/accel.h"

#include "render/impl/stopped.h"

#include <gtest/gtest.h>

#include <thread>

namespace qv::render::impl {
namespace {

// Two triangles: one at z = 0, and a smaller one behind it at z = -1.
std::shared_ptr<const Mesh> twoTriangles() {
    Mesh mesh;
    mesh.positions.reserve(7);
    mesh.positions = {{-1, -1, 0},     {1, -1, 0},     {0, 1, 0},
                      {-0.5F, -1, -1}, {0.5F, -1, -1}, {0, 0.5F, -1}};
    mesh.triangles.reserve(3);
    mesh.triangles = {{0, 1, 2}, {3, 4, 5}};
    return std::make_shared<const Mesh>(std::move(mesh));
}
Instance at(const std::shared_ptr<const Mesh>& mesh, const Vec3& origin, float size = 1.0F) {
    Transform place;
    place.x.x = place.y.y = place.z.z = size;
    place.origin = origin;
    return {mesh, std::make_shared<const Material>(), place, 0, {}};
}
void place(Instance& instance, const Vec3& origin) {
    instance.toWorld.origin = origin;
    instance.bounds.min = origin + Vec3{-1, -1, -1};
    instance.bounds.max = origin + Vec3{1, 1, 0};
}
Ray down(float x, float y) {
    return {{x, y, 10}, {0, 0, -1}};
}

TEST(Accel, NearestHit_IsTheFirstInTheWorld) {
    const auto mesh = twoTriangles();
    Accel accel;
    accel.build({at(mesh, {5, 0, 0}), at(mesh, {0, 0, 2}, 2)}, 1);
    const auto hit = accel.nearest(down(0, 0));
    ASSERT_TRUE(hit);
    EXPECT_EQ(hit->instance, 1U);
    EXPECT_EQ(hit->triangle, 0U);
    EXPECT_FLOAT_EQ(hit->distance, 8.0F);
    EXPECT_FALSE(accel.nearest(down(2.5F, 0)));
}

TEST(Accel, Weights_AreThoseOfTheSecondAndThirdCorner) {
    Accel accel;
    accel.build({at(twoTriangles(), {})}, 1);
    const auto hit = accel.nearest(down(0.5F, -0.5F));
    ASSERT_TRUE(hit);
    // -1 + 2 w1 + w2 = 0.5 and -1 + 2 w2 = -0.5
    EXPECT_NEAR(hit->weights.x, 0.625F, 1e-5F);
    EXPECT_NEAR(hit->weights.y, 0.25F, 1e-5F);
}

TEST(Accel, NearAndFar_BoundTheRay) {
    Accel accel;
    accel.build({at(twoTriangles(), {})}, 1);
    Ray ray = down(0, 0);
    ray.near = 10.5F;
    ASSERT_TRUE(accel.nearest(ray));
    EXPECT_EQ(accel.nearest(ray)->triangle, 1U);
    EXPECT_TRUE(accel.isBlocked(ray));
    ray.far = 10.75F;
    EXPECT_FALSE(accel.nearest(ray));
    EXPECT_FALSE(accel.isBlocked(ray));
}

TEST(Accel, AnotherBuild_ReplacesTheInstances) {
    const auto mesh = twoTriangles();
    Accel accel;
    accel.build({at(mesh, {})}, 1);
    accel.build({at(mesh, {5, 0, 0})}, 1);
    EXPECT_FALSE(accel.nearest(down(0, 0)));
    EXPECT_TRUE(accel.nearest(down(5, 0)));
    accel.build({}, 1);
    EXPECT_FALSE(accel.nearest(down(5, 0)));
    EXPECT_FALSE(accel.isBlocked(down(5, 0)));
}

TEST(Accel, StoppedBuild_CanBeginAnew) {
    const auto mesh = twoTriangles();
    std::stop_source stop;
    stop.request_stop();
    Accel accel;
    EXPECT_THROW(accel.build({at(mesh, {})}, 1, stop.get_token()), Stopped);
    accel.build({at(mesh, {})}, 1);
    EXPECT_TRUE(accel.nearest(down(0, 0)));
    EXPECT_THROW(accel.build({at(mesh, {5, 0, 0})}, 1, stop.get_token()), Stopped);
    accel.build({at(mesh, {5, 0, 0})}, 1);
    EXPECT_TRUE(accel.nearest(down(5, 0)));
}

// A square of `side` x `side` smaller ones.
std::shared_ptr<const Mesh> manyTriangles(u32 side) {
    Mesh mesh;
    for (u32 i = 0; i < (side + 1) * (side + 1); ++i)
        mesh.positions.push_back(
            {static_cast<float>(i % (side + 1)), static_cast<float>(i / (side + 1)), 0});
    for (u32 i = 0; i < side * side; ++i) {
        const u32 at = i / side * (side + 1) + i % side, above = at + side + 1;
        mesh.triangles.push_back({at, at + 1, above});
        mesh.triangles.push_back({at + 1, above + 1, above});
    }
    mesh.positions.reserve(mesh.positions.size() + 1);
    mesh.triangles.reserve(mesh.triangles.size() + 1);
    return std::make_shared<const Mesh>(std::move(mesh));
}

TEST(Accel, LargeMeshWhoseBuildWasStopped_IsBuiltLater) {
    const auto mesh = manyTriangles(300);
    Accel accel;
    for (const u32 microseconds : {0U, 300U, 3000U, 30000U}) {
        std::stop_source stop;
        const std::jthread stopper([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
            stop.request_stop();
        });
        try {
            accel.build({at(mesh, {})}, 1, stop.get_token());
        } catch (const Stopped&) {
        }
    }
    accel.build({at(mesh, {})}, 1);
    for (const float x : {0.2F, 150.2F, 299.2F}) {
        const auto hit = accel.nearest(down(x, x));
        ASSERT_TRUE(hit);
        EXPECT_EQ(hit->triangle, 2 * (static_cast<u32>(x) * 301));
    }
}

// Meshes in rows of 200, which overlap.
std::vector<Instance> field(u32 count) {
    const auto mesh = twoTriangles();
    std::vector<Instance> instances;
    for (u32 i = 0; i < count; ++i) {
        instances.push_back(at(mesh, {}));
        place(instances[i], {static_cast<float>(i % 200), static_cast<float>(i / 200), 0});
    }
    return instances;
}

void expectSameHits(const Accel& a, const Accel& b) {
    u32 hits = 0;
    for (u32 i = 0; i < 5000; ++i) {
        const Ray ray = down(static_cast<float>(i % 71) * 2.83F, static_cast<float>(i) * 0.02F);
        const auto first = a.nearest(ray), second = b.nearest(ray);
        ASSERT_EQ(first.has_value(), second.has_value());
        ASSERT_EQ(a.isBlocked(ray), first.has_value());
        if (!first) continue;
        ++hits;
        ASSERT_EQ(first->instance, second->instance);
        ASSERT_EQ(first->triangle, second->triangle);
        ASSERT_EQ(first->distance, second->distance);
        ASSERT_EQ(first->weights, second->weights);
    }
    EXPECT_GT(hits, 1000U);
}

TEST(Accel, HitAmongVeryManyInstances_KnowsItsOwn) {
    const std::vector<Instance> instances = field(20000);
    Accel accel;
    accel.build(instances, 2);
    for (u32 i = 0; i < instances.size(); i += 37) {
        const Vec3& origin = instances[i].toWorld.origin;
        const auto hit = accel.nearest(down(origin.x - 0.3F, origin.y - 0.9F));
        ASSERT_TRUE(hit);
        const Vec3& met = instances[hit->instance].toWorld.origin;
        // Neighbours overlap there.
        EXPECT_LE(std::abs(met.x - origin.x), 1.0F);
        EXPECT_LE(std::abs(met.y - origin.y), 1.0F);
    }
    EXPECT_FALSE(accel.nearest(down(500, 0)));
    EXPECT_FALSE(accel.isBlocked(down(500, 0)));
}

TEST(Accel, MovedInstance_MakesTheGroupsAnewThatItLeavesAndEnters) {
    std::vector<Instance> instances = field(20000);
    Accel accel;
    accel.build(instances, 1);
    const u64 all = accel.groupsMade();
    EXPECT_GT(all, 4U);
    accel.build(instances, 1);
    EXPECT_EQ(accel.groupsMade(), 0U);
    place(instances[5], {150.5F, 70.5F, 0});
    accel.build(instances, 1);
    EXPECT_EQ(accel.groupsMade(), 2U);
    Accel fresh;
    fresh.build(instances, 1);
    EXPECT_EQ(fresh.groupsMade(), all);
    expectSameHits(accel, fresh);
}

TEST(Accel, RandomChanges_GiveTheHitsOfAFreshStart) {
    std::vector<Instance> instances = field(9000);
    Accel accel;
    u64 state = 3;
    for (u32 round = 0; round < 12; ++round) {
        state = state * 6364136223846793005 + 1442695040888963407;
        const u32 number = static_cast<u32>(state >> 33) % 3000, kind = round % 4;
        const Vec3 to{static_cast<float>(number % 190), static_cast<float>(number % 40), 0.5F};
        if (kind == 0) place(instances[number], to);
        if (kind == 1) instances.erase(instances.begin() + number);
        if (kind == 2) instances.push_back(at(instances[0].mesh, to));
        if (kind == 2) place(instances.back(), to);
        if (kind == 3) instances[number].mesh = twoTriangles();
        accel.build(instances, 2);
        Accel fresh;
        fresh.build(instances, 1);
        expectSameHits(accel, fresh);
    }
}

TEST(Accel, Hits_AreTheSameForAnyNumberOfThreads) {
    std::vector<Instance> instances;
    for (u32 i = 0; i < 40; ++i)
        instances.push_back(at(twoTriangles(), {static_cast<float>(i % 7), 0, 0.1F}, 0.7F));
    Accel one, many;
    one.build(instances, 1);
    many.build(instances, 8);
    for (u32 i = 0; i < 500; ++i) {
        const float x = static_cast<float>(i) * 0.014F;
        const auto a = one.nearest(down(x, -0.3F)), b = many.nearest(down(x, -0.3F));
        ASSERT_EQ(a.has_value(), b.has_value());
        if (!a) continue;
        EXPECT_EQ(a->instance, b->instance);
        EXPECT_EQ(a->distance, b->distance);
    }
}

} // namespace
} // namespace qv::render::impl
