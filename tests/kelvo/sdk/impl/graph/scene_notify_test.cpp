#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/value/attr_data.h"
#include "kelvo/sdk/interfaces/i_input.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

// Records its notifications, one word each.
class Recorder : public SceneObserver {
public:
    void inputAdded(const IInput* input) override { note("+", input->path()); }
    void inputRemoved(const IInput* input) override { note("-", input->path()); }
    void outputAdded(const IOutput* output) override { note("+>", output->path()); }
    void outputRemoved(const IOutput* output) override { note("->", output->path()); }
    void inputChanged(const IInput* input, const AttrData* previous) override {
        note("=", input->path());
        before = previous->value;
    }
    void inputConnected(const IInput* input, const IOutput*, const IOutput*) override {
        note("~", input->path());
    }

    std::string heard;
    Value before;

private:
    void note(const char* what, const String& path) {
        heard += std::string(what) + path.buf() + " ";
    }
};

class SceneNotify : public testing::Test {
protected:
    SceneNotify() { m_scene->subscribe(&m_recorder); }
    ~SceneNotify() override { m_scene->unsubscribe(&m_recorder); }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    INode* m_node = m_scene->createNode("thing", "n");
    Recorder m_recorder;
};

TEST_F(SceneNotify, EveryKindOfChange_IsPassedOn) {
    IInput* input = m_node->createInput("in", AttrType::Real);
    m_node->createOutput("out", AttrType::Real);
    input->setReal(1);
    input->connect(m_scene->createNode("op", "op")->createOutput("o", AttrType::Real));
    m_node->removeInput(String("in"));
    m_node->removeOutput(String("out"));
    EXPECT_EQ(m_recorder.heard, "+n.in +>n.out =n.in +>op.o ~n.in -n.in ->n.out ");
}

TEST_F(SceneNotify, ElementsAndMembers_AreAddedAndRemovedToo) {
    IInput* array = m_node->createArray("arr", AttrType::Int);
    array->appendElement()->setInt(4);
    array->removeLastInput();
    EXPECT_EQ(m_recorder.heard, "+n.arr +n.arr[0] =n.arr[0] -n.arr[0] ");
}

TEST_F(SceneNotify, Change_CarriesTheValueBefore) {
    IInput* input = m_node->createInput("in", AttrType::Real);
    input->setReal(1);
    input->setReal(2);
    EXPECT_EQ(m_recorder.before, Value(1.0));
}

TEST_F(SceneNotify, EqualValue_IsNotNotified) {
    IInput* input = m_node->createInput("in", AttrType::Real);
    input->setReal(5);
    m_recorder.heard.clear();
    m_node->setDirty(false);
    EXPECT_TRUE(input->setReal(5));
    EXPECT_EQ(m_recorder.heard, "");
    EXPECT_FALSE(m_node->dirty(false));
}

TEST_F(SceneNotify, SilentInputs_AreAddedAndRemovedWithoutNotification) {
    AttrData data(AttrType::Array);
    data.elementType = AttrType::Int;
    data.silent = true;
    static_cast<Node*>(m_node)->createInput("quiet", data)->appendElement();
    m_node->removeInput(String("quiet"));
    EXPECT_EQ(m_recorder.heard, "");
}

TEST_F(SceneNotify, EveryChange_MakesTheSceneDirty) {
    m_scene->setDirty(false);
    IInput* input = m_node->createInput("in", AttrType::Real);
    EXPECT_TRUE(m_scene->isDirty());
    m_scene->setDirty(false);
    input->setReal(5);
    EXPECT_TRUE(m_scene->isDirty());
}

TEST_F(SceneNotify, SilentMember_LeavesTheSceneCleanWithAndWithoutObservers) {
    IInput* object = m_node->createInput("object", AttrType::Object);
    AttrData data(AttrType::Int);
    data.silent = true;
    for (const char* name : {"observed", "unobserved"}) {
        m_scene->setDirty(false);
        static_cast<Input*>(object)->createInput(name, data);
        EXPECT_FALSE(m_scene->isDirty()) << name;
        m_scene->unsubscribe(&m_recorder);
    }
}

TEST_F(SceneNotify, SilentInputs_MakeTheirNodeDirtyAlone) {
    m_scene->unsubscribe(&m_recorder);
    m_scene->setDirty(false);
    m_node->setDirty(false);
    AttrData data(AttrType::Real);
    data.silent = true;
    static_cast<Node*>(m_node)->createInput("quiet", data);
    EXPECT_TRUE(m_node->dirty(false));
    EXPECT_FALSE(m_scene->isDirty());
}

TEST_F(SceneNotify, SubscribingTwice_IsRefused) {
    EXPECT_FALSE(m_scene->subscribe(&m_recorder));
    EXPECT_TRUE(m_scene->unsubscribe(&m_recorder));
    EXPECT_FALSE(m_scene->unsubscribe(&m_recorder));
    EXPECT_TRUE(m_scene->subscribe(&m_recorder));
}

// Unsubscribes another observer during a notification.
class Silencer : public SceneObserver {
public:
    Silencer(Scene& scene, SceneObserver& victim) : m_scene(scene), m_victim(victim) {}
    void inputAdded(const IInput*) override { m_scene.unsubscribe(&m_victim); }

private:
    Scene& m_scene;
    SceneObserver& m_victim;
};

TEST_F(SceneNotify, ObserverThatUnsubscribedMeanwhile_IsNotNotified) {
    Recorder later;
    Silencer silencer(*m_scene, later);
    m_scene->subscribe(&silencer);
    m_scene->subscribe(&later);
    m_node->createInput("in", AttrType::Real);
    m_scene->unsubscribe(&silencer);
    EXPECT_EQ(later.heard, "");
}

TEST_F(SceneNotify, Undo_IsOff) {
    EXPECT_FALSE(m_scene->undoEnabled());
    EXPECT_FALSE(m_scene->undoInProgress());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
