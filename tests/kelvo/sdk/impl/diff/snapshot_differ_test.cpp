#include "kelvo/sdk/scene_diff.h"

#include "kelvo/sdk/snapshot_reader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

Snapshot read(const std::string& text) {
    return readSnapshot(text, "a.kns").snapshot;
}

Scene live(const std::string& text) {
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.read(String(std::string_view(text)), "a.kns"));
    return scene;
}

void expectSame(const std::string& before, const std::string& after) {
    const auto expected = SceneDiff::between(live(before), live(after));
    const auto found = SceneDiff::between(read(before), read(after));
    EXPECT_EQ(found.changes(), expected.changes()) << before << after;
    EXPECT_EQ(found.message(), expected.message());
}

// Nodes that link to each other by chance, in any order, some with comments.
std::string someScene(std::mt19937& random) {
    std::vector<std::string> names{"a", "b", "c", "d", "e", "f"};
    for (std::size_t i = names.size(); --i > 0;)
        std::swap(names[i], names[random() % (i + 1)]);
    names.resize(4);
    std::string text = "kelvo scene 1\n";
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (random() % 4 == 0) text += "\n# note\n";
        text += "\nnode t \"" + names[i] + "\" {\n    Real size = " + std::to_string(random() % 3) +
                "\n    Real other = 1\n    Int i = 2\n";
        if (random() % 2 == 0) text += "    Node link = " + names[random() % names.size()] + "\n";
        if (i > 0 && random() % 3 == 0) text += "    Real p = 1 <- " + names[0] + ".o\n";
        text += "    output Real o\n}\n";
    }
    return text;
}

TEST(SnapshotDiffer, RandomScenes_DifferAsLiveOnes) {
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        const std::string before = someScene(random);
        expectSame(before, someScene(random));
    }
}

TEST(SnapshotDiffer, EqualTextThatNamesARenamedNode_IsAChange) {
    const std::string head = "kelvo scene 1\n";
    const std::string a = "\nnode t \"a\" {\n    Real x = 1\n    Real y = 2\n}\n";
    const std::string reader = "\nnode u \"r\" {\n    Node link = a\n}\n";
    const std::string b = "\nnode t \"b\" {\n    Real x = 1\n    Real y = 2\n}\n";
    const std::string other = "\nnode v \"a\" {\n}\n";
    expectSame(head + reader + a, head + reader + b + other);
}

TEST(SnapshotDiffer, NestingThatCannotBeCompared_IsAnErrorInEqualNodes) {
    const Scene scene = Scene::create();
    scene.createNode("t", "first");
    Input inner = scene.createNode("t", "deep").createInput("o", AttrType::Object);
    for (int i = 0; i < 300; ++i)
        inner = inner.createInput("o", AttrType::Object);
    const auto diff = SceneDiff::between(scene.snapshot(), scene.snapshot());
    EXPECT_FALSE(diff.result());
    EXPECT_EQ(diff.message(), SceneDiff::between(scene, scene).message());
}

TEST(SnapshotDiffer, EmptySnapshot_IsAnEmptyScene) {
    const Snapshot one = read("kelvo scene 1\n\nnode t \"a\" {\n}\n");
    EXPECT_TRUE(SceneDiff::between(Snapshot(), Snapshot()).isEmpty());
    EXPECT_EQ(SceneDiff::between(Snapshot(), one).changes().size(), 1u);
    EXPECT_EQ(SceneDiff::between(one, Snapshot()).changes().size(), 1u);
}

} // namespace
} // namespace qv::kelvo_sdk
