#include "kelvo/sdk/snapshot_paths.h"

#include "kelvo/sdk/node_path.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

std::string textOf(const ds::Vector<SnapshotNode>& path) {
    std::string text;
    for (const SnapshotNode& node : path)
        text += (text.empty() ? "" : "/") + std::string(node.name().view());
    return text;
}

std::vector<std::string> all(const SnapshotPaths& paths) {
    std::vector<std::string> found;
    for (; !paths.current().empty(); paths.next())
        found.push_back(textOf(paths.current()));
    return found;
}

std::vector<std::string> all(const NodePaths& paths) {
    std::vector<std::string> found;
    for (; paths.current(); paths.next())
        found.emplace_back(paths.current()->text().view());
    return found;
}

class SnapshotPathsTest : public testing::Test {
protected:
    Node make(const char* name, const char* type = "xform") {
        const Node node = m_scene.createNode(type, name);
        node.createArray("children", AttrType::Node);
        return node;
    }
    void link(const char* parent, const char* child) {
        m_scene[parent]["children"].append().set(m_scene[child]);
    }
    Scene m_scene = Scene::create();
};

TEST_F(SnapshotPathsTest, Paths_ComeDepthFirst) {
    for (const char* name : {"top", "left", "right", "end"})
        make(name);
    for (const char* side : {"left", "right"}) {
        link("top", side);
        link(side, "end");
    }
    const Snapshot scene = m_scene.snapshot();
    const SnapshotPaths paths(scene["top"], scene["end"]);
    EXPECT_EQ(paths.count(), 2u);
    EXPECT_TRUE(paths.isCountExact());
    EXPECT_EQ(all(paths), (std::vector<std::string>{"top/left/end", "top/right/end"}));
    EXPECT_FALSE(paths.next());
}

TEST_F(SnapshotPathsTest, Types_AreGoals) {
    make("top");
    make("lamp", "light");
    make("desk", "mesh");
    link("top", "desk");
    link("top", "lamp");
    const Snapshot scene = m_scene.snapshot();
    EXPECT_EQ(all(SnapshotPaths(scene["top"], StringVector{"light"})),
              std::vector<std::string>{"top/lamp"});
    EXPECT_EQ(all(SnapshotPaths(scene["top"], StringVector())).size(), 2u);
}

TEST_F(SnapshotPathsTest, EmptyOnes_HaveNoPaths) {
    make("a");
    const Snapshot scene = m_scene.snapshot();
    for (const SnapshotPaths& paths :
         {SnapshotPaths(), SnapshotPaths(SnapshotNode(), scene["a"]),
          SnapshotPaths(scene["a"], SnapshotNode()), SnapshotPaths(scene["a"], scene["a"])}) {
        EXPECT_TRUE(paths.current().empty());
        EXPECT_FALSE(paths.next());
        EXPECT_EQ(paths.count(), 0u);
        EXPECT_TRUE(paths.isCountExact());
    }
}

TEST_F(SnapshotPathsTest, RandomGraphs_HaveThePathsOfTheScene) {
    std::mt19937 random(3);
    constexpr u64 count = 9;
    for (u64 i = 0; i < count; ++i) {
        const Node node = make("n", i % 2 == 0 ? "xform" : "light");
        node.createOutput("out", AttrType::Real);
        node.createInput("other", AttrType::Node);
        node.createInput("in", AttrType::Real);
    }
    for (int round = 0; round < 60; ++round) {
        const Node some = m_scene.node(random() % count), other = m_scene.node(random() % count);
        some["children"].append().set(m_scene.node(random() % count));
        some["other"].set(other);
        static_cast<void>(other["in"].connect(some.output("out")));
        if (round % 6 != 0) continue;
        const Snapshot scene = m_scene.snapshot();
        const SnapshotNode from = scene[some.name()], to = scene[other.name()];
        for (const bool allLinks : {false, true}) {
            const SnapshotPaths paths(from, to, allLinks);
            EXPECT_EQ(paths.count(), some.pathsTo(other, allLinks).count());
            EXPECT_EQ(all(paths), all(some.pathsTo(other, allLinks)));
            EXPECT_EQ(all(SnapshotPaths(from, StringVector{"light"}, allLinks)),
                      all(some.paths(StringVector{"light"}, allLinks)));
        }
    }
}

} // namespace
} // namespace qv::kelvo_sdk
