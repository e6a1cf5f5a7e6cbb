#include "kelvo/sdk/impl/graph/scene_comments.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::textOf;

class SceneCommentsOfANode : public testing::Test {
protected:
    static Comments trailing(const char* text) {
        Comments comments;
        comments.trailing = text;
        return comments;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    Scene& m_impl = static_cast<Scene&>(*m_scene.get());
    SceneComments& m_comments = m_impl.comments();
    Node* m_node = static_cast<Node*>(m_impl.createNode("t", "n"));
    IInput* m_input = m_node->createInput("a", AttrType::Real);
    IOutput* m_output = m_node->createOutput("o", AttrType::Real);
};

TEST_F(SceneCommentsOfANode, Find_WithoutComments_ReturnsNull) {
    EXPECT_TRUE(m_comments.empty());
    EXPECT_EQ(m_comments.find(m_node), nullptr);
    EXPECT_EQ(m_comments.find(m_input), nullptr);
    EXPECT_EQ(m_comments.find(m_output), nullptr);
}

TEST_F(SceneCommentsOfANode, Set_EachThing_HasItsOwn) {
    m_comments.set(m_node, trailing("# node"));
    m_comments.set(m_input, trailing("# input"));
    m_comments.set(m_output, trailing("# output"));
    ASSERT_NE(m_comments.find(m_output), nullptr);
    EXPECT_EQ(m_comments.find(m_node)->trailing.view(), "# node");
    EXPECT_EQ(m_comments.find(m_input)->trailing.view(), "# input");
    EXPECT_EQ(m_comments.find(m_output)->trailing.view(), "# output");
}

TEST_F(SceneCommentsOfANode, Set_Empty_Removes) {
    m_comments.set(m_node, trailing("# node"));
    m_comments.set(m_input, trailing("# input"));
    m_comments.set(m_node, Comments());
    m_comments.set(m_input, Comments());
    EXPECT_TRUE(m_comments.empty());
}

TEST_F(SceneCommentsOfANode, AllParts_StandAtTheirPlaces) {
    m_comments.setFile({"# before\n", "# header", "# end\n", String()});
    m_comments.set(m_node, {"# over\n\n# it\n", "# opens", "# last\n", "# closed"});
    m_comments.set(m_input, {"# over a\n", String(), String(), "# behind a"});
    m_comments.set(m_output, {"# over o\n", String(), String(), "# behind o"});
    EXPECT_EQ(textOf(m_scene), "# before\n"
                               "kelvo scene 1 # header\n"
                               "\n"
                               "# over\n"
                               "\n"
                               "# it\n"
                               "node t \"n\" { # opens\n"
                               "    # over a\n"
                               "    Real a = 0 # behind a\n"
                               "    # over o\n"
                               "    output Real o # behind o\n"
                               "    # last\n"
                               "} # closed\n"
                               "# end\n");
}

struct CleanCase {
    Comments comments;
    std::string_view leading;
    std::string_view trailing;
    const char* note;
};

class SceneCommentsCleaned : public SceneCommentsOfANode,
                             public testing::WithParamInterface<CleanCase> {};

TEST_P(SceneCommentsCleaned, ReadsBack) {
    m_comments.set(m_input, GetParam().comments);
    const Comments* cleaned = m_comments.find(m_input);
    ASSERT_NE(cleaned, nullptr);
    EXPECT_EQ(cleaned->leading.view(), GetParam().leading) << GetParam().note;
    EXPECT_EQ(cleaned->trailing.view(), GetParam().trailing) << GetParam().note;
    EXPECT_EQ(tests::rewritten(textOf(m_scene)), textOf(m_scene));
}

const CleanCase kCleaned[] = {
    {{"# a\n", "", "", "# b"}, "# a\n", "# b", "as it should be"},
    {{"a", "", "", "b"}, "# a\n", "# b", "the sign is added"},
    {{"# a\n\n\n\n# b\n", "", "", ""}, "# a\n\n# b\n", "", "blank lines become one"},
    {{"  # a \t\n", "", "", " # b "}, "# a\n", "# b", "blanks at the ends go"},
    {{"", "", "", "# a\nReal x = 1"}, "", "# a # Real x = 1", "one line stays one"},
    {{"# a\xff\n", "", "", "# \x01z"}, "# a?\n", "# ?z", "what cannot stand is replaced"},
    {{"# gr\xc3\xbcn\n", "", "", ""}, "# gr\xc3\xbcn\n", "", "UTF-8 stays"},
};
INSTANTIATE_TEST_SUITE_P(Table, SceneCommentsCleaned, testing::ValuesIn(kCleaned));

TEST_F(SceneCommentsOfANode, RemoveNode_TakesAllItsCommentsAlong) {
    m_comments.set(m_node, trailing("# node"));
    m_comments.set(m_input, trailing("# input"));
    m_comments.set(m_output, trailing("# output"));
    m_scene.removeNode(m_scene.findNode("n"));
    EXPECT_TRUE(m_comments.empty());
}

TEST_F(SceneCommentsOfANode, RemoveNode_LeavesThoseOfOthers) {
    m_comments.set(m_input, trailing("# input"));
    INode* other = m_impl.createNode("t", "other");
    m_comments.set(other->createInput("a", AttrType::Real), trailing("# other"));
    m_impl.removeNode(m_node);
    ASSERT_NE(m_comments.find(other->input(u64(0))), nullptr);
    EXPECT_EQ(m_comments.find(other->input(u64(0)))->trailing.view(), "# other");
}

TEST_F(SceneCommentsOfANode, RemoveAttributes_TheirCommentsGo) {
    m_comments.set(m_input, trailing("# input"));
    m_comments.set(m_output, trailing("# output"));
    m_node->removeInput("a");
    m_node->removeOutput("o");
    EXPECT_TRUE(m_comments.empty());
}

TEST_F(SceneCommentsOfANode, RedoneRemoval_TakesTheCommentsAlongAgain) {
    m_scene.setUndoEnabled(true);
    m_comments.set(m_input, trailing("# input"));
    m_comments.set(m_output, trailing("# output"));
    m_node->removeInput("a");
    m_node->removeOutput("o");
    EXPECT_TRUE(m_scene.undo() && m_scene.undo());
    EXPECT_NE(m_comments.find(m_input), nullptr);
    EXPECT_NE(m_comments.find(m_output), nullptr);
    EXPECT_TRUE(m_scene.redo() && m_scene.redo());
    EXPECT_TRUE(m_comments.empty());
}

TEST_F(SceneCommentsOfANode, Conversion_LeavesNoneWithTheNodeBefore) {
    const RefersTo<Node> before(m_node);
    m_comments.set(m_node, trailing("# node"));
    const INode* after = m_node->convertTo("xform");
    ASSERT_NE(m_comments.find(after), nullptr);
    EXPECT_EQ(m_comments.find(before.get()), nullptr);
}

TEST_F(SceneCommentsOfANode, UndoneConversion_LeavesNoneWithTheReplacement) {
    m_scene.setUndoEnabled(true);
    const RefersTo<INode> before(m_node);
    m_comments.set(m_node, trailing("# node"));
    const RefersTo<INode> after(m_node->convertTo("xform"));
    m_scene.undo();
    EXPECT_EQ(m_comments.find(after.get()), nullptr);
    EXPECT_NE(m_comments.find(before.get()), nullptr);
    m_scene.redo();
    EXPECT_NE(m_comments.find(after.get()), nullptr);
    EXPECT_EQ(m_comments.find(before.get()), nullptr);
}

TEST_F(SceneCommentsOfANode, RemoveObject_TakesItsMembersCommentsAlong) {
    IInput* object = m_node->createInput("object", AttrType::Object);
    IInput* inner = object->createInput("inner", AttrType::Object);
    m_comments.set(inner->createInput("a", AttrType::Real), trailing("# deep"));
    m_node->removeInput("object");
    EXPECT_TRUE(m_comments.empty());
}

TEST_F(SceneCommentsOfANode, RemoveMember_TakesItsCommentsAlong) {
    IInput* object = m_node->createInput("object", AttrType::Object);
    m_comments.set(object->createInput("a", AttrType::Real), trailing("# inside"));
    object->removeInput("a");
    EXPECT_TRUE(m_comments.empty());
}

TEST_F(SceneCommentsOfANode, Find_AnotherAttributeAtTheSameAddress_HasNone) {
    alignas(Input) std::byte place[sizeof(Input)];
    auto* gone = ::new (place) Input(m_node, nullptr, "a", AttrType::Real, AttrType::Null);
    m_comments.set(gone, trailing("# input"));
    gone->~Input();
    auto* next = ::new (place) Input(m_node, nullptr, "b", AttrType::Real, AttrType::Null);
    EXPECT_EQ(m_comments.find(next), nullptr);
    next->~Input();
}

// A node whose inputs have comments and unread lines in front of them.
class SceneCommentsOfARemovedNode : public testing::Test {
protected:
    SceneCommentsOfARemovedNode() {
        m_scene.setUndoEnabled(true);
        const ReadOptions options{.isPartial = true};
        EXPECT_TRUE(m_scene.read(text("a", "b", "c"), "text", options).isRead);
        m_node = m_scene["n"];
        EXPECT_TRUE(m_scene.removeNode(m_node));
    }
    static String text(const char* a, const char* b, const char* c) {
        return String("kelvo scene 1\n\nnode t \"n\" {\n    # Of a\n    Real ") + a +
               " = 1\n    what is this\n    Real " + b +
               " = 2\n    Object o {\n        nor this\n        # Of c\n        Int " + c +
               " = 3\n    }\n    nothing\n}\n";
    }
    [[nodiscard]] std::string restored() const {
        EXPECT_TRUE(m_scene.undo());
        return textOf(m_scene);
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_node;
};

TEST_F(SceneCommentsOfARemovedNode, InputsRenamedMeanwhile_HaveTheirCommentsWhenItIsBack) {
    ASSERT_TRUE(m_node["a"].rename("x"));
    ASSERT_TRUE(m_node["b"].rename("y"));
    ASSERT_TRUE(m_node["o"]["c"].rename("z"));
    EXPECT_EQ(restored(), text("x", "y", "z").view());
    ASSERT_TRUE(m_scene.redo());
    EXPECT_EQ(restored(), text("x", "y", "z").view());
}

TEST_F(SceneCommentsOfARemovedNode, InputsThatSwappedNames_HaveTheirOwnComments) {
    ASSERT_TRUE(m_node["a"].rename("x"));
    ASSERT_TRUE(m_node["b"].rename("a"));
    ASSERT_TRUE(m_node["x"].rename("b"));
    EXPECT_EQ(restored(), text("b", "a", "c").view());
}

TEST_F(SceneCommentsOfARemovedNode, InputRemovedMeanwhile_LeavesTheOthersTheirs) {
    ASSERT_TRUE(m_node.removeInput("b"));
    ASSERT_TRUE(m_node["o"]["c"].rename("z"));
    EXPECT_EQ(restored(), "kelvo scene 1\n\nnode t \"n\" {\n    # Of a\n    Real a = 1\n"
                          "    Object o {\n        nor this\n        # Of c\n        Int z = 3\n"
                          "    }\n    what is this\n    nothing\n}\n");
}

TEST_F(SceneCommentsOfARemovedNode, NewInputOfTheOldName_HasNoComments) {
    ASSERT_TRUE(m_node["a"].rename("x"));
    m_node.createInput("a", AttrType::Real);
    std::string expected(text("x", "b", "c").view());
    expected.insert(expected.find("    nothing"), "    Real a = 0\n");
    EXPECT_EQ(restored(), expected);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
