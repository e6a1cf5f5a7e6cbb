// Links to a node are cleared when the node is removed or destroyed.

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

TEST(DanglingLinks, DefaultOfARemovedNode_IsNotReset) {
    const Scene scene = tests::sceneOf("node t \"a\" {\n Node n = null @default b\n}\n"
                                       "node t \"b\" {\n}\n");
    scene.removeNode(scene["b"]);
    EXPECT_TRUE(scene.verify().empty());
    EXPECT_EQ(tests::textOf(scene).find("@default"), std::string::npos);
}

TEST(DanglingLinks, DefaultOfARemovedNode_ComesBackWithIt) {
    const Scene scene = tests::sceneOf("node t \"a\" {\n Node n = null @default b\n}\n"
                                       "node t \"b\" {\n}\n");
    scene.setUndoEnabled(true);
    const auto before = tests::textOf(scene);
    scene.removeNode(scene["b"]);
    scene.undo();
    EXPECT_EQ(tests::textOf(scene), before);
}

TEST(DanglingLinks, HeldNodeOfASceneThatEnds_LinksToNothing) {
    Node held;
    {
        const Scene scene = tests::sceneOf("node t \"a\" {\n Node n = b\n}\nnode t \"b\" {\n}\n");
        held = scene["a"];
    }
    interfaces::INode* linked = nullptr;
    EXPECT_TRUE(held->input(String("n"))->readNode(linked, false, nullptr));
    EXPECT_EQ(linked, nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk
