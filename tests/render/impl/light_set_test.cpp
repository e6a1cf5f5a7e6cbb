#include "render/impl/light_set.h"

#include "render/impl/scene_reader.h"
#include "render/impl/stopped.h"
#include "tests/render/render_scene_text.h"

#include <chrono>

namespace qv::render::impl {
namespace {

using render::tests::snapshotOf;
using render::tests::square;

RenderScene sceneOf(const std::string& text) {
    return SceneReader("").read(snapshotOf(text));
}
std::string at(double x, double y, double z, const std::string& child) {
    return "node xform \"" + child + "Place\" {\n    Mat4 matrix = (1 0 0 0  0 1 0 0  0 0 1 0  " +
           std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z) +
           " 1)\n    Array<Node> children = [" + child + "]\n}\n";
}

struct Met {
    Vec3 color;
    float pdf = 0.0F;
    u32 count = 0;
};
Met metBy(const LightSet& lights, const Ray& ray, bool isSeen = false) {
    Met met;
    lights.visit(ray, ray.origin, isSeen, [&](const LightColor& color, float pdf) {
        met.color += color.plain;
        met.pdf += pdf;
        ++met.count;
    });
    return met;
}

// Lights with an extent, each seen from the origin.
const struct {
    const char* note;
    std::string text;
} extended[] = {
    {"ball", at(0, 0, -5, "l") + "node pointLight \"l\" {\n    Real radius = 1\n}\n"},
    {"spot", at(0, 0, 5, "l") + "node spotLight \"l\" {\n    Real radius = 0.5\n}\n"},
    {"rectangle", at(0, 0, 4, "l") + "node areaLight \"l\" {\n    Vec2 size = (2 3)\n}\n"},
    {"ellipse", at(0.5, 0, 4, "l") + "node areaLight \"l\" {\n    String shape = \"ellipse\"\n"
                                     "    Vec2 size = (2 3)\n}\n"},
    {"sun", "node sunLight \"l\" {\n    Real angle = 0.5\n}\n"},
    {"sky", "node skyLight \"l\" {\n}\n"},
};

// A square at z = -3 that shines towards z.
const std::string glowing =
    at(0, 0, -3, "square") + square.substr(0, square.size() - 2) +
    "    Node material = glow\n}\nnode material \"glow\" {\n    Rgba emissive = (1 1 1 1)\n}\n";

TEST(LightSet, Stop_EndsThePreparation) {
    std::stop_source stop;
    stop.request_stop();
    for (const std::string& text : {glowing, extended[0].text})
        EXPECT_THROW(LightSet(sceneOf(text), stop.get_token()), Stopped);
}

TEST(LightSet, SampledDirections_MeetTheLightWithTheSameColorAndDensity) {
    for (const auto& [note, text] : extended) {
        const RenderScene scene = sceneOf(text);
        const LightSet lights(scene);
        for (u64 i = 0; i < 100; ++i) {
            Random random(3, i);
            const LightSample sample = lights.sample({}, random);
            ASSERT_GT(sample.pdf, 0.0F) << note;
            const Met met = metBy(lights, {{}, sample.direction});
            // At the very border a rounded ray may miss.
            if (met.count == 0) continue;
            EXPECT_NEAR(met.pdf, sample.pdf, 2e-3F * sample.pdf) << note;
            EXPECT_NEAR(met.color.x, sample.color.plain.x, 1e-3F * met.color.x) << note;
        }
    }
}

// The integral of 1 over the directions in which a light is seen, once by sampling the light and
// once by sampling all directions evenly.
TEST(LightSet, SolidAngle_IsThatOfEvenDirections) {
    constexpr u64 count = 40000;
    for (const auto& [note, text] : extended) {
        const RenderScene scene = sceneOf(text);
        const LightSet lights(scene);
        double bySampling = 0.0, byChance = 0.0;
        for (u64 i = 0; i < count; ++i) {
            Random random(5, i);
            bySampling += 1.0 / static_cast<double>(lights.sample({}, random).pdf);
            const float z = 2.0F * random.next() - 1.0F, angle = 2.0F * pi * random.next();
            const float s = std::sqrt(1.0F - z * z);
            const Ray ray{{}, {s * std::cos(angle), s * std::sin(angle), z}};
            byChance += metBy(lights, ray).count > 0 ? 4.0 * std::numbers::pi : 0.0;
        }
        EXPECT_NEAR(bySampling / count, byChance / count, 0.05 * bySampling / count + 0.01) << note;
    }
}

TEST(LightSet, Lights_ArePickedByTheirPower) {
    const RenderScene scene =
        sceneOf("node pointLight \"a\" {\n    Real intensity = 3\n}\n" + at(9, 0, 0, "b") +
                "node pointLight \"b\" {\n    Real intensity = 1\n}\n");
    const LightSet lights(scene);
    u32 strong = 0;
    for (u64 i = 0; i < 4000; ++i) {
        Random random(1, i);
        strong += lights.sample({4, 0, 1}, random).direction.x < 0.0F ? 1 : 0;
    }
    EXPECT_NEAR(strong, 3000U, 100U);
}

TEST(LightSet, Mesh_ShinesFromItsFrontAlone) {
    const RenderScene scene = sceneOf(glowing);
    const LightSet lights(scene);
    u32 front = 0, back = 0;
    for (u64 i = 0; i < 50; ++i) {
        Random random(1, i);
        front += lights.sample({0, 0, 0}, random).color.isBlack() ? 0 : 1;
        back += lights.sample({0, 0, -6}, random).color.isBlack() ? 0 : 1;
    }
    EXPECT_EQ(front, 50U);
    EXPECT_EQ(back, 0U);
}

TEST(LightSet, DensityOfAMeshPoint_IsThatOfItsSample) {
    const RenderScene scene = sceneOf(glowing);
    const LightSet lights(scene);
    for (u64 i = 0; i < 20; ++i) {
        Random random(2, i);
        const LightSample sample = lights.sample({0.2F, 0, 1}, random);
        const Vec3 point = Vec3{0.2F, 0, 1} + sample.direction * sample.distance;
        const u32 triangle = point.x > point.y ? 0 : 1;
        const float pdf = lights.pdfOf(scene.instances[0], 0, triangle, {0.2F, 0, 1}, point);
        EXPECT_NEAR(pdf, sample.pdf, 1e-3F * pdf);
    }
}

TEST(LightSet, LightWithoutShadows_IsMetByTheCameraAlone) {
    const RenderScene scene = sceneOf("node skyLight \"l\" {\n    Bool castShadows = false\n}\n");
    const LightSet lights(scene);
    Random random(1, 1);
    EXPECT_TRUE(lights.sample({}, random).isOnlySampled);
    EXPECT_EQ(metBy(lights, {{}, {0, 0, 1}}).count, 0U);
    EXPECT_EQ(metBy(lights, {{}, {0, 0, 1}}, true).count, 1U);
}

TEST(LightSet, SpotWithARadius_IsNotSeenFromOutsideItsCone) {
    const RenderScene scene = sceneOf(extended[1].text);
    const LightSet lights(scene);
    EXPECT_EQ(metBy(lights, {{}, {0, 0, 1}}, true).count, 1U);
    EXPECT_EQ(metBy(lights, {{0, 0, 10}, {0, 0, -1}}, true).count, 0U);
    EXPECT_EQ(metBy(lights, {{5, 0, 5}, {-1, 0, 0}}, true).count, 0U);
}

TEST(LightSet, LightsAtInfinity_AreMetByRaysWithoutEndAlone) {
    const RenderScene scene = sceneOf("node skyLight \"l\" {\n}\n");
    const LightSet lights(scene);
    Ray ray{{}, {0, 0, 1}};
    EXPECT_EQ(metBy(lights, ray).count, 1U);
    ray.far = 1e6F;
    EXPECT_EQ(metBy(lights, ray).count, 0U);
}

TEST(LightSet, VeryManyLights_TakeTimeThatHardlyGrows) {
    RenderScene scene;
    for (u32 i = 0; i < 200000; ++i) {
        Light light;
        light.color = gray(1);
        light.radius = i % 2 == 0 ? 0.1F : 0.0F;
        light.place.origin = {static_cast<float>(i % 500), static_cast<float>(i / 500), 0};
        scene.lights.push_back(light);
    }
    const auto start = std::chrono::steady_clock::now();
    const LightSet lights(scene);
    float sum = 0.0F;
    for (u64 i = 0; i < 100000; ++i) {
        Random random(1, i);
        sum += lights.sample({1, 2, 9}, random).pdf;
    }
    EXPECT_GT(sum, 0.0F);
    // A walk through all lights for each sample would take minutes.
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
              10.0);
}

} // namespace
} // namespace qv::render::impl
