#include "kelvo/sdk/value_text.h"

#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk {
namespace {

class ValueText : public testing::Test {
protected:
    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("t", "n");
};

TEST_F(ValueText, PlainValues_StandAsInSceneText) {
    const Input text = m_node.createInput("s", AttrType::String);
    text.set("say \"hi\"");
    EXPECT_EQ(valueText(text), "say \"hi\"");
    const Input tuple = m_node.createInput("v", AttrType::Vec2);
    tuple.set("(1 2.5)");
    EXPECT_EQ(valueText(tuple), "(1 2.5)");
    EXPECT_EQ(valueText(Input()), "");
}

TEST_F(ValueText, Links_StandAsTheNodesName) {
    const Input link = m_node.createInput("l", AttrType::Node);
    EXPECT_EQ(valueText(link), "null");
    link.set(m_node);
    EXPECT_EQ(valueText(link), "n");
}

TEST_F(ValueText, ArraysAndObjects_StandWithAllTheyHold) {
    ASSERT_TRUE(m_scene.read(R"(kelvo scene 1
node t "m" {
    Object o {
        Array<Array> rows = [Array<Int> [1, 2], Array<Int> []]
        Object inner {
            String s = "a \"b\""
        }
    }
    Array<Object> list = [{
        Int a = 1
    }, {
    }]
}
)",
                             "text"));
    EXPECT_EQ(valueText(m_scene["m"]["o"]),
              "{\n    Array<Array> rows = [[1, 2], []]\n    Object "
              "inner {\n        String s = \"a \\\"b\\\"\"\n    }\n}");
    EXPECT_EQ(valueText(m_scene["m"]["list"]), "[{\n    Int a = 1\n}, {\n}]");
}

TEST_F(ValueText, InputsOfSnapshots_HaveTheSameTextAndKind) {
    ASSERT_TRUE(m_scene.read(R"(kelvo scene 1
node t "m" {
    Object o {
        Array<Array> rows = [Array<Int> [1, 2], Array<Int> []]
        String s = "a \"b\""
    }
    String s = "a \"b\""
    Mat3 m = (1 0 0  0 1 0  0 0 2)
    Array<Node> links = [m, null]
    Buffer<Pos3f> p = [(1 2 3)]
    Buffer<Float> none
}
)",
                             "text"));
    const Node live = m_scene["m"];
    const u32 numbers[] = {1, 2};
    const interfaces::BufferView view{DataType::UInt32, numbers, 2};
    ASSERT_TRUE(live.createInput("any", AttrType::Buffer).set(view));
    (void)live.createInput("nothing", AttrType::Null);
    const Snapshot snapshot = m_scene.snapshot();
    ASSERT_EQ(snapshot["m"].inputCount(), 8u);
    for (u64 i = 0; i < live.inputCount(); ++i) {
        EXPECT_EQ(valueText(snapshot["m"].input(i)), valueText(live.input(i))) << i;
        EXPECT_EQ(snapshot["m"].input(i).typeName(), live.input(i).typeName()) << i;
    }
    EXPECT_EQ(valueText(SnapshotInput()) + SnapshotInput().typeName(), "");
}

TEST_F(ValueText, StandIns_TakeThePlaceOfWhatHoldsNoMore) {
    const Input list = m_node.createArray("a", AttrType::Int);
    list.append().set(1);
    list.append().set(2);
    const Input other = Input::create(AttrType::Int);
    other.set(7);
    const Input second = list.input(1);
    const auto standIn = [&](const Input& input) { return input == second ? other : Input(); };
    EXPECT_EQ(valueText(list, standIn), "[1, 7]");
    EXPECT_EQ(valueText(second, standIn), "7");
}

TEST_F(ValueText, ConnectedInputs_HaveTheValueStored) {
    const Input in = m_node.createInput("in", AttrType::Real);
    in.set(3.0);
    const Node source = m_scene.createNode("t", "source");
    ASSERT_TRUE(in.connect(source.createOutput("out", AttrType::Real)));
    EXPECT_EQ(valueText(in), "3");
}

TEST_F(ValueText, DeepArrays_TakeNoStack) {
    Input input = m_node.createArray("a", AttrType::Array);
    const Input outermost = input;
    constexpr u64 depth = 50000;
    for (u64 i = 0; i < depth; ++i)
        input = input.createArray("0", AttrType::Array);
    EXPECT_EQ(valueText(outermost).size(), 2 * (depth + 1));
}

} // namespace
} // namespace qv::kelvo_sdk
