#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <array>
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

TEST_F(NodeHandle, DisplayName_IsThatOfTheNode) {
    EXPECT_EQ(m_lamp.displayName(), m_lamp->displayName());
    EXPECT_FALSE(m_lamp.displayName().isEmpty());
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

TEST_F(NodeHandle, Scene_IsThatWhichTheNodeBelongsTo) {
    EXPECT_EQ(m_lamp.scene(), m_scene);
    EXPECT_FALSE(m_lamp.copyByItself("free").scene());
}

TEST_F(NodeHandle, Rename_IsThatOfTheScene) {
    EXPECT_TRUE(m_lamp.rename("table"));
    EXPECT_EQ(m_lamp.name(), "table1");
    EXPECT_FALSE(m_lamp.rename("a b"));
    EXPECT_FALSE(m_lamp.copyByItself("free").rename("other"));
}

TEST_F(NodeHandle, Attributes_ComeAsLists) {
    m_lamp.createInput("x", AttrType::Real);
    m_lamp.createOutput("o", AttrType::Real);
    m_lamp.createOutput("p", AttrType::Real);
    const ds::Vector<Input> inputs = m_lamp.inputs();
    ASSERT_EQ(inputs.size(), 2u);
    EXPECT_EQ(inputs[0].name(), "children");
    EXPECT_EQ(inputs[1].name(), "x");
    ASSERT_EQ(m_lamp.outputs().size(), 2u);
    EXPECT_EQ(m_lamp.outputs()[0].path(), "lamp.o");
    EXPECT_EQ(m_lamp.outputs()[1].path(), "lamp.p");
    EXPECT_EQ(names(m_scene.nodes()), "room table lamp ");
}

TEST_F(NodeHandle, HasInputAndHasOutput_AskSilently) {
    m_lamp.createOutput("o", AttrType::Real);
    EXPECT_TRUE(m_lamp.hasInput("Children"));
    EXPECT_FALSE(m_lamp.hasInput("children", AttrType::Real));
    EXPECT_FALSE(m_lamp.hasInput("x"));
    EXPECT_TRUE(m_lamp.hasOutput("O"));
    EXPECT_FALSE(m_lamp.hasOutput("x"));
}

TEST_F(NodeHandle, RemovedAttributes_AreGone) {
    m_lamp.createOutput("o", AttrType::Real);
    EXPECT_TRUE(m_lamp.removeOutput("o"));
    EXPECT_EQ(m_lamp.outputCount(), 0u);
    EXPECT_TRUE(m_lamp.removeInput(u64(0)));
    EXPECT_EQ(m_lamp.inputCount(), 0u);
}

TEST_F(NodeHandle, IndexIn_IsThePlaceAmongTheChildren) {
    m_table.parentTo(m_room);
    m_lamp.parentTo(m_room);
    EXPECT_EQ(m_lamp.indexIn(m_room), 1);
    EXPECT_EQ(m_room.indexIn(m_lamp), -1);
}

TEST_F(NodeHandle, Text_HasTheNodeAndOnRequestWhatItDependsOn) {
    m_table.parentTo(m_room);
    EXPECT_EQ(m_room.text(), m_room->serialize(false, false));
    EXPECT_EQ(m_room.text(true), m_room->serialize(true, false));
    EXPECT_NE(m_room.text(true), m_room.text());
}

TEST_F(NodeHandle, Empty_AnswersNothing) {
    const Node none;
    EXPECT_FALSE(none.scene());
    EXPECT_FALSE(none.rename("x"));
    EXPECT_TRUE(none.inputs().empty());
    EXPECT_TRUE(none.outputs().empty());
    EXPECT_FALSE(none.hasInput("x"));
    EXPECT_FALSE(none.hasOutput("x"));
    EXPECT_FALSE(none.removeInput(u64(0)));
    EXPECT_FALSE(none.removeOutput("x"));
    EXPECT_EQ(none.indexIn(none), -1);
    EXPECT_TRUE(none.text().isEmpty());
    EXPECT_TRUE(Scene().nodes().empty());
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

TEST_F(NodeHandle, Buffers_DeclareTheTypeOfTheirElements) {
    const Input points = m_room.createBuffer("points", DataType::Pos3f);
    EXPECT_EQ(points.typeName(), "Buffer<Pos3f>");
    EXPECT_FALSE(points.setBuffer(std::array{1.0f}));
    EXPECT_EQ(m_room.createBuffer("points", DataType::Pos3f), points);
    const Output result = m_room.createOutput("result", DataType::Float);
    EXPECT_EQ(result.typeName(), "Buffer<Float>");
    EXPECT_EQ(m_room.createOutput("result", DataType::Float), result);
    EXPECT_FALSE(Node().createBuffer("points", DataType::Pos3f));
    EXPECT_FALSE(Node().createOutput("result", DataType::Float));
}

TEST_F(NodeHandle, InputLikeAnother_HasItsKindAndValueAlone) {
    const Input points = m_room.createBuffer("points", DataType::Float);
    points.setBuffer(std::array{1.0f, 2.0f});
    const Input copy = m_table.createInput("more", points);
    EXPECT_EQ(copy.typeName(), "Buffer<Float>");
    EXPECT_EQ(copy.buffer<float>().size(), 2u);
    const Node light = LibInfo::standard().findType("pointLight");
    EXPECT_EQ(m_table.createInput("intensity", light["intensity"]).get<double>(),
              light["intensity"].get<double>());
    EXPECT_FALSE(m_table["intensity"].isDescribed());
    EXPECT_EQ(m_lamp.createInput("list", m_room["children"]).typeName(), "Array<Node>");
    EXPECT_FALSE(m_lamp.createInput("none", Input()));
    EXPECT_FALSE(m_lamp->hasInput("none", AttrType::Null));
}

TEST_F(NodeHandle, CopyByItself_BelongsToNoScene) {
    m_lamp.createInput("power", AttrType::Real).set(3.0);
    const Node copy = m_lamp.copyByItself("spare");
    EXPECT_EQ(copy.name(), "spare");
    EXPECT_EQ(copy.type(), m_lamp.type());
    EXPECT_EQ(copy["power"].get<double>(), 3);
    EXPECT_EQ(copy->scene(), nullptr);
    EXPECT_EQ(m_scene.nodeCount(), 3u);
    copy["power"].set(4.0);
    EXPECT_EQ(m_lamp["power"].get<double>(), 3);
    EXPECT_FALSE(Node().copyByItself("spare"));
}

TEST_F(NodeHandle, Paths_ComeOneByOne) {
    m_table.parentTo(m_room);
    m_lamp.parentTo(m_room);
    m_lamp.parentTo(m_table);
    std::string text;
    for (const NodePaths paths = m_room.pathsTo(m_lamp); paths.current(); paths.next())
        text += std::string(paths.current()->text().buf()) + " ";
    EXPECT_EQ(text, "room/table/lamp room/lamp ");
    const NodePaths all = m_room.paths({"xform"});
    EXPECT_EQ(all.count(), 3u);
    EXPECT_TRUE(all.isCountExact());
    const auto first = all.current();
    EXPECT_TRUE(all.next());
    EXPECT_EQ(first->text(), "room/table");
}

TEST_F(NodeHandle, PathsThatAreNotThere_AreNone) {
    for (const NodePaths& paths : {m_room.pathsTo(m_lamp), m_room.pathsTo(Node()),
                                   Node().pathsTo(m_room), Node().paths(), m_room.paths({"no"})}) {
        EXPECT_FALSE(paths.current());
        EXPECT_FALSE(paths.next());
        EXPECT_EQ(paths.count(), 0u);
        EXPECT_TRUE(paths.isCountExact());
    }
}

} // namespace
} // namespace qv::kelvo_sdk
