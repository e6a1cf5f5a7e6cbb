#include "kelvo/sdk/node_path.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

class WorldMatricesTest : public testing::Test {
protected:
    Node make(const char* name, double x, double scale = 1.0) {
        const Node node = m_scene.createNode("xform", name);
        math::Mat4d matrix = math::Mat4d::identity;
        matrix.m[3][0] = x;
        matrix.m[0][0] = scale;
        node.createInput("matrix", AttrType::Mat4).set(matrix);
        node.createArray("children", AttrType::Node);
        return node;
    }
    void put(const char* child, const char* parent) {
        EXPECT_TRUE(m_scene[parent]["children"].append().set(m_scene[child]));
    }
    /// Returns the places along x, in order: "1 2 ".
    static std::string placesOf(const SnapshotNode& node, u64 atMost = 1000) {
        std::string text;
        for (const math::Mat4d& matrix : node.worldMatrices(atMost))
            text += std::to_string(static_cast<int>(matrix.m[3][0])) + " ";
        return text;
    }
    Scene m_scene = Scene::create();
};

TEST_F(WorldMatricesTest, WorldMatrix_OfANodeInAChain_IsThatOfTheLivePath) {
    make("room", 0.1, 3.0);
    make("desk", 0.7, 1.7);
    make("lamp", 1.3, 0.3);
    put("desk", "room");
    put("lamp", "desk");
    const math::Mat4d live = m_scene["room"].pathsTo(m_scene["lamp"]).current()->matrix();
    EXPECT_TRUE(m_scene.snapshot()["lamp"].worldMatrix() == live);
}

TEST_F(WorldMatricesTest, WorldMatrix_WithoutParentAndMatrix_IsTheIdentity) {
    m_scene.createNode("thing", "a").createInput("matrix", AttrType::Real).set(3.0);
    EXPECT_TRUE(m_scene.snapshot()["a"].worldMatrix() == math::Mat4d::identity);
    EXPECT_TRUE(SnapshotNode().worldMatrix() == math::Mat4d::identity);
    EXPECT_TRUE(SnapshotNode().worldMatrices().empty());
}

TEST_F(WorldMatricesTest, WorldMatrices_OfASharedChild_AreOneForEachWay) {
    make("left", 100);
    make("right", 200);
    make("desk", 10);
    make("lamp", 1);
    put("desk", "left");
    put("desk", "right");
    put("lamp", "desk");
    put("lamp", "right");
    EXPECT_EQ(placesOf(m_scene.snapshot()["lamp"]), "201 111 211 ");
}

TEST_F(WorldMatricesTest, WorldMatrices_FirstOfThem_IsTheWorldMatrix) {
    for (const char* name : {"left", "right", "lamp"})
        make(name, name[0]);
    put("lamp", "right");
    put("lamp", "left");
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_TRUE(snapshot["lamp"].worldMatrix() == snapshot["lamp"].worldMatrices(1)[0]);
    EXPECT_EQ(snapshot["lamp"].worldMatrix().m[3][0], 'l' + 'l');
}

TEST_F(WorldMatricesTest, WorldMatrices_OfExponentiallyManyWays_AreLimited) {
    std::string below = "n0";
    make("n0", 1);
    for (int i = 1; i < 60; ++i) {
        const std::string name = "n" + std::to_string(i), twin = "t" + std::to_string(i);
        make(name.c_str(), 1);
        make(twin.c_str(), 1);
        put(below.c_str(), name.c_str());
        put(below.c_str(), twin.c_str());
        put(twin.c_str(), name.c_str());
        below = name;
    }
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["n0"].worldMatrices(50).size(), 50u);
    EXPECT_EQ(snapshot["n0"].worldMatrices(0).size(), 0u);
}

TEST_F(WorldMatricesTest, WorldMatrices_OfACycle_EndBeforeTheNodeItself) {
    make("a", 1);
    make("b", 10);
    put("a", "b");
    put("b", "a");
    put("a", "a");
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(placesOf(snapshot["a"]), "11 ");
    EXPECT_EQ(placesOf(snapshot["b"]), "11 ");
}

TEST_F(WorldMatricesTest, WorldMatrix_OfADeepHierarchy_NeedsNoRecursion) {
    make("n0", 1);
    for (int i = 1; i < 20000; ++i) {
        const Node node = make("n", 1);
        EXPECT_TRUE(m_scene.node(static_cast<u64>(i) - 1)["children"].append().set(node));
    }
    EXPECT_EQ(m_scene.snapshot().node(19999).worldMatrix().m[3][0], 20000.0);
}

TEST_F(WorldMatricesTest, WorldMatrix_OfAnEarlierSnapshot_DoesNotChange) {
    make("room", 5);
    make("lamp", 1);
    put("lamp", "room");
    const Snapshot before = m_scene.snapshot();
    m_scene["room"]["matrix"].set(math::Mat4d::identity);
    EXPECT_EQ(m_scene.snapshot()["lamp"].worldMatrix().m[3][0], 1.0);
    EXPECT_EQ(before["lamp"].worldMatrix().m[3][0], 6.0);
}

} // namespace
} // namespace qv::kelvo_sdk
