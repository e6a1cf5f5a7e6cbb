#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

// Records each notification of a connection as "input: before -> after".
class ConnectionRecorder : public SceneObserver {
public:
    void inputConnected(const IInput* input, const IOutput* before, const IOutput* after) override {
        m_heard.push_back(std::string(input->path().buf()) + ": " + nameOf(before) + " -> " +
                          nameOf(after));
    }
    [[nodiscard]] const std::vector<std::string>& heard() const { return m_heard; }

private:
    static std::string nameOf(const IOutput* output) { return output ? output->path().buf() : "-"; }
    std::vector<std::string> m_heard;
};

class InputLinks : public testing::Test {
protected:
    // A node with a Real input "in" and a Real output "out".
    Node* makeNode(const char* name) {
        auto* node = static_cast<Node*>(m_scene->createNode("op", name));
        node->createInput("in", AttrType::Real);
        node->createOutput("out", AttrType::Real);
        return node;
    }
    static IInput* in(Node* node) { return node->input(String("in")); }
    static IOutput* out(Node* node) { return node->output(String("out")); }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_a = makeNode("a");
    Node* m_b = makeNode("b");
    Node* m_c = makeNode("c");
};

TEST_F(InputLinks, Connect_IsKnownAtBothEnds) {
    EXPECT_TRUE(in(m_b)->connect(out(m_a)));
    EXPECT_EQ(in(m_b)->source(), out(m_a));
    EXPECT_EQ(out(m_a)->targetCount(), 1u);
    EXPECT_EQ(out(m_a)->target(0), in(m_b));
    EXPECT_EQ(out(m_a)->target(1), nullptr);
}

TEST_F(InputLinks, Targets_StandInOrderOfConnection) {
    in(m_c)->connect(out(m_a));
    in(m_b)->connect(out(m_a));
    EXPECT_EQ(out(m_a)->target(0), in(m_c));
    EXPECT_EQ(out(m_a)->target(1), in(m_b));
    EXPECT_TRUE(in(m_c)->disconnect());
    EXPECT_EQ(out(m_a)->targetCount(), 1u);
    EXPECT_EQ(out(m_a)->target(0), in(m_b));
}

TEST_F(InputLinks, Changes_AreReportedWithBothOutputs) {
    ConnectionRecorder recorder;
    m_scene->subscribe(&recorder);
    in(m_c)->connect(out(m_a));
    in(m_c)->connect(out(m_a));
    in(m_c)->connect(out(m_b));
    in(m_c)->disconnect();
    EXPECT_FALSE(in(m_c)->disconnect());
    m_scene->unsubscribe(&recorder);
    EXPECT_EQ(
        recorder.heard(),
        (std::vector<std::string>{"c.in: - -> a.out", "c.in: a.out -> b.out", "c.in: b.out -> -"}));
}

TEST_F(InputLinks, ConnectAgain_IsDoneAndNotifiesNobody) {
    ConnectionRecorder recorder;
    in(m_b)->connect(out(m_a));
    m_scene->subscribe(&recorder);
    EXPECT_TRUE(in(m_b)->connect(out(m_a)));
    m_scene->unsubscribe(&recorder);
    EXPECT_TRUE(recorder.heard().empty());
    EXPECT_EQ(out(m_a)->targetCount(), 1u);
}

TEST_F(InputLinks, LinkThatIsKeptAsideToo_IsCarriedByAConversionAndReportedOnce) {
    struct Counter : SceneObserver {
        void inputChanged(const IInput* input, const AttrData*) override {
            if (input->name().equals("link")) ++changes;
        }
        int changes = 0;
    } counter;
    auto& link = static_cast<Input&>(*m_b->createInput("link", AttrType::Node));
    link.setNode(m_a);
    link.stash();
    m_scene->subscribe(&counter);
    const INode* replacement = m_scene->convertNode(m_a, "lamp");
    m_scene->unsubscribe(&counter);
    EXPECT_EQ(link.value().asNode(), replacement);
    EXPECT_EQ(link.stashed()->asNode(), replacement);
    EXPECT_EQ(counter.changes, 1);
}

TEST_F(InputLinks, OutputThatLeftItsNode_IsRefused) {
    const RefersTo<IOutput> left(out(m_a));
    m_a->removeOutput(String("out"));
    const LogCapture log;
    EXPECT_FALSE(in(m_b)->connect(left.get()));
    EXPECT_EQ(log.text(), "warning: Cannot connect input 'b.in' to output 'out': that output was "
                          "removed from its node.\n");
}

TEST_F(InputLinks, NodeThatLeftTheScene_IsNotLinkedTo) {
    const RefersTo<Node> left(m_b);
    IInput* link = m_a->createInput("link", AttrType::Node);
    m_scene->removeNode(m_b);
    const LogCapture log;
    EXPECT_FALSE(link->setNode(m_b));
    EXPECT_EQ(log.text(), "warning: Cannot link input 'a.link' to node 'b': that node was removed "
                          "from its scene.\n");
}

TEST_F(InputLinks, NodeThatIsLeavingTheScene_IsNotLinkedTo) {
    struct Linker : SceneObserver {
        void nodeRemoved(INode* node) override { isLinked = input->setNode(node); }
        IInput* input = nullptr;
        bool isLinked = true;
    } linker;
    linker.input = m_a->createInput("link", AttrType::Node);
    m_scene->subscribe(&linker);
    const LogCapture log;
    m_scene->removeNode(m_b);
    m_scene->unsubscribe(&linker);
    EXPECT_FALSE(linker.isLinked);
    EXPECT_EQ(log.text(), "warning: Cannot link input 'a.link' to node 'b': that node was removed "
                          "from its scene.\n");
}

TEST_F(InputLinks, NodeThatLeftItsScene_LinksAndConnectsToNothingThere) {
    const RefersTo<Node> held(m_b);
    IInput* link = m_b->createInput("link", AttrType::Node);
    m_scene->removeNode(m_b);
    const LogCapture log;
    EXPECT_FALSE(link->setNode(m_a));
    EXPECT_FALSE(in(m_b)->connect(out(m_a)));
    EXPECT_EQ(log.text(), "warning: Cannot link input 'b.link' to node 'a': its node was removed "
                          "from its scene.\n"
                          "warning: Cannot connect input 'b.in' to output 'a.out': its node was "
                          "removed from its scene.\n");
}

TEST_F(InputLinks, ConnectNull_Disconnects) {
    in(m_b)->connect(out(m_a));
    EXPECT_TRUE(in(m_b)->connect(nullptr));
    EXPECT_EQ(in(m_b)->source(), nullptr);
    EXPECT_EQ(out(m_a)->targetCount(), 0u);
}

TEST_F(InputLinks, KindsThatDoNotConvert_AreRefusedNamingBothEnds) {
    IInput* matrix = m_b->createInput("matrix", AttrType::Mat4);
    const LogCapture log;
    EXPECT_FALSE(matrix->connect(out(m_a)));
    EXPECT_EQ(matrix->source(), nullptr);
    EXPECT_EQ(log.text(), "warning: Cannot connect input 'b.matrix' (Mat4) to output 'a.out' "
                          "(Real): the kinds do not convert.\n");
}

TEST_F(InputLinks, BuffersOfOtherElementTypes_AreRefused) {
    AttrData data(AttrType::Buffer);
    data.dataType = DataType::Float;
    IInput* floats = m_b->createInput("floats", data);
    const LogCapture log;
    EXPECT_FALSE(floats->connect(m_a->createOutput("doubles", DataType::Double)));
    EXPECT_TRUE(floats->connect(m_a->createOutput("singles", DataType::Float)));
}

TEST_F(InputLinks, OwnOutput_IsALoop) {
    const LogCapture log;
    EXPECT_FALSE(in(m_a)->connect(out(m_a)));
    EXPECT_EQ(log.text(), "warning: Cannot connect input 'a.in' to output 'a.out': this closes the "
                          "loop a.out -> a.in.\n");
}

TEST_F(InputLinks, LongerLoop_IsRefusedAndPrintedWhole) {
    in(m_b)->connect(out(m_a));
    in(m_c)->connect(out(m_b));
    const LogCapture log;
    EXPECT_FALSE(in(m_a)->connect(out(m_c)));
    EXPECT_EQ(in(m_a)->source(), nullptr);
    EXPECT_EQ(log.text(),
              "warning: Cannot connect input 'a.in' to output 'c.out': this closes the loop "
              "c.out -> a.in -> a.out -> b.in -> b.out -> c.in.\n");
}

TEST_F(InputLinks, LoopThroughAnElement_IsRefused) {
    IInput* element = m_b->createArray("many", AttrType::Real)->appendElement();
    element->connect(out(m_a));
    const LogCapture log;
    EXPECT_FALSE(in(m_a)->connect(out(m_b)));
    EXPECT_NE(log.text().find("b.many[0]"), std::string::npos) << log.text();
}

TEST_F(InputLinks, Diamond_IsNoLoop) {
    Node* d = makeNode("d");
    IInput* second = d->createInput("in2", AttrType::Real);
    EXPECT_TRUE(in(m_b)->connect(out(m_a)));
    EXPECT_TRUE(in(m_c)->connect(out(m_a)));
    EXPECT_TRUE(in(d)->connect(out(m_b)));
    EXPECT_TRUE(second->connect(out(m_c)));
}

TEST_F(InputLinks, RemovedInput_LeavesTheOutput) {
    in(m_b)->connect(out(m_a));
    m_b->removeInput(String("in"));
    EXPECT_EQ(out(m_a)->targetCount(), 0u);
}

TEST_F(InputLinks, RemovedOutput_LeavesTheInputsAndTellsTheirNodes) {
    ConnectionRecorder recorder;
    in(m_b)->connect(out(m_a));
    in(m_c)->connect(out(m_a));
    m_scene->subscribe(&recorder);
    m_b->setDirty(false);
    m_a->removeOutput(String("out"));
    m_scene->unsubscribe(&recorder);
    EXPECT_EQ(in(m_b)->source(), nullptr);
    EXPECT_EQ(in(m_c)->source(), nullptr);
    EXPECT_TRUE(m_b->dirty(false));
    EXPECT_EQ(recorder.heard().size(), 2u);
}

// Records the node and path of the former source during a notification.
struct SourceNoter : SceneObserver {
    void inputConnected(const IInput*, const IOutput* before, const IOutput*) override {
        node = before->node();
        path = before->path();
    }
    INode* node = nullptr;
    String path;
};

TEST_F(InputLinks, RemovedOutput_IsReportedWithItsNodeAndPath) {
    SourceNoter noter;
    in(m_b)->connect(out(m_a));
    m_scene->subscribe(&noter);
    m_a->removeOutput(String("out"));
    m_scene->unsubscribe(&noter);
    EXPECT_EQ(noter.node, m_a);
    EXPECT_EQ(noter.path, m_a->name() + ".out");
}

// Connects an input to the former source during its notification.
struct LateConnector : SceneObserver {
    void inputConnected(const IInput*, const IOutput* before, const IOutput*) override {
        isConnected = input->connect(const_cast<IOutput*>(before));
    }
    IInput* input = nullptr;
    bool isConnected = true;
};

TEST_F(InputLinks, OutputThatIsLeaving_IsRefused) {
    LateConnector connector;
    connector.input = in(m_c);
    in(m_b)->connect(out(m_a));
    m_scene->subscribe(&connector);
    const LogCapture log;
    m_a->removeOutput(String("out"));
    m_scene->unsubscribe(&connector);
    EXPECT_FALSE(connector.isConnected);
    EXPECT_EQ(log.text(), "warning: Cannot connect input 'c.in' to output 'a.out': that output was "
                          "removed from its node.\n");
}

TEST_F(InputLinks, DyingSourceNode_EndsTheConnection) {
    const auto source = RefersTo<Node>::adopt(new Node(nullptr, "op", "free"));
    source->createOutput("out", AttrType::Real);
    in(m_b)->connect(source->output(String("out")));
    const_cast<RefersTo<Node>&>(source).reset();
    EXPECT_EQ(in(m_b)->source(), nullptr);
}

// A node on the stack is destroyed without dropping a last reference, so nobody can be notified.
TEST_F(InputLinks, SourceNodeThatEndsByItself_LeavesTheReaderDirty) {
    {
        Node source(nullptr, "op", "free");
        in(m_b)->connect(source.createOutput("out", AttrType::Real));
        m_b->setDirty(false);
    }
    EXPECT_TRUE(m_b->dirty(false));
    EXPECT_EQ(in(m_b)->source(), nullptr);
}

TEST_F(InputLinks, LinkedNodeThatEndsByItself_LeavesTheLinkEmptyAndItsNodeDirty) {
    IInput* link = m_b->createInput("link", AttrType::Node);
    {
        Node target(nullptr, "op", "free");
        link->setNode(&target);
        m_b->setDirty(false);
    }
    EXPECT_TRUE(m_b->dirty(false));
    EXPECT_EQ(static_cast<Input*>(link)->value().asNode(), nullptr);
}

TEST_F(InputLinks, DyingTargetNode_EndsTheConnection) {
    auto target = RefersTo<Node>::adopt(new Node(nullptr, "op", "free"));
    IInput* member = target->createInput("obj", AttrType::Object)->createInput("m", AttrType::Real);
    const RefersTo<IInput> held(member);
    member->connect(out(m_a));
    EXPECT_EQ(out(m_a)->targetCount(), 1u);
    target.reset();
    EXPECT_EQ(out(m_a)->targetCount(), 0u);
    EXPECT_EQ(held->source(), nullptr);
    EXPECT_EQ(held->node(), nullptr);
}

TEST_F(InputLinks, Read_WithoutEvaluation_GivesTheStoredValue) {
    in(m_b)->setReal(4);
    static_cast<Output*>(out(m_a))->setValue(2.5);
    in(m_b)->connect(out(m_a));
    double value = 0;
    EXPECT_TRUE(in(m_b)->readReal(value, false, nullptr));
    EXPECT_EQ(value, 4);
    EXPECT_TRUE(in(m_b)->readReal(value, true, nullptr));
    EXPECT_EQ(value, 2.5);
}

TEST_F(InputLinks, Read_OfAConnectionWithoutValue_Fails) {
    in(m_b)->connect(out(m_a));
    double value = 7;
    EXPECT_FALSE(in(m_b)->readReal(value, true, nullptr));
    EXPECT_EQ(value, 7);
}

TEST_F(InputLinks, Read_ConvertsTheSourceToTheInputsKind) {
    IInput* whole = m_b->createInput("whole", AttrType::Int);
    auto* source = static_cast<Output*>(out(m_a));
    whole->connect(source);
    i64 value = 0;
    source->setValue(3.0);
    EXPECT_TRUE(whole->readInt(value, true, nullptr));
    EXPECT_EQ(value, 3);
    source->setValue(2.5);
    EXPECT_FALSE(whole->readInt(value, true, nullptr));
    EXPECT_EQ(value, 3);
}

TEST_F(InputLinks, Read_OfAKindBeyondTheInputs_GoesThroughTheInputsKind) {
    IInput* whole = m_b->createInput("whole", AttrType::Int);
    auto* source = static_cast<Output*>(out(m_a));
    whole->connect(source);
    double value = 7;
    source->setValue(3.0);
    EXPECT_TRUE(whole->readReal(value, true, nullptr));
    EXPECT_EQ(value, 3);
    source->setValue(2.5);
    EXPECT_FALSE(whole->readReal(value, true, nullptr));
    EXPECT_EQ(value, 3);
}

TEST_F(InputLinks, LinksMayFormCycles) {
    IInput* toB = m_a->createInput("next", AttrType::Node);
    IInput* toA = m_b->createInput("next", AttrType::Node);
    EXPECT_TRUE(toB->setNode(m_b));
    EXPECT_TRUE(toA->setNode(m_a));
}

TEST_F(InputLinks, RemovedNode_IsClearedFromEveryLink) {
    IInput* plain = m_a->createInput("plain", AttrType::Node);
    IInput* element = m_c->createArray("children", AttrType::Node)->appendElement();
    plain->setNode(m_b);
    element->setNode(m_b);
    m_scene->removeNode(m_b);
    INode* linked = m_a;
    EXPECT_TRUE(plain->readNode(linked, false, nullptr));
    EXPECT_EQ(linked, nullptr);
    EXPECT_TRUE(element->readNode(linked, false, nullptr));
    EXPECT_EQ(linked, nullptr);
    EXPECT_EQ(m_c->input(String("children"))->inputCount(), 1u);
}

TEST_F(InputLinks, ReadOnlyLink_IsClearedWithItsNode) {
    AttrData data(AttrType::Node);
    data.value = Value(static_cast<INode*>(m_b));
    data.readOnly = true;
    auto* link = static_cast<Input*>(m_a->createInput("link", data));
    m_scene->removeNode(m_b);
    EXPECT_EQ(link->value().asNode(), nullptr);
}

TEST_F(InputLinks, LongChain_ConnectsFromEitherEnd) {
    std::vector<Node*> chain;
    for (int i = 0; i < 20000; ++i)
        chain.push_back(makeNode("n"));
    for (std::size_t i = 1; i < 10000; ++i)
        ASSERT_TRUE(in(chain[i])->connect(out(chain[i - 1])));
    for (std::size_t i = 19999; i >= 10000; --i)
        ASSERT_TRUE(in(chain[i])->connect(out(chain[i - 1])));
    const LogCapture log;
    EXPECT_FALSE(in(chain.front())->connect(out(chain.back())));
}

TEST_F(InputLinks, LinkMadeBeforeItsTargetCameIn_IsClearedWhenThatLeaves) {
    auto late = RefersTo<Node>::adopt(new Node(nullptr, "thing", "late"));
    auto* link = static_cast<Input*>(m_a->createInput("link", AttrType::Node));
    ASSERT_TRUE(link->setNode(late.get()));
    ASSERT_TRUE(m_scene->addNode(late.get()));
    ASSERT_TRUE(m_scene->removeNode(late.get()));
    EXPECT_EQ(link->value().asNode(), nullptr);
}

TEST_F(InputLinks, NodeThatLeft_MayLinkToOneThatIsInNoScene) {
    Node free(nullptr, "op", "free");
    const RefersTo<INode> left(m_b);
    IInput* link = m_b->createInput("link", AttrType::Node);
    m_scene->removeNode(m_b);
    EXPECT_TRUE(link->setNode(&free));
    EXPECT_TRUE(link->setNode(nullptr));
}

TEST_F(InputLinks, LinkMadeBeforeItsOwnerCameIn_IsClearedWhenItsTargetLeaves) {
    auto first = RefersTo<Node>::adopt(new Node(nullptr, "thing", "first"));
    auto second = RefersTo<Node>::adopt(new Node(nullptr, "thing", "second"));
    IInput* object = first->createInput("object", AttrType::Object);
    auto* link = static_cast<Input*>(object->createInput("link", AttrType::Node));
    ASSERT_TRUE(link->setNode(second.get()));
    ASSERT_TRUE(m_scene->addNode(first.get()));
    ASSERT_TRUE(m_scene->addNode(second.get()));
    ASSERT_TRUE(m_scene->removeNode(second.get()));
    EXPECT_EQ(link->value().asNode(), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
