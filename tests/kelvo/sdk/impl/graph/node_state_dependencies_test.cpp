#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// The dependencies of nodes, and their order in lists.

namespace qv::kelvo_sdk::impl {
namespace {

class NodeStateDependencies : public testing::Test {
protected:
    // Makes the first node depend on the second by a link.
    static void link(Node& from, Node& to) {
        from.createArray("links", AttrType::Node)->appendElement()->setNode(&to);
    }
    static void read(Node& reader, const char* input, Node& source) {
        IOutput* output = source.createOutput("o", AttrType::Real);
        ASSERT_TRUE(reader.createInput(input, AttrType::Real)->connect(output));
    }
    [[nodiscard]] static std::string names(NodeIterator* iterator) {
        const auto nodes = RefersTo<NodeIterator>::adopt(iterator);
        std::string text;
        for (const INode* node = nodes->first(); node; node = nodes->next())
            text += node->name().buf();
        return text;
    }
    [[nodiscard]] static std::string names(const ds::Vector<INode*>& nodes) {
        std::string text;
        for (const INode* node : nodes)
            text += node->name().buf();
        return text;
    }
    [[nodiscard]] static std::string upstream(const Node& node) {
        return names(node.dependencies(false, false));
    }
    [[nodiscard]] static std::string downstream(const Node& node) {
        return names(node.dependencies(true, false));
    }

    Node m_a{nullptr, "thing", "a"}, m_b{nullptr, "thing", "b"}, m_c{nullptr, "thing", "c"};
    Node m_d{nullptr, "thing", "d"}, m_e{nullptr, "thing", "e"}, m_f{nullptr, "thing", "f"};
};

// ---- Upstream ------------------------------------------------------------------------------

TEST_F(NodeStateDependencies, NodeWithoutReferences_HasNoDependencies) {
    EXPECT_EQ(upstream(m_a), "");
    EXPECT_EQ(downstream(m_a), "");
    m_a.createInput("n", AttrType::Node);
    m_a.createInput("x", AttrType::Real);
    m_a.createArray("list", AttrType::Node)->appendElement();
    m_a.createInput("obj", AttrType::Object);
    m_a.createOutput("o", AttrType::Real);
    EXPECT_EQ(upstream(m_a), "");
    EXPECT_EQ(downstream(m_a), "");
}

TEST_F(NodeStateDependencies, TheyComeDepthFirstEachBeforeItsOwn) {
    link(m_a, m_b);
    link(m_a, m_e);
    link(m_b, m_c);
    link(m_b, m_d);
    link(m_e, m_f);
    EXPECT_EQ(upstream(m_a), "bcdef");
}

TEST_F(NodeStateDependencies, NodeMetTwice_StandsWhereItWasMetFirst) {
    link(m_a, m_b);
    link(m_a, m_c);
    link(m_b, m_d);
    link(m_d, m_c);
    link(m_c, m_e);
    EXPECT_EQ(upstream(m_a), "bdce");
}

TEST_F(NodeStateDependencies, InputsCountInTheirOrder) {
    m_a.createInput("z", AttrType::Node)->setNode(&m_b);
    read(m_a, "y", m_c);
    m_a.createInput("x", AttrType::Object)->createInput("n", AttrType::Node)->setNode(&m_d);
    m_a.createArray("w", AttrType::Node)->appendElement()->setNode(&m_e);
    m_a.createInput("v", AttrType::Node)->setNode(&m_f);
    EXPECT_EQ(upstream(m_a), "bcdef");
}

TEST_F(NodeStateDependencies, ElementsCountInTheirOrder) {
    IInput* list = m_a.createArray("list", AttrType::Node);
    for (Node* node : {&m_b, &m_c, &m_d})
        list->appendElement()->setNode(node);
    EXPECT_EQ(upstream(m_a), "bcd");
    ASSERT_TRUE(list->moveElement(2, 0));
    EXPECT_EQ(upstream(m_a), "dbc");
    list->input(u64(1))->setNode(nullptr);
    EXPECT_EQ(upstream(m_a), "dc");
}

TEST_F(NodeStateDependencies, LinksAreFoundAtAnyDepth) {
    IInput* object = m_a.createInput("obj", AttrType::Object);
    IInput* objects = object->createArray("list", AttrType::Object);
    IInput* inner = objects->appendElement();
    inner->createArray("deep", AttrType::Node)->appendElement()->setNode(&m_b);
    inner->createInput("n", AttrType::Node)->setNode(&m_c);
    objects->appendElement()->createInput("n", AttrType::Node)->setNode(&m_d);
    object->createInput("last", AttrType::Node)->setNode(&m_e);
    EXPECT_EQ(upstream(m_a), "bcde");
}

TEST_F(NodeStateDependencies, ConnectionsAreFoundAtAnyDepth) {
    IInput* list = m_a.createArray("list", AttrType::Real);
    ASSERT_TRUE(list->appendElement()->connect(m_b.createOutput("o", AttrType::Real)));
    IInput* member = m_a.createInput("obj", AttrType::Object)->createInput("x", AttrType::Real);
    ASSERT_TRUE(member->connect(m_c.createOutput("o", AttrType::Real)));
    EXPECT_EQ(upstream(m_a), "bc");
    member->disconnect();
    EXPECT_EQ(upstream(m_a), "b");
}

TEST_F(NodeStateDependencies, SourceOfANodeInput_ComesAfterItsLink) {
    const auto output = RefersTo<Output>::adopt(new Output(&m_b, "o", AttrType::Node));
    IInput* input = m_a.createInput("n", AttrType::Node);
    input->setNode(&m_c);
    ASSERT_TRUE(input->connect(output.get()));
    link(m_c, m_d);
    EXPECT_EQ(upstream(m_a), "cdb");
    input->setNode(nullptr);
    EXPECT_EQ(upstream(m_a), "b");
}

TEST_F(NodeStateDependencies, OutputInNoList_LeadsToItsNodeButNotBack) {
    const auto output = RefersTo<Output>::adopt(new Output(&m_b, "o", AttrType::Real));
    ASSERT_TRUE(m_a.createInput("x", AttrType::Real)->connect(output.get()));
    EXPECT_EQ(upstream(m_a), "b");
    EXPECT_EQ(downstream(m_b), "");
}

TEST_F(NodeStateDependencies, OutputWithoutANode_LeadsNowhere) {
    const auto output = RefersTo<Output>::adopt(new Output(nullptr, "o", AttrType::Real));
    ASSERT_TRUE(m_a.createInput("x", AttrType::Real)->connect(output.get()));
    EXPECT_EQ(upstream(m_a), "");
}

TEST_F(NodeStateDependencies, OnlyLinksOfTheKindNodeCount) {
    m_a.createInput("s", AttrType::String)->setString("b");
    m_a.createInput("i", AttrType::Int)->setInt(1);
    m_a.createInput("null", AttrType::Null);
    EXPECT_EQ(upstream(m_a), "");
}

TEST_F(NodeStateDependencies, SourceOfAnyKind_Counts) {
    const AttrType kinds[] = {AttrType::Bool, AttrType::String, AttrType::Mat4, AttrType::Vec3};
    for (const AttrType kind : kinds) {
        Node reader(nullptr, "thing", "r");
        Node source(nullptr, "thing", "s");
        ASSERT_TRUE(reader.createInput("x", kind)->connect(source.createOutput("o", kind)));
        EXPECT_EQ(upstream(reader), "s") << attrTypeName(kind);
    }
}

TEST_F(NodeStateDependencies, LinkAndConnectionToOneNode_ListItOnce) {
    link(m_a, m_b);
    link(m_a, m_b);
    read(m_a, "x", m_b);
    m_a.createInput("n", AttrType::Node)->setNode(&m_b);
    EXPECT_EQ(upstream(m_a), "b");
}

TEST_F(NodeStateDependencies, NodeItself_IsNeverListed) {
    link(m_a, m_a);
    EXPECT_EQ(upstream(m_a), "");
    link(m_a, m_b);
    link(m_b, m_a);
    link(m_b, m_c);
    link(m_c, m_a);
    EXPECT_EQ(upstream(m_a), "bc");
    EXPECT_EQ(upstream(m_b), "ac");
    EXPECT_EQ(upstream(m_c), "ab");
    EXPECT_EQ(names(m_c.dependencies(true, true)), "ba");
}

TEST_F(NodeStateDependencies, RemovedLink_IsNoneAnyMore) {
    link(m_a, m_b);
    link(m_b, m_c);
    m_a.removeInput("links");
    EXPECT_EQ(upstream(m_a), "");
}

TEST_F(NodeStateDependencies, Flag_ReversesTheOrder) {
    link(m_a, m_b);
    link(m_b, m_c);
    read(m_a, "x", m_d);
    EXPECT_EQ(names(m_a.dependencies(false, false)), "bcd");
    EXPECT_EQ(names(m_a.dependencies(false, true)), "dcb");
    read(m_e, "x", m_a);
    EXPECT_EQ(names(m_a.dependencies(true, true)), "edcb");
}

TEST_F(NodeStateDependencies, Iterator_IsTheCallersAndNewEachTime) {
    link(m_a, m_b);
    const auto one = RefersTo<NodeIterator>::adopt(m_a.dependencies(false, false));
    const auto two = RefersTo<NodeIterator>::adopt(m_a.dependencies(false, false));
    EXPECT_NE(one.get(), two.get());
    EXPECT_EQ(one->refCount(), 1);
    m_a.clearInputs();
    EXPECT_EQ(one->first(), &m_b);
    EXPECT_EQ(one->next(), nullptr);
}

TEST_F(NodeStateDependencies, OfNodesOutsideAScene_AreThoseInside) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    auto* inside = static_cast<Node*>(scene->createNode("thing", "i"));
    link(m_a, *inside);
    link(*inside, m_b);
    EXPECT_EQ(upstream(m_a), "ib");
    scene->removeNode(inside);
    EXPECT_EQ(upstream(m_a), "");
}

// ---- Downstream ----------------------------------------------------------------------------

TEST_F(NodeStateDependencies, Readers_ComeInOrderOfOutputsThenOfConnection) {
    IOutput* first = m_a.createOutput("z", AttrType::Real);
    IOutput* second = m_a.createOutput("y", AttrType::Real);
    ASSERT_TRUE(m_e.createInput("x", AttrType::Real)->connect(second));
    ASSERT_TRUE(m_d.createInput("x", AttrType::Real)->connect(first));
    ASSERT_TRUE(m_b.createInput("x", AttrType::Real)->connect(first));
    EXPECT_EQ(downstream(m_a), "dbe");
    EXPECT_EQ(upstream(m_a), "");
}

TEST_F(NodeStateDependencies, Dependencies_ComeBeforeReaders) {
    read(m_b, "x", m_a);
    link(m_a, m_c);
    read(m_d, "x", m_c);
    EXPECT_EQ(downstream(m_a), "cdb");
}

TEST_F(NodeStateDependencies, Reader_BringsItsDependenciesAndReaders) {
    read(m_b, "x", m_a);
    link(m_b, m_c);
    read(m_d, "x", m_b);
    link(m_d, m_e);
    EXPECT_EQ(downstream(m_a), "bcde");
}

TEST_F(NodeStateDependencies, ReadersOfALinkedNode_CountToo) {
    m_a.createInput("obj", AttrType::Object)->createInput("n", AttrType::Node)->setNode(&m_b);
    read(m_c, "x", m_b);
    read(m_a, "x", m_d);
    read(m_e, "x", m_d);
    EXPECT_EQ(downstream(m_a), "bcde");
    EXPECT_EQ(upstream(m_a), "bd");
}

TEST_F(NodeStateDependencies, NodesThatOnlyLink_AreNoReaders) {
    link(m_b, m_a);
    EXPECT_EQ(downstream(m_a), "");
}

TEST_F(NodeStateDependencies, ReaderAtDepth_IsItsNode) {
    IInput* object = m_b.createInput("obj", AttrType::Object);
    IInput* element = object->createArray("list", AttrType::Real)->appendElement();
    ASSERT_TRUE(element->connect(m_a.createOutput("o", AttrType::Real)));
    EXPECT_EQ(downstream(m_a), "b");
}

TEST_F(NodeStateDependencies, NodeThatReadsItself_IsNotListed) {
    m_a.createOutput("o", AttrType::Real);
    IInput* link = m_a.createInput("n", AttrType::Node);
    link->setNode(&m_a);
    read(m_b, "x", m_a);
    m_b.createInput("n", AttrType::Node)->setNode(&m_a);
    EXPECT_EQ(downstream(m_a), "b");
    EXPECT_EQ(downstream(m_b), "a");
}

// ---- Lists ---------------------------------------------------------------------------------

TEST_F(NodeStateDependencies, FindDeps_ListsTheNodeFirst) {
    link(m_a, m_b);
    ds::Vector<INode*> out;
    findDeps(&m_a, out, false);
    EXPECT_EQ(names(out), "ab");
}

TEST_F(NodeStateDependencies, FindDepsOfNull_AddsNothing) {
    ds::Vector<INode*> out{&m_b};
    for (const bool readers : {false, true}) {
        findDeps(static_cast<INode*>(nullptr), out, readers);
        findDeps(static_cast<IInput*>(nullptr), out, readers);
    }
    EXPECT_EQ(names(out), "b");
}

TEST_F(NodeStateDependencies, NodeInTheListAlready_EndsTheWalkThere) {
    link(m_a, m_b);
    link(m_b, m_c);
    link(m_a, m_d);
    ds::Vector<INode*> out{&m_b};
    findDeps(&m_a, out, false);
    EXPECT_EQ(names(out), "bad");
    findDeps(&m_a, out, false);
    findDeps(&m_b, out, false);
    EXPECT_EQ(names(out), "bad");
}

TEST_F(NodeStateDependencies, ReaderInTheListAlready_EndsTheWalkThere) {
    read(m_b, "x", m_a);
    read(m_c, "x", m_b);
    read(m_d, "x", m_a);
    ds::Vector<INode*> out{&m_b};
    findDeps(&m_a, out, true);
    EXPECT_EQ(names(out), "bad");
}

TEST_F(NodeStateDependencies, NodeTwiceInTheGivenList_StaysTwice) {
    link(m_a, m_b);
    ds::Vector<INode*> out{&m_c, &m_c};
    findDeps(&m_a, out, false);
    EXPECT_EQ(names(out), "ccab");
}

TEST_F(NodeStateDependencies, FindDepsOfAnInput_StartsThere) {
    link(m_a, m_b);
    m_a.createInput("n", AttrType::Node)->setNode(&m_c);
    link(m_c, m_d);
    ds::Vector<INode*> out;
    findDeps(m_a.findInputByName("n"), out, false);
    EXPECT_EQ(names(out), "cd");
    findDeps(m_a.findInputByName("links"), out, false);
    EXPECT_EQ(names(out), "cdb");
}

TEST_F(NodeStateDependencies, FindDepsOfAnInput_ListsItsOwnNodeWhenLedBack) {
    m_a.createInput("n", AttrType::Node)->setNode(&m_b);
    link(m_b, m_a);
    ds::Vector<INode*> out;
    findDeps(m_a.findInputByName("n"), out, false);
    EXPECT_EQ(names(out), "ba");
}

TEST_F(NodeStateDependencies, FindDepsOfAnInput_TakesReadersOnRequest) {
    m_a.createArray("list", AttrType::Node)->appendElement()->setNode(&m_b);
    read(m_a, "x", m_c);
    read(m_d, "x", m_b);
    read(m_e, "x", m_c);
    ds::Vector<INode*> up, down;
    for (const char* name : {"list", "x"}) {
        findDeps(m_a.findInputByName(name), up, false);
        findDeps(m_a.findInputByName(name), down, true);
    }
    EXPECT_EQ(names(up), "bc");
    EXPECT_EQ(names(down), "bdcae");
}

TEST_F(NodeStateDependencies, FindDepsOfAPlainInput_AddsNothing) {
    ds::Vector<INode*> out;
    findDeps(m_a.createInput("x", AttrType::Real), out, true);
    findDeps(m_a.createInput("n", AttrType::Node), out, true);
    EXPECT_EQ(names(out), "");
}

// ---- Length --------------------------------------------------------------------------------

TEST_F(NodeStateDependencies, LongChain_IsFollowedToItsEnd) {
    constexpr std::size_t kLength = 20'000;
    std::vector<RefersTo<Node>> nodes;
    for (std::size_t i = 0; i <= kLength; ++i) {
        nodes.push_back(RefersTo<Node>::adopt(new Node(nullptr, "thing", "n")));
        if (i > 0) link(*nodes[i], *nodes[i - 1]);
    }
    tests::runOnSmallStack([&] {
        const auto all = RefersTo<NodeIterator>::adopt(nodes.back()->dependencies(false, false));
        EXPECT_EQ(all->count(), kLength);
        nodes.back()->setDirty(false);
        EXPECT_TRUE(nodes.back()->dirty(true));
    });
}

TEST_F(NodeStateDependencies, LongChainOfReaders_IsFollowedToItsEnd) {
    constexpr std::size_t kLength = 2'000;
    std::vector<RefersTo<Node>> nodes;
    for (std::size_t i = 0; i <= kLength; ++i) {
        nodes.push_back(RefersTo<Node>::adopt(new Node(nullptr, "thing", "n")));
        if (i > 0) read(*nodes[i], "x", *nodes[i - 1]);
    }
    tests::runOnSmallStack([&] {
        const auto all = RefersTo<NodeIterator>::adopt(nodes.front()->dependencies(true, false));
        EXPECT_EQ(all->count(), kLength);
    });
    // Destroys the last reader first, so that no node has a chain of dependents at its end.
    while (!nodes.empty())
        nodes.pop_back();
}

TEST_F(NodeStateDependencies, DeepObject_IsFollowedToItsEnd) {
    IInput* input = m_a.createInput("obj", AttrType::Object);
    for (int i = 0; i < 1'000; ++i)
        input = input->createInput("m", AttrType::Object);
    input->createInput("n", AttrType::Node)->setNode(&m_b);
    EXPECT_EQ(upstream(m_a), "b");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
