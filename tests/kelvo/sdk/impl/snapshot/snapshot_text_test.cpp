#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"
#include "tests/support/library_text.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_edits.h"
#include "tests/support/random_scene.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

// Snapshots that are read into scenes again.

namespace qv::kelvo_sdk {
namespace {

// Says text and hashes of a scene.
std::string portrait(const Scene& scene) {
    std::string text(scene.text().view());
    for (const Node& node : scene.nodes())
        text += std::to_string(node.hash()) + "\n";
    return text;
}

Scene copyOf(const Snapshot& snapshot, const Scene& from) {
    const Scene made = Scene::create();
    for (u64 i = 0; i < from.libraryCount(); ++i)
        EXPECT_TRUE(made.addLibrary(from.library(i)));
    EXPECT_TRUE(made.read(snapshot));
    return made;
}

TEST(SnapshotText, ReadIntoANewScene_GivesTheSameTextAndHashes) {
    tests::RandomScene random(3);
    for (int i = 0; i < 200; ++i) {
        random.edit();
        const Scene scene = Scene::create();
        const std::string text = random.text();
        ASSERT_TRUE(scene.read(String(std::string_view(text)), "text"));
        ASSERT_EQ(portrait(copyOf(scene.snapshot(), scene)), portrait(scene)) << text;
    }
}

TEST(SnapshotText, ReadAfterRandomEdits_GivesTheSameText) {
    tests::LogCapture log;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const Scene scene = Scene::create();
        tests::RandomEdits edits(scene);
        for (int step = 0; step < 60; ++step)
            edits.run({static_cast<unsigned>(random()), static_cast<unsigned>(random()),
                       static_cast<unsigned>(random()), static_cast<unsigned>(random())});
        ASSERT_EQ(copyOf(scene.snapshot(), scene).text(), scene.text()) << seed;
    }
}

TEST(SnapshotText, ReadIntoAFullScene_NumbersNamesAndIsOneStep) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    ASSERT_TRUE(scene.read("node t \"a\" {\n    Node n = a\n}\n", "text"));
    const String before = scene.text();
    ASSERT_TRUE(scene.read(scene.snapshot()));
    EXPECT_EQ(scene.nodeCount(), 2U);
    EXPECT_EQ(scene.node(1)["n"].get<String>(), scene.node(1).name());
    scene.undo();
    EXPECT_EQ(scene.text(), before);
}

TEST(SnapshotText, ReadWithALibrary_GivesTheSameText) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(
        scene.addLibrary(LibInfo(tests::libraryOf("type lamp {\n    Real power = 5\n}\n").get())));
    ASSERT_TRUE(
        scene.read("node lamp \"a\" {\n}\nnode lamp \"b\" {\n    Real power = 6\n}\n", "t"));
    EXPECT_EQ(portrait(copyOf(scene.snapshot(), scene)), portrait(scene));
}

TEST(SnapshotText, ReadWithoutTheLibrary_LosesNothing) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.addLibrary(LibInfo(
        tests::libraryOf("type light {\n    Real angle = 1 @max 2\n    output Real o\n}\n"
                         "type lamp : light @internal {\n    Real power = 5\n    Object p {\n"
                         "        Int q = 1\n    }\n}\n")
            .get())));
    ASSERT_TRUE(scene.read(
        "node lamp \"a\" {\n}\nnode lamp \"b\" {\n    Real power = 6 <- a.o\n}\n", "text"));
    const Scene made = Scene::create();
    ASSERT_TRUE(made.read(scene.snapshot()));
    for (const char* name : {"a", "b"}) {
        EXPECT_EQ(made[name].hash(), scene[name].hash());
        EXPECT_EQ(made[name].inputCount(), 3U);
        EXPECT_EQ(made[name].bases(), scene[name].bases());
        EXPECT_TRUE(made[name].isInternal());
    }
}

TEST(SnapshotText, ReadWithGaps_KeepsThem) {
    const Scene scene = Scene::create();
    Diagnostics gaps;
    const char* const text = "node t \"a\" {\n    Reel x = 1\n    Node n = gone\n}\nnude\n";
    ASSERT_TRUE(scene.read(text, "text", {.isPartial = true}, &gaps).isRead);
    EXPECT_EQ(copyOf(scene.snapshot(), scene).text(), scene.text());
}

TEST(SnapshotText, ReadWithGapsAndWithoutNodes_KeepsThem) {
    const Scene scene = Scene::create();
    Diagnostics gaps;
    ASSERT_TRUE(scene.read("nude\nnode t \"a\" {\n}\n", "text", {.isPartial = true}, &gaps).isRead);
    ASSERT_TRUE(scene.removeNode(scene["a"]));
    EXPECT_EQ(copyOf(scene.snapshot(), scene).text(), String("kelvo scene 1\n\nnude\n"));
}

// The second node may have the address of the first.
TEST(SnapshotText, GapBeforeANodeThatWasReplaced_StandsBeforeTheNewOne) {
    for (int round = 0; round < 20; ++round) {
        const Scene scene = Scene::create();
        const char* const text = "nude\nnode t \"a\" {\n}\n";
        Diagnostics gaps;
        ASSERT_TRUE(scene.read(text, "text", {.isPartial = true}, &gaps).isRead);
        const Snapshot before = scene.snapshot();
        ASSERT_TRUE(scene.removeNode(scene["a"]));
        ASSERT_TRUE(scene.read(text, "text", {.isPartial = true}, &gaps).isRead);
        ASSERT_TRUE(scene.renameNode(scene["a"], "b"));
        scene.createNode("t", "c");
        ASSERT_EQ(scene.snapshot().text(), scene.text());
    }
}

} // namespace
} // namespace qv::kelvo_sdk
