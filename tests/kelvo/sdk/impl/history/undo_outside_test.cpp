// A removed node that a handle keeps alive is edited without a record: undo continues with the
// changes that still fit.
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

TEST(UndoOutside, InputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    node.createInput("q", AttrType::Real);
    scene.removeNode(node);
    node.removeInput("q");
    while (scene.undo()) {
    }
    while (scene.redo()) {
    }
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, RenamedInputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    const Input input = node.createInput("q", AttrType::Real);
    EXPECT_TRUE(input.rename("r"));
    scene.removeNode(node);
    node.removeInput("r");
    EXPECT_TRUE(scene.undo() && scene.undo());
    EXPECT_EQ(input.name(), "r");
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, NameTakenAndGivenUpWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    const Input object = node.createInput("object", AttrType::Object);
    const Input input = object.createInput("q", AttrType::Real);
    EXPECT_TRUE(input.rename("r"));
    scene.removeNode(node);
    EXPECT_TRUE(object.createInput("q", AttrType::Int));
    EXPECT_TRUE(scene.undo() && scene.undo());
    EXPECT_EQ(input.name(), "r");
    while (scene.undo()) {
    }
    object->removeInput("q");
    while (scene.redoCount() > 1)
        scene.redo();
    EXPECT_EQ(input.name(), "r");
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, ElementAddedWhileTheNodeIsOut_FollowsThoseThatComeBack) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    const Input list = node.createArray("list", AttrType::Int);
    for (const int value : {1, 2})
        list.append().set(value);
    list->clearInputs();
    scene.removeNode(node);
    list.append().set(3);
    EXPECT_TRUE(scene.undo() && scene.undo());
    ASSERT_EQ(list.inputCount(), 3u);
    for (const int value : {1, 2, 3})
        EXPECT_EQ(list.input(u64(value) - 1).get<i64>(), value);
}

TEST(UndoOutside, OutputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    node.createOutput("q", AttrType::Real);
    scene.removeNode(node);
    node->removeOutput("q");
    while (scene.undo()) {
    }
    while (scene.redo()) {
    }
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, ConnectedOutputRemovedWhileTheNodeIsOut) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    const Input input = scene.createNode("t", "y").createInput("in", AttrType::Real);
    input->connect(node->createOutput("q", AttrType::Real));
    scene.removeNode(node);
    node->removeOutput("q");
    scene.undo();
    EXPECT_EQ(input->source(), nullptr);
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, InputConnectedWhileTheOutputIsOut_StandsBehindThoseThatComeBack) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node node = scene.createNode("t", "x");
    const Node reader = scene.createNode("t", "y");
    const Output output = node.createOutput("out", AttrType::Real);
    const Input first = reader.createInput("a", AttrType::Real);
    const Input second = reader.createInput("b", AttrType::Real);
    for (const Input& input : {first, second})
        EXPECT_TRUE(input.connect(output));
    for (const bool isNodeOut : {true, false}) {
        EXPECT_TRUE(isNodeOut ? scene.removeNode(node) : node.removeOutput("out"));
        const Input free = Input::create(AttrType::Real);
        EXPECT_TRUE(free.connect(output));
        EXPECT_TRUE(scene.undo());
        ASSERT_EQ(output->targetCount(), 3u);
        EXPECT_EQ(output->target(0), first.get());
        EXPECT_EQ(output->target(1), second.get());
        EXPECT_EQ(output->target(2), free.get());
    }
}

// ---- Nodes that were never in a scene ----------------------------------------------------------
// Only a record keeps the node alive that a restored connection or link refers to.

// Creates a free node with an output "o".
RefersTo<impl::Node> makeStray() {
    auto stray = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "thing", "stray"));
    stray->createOutput("o", AttrType::Real);
    return stray;
}

class UndoStray : public testing::Test {
protected:
    UndoStray() {
        m_scene.setUndoEnabled(true);
        m_reader = m_scene.createNode("t", "reader");
        m_input = m_reader.createInput("in", AttrType::Real);
        m_input->connect(m_stray->output(u64(0)));
    }
    // After the edit, only the history keeps the node of the source alive.
    void expectBack() {
        m_stray = {};
        EXPECT_TRUE(m_scene.undo());
        const Node reader = m_scene["reader"];
        ASSERT_NE(reader["in"]->source(), nullptr);
        EXPECT_EQ(reader["in"]->source()->path(), "stray.o");
        EXPECT_TRUE(m_scene.verify().empty());
    }

    RefersTo<impl::Node> m_stray = makeStray();
    Scene m_scene = Scene::create();
    Node m_reader;
    Input m_input;
};

TEST_F(UndoStray, InputRemoved_ComesBackConnected) {
    m_reader.removeInput("in");
    expectBack();
}

TEST_F(UndoStray, Disconnected_IsConnectedAgain) {
    m_input.disconnect();
    expectBack();
}

TEST_F(UndoStray, ReaderRemoved_ComesBackConnected) {
    m_scene.removeNode(m_reader);
    expectBack();
}

TEST_F(UndoStray, ReaderConverted_ComesBackConnected) {
    m_reader.convertTo("u");
    m_scene["reader"]["in"].disconnect();
    m_stray = {};
    EXPECT_TRUE(m_scene.undo());
    expectBack();
}

TEST_F(UndoStray, LinkThatWasCleared_ComesBack) {
    const Input link = m_reader.createInput("l", AttrType::Node);
    link->setNode(m_stray.get());
    m_input.disconnect();
    const u64 before = m_reader.hash();
    link.set(Node());
    m_stray = {};
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(link.asNode(false, nullptr).name(), "stray");
    EXPECT_EQ(m_reader.hash(), before);
    EXPECT_TRUE(m_scene.redo() && m_scene.undo());
    EXPECT_EQ(link.asNode(false, nullptr).name(), "stray");
}

TEST_F(UndoStray, LinkKeptAside_ComesBack) {
    const Input link = m_reader.createInput("l", AttrType::Node);
    link->setNode(m_stray.get());
    impl::Input& own = *impl::implOf(link.get());
    own.stash();
    EXPECT_TRUE(m_scene.undo());
    m_stray = {};
    ASSERT_EQ(link.asNode(false, nullptr).name(), "stray");
    EXPECT_TRUE(m_scene.redo());
    ASSERT_NE(own.stashed(), nullptr);
    EXPECT_EQ(own.stashed()->asNode()->name(), "stray");
}

TEST(UndoOutside, NodeThatWasRead_LeavesWithoutItsLinks) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    scene.createNode("t", "y");
    ASSERT_TRUE(scene.read("node t \"x\" {\n    Node link = y\n}\n", "x.kns"));
    const Input link = scene["x"]["link"];
    ASSERT_EQ(link.asNode(false, nullptr).name(), "y");
    EXPECT_TRUE(scene.undo());
    EXPECT_FALSE(link.asNode(false, nullptr));
    EXPECT_TRUE(scene.redo());
    EXPECT_EQ(link.asNode(false, nullptr).name(), "y");
}

TEST_F(UndoStray, LinkOfARemovedOrConvertedNode_ComesBack) {
    for (const bool isConverted : {false, true}) {
        auto stray = makeStray();
        const Node node = m_scene.createNode("t", "n");
        node.createInput("l", AttrType::Node)->setNode(stray.get());
        if (isConverted)
            node.convertTo("u").removeInput("l");
        else
            m_scene.removeNode(node);
        stray = {};
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(m_scene.undo() && (!isConverted || m_scene.undo()));
            EXPECT_EQ(m_scene["n"]["l"].asNode(false, nullptr).name(), "stray") << isConverted;
            EXPECT_TRUE(m_scene.redo() && (!isConverted || m_scene.redo()));
        }
        EXPECT_TRUE(m_scene.undo() && (!isConverted || m_scene.undo()));
        m_scene.removeNode(m_scene["n"]);
    }
}

TEST_F(UndoStray, LinkMadeWhileTheNodeWasOut_ComesBack) {
    auto stray = makeStray();
    const Node node = m_scene.createNode("t", "n");
    EXPECT_TRUE(m_scene.undo());
    EXPECT_TRUE(node.createInput("l", AttrType::Node)->setNode(stray.get()));
    EXPECT_TRUE(m_scene.redo() && m_scene.undo());
    stray = {};
    EXPECT_TRUE(m_scene.redo());
    EXPECT_EQ(node["l"].asNode(false, nullptr).name(), "stray");
}

TEST(UndoOutside, InputRemovedFromTheNodeThatWasConverted) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node before = scene.createNode("t", "x");
    const Scene::UndoScope scope(scene, "do", "undo");
    before.createInput("q", AttrType::Real);
    before.convertTo("u");
    before.removeInput("q");
    scope.cancel();
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, NodeThatWasConvertedAndJoinedAnotherScene_StaysThere) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Node before = scene.createNode("t", "x");
    before.convertTo("u");
    const Scene other = Scene::create();
    static_cast<impl::Scene&>(*other.get()).addNode(static_cast<impl::Node*>(before.get()));
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(scene["x"].type(), "u");
    EXPECT_EQ(before->scene(), other.get());
    EXPECT_TRUE(scene.verify().empty());
    EXPECT_TRUE(other.verify().empty());
}

TEST(UndoOutside, NodeThatWasRemovedAndAddedInOneStep_ComesBackToItsPlace) {
    const Scene scene = Scene::create();
    const Node node = scene.createNode("t", "x");
    scene.createNode("t", "y");
    scene.setUndoEnabled(true);
    {
        const Scene::UndoScope scope(scene, "do", "undo");
        scene.removeNode(node);
        static_cast<impl::Scene&>(*scene.get()).addNode(static_cast<impl::Node*>(node.get()));
    }
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(scene.undo());
        EXPECT_EQ(scene.node(0), node);
        EXPECT_TRUE(scene.redo());
        EXPECT_EQ(scene.node(1), node);
        EXPECT_TRUE(scene.verify().empty());
    }
}

TEST(UndoOutside, NodeThatWasConvertedAndAddedInOneStep_ComesBackToItsPlace) {
    const Scene scene = Scene::create();
    const Node node = scene.createNode("t", "x");
    scene.setUndoEnabled(true);
    {
        const Scene::UndoScope scope(scene, "do", "undo");
        node.convertTo("u");
        scene.renameNode(scene["x"], "y");
        static_cast<impl::Scene&>(*scene.get()).addNode(static_cast<impl::Node*>(node.get()));
    }
    EXPECT_EQ(scene.nodeCount(), 2u);
    EXPECT_TRUE(scene.undo());
    EXPECT_EQ(scene.nodeCount(), 1u);
    EXPECT_EQ(scene["x"], node);
    EXPECT_TRUE(scene.verify().empty());
}

TEST(UndoOutside, SourceOnANodeThatTheStepAloneHolds_ComesBack) {
    const Scene scene = Scene::create();
    scene.setUndoEnabled(true);
    const Input input = scene.createNode("t", "x").createInput("in", AttrType::Real);
    const auto first = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "t", "first"));
    auto second = RefersTo<impl::Node>::adopt(new impl::Node(nullptr, "t", "second"));
    input->connect(first->createOutput("out", AttrType::Real));
    input->connect(second->createOutput("out", AttrType::Real));
    scene.undo();
    second.reset();
    EXPECT_TRUE(scene.redo());
    ASSERT_TRUE(input.source());
    EXPECT_EQ(input.source().path(), "second.out");
}

} // namespace
} // namespace qv::kelvo_sdk
