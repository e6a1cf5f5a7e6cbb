#include "kelvo/kelvo.h"
#include "kelvo/sdk/buffer_result.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <array>

namespace qv::kelvo_sdk {
namespace {

int evaluations = 0;

bool keepNothing(interfaces::INode*, void**) {
    return true;
}

// Gives the value that the name of the output stands for.
bool give(EvalCtx* ctx, void* out) {
    ++evaluations;
    const String output = ctx->output()->name();
    if (output == "number") *static_cast<double*>(out) = 2.5;
    if (output == "text") *static_cast<String*>(out) = "seven";
    if (output == "place") *static_cast<math::Pos3d*>(out) = math::Pos3d{1, 2, 3};
    if (output == "floats") return setBufferResult(out, std::array{1.0f, 2.0f});
    if (output == "wrong") return setBufferResult(out, std::array{1.0, 2.0});
    return output != "nothing";
}

class OutputHandle : public testing::Test {
protected:
    OutputHandle() {
        const LibInfo library = LibInfo::create();
        EXPECT_TRUE(library.readDefinitions(
            "type giver {\n    output Real number\n"
            "    output String text\n    output Pos3 place\n"
            "    output Buffer<Float> floats\n    output Buffer<Float> wrong\n"
            "    output Real nothing\n}\n",
            "giver.knd"));
        library.setCallbacks("giver", {.init = &keepNothing, .eval = &give, .free = &keepNothing});
        m_scene.addLibrary(library);
        m_giver = m_scene.createNode("giver", "giver");
    }

    Scene m_scene = Scene::create();
    Node m_giver;
};

TEST_F(OutputHandle, Values_AreEvaluatedAndConverted) {
    EXPECT_EQ(m_giver.output("number").get<double>(), 2.5);
    EXPECT_EQ(m_giver.output("number").get<float>(), 2.5f);
    EXPECT_EQ(m_giver.output("number").asString(), "2.5");
    EXPECT_EQ(m_giver.output("text").get<String>(), "seven");
    EXPECT_EQ(m_giver.output("place").get<math::Vec3d>(), (math::Vec3d{1, 2, 3}));
}

TEST_F(OutputHandle, WhatDoesNotConvert_LeavesTheVariable) {
    int whole = 3;
    EXPECT_FALSE(m_giver.output("number").read(whole)) << "2.5 is no whole number";
    EXPECT_FALSE(m_giver.output("place").read(whole));
    EXPECT_FALSE(m_giver.output("nothing").read(whole));
    EXPECT_EQ(whole, 3);
    EXPECT_EQ(m_giver.output("nothing").get<int>(4), 4);
    EXPECT_TRUE(m_giver.output("nothing").asString().isEmpty());
}

TEST_F(OutputHandle, EachRead_EvaluatesOnce) {
    evaluations = 0;
    (void)m_giver.output("number").get<double>();
    EXPECT_EQ(evaluations, 1);
}

TEST_F(OutputHandle, OutputsOfANode_AreReachedByPosition) {
    ASSERT_EQ(m_giver.outputCount(), 6u);
    EXPECT_EQ(m_giver.output(0).path(), "giver.number");
    EXPECT_EQ(m_giver.output(2).typeName(), "Pos3");
    EXPECT_EQ(m_giver.output(3).node(), m_giver.get());
    const tests::LogCapture log;
    EXPECT_FALSE(m_giver.output(6));
    EXPECT_NE(log.text(), "");
}

TEST_F(OutputHandle, TellsWhatItsOutputIs) {
    const Output output = m_giver.output("floats");
    EXPECT_EQ(output.name(), "floats");
    EXPECT_EQ(output.type(), AttrType::Buffer);
    EXPECT_EQ(output.typeName(), "Buffer<Float>");
    EXPECT_EQ(output.targetCount(), 0u);
}

TEST_F(OutputHandle, Targets_AreTheConnectedInputs) {
    const Node reader = m_scene.createNode("reader", "reader");
    const Input input = reader.createInput("x", AttrType::Real);
    ASSERT_TRUE(input.connect(m_giver.output("number")));
    const Output output = m_giver.output("number");
    ASSERT_EQ(output.targetCount(), 1u);
    EXPECT_EQ(output.target(0), input);
    EXPECT_FALSE(output.target(1));
}

TEST_F(OutputHandle, Buffers_AreTypedSpans) {
    const Output output = m_giver.output("floats");
    EXPECT_EQ(output.dataType(), DataType::Float);
    ASSERT_EQ(output.buffer<float>().size(), 2u);
    EXPECT_EQ(output.buffer<float>()[1], 2.0f);
    EXPECT_TRUE(output.buffer<double>().empty());
    EXPECT_EQ(output.asString(), "[1 2]");
}

TEST_F(OutputHandle, BufferOfOtherElements_IsNoResult) {
    EXPECT_TRUE(m_giver.output("wrong").buffer<double>().empty());
    EXPECT_TRUE(m_giver.output("wrong").buffer<float>().empty());
}

TEST(OutputHandleEmpty, AnswersNothing) {
    const Output output;
    double value = 3;
    EXPECT_FALSE(output.read(value));
    EXPECT_EQ(output.get<double>(5), 5);
    EXPECT_TRUE(output.asString().isEmpty());
    EXPECT_TRUE(output.buffer<float>().empty());
    EXPECT_FALSE(output.target(0));
    EXPECT_EQ(output.node(), nullptr);
    EXPECT_EQ(output.dataType(), DataType::Null);
    EXPECT_TRUE(output.typeName().isEmpty());
    EXPECT_TRUE(output.name().isEmpty());
    EXPECT_TRUE(output.path().isEmpty());
    EXPECT_EQ(output.type(), AttrType::Null);
    EXPECT_EQ(output.targetCount(), 0u);
}

TEST_F(OutputHandle, Evaluate_GivesAnInputByItself) {
    const Input place = m_giver.output("place").evaluate();
    EXPECT_EQ(place.type(), AttrType::Pos3);
    EXPECT_EQ(place.asString(), "(1 2 3)");
    EXPECT_EQ(place.node(), nullptr);
    EXPECT_EQ(m_giver.output("floats").evaluate().buffer<float>().size(), 2u);
    EXPECT_FALSE(m_giver.output("nothing").evaluate());
    EXPECT_FALSE(Output().evaluate());
}

} // namespace
} // namespace qv::kelvo_sdk
