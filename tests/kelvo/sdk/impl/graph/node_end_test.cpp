// While a node is destroyed, its free callback edits the nodes that it refers to, in a scene that
// records: no record may keep the node, which is being destroyed.
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

std::function<void()> s_atEnd;
int s_frees = 0;

bool callAtEnd(INode*, void**) {
    ++s_frees;
    if (s_atEnd) s_atEnd();
    return true;
}

class NodeEndsInScenes : public testing::Test {
protected:
    NodeEndsInScenes() {
        s_frees = 0;
        m_scene.setUndoEnabled(true);
        m_source.createOutput("o", AttrType::Real);
        auto* dying = static_cast<Node*>(m_dying.get());
        tests::probe(*dying).nodeFree() = callAtEnd;
        dying->createInput("in", AttrType::Real)->connect(m_source->output(u64(0)));
        dying->createInput("link", AttrType::Node)->setNode(m_source.get());
        m_before = m_scene.text().buf();
    }
    ~NodeEndsInScenes() override { s_atEnd = nullptr; }
    // Destroys the node, and undoes the edits of its callback.
    void expectEndOnce(std::function<void()> atEnd) {
        s_atEnd = std::move(atEnd);
        m_dying = {};
        EXPECT_EQ(s_frees, 1);
        EXPECT_TRUE(m_scene.undo());
        EXPECT_EQ(std::string(m_scene.text().buf()), m_before);
        EXPECT_TRUE(m_scene.verify().empty());
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_source = m_scene.createNode("thing", "source");
    RefersTo<INode> m_dying = RefersTo<INode>::adopt(new Node(nullptr, "thing", "dying"));
    std::string m_before;
};

TEST_F(NodeEndsInScenes, OutputThatItsCallbackRemoves_IsNotRecordedForIt) {
    expectEndOnce([this] { m_source->clearOutputs(); });
}

TEST_F(NodeEndsInScenes, NodeThatItsCallbackRemoves_IsNotRecordedForIt) {
    expectEndOnce([this] { m_scene.removeNode(m_source); });
}

TEST_F(NodeEndsInScenes, NodeThatItsCallbackConverts_IsNotRecordedForIt) {
    expectEndOnce([this] { m_source.convertTo("other"); });
}

// Keeps the node of the former source or link alive.
struct Keeper : SceneObserver {
    void inputConnected(const IInput* /*input*/, const IOutput* before,
                        const IOutput* /*after*/) override {
        kept = RefersTo<INode>(before->node());
    }
    void inputChanged(const IInput* /*input*/, const AttrData* previous) override {
        kept = RefersTo<INode>(previous->value.asNode());
    }
    RefersTo<INode> kept;
};

TEST_F(NodeEndsInScenes, NodeThatAnObserverKeeps_EndsWithTheLastReference) {
    m_dying->createOutput("o", AttrType::Real);
    const auto reader = m_scene.createNode("thing", "reader");
    reader.createInput("in", AttrType::Real)->connect(m_dying->output(u64(0)));
    m_scene.setUndoEnabled(false);
    Keeper keeper;
    m_scene.subscribe(&keeper);
    const qv::i64 alive = impl_nodeInstanceCount();
    m_dying = {};
    ASSERT_TRUE(keeper.kept);
    EXPECT_EQ(impl_nodeInstanceCount(), alive);
    EXPECT_EQ(s_frees, 0);
    keeper.kept = {};
    EXPECT_EQ(impl_nodeInstanceCount(), alive - 1);
    EXPECT_EQ(s_frees, 1);
    m_scene.unsubscribe(&keeper);
}

TEST_F(NodeEndsInScenes, LinkedNodeThatAnObserverKeeps_EndsWithTheLastReference) {
    const auto reader = m_scene.createNode("thing", "reader");
    IInput* link = reader.createInput("link", AttrType::Node).get();
    link->setNode(m_dying.get());
    m_scene.setUndoEnabled(false);
    Keeper keeper;
    m_scene.subscribe(&keeper);
    m_dying = {};
    ASSERT_TRUE(keeper.kept);
    EXPECT_EQ(s_frees, 0);
    EXPECT_EQ(static_cast<Input*>(link)->value().asNode(), nullptr);
    keeper.kept = {};
    EXPECT_EQ(s_frees, 1);
    m_scene.unsubscribe(&keeper);
}

TEST(NodeEnd, OutputThatIsHeld_HasNoTargetsLeft) {
    Node reader(nullptr, "thing", "reader");
    IInput* input = reader.createInput("in", AttrType::Real);
    kelvo_sdk::Output held;
    {
        Node node(nullptr, "thing", "n");
        held = kelvo_sdk::Output(node.createOutput("o", AttrType::Real));
        EXPECT_TRUE(input->connect(held.get()));
    }
    EXPECT_EQ(input->source(), nullptr);
    EXPECT_EQ(held->targetCount(), 0u);
}

struct Thrower : SceneObserver {
    void inputConnected(const IInput*, const IOutput*, const IOutput*) override {
        throw std::runtime_error("no");
    }
};

TEST_F(NodeEndsInScenes, ObserverThatThrows_IsLoggedForTheEndOfTheNode) {
    m_dying->createOutput("o", AttrType::Real);
    const auto reader = m_scene.createNode("thing", "reader");
    reader.createInput("in", AttrType::Real)->connect(m_dying->output(u64(0)));
    Thrower thrower;
    m_scene.subscribe(&thrower);
    const tests::LogCapture log;
    m_dying = {};
    EXPECT_EQ(log.text(),
              "error: An exception of an observer was lost at the end of a node: no.\n");
    m_scene.unsubscribe(&thrower);
}

TEST_F(NodeEndsInScenes, SceneThatItsCallbackClears_IsNotRecordedForIt) {
    expectEndOnce([this] { m_scene->clear(); });
}

} // namespace
} // namespace qv::kelvo_sdk::impl
