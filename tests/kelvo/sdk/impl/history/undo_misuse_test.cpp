// Misuse of undo: scenes destroyed while others hold their nodes, edits at the wrong time, limits
// of zero, user data of removed nodes, scenes on several threads.

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using UndoScope = kelvo_sdk::Scene::UndoScope;

class UndoMisuseTest : public testing::Test {
protected:
    UndoMisuseTest() { m_scene.setUndoEnabled(true); }

    double radius() const { return m_radius.get<double>(); }
    void expectNoFaults() const { EXPECT_TRUE(m_scene.verify().empty()); }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_node = m_scene.createNode("thing", "lamp");
    kelvo_sdk::Input m_radius = m_node.createInput("radius", AttrType::Real);
};

// Calls a function of the test.
struct Caller : SceneObserver {
    explicit Caller(kelvo_sdk::Scene observed) : scene(std::move(observed)) {
        scene.subscribe(this);
    }
    ~Caller() override { scene.unsubscribe(this); }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void inputChanged(const IInput*, const AttrData*) override { call(onChanged); }
    void nodeRemoved(INode*) override { call(onRemoved); }
    void nodeAdded(INode*) override { call(onAdded); }
    void call(const std::function<void()>& what) {
        if (isCalling || !what) return;
        isCalling = true;
        what();
        isCalling = false;
    }
    kelvo_sdk::Scene scene;
    std::function<void()> onChanged, onRemoved, onAdded;
    bool isCalling = false;
};

TEST_F(UndoMisuseTest, ScopesInsideEachOther_OutliveTheHandles) {
    const UndoScope outer(m_scene, "a", "b");
    const UndoScope inner(m_scene, "c", "d");
    m_radius.set(1.0);
    m_scene = kelvo_sdk::Scene();
    inner.cancel();
    EXPECT_EQ(radius(), 0);
    m_radius.set(2.0);
    outer.cancel();
    EXPECT_EQ(radius(), 0);
}

TEST_F(UndoMisuseTest, CancelTwice_IsOnce) {
    {
        const UndoScope outer(m_scene, "a", "b");
        m_radius.set(1.0);
        const UndoScope inner(m_scene, "c", "d");
        m_radius.set(2.0);
        inner.cancel();
        inner.cancel();
        EXPECT_EQ(radius(), 1);
    }
    EXPECT_EQ(radius(), 1);
}

TEST_F(UndoMisuseTest, ScopeOfNoScene_IsNothing) {
    const LogCapture log;
    const UndoScope scope(kelvo_sdk::Scene(), "a", "b");
    scope.cancel();
    EXPECT_EQ(log.text(), "");
}

TEST_F(UndoMisuseTest, EmptyHandle_HasNoHistory) {
    const kelvo_sdk::Scene none;
    EXPECT_FALSE(none.undo());
    EXPECT_FALSE(none.returnTo("a"));
    EXPECT_EQ(none.undoStep(0).bytes, 0u);
    EXPECT_TRUE(none.isSaved());
}

TEST_F(UndoMisuseTest, SceneThatEndsWithAHistory_LeavesHeldInputsFree) {
    m_radius.set(1.0);
    m_node.removeInput("radius");
    m_scene.removeNode(m_node);
    m_scene = kelvo_sdk::Scene();
    EXPECT_EQ(m_node->scene(), nullptr);
    EXPECT_TRUE(m_radius.set(2.0));
    EXPECT_EQ(radius(), 2);
}

TEST_F(UndoMisuseTest, SceneThatEndsWithHeldNodes_LetsThemBeEdited) {
    m_radius.set(1.0);
    m_scene = kelvo_sdk::Scene();
    EXPECT_TRUE(m_radius.set(2.0));
    EXPECT_TRUE(m_node.removeInput("radius"));
    EXPECT_EQ(m_node.inputCount(), 0u);
}

TEST_F(UndoMisuseTest, EditFromInsideUndo_IsPartOfTheStep) {
    Caller caller(m_scene);
    m_radius.set(1.0);
    caller.onChanged = [&] { m_scene.createNode("thing", "note"); };
    EXPECT_TRUE(m_scene.undo());
    EXPECT_TRUE(m_scene.findNode("note"));
    caller.onChanged = nullptr;
    EXPECT_TRUE(m_scene.redo());
    EXPECT_FALSE(m_scene.findNode("note"));
    EXPECT_EQ(radius(), 1);
    expectNoFaults();
}

TEST_F(UndoMisuseTest, ScopeFromInsideUndo_CancelsItsOwnEditsAlone) {
    Caller caller(m_scene);
    m_radius.set(1.0);
    caller.onChanged = [&] {
        const UndoScope scope(m_scene, "a", "b");
        m_scene.createNode("thing", "note");
        scope.cancel();
    };
    EXPECT_TRUE(m_scene.undo());
    EXPECT_FALSE(m_scene.findNode("note"));
    EXPECT_EQ(radius(), 0);
    EXPECT_TRUE(m_scene.redo());
    EXPECT_EQ(radius(), 1);
    expectNoFaults();
}

TEST_F(UndoMisuseTest, NodeRemovedWhileItComesBack_IsOutAndTheStepWhole) {
    Caller caller(m_scene);
    m_scene.removeNode(m_node);
    caller.onAdded = [&] { m_scene.removeNode(m_node); };
    EXPECT_TRUE(m_scene.undo());
    EXPECT_FALSE(m_scene.findNode("lamp"));
    caller.onAdded = nullptr;
    EXPECT_TRUE(m_scene.redo());
    EXPECT_FALSE(m_scene.findNode("lamp"));
    EXPECT_TRUE(m_scene.undo());
    EXPECT_FALSE(m_scene.findNode("lamp"));
    EXPECT_EQ(m_node->scene(), nullptr);
    expectNoFaults();
}

TEST_F(UndoMisuseTest, NodeRemovedFromInsideItsOwnChange_ComesBackWithTheChange) {
    Caller caller(m_scene);
    caller.onChanged = [&] { m_scene.removeNode(m_node); };
    const u64 steps = m_scene.undoCount();
    m_radius.set(1.0);
    EXPECT_FALSE(m_scene.findNode("lamp"));
    EXPECT_EQ(m_scene.undoCount(), steps + 1);
    caller.onChanged = nullptr;
    EXPECT_TRUE(m_scene.undo());
    EXPECT_EQ(m_scene.findNode("lamp").get(), m_node.get());
    EXPECT_EQ(radius(), 0);
    expectNoFaults();
}

TEST_F(UndoMisuseTest, LimitsOfZeroInsideAScope_KeepNothingOfItAndCancelStill) {
    {
        const UndoScope scope(m_scene, "a", "b");
        m_radius.set(1.0);
        m_scene.setUndoLimits({0, 0});
        m_radius.set(2.0);
    }
    EXPECT_EQ(m_scene.undoCount(), 0u);
    EXPECT_FALSE(m_scene.isSaved());
    const UndoScope scope(m_scene, "a", "b");
    m_radius.set(3.0);
    scope.cancel();
    EXPECT_EQ(radius(), 2);
}

TEST_F(UndoMisuseTest, CheckpointsWithABoundOfZero_AreOfThePresentStateAlone) {
    m_scene.setUndoLimits({0, 0});
    m_scene.setCheckpoint("here");
    EXPECT_TRUE(m_scene.returnTo("here"));
    m_radius.set(1.0);
    EXPECT_FALSE(m_scene.returnTo("here"));
    EXPECT_TRUE(m_scene.checkpoints().empty());
}

// ---- User data ---------------------------------------------------------------------------------

int s_freed = 0;

bool makeData(INode*, void** data) {
    *data = new int(7);
    return true;
}
bool freeData(INode*, void** data) {
    delete static_cast<int*>(*data);
    *data = nullptr;
    ++s_freed;
    return true;
}

// A node with user data, kept alive by a scene alone.
class UndoDataTest : public testing::Test {
protected:
    UndoDataTest() {
        s_freed = 0;
        m_library->setCallbacks("thing", {.init = makeData, .free = freeData});
        auto* node = static_cast<Node*>(m_scene.createNode("thing", "lamp").get());
        node->initLibInfo(m_library.get());
        node->nodeInit();
        m_data = node->data();
        m_scene.setUndoEnabled(true);
        m_scene.removeNode(m_scene.findNode("lamp"));
    }
    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    void* m_data = nullptr;
};

TEST_F(UndoDataTest, NodeThatIsOut_KeepsItsData) {
    EXPECT_EQ(s_freed, 0);
    m_scene.undo();
    EXPECT_EQ(m_scene.findNode("lamp")->data(), m_data);
    EXPECT_EQ(s_freed, 0);
}

TEST_F(UndoDataTest, StepForgotten_FreesTheData) {
    m_scene.setUndoLimits({0, 0});
    EXPECT_EQ(s_freed, 1);
}

TEST_F(UndoDataTest, SceneThatEnds_FreesTheDataOnce) {
    m_scene = kelvo_sdk::Scene();
    EXPECT_EQ(s_freed, 1);
}

TEST_F(UndoDataTest, CreationUndoneAndForgotten_FreesTheData) {
    m_scene.undo();
    m_scene.findNode("lamp").clone();
    m_scene.undo();
    EXPECT_EQ(s_freed, 0);
    m_scene.createNode("thing", "other");
    EXPECT_EQ(s_freed, 1);
}

// ---- Threads -----------------------------------------------------------------------------------

double afterManyTurns() {
    const auto scene = kelvo_sdk::Scene::create();
    const auto input = scene.createNode("thing", "a").createInput("x", AttrType::Real);
    scene.setUndoEnabled(true);
    for (int i = 1; i <= 200; ++i) {
        const UndoScope scope(scene, "a", "b");
        input.set(static_cast<double>(i));
        scene.createNode("thing", "b");
        if (i % 5 == 0) scope.cancel();
    }
    while (scene.undo()) {
    }
    while (scene.redo()) {
    }
    EXPECT_TRUE(scene.verify().empty());
    EXPECT_EQ(scene.nodeCount(), 161u);
    return input.get<double>();
}

TEST(UndoThreads, TwoScenes_GoTheirOwnWays) {
    double first = 0;
    std::thread other([&] { first = afterManyTurns(); });
    const double second = afterManyTurns();
    other.join();
    EXPECT_EQ(first, 199);
    EXPECT_EQ(second, 199);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
