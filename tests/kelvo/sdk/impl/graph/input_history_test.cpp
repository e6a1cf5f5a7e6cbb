#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

struct Recorder : SceneObserver {
    void inputChanged(const IInput* input, const AttrData*) override { note("changed", input); }
    void inputConnected(const IInput* input, const IOutput*, const IOutput*) override {
        note("connected", input);
    }
    void note(const char* what, const IInput* input) {
        heard += std::string(what) + " " + std::string(input->name().view()) + ";";
    }
    std::string take() { return std::exchange(heard, {}); }

    std::string heard;
};

class InputHistory : public testing::Test {
protected:
    InputHistory() {
        m_scene->setUndoEnabled(true);
        m_steps = m_scene->undoCount();
        m_scene->subscribe(&m_recorder);
    }
    ~InputHistory() override { m_scene->unsubscribe(&m_recorder); }

    Input& create(const char* name, AttrType type = AttrType::Real) {
        return static_cast<Input&>(*m_node->createInput(name, type));
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "thing"));
    Input& m_a = create("a");
    Input& m_b = create("b");
    Output& m_out = static_cast<Output&>(
        *m_scene->createNode("thing", "source")->createOutput("out", AttrType::Real));
    Recorder m_recorder;
    u64 m_steps = 0;
};

TEST_F(InputHistory, ExchangeValue_GivesTheOneBeforeAndIsToldButNotRecorded) {
    Value other(2.5);
    m_a.exchangeValue(other);
    EXPECT_EQ(m_a.value(), Value(2.5));
    EXPECT_EQ(other, Value(0.0));
    EXPECT_EQ(m_recorder.take(), "changed a;");
    EXPECT_EQ(m_scene->undoCount(), m_steps);
}

TEST_F(InputHistory, ExchangeValue_WritesIntoWhatIsReadOnly) {
    m_a.setReadOnly(true);
    Value other(1.5);
    m_a.exchangeValue(other);
    EXPECT_EQ(m_a.value(), Value(1.5));
}

TEST_F(InputHistory, ExchangeSource_ConnectsAtThePlaceGiven) {
    m_a.exchangeSource(&m_out, 0);
    m_b.exchangeSource(&m_out, 0);
    EXPECT_EQ(m_b.sourceRank(), 0u);
    EXPECT_EQ(m_a.sourceRank(), 1u);
    EXPECT_EQ(m_recorder.take(), "connected a;connected b;");
    EXPECT_EQ(m_scene->undoCount(), m_steps);
}

TEST_F(InputHistory, ExchangeSource_WithNone_Disconnects) {
    m_a.exchangeSource(&m_out, 0);
    m_a.exchangeSource(nullptr, noIndex);
    EXPECT_EQ(m_a.source(), nullptr);
    EXPECT_EQ(m_a.sourceRank(), noIndex);
    EXPECT_EQ(m_out.targetCount(), 0u);
}

TEST_F(InputHistory, Left_TakesNodeAndParentFromAllThatItHolds) {
    auto& object = create("object", AttrType::Object);
    auto& member = static_cast<Input&>(*object.createInput("member", AttrType::Int));
    object.left();
    EXPECT_EQ(object.node(), nullptr);
    EXPECT_EQ(member.node(), nullptr);
    EXPECT_EQ(member.parent(), &object);
    object.entered(m_node, nullptr);
    EXPECT_EQ(member.node(), m_node);
}

TEST_F(InputHistory, ReplayedMoveOfAnElement_IsToldOnce) {
    auto& array = static_cast<Input&>(*m_node->createArray("list", AttrType::Int));
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(array.appendElement()->setInt(i));
    m_recorder.take();
    array.moveMember(0, 2);
    EXPECT_EQ(static_cast<Input*>(array.input(2))->value(), Value(0));
    EXPECT_EQ(m_recorder.take(), "changed list;");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
