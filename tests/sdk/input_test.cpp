#include "sdk/input.h"

#include "sdk/scene.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv::kelvo_sdk {
namespace {

class InputHandle : public testing::Test {
protected:
    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("thing", "thing");
};

TEST_F(InputHandle, Empty_AnswersNothing) {
    const Input input;
    EXPECT_FALSE(input.set(1));
    EXPECT_EQ(input.get<int>(7), 7);
    EXPECT_TRUE(input.name().isEmpty());
    EXPECT_EQ(input.type(), AttrType::Null);
    EXPECT_EQ(input.inputCount(), 0u);
    EXPECT_FALSE(input.input(0));
    EXPECT_FALSE(input["x"]);
    EXPECT_FALSE(input.append());
    EXPECT_FALSE(input.connect(Output()));
    EXPECT_FALSE(input.source());
    EXPECT_TRUE(input.buffer<float>().empty());
    EXPECT_FALSE(input.asNode(true, nullptr));
}

TEST_F(InputHandle, NumbersOfAnyWidth_AreWrittenAndRead) {
    const Input input = m_node.createInput("n", AttrType::Int);
    EXPECT_TRUE(input.set(static_cast<short>(-5)));
    EXPECT_EQ(input.get<i64>(), -5);
    EXPECT_EQ(input.get<float>(), -5.0f);
    EXPECT_EQ(input.get<unsigned>(3u), 3u) << "a negative number is no unsigned one";
    EXPECT_TRUE(input.set(1000));
    EXPECT_EQ(input.get<signed char>(2), 2) << "out of the range of the type";
    EXPECT_TRUE(input.set(true));
    EXPECT_TRUE(input.get<bool>());
}

TEST_F(InputHandle, Buffers_AreTypedSpans) {
    const Input input = m_node.createInput("b", AttrType::Buffer);
    const std::vector<float> floats = {1, 2, 3};
    EXPECT_TRUE(input.setBuffer(floats));
    ASSERT_EQ(input.buffer<float>().size(), 3u);
    EXPECT_EQ(input.buffer<float>()[2], 3.0f);
    EXPECT_TRUE(input.buffer<double>().empty());
}

TEST_F(InputHandle, Read_ThatFails_LeavesTheValueAlone) {
    const Input input = m_node.createInput("m", AttrType::Mat4);
    double value = 4;
    EXPECT_FALSE(input.read(value));
    EXPECT_EQ(value, 4);
}

TEST_F(InputHandle, KeepsTheInputAlive) {
    const Input input = m_node.createInput("n", AttrType::Int);
    EXPECT_TRUE(m_node.removeInput("n"));
    EXPECT_TRUE(input.set(4));
    EXPECT_EQ(input.get<int>(), 4);
    EXPECT_EQ(input.node(), nullptr);
}

TEST_F(InputHandle, Members_AreReachedByName) {
    const Input object = m_node.createInput("o", AttrType::Object);
    object.createInput("size", AttrType::Real).set(2.5);
    EXPECT_EQ(m_node["o"]["size"].get<double>(), 2.5);
    EXPECT_EQ(m_node.inputAt("o.size").path(), "thing.o.size");
}

} // namespace
} // namespace qv::kelvo_sdk
