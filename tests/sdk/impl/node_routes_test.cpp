#include "sdk/impl/input.h"
#include "sdk/impl/node.h"
#include "sdk/impl/path_iterator.h"
#include "sdk/impl/scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

class NodeRoutes : public testing::Test {
protected:
    Node* make(const char* type, const char* name) {
        auto* node = static_cast<Node*>(m_scene->createNode(type, name));
        node->createArray("children", AttrType::Node);
        return node;
    }
    static void link(Node* parent, Node* child) { child->parentTo(parent); }

    [[nodiscard]] static std::string all(PathIterator* iterator) {
        if (!iterator) return "null";
        const auto paths = RefersTo<PathIterator>::adopt(iterator);
        std::string text;
        while (const NodePath* path = paths->current()) {
            text += std::string(path->text().buf()) + " ";
            paths->next();
        }
        return text;
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_root = make("xform", "root");
    Node* m_arm = make("xform", "arm");
    Node* m_leg = make("xform", "leg");
    Node* m_mesh = make("mesh", "mesh");
};

TEST_F(NodeRoutes, Paths_ToATypeToSeveralOrToAll) {
    link(m_root, m_arm);
    link(m_root, m_leg);
    link(m_arm, m_mesh);
    link(m_leg, m_mesh);
    EXPECT_EQ(all(m_root->paths(String("mesh"), false)), "root/arm/mesh root/leg/mesh ");
    EXPECT_EQ(all(m_root->paths(StringVector{"light", "mesh"}, false)),
              "root/arm/mesh root/leg/mesh ");
    EXPECT_EQ(all(m_root->paths(String("light"), false)), "");
    EXPECT_EQ(all(m_root->paths(String(""), false)),
              "root/arm root/arm/mesh root/leg root/leg/mesh ");
    EXPECT_EQ(all(m_root->paths(StringVector(), false)),
              "root/arm root/arm/mesh root/leg root/leg/mesh ");
}

TEST_F(NodeRoutes, PathsTo_ANodeOrItsName) {
    link(m_root, m_arm);
    link(m_arm, m_mesh);
    EXPECT_EQ(all(m_root->pathsTo(m_mesh, false)), "root/arm/mesh ");
    EXPECT_EQ(all(m_root->pathsTo(String("mesh"), false)), "root/arm/mesh ");
    EXPECT_EQ(all(m_root->pathsTo(String("nobody"), false)), "null");
    EXPECT_EQ(all(m_root->pathsTo(static_cast<INode*>(nullptr), false)), "null");
    EXPECT_EQ(all(m_mesh->pathsTo(m_root, false)), "");
}

TEST_F(NodeRoutes, FirstPathTo_IsOwnedByTheCaller) {
    link(m_root, m_arm);
    link(m_root, m_mesh);
    link(m_arm, m_mesh);
    const auto path = RefersTo<NodePath>::adopt(m_root->firstPathTo(m_mesh, false));
    ASSERT_TRUE(path);
    EXPECT_EQ(path->refCount(), 1);
    EXPECT_STREQ(path->text().buf(), "root/arm/mesh");
    const auto byName = RefersTo<NodePath>::adopt(m_root->firstPathTo(String("arm"), false));
    EXPECT_STREQ(byName->text().buf(), "root/arm");
}

TEST_F(NodeRoutes, FirstPathTo_WhereThereIsNone_IsNull) {
    EXPECT_EQ(m_root->firstPathTo(m_mesh, false), nullptr);
    EXPECT_EQ(m_root->firstPathTo(static_cast<INode*>(nullptr), true), nullptr);
    EXPECT_EQ(m_root->firstPathTo(String("nobody"), true), nullptr);
}

TEST_F(NodeRoutes, Flag_FollowsEveryLinkAndConnection) {
    Node* wood = make("image", "wood");
    m_mesh->createInput("material", AttrType::Object)
        ->createInput("texture", AttrType::Node)
        ->setNode(wood);
    m_mesh->createInput("size", AttrType::Real)
        ->connect(m_leg->createOutput("size", AttrType::Real));
    link(m_root, m_mesh);
    EXPECT_EQ(all(m_root->paths(String(""), false)), "root/mesh ");
    EXPECT_EQ(all(m_root->paths(String(""), true)), "root/mesh root/mesh/wood root/mesh/leg ");
    EXPECT_EQ(m_root->firstPathTo(wood, false), nullptr);
}

TEST_F(NodeRoutes, Cycles_AreWalkedOnce) {
    link(m_root, m_arm);
    link(m_arm, m_root);
    link(m_arm, m_leg);
    EXPECT_EQ(all(m_root->paths(String(""), false)), "root/arm root/arm/leg ");
    EXPECT_EQ(all(m_root->pathsTo(m_root, false)), "");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
