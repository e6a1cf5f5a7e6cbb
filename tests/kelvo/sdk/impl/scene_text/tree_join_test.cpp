#include "kelvo/sdk/impl/scene_text/tree_join.h"

#include "kelvo/sdk/impl/scene_text/scene_parser.h"

#include <gtest/gtest.h>

#include <string_view>

namespace qv::kelvo_sdk::impl {
namespace {

void parse(std::string_view text, SceneTree& tree) {
    TextErrors errors(text, 1);
    SceneParser(text, {}, tree, errors).parse();
    EXPECT_TRUE(errors.empty()) << text;
}

// Joins the trees of two texts.
void join(std::string_view first, std::string_view second, SceneTree& tree) {
    SceneTree added;
    parse(first, tree);
    parse(second, added);
    TreeJoin joined(tree, added);
    ASSERT_TRUE(joined.fits(10));
    joined.joinNodes("# leading\n");
    joined.joinInputs();
}

TEST(TreeJoin, Names_AreThoseOfOneTree) {
    SceneTree tree;
    join("node t \"a\" {\nReal x = 1\n}\n", "node t \"b\" {\nReal y = 2\nReal x = 3\n}\n", tree);
    ASSERT_EQ(tree.nodes.size(), 2u);
    EXPECT_EQ(tree.nodes[0].type, tree.nodes[1].type);
    EXPECT_EQ(tree.inputs[0].name, tree.inputs[2].name);
    EXPECT_EQ(tree.names.text(tree.inputs[1].name).view(), "y");
    EXPECT_EQ(tree.findNode(tree.names.add("B")), 1u);
}

TEST(TreeJoin, Inputs_KeepTheirSiblingsAndMembers) {
    SceneTree tree;
    join("node t \"a\" {\nReal x = 1\n}\n",
         "node t \"b\" {\nObject o {\nReal y = 2\n}\nReal z = 3\n}\n", tree);
    const TreeInput& object = tree.inputs[tree.nodes[1].firstInput];
    EXPECT_EQ(tree.names.text(tree.inputs[object.firstMember].name).view(), "y");
    EXPECT_EQ(tree.inputs[object.firstMember].value.asReal(), 2);
    EXPECT_EQ(tree.names.text(tree.inputs[object.nextSibling].name).view(), "z");
    EXPECT_EQ(tree.inputs[object.nextSibling].nextSibling, noTreeIndex);
}

TEST(TreeJoin, References_BelongToTheirNodesAndInputs) {
    SceneTree tree;
    join("node t \"a\" {\nNode n = b\n}\n",
         "node t \"b\" {\nNode n = a\nReal x <- a.out\noutput Real out\n}\n", tree);
    ASSERT_EQ(tree.links.size(), 2u);
    EXPECT_EQ(tree.links[1].node, 1u);
    EXPECT_EQ(tree.links[1].input, tree.nodes[1].firstInput);
    EXPECT_EQ(tree.links[1].name, tree.nodes[0].name);
    ASSERT_EQ(tree.connections.size(), 1u);
    EXPECT_EQ(tree.connections[0].sourceNode, tree.nodes[0].name);
    EXPECT_EQ(tree.connections[0].sourceOutput, tree.outputs[tree.nodes[1].firstOutput].name);
}

TEST(TreeJoin, Comments_FollowTheirNodes) {
    SceneTree tree;
    join("# a\nnode t \"a\" {\n}\n", "node t : u \"b\" {\n} # behind\n", tree);
    const TreeExtras* extras = tree.extrasOf(tree.nodes[1].extras);
    ASSERT_TRUE(extras);
    EXPECT_EQ(extras->comments.leading.view(), "# leading\n");
    EXPECT_EQ(extras->comments.trailing.view(), "# behind");
    EXPECT_EQ(tree.names.text(tree.bases[tree.nodes[1].firstBase]).view(), "u");
}

TEST(TreeJoin, TakenNamesAndTooManyNodes_DoNotFit) {
    SceneTree tree;
    SceneTree same;
    SceneTree other;
    parse("node t \"a\" {\n}\n", tree);
    parse("node t \"A\" {\n}\n", same);
    parse("node t \"b\" {\n}\n", other);
    EXPECT_FALSE(TreeJoin(tree, same).fits(10));
    EXPECT_FALSE(TreeJoin(tree, other).fits(1));
    EXPECT_TRUE(TreeJoin(tree, other).fits(2));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
