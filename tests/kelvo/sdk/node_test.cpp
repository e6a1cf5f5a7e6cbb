#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk {
namespace {

class NodeHandle : public ::testing::Test {
protected:
    Node make(const char* name) {
        const Node node = m_scene.createNode("xform", name);
        node.createArray("children", AttrType::Node);
        return node;
    }
    static std::string names(const ds::Vector<Node>& nodes) {
        std::string text;
        for (const Node& node : nodes)
            text += std::string(node.name().buf()) + " ";
        return text;
    }

    Scene m_scene = Scene::create();
    Node m_room = make("room"), m_table = make("table"), m_lamp = make("lamp");
};

TEST_F(NodeHandle, Children_AreTheDirectOnesUnlessADepthIsGiven) {
    ASSERT_TRUE(m_table.parentTo(m_room));
    ASSERT_TRUE(m_lamp.parentTo(m_table));
    EXPECT_EQ(names(m_room.children()), "table ");
    EXPECT_EQ(names(m_room.children(-1)), "table lamp ");
    ASSERT_TRUE(m_lamp.unparentFrom(m_table));
    EXPECT_EQ(names(m_room.children(-1)), "table ");
}

TEST_F(NodeHandle, FirstPathTo_FollowsChildrenOrAllLinks) {
    m_table.parentTo(m_room);
    m_lamp.createInput("stand", AttrType::Node).set(m_table);
    const auto path = m_room.firstPathTo(m_table);
    ASSERT_NE(path.get(), nullptr);
    EXPECT_EQ(path->text(), "room/table");
    EXPECT_EQ(m_lamp.firstPathTo(m_table).get(), nullptr);
    EXPECT_EQ(m_lamp.firstPathTo(m_table, true)->text(), "lamp/table");
}

TEST_F(NodeHandle, Dependencies_AreTheNodesLinkedAndTheirs) {
    m_table.parentTo(m_room);
    m_lamp.createInput("stand", AttrType::Node).set(m_room);
    EXPECT_EQ(names(m_lamp.dependencies()), "room table ");
}

TEST_F(NodeHandle, Dirty_AsksWhatTheNodeDependsOn) {
    m_table.parentTo(m_room);
    m_room.setDirty(false);
    m_table.setDirty(false);
    EXPECT_FALSE(m_room.dirty());
    m_table.setDirty(true);
    EXPECT_TRUE(m_room.dirty());
}

TEST_F(NodeHandle, Hash_IsThatOfTheNode) {
    const u64 before = m_lamp.hash();
    EXPECT_EQ(before, m_lamp->hash({}));
    m_lamp.createInput("radius", AttrType::Real).set(2.0);
    EXPECT_NE(m_lamp.hash(), before);
}

TEST_F(NodeHandle, FilePath_IsThatOfItsThreeInputs) {
    EXPECT_FALSE(m_lamp.isPath());
    for (const char* part : {"dir", "file", "ext"})
        m_lamp.createInput(part, AttrType::String);
    EXPECT_TRUE(m_lamp.isPath());
    EXPECT_TRUE(m_lamp.setPath("textures/wood.png"));
    EXPECT_EQ(m_lamp.asPath(), "textures/wood.png");
}

TEST_F(NodeHandle, Empty_AnswersNothing) {
    const Node none;
    EXPECT_TRUE(none.children().empty());
    EXPECT_TRUE(none.dependencies().empty());
    EXPECT_EQ(none.firstPathTo(m_room).get(), nullptr);
    EXPECT_EQ(m_room.firstPathTo(none).get(), nullptr);
    EXPECT_FALSE(none.parentTo(m_room));
    EXPECT_FALSE(m_room.parentTo(none));
    EXPECT_FALSE(none.unparentFrom(m_room));
    EXPECT_FALSE(none.dirty());
    EXPECT_EQ(none.hash(), 0u);
    EXPECT_FALSE(none.isPath());
    EXPECT_TRUE(none.asPath().isEmpty());
    EXPECT_FALSE(none.setPath("a/b.c"));
}

} // namespace
} // namespace qv::kelvo_sdk
