// Notifications that wait until a change is complete, and what notifications keep alive.

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::probe;
using tests::RecordingObserver;
using tests::RecordingScene;

// ---- Notifications that wait ---------------------------------------------------------------

// Notes the name of the node that an input linked to before.
struct LinkObserver : SceneObserver {
    void inputChanged(const IInput* /*input*/, const AttrData* previous) override {
        const INode* before = previous->value.asNode();
        names += before ? before->name().buf() : "none";
    }
    std::string names;
};

class NodeNotifyHeld : public testing::Test {
protected:
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    INode* m_node = m_scene->createNode("thing", "n");
    IInput* m_link = m_node->createInput("link", AttrType::Node);
};

TEST_F(NodeNotifyHeld, FormerNodeOfALink_LivesUntilItIsTold) {
    const i64 alive = impl_nodeInstanceCount();
    auto free = RefersTo<Node>::adopt(new Node(nullptr, "thing", "free"));
    m_link->setNode(free.get());
    LinkObserver observer;
    m_scene->subscribe(&observer);
    {
        DeferredNotifications hold;
        m_link->setNode(nullptr);
        free = {};
        EXPECT_EQ(impl_nodeInstanceCount(), alive + 1);
        hold.release();
    }
    EXPECT_EQ(observer.names, "free");
    EXPECT_EQ(impl_nodeInstanceCount(), alive);
    m_scene->unsubscribe(&observer);
}

TEST_F(NodeNotifyHeld, ChangeThatNobodyWaitsFor_MakesTheSceneDirty) {
    m_scene->setDirty(false);
    const DeferredNotifications hold;
    m_link->setNode(m_node);
    EXPECT_TRUE(m_scene->isDirty());
}

// ---- What they keep alive ------------------------------------------------------------------

class NodeNotifyMortal : public testing::Test {
protected:
    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node* m_node = new Node(m_scene.get(), "thing", "mortal");
    IInput* m_in = m_node->createInput("in", AttrType::Real);
    i64 m_alive = impl_nodeInstanceCount();
};

TEST_F(NodeNotifyMortal, SceneThatDropsTheLastReference_StillHasTheNodeOfAConnection) {
    m_scene->then = [this] {
        m_scene->then = nullptr;
        m_node->decRef();
        EXPECT_EQ(impl_nodeInstanceCount(), m_alive);
    };
    m_node->onInputConnected(m_in, nullptr, nullptr);
    EXPECT_EQ(impl_nodeInstanceCount(), m_alive - 1);
}

// Nobody but the observers keeps these nodes alive: they have no scene.
TEST(NodeNotifyObservers, ObserverThatDropsTheLastReference_LeavesTheNodeForTheOthers) {
    const AttrData record(AttrType::Real);
    const std::function<void(Node&)> operations[] = {
        [&](Node& node) { node.onInputChanged(node.input(u64(0)), &record); },
        [](Node& node) { node.onInputConnected(node.input(u64(0)), nullptr, nullptr); },
        [](Node& node) { node.onInputRenamed(node.input(u64(0)), "before"); },
        [](Node& node) { node.notifyRemoved(); },
        [](Node& node) { node.notifyRenamed("new"); },
        [](Node& node) { node.notifyConverted(nullptr); },
    };
    const i64 before = impl_nodeInstanceCount();
    for (const auto& operation : operations) {
        Journal journal;
        RecordingObserver a("a", journal), b("b", journal);
        auto* node = new Node(nullptr, "thing", "mortal");
        node->createInput("in", AttrType::Real);
        node->subscribe(&a);
        node->subscribe(&b);
        a.then = [&] { node->decRef(); };
        b.then = [&] { journal.add(std::to_string(impl_nodeInstanceCount() - before)); };
        operation(*node);
        EXPECT_TRUE(journal.take().ends_with(" 1"));
        EXPECT_EQ(impl_nodeInstanceCount(), before);
    }
}

int renamings = 0;

TEST_F(NodeNotifyMortal, RenamedInput_IsToldToTheLibrary) {
    probe(*m_node).nodeChanged() = [](IInput* /*input*/) { ++renamings; };
    m_node->onInputRenamed(m_in, "before");
    EXPECT_EQ(renamings, 1);
    m_node->decRef();
}

TEST_F(NodeNotifyMortal, RenamedInputOfANodeInDestruction_IsNotTold) {
    RecordingObserver observer("o", m_journal);
    m_node->subscribe(&observer);
    m_journal.take();
    m_scene->recordsUndo = true;
    probe(*m_node).destroying() = true;
    m_node->onInputRenamed(m_in, "before");
    EXPECT_EQ(m_journal.take(), "");
    probe(*m_node).destroying() = false;
    m_node->unsubscribe(&observer);
    m_node->decRef();
}

} // namespace
} // namespace qv::kelvo_sdk::impl
