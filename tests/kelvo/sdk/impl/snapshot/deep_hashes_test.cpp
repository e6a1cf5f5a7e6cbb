#include "kelvo/sdk/impl/snapshot/deep_hashes.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_edits.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

class DeepHashesTest : public testing::Test {
protected:
    static Node make(const Scene& scene, const std::string& name, const char* type = "thing") {
        const Node node = scene.createNode(type, name.c_str());
        node.createInput("x", AttrType::Real);
        node.createInput("link", AttrType::Node);
        static_cast<void>(node.createOutput("o", AttrType::Real));
        static_cast<void>(node.createOutput("p", AttrType::Real));
        return node;
    }
    void make(std::initializer_list<const char*> names) {
        for (const char* name : names)
            make(m_scene, name);
    }
    void link(const char* from, const char* to) { m_scene[from]["link"].set(m_scene[to]); }
    /// Returns the nodes whose hash an edit changes: "a b ".
    template<typename Edit>
    std::string changedBy(const Edit& edit) {
        const Snapshot before = m_scene.snapshot();
        static_cast<void>(before.hash());
        edit();
        const Snapshot after = m_scene.snapshot();
        std::string text;
        for (const SnapshotNode& node : before.nodes())
            if (after.nodeWithNumber(node.number()).deepHash() != node.deepHash())
                text += std::string(node.name().view()) + " ";
        return text;
    }
    Scene m_scene = Scene::create();
};

TEST_F(DeepHashesTest, Change_ReachesTheNodesThatDependOnIt) {
    make({"a", "b", "c", "d"});
    link("b", "a");
    m_scene["c"]["x"].connect(m_scene["b"].output("o"));
    EXPECT_EQ(changedBy([&] { m_scene["a"]["x"].set(1.0); }), "a b c ");
    EXPECT_EQ(changedBy([&] { m_scene["b"]["x"].set(1.0); }), "b c ");
    EXPECT_EQ(changedBy([&] { m_scene["d"]["x"].set(1.0); }), "d ");
    EXPECT_EQ(changedBy([&] { m_scene["a"].rename("e"); }), "a b c ");
    EXPECT_EQ(changedBy([&] { m_scene["c"]["x"].connect(m_scene["b"].output("p")); }), "c ");
    EXPECT_EQ(changedBy([&] { link("b", "d"); }), "b c ");
    EXPECT_EQ(changedBy([&] { impl::implOf(m_scene["d"].get())->setBases({"e"}, false, false); }),
              "b c d ");
    EXPECT_EQ(changedBy([&] { m_scene.removeNode(m_scene["d"]); }), "b c d ");
}

TEST_F(DeepHashesTest, Marks_DoNotCount) {
    make({"a"});
    const Input list = m_scene["a"].createArray("list", AttrType::Real);
    for (int i = 0; i < 3; ++i)
        list.append().set(0.5 * i);
    EXPECT_EQ(changedBy([&] { impl::implOf(m_scene["a"]["x"].get())->setReadOnly(true); }), "");
    EXPECT_EQ(changedBy([&] { impl::implOf(list.input(1).get())->setReadOnly(true); }), "");
    EXPECT_EQ(changedBy([&] { list.input(2).set(7.0); }), "a ");
    EXPECT_EQ(changedBy([&] { list.append(); }), "a ");
}

TEST_F(DeepHashesTest, ChangeInACycle_ReachesAllOfTheCycle) {
    make({"a", "b", "c", "d", "e"});
    link("a", "b");
    link("b", "c");
    link("c", "a");
    m_scene["d"]["x"].connect(m_scene["b"].output("o"));
    link("e", "e");
    EXPECT_EQ(changedBy([&] { m_scene["c"]["x"].set(1.0); }), "a b c d ");
    EXPECT_EQ(changedBy([&] { m_scene["e"]["x"].set(1.0); }), "e ");
    EXPECT_EQ(changedBy([&] { link("c", "b"); }), "a b c d ");
    EXPECT_EQ(changedBy([&] { link("c", "d"); }), "a b c d ");
}

TEST_F(DeepHashesTest, EqualContent_OfTwoScenesInAnyOrder_HasEqualHashes) {
    const Scene other = Scene::create();
    make(other, "unused");
    for (const char* name : {"c", "b", "a", "d"})
        make(other, name);
    make({"a", "b", "c", "d"});
    for (const Scene& scene : {m_scene, other}) {
        scene["a"]["link"].set(scene["b"]);
        scene["b"]["link"].set(scene["c"]);
        scene["c"]["link"].set(scene["a"]);
        scene["d"]["x"].connect(scene["a"].output("p"));
    }
    other.removeNode(other["unused"]);
    const Snapshot first = m_scene.snapshot(), second = other.snapshot();
    for (const SnapshotNode& node : first.nodes())
        EXPECT_EQ(node.deepHash(), second[node.name()].deepHash()) << node.name().buf();
    EXPECT_EQ(first.hash(), second.hash());
}

TEST_F(DeepHashesTest, ManyNodes_HaveTheSameHashesOnAnyNumberOfThreads) {
    const Scene other = Scene::create();
    for (const Scene& scene : {m_scene, other})
        for (u64 i = 0; i < 10000; ++i) {
            const Node node = scene.createNode("thing", ("n" + std::to_string(i)).c_str());
            node.createInput("x", AttrType::Real).set(i);
            node.createInput("next", AttrType::Node).set(scene.node(i / 2));
        }
    const Snapshot one = m_scene.snapshot({.threads = 1, .values = SnapshotValues::AsSet});
    const Snapshot four = other.snapshot({.threads = 4, .values = SnapshotValues::AsSet});
    EXPECT_EQ(one.hash(), four.hash());
    u64 different = 0;
    for (u64 i = 0; i < one.nodeCount(); ++i)
        different += one.node(i).deepHash() != four.node(i).deepHash();
    EXPECT_EQ(different, 0u);
}

TEST_F(DeepHashesTest, OtherContent_HasOtherHashes) {
    const auto hashOf = [](const auto& edit) {
        const Scene scene = Scene::create();
        edit(make(scene, "n"));
        return scene.snapshot()["n"].deepHash();
    };
    const u64 plain = hashOf([](const Node&) {});
    EXPECT_EQ(hashOf([](const Node& node) { node["x"].set(0.0); }), plain);
    EXPECT_NE(hashOf([](const Node& node) { node["x"].set(-0.0); }), plain);
    EXPECT_NE(hashOf([](const Node& node) { node["x"].rename("y"); }), plain);
    EXPECT_NE(hashOf([](const Node& node) { node.rename("m"); }), plain);
    EXPECT_NE(hashOf([](const Node& node) { node.createInput("y", AttrType::Null); }), plain);
    EXPECT_NE(hashOf([](const Node& node) { node.createInput("y", AttrType::Real); }),
              hashOf([](const Node& node) { node.createInput("y", AttrType::Int); }));
    EXPECT_NE(hashOf([](const Node& node) { node.createOutput("q", AttrType::Real); }), plain);
    EXPECT_NE(hashOf([](const Node& node) { node["link"].set(node); }), plain);
    const auto hashWith = [&](const StringVector& bases) {
        return hashOf(
            [&](const Node& node) { impl::implOf(node.get())->setBases(bases, false, false); });
    };
    EXPECT_EQ(hashWith({}), plain);
    EXPECT_NE(hashWith({"a"}), plain);
    EXPECT_NE(hashWith({"a"}), hashWith({"a", "b"}));
}

TEST_F(DeepHashesTest, LongChain_NeedsNoRecursion) {
    const Node first = make(m_scene, "n0");
    for (u64 i = 1; i < 20000; ++i)
        make(m_scene, "n")["link"].set(m_scene.node(i - 1));
    const Snapshot before = m_scene.snapshot();
    const u64 hash = before.node(19999).deepHash();
    first["x"].set(1.0);
    EXPECT_NE(m_scene.snapshot().node(19999).deepHash(), hash);
    first["link"].set(m_scene.node(19999));
    EXPECT_NE(m_scene.snapshot().node(10000).deepHash(), before.node(10000).deepHash());
    first["link"].set(Node());
    first["x"].set(0.0);
    EXPECT_EQ(m_scene.snapshot().node(19999).deepHash(), hash);
}

TEST_F(DeepHashesTest, HashOfTheScene_IgnoresTheOrderOfNodes) {
    make({"a", "b"});
    const u64 hash = m_scene.snapshot().hash();
    m_scene.moveNode(m_scene["b"], 0);
    EXPECT_EQ(m_scene.snapshot().hash(), hash);
    make({"c"});
    EXPECT_NE(m_scene.snapshot().hash(), hash);
    m_scene.removeNode(m_scene["c"]);
    EXPECT_EQ(m_scene.snapshot().hash(), hash);
    EXPECT_NE(Scene::create().snapshot().hash(), 0u);
    EXPECT_EQ(Snapshot().hash(), 0u);
}

// Other compilers and machines have to give the same numbers: hashes are stored in files.
TEST_F(DeepHashesTest, Hashes_OfKnownScenes_AreTheKnownOnes) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.read("node thing \"a\" {\n    Real x = 0.5\n    String s = \"words\"\n"
                           "    Array<Int> list = [1, 2, 3]\n    Buffer<Float> b = [1 2 3]\n"
                           "    output Real o\n}\n"
                           "node thing \"b\" {\n    Node link = c\n    Real y = 1 <- a.o\n}\n"
                           "node thing \"c\" {\n    Node link = b\n    Rgba z = (1 0 0 1)\n}\n",
                           "text"));
    const Snapshot snapshot = scene.snapshot();
    EXPECT_EQ(snapshot["a"].deepHash(), 0x8e1fadb852e8740du);
    EXPECT_EQ(snapshot["b"].deepHash(), 0x9abb97bdc7eb0d09u);
    EXPECT_EQ(snapshot["c"].deepHash(), 0xfd136c3932cc31f1u);
    EXPECT_EQ(snapshot["a"].hash(), 0x8f26e662a9578175u);
    EXPECT_EQ(snapshot["b"].hash(), 0x8d9fd863f357a24eu);
    EXPECT_EQ(snapshot.hash(), 0xaea0bee8e3fbb1a9u);
}

TEST_F(DeepHashesTest, Hash_OfBasesAndOfAConnectionInAnObject_IsTheKnownOne) {
    const Scene scene = Scene::create();
    ASSERT_TRUE(scene.read("node thing \"a\" {\n    output Real o\n}\n"
                           "node thing : base, other \"b\" {\n    Object inner {\n"
                           "        Real z = 0 <- a.o\n    }\n}\n",
                           "text"));
    EXPECT_EQ(scene.snapshot()["b"].deepHash(), 0xac8c44f4dd2152afu);
}

// ---- Random edits ------------------------------------------------------------------------------

// Hashes everything anew.
std::vector<u64> freshHashes(const Snapshot& snapshot) {
    const auto* picture = static_cast<const impl::SnapshotPicture*>(snapshot.get());
    impl::DeepHashes fresh;
    const auto table = fresh.make(picture->tables().records, {}, 1);
    std::vector<u64> hashes;
    for (const SnapshotNode& node : snapshot.nodes())
        hashes.push_back(table->of(node.number()));
    hashes.push_back(table->ofAll());
    return hashes;
}

std::vector<u64> hashesOf(const Snapshot& snapshot) {
    std::vector<u64> hashes;
    for (const SnapshotNode& node : snapshot.nodes())
        hashes.push_back(node.deepHash());
    hashes.push_back(snapshot.hash());
    return hashes;
}

void play(unsigned seed, int steps) {
    tests::LogCapture log;
    std::mt19937 random(seed);
    const auto any = [&] { return static_cast<unsigned>(random()); };
    const Scene scene = Scene::create();
    scene.setUndoEnabled(seed % 2 == 0);
    tests::RandomEdits edits(scene);
    std::deque<Snapshot> kept;
    for (int step = 0; step < steps; ++step) {
        edits.run({any(), any(), any(), any()});
        if (any() % 3 == 0) kept.push_back(scene.snapshot());
        if (kept.empty() || any() % 3 != 0) continue;
        const std::size_t which = any() % kept.size();
        const Snapshot snapshot = kept[which];
        ASSERT_EQ(hashesOf(snapshot), freshHashes(snapshot)) << "seed " << seed << ", " << step;
        if (any() % 2 == 0) kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(which));
    }
}

TEST_F(DeepHashesTest, RandomEdits_AskedInAnyOrder_GiveTheHashesOfAFreshStart) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        play(seed, 250);
        if (HasFatalFailure()) return;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
