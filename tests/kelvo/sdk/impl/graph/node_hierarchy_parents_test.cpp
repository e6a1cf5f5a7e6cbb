#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_graph.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::NodeGraph;

class NodeParents : public testing::Test {
protected:
    Node* make(const char* name, const char* type = "xform") { return m_graph.add(name, type); }
    static void link(Node* parent, Node* child) { NodeGraph::link(parent, child); }
    [[nodiscard]] static IInput* list(const Node* node) {
        return node->findInputByName("children");
    }
    [[nodiscard]] static std::string children(const Node* node) {
        return NodeGraph::children(node, 0);
    }

    NodeGraph m_graph;
};

// ---- Position ------------------------------------------------------------------------------

TEST_F(NodeParents, IndexIn_CountsEmptyElements) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, nullptr);
    link(root, a);
    link(root, a);
    EXPECT_EQ(a->indexIn(root), 1);
    EXPECT_EQ(b->indexIn(root), -1);
}

TEST_F(NodeParents, IndexIn_SaysWhatIsMissing) {
    const LogCapture log;
    Node node(nullptr, "xform", "n");
    Node empty(nullptr, "xform", "empty"), plain(nullptr, "xform", "plain");
    Node numbers(nullptr, "xform", "numbers"), none(nullptr, "xform", "none");
    empty.createArray("children", AttrType::Node);
    numbers.createArray("CHILDREN", AttrType::Int);
    plain.createInput("children", AttrType::Node);
    EXPECT_EQ(node.indexIn(nullptr), -5);
    EXPECT_EQ(node.indexIn(&none), -4);
    EXPECT_EQ(node.indexIn(&plain), -3);
    EXPECT_EQ(node.indexIn(&numbers), -2);
    EXPECT_EQ(node.indexIn(&empty), -1);
    for (Node* parent : {static_cast<Node*>(nullptr), &none, &plain, &numbers}) {
        EXPECT_FALSE(node.parentTo(parent));
        EXPECT_FALSE(node.unparentFrom(parent));
    }
    EXPECT_EQ(none.inputCount(), 0u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeParents, ParentTo_AppendsOnce) {
    Node *root = make("R"), *a = make("A");
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_FALSE(a->parentTo(root));
    EXPECT_EQ(list(root)->inputCount(), 1u);
    EXPECT_EQ(children(root), "A");
}

TEST_F(NodeParents, UnparentFrom_EmptiesTheElementThatALaterParentToDoesNotReuse) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    a->parentTo(root);
    b->parentTo(root);
    EXPECT_TRUE(a->unparentFrom(root));
    EXPECT_FALSE(a->unparentFrom(root));
    EXPECT_EQ(b->indexIn(root), 1);
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_EQ(a->indexIn(root), 2);
    EXPECT_EQ(children(root), "BA");
}

TEST_F(NodeParents, IndexIn_AmongTheParentsInAScene_IsThatOfTheOneAsked) {
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    INode* child = scene->createNode("xform", "C");
    INode* parents[3];
    for (INode*& parent : parents) {
        parent = scene->createNode("xform", "P");
        parent->createArray("children", AttrType::Node);
        EXPECT_TRUE(child->parentTo(parent));
    }
    for (INode* parent : parents)
        EXPECT_EQ(child->indexIn(parent), 0);
    EXPECT_TRUE(child->unparentFrom(parents[1]));
    EXPECT_EQ(child->indexIn(parents[1]), -1);
    EXPECT_TRUE(child->parentTo(parents[1]));
    EXPECT_EQ(child->indexIn(parents[1]), 1);
}

TEST_F(NodeParents, IndexIn_CountsElementsEmptiedLater) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(root, b);
    list(root)->input(0)->setNode(nullptr);
    EXPECT_EQ(b->indexIn(root), 1);
    list(root)->removeInput(0);
    EXPECT_EQ(b->indexIn(root), 0);
}

TEST_F(NodeParents, IndexIn_AmongEmptyElementsOnly_IsMinusOne) {
    Node *root = make("R"), *a = make("A");
    link(root, nullptr);
    link(root, nullptr);
    EXPECT_EQ(a->indexIn(root), -1);
}

TEST_F(NodeParents, IndexIn_TakesArraysOfNodesOnly) {
    Node* child = make("C");
    for (int kind = 0; kind <= static_cast<int>(AttrType::Object); ++kind) {
        const auto type = static_cast<AttrType>(kind);
        Node* parent = m_graph.addBare("P");
        parent->createArray("children", type);
        EXPECT_EQ(child->indexIn(parent), type == AttrType::Node ? -1 : -2) << attrTypeName(type);
    }
}

TEST_F(NodeParents, IndexIn_OfInputsThatAreNoArrays_IsMinusThree) {
    Node* child = make("C");
    for (int kind = 0; kind <= static_cast<int>(AttrType::Object); ++kind) {
        const auto type = static_cast<AttrType>(kind);
        if (type == AttrType::Array) continue;
        Node* parent = m_graph.addBare("P");
        parent->createInput("children", type);
        EXPECT_EQ(child->indexIn(parent), -3) << attrTypeName(type);
    }
}

// The members of an object are walked as children, but an object is no array with indexes.
TEST_F(NodeParents, IndexIn_AnObjectThatLinksToTheNode_IsMinusThree) {
    Node *parent = m_graph.addBare("P"), *child = make("C");
    parent->createInput("children", AttrType::Object)
        ->createInput("x", AttrType::Node)
        ->setNode(child);
    EXPECT_EQ(child->indexIn(parent), -3);
    EXPECT_FALSE(child->parentTo(parent));
}

TEST_F(NodeParents, IndexIn_AsksTheNameInAnyCase) {
    Node *parent = m_graph.addBare("P"), *child = make("C");
    parent->createArray("ChildREN", AttrType::Node);
    EXPECT_TRUE(child->parentTo(parent));
    EXPECT_EQ(child->indexIn(parent), 0);
    EXPECT_TRUE(child->unparentFrom(parent));
    EXPECT_EQ(child->indexIn(parent), -1);
}

TEST_F(NodeParents, Parents_MayBeOfAnyType) {
    Node *mesh = make("M", "mesh"), *child = make("C");
    EXPECT_TRUE(child->parentTo(mesh));
    EXPECT_EQ(child->indexIn(mesh), 0);
    EXPECT_EQ(children(mesh), "");
    EXPECT_TRUE(child->unparentFrom(mesh));
}

TEST_F(NodeParents, IndexIn_LooksAtTheParentAlone) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    link(a, b);
    EXPECT_EQ(b->indexIn(root), -1);
    EXPECT_EQ(root->indexIn(a), -1);
}

TEST_F(NodeParents, IndexIn_ChangesNothing) {
    Node *root = make("R"), *a = make("A");
    link(root, a);
    root->setDirty(false);
    const LogCapture log;
    EXPECT_EQ(a->indexIn(root), 0);
    EXPECT_EQ(make("B")->indexIn(root), -1);
    EXPECT_FALSE(tests::probe(*root).dirty());
    EXPECT_EQ(list(root)->inputCount(), 1u);
    EXPECT_EQ(log.text(), "");
}

// ---- Parenting -----------------------------------------------------------------------------

TEST_F(NodeParents, ParentTo_AppendsAtTheEnd) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, nullptr);
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_TRUE(b->parentTo(root));
    EXPECT_EQ(list(root)->inputCount(), 3u);
    EXPECT_EQ(a->indexIn(root), 1);
    EXPECT_EQ(b->indexIn(root), 2);
}

TEST_F(NodeParents, ParentTo_OneMoreParent_KeepsTheFirst) {
    Node *one = make("1"), *two = make("2"), *a = make("A");
    EXPECT_TRUE(a->parentTo(one));
    EXPECT_TRUE(a->parentTo(two));
    EXPECT_EQ(children(one), "A");
    EXPECT_EQ(children(two), "A");
    EXPECT_TRUE(a->unparentFrom(one));
    EXPECT_EQ(children(two), "A");
}

TEST_F(NodeParents, ParentTo_ItselfOrItsChild_IsNotRefused) {
    Node *root = make("R"), *a = make("A");
    EXPECT_TRUE(root->parentTo(root));
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_TRUE(root->parentTo(a));
    EXPECT_EQ(NodeGraph::children(root, -1), "RA");
}

TEST_F(NodeParents, Parenting_DirtiesTheParentAndTellsItsObservers) {
    Node *root = make("R"), *a = make("A");
    Journal journal;
    tests::RecordingObserver parent("parent", journal), child("child", journal);
    root->subscribe(&parent);
    a->subscribe(&child);
    root->setDirty(false);
    a->setDirty(false);
    a->parentTo(root);
    EXPECT_EQ(journal.take(), "parent:changed=0");
    EXPECT_TRUE(tests::probe(*root).dirty());
    EXPECT_FALSE(tests::probe(*a).dirty());
    a->unparentFrom(root);
    EXPECT_EQ(journal.take(), "parent:changed=0");
    root->unsubscribe(&parent);
    a->unsubscribe(&child);
}

TEST_F(NodeParents, Refusals_TellNobodyAndAddNothing) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, a);
    root->setDirty(false);
    Journal journal;
    tests::RecordingObserver observer("parent", journal);
    root->subscribe(&observer);
    const LogCapture log;
    EXPECT_FALSE(a->parentTo(root));
    EXPECT_FALSE(b->unparentFrom(root));
    EXPECT_EQ(journal.take(), "");
    EXPECT_FALSE(tests::probe(*root).dirty());
    EXPECT_EQ(list(root)->inputCount(), 1u);
    EXPECT_EQ(log.text(), "");
    root->unsubscribe(&observer);
}

TEST_F(NodeParents, Parenting_LogsNothingAndTakesNoReference) {
    Node *root = make("R"), *a = make("A");
    const int refs = tests::probe(*a).refCount();
    const LogCapture log;
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_EQ(tests::probe(*a).refCount(), refs);
    EXPECT_TRUE(a->unparentFrom(root));
    EXPECT_EQ(tests::probe(*a).refCount(), refs);
    EXPECT_EQ(log.text(), "");
}

// ---- Unparenting ---------------------------------------------------------------------------

TEST_F(NodeParents, UnparentFrom_KeepsTheElementEmpty) {
    Node *root = make("R"), *a = make("A"), *b = make("B"), *c = make("C");
    for (Node* child : {a, b, c})
        link(root, child);
    const IInput* element = list(root)->input(u64{1});
    EXPECT_TRUE(b->unparentFrom(root));
    EXPECT_EQ(list(root)->inputCount(), 3u);
    EXPECT_EQ(list(root)->input(u64{1}), element);
    INode* linked = a;
    EXPECT_TRUE(element->readNode(linked, false, nullptr));
    EXPECT_EQ(linked, nullptr);
    EXPECT_EQ(c->indexIn(root), 2);
}

TEST_F(NodeParents, UnparentFrom_ANodeLinkedTwice_EmptiesTheFirstElement) {
    Node *root = make("R"), *a = make("A");
    link(root, a);
    link(root, a);
    EXPECT_TRUE(a->unparentFrom(root));
    EXPECT_EQ(a->indexIn(root), 1);
    EXPECT_TRUE(a->unparentFrom(root));
    EXPECT_EQ(a->indexIn(root), -1);
    EXPECT_FALSE(a->unparentFrom(root));
}

TEST_F(NodeParents, UnparentFrom_WhereTheElementRefuses_IsFalse) {
    Node *root = make("R"), *a = make("A");
    link(root, a);
    static_cast<Input*>(list(root)->input(u64{0}))->setReadOnly(true);
    const LogCapture log;
    EXPECT_FALSE(a->unparentFrom(root));
    EXPECT_EQ(a->indexIn(root), 0);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
