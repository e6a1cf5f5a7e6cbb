#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

class MeshCheck : public testing::Test {
protected:
    template<typename T>
    void set(const char* name, DataType type, const std::vector<T>& values, u64 count) {
        IInput* input = m_node.lookUpInput(name);
        if (!input) input = m_node.createInput(name, AttrType::Buffer);
        input->setBuffer({type, values.data(), count});
    }
    void setPositions() { set<float>("positions", DataType::Pos3f, std::vector<float>(9), 3); }

    Node m_node{nullptr, "mesh", "desk"};
};

TEST_F(MeshCheck, WithoutBuffers_NothingDisagrees) {
    EXPECT_TRUE(m_node.checkMesh());
    setPositions();
    EXPECT_TRUE(m_node.checkMesh());
    m_node.createInput("normals", AttrType::Real);
    EXPECT_TRUE(m_node.checkMesh());
}

TEST_F(MeshCheck, Normals_AreAsManyAsPositions) {
    setPositions();
    set<float>("normals", DataType::Vec3f, std::vector<float>(9), 3);
    EXPECT_TRUE(m_node.checkMesh());
    set<float>("uvs", DataType::Vec2f, std::vector<float>(4), 2);
    EXPECT_FALSE(m_node.checkMesh());
}

TEST_F(MeshCheck, Indices_StayBelowThePositions) {
    setPositions();
    set<i32>("indices", DataType::Int32, {0, 1, 2, 2}, 4);
    EXPECT_TRUE(m_node.checkMesh());
    set<i32>("indices", DataType::Int32, {0, 1, 3}, 3);
    EXPECT_FALSE(m_node.checkMesh());
    set<i32>("indices", DataType::Int32, {0, -1}, 2);
    EXPECT_FALSE(m_node.checkMesh());
    set<u32>("indices", DataType::Vec3u, {0, 1, 2, 2, 1, 0}, 2);
    EXPECT_TRUE(m_node.checkMesh());
    set<u32>("indices", DataType::Vec3u, {0, 1, 2, 2, 1, 7}, 2);
    EXPECT_FALSE(m_node.checkMesh());
    set<float>("indices", DataType::Float, {0, 1}, 2);
    EXPECT_FALSE(m_node.checkMesh());
}

TEST_F(MeshCheck, IndicesWithoutPositions_Disagree) {
    set<u8>("indices", DataType::Byte, {0}, 1);
    EXPECT_FALSE(m_node.checkMesh());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
