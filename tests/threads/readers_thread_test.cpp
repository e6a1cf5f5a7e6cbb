// Several threads may read one scene that nobody edits, and use different scenes in any way, as
// docs/threads.md says.

#include "kelvo/kelvo.h"
#include "kelvo/sdk/validation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

constexpr const char* text = R"(kelvo scene 1

node xform "room" {
    Array<Node> children = [lamp, desk]
}
node pointLight "lamp" {
    Real intensity = 1 <- power.result
    Real radius = 0.5
}
node mix "power" {
    Real b = 40
}
node mesh "desk" {
    Buffer<Pos3f> positions = [(0 0 0) (1 0 0) (1 1 0)]
}
)";

Scene makeScene() {
    Scene scene = Scene::create();
    scene.addLibrary(LibInfo::standard());
    EXPECT_TRUE(scene.read(text, "room.kns"));
    return scene;
}

// Runs `action` many times on several threads that start together; it returns whether all is well.
void onManyThreads(const std::function<bool()>& action) {
    constexpr int kThreads = 4;
    std::atomic<int> ready = 0;
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (++ready; ready < kThreads;)
                std::this_thread::yield();
            for (int k = 0; k < 50; ++k)
                failures += action() ? 0 : 1;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

TEST(SceneThreads, StoredValues_AreReadByMany) {
    const Scene scene = makeScene();
    onManyThreads([&] {
        const Node lamp = scene["lamp"];
        return lamp["radius"].get<double>() == 0.5 &&
               lamp["intensity"].asString(false, nullptr) == String("1") &&
               scene["desk"]["positions"].buffer<math::PosT<3, float>>().size() == 3 &&
               scene["room"].inputAt("children[1]").asNode(false, nullptr).name() == String("desk");
    });
}

TEST(SceneThreads, NodesAndPaths_AreSearchedByMany) {
    const Scene scene = makeScene();
    onManyThreads([&] {
        const Node room = scene["room"];
        return room.children(-1).size() == 2 && room.dependencies().size() == 3 &&
               room.firstPathTo(scene["power"], true) && room->findInput("room.children[0]");
    });
}

// Nobody walked this one before, so that all threads find out at once where the nodes lead.
TEST(SceneThreads, FreshScene_IsWalkedByMany) {
    constexpr u64 kCount = 300;
    const Scene scene = Scene::create();
    for (u64 i = 0; i < kCount; ++i)
        scene.createNode("xform", "n").createArray("children", AttrType::Node);
    for (u64 i = 0; i + 1 < kCount; ++i)
        scene.node(i)["children"].append().set(scene.node(i + 1));
    const Node first = scene.node(0), last = scene.node(kCount - 1);
    onManyThreads([&] {
        return first.children(-1).size() == kCount - 1 &&
               first.dependencies().size() == kCount - 1 && last.dependencies().empty() &&
               first.firstPathTo(last, true)->nodeCount() == kCount;
    });
}

TEST(SceneThreads, PathsTypesAndValues_AreFoundByMany) {
    const Scene scene = makeScene();
    onManyThreads([&] {
        return scene.find("*.intensity").size() == 1 &&
               scene.find({.type = "emitter"}).size() == 1 &&
               scene.find({.pattern = "*.b", .value = ">=40"}).size() == 1;
    });
}

TEST(SceneThreads, Text_IsWrittenByMany) {
    const Scene scene = makeScene();
    const String expected = scene.text();
    onManyThreads([&] { return scene.text() == expected; });
}

TEST(SceneThreads, HashesAndDirtyFlags_AreReadByMany) {
    const Scene scene = makeScene();
    const Node power = scene["power"];
    for (const bool isCached : {false, true}) {
        scene.setDirtyStateCached(isCached);
        onManyThreads([&] { return power.hash() != 0 && power.dirty() && scene["room"].dirty(); });
    }
}

TEST(SceneThreads, AScene_IsCheckedByMany) {
    const Scene scene = makeScene();
    onManyThreads([&] { return validate(scene).empty() && scene.verify().empty(); });
}

TEST(SceneThreads, DifferentScenes_AreEditedAndEvaluatedAtATime) {
    onManyThreads([] {
        const Scene scene = makeScene();
        const Input intensity = scene["lamp"]["intensity"];
        return intensity.get<double>() == 20 && scene["power"]["amount"].set(0.1) &&
               intensity.get<double>() == 4 && scene.removeNode(scene["power"]) &&
               intensity.get<double>() == 1;
    });
}

} // namespace
} // namespace qv::kelvo_sdk
