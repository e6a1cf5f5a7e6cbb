#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

// The dirty flag, queried and set. The changes that set it, the dependencies of a node, and its
// hash have their own tests.

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::probe;
using tests::RecordingObserver;
using tests::RecordingScene;

/// Calls a function of the test when it is asked whether it caches, and when it gets dirty.
class AskedScene : public Scene {
public:
    [[nodiscard]] static RefersTo<AskedScene> make() {
        return RefersTo<AskedScene>::adopt(new AskedScene);
    }
    void setDirty(bool) override {
        if (whenDirty) whenDirty();
    }
    [[nodiscard]] bool isDirtyStateCached() const override {
        if (whenAsked) whenAsked();
        return cachesDirty;
    }

    std::function<void()> whenAsked, whenDirty;
    bool cachesDirty = false;
};

/// Records its queries, and calls a function of the test during them.
class AskedNode : public Node {
public:
    AskedNode(IScene* scene, const char* name, Journal& journal)
        : Node(scene, "thing", name), m_journal(journal) {}

    [[nodiscard]] bool dirty(bool deep) const override {
        m_journal.add(std::string(name().buf()) + (deep ? "(deep)" : "(flag)"));
        if (then) then();
        return Node::dirty(deep);
    }

    std::function<void()> then;

private:
    Journal& m_journal;
};

class NotingIterator : public NodeIterator {
public:
    NotingIterator(ds::Vector<INode*> nodes, Journal& journal)
        : NodeIterator(std::move(nodes), false, false), m_journal(journal) {}
    ~NotingIterator() override { m_journal.add("gone"); }

    INode* first() override {
        m_journal.add("first");
        return NodeIterator::first();
    }
    INode* next() override {
        // The base class's `first` calls this function.
        m_journal.add("next");
        return NodeIterator::next();
    }

private:
    Journal& m_journal;
};

/// Returns an iterator of the test for its dependencies.
class WalkedNode : public Node {
public:
    WalkedNode(IScene* scene, Journal& journal) : Node(scene, "thing", "w"), m_journal(journal) {}

    NodeIterator* dependencies(bool downstream, bool flag) const override {
        m_journal.add(std::string(downstream ? "down," : "up,") + (flag ? "true" : "false"));
        return new NotingIterator(needed, m_journal);
    }

    ds::Vector<INode*> needed;

private:
    Journal& m_journal;
};

// Makes the first node depend on the second by a link.
void link(Node& from, Node& to) {
    from.createArray("links", AttrType::Node)->appendElement()->setNode(&to);
}

class NodeState : public testing::Test {
protected:
    NodeState() = default;
    ~NodeState() override {
        for (Node* node : m_all)
            probe(*node).setScene(nullptr);
    }
    void clean() {
        for (Node* node : m_all)
            probe(*node).dirty() = false;
        m_journal.take();
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    AskedNode m_a{m_scene.get(), "a", m_journal}, m_b{m_scene.get(), "b", m_journal};
    AskedNode m_c{m_scene.get(), "c", m_journal}, m_d{m_scene.get(), "d", m_journal};
    std::vector<Node*> m_all{&m_a, &m_b, &m_c, &m_d};
};

// ---- Queries -------------------------------------------------------------------------------

TEST_F(NodeState, NewNode_IsClean) {
    EXPECT_FALSE(m_a.dirty(false));
    EXPECT_FALSE(m_a.dirty(true));
}

TEST_F(NodeState, DirtyOfASetFlag_IsTrueAndAsksNobody) {
    link(m_a, m_b);
    clean();
    probe(m_a).dirty() = true;
    for (const bool deep : {false, true}) {
        EXPECT_TRUE(m_a.Node::dirty(deep));
        EXPECT_TRUE(probe(m_a).dirty());
    }
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeState, ShallowDirty_AsksTheSceneAndNoDependency) {
    link(m_a, m_b);
    clean();
    probe(m_b).dirty() = true;
    EXPECT_FALSE(m_a.Node::dirty(false));
    EXPECT_EQ(m_journal.take(), "cached?");
    EXPECT_FALSE(probe(m_a).dirty());
}

TEST_F(NodeState, DirtyWhereTheSceneCaches_AsksNoDependency) {
    link(m_a, m_b);
    clean();
    probe(m_b).dirty() = true;
    m_scene->cachesDirty = true;
    EXPECT_FALSE(m_a.Node::dirty(true));
    EXPECT_EQ(m_journal.take(), "cached?");
}

TEST_F(NodeState, DirtyWhereTheSceneCaches_BuildsNoList) {
    WalkedNode node(m_scene.get(), m_journal);
    m_scene->cachesDirty = true;
    EXPECT_FALSE(node.dirty(true));
    EXPECT_EQ(m_journal.take(), "cached?");
    probe(node).setScene(nullptr);
}

TEST(NodeStateInAScene, FlagSetWhileTheCachingSceneIsAsked_IsTheAnswer) {
    const auto scene = AskedScene::make();
    Node node(scene.get(), "thing", "n");
    scene->cachesDirty = true;
    scene->whenAsked = [&] { probe(node).dirty() = true; };
    for (const bool deep : {false, true}) {
        probe(node).dirty() = false;
        EXPECT_TRUE(node.dirty(deep));
        EXPECT_TRUE(probe(node).dirty());
    }
    probe(node).setScene(nullptr);
}

TEST(NodeStateInAScene, FlagSetWhileTheSceneIsAsked_IsClearedWhereItDoesNotCache) {
    const auto scene = AskedScene::make();
    Node node(scene.get(), "thing", "n");
    scene->whenAsked = [&] { probe(node).dirty() = true; };
    for (const bool deep : {false, true}) {
        probe(node).dirty() = false;
        EXPECT_FALSE(node.dirty(deep));
        EXPECT_FALSE(probe(node).dirty());
    }
    probe(node).setScene(nullptr);
}

TEST_F(NodeState, DeepDirty_AsksTheFlagOfEachDependencyInOrder) {
    link(m_a, m_b);
    link(m_b, m_c);
    link(m_a, m_d);
    clean();
    EXPECT_FALSE(m_a.Node::dirty(true));
    EXPECT_EQ(m_journal.take(), "cached? b(flag) cached? c(flag) cached? d(flag) cached?");
}

TEST_F(NodeState, FirstDirtyDependency_EndsTheWalk) {
    link(m_a, m_b);
    link(m_a, m_c);
    link(m_a, m_d);
    clean();
    probe(m_c).dirty() = true;
    EXPECT_TRUE(m_a.Node::dirty(true));
    EXPECT_EQ(m_journal.take(), "cached? b(flag) cached? c(flag)");
}

TEST_F(NodeState, DeepDirty_KeepsAPositiveAnswerInTheNodeAlone) {
    link(m_a, m_b);
    link(m_b, m_c);
    clean();
    probe(m_c).dirty() = true;
    EXPECT_FALSE(m_a.dirty(false));
    EXPECT_TRUE(m_a.dirty(true));
    EXPECT_TRUE(probe(m_a).dirty());
    EXPECT_TRUE(m_a.dirty(false));
    EXPECT_FALSE(probe(m_b).dirty());
    m_c.setDirty(false);
    EXPECT_TRUE(m_a.dirty(true));
}

TEST_F(NodeState, DeepAnswer_DoesNotReachTheScene) {
    link(m_a, m_b);
    clean();
    probe(m_b).dirty() = true;
    EXPECT_TRUE(m_a.Node::dirty(true));
    EXPECT_EQ(m_journal.take(), "cached? b(flag)");
}

TEST_F(NodeState, NegativeDeepAnswer_ClearsTheFlagSetDuringTheWalk) {
    link(m_a, m_b);
    clean();
    m_b.then = [this] { probe(m_a).dirty() = true; };
    EXPECT_FALSE(m_a.Node::dirty(true));
    EXPECT_FALSE(probe(m_a).dirty());
}

TEST_F(NodeState, DirtyReader_DoesNotMakeDirty) {
    m_b.createInput("x", AttrType::Real)->connect(m_a.createOutput("o", AttrType::Real));
    clean();
    probe(m_b).dirty() = true;
    EXPECT_FALSE(m_a.dirty(true));
}

TEST_F(NodeState, DeepDirtyInACycle_Ends) {
    link(m_a, m_b);
    link(m_b, m_a);
    link(m_a, m_a);
    clean();
    EXPECT_FALSE(m_a.dirty(true));
    probe(m_b).dirty() = true;
    EXPECT_TRUE(m_a.dirty(true));
}

TEST_F(NodeState, DependencyInACachingScene_AnswersByItsOwnFlag) {
    const auto other = AskedScene::make();
    Node far(other.get(), "thing", "far");
    link(m_a, far);
    link(far, m_b);
    other->cachesDirty = true;
    clean();
    far.setDirty(false);
    EXPECT_FALSE(m_a.dirty(true));
    far.setDirty(true);
    EXPECT_TRUE(m_a.dirty(true));
    probe(far).setScene(nullptr);
}

TEST_F(NodeState, DirtyWithoutAScene_Works) {
    Node a(nullptr, "thing", "a"), b(nullptr, "thing", "b");
    link(a, b);
    a.setDirty(false);
    EXPECT_FALSE(a.dirty(false));
    EXPECT_FALSE(a.dirty(true));
    b.setDirty(true);
    EXPECT_FALSE(a.dirty(false));
    EXPECT_TRUE(a.dirty(true));
}

TEST_F(NodeState, CleanWalk_IsFromFirstToTheEndAndLeavesNoIterator) {
    WalkedNode node(nullptr, m_journal);
    probe(m_a).setScene(nullptr);
    node.needed = {&m_a};
    EXPECT_FALSE(node.dirty(true));
    EXPECT_EQ(m_journal.take(), "up,false first next a(flag) next gone");
}

TEST_F(NodeState, DirtyWalk_LeavesNoIterator) {
    WalkedNode node(nullptr, m_journal);
    probe(m_a).setScene(nullptr);
    node.needed = {&m_a, &m_b};
    probe(m_a).dirty() = true;
    EXPECT_TRUE(node.dirty(true));
    EXPECT_EQ(m_journal.take(), "up,false first next a(flag) gone");
}

// ---- Set -----------------------------------------------------------------------------------

TEST_F(NodeState, SetDirty_ReachesTheSceneOnlyWhenTrue) {
    m_a.setDirty(true);
    EXPECT_EQ(m_journal.take(), "scene-dirty");
    EXPECT_TRUE(probe(m_a).dirty());
    m_a.setDirty(true);
    EXPECT_EQ(m_journal.take(), "scene-dirty");
    m_a.setDirty(false);
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_FALSE(probe(m_a).dirty());
}

TEST_F(NodeState, SetDirty_TellsNoObserver) {
    RecordingObserver observer("o", m_journal);
    m_a.subscribe(&observer);
    m_a.setDirty(true);
    m_a.setDirty(false);
    EXPECT_EQ(m_journal.take(), "scene-dirty");
    m_a.unsubscribe(&observer);
}

TEST_F(NodeState, SetDirty_IsOfTheNodeAlone) {
    link(m_a, m_b);
    link(m_b, m_c);
    clean();
    m_b.setDirty(true);
    EXPECT_FALSE(probe(m_a).dirty());
    EXPECT_FALSE(probe(m_c).dirty());
    m_a.setDirty(true);
    m_c.setDirty(true);
    m_b.setDirty(false);
    EXPECT_TRUE(probe(m_a).dirty());
    EXPECT_TRUE(probe(m_c).dirty());
}

TEST(NodeStateInAScene, SceneThatHears_FindsTheFlagSet) {
    const auto scene = AskedScene::make();
    Node node(scene.get(), "thing", "n");
    bool found = false;
    scene->whenDirty = [&] { found = probe(node).dirty(); };
    node.setDirty(true);
    EXPECT_TRUE(found);
    probe(node).setScene(nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
