#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "tests/support/node_probe.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

// Every change sets the dirty flag.

namespace qv::kelvo_sdk::impl {
namespace {

using tests::probe;

struct Change {
    const char* note;
    std::function<void(Node&)> make;
};

// Gives a node inputs "x", "y" (connected) and "list" (one element), output "o".
void furnish(Node& node, IOutput* source) {
    node.createInput("x", AttrType::Real);
    node.createInput("y", AttrType::Real)->connect(source);
    node.createArray("list", AttrType::Real)->appendElement();
    node.createOutput("o", AttrType::Real);
}

IInput* at(Node& node, const char* name) {
    return node.findInputByName(name);
}

const std::vector<Change>& changes() {
    static const std::vector<Change> all{
        {"input added", [](Node& n) { n.createInput("new", AttrType::Int); }},
        {"array added", [](Node& n) { n.createArray("new", AttrType::Int); }},
        {"output added", [](Node& n) { n.createOutput("new", AttrType::Int); }},
        {"input removed", [](Node& n) { n.removeInput("x"); }},
        {"output removed", [](Node& n) { n.removeOutput("o"); }},
        {"value changed", [](Node& n) { at(n, "x")->setReal(7); }},
        {"element changed", [](Node& n) { at(n, "list")->input(u64(0))->setReal(7); }},
        {"element added", [](Node& n) { at(n, "list")->appendElement(); }},
        {"element removed", [](Node& n) { at(n, "list")->removeLastInput(); }},
        {"connected", [](Node& n) { at(n, "x")->connect(at(n, "y")->source()); }},
        {"disconnected", [](Node& n) { at(n, "y")->disconnect(); }},
        {"source gone", [](Node& n) { at(n, "y")->source()->node()->clearOutputs(); }},
        {"told of its removal", [](Node& n) { n.notifyRemoved(); }},
        {"told of its name", [](Node& n) { n.notifyRenamed("m"); }},
        {"told of its conversion", [](Node& n) { n.notifyConverted(nullptr); }},
        {"told of an input", [](Node& n) { n.onInputAdded(at(n, "x")); }},
        {"told of an output", [](Node& n) { n.onOutputAdded(n.output(u64(0))); }},
        {"told of a lost input", [](Node& n) { n.onInputRemoved(at(n, "x")); }},
        {"told of a lost output", [](Node& n) { n.onOutputRemoved(n.output(u64(0))); }},
        {"told of a value", [](Node& n) { n.onInputChanged(at(n, "x"), nullptr); }},
        {"told of a tie", [](Node& n) { n.onInputConnected(at(n, "x"), nullptr, nullptr); }},
    };
    return all;
}

TEST(NodeStateChanges, EveryChange_SetsTheFlag) {
    for (const Change& change : changes()) {
        Node source(nullptr, "thing", "s"), node(nullptr, "thing", "n");
        furnish(node, source.createOutput("o", AttrType::Real));
        node.setDirty(false);
        change.make(node);
        EXPECT_TRUE(node.dirty(false)) << change.note;
    }
}

TEST(NodeStateChanges, EveryChangeOfADyingNode_SetsTheFlag) {
    for (const Change& change : changes()) {
        Node source(nullptr, "thing", "s"), node(nullptr, "thing", "n");
        furnish(node, source.createOutput("o", AttrType::Real));
        node.setDirty(false);
        probe(node).destroying() = true;
        change.make(node);
        EXPECT_TRUE(node.dirty(false)) << change.note;
        probe(node).destroying() = false;
    }
}

TEST(NodeStateChanges, SilentInput_SetsTheFlagToo) {
    Node node(nullptr, "thing", "n");
    AttrData silent(AttrType::Real);
    silent.silent = true;
    node.createInput("s", silent);
    EXPECT_TRUE(node.dirty(false));
    node.setDirty(false);
    node.removeInput("s");
    EXPECT_TRUE(node.dirty(false));
}

TEST(NodeStateChanges, ChangeOfALinkedNode_SetsOnlyItsOwnFlag) {
    Node linked(nullptr, "thing", "l"), node(nullptr, "thing", "n");
    node.createInput("n", AttrType::Node)->setNode(&linked);
    node.setDirty(false);
    linked.createInput("x", AttrType::Real);
    EXPECT_TRUE(linked.dirty(false));
    EXPECT_FALSE(node.dirty(false));
}

TEST(NodeStateChanges, ChangeOfASource_SetsOnlyItsOwnFlag) {
    Node source(nullptr, "thing", "s"), node(nullptr, "thing", "n");
    furnish(node, source.createOutput("o", AttrType::Real));
    node.setDirty(false);
    source.createInput("x", AttrType::Real);
    EXPECT_FALSE(node.dirty(false));
}

TEST(NodeStateChanges, OperationsWithoutAChange_LeaveTheFlag) {
    Node node(nullptr, "thing", "n");
    IInput* x = node.createInput("x", AttrType::Real);
    node.setDirty(false);
    x->setReal(0);
    node.createInput("x", AttrType::Real);
    x->disconnect();
    node.removeLastOutput();
    EXPECT_FALSE(node.dirty(false));
}

TEST(NodeStateChanges, Questions_DoNotClearTheFlag) {
    Node linked(nullptr, "thing", "l"), node(nullptr, "thing", "n");
    node.createInput("n", AttrType::Node)->setNode(&linked);
    EXPECT_TRUE(node.dirty(true));
    EXPECT_NE(node.hash({}), 0u);
    EXPECT_TRUE(RefersTo<NodeIterator>::adopt(node.dependencies(true, true))->first());
    EXPECT_FALSE(node.serialize(true, false).isEmpty());
    EXPECT_TRUE(probe(node).dirty());
}

} // namespace
} // namespace qv::kelvo_sdk::impl
