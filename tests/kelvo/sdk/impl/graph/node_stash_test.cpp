#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class NodeStash : public testing::Test {
protected:
    void addModifier(Node& modifier, const char* modifies) {
        modifier.createInput("modifies", AttrType::String)->setString(modifies);
        m_node.createArray("modifiers", AttrType::Node)->appendElement()->setNode(&modifier);
    }
    [[nodiscard]] static bool isStashed(const IInput* input) {
        return static_cast<const Input*>(input)->stashed() != nullptr;
    }
    [[nodiscard]] std::string stashed() const {
        std::string names;
        for (u64 i = 0; i < m_node.inputCount(); ++i) {
            const IInput* input = m_node.findInputByIndex(i);
            if (isStashed(input)) names += input->name().buf();
        }
        return names;
    }

    Node m_first{nullptr, "modifier", "first"}, m_second{nullptr, "bend", "second"};
    Node m_node{nullptr, "mesh", "m"};
    IInput* m_a = m_node.createInput("a", AttrType::Real);
    IInput* m_b = m_node.createInput("b", AttrType::Real);
    IInput* m_c = m_node.createInput("c", AttrType::Real);
};

TEST_F(NodeStash, WithoutModifiers_DoesNothing) {
    const LogCapture log;
    m_node.stash();
    EXPECT_EQ(stashed(), "");
    EXPECT_EQ(log.text(), "");
}

TEST_F(NodeStash, InputsThatModifiersName_AreStashed) {
    m_second.setBases({"modifier"}, false, false);
    addModifier(m_first, "a,B");
    addModifier(m_second, "b,c");
    m_node.stash();
    EXPECT_EQ(stashed(), "abc");
}

TEST_F(NodeStash, InputsAtAnyDepth_AreStashed) {
    IInput* inner = m_node.createInput("obj", AttrType::Object)->createInput("a", AttrType::Real);
    IInput* other = m_node.findInputByName("obj")->createInput("x", AttrType::Real);
    addModifier(m_first, "a");
    m_node.stash();
    EXPECT_TRUE(isStashed(inner));
    EXPECT_FALSE(isStashed(other));
}

TEST_F(NodeStash, ModifiersLinkedTwice_CountOnce) {
    m_a->setReal(1);
    addModifier(m_first, "a");
    addModifier(m_first, "a");
    m_node.stash();
    EXPECT_EQ(stashed(), "a");
    EXPECT_EQ(static_cast<const Input*>(m_a)->stashed()->asReal(), 1);
}

TEST_F(NodeStash, ElementsOfArrays_AreMatchedByTheirOwnNames) {
    IInput* array = m_node.createArray("arr", AttrType::Object);
    IInput* inner = array->appendElement()->createInput("a", AttrType::Real);
    addModifier(m_first, "arr,a");
    m_node.stash();
    EXPECT_TRUE(isStashed(inner));
    EXPECT_FALSE(isStashed(array));
}

TEST_F(NodeStash, PiecesAreNotTrimmed) {
    addModifier(m_first, "a, b");
    m_node.stash();
    EXPECT_EQ(stashed(), "a");
}

TEST_F(NodeStash, ElementsThatAreNoModifiers_AreSkipped) {
    addModifier(m_second, "b");
    m_node.findInputByName("modifiers")->appendElement();
    m_node.stash();
    EXPECT_EQ(stashed(), "");
}

TEST_F(NodeStash, WorkerOnOneInput_TakesNullAndWhatItHolds) {
    m_node.stash(nullptr, {"a"});
    m_node.stash(m_a, {"A"});
    EXPECT_EQ(stashed(), "a");
}

TEST_F(NodeStash, ValueIsKeptAsideWhileModifiersWriteOverIt) {
    m_a->setReal(1);
    addModifier(m_first, "a");
    m_node.stash();
    m_a->setReal(2);
    m_node.stash();
    EXPECT_TRUE(static_cast<Input*>(m_a)->unstash());
    double value = 0;
    m_a->readReal(value, false, nullptr);
    EXPECT_EQ(value, 1);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
