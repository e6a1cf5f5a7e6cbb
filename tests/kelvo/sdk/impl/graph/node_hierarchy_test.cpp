#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_graph.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class NodeHierarchy : public testing::Test {
protected:
    Node* make(const char* name, const char* type = "xform") { return m_graph.add(name, type); }
    static void link(Node* parent, Node* child) { tests::NodeGraph::link(parent, child); }
    [[nodiscard]] static std::string children(const Node* node, i64 depth) {
        return tests::NodeGraph::children(node, depth);
    }

    tests::NodeGraph m_graph;
};

TEST_F(NodeHierarchy, Children_GoDownToTheDepthAsked) {
    Node *root = make("R"), *a = make("A"), *b = make("B", "mesh"), *c = make("C"), *d = make("D");
    link(root, a);
    link(root, b);
    link(a, c);
    link(c, d);
    EXPECT_EQ(children(root, 0), "AB");
    EXPECT_EQ(children(root, 1), "ACB");
    EXPECT_EQ(children(root, 2), "ACDB");
    EXPECT_EQ(children(root, -1), "ACDB");
    EXPECT_EQ(children(d, -1), "");
}

// The shorter way to B leaves a level more for the nodes below it.
TEST_F(NodeHierarchy, ChildrenCountedFromAGreatDepth_AreFoundOnTheShorterWay) {
    Node *root = make("R"), *a = make("A"), *b = make("B"), *c = make("C"), *d = make("D");
    link(root, a);
    link(a, b);
    link(b, c);
    link(c, d);
    link(root, b);
    constexpr i64 top = i64(1) << 40;
    ds::Vector<INode*> found;
    getChildren(root->lookUpInput(String("children")), top, top + 2, found);
    EXPECT_EQ(found.size(), 4u);
    EXPECT_TRUE(found.contains(d));
}

TEST_F(NodeHierarchy, ChildrenOfAnotherType_AreNone) {
    Node *mesh = make("M", "mesh"), *root = make("R"), *leaf = make("L");
    link(mesh, leaf);
    link(root, mesh);
    EXPECT_EQ(children(mesh, -1), "");
    EXPECT_EQ(children(root, -1), "M");
}

TEST_F(NodeHierarchy, DerivedTypes_CountAsXforms) {
    Node *group = make("G", "group"), *leaf = make("L");
    group->setBases({"xform"}, false, false);
    link(group, leaf);
    EXPECT_EQ(children(group, 0), "L");
}

TEST_F(NodeHierarchy, NodeLinkedTwice_IsListedAtItsFirstMeeting) {
    Node *root = make("R"), *a = make("A"), *b = make("B"), *shared = make("S");
    link(root, a);
    link(root, b);
    link(root, a);
    link(a, shared);
    link(b, shared);
    EXPECT_EQ(children(root, -1), "ASB");
    EXPECT_EQ(children(root, 0), "AB");
}

// The walk reaches S first at the limit, where the nodes below it are out of reach, and again
// higher up.
TEST_F(NodeHierarchy, NodeMetAgainHigherUp_IsWalkedAgain) {
    Node *root = make("R"), *a = make("A"), *shared = make("S"), *leaf = make("L");
    link(root, a);
    link(a, shared);
    link(root, shared);
    link(shared, leaf);
    EXPECT_EQ(children(root, 1), "ASL");
    EXPECT_EQ(children(root, 0), "AS");
}

TEST_F(NodeHierarchy, EmptyElements_AreSkipped) {
    Node *root = make("R"), *a = make("A");
    link(root, nullptr);
    link(root, a);
    EXPECT_EQ(children(root, -1), "A");
}

TEST_F(NodeHierarchy, Cycles_EndWithAndWithoutALimit) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(a, root);
    link(a, b);
    link(b, b);
    EXPECT_EQ(children(root, -1), "ARB");
    EXPECT_EQ(children(root, 0), "A");
    EXPECT_EQ(children(root, 1), "ARB");
    EXPECT_EQ(children(root, 50), "ARB");
}

// The order is that of a plain recursion: nodes below a node that is reached again are listed
// there.
TEST_F(NodeHierarchy, CyclesWithALimit_KeepTheOrderOfAPlainWalk) {
    Node *a = make("A"), *b = make("B"), *c = make("C"), *d = make("D");
    link(a, b);
    link(a, c);
    link(b, a);
    link(b, d);
    EXPECT_EQ(children(a, 2), "BACD");
    EXPECT_EQ(children(a, 1), "BADC");
}

TEST_F(NodeHierarchy, WithoutAChildrenInput_AreNoneWithALineInTheLog) {
    Node bare(nullptr, "xform", "bare");
    const LogCapture log;
    EXPECT_EQ(children(&bare, -1), "");
    EXPECT_EQ(bare.inputCount(), 0u);
    EXPECT_EQ(log.text(), "error: Input 'children' not found in 'xform' node 'bare'.\n");
}

TEST_F(NodeHierarchy, ChildWithoutAChildrenInput_GetsAnEmptyOne) {
    Node bare(nullptr, "xform", "bare");
    Node* root = make("R");
    link(root, &bare);
    const LogCapture log;
    EXPECT_EQ(children(root, 0), "bare");
    EXPECT_EQ(log.text(), "error: Input 'children' not found in 'xform' node 'bare'.\n");
    ASSERT_EQ(bare.inputCount(), 1u);
    EXPECT_EQ(bare.findInputByName("children")->type(), AttrType::Null);
    EXPECT_EQ(children(root, -1), "bare");
    EXPECT_EQ(log.text(), "error: Input 'children' not found in 'xform' node 'bare'.\n");
}

TEST_F(NodeHierarchy, ChildOfAnotherType_GetsNoChildrenInput) {
    Node mesh(nullptr, "mesh", "m");
    Node* root = make("R");
    link(root, &mesh);
    const LogCapture log;
    EXPECT_EQ(children(root, -1), "m");
    EXPECT_EQ(mesh.inputCount(), 0u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeHierarchy, GreatestDepth_IsALimitAsAnyOther) {
    constexpr i64 most = std::numeric_limits<i64>::max();
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(a, b);
    for (const i64 depth : {most - 1, most}) {
        ds::Vector<INode*> out;
        getChildren(root->findInputByName("children"), depth, most, out);
        EXPECT_EQ(out.size(), 2u) << depth;
    }
}

TEST_F(NodeHierarchy, GetChildren_KeepsWhatIsInTheListAlready) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(a, b);
    ds::Vector<INode*> out{a};
    getChildren(root->findInputByName("children"), 0, -1, out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[1], b);
}

TEST_F(NodeHierarchy, GetChildren_NeedsAnInputOfThatNameWithinTheLimit) {
    Node *root = make("R"), *a = make("A");
    IInput* other = root->createArray("other", AttrType::Node);
    other->appendElement()->setNode(a);
    link(root, a);
    ds::Vector<INode*> out;
    getChildren(nullptr, 0, -1, out);
    getChildren(other, 0, -1, out);
    getChildren(root->findInputByName("children"), 3, 2, out);
    EXPECT_TRUE(out.empty());
    getChildren(root->findInputByName("children"), 3, 3, out);
    EXPECT_EQ(out.size(), 1u);
}

// A walk that entered nodes again on each way down would have 2^40 ways to go.
TEST_F(NodeHierarchy, NodesOnManyWays_AreWalkedOnceForEachDepth) {
    Node* root = make("R");
    m_graph.addDiamonds(root, 40);
    for (const i64 top : {0, -100, 7}) {
        ds::Vector<INode*> out;
        getChildren(root->findInputByName("children"), top, top + 100, out);
        EXPECT_EQ(out.size(), 120u) << top;
    }
}

// ---- Limits ------------------------------------------------------------------------------

TEST_F(NodeHierarchy, EveryNegativeDepth_IsNoLimit) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(a, b);
    for (const i64 depth : {i64{-1}, i64{-2}, i64{-1000}, std::numeric_limits<i64>::min()})
        EXPECT_EQ(children(root, depth), "AB") << depth;
}

TEST_F(NodeHierarchy, LimitsBeyondTheGraph_ListAll) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(a, b);
    for (const i64 depth : {i64{1}, i64{1000}, std::numeric_limits<i64>::max()})
        EXPECT_EQ(children(root, depth), "AB") << depth;
}

TEST_F(NodeHierarchy, GetChildren_CountsFromTheDepthGiven) {
    Node *root = make("R"), *a = make("A"), *b = make("B"), *c = make("C");
    link(root, a);
    link(a, b);
    link(b, c);
    const auto found = [&](i64 depth, i64 maxDepth) {
        ds::Vector<INode*> out;
        getChildren(root->findInputByName("children"), depth, maxDepth, out);
        return out.size();
    };
    EXPECT_EQ(found(4, 3), 0u);
    EXPECT_EQ(found(3, 3), 1u);
    EXPECT_EQ(found(2, 3), 2u);
    EXPECT_EQ(found(-1, 0), 2u);
    EXPECT_EQ(found(-2, 0), 3u);
    EXPECT_EQ(found(7, -1), 3u);
}

// ---- Inputs that count as a list -----------------------------------------------------------

TEST_F(NodeHierarchy, NameInAnotherCase_IsTheListAtEveryLevel) {
    Node *root = m_graph.addBare("R"), *a = m_graph.addBare("A"), *b = make("B");
    root->createArray("CHILDREN", AttrType::Node)->appendElement()->setNode(a);
    a->createArray("Children", AttrType::Node)->appendElement()->setNode(b);
    EXPECT_EQ(children(root, -1), "AB");
    ds::Vector<INode*> out;
    getChildren(root->findInputByName("children"), 0, 0, out);
    EXPECT_EQ(out.size(), 1u);
}

TEST_F(NodeHierarchy, ListsOfOtherNames_AreNotWalked) {
    Node *root = m_graph.addBare("R"), *a = make("A"), *b = m_graph.addBare("B");
    for (const char* name : {"child", "children2", "kids", "_children"})
        root->createArray(name, AttrType::Node)->appendElement()->setNode(a);
    EXPECT_EQ(children(root, -1), "");
    b->createArray("kids", AttrType::Node)->appendElement()->setNode(root);
    link(a, b);
    EXPECT_EQ(children(a, -1), "B");
}

TEST_F(NodeHierarchy, PlainLinkNamedChildren_HoldsNone) {
    Node *root = m_graph.addBare("R"), *a = make("A");
    IInput* plain = root->createInput("children", AttrType::Node);
    plain->setNode(a);
    EXPECT_EQ(children(root, -1), "");
    ds::Vector<INode*> out;
    getChildren(plain, 0, -1, out);
    EXPECT_TRUE(out.empty());
}

TEST_F(NodeHierarchy, ElementsThatAreNoLinks_AreSkipped) {
    make("A");
    for (const AttrType kind : {AttrType::Real, AttrType::Bool, AttrType::Array}) {
        Node* root = m_graph.addBare("R");
        root->createArray("children", kind)->appendElement();
        EXPECT_EQ(children(root, -1), "") << attrTypeName(kind);
    }
    Node* root = m_graph.addBare("R");
    root->createArray("children", AttrType::String)->appendElement()->setString("A");
    const LogCapture log;
    EXPECT_EQ(children(root, -1), "");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeHierarchy, ObjectNamedChildren_GivesWhatItsMembersLinkTo) {
    Node *root = m_graph.addBare("R"), *a = make("A"), *b = make("B");
    IInput* object = root->createInput("children", AttrType::Object);
    object->createInput("x", AttrType::Node)->setNode(a);
    object->createInput("number", AttrType::Real);
    object->createInput("y", AttrType::Node)->setNode(b);
    EXPECT_EQ(children(root, 0), "AB");
}

TEST_F(NodeHierarchy, EmptiedElements_AreSkippedWhereverTheyAre) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    for (Node* child : {static_cast<Node*>(nullptr), a, static_cast<Node*>(nullptr), b})
        link(root, child);
    link(root, nullptr);
    EXPECT_EQ(children(root, -1), "AB");
    IInput* list = root->findInputByName("children");
    list->input(1)->setNode(nullptr);
    list->removeInput(0);
    EXPECT_EQ(children(root, -1), "B");
}

// ---- Returned iterators --------------------------------------------------------------------

TEST_F(NodeHierarchy, Children_AreDerivedAfreshAtEachCall) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    const auto before = RefersTo<NodeIterator>::adopt(root->children(-1));
    link(a, b);
    EXPECT_EQ(children(root, -1), "AB");
    root->findInputByName("children")->input(0)->setNode(b);
    EXPECT_EQ(children(root, -1), "B");
    EXPECT_EQ(before->count(), 1u);
    EXPECT_EQ(before->first(), a);
}

TEST_F(NodeHierarchy, Children_BelongToTheCallerAndOnlyBorrowTheNodes) {
    Node *root = make("R"), *a = make("A");
    link(root, a);
    const int rootRefs = tests::probe(*root).refCount(), childRefs = tests::probe(*a).refCount();
    const auto nodes = RefersTo<NodeIterator>::adopt(root->children(-1));
    EXPECT_EQ(nodes->refCount(), 1);
    EXPECT_EQ(nodes->first(), a);
    EXPECT_EQ(tests::probe(*root).refCount(), rootRefs);
    EXPECT_EQ(tests::probe(*a).refCount(), childRefs);
}

TEST_F(NodeHierarchy, Children_OfANodeWithoutAny_AreAnEmptyIterator) {
    for (const char* type : {"xform", "mesh"}) {
        const auto nodes = RefersTo<NodeIterator>::adopt(make("R", type)->children(-1));
        ASSERT_TRUE(nodes) << type;
        EXPECT_EQ(nodes->first(), nullptr) << type;
        EXPECT_EQ(nodes->next(), nullptr) << type;
    }
}

TEST_F(NodeHierarchy, Children_ChangeNothing) {
    Node *root = make("R"), *a = make("A");
    link(root, a);
    root->setDirty(false);
    a->setDirty(false);
    const LogCapture log;
    EXPECT_EQ(children(root, -1), "A");
    EXPECT_FALSE(tests::probe(*root).dirty());
    EXPECT_FALSE(tests::probe(*a).dirty());
    EXPECT_EQ(root->inputCount(), 1u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeHierarchy, TheList_GrowsToTwiceItsCapacityFromTwo) {
    Node* root = make("R");
    const u64 expected[] = {2, 2, 4, 4, 8};
    for (const u64 capacity : expected) {
        link(root, make("n"));
        ds::Vector<INode*> out;
        getChildren(root->findInputByName("children"), 0, 0, out);
        EXPECT_EQ(out.capacity(), capacity) << out.size();
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
