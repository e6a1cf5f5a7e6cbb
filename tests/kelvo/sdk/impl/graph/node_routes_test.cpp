#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"

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

TEST_F(NodeRoutes, Flag_FollowsChildrenOfAnyTypeAndListsOfAnyName) {
    m_mesh->createArray("parts", AttrType::Node)->appendElement()->setNode(m_leg);
    link(m_root, m_mesh);
    link(m_mesh, m_arm);
    EXPECT_EQ(all(m_root->paths(String(""), false)), "root/mesh ");
    EXPECT_EQ(all(m_root->paths(String(""), true)), "root/mesh root/mesh/arm root/mesh/leg ");
}

// Paths do not lead from a node to the readers of its outputs.
TEST_F(NodeRoutes, Flag_FollowsConnectionsToTheirSourceOnly) {
    m_leg->createInput("size", AttrType::Real)
        ->connect(m_root->createOutput("size", AttrType::Real));
    EXPECT_EQ(all(m_root->paths(String(""), true)), "");
    EXPECT_EQ(all(m_leg->pathsTo(m_root, true)), "leg/root ");
    EXPECT_EQ(all(m_leg->pathsTo(m_root, false)), "");
}

TEST_F(NodeRoutes, FlagOfFirstPathTo_IsPassedOn) {
    m_root->createInput("look", AttrType::Node)->setNode(m_mesh);
    EXPECT_EQ(m_root->firstPathTo(m_mesh, false), nullptr);
    EXPECT_EQ(m_root->firstPathTo(String("mesh"), false), nullptr);
    const auto path = RefersTo<NodePath>::adopt(m_root->firstPathTo(m_mesh, true));
    const auto byName = RefersTo<NodePath>::adopt(m_root->firstPathTo(String("mesh"), true));
    ASSERT_TRUE(path && byName);
    EXPECT_STREQ(path->text().buf(), "root/mesh");
    EXPECT_STREQ(byName->text().buf(), "root/mesh");
}

TEST_F(NodeRoutes, FlagOfPathsToAName_IsPassedOn) {
    m_root->createInput("look", AttrType::Node)->setNode(m_mesh);
    EXPECT_EQ(all(m_root->pathsTo(String("mesh"), false)), "");
    EXPECT_EQ(all(m_root->pathsTo(String("mesh"), true)), "root/mesh ");
    EXPECT_EQ(all(m_root->paths(StringVector{"mesh"}, false)), "");
    EXPECT_EQ(all(m_root->paths(StringVector{"mesh"}, true)), "root/mesh ");
}

// In a list, an empty name is a type that no node has; as a single text, it stands for no type.
TEST_F(NodeRoutes, EmptyType_IsAnEmptyListOfTypes) {
    link(m_root, m_arm);
    EXPECT_EQ(all(m_root->paths(String(), false)), "root/arm ");
    EXPECT_EQ(all(m_root->paths(StringVector{""}, false)), "");
    EXPECT_EQ(all(m_root->paths(StringVector{"", "xform"}, false)), "root/arm ");
}

TEST_F(NodeRoutes, Paths_AreNeverNull) {
    for (const char* type : {"", "xform", "none"}) {
        const auto byText = RefersTo<PathIterator>::adopt(m_root->paths(String(type), true));
        const auto byList = RefersTo<PathIterator>::adopt(m_root->paths(StringVector(), false));
        ASSERT_TRUE(byText && byList) << type;
        EXPECT_EQ(byText->count(), 0u);
        EXPECT_EQ(byText->current(), nullptr);
    }
}

// An unreachable target still gives an iterator, unlike a missing target.
TEST_F(NodeRoutes, PathsTo_WhatCannotBeReached_IsAnIteratorWithoutPaths) {
    for (PathIterator* found :
         {m_root->pathsTo(m_mesh, false), m_root->pathsTo(String("mesh"), true)}) {
        const auto paths = RefersTo<PathIterator>::adopt(found);
        ASSERT_TRUE(paths);
        EXPECT_EQ(paths->count(), 0u);
    }
}

TEST_F(NodeRoutes, Iterators_CarryOneReferenceForTheCaller) {
    for (PathIterator* made :
         {m_root->paths(String("xform"), false), m_root->paths(StringVector{"xform"}, false),
          m_root->pathsTo(m_mesh, false), m_root->pathsTo(String("mesh"), false)}) {
        const auto paths = RefersTo<PathIterator>::adopt(made);
        EXPECT_EQ(paths->refCount(), 1);
    }
}

TEST_F(NodeRoutes, EachCall_BuildsAFreshIterator) {
    link(m_root, m_mesh);
    const auto one = RefersTo<PathIterator>::adopt(m_root->pathsTo(m_mesh, false));
    EXPECT_FALSE(one->next());
    link(m_root, m_arm);
    link(m_arm, m_mesh);
    EXPECT_EQ(all(m_root->pathsTo(m_mesh, false)), "root/mesh root/arm/mesh ");
}

TEST_F(NodeRoutes, PathsByIterator_AreNotCutToTheFirst) {
    link(m_root, m_arm);
    link(m_root, m_leg);
    link(m_arm, m_mesh);
    link(m_leg, m_mesh);
    for (PathIterator* made :
         {m_root->pathsTo(m_mesh, false), m_root->pathsTo(String("mesh"), true),
          m_root->paths(String("mesh"), false)}) {
        const auto paths = RefersTo<PathIterator>::adopt(made);
        EXPECT_EQ(paths->count(), 2u);
        EXPECT_TRUE(paths->next());
    }
}

TEST_F(NodeRoutes, PathsTo_ItselfHasNone) {
    link(m_root, m_arm);
    link(m_arm, m_root);
    EXPECT_EQ(all(m_root->pathsTo(m_root, true)), "");
    EXPECT_EQ(all(m_root->pathsTo(String("root"), false)), "");
    EXPECT_EQ(m_root->firstPathTo(m_root, true), nullptr);
    EXPECT_EQ(m_root->firstPathTo(String("root"), true), nullptr);
}

TEST_F(NodeRoutes, MissingTargets_LogNothing) {
    const tests::LogCapture log;
    EXPECT_EQ(m_root->pathsTo(String("nobody"), true), nullptr);
    EXPECT_EQ(m_root->pathsTo(String(), true), nullptr);
    EXPECT_EQ(m_root->firstPathTo(String(), false), nullptr);
    EXPECT_EQ(m_root->firstPathTo(m_mesh, false), nullptr);
    EXPECT_EQ(all(m_root->paths(String("none"), false)), "");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeRoutes, Searches_LeaveTheNodesAsTheyAre) {
    link(m_root, m_arm);
    const auto probe = tests::probe(*m_root);
    const i32 refs = probe.refCount(), armRefs = tests::probe(*m_arm).refCount();
    m_root->setDirty(false);
    const auto paths = RefersTo<PathIterator>::adopt(m_root->paths(String(), true));
    const auto path = RefersTo<NodePath>::adopt(m_root->firstPathTo(m_arm, false));
    EXPECT_EQ(probe.refCount(), refs);
    EXPECT_EQ(tests::probe(*m_arm).refCount(), armRefs);
    EXPECT_FALSE(probe.dirty());
    EXPECT_EQ(m_root->inputCount(), 1u);
}

// ---- Targets by name -----------------------------------------------------------------------

// Records the names that are looked up.
class AskedScene : public Scene {
public:
    INode* findNode(String name) override {
        asked += std::string("<") + name.buf() + ">";
        return Scene::findNode(std::move(name));
    }
    std::string asked;
};

TEST(NodeRoutesByName, TheScene_IsAskedOnceForAnyName) {
    const auto scene = RefersTo<AskedScene>::adopt(new AskedScene);
    const INode* node = scene->createNode("xform", "n");
    for (const char* name : {"", "n", "No", "no such/name"}) {
        scene->asked.clear();
        const auto paths = RefersTo<PathIterator>::adopt(node->pathsTo(String(name), false));
        const auto path = RefersTo<NodePath>::adopt(node->firstPathTo(String(name), false));
        const std::string once = std::string("<") + name + ">";
        EXPECT_EQ(scene->asked, once + once);
    }
}

TEST(NodeRoutesByName, TargetsByPointer_NeedNoScene) {
    const Node node(nullptr, "xform", "n");
    Node other(nullptr, "xform", "o");
    EXPECT_EQ(node.firstPathTo(&other, true), nullptr);
    const auto paths = RefersTo<PathIterator>::adopt(node.pathsTo(&other, true));
    EXPECT_EQ(paths->count(), 0u);
}

TEST_F(NodeRoutes, MatrixOfAPath_FollowsConnections) {
    auto* output = static_cast<Output*>(m_arm->createOutput("out", AttrType::Mat4));
    math::Mat4d matrix = math::Mat4d::identity;
    matrix[3][0] = 9;
    ASSERT_TRUE(output->setValue(Value(matrix)));
    link(m_root, m_leg);
    ASSERT_TRUE(m_leg->createInput("matrix", AttrType::Mat4)->connect(output));
    const auto path = RefersTo<NodePath>::adopt(m_root->firstPathTo(m_leg, false));
    ASSERT_TRUE(path);
    EXPECT_EQ(path->matrix(), matrix);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
