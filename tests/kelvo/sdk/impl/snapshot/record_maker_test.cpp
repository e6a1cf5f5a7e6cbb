#include "kelvo/sdk/impl/snapshot/record_maker.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <gtest/gtest.h>

#include <array>

namespace qv::kelvo_sdk {
namespace {

class RecordMakerTest : public testing::Test {
protected:
    Node make(const char* name, const char* type = "thing") {
        return m_scene.createNode(type, name);
    }
    Scene m_scene = Scene::create();
};

TEST_F(RecordMakerTest, Type_AndBases_AreThoseOfTheNode) {
    ASSERT_TRUE(m_scene.read("kelvo scene 1\nnode lamp : light, object \"a\" {\n}\n", "text"));
    const Snapshot snapshot = m_scene.snapshot();
    const SnapshotNode node = snapshot["a"];
    EXPECT_EQ(node.type(), String("lamp"));
    EXPECT_EQ(node.bases().join(","), String("light,object"));
    EXPECT_TRUE(node.isTypeOf("lamp") && node.isTypeOf("object"));
    EXPECT_FALSE(node.isTypeOf("Lamp") || node.isTypeOf("mesh"));
}

TEST_F(RecordMakerTest, Outputs_HaveNameAndKind) {
    const Node node = make("a");
    node.createOutput("o", AttrType::Real);
    node.createOutput("points", DataType::Pos3f);
    const Snapshot snapshot = m_scene.snapshot();
    ASSERT_EQ(snapshot["a"].outputCount(), 2U);
    EXPECT_EQ(snapshot["a"].output(0).name(), String("o"));
    EXPECT_EQ(snapshot["a"].output(0).type(), AttrType::Real);
    EXPECT_EQ(snapshot["a"].output(1).dataType(), DataType::Pos3f);
    EXPECT_TRUE(snapshot["a"].output(2).isEmpty());
}

TEST_F(RecordMakerTest, Buffer_IsSharedWithTheScene) {
    const Input input = make("a").createBuffer("b", DataType::Float);
    input.setBuffer(std::array{1.0F, 2.0F});
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["a"]["b"].buffer<float>().data(), input.buffer<float>().data());
    EXPECT_EQ(snapshot["a"]["b"].dataType(), DataType::Float);
    EXPECT_TRUE(snapshot["a"]["b"].buffer<double>().empty());
    input.setBuffer(std::array{3.0F});
    EXPECT_EQ(snapshot["a"]["b"].buffer<float>()[1], 2.0F);
}

TEST_F(RecordMakerTest, Links_ToNodesOfTheSceneAlone_AreSeen) {
    const Node a = make("a"), b = make("b"), other = Scene::create().createNode("thing", "c");
    a.createInput("link", AttrType::Node).set(b);
    a.createInput("free", AttrType::Node).set(other.copyByItself("free"));
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["a"]["link"].linked(), snapshot["b"]);
    EXPECT_TRUE(snapshot["a"]["free"].linked().isEmpty());
    m_scene.removeNode(b);
    EXPECT_TRUE(m_scene.snapshot()["a"]["link"].linked().isEmpty());
    EXPECT_EQ(snapshot["a"]["link"].linked().name(), String("b"));
}

TEST_F(RecordMakerTest, Source_AfterAnEarlierOutputLeft_IsStillTheSameOutput) {
    const Node a = make("a"), b = make("b");
    a.createOutput("first", AttrType::Real);
    b.createInput("x", AttrType::Real).connect(a.createOutput("second", AttrType::Real));
    EXPECT_EQ(m_scene.snapshot()["b"]["x"].source().index, 1U);
    a.removeOutput("first");
    const Snapshot snapshot = m_scene.snapshot();
    EXPECT_EQ(snapshot["b"]["x"].source().name(), String("second"));
    EXPECT_EQ(snapshot["b"]["x"].source().node(), snapshot["a"]);
}

TEST_F(RecordMakerTest, ReadOnlyMark_SetLater_IsInTheNextSnapshot) {
    const Input object = make("a").createInput("o", AttrType::Object);
    object.createInput("x", AttrType::Real);
    static_cast<void>(m_scene.snapshot());
    impl::implOf(object.get())->setReadOnly(true);
    EXPECT_TRUE(m_scene.snapshot()["a"]["o"].isReadOnly());
    EXPECT_TRUE(m_scene.snapshot()["a"].inputAt("o.x").isReadOnly());
}

TEST_F(RecordMakerTest, DeepNesting_OfInputs_IsReadWithoutRecursion) {
    Input input = make("a").createInput("o", AttrType::Object);
    for (int depth = 0; depth < 20000; ++depth)
        input = input.createInput("o", AttrType::Object);
    const Snapshot snapshot = m_scene.snapshot();
    SnapshotInput found = snapshot["a"]["o"];
    int depth = 0;
    for (; found.inputCount() != 0; found = found.input(0))
        ++depth;
    EXPECT_EQ(depth, 20000);
    EXPECT_EQ(found.name(), String("o"));
    EXPECT_FALSE(found.isReadOnly());
}

} // namespace
} // namespace qv::kelvo_sdk
