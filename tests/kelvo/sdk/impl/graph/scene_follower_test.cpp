#include "kelvo/sdk/impl/graph/scene_follower.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

// Records all its notifications.
class Recorder : public SceneFollower {
public:
    explicit Recorder(std::string name = {}) : m_name(std::move(name)) {}

    void nodeEntered(Node& node) noexcept override { note("entered", node); }
    void nodeTakenOut(Node& node) noexcept override { note("taken out", node); }
    void nodeLeft(Node& node) override { note("left", node); }
    void nodeChanged(const Node& node, const Input* input, bool wasDirty) noexcept override {
        note(wasDirty ? "changed again" : "changed", node);
        changedInput = input;
    }
    void nodeCleaning(Node& node) noexcept override { note("cleaning", node); }
    bool followsInputs() const noexcept override { return isHearing; }
    void inputNotified(Input& input) override {
        heard += "told " + std::string(input.name().view()) + ";";
    }
    void expect(const INode* /*node*/) override { heard += "expect node;"; }
    void expect(const IInput* /*input*/) override { heard += "expect input;"; }
    void editsEnded() noexcept override { heard += m_name + "ended;"; }
    void sceneEnds() noexcept override { heard += "scene ends;"; }

    std::string heard;
    const Input* changedInput = nullptr;
    bool isHearing = true;

private:
    void note(const char* what, const Node& node) {
        heard += std::string(what) + " " + std::string(node.name().view()) + ";";
    }
    std::string m_name;
};

class SceneFollowerTest : public testing::Test {
protected:
    SceneFollowerTest() { m_scene.setUndoEnabled(true); }
    ~SceneFollowerTest() override { followers().leave(m_follower); }

    SceneFollowers& followers() { return static_cast<Scene&>(*m_scene.get()).followers(); }
    std::string heardOf(const auto& edit) {
        followers().join(m_follower);
        m_follower.heard.clear();
        edit();
        followers().leave(m_follower);
        return m_follower.heard;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    Recorder m_follower;
};

TEST_F(SceneFollowerTest, CreatedNode_Enters) {
    EXPECT_EQ(heardOf([&] { m_scene.createNode("t", "a"); }), "expect node;entered a;ended;");
}

TEST_F(SceneFollowerTest, RemovedNode_IsTakenOutAndLeaves) {
    m_scene.createNode("t", "a");
    EXPECT_EQ(heardOf([&] { m_scene.removeNode(m_scene["a"]); }),
              "expect node;taken out a;left a;changed a;ended;");
}

TEST_F(SceneFollowerTest, ConvertedNode_IsReplaced) {
    m_scene.createNode("t", "a");
    m_scene["a"]->setDirty(false);
    EXPECT_EQ(heardOf([&] { m_scene["a"].convertTo("u"); }),
              "expect node;expect node;taken out a;entered a;left a;changed a;ended;");
}

// Has no memory for what will change.
struct Refuser : SceneFollower {
    void expect(const IInput* /*input*/) override {
        ++asked;
        throw std::bad_alloc();
    }
    void expect(const IOutput* /*output*/) override { throw std::bad_alloc(); }
    int asked = 0;
};

TEST_F(SceneFollowerTest, RemovalOfAnOutputThatIsRefused_ChangesNothing) {
    const kelvo_sdk::Node node = m_scene.createNode("t", "a");
    node.createOutput("o", AttrType::Int);
    Refuser refuser;
    followers().join(refuser);
    EXPECT_THROW(node->removeOutput("o"), std::bad_alloc);
    followers().leave(refuser);
    EXPECT_EQ(node->outputCount(), 1u);
}

TEST_F(SceneFollowerTest, RemovalOfAllThatIsRefused_IsNotTriedAgain) {
    const kelvo_sdk::Node node = m_scene.createNode("t", "a");
    for (const char* name : {"x", "y"})
        node.createInput(name, AttrType::Int);
    Refuser refuser;
    followers().join(refuser);
    EXPECT_THROW(node->clearInputs(), std::bad_alloc);
    followers().leave(refuser);
    EXPECT_EQ(refuser.asked, 1);
    EXPECT_EQ(node.inputCount(), 2u);
}

TEST_F(SceneFollowerTest, UndoneRemoval_Enters) {
    m_scene.createNode("t", "a");
    m_scene.removeNode(m_scene["a"]);
    EXPECT_EQ(heardOf([&] { m_scene.undo(); }), "expect node;entered a;ended;");
}

TEST_F(SceneFollowerTest, ChangedValue_ChangesTheNodeBeforeTheInputIsReported) {
    m_scene.createNode("t", "a").createInput("x", AttrType::Int);
    m_scene["a"]->setDirty(false);
    EXPECT_EQ(heardOf([&] { m_scene["a"]["x"].set(1); }), "expect input;changed a;told x;ended;");
    EXPECT_EQ(heardOf([&] { m_scene["a"]["x"].set(2); }),
              "expect input;changed again a;told x;ended;");
}

TEST_F(SceneFollowerTest, ChangedNode_IsReportedWithTheInputWhoseValueAloneChanged) {
    const kelvo_sdk::Input x = m_scene.createNode("t", "a").createInput("x", AttrType::Int);
    heardOf([&] { x.set(1); });
    EXPECT_EQ(m_follower.changedInput, x.get());
    heardOf([&] { x.rename("y"); });
    EXPECT_EQ(m_follower.changedInput, nullptr);
    m_scene.setUndoEnabled(false);
    heardOf([&] { x.set(2); });
    EXPECT_EQ(m_follower.changedInput, x.get());
    heardOf([&] { m_scene["a"].createInput("z", AttrType::Int); });
    EXPECT_EQ(m_follower.changedInput, nullptr);
}

TEST_F(SceneFollowerTest, FollowerWithoutInputs_IsNotNotifiedOfThem) {
    m_scene.createNode("t", "a").createInput("x", AttrType::Int);
    m_scene["a"]->setDirty(false);
    m_follower.isHearing = false;
    EXPECT_EQ(heardOf([&] { m_scene["a"]["x"].set(1); }), "expect input;changed a;ended;");
}

TEST_F(SceneFollowerTest, CleanNode_IsReportedOnce) {
    m_scene.createNode("t", "a").setDirty(true);
    EXPECT_EQ(heardOf([&] { m_scene["a"]->setDirty(false); }), "cleaning a;");
    EXPECT_EQ(heardOf([&] { m_scene["a"]->setDirty(false); }), "");
}

TEST_F(SceneFollowerTest, Followers_AreNotifiedInTheOrderInWhichTheyJoined) {
    std::string heard;
    Recorder first("first "), second("second ");
    SceneFollowers list;
    list.join(first);
    list.join(second);
    list.join(first);
    list.each([](SceneFollower& each) { each.editsEnded(); });
    EXPECT_EQ(first.heard + second.heard, "first ended;second ended;");
    list.leave(first);
    EXPECT_FALSE(list.empty());
    list.each([](SceneFollower& each) { each.editsEnded(); });
    EXPECT_EQ(first.heard, "first ended;");
    EXPECT_EQ(second.heard, "second ended;second ended;");
    list.leave(second);
    EXPECT_TRUE(list.empty());
}

TEST(SceneFollowers, EndOfTheScene_IsReportedWhileItsNodesAreThere) {
    Recorder follower;
    {
        const auto scene = kelvo_sdk::Scene::create();
        scene.createNode("t", "a");
        static_cast<Scene&>(*scene.get()).followers().join(follower);
    }
    EXPECT_EQ(follower.heard, "scene ends;");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
