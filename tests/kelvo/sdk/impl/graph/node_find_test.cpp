#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class NodeFind : public testing::Test {
protected:
    Node m_node{nullptr, "thing", "n"};
    const Node& m_const = m_node;
    IInput* m_color = m_node.createInput("color", AttrType::Rgba);
    IInput* m_size = m_node.createInput("size", AttrType::Real);
    IOutput* m_out = m_node.createOutput("out", AttrType::Real);
    IOutput* m_alpha = m_node.createOutput("alpha", AttrType::Int);
};

TEST_F(NodeFind, Counts) {
    EXPECT_EQ(m_node.inputCount(), 2u);
    EXPECT_EQ(m_node.outputCount(), 2u);
    EXPECT_EQ(Node().inputCount(), 0u);
    EXPECT_EQ(Node().outputCount(), 0u);
}

TEST_F(NodeFind, ByIndex_InOrderOfCreation) {
    EXPECT_EQ(m_node.input(u64(0)), m_color);
    EXPECT_EQ(m_const.input(u64(1)), m_size);
    EXPECT_EQ(m_node.findInputByIndex(1), m_size);
    EXPECT_EQ(m_node.output(u64(0)), m_out);
    EXPECT_EQ(m_const.output(u64(1)), m_alpha);
    EXPECT_EQ(m_node.findOutputByIndex(1), m_alpha);
}

TEST_F(NodeFind, InputIndexOutOfRange_IsOneErrorLine) {
    const LogCapture log;
    EXPECT_EQ(m_node.input(u64(5)), nullptr);
    EXPECT_EQ(m_const.input(u64(2)), nullptr);
    EXPECT_EQ(log.text(), "error: Input index 5 out of range (2) for 'thing' node 'n'.\n"
                          "error: Input index 2 out of range (2) for 'thing' node 'n'.\n");
}

TEST_F(NodeFind, OutputIndexOutOfRange_IsOneErrorLine) {
    const LogCapture log;
    EXPECT_EQ(m_node.output(u64(5)), nullptr);
    EXPECT_EQ(m_const.output(noIndex), nullptr);
    EXPECT_EQ(log.text(),
              "error: Output index 5 out of range (2) for 'thing' node 'n'.\n"
              "error: Output index 18446744073709551615 out of range (2) for 'thing' node 'n'.\n");
}

TEST_F(NodeFind, ByName_WithoutRegardToCase) {
    EXPECT_EQ(m_node.findInputByName("color"), m_color);
    EXPECT_EQ(m_node.findInputByName("SIZE"), m_size);
    EXPECT_EQ(m_const.input(String("Color")), m_color);
    EXPECT_EQ(m_node.findOutputByName("OUT"), m_out);
    EXPECT_EQ(m_node.output(String("Alpha")), m_alpha);
    EXPECT_EQ(m_const.output(String("alpha")), m_alpha);
}

TEST_F(NodeFind, UnknownInputName_IsOneErrorLine) {
    const LogCapture log;
    EXPECT_EQ(m_node.findInputByName("colour"), nullptr);
    EXPECT_EQ(m_const.input(String("")), nullptr);
    EXPECT_EQ(log.text(), "error: Input 'colour' not found in 'thing' node 'n'.\n"
                          "error: Input '' not found in 'thing' node 'n'.\n");
}

TEST_F(NodeFind, UnknownOutputName_IsOneErrorLine) {
    const LogCapture log;
    EXPECT_EQ(m_node.findOutputByName("color"), nullptr);
    EXPECT_EQ(m_node.output(String("x")), nullptr);
    EXPECT_EQ(m_const.output(String("100%s")), nullptr);
    EXPECT_EQ(log.text(), "error: Output 'color' not found in 'thing' node 'n'.\n"
                          "error: Output 'x' not found in 'thing' node 'n'.\n"
                          "error: Output '100%s' not found in 'thing' node 'n'.\n");
}

TEST_F(NodeFind, FirstOfAName_Wins) {
    IOutput* secondOut = m_node.createOutput("OUT", AttrType::Int);
    IInput* secondSize = m_node.createInput("Size", AttrType::Int);
    EXPECT_EQ(m_node.findInputByName("Size"), m_size);
    EXPECT_EQ(m_node.findOutputByName("OUT"), m_out);
    m_node.removeInput(u64(1));
    m_node.removeOutput(u64(0));
    EXPECT_EQ(m_node.findInputByName("size"), secondSize);
    EXPECT_EQ(m_node.findOutputByName("out"), secondOut);
}

// Long lists are searched through an index, which must follow every edit.
TEST_F(NodeFind, AmongMany_TheSameRulesHold) {
    Node node(nullptr, "thing", "n");
    for (int i = 0; i < 200; ++i)
        node.createInput(String::format("in%d", i), AttrType::Int);
    IInput* seventh = node.input(u64(7));
    IInput* second = node.createInput("IN7", AttrType::Real);
    EXPECT_EQ(node.findInputByName("iN7"), seventh);
    EXPECT_EQ(node.findInputByName("in199"), node.input(u64(199)));
    node.removeInput(u64(7));
    EXPECT_EQ(node.findInputByName("in7"), second);
    node.removeInput(u64(0));
    const LogCapture log;
    EXPECT_EQ(node.findInputByName("in0"), nullptr);
    EXPECT_EQ(node.findInputByName("in1"), node.input(u64(0)));
    EXPECT_FALSE(node.hasInput(String("in7"), AttrType::Int));
}

TEST_F(NodeFind, LookUp_IsAsTheFindersAreButSilent) {
    const LogCapture log;
    EXPECT_EQ(m_node.lookUpInput("COLOR"), m_color);
    EXPECT_EQ(m_node.lookUpOutput("ALPHA"), m_alpha);
    EXPECT_EQ(m_node.lookUpInput("x"), nullptr);
    EXPECT_EQ(m_node.lookUpOutput("x"), nullptr);
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeFind, HasByName_AsksForAKind) {
    const LogCapture log;
    EXPECT_TRUE(m_node.hasInput(String("COLOR"), AttrType::Null));
    EXPECT_TRUE(m_node.hasInput(String("color"), AttrType::Rgba));
    EXPECT_FALSE(m_node.hasInput(String("color"), AttrType::Real));
    EXPECT_FALSE(m_node.hasInput(String("x"), AttrType::Null));
    EXPECT_FALSE(m_node.hasInput(String(""), AttrType::Null));
    EXPECT_TRUE(m_node.hasOutput(String("OUT"), AttrType::Null));
    EXPECT_TRUE(m_node.hasOutput(String("out"), AttrType::Real));
    EXPECT_FALSE(m_node.hasOutput(String("out"), AttrType::Int));
    EXPECT_FALSE(m_node.hasOutput(String("color"), AttrType::Null));
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeFind, HasByName_LooksAtTheFirstOfTheNameOnly) {
    m_node.createInput("size", AttrType::Int);
    m_node.createOutput("out", AttrType::Int);
    EXPECT_FALSE(m_node.hasInput(String("size"), AttrType::Int));
    EXPECT_FALSE(m_node.hasOutput(String("out"), AttrType::Int));
}

TEST_F(NodeFind, HasByIndex_AsksForAKind) {
    const LogCapture log;
    EXPECT_TRUE(m_node.hasInput(u64(0), AttrType::Null));
    EXPECT_TRUE(m_node.hasInput(u64(0), AttrType::Rgba));
    EXPECT_FALSE(m_node.hasInput(u64(0), AttrType::Real));
    EXPECT_FALSE(m_node.hasInput(u64(2), AttrType::Null));
    EXPECT_TRUE(m_node.hasOutput(u64(1), AttrType::Null));
    EXPECT_TRUE(m_node.hasOutput(u64(1), AttrType::Int));
    EXPECT_FALSE(m_node.hasOutput(u64(1), AttrType::Real));
    EXPECT_FALSE(m_node.hasOutput(noIndex, AttrType::Null));
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeFind, IndexOf_IsThePositionOrMinusOne) {
    Node other(nullptr, "thing", "other");
    const LogCapture log;
    EXPECT_EQ(m_node.indexOf(m_size), 1);
    EXPECT_EQ(m_node.indexOf(m_out), 0);
    EXPECT_EQ(m_node.indexOf(static_cast<IInput*>(nullptr)), -1);
    EXPECT_EQ(m_node.indexOf(static_cast<IOutput*>(nullptr)), -1);
    EXPECT_EQ(m_node.indexOf(other.createInput("size", AttrType::Real)), -1);
    EXPECT_EQ(m_node.indexOf(other.createOutput("out", AttrType::Real)), -1);
    EXPECT_EQ(log.text(), "");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
