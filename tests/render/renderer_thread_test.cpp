#include "render/renderer.h"

#include "kelvo/sdk/scene.h"
#include "tests/render/render_scene_text.h"

#include <atomic>
#include <optional>
#include <thread>

namespace qv::render {
namespace {

using kelvo_sdk::Scene;

// Lights of all kinds, textures, glass and cloth, so that all tables are made while threads run.
std::string studio() {
    return tests::ball("    Real clearcoat = 0.5\n    Rgba sheenColor = (1 1 1 1)\n"
                       "    Real transmission = 0.5\n    Real thickness = 1\n"
                       "    Node baseColorTexture = dots\n") +
           tests::square + tests::flatCamera + R"(
node texture "dots" {
    UInt width = 2
    UInt height = 1
    Buffer<Rgba8> pixels = [(255 0 0 255) (0 255 0 255)]
}
node skyLight "sky" {
    Real intensity = 0.2
}
node light "lamp" {
    Pos3 position = (2 3 4)
    Real intensity = 30
}
node areaLight "panel" {
}
)";
}

RenderSettings fourThreads() {
    RenderSettings settings;
    settings.width = settings.height = 32;
    settings.threads = 4;
    return settings;
}

TEST(RendererThreads, StoppedAndUpdatedRenderer_GivesThePictureOfANewOne) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.read(studio().c_str(), "scene.kns"));
    Renderer renderer(scene.snapshot(), fourThreads());
    RenderLimit limit;
    for (u32 round = 0; round < 4; ++round) {
        std::stop_source stop;
        limit.samples = 1000000;
        std::atomic<bool> hasBegun = false;
        const std::jthread stopper([&] {
            while (!hasBegun)
                std::this_thread::yield();
            stop.request_stop();
        });
        EXPECT_TRUE(renderer.render(
            limit, [&](double) { hasBegun = true; }, stop.get_token()));
        ASSERT_TRUE(scene["lamp"]["intensity"].set(10.0 + round));
        renderer.update(scene.snapshot());
    }
    limit.samples = 2;
    EXPECT_TRUE(renderer.render(limit));
    Renderer fresh(scene.snapshot(), fourThreads());
    EXPECT_TRUE(fresh.render(limit));
    EXPECT_EQ(renderer.picture(), fresh.picture());
}

TEST(RendererThreads, UpdatesThatAreStoppedAtAnyMoment_GiveThePictureOfANewRenderer) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.read(studio().c_str(), "scene.kns"));
    std::optional<Renderer> renderer;
    for (u32 round = 0; round < 12; ++round) {
        std::stop_source stop;
        const std::jthread stopper([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(500 * round));
            stop.request_stop();
        });
        ASSERT_TRUE(scene["m"]["thickness"].set(1.0 + round));
        if (renderer)
            renderer->update(scene.snapshot(), stop.get_token());
        else
            renderer.emplace(scene.snapshot(), fourThreads(), stop.get_token());
    }
    RenderLimit limit;
    limit.samples = 2;
    EXPECT_TRUE(renderer->render(limit));
    Renderer fresh(scene.snapshot(), fourThreads());
    EXPECT_TRUE(fresh.render(limit));
    EXPECT_EQ(renderer->picture(), fresh.picture());
}

TEST(RendererThreads, TwoRenderers_RenderOneSnapshotAtOnce) {
    const auto snapshot = tests::snapshotOf(studio());
    Picture pictures[2];
    {
        std::vector<std::jthread> threads;
        for (Picture& picture : pictures)
            threads.emplace_back([&] {
                Renderer renderer(snapshot, fourThreads());
                RenderLimit limit;
                limit.samples = 2;
                EXPECT_TRUE(renderer.render(limit));
                picture = renderer.picture();
            });
    }
    EXPECT_FALSE(pictures[0].color.empty());
    EXPECT_EQ(pictures[0], pictures[1]);
}

} // namespace
} // namespace qv::render
