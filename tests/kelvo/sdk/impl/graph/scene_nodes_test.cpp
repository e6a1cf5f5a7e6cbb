#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

// Records the notifications of a node observer and a scene observer in one list.
class Recorder : public SceneObserver, public interfaces::NodeObserver {
public:
    using SceneObserver::inputChanged;
    using SceneObserver::inputConnected;
    using SceneObserver::nodeRemoved;
    using SceneObserver::nodeRenamed;

    void nodeAdded(INode* node) override { note("scene: added ", node->name()); }
    void nodeRemoved(INode* node) override { note("scene: removed ", node->name()); }
    void nodeRenamed(INode* node, String old) override {
        note("scene: renamed ", old + " to " + node->name());
    }
    void nodeRemoved() override { note("node: removed", ""); }
    void nodeRenamed(String name) override { note("node: renamed to ", name); }
    void nodeConverted(kelvo_sdk::Node) override {}
    void nodeConverted(INode*, INode*) override {}
    void inputChanged(kelvo_sdk::Input) override {}
    void inputConnected(kelvo_sdk::Input) override {}

    std::vector<std::string> heard;

private:
    void note(const char* what, const String& name) {
        heard.push_back(std::string(what) + name.buf());
    }
};

class SceneNodes : public testing::Test {
protected:
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
};

TEST_F(SceneNodes, CreatedNode_BelongsToTheSceneAlone) {
    const i64 before = impl_nodeInstanceCount();
    INode* node = m_scene->createNode("mesh", "desk");
    EXPECT_EQ(node->scene(), m_scene.get());
    EXPECT_STREQ(node->type().buf(), "mesh");
    EXPECT_EQ(impl_nodeInstanceCount(), before + 1);
    EXPECT_TRUE(m_scene->removeNode(node));
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST_F(SceneNodes, Find_IgnoresCaseAndIsSilent) {
    INode* node = m_scene->createNode("mesh", "desk");
    const LogCapture log;
    EXPECT_EQ(m_scene->findNode("DESK"), node);
    EXPECT_EQ(m_scene->findNode("chair"), nullptr);
    EXPECT_EQ(log.text(), "");
}

TEST_F(SceneNodes, TakenName_GetsTheNextFreeNumber) {
    m_scene->createNode("mesh", "desk");
    EXPECT_STREQ(m_scene->createNode("mesh", "Desk")->name().buf(), "Desk1");
    EXPECT_STREQ(m_scene->createNode("mesh", "desk")->name().buf(), "desk2");
}

TEST_F(SceneNodes, IllegalNames_AreRefusedByName) {
    const LogCapture log;
    EXPECT_EQ(m_scene->createNode("mesh", "my desk"), nullptr);
    EXPECT_EQ(m_scene->createNode("mesh", ""), nullptr);
    EXPECT_EQ(m_scene->createNode("a.b", "desk"), nullptr);
    EXPECT_EQ(m_scene->nodeCount(), 0u);
    EXPECT_EQ(log.text(), "error: Cannot use 'my desk' as a node's name: it is no simple "
                          "identifier.\n"
                          "error: Cannot use '' as a node's name: it is no simple identifier.\n"
                          "error: Cannot use 'a.b' as a node's type: it is no simple "
                          "identifier.\n");
}

TEST_F(SceneNodes, Order_IsThatOfCreation) {
    INode* a = m_scene->createNode("mesh", "z");
    INode* b = m_scene->createNode("mesh", "m");
    INode* c = m_scene->createNode("mesh", "a");
    EXPECT_EQ(m_scene->node(0), a);
    m_scene->removeNode(b);
    EXPECT_EQ(m_scene->node(1), c);
    EXPECT_EQ(m_scene->node(2), nullptr);
}

TEST_F(SceneNodes, Removal_TellsNodeObserversThenSceneObservers) {
    INode* node = m_scene->createNode("mesh", "desk");
    Recorder recorder;
    node->subscribe(&recorder);
    m_scene->subscribe(&recorder);
    m_scene->removeNode(node);
    m_scene->unsubscribe(&recorder);
    EXPECT_EQ(recorder.heard, (std::vector<std::string>{"node: removed", "scene: removed desk"}));
}

TEST_F(SceneNodes, RemovedNode_HeldElsewhere_LivesOnWithoutScene) {
    const RefersTo<INode> held(m_scene->createNode("mesh", "desk"));
    EXPECT_TRUE(m_scene->removeNode(held.get()));
    EXPECT_EQ(held->scene(), nullptr);
    EXPECT_FALSE(m_scene->removeNode(held.get()));
    EXPECT_EQ(m_scene->findNode("desk"), nullptr);
}

TEST_F(SceneNodes, Removal_OfForeignNodes_IsRefused) {
    const auto other = RefersTo<Scene>::adopt(new Scene);
    m_scene->createNode("mesh", "desk");
    EXPECT_FALSE(m_scene->removeNode(other->createNode("mesh", "desk")));
    EXPECT_FALSE(m_scene->removeNode(nullptr));
    EXPECT_EQ(m_scene->nodeCount(), 1u);
}

TEST_F(SceneNodes, Removal_EndsConnectionsInBothDirections) {
    INode* a = m_scene->createNode("op", "a");
    INode* b = m_scene->createNode("op", "b");
    INode* c = m_scene->createNode("op", "c");
    b->createInput("in", AttrType::Real)->connect(a->createOutput("out", AttrType::Real));
    IInput* last = c->createInput("in", AttrType::Real);
    last->connect(b->createOutput("out", AttrType::Real));
    m_scene->removeNode(b);
    EXPECT_EQ(last->source(), nullptr);
    EXPECT_EQ(a->output(u64(0))->targetCount(), 0u);
}

// Removes the node again during the notification of its removal.
class RemovesAgain : public SceneObserver {
public:
    explicit RemovesAgain(Scene& scene) : m_scene(scene) {}
    void nodeRemoved(INode* node) override { again = m_scene.removeNode(node); }
    bool again = true;

private:
    Scene& m_scene;
};

TEST_F(SceneNodes, Removal_FromInsideItsOwnNotification_IsRefused) {
    RemovesAgain observer(*m_scene);
    m_scene->subscribe(&observer);
    EXPECT_TRUE(m_scene->removeNode(m_scene->createNode("mesh", "desk")));
    m_scene->unsubscribe(&observer);
    EXPECT_FALSE(observer.again);
}

TEST_F(SceneNodes, Rename_TellsEveryoneAndFindsTheNewName) {
    INode* node = m_scene->createNode("mesh", "desk");
    Recorder recorder;
    node->subscribe(&recorder);
    m_scene->subscribe(&recorder);
    EXPECT_TRUE(m_scene->renameNode(node, "table"));
    m_scene->unsubscribe(&recorder);
    EXPECT_EQ(m_scene->findNode("table"), node);
    EXPECT_EQ(m_scene->findNode("desk"), nullptr);
    EXPECT_EQ(recorder.heard,
              (std::vector<std::string>{"node: renamed to table", "scene: renamed desk to table"}));
}

TEST_F(SceneNodes, Rename_ToATakenName_GetsANumber) {
    INode* node = m_scene->createNode("mesh", "desk");
    m_scene->createNode("mesh", "table");
    EXPECT_TRUE(m_scene->renameNode(node, "table"));
    EXPECT_STREQ(node->name().buf(), "table1");
}

TEST_F(SceneNodes, Rename_OfCaseAlone_Works) {
    INode* node = m_scene->createNode("mesh", "desk");
    EXPECT_TRUE(m_scene->renameNode(node, "DESK"));
    EXPECT_STREQ(node->name().buf(), "DESK");
}

TEST_F(SceneNodes, Rename_ToTheSameName_TellsNobody) {
    INode* node = m_scene->createNode("mesh", "desk");
    Recorder recorder;
    node->subscribe(&recorder);
    EXPECT_TRUE(m_scene->renameNode(node, "desk"));
    EXPECT_TRUE(recorder.heard.empty());
}

TEST_F(SceneNodes, Rename_ToAnIllegalName_ChangesNothing) {
    INode* node = m_scene->createNode("mesh", "desk");
    const LogCapture log;
    EXPECT_FALSE(m_scene->renameNode(node, "1st"));
    EXPECT_STREQ(node->name().buf(), "desk");
    EXPECT_NE(log.text(), "");
}

TEST_F(SceneNodes, DyingScene_LeavesHeldNodesWithoutScene) {
    const RefersTo<INode> held(m_scene->createNode("mesh", "desk"));
    IInput* link = held->createInput("link", AttrType::Node);
    link->setNode(m_scene->createNode("mesh", "other"));
    const RefersTo<INode> other(m_scene->findNode("other"));
    m_scene.reset();
    EXPECT_EQ(held->scene(), nullptr);
    EXPECT_TRUE(link->setNode(nullptr));
}

TEST_F(SceneNodes, AddNode_TakesAFreeNodeInUnderAFreeName) {
    m_scene->createNode("mesh", "desk");
    const auto node = RefersTo<Node>::adopt(new Node(nullptr, "mesh", "desk"));
    EXPECT_TRUE(m_scene->addNode(node.get()));
    EXPECT_FALSE(m_scene->addNode(node.get()));
    EXPECT_STREQ(node->name().buf(), "desk1");
    EXPECT_EQ(node->scene(), m_scene.get());
}

TEST_F(SceneNodes, Clear_RemovesEveryNode) {
    for (int i = 0; i < 10; ++i)
        m_scene->createNode("mesh", "n");
    m_scene->clear();
    EXPECT_EQ(m_scene->nodeCount(), 0u);
    EXPECT_EQ(m_scene->findNode("n"), nullptr);
}

TEST_F(SceneNodes, HundredThousandNodes_ComeAndGo) {
    INode* hub = m_scene->createNode("hub", "hub");
    for (int i = 0; i < 100000; ++i)
        m_scene->createNode("mesh", "n")->createInput("link", AttrType::Node)->setNode(hub);
    EXPECT_EQ(m_scene->nodeCount(), 100001u);
    EXPECT_TRUE(m_scene->removeNode(hub));
    for (int i = 0; i < 50000; ++i)
        ASSERT_TRUE(m_scene->removeNode(m_scene->node(0)));
    EXPECT_EQ(m_scene->node(49999), m_scene->findNode("n99999"));
}

TEST(SceneHandle, EmptyHandle_IsSafe) {
    const kelvo_sdk::Scene scene;
    EXPECT_FALSE(scene.createNode("mesh", "desk"));
    EXPECT_FALSE(scene.findNode("desk"));
    EXPECT_FALSE(scene.removeNode(kelvo_sdk::Node()));
    EXPECT_EQ(scene.nodeCount(), 0u);
    EXPECT_FALSE(scene["desk"]["radius"].set(0.5));
    EXPECT_EQ(scene["desk"]["radius"].get<double>(7.0), 7.0);
}

TEST(SceneHandle, TypedAccess_ReadsAndWrites) {
    const auto scene = kelvo_sdk::Scene::create();
    const auto lamp = scene.createNode("light", "lamp");
    lamp.createInput("radius", AttrType::Real);
    lamp.createInput("title", AttrType::String);
    lamp.createInput("target", AttrType::Node);
    EXPECT_TRUE(lamp["radius"].set(0.5));
    EXPECT_EQ(scene["LAMP"]["Radius"].get<double>(), 0.5);
    EXPECT_TRUE(lamp["radius"].set(2));
    EXPECT_EQ(lamp["radius"].get<int>(), 2);
    EXPECT_TRUE(lamp["title"].set("bright"));
    EXPECT_STREQ(lamp["title"].get<String>().buf(), "bright");
    EXPECT_TRUE(lamp["target"].set(lamp));
    EXPECT_EQ(lamp["target"].asNode(false, nullptr), lamp);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
