// The outputs of a node are found by name, whatever their number.
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

#include <random>

namespace qv::kelvo_sdk::impl {
namespace {

class OutputList : public testing::Test {
protected:
    OutputList() { m_scene.setUndoEnabled(true); }

    static String name(int i) { return String::format("out%d", i); }
    void createMany(int count) {
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(m_node.createOutput(name(i), AttrType::Real));
    }
    [[nodiscard]] Node& node() const { return static_cast<Node&>(*m_node.get()); }
    [[nodiscard]] bool isIndexed() const {
        return static_cast<const Output*>(node().outputs()[0])->listIndex() != nullptr;
    }
    void expectAllFound() const {
        EXPECT_TRUE(m_scene.verify().empty());
        for (u64 i = 0; i < node().outputCount(); ++i) {
            const IOutput* output = node().outputs()[i];
            EXPECT_EQ(node().lookUpOutput(output->name()), output);
        }
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Node m_node = m_scene.createNode("t", "a");
};

TEST_F(OutputList, Index_IsMadeFromSixteenOutputsOn) {
    createMany(15);
    EXPECT_FALSE(isIndexed());
    createMany(16);
    EXPECT_TRUE(isIndexed());
    EXPECT_EQ(node().lookUpOutput("OUT15"), node().outputs()[15]);
    EXPECT_EQ(node().lookUpOutput("out16"), nullptr);
}

TEST_F(OutputList, FirstOfAName_Wins_UntilItGoes) {
    createMany(20);
    ASSERT_NE(node().createOutput("OUT3", DataType::Pos3f), nullptr);
    EXPECT_EQ(node().lookUpOutput("out3"), node().outputs()[3]);
    ASSERT_TRUE(node().removeOutput(u64(3)));
    EXPECT_EQ(node().lookUpOutput("out3"), node().outputs()[19]);
    ASSERT_TRUE(m_scene.undo());
    EXPECT_EQ(node().lookUpOutput("out3"), node().outputs()[3]);
    EXPECT_TRUE(m_scene.verify().empty());
}

TEST_F(OutputList, IndexGoesWithTheFirst_AndComesBack) {
    createMany(20);
    ASSERT_TRUE(node().removeOutput(u64(0)));
    EXPECT_TRUE(isIndexed());
    EXPECT_EQ(node().lookUpOutput("out0"), nullptr);
    ASSERT_TRUE(m_scene.undo());
    expectAllFound();
    ASSERT_TRUE(node().clearOutputs());
    ASSERT_TRUE(m_scene.undo());
    expectAllFound();
}

TEST_F(OutputList, Copies_HaveTheirOwnIndex) {
    createMany(30);
    const kelvo_sdk::Node copy = m_node.clone();
    EXPECT_EQ(static_cast<Node&>(*copy.get()).lookUpOutput("out29")->node(), copy.get());
    const kelvo_sdk::Scene read = kelvo_sdk::Scene::create();
    ASSERT_TRUE(read.read(m_scene.text(), "copy"));
    EXPECT_TRUE(read["a"].output("out29"));
    EXPECT_TRUE(read.verify().empty());
}

TEST_F(OutputList, RandomEdits_LeaveAllFound) {
    std::mt19937 random(7);
    createMany(40);
    for (int i = 0; i < 500; ++i) {
        const u64 what = random() % 4;
        if (what == 0) m_node.createOutput(name(static_cast<int>(random() % 90)), AttrType::Real);
        if (what == 1 && node().outputCount() != 0)
            node().removeOutput(random() % node().outputCount());
        if (what == 2) m_scene.undo();
        if (what == 3) m_scene.redo();
        expectAllFound();
    }
}

} // namespace
} // namespace qv::kelvo_sdk::impl
