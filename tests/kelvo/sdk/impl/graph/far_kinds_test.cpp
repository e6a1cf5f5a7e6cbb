// Kinds outside their enumerations are kept, printed and compared as they were given.

#include "kelvo/kelvo.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <limits>

namespace qv::kelvo_sdk {
namespace {

constexpr i32 kFar[] = {-1,
                        19,
                        20,
                        62,
                        63,
                        64,
                        65,
                        66,
                        126,
                        127,
                        128,
                        129,
                        254,
                        255,
                        256,
                        257,
                        273,
                        274,
                        32767,
                        32768,
                        65535,
                        65536,
                        65553,
                        100'000,
                        -18,
                        -64,
                        -128,
                        -256,
                        -32'768,
                        -65'519,
                        std::numeric_limits<i32>::max(),
                        std::numeric_limits<i32>::min()};

class FarKinds : public testing::TestWithParam<i32> {
protected:
    const AttrType m_type = static_cast<AttrType>(GetParam());
    // Parameters that are valid element types are moved out of their range.
    const DataType m_dataType = static_cast<DataType>(
        static_cast<u32>(GetParam()) < dataTypeCount ? GetParam() + 1000 : GetParam());
    tests::LogCapture m_log;
    Scene m_scene = Scene::create();
    Node m_node = m_scene.createNode("thing", "n");
};

TEST_P(FarKinds, Input_IsOfTheKindGivenAndOfNoOther) {
    const Input input = m_node.createInput("x", m_type);
    EXPECT_EQ(input.type(), m_type);
    EXPECT_STREQ(input->typeName().buf(), "<unknown>");
    EXPECT_TRUE(m_node->hasInput(String("x"), m_type));
    for (const i32 other : kFar) {
        const bool isThere = m_node->hasInput(String("x"), static_cast<AttrType>(other));
        EXPECT_EQ(isThere, other == GetParam()) << other;
    }
    EXPECT_EQ(m_node.createInput("x", m_type), input);
    EXPECT_EQ(m_node.clone()["x"].type(), m_type);
}

TEST_P(FarKinds, Array_HasElementsOfTheKindGiven) {
    const Input array = m_node.createArray("x", m_type);
    EXPECT_EQ(array->elementType(), m_type);
    EXPECT_STREQ(array->typeName().buf(), "Array<<unknown>>");
    EXPECT_TRUE(array->hasElementType(m_type));
    EXPECT_EQ(array.append().type(), m_type);
    EXPECT_EQ(array->createInput(String("1"), m_type)->type(), m_type);
    EXPECT_EQ(m_node.createArray("x", m_type), array);
    m_node.createArray("x", AttrType::Real);
    EXPECT_EQ(m_log.text(), "warning: Cannot re-create Array<<unknown>> input n.x as Real[].\n");
}

TEST_P(FarKinds, Output_IsOfTheKindGiven) {
    EXPECT_EQ(m_node.createOutput("o", m_type)->type(), m_type);
    auto* node = static_cast<impl::Node*>(m_node.get());
    const interfaces::IOutput* buffer = node->createOutput(String("b"), m_dataType);
    EXPECT_TRUE(buffer->hasDataType(m_dataType));
    EXPECT_STREQ(buffer->typeName().buf(), "Buffer<<unknown>>");
}

TEST_P(FarKinds, DeclaredType_IsTheOneGiven) {
    impl::AttrData data(AttrType::Buffer);
    data.dataType = m_dataType;
    auto* node = static_cast<impl::Node*>(m_node.get());
    const interfaces::IInput* input = node->createInput(String("x"), data);
    EXPECT_EQ(input->dataType(), m_dataType);
    EXPECT_TRUE(input->hasDataType(m_dataType));
    EXPECT_TRUE(m_node.clone()["x"]->hasDataType(m_dataType));
}

TEST_P(FarKinds, Values_AreRefusedAndReadAsNothing) {
    const Input input = m_node.createInput("x", m_type);
    EXPECT_FALSE(input.set(1.0));
    EXPECT_FALSE(input->setString("1"));
    EXPECT_FALSE(input->setNode(m_node.get()));
    double real = 5;
    EXPECT_FALSE(input->readReal(real, true, nullptr));
    EXPECT_EQ(real, 5);
    EXPECT_FALSE(input.connect(m_node.createOutput("o", AttrType::Real)));
}

TEST_P(FarKinds, Scene_IsWrittenSoThatItReadsBackAndIsUndone) {
    m_scene.setUndoEnabled(true);
    m_node.createInput("x", m_type);
    m_node.createArray("l", m_type).append();
    m_node.createOutput("o", m_type);
    const u8 bytes[64] = {};
    m_node.createInput("b", AttrType::Buffer)->setBuffer({m_dataType, bytes, 2});
    static_cast<impl::Node*>(m_node.get())->createOutput(String("p"), m_dataType);
    const Scene again = Scene::create();
    EXPECT_TRUE(again.read(m_scene.text(), "again")) << m_log.text();
    EXPECT_EQ(again.text(), m_scene.text());
    EXPECT_TRUE(m_scene.verify().empty());
    while (m_scene.undo()) {
    }
    while (m_scene.redo()) {
    }
    EXPECT_EQ(m_scene["n"]["l"]->elementType(), m_type);
}

INSTANTIATE_TEST_SUITE_P(All, FarKinds, testing::ValuesIn(kFar));

} // namespace
} // namespace qv::kelvo_sdk
