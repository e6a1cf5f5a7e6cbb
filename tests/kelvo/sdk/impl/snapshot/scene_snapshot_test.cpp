#include "kelvo/sdk/snapshot.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <set>

namespace qv::kelvo_sdk {
namespace {

class SceneSnapshotTest : public testing::Test {
protected:
    Node make(const char* name, const char* type = "thing") {
        return m_scene.createNode(type, name);
    }
    Scene m_scene = Scene::create();
};

TEST_F(SceneSnapshotTest, Snapshot_OfAnEmptyHandle_IsEmpty) {
    const Snapshot none = Scene().snapshot();
    EXPECT_FALSE(none);
    EXPECT_EQ(none.nodeCount(), 0U);
    EXPECT_EQ(none.version(), 0U);
    EXPECT_TRUE(none.node(0).isEmpty());
    EXPECT_TRUE(none["a"].isEmpty());
    EXPECT_TRUE(none.nodeWithNumber(0).isEmpty());
    EXPECT_TRUE(none.nodes().empty());
}

TEST_F(SceneSnapshotTest, Snapshot_OfAnEmptyScene_HasNoNodes) {
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_TRUE(snapshot);
    EXPECT_EQ(snapshot.nodeCount(), 0U);
    EXPECT_EQ(snapshot.version(), 1U);
}

TEST_F(SceneSnapshotTest, Snapshot_AfterEdits_StaysAsItWas) {
    make("a").createInput("x", AttrType::Real).set(1.5);
    const Snapshot before = m_scene.snapshot();
    m_scene["a"]["x"].set(2.5);
    make("b");
    const Snapshot after = m_scene.snapshot();
    EXPECT_EQ(before["a"]["x"].get<double>(), 1.5);
    EXPECT_EQ(before.nodeCount(), 1U);
    EXPECT_EQ(after["a"]["x"].get<double>(), 2.5);
    EXPECT_EQ(after.nodeCount(), 2U);
}

TEST_F(SceneSnapshotTest, Snapshot_AfterItsSceneEnded_IsStillReadable) {
    make("a").createInput("x", AttrType::String).set("text");
    const Snapshot snapshot = m_scene.snapshot();
    m_scene.reset();
    EXPECT_EQ(snapshot["a"]["x"].text(), "text");
}

TEST_F(SceneSnapshotTest, Snapshot_OfOneThreadOrMany_IsTheSame) {
    for (int i = 0; i < 3000; ++i)
        make("n").createInput("x", AttrType::Int).set(i);
    for (const u32 threads : {1U, 3U, 10000U}) {
        Scene scene = m_scene;
        const Snapshot snapshot = scene.snapshot({.threads = threads});
        ASSERT_EQ(snapshot.nodeCount(), 3000U);
        for (u64 i = 0; i < 3000; ++i)
            ASSERT_EQ(snapshot.node(i)["x"].get<int>(), static_cast<int>(i));
    }
}

TEST_F(SceneSnapshotTest, Snapshot_InsideAnOpenEdit_HasTheEditSoFar) {
    m_scene.setUndoEnabled(true);
    make("a");
    Snapshot inside;
    {
        const Scene::UndoScope scope(m_scene, "Edit", "Undo");
        make("b");
        inside = m_scene.snapshot();
        scope.cancel();
    }
    EXPECT_EQ(inside.nodeCount(), 2U);
    EXPECT_EQ(m_scene.snapshot().nodeCount(), 1U);
}

TEST_F(SceneSnapshotTest, Number_AfterRenamingConversionRemovalAndUndo_StaysTheSame) {
    m_scene.setUndoEnabled(true);
    const Node node = make("a");
    const NodeNumber number = m_scene.snapshot()["a"].number();
    node.rename("b");
    node.convertTo("lamp");
    EXPECT_EQ(m_scene.snapshot()["b"].number(), number);
    m_scene.removeNode(m_scene["b"]);
    EXPECT_TRUE(m_scene.snapshot().nodeWithNumber(number).isEmpty());
    m_scene.undo();
    EXPECT_EQ(m_scene.snapshot().nodeWithNumber(number).name(), String("b"));
}

TEST_F(SceneSnapshotTest, Number_WhileASnapshotHasItsNode_IsNotGivenToAnother) {
    make("a");
    Snapshot old = m_scene.snapshot();
    const NodeNumber number = old["a"].number();
    m_scene.removeNode(m_scene["a"]);
    make("b");
    EXPECT_NE(m_scene.snapshot()["b"].number(), number);
    old.reset();
    std::set<NodeNumber> numbers;
    for (const char* name : {"c", "d"})
        make(name);
    const Snapshot now = m_scene.snapshot();
    for (const SnapshotNode& node : now.nodes())
        numbers.insert(node.number());
    EXPECT_TRUE(numbers.contains(number));
}

} // namespace
} // namespace qv::kelvo_sdk
