// An observer edits while a step is undone: older steps, recorded without that edit, are undone and
// redone as far as they fit.
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace qv::kelvo_sdk {
namespace {

class UndoInside : public testing::Test, SceneObserver {
protected:
    UndoInside() { m_scene.setUndoEnabled(true); }
    // Undoes a step, during which the observer calls a function of the test.
    void undoAnd(std::function<void()> then) {
        m_then = std::move(then);
        m_scene.subscribe(static_cast<SceneObserver*>(this));
        EXPECT_TRUE(m_scene.undo());
        m_scene.unsubscribe(static_cast<SceneObserver*>(this));
        EXPECT_FALSE(m_then);
    }
    // Undoes all remaining steps, redoes them and undoes them again.
    void expectSoundBothWays() {
        const std::string here = tests::textOf(m_scene);
        const u64 left = m_scene.undoCount();
        for (const bool isToUndo : {true, false, true, false}) {
            for (u64 i = 0; i < left; ++i) {
                EXPECT_TRUE(isToUndo ? m_scene.undo() : m_scene.redo());
                EXPECT_TRUE(m_scene.verify().empty()) << m_scene.verify()[0].message.buf();
            }
            if (!isToUndo) {
                EXPECT_EQ(tests::textOf(m_scene), here);
            }
        }
    }
    void expectRedoneIs(const std::string& text) {
        while (m_scene.redo())
            EXPECT_TRUE(m_scene.verify().empty());
        EXPECT_EQ(tests::textOf(m_scene), text);
    }
    void makeThreeNodes() {
        for (const char* name : {"a", "b", "c"})
            m_scene.createNode("t", name);
        m_scene["b"].createInput("r", AttrType::Real);
    }
    void inputChanged(const interfaces::IInput*, const impl::AttrData*) override { act(); }
    void nodeRemoved(interfaces::INode*) override { act(); }
    // Undoes an edit of a node, while its output is removed; returns the text before.
    std::string undoAndRemoveOutput() {
        const Node node = m_scene.createNode("t", "a");
        node.createInput("r", AttrType::Real);
        node.createOutput("o", AttrType::Real);
        node["r"].set(1.0);
        const std::string last = tests::textOf(m_scene);
        undoAnd([&] { node->removeOutput("o"); });
        return last;
    }
    void act() {
        if (const auto now = std::exchange(m_then, nullptr)) now();
    }

    Scene m_scene = Scene::create();
    std::function<void()> m_then;
};

TEST_F(UndoInside, OutputRemoved_IsNotThereForItsCreation) {
    const std::string last = undoAndRemoveOutput();
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, NodeConverted_IsNotThereForItsCreation) {
    const i64 alive = impl_nodeInstanceCount();
    m_scene.createNode("t", "a").createInput("r", AttrType::Real);
    m_scene["a"]["r"].set(1.0);
    const std::string last = tests::textOf(m_scene);
    undoAnd([this] { m_scene["a"].convertTo("u"); });
    expectSoundBothWays();
    expectRedoneIs(last);
    m_scene = Scene();
    EXPECT_EQ(impl_nodeInstanceCount(), alive);
}

TEST_F(UndoInside, NodeCreated_MayHaveTheNameOfOneThatComesBack) {
    m_scene.createNode("t", "a");
    m_scene.removeNode(m_scene["a"]);
    m_scene.createNode("t", "b");
    const std::string last = tests::textOf(m_scene);
    undoAnd([this] { m_scene.createNode("u", "a"); });
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(m_scene.nodeCount(), 2u);
    const Node back = m_scene["a1"];
    EXPECT_EQ(back.type(), "t");
    EXPECT_TRUE(m_scene.redo());
    EXPECT_EQ(back.name(), "a");
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, NodeCreated_MayHaveTheNameOfOneThatIsRenamedBack) {
    m_scene.createNode("t", "a");
    m_scene.renameNode(m_scene["a"], "b");
    m_scene.createNode("t", "c");
    const std::string last = tests::textOf(m_scene);
    undoAnd([this] { m_scene.createNode("u", "a"); });
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, NodeRemoved_LeavesTheOrderOfTheOthers) {
    for (const char* name : {"a", "b", "c"})
        m_scene.createNode("t", name);
    m_scene.moveNode(m_scene["a"], 2);
    m_scene["a"].createInput("r", AttrType::Real);
    m_scene["a"]["r"].set(1.0);
    const std::string last = tests::textOf(m_scene);
    undoAnd([this] { m_scene.removeNode(m_scene["c"]); });
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, NodeRemoved_LeavesNoPlaceAtTheEndToMoveBackTo) {
    makeThreeNodes();
    m_scene.moveNode(m_scene["c"], 0);
    m_scene["b"]["r"].set(1.0);
    const std::string last = tests::textOf(m_scene);
    undoAnd([this] { m_scene.removeNode(m_scene["a"]); });
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(m_scene.node(0).name(), "c");
    expectSoundBothWays();
    expectRedoneIs(last);
}

struct MoveCounter : SceneObserver {
    void nodeMoved(interfaces::INode* /*node*/, u64 /*from*/) override { ++count; }
    int count = 0;
};

TEST_F(UndoInside, MoveThatWasPassedOver_IsPassedOverWhenItIsRedone) {
    MoveCounter moves;
    makeThreeNodes();
    m_scene.moveNode(m_scene["c"], 0);
    m_scene["b"]["r"].set(1.0);
    undoAnd([this] { m_scene.removeNode(m_scene["a"]); });
    m_scene.subscribe(&moves);
    EXPECT_TRUE(m_scene.undo() && m_scene.redo());
    EXPECT_EQ(moves.count, 0);
    m_scene.unsubscribe(&moves);
}

TEST_F(UndoInside, NodeRemoved_IsNotMovedBack) {
    makeThreeNodes();
    m_scene.moveNode(m_scene["a"], 2);
    m_scene["b"]["r"].set(1.0);
    const std::string last = tests::textOf(m_scene);
    undoAnd([this] { m_scene.removeNode(m_scene["a"]); });
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, MemberCreated_MayHaveTheNameOfOneThatIsRenamedBack) {
    const Node node = m_scene.createNode("t", "a");
    const Input object = node.createInput("o", AttrType::Object);
    object.createInput("p", AttrType::Real).rename("q");
    object["q"].set(1.0);
    const std::string last = tests::textOf(m_scene);
    undoAnd([&] { object.createInput("p", AttrType::Int); });
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(object.input(0).name(), "q");
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, InputRemoved_IsNotThereForItsCreation) {
    const Node node = m_scene.createNode("t", "a");
    for (const char* name : {"o", "r"})
        node.createInput(name, AttrType::Real);
    node["o"].set(1.0);
    const std::string last = tests::textOf(m_scene);
    undoAnd([&] { node.removeInput("r"); });
    expectSoundBothWays();
    expectRedoneIs(last);
}

TEST_F(UndoInside, OutputRemoved_IsThereOnceWhenAllIsRedone) {
    const std::string last = undoAndRemoveOutput();
    EXPECT_TRUE(m_scene.undo());
    expectRedoneIs(last);
}

} // namespace
} // namespace qv::kelvo_sdk
