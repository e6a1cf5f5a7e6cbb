#include "kelvo/sdk/scene_listener.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qv::kelvo_sdk {
namespace {

// Writes a line for each thing that it is told.
class Journal : public SceneListener {
public:
    void nodeAdded(Node node) override { tell("added " + node.name()); }
    void nodeRemoved(Node node) override { tell("removed " + node.name()); }
    void nodeRenamed(Node node, String oldName) override {
        tell("renamed " + oldName + " to " + node.name());
    }
    void nodeMoved(Node node, u64 from) override {
        tell("moved " + node.name() + String::format(" from %d", static_cast<int>(from)));
    }
    void inputAdded(Input input) override { tell("input " + input.path()); }
    void inputRemoved(Input input) override { tell("no input " + input.name()); }
    void outputAdded(Output output) override { tell("output " + output.path()); }
    void outputRemoved(Output output) override { tell("no output " + output.name()); }
    void inputChanged(Input input, Input previous) override {
        tell(input.path() + ": " + previous.asString() + " to " + input.asString(false));
    }
    void inputConnected(Input input, Output before, Output after) override {
        tell(input.path() + ": '" + before.path() + "' to '" + after.path() + "'");
    }

    String taken() { return std::exchange(m_text, String()); }

private:
    void tell(const String& line) { m_text = m_text + line + "\n"; }

    String m_text;
};

class WatchedScene : public testing::Test {
protected:
    WatchedScene() { EXPECT_TRUE(m_scene.subscribe(&m_journal)); }
    ~WatchedScene() override { EXPECT_TRUE(m_scene.unsubscribe(&m_journal)); }

    Scene m_scene = Scene::create();
    Journal m_journal;
};

TEST_F(WatchedScene, Nodes_AreReportedAsHandles) {
    const Node lamp = m_scene.createNode("light", "lamp");
    const Node desk = m_scene.createNode("mesh", "desk");
    EXPECT_TRUE(m_scene.renameNode(lamp, "sun"));
    EXPECT_TRUE(m_scene.moveNode(desk, 0));
    EXPECT_TRUE(m_scene.removeNode(lamp));
    EXPECT_EQ(m_journal.taken(), "added lamp\nadded desk\nrenamed lamp to sun\n"
                                 "moved desk from 1\nremoved sun\n");
}

TEST_F(WatchedScene, Attributes_AreReportedAsHandles) {
    const Node lamp = m_scene.createNode("light", "lamp");
    lamp.createInput("radius", AttrType::Real);
    lamp.createOutput("power", AttrType::Real);
    EXPECT_TRUE(lamp.removeInput("radius"));
    EXPECT_TRUE(lamp->removeOutput("power"));
    EXPECT_EQ(m_journal.taken(), "added lamp\ninput lamp.radius\noutput lamp.power\n"
                                 "no input radius\nno output power\n");
}

TEST_F(WatchedScene, NewNameOfAnInput_NotOverridden_IsARemovalAndAnAddition) {
    const Input radius = m_scene.createNode("light", "lamp").createInput("radius", AttrType::Real);
    m_journal.taken();
    EXPECT_TRUE(radius.rename("size"));
    EXPECT_EQ(m_journal.taken(), "no input size\ninput lamp.size\n");
}

TEST(SceneListener, ThatOverridesNewNames_IsNotifiedOfThemAlone) {
    struct Listener : SceneListener {
        void inputRenamed(Input input, String before) override {
            text = before + " to " + input.path();
        }
        String text;
    } listener;
    const Scene scene = Scene::create();
    const Input radius = scene.createNode("light", "lamp").createInput("radius", AttrType::Real);
    EXPECT_TRUE(scene.subscribe(&listener));
    EXPECT_TRUE(radius.rename("size"));
    EXPECT_EQ(listener.text, "radius to lamp.size");
    EXPECT_TRUE(scene.unsubscribe(&listener));
}

TEST_F(WatchedScene, Change_IsReportedWithThePreviousValue) {
    const Node lamp = m_scene.createNode("light", "lamp");
    const Input radius = lamp.createInput("radius", AttrType::Real);
    EXPECT_TRUE(radius.set(2));
    m_journal.taken();
    EXPECT_TRUE(radius.set(3));
    EXPECT_EQ(m_journal.taken(), "lamp.radius: 2 to 3\n");
}

TEST_F(WatchedScene, ChangeOfALink_HasThePreviousNode) {
    const Node lamp = m_scene.createNode("light", "lamp");
    const Node desk = m_scene.createNode("mesh", "desk");
    const Input target = lamp.createInput("target", AttrType::Node);
    EXPECT_TRUE(target.set(desk));
    m_journal.taken();
    EXPECT_TRUE(target.set(lamp));
    EXPECT_EQ(m_journal.taken(), "lamp.target: desk to lamp\n");
}

TEST_F(WatchedScene, ChangeOfAnArraysOrder_HasNoPreviousValue) {
    const Input list = m_scene.createNode("thing", "n").createArray("list", AttrType::Int);
    list.append();
    list.append();
    m_journal.taken();
    EXPECT_TRUE(list->moveElement(0, 1));
    EXPECT_EQ(m_journal.taken(), "n.list:  to \n");
}

TEST_F(WatchedScene, Connection_IsReportedWithBothOutputs) {
    const Node lamp = m_scene.createNode("light", "lamp");
    const Node clock = m_scene.createNode("clock", "clock");
    const Input radius = lamp.createInput("radius", AttrType::Real);
    const Output time = clock.createOutput("time", AttrType::Real);
    m_journal.taken();
    EXPECT_TRUE(radius.connect(time));
    EXPECT_TRUE(radius.disconnect());
    EXPECT_EQ(m_journal.taken(), "lamp.radius: '' to 'clock.time'\n"
                                 "lamp.radius: 'clock.time' to ''\n");
}

TEST_F(WatchedScene, Conversion_NotOverridden_IsARemovalAndAnAddition) {
    const Node lamp = m_scene.createNode("light", "lamp");
    m_journal.taken();
    EXPECT_TRUE(lamp.convertTo("sun"));
    EXPECT_EQ(m_journal.taken(), "removed lamp\nadded lamp\n");
}

TEST_F(WatchedScene, SecondSubscription_Fails) {
    EXPECT_EQ(m_scene.subscribe(&m_journal).message(), "The observer is subscribed already.");
    Journal other;
    EXPECT_EQ(m_scene.unsubscribe(&other).message(), "The observer is not subscribed.");
    EXPECT_EQ(m_scene.subscribe(static_cast<SceneListener*>(nullptr)).message(),
              "There is no observer: the pointer is null.");
}

TEST(SceneListener, ThatKeepsItsArguments_KeepsItAlive) {
    struct Keeper : SceneListener {
        void nodeRemoved(Node node) override { kept = node; }
        Node kept;
    } keeper;
    Scene scene = Scene::create();
    EXPECT_TRUE(scene.subscribe(&keeper));
    EXPECT_TRUE(scene.removeNode(scene.createNode("light", "lamp")));
    scene = Scene();
    EXPECT_EQ(keeper.kept.name(), "lamp");
}

TEST(SceneListener, ThatThrows_ReachesTheEditor) {
    struct Thrower : SceneListener {
        void nodeAdded(Node) override { throw std::runtime_error("no"); }
    } thrower;
    const Scene scene = Scene::create();
    EXPECT_TRUE(scene.subscribe(&thrower));
    EXPECT_THROW(scene.createNode("light", "lamp"), std::runtime_error);
    EXPECT_EQ(scene.nodeCount(), 1u);
    EXPECT_TRUE(scene.unsubscribe(&thrower));
}

} // namespace
} // namespace qv::kelvo_sdk
