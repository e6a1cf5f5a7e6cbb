#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/node_iterator.h"
#include "sdk/impl/output.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_scene.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::probe;
using tests::RecordingScene;

class NodeState : public testing::Test {
protected:
    ~NodeState() override {
        for (Node* node : m_all)
            node->setScene(nullptr);
    }
    // Makes the first depend on the second by a link.
    static void link(Node& from, Node& to) {
        from.createArray("links", AttrType::Node)->appendElement()->setNode(&to);
    }
    void clean() {
        for (Node* node : m_all)
            probe(*node).dirty() = false;
        m_journal.take();
    }
    [[nodiscard]] static std::string names(NodeIterator* iterator) {
        const auto nodes = RefersTo<NodeIterator>::adopt(iterator);
        std::string text;
        for (const INode* node = nodes->first(); node; node = nodes->next())
            text += node->name().buf();
        return text;
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_a{m_scene.get(), "thing", "a"}, m_b{m_scene.get(), "thing", "b"};
    Node m_c{m_scene.get(), "thing", "c"}, m_d{m_scene.get(), "thing", "d"};
    std::vector<Node*> m_all{&m_a, &m_b, &m_c, &m_d};
};

// ---- Dirty ---------------------------------------------------------------------------------

TEST_F(NodeState, Dirty_IsTheFlagFirstOfAll) {
    clean();
    EXPECT_FALSE(m_a.dirty(false));
    probe(m_a).dirty() = true;
    m_journal.take();
    EXPECT_TRUE(m_a.dirty(false));
    EXPECT_TRUE(m_a.dirty(true));
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeState, DirtyWhereTheSceneCaches_AsksNoDependency) {
    link(m_a, m_b);
    clean();
    probe(m_b).dirty() = true;
    m_scene->cachesDirty = true;
    EXPECT_FALSE(m_a.dirty(true));
    EXPECT_EQ(m_journal.take(), "cached?");
}

TEST_F(NodeState, DeepDirty_FindsADirtyDependencyAndKeepsTheAnswer) {
    link(m_a, m_b);
    link(m_b, m_c);
    clean();
    EXPECT_FALSE(m_a.dirty(true));
    probe(m_c).dirty() = true;
    EXPECT_FALSE(m_a.dirty(false));
    EXPECT_TRUE(m_a.dirty(true));
    EXPECT_TRUE(m_a.dirty(false));
    EXPECT_FALSE(probe(m_b).dirty());
}

TEST_F(NodeState, DeepDirtyWithoutAScene_Works) {
    Node a(nullptr, "thing", "a"), b(nullptr, "thing", "b");
    link(a, b);
    a.setDirty(false);
    EXPECT_FALSE(a.dirty(true));
    b.setDirty(true);
    EXPECT_TRUE(a.dirty(true));
}

TEST_F(NodeState, SetDirty_ReachesTheSceneOnlyWhenTrue) {
    m_a.setDirty(true);
    EXPECT_EQ(m_journal.take(), "scene-dirty");
    m_a.setDirty(false);
    EXPECT_EQ(m_journal.take(), "");
    EXPECT_FALSE(probe(m_a).dirty());
}

// ---- Dependencies --------------------------------------------------------------------------

TEST_F(NodeState, Dependencies_FollowLinksAtAnyDepthAndConnections) {
    m_a.createInput("obj", AttrType::Object)->createInput("n", AttrType::Node)->setNode(&m_b);
    m_a.createInput("x", AttrType::Real)->connect(m_c.createOutput("o", AttrType::Real));
    link(m_b, m_d);
    EXPECT_EQ(names(m_a.dependencies(false, false)), "bdc");
    EXPECT_EQ(names(m_a.dependencies(false, true)), "cdb");
    EXPECT_EQ(names(m_d.dependencies(false, false)), "");
}

TEST_F(NodeState, DependenciesOfAConnectedArray_AreItsElementsThenItsSource) {
    IInput* list = m_a.createArray("list", AttrType::Node);
    list->appendElement()->setNode(&m_b);
    list->appendElement()->setNode(&m_c);
    EXPECT_EQ(names(m_a.dependencies(false, false)), "bc");
}

TEST_F(NodeState, Dependencies_AreEachListedOnceAndNeverTheNodeItself) {
    link(m_a, m_b);
    link(m_a, m_b);
    link(m_a, m_a);
    link(m_b, m_a);
    link(m_b, m_c);
    EXPECT_EQ(names(m_a.dependencies(false, false)), "bc");
}

TEST_F(NodeState, Downstream_AddsTheReadersOfEveryOutput) {
    IOutput* out = m_a.createOutput("o", AttrType::Real);
    m_b.createInput("x", AttrType::Real)->connect(out);
    m_c.createInput("x", AttrType::Real)->connect(out);
    m_d.createInput("x", AttrType::Real)->connect(m_c.createOutput("o", AttrType::Real));
    EXPECT_EQ(names(m_a.dependencies(true, false)), "bcd");
    EXPECT_EQ(names(m_a.dependencies(false, false)), "");
    EXPECT_EQ(names(m_d.dependencies(true, false)), "cab");
}

TEST_F(NodeState, FindDeps_KeepsWhatIsInTheListAlready) {
    link(m_a, m_b);
    link(m_b, m_c);
    ds::Vector<INode*> out{&m_b};
    findDeps(&m_a, out, false);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[1], &m_a);
    findDeps(static_cast<INode*>(nullptr), out, false);
    findDeps(static_cast<IInput*>(nullptr), out, false);
    findDeps(&m_a, out, false);
    EXPECT_EQ(out.size(), 2u);
}

TEST_F(NodeState, FindDepsOfAnInput_StartsThere) {
    link(m_a, m_b);
    m_a.createInput("n", AttrType::Node)->setNode(&m_c);
    ds::Vector<INode*> out;
    findDeps(m_a.findInputByName("n"), out, false);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0], &m_c);
}

TEST_F(NodeState, LongChain_IsFollowedToItsEnd) {
    constexpr int kLength = 20'000;
    std::vector<RefersTo<Node>> nodes;
    for (int i = 0; i <= kLength; ++i) {
        nodes.push_back(RefersTo<Node>::adopt(new Node(nullptr, "thing", "n")));
        if (i > 0)
            link(*nodes[static_cast<std::size_t>(i)], *nodes[static_cast<std::size_t>(i - 1)]);
    }
    tests::runOnSmallStack([&] {
        const auto all = RefersTo<NodeIterator>::adopt(nodes.back()->dependencies(false, false));
        EXPECT_EQ(all->count(), static_cast<u64>(kLength));
    });
}

// ---- Hash ----------------------------------------------------------------------------------

TEST_F(NodeState, Hash_OfANodeWithoutInputs_IsThatOfItsNameOrType) {
    EXPECT_EQ(m_a.hash({}), String("a").hash());
    EXPECT_EQ(m_a.hash({"__node_name__"}), String("thing").hash());
    EXPECT_EQ(m_a.hash({"__NODE_NAME__"}), String("a").hash());
}

TEST_F(NodeState, Hash_OfASkippedType_IsZero) {
    EXPECT_EQ(m_a.hash({"thing"}), 0u);
    m_a.setBases({"base"}, false, false);
    EXPECT_EQ(m_a.hash({"other", "base"}), 0u);
}

TEST_F(NodeState, Hash_MixesTheInputsInTheirOrder) {
    IInput* x = m_a.createInput("x", AttrType::Real);
    IInput* y = m_a.createInput("y", AttrType::Real);
    x->setReal(1);
    y->setReal(2);
    u64 expected = String("a").hash();
    for (const IInput* input : {x, y}) {
        const u64 h = input->hash({});
        expected = expected ^ (h + 0x9e3779b9 + (expected << 6) + (expected >> 2));
    }
    EXPECT_EQ(m_a.hash({}), expected);
    const u64 before = m_a.hash({});
    y->setReal(3);
    EXPECT_NE(m_a.hash({}), before);
    y->setReal(2);
    EXPECT_EQ(m_a.hash({}), before);
}

TEST_F(NodeState, InputsWithNothingToAdd_LeaveTheHashAlone) {
    m_a.createInput("node", AttrType::Node);
    m_a.createInput("null", AttrType::Null);
    m_a.createArray("list", AttrType::Real);
    EXPECT_EQ(m_a.hash({}), String("a").hash());
}

TEST_F(NodeState, HashWithoutTheName_IsEqualForEqualInputs) {
    for (Node* node : {&m_a, &m_b})
        node->createInput("x", AttrType::Real)->setReal(2.5);
    EXPECT_NE(m_a.hash({}), m_b.hash({}));
    EXPECT_EQ(m_a.hash({"__node_name__"}), m_b.hash({"__node_name__"}));
}

TEST_F(NodeState, DirOfAPathNode_DoesNotCount) {
    for (Node* node : {&m_a, &m_b})
        node->createInput("dir", AttrType::String)->setString("here");
    m_a.setBases({"path"}, false, false);
    const u64 path = m_a.hash({}), other = m_b.hash({});
    m_a.findInputByName("dir")->setString("there");
    m_b.findInputByName("dir")->setString("there");
    EXPECT_EQ(m_a.hash({}), path);
    EXPECT_NE(m_b.hash({}), other);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
