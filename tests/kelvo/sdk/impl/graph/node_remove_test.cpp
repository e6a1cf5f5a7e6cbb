#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/input.h"
#include "tests/support/log_capture.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_scene.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::LogCapture;
using tests::probe;
using tests::RecordingScene;

class NodeRemove : public testing::Test {
protected:
    NodeRemove() {
        for (const char* name : {"a", "b", "c"}) {
            m_node.createInput(name, AttrType::Real);
            m_node.createOutput(name, AttrType::Real);
        }
        m_journal.take();
        probe(m_node).dirty() = false;
    }
    ~NodeRemove() override { probe(m_node).setScene(nullptr); }

    [[nodiscard]] std::string names() const {
        std::string all;
        for (u64 i = 0; i < m_node.inputCount(); ++i)
            all += m_node.findInputByIndex(i)->name().buf();
        all += '>';
        for (u64 i = 0; i < m_node.outputCount(); ++i)
            all += m_node.findOutputByIndex(i)->name().buf();
        return all;
    }

    Journal m_journal;
    RefersTo<RecordingScene> m_scene = RecordingScene::make(m_journal);
    Node m_node{m_scene.get(), "thing", "n"};
};

TEST_F(NodeRemove, ByName_IgnoresCaseAndKeepsTheOrderOfTheRest) {
    EXPECT_TRUE(m_node.removeInput(String("B")));
    EXPECT_TRUE(m_node.removeOutput(String("A")));
    EXPECT_EQ(names(), "ac>bc");
    EXPECT_EQ(m_journal.take(), "-b ->a");
}

TEST_F(NodeRemove, ByIndex) {
    EXPECT_TRUE(m_node.removeInput(u64(0)));
    EXPECT_TRUE(m_node.removeOutput(u64(2)));
    EXPECT_EQ(names(), "bc>ab");
    EXPECT_EQ(m_journal.take(), "-a ->c");
}

TEST_F(NodeRemove, FirstOfAName_Goes) {
    m_node.createInput("b", AttrType::Int);
    EXPECT_TRUE(m_node.removeInput(String("b")));
    EXPECT_EQ(names(), "acb>abc");
    EXPECT_EQ(m_node.findInputByName("b")->type(), AttrType::Int);
}

TEST_F(NodeRemove, UnknownName_LogsWhatTheFinderLogsAndChangesNothing) {
    const LogCapture log;
    EXPECT_FALSE(m_node.removeInput(String("x")));
    EXPECT_FALSE(m_node.removeOutput(String("y")));
    EXPECT_EQ(log.text(), "error: Input 'x' not found in 'thing' node 'n'.\n"
                          "error: Output 'y' not found in 'thing' node 'n'.\n");
    EXPECT_FALSE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeRemove, IndexOutOfRange_LogsWhatTheFinderLogsAndChangesNothing) {
    const LogCapture log;
    EXPECT_FALSE(m_node.removeInput(u64(3)));
    EXPECT_FALSE(m_node.removeOutput(noIndex));
    EXPECT_EQ(log.text(),
              "error: Input index 3 out of range (3) for 'thing' node 'n'.\n"
              "error: Output index 18446744073709551615 out of range (3) for 'thing' node 'n'.\n");
    EXPECT_FALSE(probe(m_node).dirty());
    EXPECT_EQ(names(), "abc>abc");
}

TEST_F(NodeRemove, Last) {
    EXPECT_TRUE(m_node.removeLastInput());
    EXPECT_TRUE(m_node.removeLastOutput());
    EXPECT_EQ(names(), "ab>ab");
    EXPECT_EQ(m_journal.take(), "-c ->c");
}

TEST_F(NodeRemove, LastOfNone_IsFalseAndSilent) {
    Node empty(m_scene.get(), "thing", "empty");
    const LogCapture log;
    EXPECT_FALSE(empty.removeLastInput());
    EXPECT_FALSE(empty.removeLastOutput());
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(probe(empty).dirty());
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeRemove, All_FirstToLastEachWithItsNotification) {
    EXPECT_TRUE(m_node.clearInputs());
    EXPECT_EQ(m_journal.take(), "-a -b -c");
    EXPECT_TRUE(m_node.clearOutputs());
    EXPECT_EQ(m_journal.take(), "->a ->b ->c");
    EXPECT_EQ(names(), ">");
}

TEST_F(NodeRemove, All_EachIsReportedBeforeTheNextGoes) {
    std::string seen;
    m_scene->then = [&] { seen += names() + " "; };
    EXPECT_TRUE(m_node.clearInputs());
    EXPECT_TRUE(m_node.clearOutputs());
    EXPECT_EQ(seen, "bc>abc c>abc >abc >bc >c > ");
}

TEST_F(NodeRemove, AllBeforeASceneThatThrows_GoAndTheFirstComesOut) {
    int told = 0;
    m_scene->then = [&] { throw ++told; };
    for (const auto clear : {&Node::clearInputs, &Node::clearOutputs}) {
        told = 0;
        try {
            (m_node.*clear)();
            ADD_FAILURE() << "nothing came out";
        } catch (int first) {
            EXPECT_EQ(first, 1);
        }
        EXPECT_EQ(told, 3);
    }
    EXPECT_EQ(names(), ">");
}

TEST_F(NodeRemove, AllBeforeASceneThatAddsOneForEach_Ends) {
    int added = 0;
    m_scene->then = [&] {
        const auto then = std::exchange(m_scene->then, nullptr);
        m_node.createInput(String::format("more%d", ++added), AttrType::Real);
        m_scene->then = then;
    };
    EXPECT_FALSE(m_node.clearInputs());
    EXPECT_GE(added, 3);
    EXPECT_LE(added, 6);
    EXPECT_EQ(m_node.inputCount(), 3u);
}

TEST_F(NodeRemove, OneThatTheSceneAddsMeanwhile_GoesWithAll) {
    Node node(m_scene.get(), "thing", "one");
    node.createInput("a", AttrType::Real);
    m_scene->then = [&] {
        m_scene->then = nullptr;
        node.createInput("b", AttrType::Real);
    };
    EXPECT_TRUE(node.clearInputs());
    EXPECT_EQ(node.inputCount(), 0u);
}

TEST_F(NodeRemove, AllOfNone_IsTrueAndSilent) {
    Node empty(m_scene.get(), "thing", "empty");
    const LogCapture log;
    EXPECT_TRUE(empty.clearInputs());
    EXPECT_TRUE(empty.clearOutputs());
    EXPECT_FALSE(probe(empty).dirty());
    EXPECT_EQ(m_journal.take() + log.text(), "");
}

TEST_F(NodeRemove, SceneIsNotified_WhenTheNodeIsDirtyAndTheAttributeUnlistedButStillReadable) {
    bool dirty = false;
    u64 count = 0;
    double value = 0;
    m_node.findInputByName("a")->setReal(2.5);
    probe(m_node).dirty() = false;
    const kelvo_sdk::Input a(m_node.findInputByName("a"));
    m_scene->then = [&] {
        dirty = probe(m_node).dirty();
        count = m_node.inputCount();
        EXPECT_EQ(a.node(), &m_node);
        EXPECT_TRUE(a.read(value));
    };
    m_node.removeInput(String("a"));
    EXPECT_TRUE(dirty);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(value, 2.5);
}

TEST_F(NodeRemove, OutputsTargets_AreStillConnectedWhenTheSceneIsNotified) {
    Node reader(nullptr, "thing", "reader");
    IInput* input = reader.createInput("in", AttrType::Real);
    IOutput* output = m_node.findOutputByName("a");
    input->connect(output);
    IOutput* seen = nullptr;
    m_scene->then = [&] { seen = input->source(); };
    m_node.removeOutput(String("a"));
    EXPECT_EQ(seen, output);
    EXPECT_EQ(input->source(), nullptr);
}

TEST_F(NodeRemove, LastReference_GoesAfterTheScene) {
    const String text("a text of its own");
    m_node.createInput("s", AttrType::String)->setString(text);
    i32 during = 0;
    m_scene->then = [&] { during = text.get()->refCount(); };
    m_node.removeInput(String("s"));
    EXPECT_EQ(during, 2);
    EXPECT_EQ(text.get()->refCount(), 1);
}

TEST_F(NodeRemove, LastReferenceToAnOutput_GoesAfterTheScene) {
    const String name("a_name_of_its_own");
    m_node.createOutput(name, AttrType::Real);
    i32 during = 0;
    m_scene->then = [&] { during = name.get()->refCount(); };
    m_node.removeOutput(name);
    EXPECT_GE(during, 2);
    EXPECT_EQ(name.get()->refCount(), 1);
}

TEST_F(NodeRemove, AttributeHeldElsewhere_LivesOnWithoutANode) {
    const kelvo_sdk::Input input(m_node.findInputByName("a"));
    const kelvo_sdk::Output output(m_node.findOutputByName("a"));
    input.set(2.5);
    m_node.removeInput(String("a"));
    m_node.removeOutput(String("a"));
    EXPECT_EQ(input.node(), nullptr);
    EXPECT_EQ(output->node(), nullptr);
    EXPECT_EQ(input.get<double>(), 2.5);
    m_journal.take();
    EXPECT_TRUE(input.set(3.5));
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeRemove, Connections_EndWithTheAttribute) {
    Node before(nullptr, "thing", "before"), behind(nullptr, "thing", "behind");
    IOutput* source = before.createOutput("o", AttrType::Real);
    IInput* target = behind.createInput("i", AttrType::Real);
    const kelvo_sdk::Input input(m_node.findInputByName("a"));
    ASSERT_TRUE(input->connect(source));
    ASSERT_TRUE(target->connect(m_node.findOutputByName("b")));
    m_node.removeInput(String("a"));
    m_node.removeOutput(String("b"));
    EXPECT_EQ(source->targetCount(), 0u);
    EXPECT_EQ(input->source(), nullptr);
    EXPECT_EQ(target->source(), nullptr);
}

TEST_F(NodeRemove, SilentInput_GoesWithoutNotification) {
    AttrData data(AttrType::Real);
    data.silent = true;
    m_node.createInput("quiet", data);
    probe(m_node).dirty() = false;
    EXPECT_TRUE(m_node.removeInput(String("quiet")));
    EXPECT_TRUE(probe(m_node).dirty());
    EXPECT_EQ(m_journal.take(), "");
}

TEST_F(NodeRemove, SceneThatThrows_LeavesTheAttributeRemovedAndReleased) {
    const kelvo_sdk::Input input(m_node.findInputByName("a"));
    const kelvo_sdk::Output output(m_node.findOutputByName("a"));
    m_scene->then = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(m_node.removeInput(String("a")), std::runtime_error);
    EXPECT_THROW(m_node.removeOutput(String("a")), std::runtime_error);
    EXPECT_EQ(names(), "bc>bc");
    EXPECT_EQ(input.node(), nullptr);
    EXPECT_EQ(output->node(), nullptr);
}

// An observer may edit the node during the removal.
TEST_F(NodeRemove, SceneThatRemovesMore_EndsAll) {
    bool again = true;
    m_scene->then = [&] {
        if (std::exchange(again, false)) m_node.removeInput(String("b"));
    };
    EXPECT_TRUE(m_node.clearInputs());
    EXPECT_EQ(m_journal.take(), "-a -b -c");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
