#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

class SnapshotParentsTest : public testing::Test {
protected:
    Node make(const char* name) {
        const Node node = m_scene.createNode("xform", name);
        node.createArray("children", AttrType::Node);
        return node;
    }
    void put(const char* child, const char* parent) {
        EXPECT_TRUE(m_scene[parent]["children"].append().set(m_scene[child]));
    }
    Scene m_scene = Scene::create();
};

TEST_F(SnapshotParentsTest, Parents_AreInCreationOrderAndEachOnce) {
    for (const char* name : {"lamp", "right", "left"})
        make(name);
    put("lamp", "left");
    put("lamp", "left");
    put("lamp", "right");
    const Snapshot snapshot = m_scene.snapshot();
    const ds::Vector<SnapshotNode> parents = snapshot["lamp"].parents();
    ASSERT_EQ(parents.size(), 2u);
    EXPECT_EQ(parents[0], snapshot["right"]);
    EXPECT_EQ(parents[1], snapshot["left"]);
}

TEST_F(SnapshotParentsTest, Parents_OfANodeThatOthersOnlyLinkTo_AreNone) {
    make("lamp");
    m_scene.createNode("thing", "a")
        .createArray("children", AttrType::Node)
        .append()
        .set(m_scene["lamp"]);
    make("b").createInput("target", AttrType::Node).set(m_scene["lamp"]);
    EXPECT_TRUE(m_scene.snapshot()["lamp"].parents().empty());
}

TEST_F(SnapshotParentsTest, Parents_OfAChildThatWasTakenOut_AreThoseOfEachSnapshot) {
    make("lamp");
    make("room");
    put("lamp", "room");
    const Snapshot before = m_scene.snapshot();
    m_scene["lamp"].unparentFrom(m_scene["room"]);
    EXPECT_TRUE(m_scene.snapshot()["lamp"].parents().empty());
    EXPECT_EQ(before["lamp"].parents().size(), 1u);
}

} // namespace
} // namespace qv::kelvo_sdk
