#include "kelvo/sdk/node_path.h"

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

class NodePathTest : public ::testing::Test {
protected:
    Node make(const char* name) { return m_scene.createNode("xform", name); }
    Node makeAt(const char* name, double x, double scale = 1) {
        const Node node = make(name);
        math::Mat4d matrix = math::Mat4d::identity;
        matrix[0][0] = scale;
        matrix[3][0] = x;
        node.createInput("matrix", AttrType::Mat4).set(matrix);
        return node;
    }
    static RefersTo<NodePath> path(std::initializer_list<Node> nodes) {
        ds::Vector<interfaces::INode*> list;
        for (const Node& node : nodes)
            list.push_back(node.get());
        return RefersTo<NodePath>::adopt(new NodePath(std::move(list)));
    }

    Scene m_scene = Scene::create();
};

TEST_F(NodePathTest, Nodes_StandInOrder) {
    const Node room = make("room"), lamp = make("lamp"), bulb = make("bulb");
    const auto way = path({room, lamp, bulb});
    EXPECT_EQ(way->nodeCount(), 3u);
    EXPECT_EQ(way->length(), 2u);
    EXPECT_EQ(way->first(), room.get());
    EXPECT_EQ(way->node(1), lamp.get());
    EXPECT_EQ(way->last(), bulb.get());
    EXPECT_EQ(way->node(3), nullptr);
    EXPECT_EQ(way->text(), "room/lamp/bulb");
}

TEST_F(NodePathTest, OneNode_HasNoLinks) {
    const auto way = path({make("room")});
    EXPECT_EQ(way->length(), 0u);
    EXPECT_EQ(way->text(), "room");
}

TEST_F(NodePathTest, Matrix_TakesTheLastNodesPointsToTheFirstOnesSpace) {
    const auto way = path({makeAt("room", 1, 10), makeAt("lamp", 2, 3)});
    const math::Pos3d point = math::Pos3d{1, 0, 0} * way->matrix();
    EXPECT_EQ(point[0], (1 * 3 + 2) * 10 + 1);
}

TEST_F(NodePathTest, MatrixOfNodesWithoutOne_IsTheIdentity) {
    EXPECT_EQ(path({make("room"), make("lamp")})->matrix(), math::Mat4d::identity);
    EXPECT_EQ(path({make("room"), makeAt("lamp", 4)})->matrix()[3][0], 4);
}

TEST_F(NodePathTest, MatrixOfAnotherKind_DoesNotCount) {
    const Node odd = make("odd");
    odd.createInput("matrix", AttrType::Real).set(7.0);
    EXPECT_EQ(path({odd})->matrix(), math::Mat4d::identity);
}

} // namespace
} // namespace qv::kelvo_sdk
