#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/node_iterator.h"
#include "tests/support/log_capture.h"
#include "tests/support/small_stack.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class NodeHierarchy : public testing::Test {
protected:
    // Nodes that link to each other go last made first; links are plain pointers.
    Node* make(const char* name, const char* type = "xform") {
        m_nodes.push_back(RefersTo<Node>::adopt(new Node(nullptr, type, name)));
        Node* node = m_nodes.back().get();
        node->createArray("children", AttrType::Node);
        return node;
    }
    static void link(Node* parent, Node* child) {
        parent->findInputByName("children")->appendElement()->setNode(child);
    }
    [[nodiscard]] static std::string children(const Node* node, i64 depth) {
        const auto nodes = RefersTo<NodeIterator>::adopt(node->children(depth));
        std::string names;
        for (const INode* child = nodes->first(); child; child = nodes->next())
            names += child->name().buf();
        return names;
    }

    std::vector<RefersTo<Node>> m_nodes;
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

// S is met at the limit first, where what is below it is out of reach, and again higher up.
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

// As a recursion without a memory would list them: what hangs below a node met again comes there.
TEST_F(NodeHierarchy, CyclesWithALimit_KeepTheOrderOfAPlainWalk) {
    Node *a = make("A"), *b = make("B"), *c = make("C"), *d = make("D");
    link(a, b);
    link(a, c);
    link(b, a);
    link(b, d);
    EXPECT_EQ(children(a, 2), "BACD");
    EXPECT_EQ(children(a, 1), "BADC");
}

TEST_F(NodeHierarchy, WithoutAChildrenInput_AreNoneAndSilent) {
    Node bare(nullptr, "xform", "bare");
    Node* root = make("R");
    link(root, &bare);
    const LogCapture log;
    EXPECT_EQ(children(&bare, -1), "");
    EXPECT_EQ(children(root, -1), "bare");
    EXPECT_EQ(bare.inputCount(), 0u);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeHierarchy, LongChain_IsWalkedToItsEnd) {
    constexpr int kDepth = 20'000;
    Node* root = make("R");
    Node* last = root;
    for (int i = 0; i < kDepth; ++i) {
        Node* next = make("n");
        link(last, next);
        last = next;
    }
    tests::runOnSmallStack([root] {
        const auto nodes = RefersTo<NodeIterator>::adopt(root->children(-1));
        EXPECT_EQ(nodes->count(), static_cast<u64>(kDepth));
    });
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

// ---- Parents -------------------------------------------------------------------------------

TEST_F(NodeHierarchy, IndexIn_CountsEmptyElements) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    link(root, nullptr);
    link(root, a);
    link(root, a);
    EXPECT_EQ(a->indexIn(root), 1);
    EXPECT_EQ(b->indexIn(root), -1);
}

TEST_F(NodeHierarchy, IndexIn_SaysWhatIsMissing) {
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

TEST_F(NodeHierarchy, ParentTo_AppendsOnce) {
    Node *root = make("R"), *a = make("A");
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_FALSE(a->parentTo(root));
    EXPECT_EQ(root->findInputByName("children")->inputCount(), 1u);
    EXPECT_EQ(children(root, 0), "A");
}

TEST_F(NodeHierarchy, UnparentFrom_EmptiesTheElementThatALaterParentToDoesNotReuse) {
    Node *root = make("R"), *a = make("A"), *b = make("B");
    a->parentTo(root);
    b->parentTo(root);
    EXPECT_TRUE(a->unparentFrom(root));
    EXPECT_FALSE(a->unparentFrom(root));
    EXPECT_EQ(b->indexIn(root), 1);
    EXPECT_TRUE(a->parentTo(root));
    EXPECT_EQ(a->indexIn(root), 2);
    EXPECT_EQ(children(root, 0), "BA");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
