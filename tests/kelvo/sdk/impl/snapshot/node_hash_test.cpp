#include "kelvo/sdk/impl/snapshot/node_hash.h"

#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_edits.h"

#include <gtest/gtest.h>

#include <random>

namespace qv::kelvo_sdk {
namespace {

TEST(NodeHashTest, Hash_OfEachKindOfInput_IsThatOfTheLiveNode) {
    const Scene scene = Scene::create();
    const Node other = scene.createNode("thing", "other");
    static_cast<void>(other.createOutput("o", AttrType::Real));
    const Node node = scene.createNode("thing", "node");
    for (u32 kind = 0; kind < attrTypeCount; ++kind)
        static_cast<void>(
            node.createInput(String::format("i%u", kind), static_cast<AttrType>(kind)));
    node.createInput("real", AttrType::Real).set(0.5);
    node.createInput("text", AttrType::String).set(String("words"));
    node.createInput("link", AttrType::Node).set(other);
    node.createInput("source", AttrType::Real).connect(other.output("o"));
    node.createArray("list", AttrType::Node).append().set(other);
    node["list"].append();
    const Input object = node.createInput("object", AttrType::Object);
    object.createInput("inner", AttrType::Object).createInput("x", AttrType::Int).set(i64(3));
    object.createInput("empty", AttrType::Object);
    const Snapshot snapshot = scene.snapshot();
    EXPECT_EQ(snapshot["node"].hash(), node.hash());
    EXPECT_EQ(snapshot["other"].hash(), other.hash());
    EXPECT_EQ(SnapshotNode().hash(), 0u);
}

TEST(NodeHashTest, Hash_OfAPathNode_IsIndependentOfTheDirectory) {
    const Scene scene = Scene::create();
    const Node node = scene.createNode("path", "file");
    node.createInput("dir", AttrType::String).set(String("/a"));
    EXPECT_EQ(scene.snapshot()["file"].hash(), node.hash());
    node["dir"].set(String("/b"));
    EXPECT_EQ(scene.snapshot()["file"].hash(), node.hash());
}

TEST(NodeHashTest, Hash_AfterRandomEdits_IsThatOfTheLiveNode) {
    tests::LogCapture log;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        std::mt19937 random(seed);
        const Scene scene = Scene::create();
        tests::RandomEdits edits(scene);
        for (int step = 0; step < 150; ++step) {
            const auto any = [&] { return static_cast<unsigned>(random()); };
            const tests::RandomEdit edit{any(), any(), any(), any()};
            edits.run(edit);
            const Snapshot snapshot = scene.snapshot();
            for (u64 i = 0; i < scene.nodeCount(); ++i)
                ASSERT_EQ(snapshot.node(i).hash(), scene.node(i).hash())
                    << "seed " << seed << ", step " << step << ", "
                    << tests::RandomEdits::name(edit.kind) << ", " << scene.node(i).name().buf();
        }
    }
}

} // namespace
} // namespace qv::kelvo_sdk
