#include "kelvo/sdk/impl/eval/dirty_cache.h"

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_output.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

// A scene of nodes "n0", "n1", ..., each with an input, a link and an output; all are clean.
class DirtyCacheTest : public ::testing::Test {
protected:
    DirtyCacheTest() {
        for (int i = 0; i < 6; ++i)
            addNode();
        cleanAll();
    }

    Node& addNode() {
        auto* node = static_cast<Node*>(m_scene->createNode("thing", "n0"));
        node->createInput("value", AttrType::Int);
        node->createInput("from", AttrType::Int);
        node->createInput("link", AttrType::Node);
        node->createOutput("out", AttrType::Int);
        return *node;
    }
    Node& node(u64 index) { return *static_cast<Node*>(m_scene->node(index)); }
    // Makes node `reader` depend on node `source`.
    void connect(u64 reader, u64 source) {
        ASSERT_TRUE(node(reader).input("from")->connect(node(source).output("out")));
    }
    void link(u64 reader, u64 target) {
        ASSERT_TRUE(node(reader).input("link")->setNode(&node(target)));
    }
    void touch(u64 index) { node(index).input("value")->setInt(++m_value); }
    void cleanAll() {
        for (u64 i = 0; i < m_scene.nodeCount(); ++i)
            node(i).setDirty(false);
    }
    // Returns the flags in order: "*" for a dirty node, "." for a clean one.
    std::string flags() {
        std::string text;
        for (u64 i = 0; i < m_scene.nodeCount(); ++i)
            text += node(i).dirty(true) ? '*' : '.';
        return text;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    i64 m_value = 0;
};

TEST_F(DirtyCacheTest, Off_AtTheStart) {
    EXPECT_FALSE(static_cast<Scene&>(*m_scene.get()).isDirtyStateCached());
    m_scene.setDirtyStateCached(true);
    EXPECT_TRUE(static_cast<Scene&>(*m_scene.get()).isDirtyStateCached());
    m_scene.setDirtyStateCached(false);
    EXPECT_FALSE(static_cast<Scene&>(*m_scene.get()).isDirtyStateCached());
}

TEST_F(DirtyCacheTest, SwitchedOn_FindsDependentsOfDirtyNodes) {
    connect(1, 0);
    link(2, 1);
    cleanAll();
    node(0).setDirty(true);
    m_scene.setDirtyStateCached(true);
    EXPECT_EQ(flags(), "***...");
}

TEST_F(DirtyCacheTest, Change_DirtiesAllDependents) {
    m_scene.setDirtyStateCached(true);
    connect(1, 0);
    link(2, 1);
    link(4, 3);
    cleanAll();
    touch(0);
    EXPECT_EQ(flags(), "***...");
}

TEST_F(DirtyCacheTest, Change_OfTheLastNode_DirtiesItAlone) {
    m_scene.setDirtyStateCached(true);
    connect(1, 0);
    link(2, 1);
    cleanAll();
    touch(2);
    EXPECT_EQ(flags(), "..*...");
}

TEST_F(DirtyCacheTest, Flags_AreTrueBeforeAnyNotificationOfTheChange) {
    struct Asker : SceneObserver {
        Node* reader = nullptr;
        bool heard = false;
        void inputChanged(const IInput*, const AttrData*) override { heard = reader->dirty(true); }
    } asker;
    m_scene.setDirtyStateCached(true);
    connect(1, 0);
    cleanAll();
    asker.reader = &node(1);
    m_scene.subscribe(&asker);
    touch(0);
    m_scene.unsubscribe(&asker);
    EXPECT_TRUE(asker.heard);
}

TEST_F(DirtyCacheTest, Links_CountAtAnyDepth) {
    m_scene.setDirtyStateCached(true);
    IInput* object = node(1).createInput("object", AttrType::Object);
    object->createArray("list", AttrType::Node)->appendElement()->setNode(&node(0));
    cleanAll();
    touch(0);
    EXPECT_EQ(flags(), "**....");
}

TEST_F(DirtyCacheTest, Cycle_Ends) {
    m_scene.setDirtyStateCached(true);
    link(0, 1);
    link(1, 2);
    link(2, 0);
    cleanAll();
    touch(1);
    EXPECT_EQ(flags(), "***...");
}

TEST_F(DirtyCacheTest, EndedLink_NoLongerCarries) {
    m_scene.setDirtyStateCached(true);
    link(1, 0);
    node(1).input("link")->setNode(nullptr);
    cleanAll();
    touch(0);
    EXPECT_EQ(flags(), "*.....");
}

TEST_F(DirtyCacheTest, CleanedBeforeItsSource_IsDirtyAgainWithTheNextChange) {
    m_scene.setDirtyStateCached(true);
    connect(1, 0);
    link(2, 1);
    cleanAll();
    touch(0);
    node(2).setDirty(false);
    EXPECT_EQ(flags(), "**....");
    touch(0);
    EXPECT_EQ(flags(), "***...");
}

TEST_F(DirtyCacheTest, CleanedBackToFront_AllAreClean) {
    m_scene.setDirtyStateCached(true);
    connect(1, 0);
    link(2, 1);
    touch(0);
    for (const u64 i : {u64{2}, u64{1}, u64{0}, u64{3}, u64{4}, u64{5}})
        node(i).setDirty(false);
    touch(4);
    EXPECT_EQ(flags(), "....*.");
}

TEST_F(DirtyCacheTest, CleanedEarlyAndRemoved_IsForgotten) {
    m_scene.setDirtyStateCached(true);
    connect(1, 0);
    touch(0);
    node(1).setDirty(false);
    m_scene.removeNode(kelvo_sdk::Node(&node(1)));
    cleanAll();
    touch(0);
    EXPECT_EQ(flags(), "*....");
}

TEST_F(DirtyCacheTest, FreeNode_CleanedEarly_IsNotKept) {
    m_scene.setDirtyStateCached(true);
    node(0).setDirty(true);
    auto* free = new Node(m_scene.get(), "thing", "free");
    free->createInput("link", AttrType::Node)->setNode(&node(0));
    free->setDirty(false);
    free->decRef();
    touch(3);
    EXPECT_EQ(flags(), "*..*..");
}

TEST_F(DirtyCacheTest, NodeAdded_IsDirtyWhenItsLinkedNodeIs) {
    m_scene.setDirtyStateCached(true);
    touch(0);
    auto* added = new Node(m_scene.get(), "thing", "added");
    added->createInput("link", AttrType::Node)->setNode(&node(0));
    added->setDirty(false);
    static_cast<Scene&>(*m_scene.get()).addNode(added);
    added->decRef();
    EXPECT_EQ(flags(), "*.....*");
}

TEST_F(DirtyCacheTest, RemovedNode_DirtiesTheNodesThatLinkedToIt) {
    m_scene.setDirtyStateCached(true);
    link(1, 0);
    link(2, 1);
    cleanAll();
    m_scene.removeNode(kelvo_sdk::Node(&node(0)));
    EXPECT_EQ(flags(), "**...");
}

TEST_F(DirtyCacheTest, SceneRead_IsDirtyAndDirtiesNothingElse) {
    m_scene.setDirtyStateCached(true);
    ASSERT_TRUE(m_scene.read("kelvo scene 1\nnode thing \"a\" {\n    Node link = b\n}\n"
                             "node thing \"b\" {\n}\n",
                             "text"));
    EXPECT_EQ(flags(), "......**");
    cleanAll();
    node(7).setDirty(true);
    EXPECT_EQ(flags(), "......**");
}

TEST_F(DirtyCacheTest, LongChain_OneChangeReachesTheEnd) {
    m_scene.setDirtyStateCached(true);
    constexpr u64 kCount = 20'000;
    while (m_scene.nodeCount() < kCount)
        addNode();
    for (u64 i = 1; i < kCount; ++i)
        connect(i, i - 1);
    cleanAll();
    EXPECT_FALSE(node(kCount - 1).dirty(true));
    touch(0);
    EXPECT_TRUE(node(kCount - 1).dirty(true));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
