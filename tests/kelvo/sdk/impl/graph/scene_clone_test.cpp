#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::sceneOf;
using tests::textOf;

// "m" depends on "paint" and, through it, on "color"; "box" links to "m".
constexpr const char* text = R"(kelvo scene 1

node value "color" {
    output Rgba out
}

node xform "box" {
    Array<Node> children = [m]
}

node paint "paint" {
    Rgba color = (0 0 0 1) <- color.out
}

node mesh "m" {
    Array<Node> paints = [paint, m]
}
)";

class SceneClone : public testing::Test {
protected:
    [[nodiscard]] std::string names() const {
        std::string list;
        for (u64 i = 0; i < m_scene.nodeCount(); ++i)
            list += std::string(i ? " " : "") + m_scene.node(i).name().buf();
        return list;
    }
    [[nodiscard]] kelvo_sdk::Node link(const char* node, const char* path) const {
        return m_scene[node].inputAt(path).asNode(false, nullptr);
    }

    kelvo_sdk::Scene m_scene = sceneOf(text);
};

TEST_F(SceneClone, Shallow_AddsOneNodeThatSharesWhatItDependsOn) {
    const auto copy = m_scene["m"].clone();
    EXPECT_EQ(names(), "color box paint m m1");
    EXPECT_STREQ(copy.type().buf(), "mesh");
    EXPECT_EQ(link("m1", "paints[0]"), m_scene["paint"]);
}

TEST_F(SceneClone, LinksOfANodeToItself_LeadToTheCopy) {
    const auto copy = m_scene["m"].clone();
    EXPECT_EQ(link("m1", "paints[1]"), copy);
    EXPECT_EQ(link("m", "paints[1]"), m_scene["m"]);
}

TEST_F(SceneClone, Deep_CopiesWhatItDependsOnInTheOrderOfTheScene) {
    const auto copy = m_scene["m"].clone(true);
    EXPECT_EQ(names(), "color box paint m color1 paint1 m1");
    EXPECT_EQ(copy, m_scene["m1"]);
}

TEST_F(SceneClone, Deep_LinksAndConnectionsInsideLeadToTheCopies) {
    m_scene["m"].clone(true);
    EXPECT_EQ(link("m1", "paints[0]"), m_scene["paint1"]);
    EXPECT_EQ(link("m1", "paints[1]"), m_scene["m1"]);
    EXPECT_EQ(m_scene["paint1"]["color"].source(), m_scene["color1"].output("out"));
    EXPECT_EQ(m_scene["color"].output("out")->targetCount(), 1u);
}

TEST_F(SceneClone, Originals_StayAsTheyAre) {
    const std::string before = textOf(m_scene);
    m_scene["m"].clone(true);
    EXPECT_EQ(textOf(m_scene).substr(0, before.size()), before);
}

TEST_F(SceneClone, LinksAndConnectionsToTheOutside_StayWhereTheyLead) {
    m_scene["paint"].clone();
    EXPECT_EQ(m_scene["paint1"]["color"].source(), m_scene["color"].output("out"));
    EXPECT_EQ(m_scene["color"].output("out")->targetCount(), 2u);
    EXPECT_EQ(link("m", "paints[0]"), m_scene["paint"]);
}

TEST_F(SceneClone, RemovingACopy_ClearsTheLinksToIt) {
    m_scene["m"].clone(true);
    m_scene.removeNode(m_scene["paint1"]);
    EXPECT_FALSE(link("m1", "paints[0]"));
    EXPECT_TRUE(link("m", "paints[0]"));
}

TEST_F(SceneClone, SceneObserver_IsNotifiedOfCopiesThatAreTiedAlready) {
    struct Watcher : SceneObserver {
        void nodeAdded(INode* node) override {
            seen += std::string(node->name().buf()) + ";";
            if (!node->hasInput("color", AttrType::Null)) return;
            seen += std::string(node->input("color")->source()->path().buf()) + ";";
        }
        void inputChanged(const IInput*, const AttrData*) override { seen += "changed;"; }
        void inputConnected(const IInput*, const IOutput*, const IOutput*) override {
            seen += "connected;";
        }
        std::string seen;
    } watcher;
    m_scene.subscribe(&watcher);
    m_scene["paint"].clone(true);
    EXPECT_EQ(watcher.seen, "color1;paint1;color1.out;");
    m_scene.unsubscribe(&watcher);
}

TEST_F(SceneClone, AnObserverThatThrows_LeavesNoCopies) {
    struct Thrower : SceneObserver {
        void nodeAdded(INode* node) override {
            if (node->name().equals("paint1")) throw std::runtime_error("no");
        }
    } thrower;
    const std::string before = textOf(m_scene);
    m_scene.subscribe(&thrower);
    EXPECT_THROW(m_scene["m"].clone(true), std::runtime_error);
    EXPECT_EQ(textOf(m_scene), before);
    m_scene.unsubscribe(&thrower);
}

TEST_F(SceneClone, OfANodeThatIsBeingModified_IsNot) {
    auto* node = static_cast<Node*>(m_scene["m"].get());
    node->beginModification();
    const auto copy = m_scene["m"].clone();
    EXPECT_FALSE(static_cast<Node*>(copy.get())->modifying());
    node->endModification();
}

TEST_F(SceneClone, LongChains_AreCopiedWithoutRecursion) {
    const auto scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node last;
    for (int i = 0; i < 20000; ++i) {
        const auto next = scene.createNode("t", "n");
        next.createInput("next", AttrType::Node).set(last);
        last = next;
    }
    last.clone(true);
    EXPECT_EQ(scene.nodeCount(), 40000u);
}

TEST(SceneCloneHandles, WithoutANode_AreEmpty) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    EXPECT_EQ(scene->cloneNode(nullptr, true), nullptr);
    EXPECT_FALSE(kelvo_sdk::Node().clone(true));
    EXPECT_FALSE(kelvo_sdk::Node().convertTo("x"));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
