#include "kelvo/sdk/impl/snapshot/evaluated_records.h"

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot_delta.h"
#include "kelvo/sdk/snapshot_why.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <cmath>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

namespace qv::kelvo_sdk {
namespace {

std::atomic<int> s_calls = 0;

// out = sin(in) + 1
bool wave(EvalCtx* ctx, void* out) {
    ++s_calls;
    double value = 0;
    if (!Node(ctx->node())["in"].read(value, true, ctx)) return false;
    *static_cast<double*>(out) = std::sin(value) + 1;
    return true;
}

bool fail(EvalCtx*, void*) {
    return false;
}

bool throwOutOfMemory(EvalCtx*, void*) {
    throw std::bad_alloc();
}

bool throwError(EvalCtx*, void*) {
    throw std::runtime_error("no value");
}

// Gives the value of the node that "other" links to.
bool askLinked(EvalCtx* ctx, void* out) {
    return Node(ctx->node())["other"].asNode()["in"].read(*static_cast<double*>(out), true, ctx);
}

bool takeSnapshot(EvalCtx* ctx, void* out) {
    const Scene scene = Node(ctx->node()).scene();
    *static_cast<double*>(out) = static_cast<double>(scene.snapshot().nodeCount());
    return true;
}

double s_value = 1.0;
Snapshot* s_inner = nullptr;

bool giveValue(EvalCtx*, void* out) {
    *static_cast<double*>(out) = s_value;
    return true;
}

// Takes an evaluated snapshot in which all values are 2, if one is asked for.
bool takeInner(EvalCtx* ctx, void* out) {
    if (Snapshot* const inner = std::exchange(s_inner, nullptr)) {
        s_value = 2.0;
        const Scene scene = Node(ctx->node()).scene();
        *inner = scene.snapshot({.threads = 1, .values = SnapshotValues::Evaluated});
        s_value = 1.0;
    }
    return giveValue(ctx, out);
}

class EvaluatedRecordsTest : public testing::Test {
protected:
    EvaluatedRecordsTest() {
        define("wave", &wave);
        define("fail", &fail);
        define("full", &throwOutOfMemory);
        define("error", &throwError);
        define("asker", &askLinked);
        define("taker", &takeSnapshot);
        define("giver", &giveValue);
        define("nester", &takeInner);
        m_scene.addLibrary(m_library);
        m_scene.addLibrary(LibInfo::standard());
        s_calls = 0;
    }
    void define(const char* type, interfaces::NodeEvalFn eval) {
        const std::string text = std::string("kelvo types 1\ntype ") + type + " {\n}\n";
        EXPECT_TRUE(m_library.readDefinitions(String(text.c_str()), "types.knd"));
        m_library.setCallbacks(type, {nullptr, nullptr, eval, nullptr, nullptr, nullptr});
    }
    Node make(const char* type, const char* name) {
        const Node node = m_scene.createNode(type, name);
        node.createInput("in", AttrType::Real);
        static_cast<void>(node.createOutput("out", AttrType::Real));
        return node;
    }
    void connect(const char* reader, const char* source) {
        EXPECT_TRUE(m_scene[reader]["in"].connect(m_scene[source].output("out")));
    }
    Snapshot evaluated(u32 threads = 0) const {
        return m_scene.snapshot({.threads = threads, .values = SnapshotValues::Evaluated});
    }
    LibInfo m_library = LibInfo::create();
    Scene m_scene = Scene::create();
};

TEST_F(EvaluatedRecordsTest, ConnectedInput_HasTheValueOfALiveRead) {
    make("wave", "a")["in"].set(0.3);
    make("wave", "b");
    make("thing", "c").createInput("text", AttrType::String);
    connect("b", "a");
    connect("c", "b");
    EXPECT_TRUE(m_scene["c"]["text"].connect(m_scene["b"].output("out")));
    const Snapshot snapshot = evaluated();
    EXPECT_EQ(snapshot["c"]["in"].get<double>(), m_scene["c"]["in"].get<double>());
    EXPECT_EQ(snapshot["c"]["text"].get<String>(), m_scene["c"]["text"].get<String>());
    EXPECT_EQ(snapshot["c"]["in"].source().node(), snapshot["b"]);
    EXPECT_EQ(m_scene.snapshot()["c"]["in"].get<double>(), 0.0);
    EXPECT_EQ(snapshot["a"]["in"].get<double>(), 0.3);
}

TEST_F(EvaluatedRecordsTest, OutputWithoutCallback_GivesTheValueThatWasSet) {
    impl::implOf(make("thing", "a").output("out").get())->setValue(4.0);
    make("thing", "b");
    connect("b", "a");
    EXPECT_EQ(evaluated()["b"]["in"].get<double>(), 4.0);
}

TEST_F(EvaluatedRecordsTest, FailedEvaluation_LeavesTheValueOfTheInput) {
    const tests::LogCapture log;
    make("fail", "a");
    make("error", "b");
    make("thing", "c")["in"].set(7.0);
    make("thing", "d")["in"].set(8.0);
    connect("c", "a");
    connect("d", "b");
    const Snapshot snapshot = evaluated();
    EXPECT_EQ(snapshot["c"]["in"].get<double>(), 7.0);
    EXPECT_EQ(snapshot["d"]["in"].get<double>(), 8.0);
}

TEST_F(EvaluatedRecordsTest, OutOfMemoryInACallback_LeavesNothingBehind) {
    make("full", "a");
    make("wave", "b");
    make("thing", "c");
    make("thing", "d");
    connect("c", "b");
    const Snapshot before = evaluated();
    connect("d", "a");
    EXPECT_THROW(static_cast<void>(evaluated(1)), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(evaluated(4)), std::bad_alloc);
    EXPECT_EQ(before["c"]["in"].get<double>(), 1.0);
    EXPECT_EQ(m_scene.snapshot()["d"]["in"].source().node().name(), String("a"));
    m_scene["d"]["in"].disconnect();
    EXPECT_EQ(evaluated()["c"]["in"].get<double>(), 1.0);
}

TEST_F(EvaluatedRecordsTest, Modifiers_Apply) {
    const Node lamp = m_scene.createNode("thing", "lamp");
    lamp.createInput("power", AttrType::Real).set(12.0);
    lamp.createArray("modifiers", AttrType::Node);
    const Node evening = m_scene.createNode("scaleModifier", "evening");
    evening["modifies"].set("power");
    evening["factor"].set(0.25);
    lamp["modifiers"].append().set(evening);
    EXPECT_EQ(lamp["power"].get<double>(), 3.0);
    EXPECT_EQ(evaluated()["lamp"]["power"].get<double>(), 3.0);
    EXPECT_EQ(m_scene.snapshot()["lamp"]["power"].get<double>(), 12.0);
}

TEST_F(EvaluatedRecordsTest, ModifiedValues_HaveNoConnectionEvaluated) {
    const Node lamp = make("lamp", "lamp");
    lamp["in"].set(4.0);
    lamp.createInput("power", AttrType::Real).set(0.25);
    lamp["power"].connect(make("wave", "source").output("out"));
    lamp.createArray("modifiers", AttrType::Node);
    const Node half = m_scene.createNode("scaleModifier", "half");
    half["modifies"].set("in");
    half["factor"].set(0.5);
    lamp["modifiers"].append().set(half);
    const Snapshot shown = m_scene.snapshot({.values = SnapshotValues::Modified});
    EXPECT_EQ(shown["lamp"]["in"].get<double>(), 2.0);
    EXPECT_EQ(shown["lamp"]["power"].get<double>(), 0.25);
    EXPECT_EQ(shown["lamp"]["power"].source().node().name(), "source");
    EXPECT_EQ(shown["lamp"].hash(), lamp.hash());
    EXPECT_EQ(m_scene.snapshot()["lamp"]["in"].get<double>(), 4.0);
    EXPECT_EQ(s_calls, 0);
    EXPECT_TRUE(shown["source"].isUnchangedFrom(m_scene.snapshot()["source"]));
}

TEST_F(EvaluatedRecordsTest, CallbackThatReadsAlongLinks_GetsItsValue) {
    make("wave", "a")["in"].set(2.0);
    make("thing", "b");
    make("asker", "c").createInput("other", AttrType::Node).set(m_scene["b"]);
    make("thing", "d");
    connect("b", "a");
    connect("d", "c");
    EXPECT_EQ(evaluated()["d"]["in"].get<double>(), std::sin(2.0) + 1);
}

TEST_F(EvaluatedRecordsTest, CallbackThatTakesASnapshot_DoesNotHang) {
    make("taker", "a");
    make("thing", "b");
    connect("b", "a");
    EXPECT_EQ(evaluated()["b"]["in"].get<double>(), 2.0);
}

TEST_F(EvaluatedRecordsTest, CallbackThatTakesAnEvaluatedSnapshot_LeavesTheOuterOneItsValues) {
    make("giver", "a");
    make("nester", "b");
    make("thing", "c");
    make("thing", "d");
    connect("c", "a");
    connect("d", "b");
    const Snapshot before = evaluated(1);
    Snapshot inner;
    s_inner = &inner;
    const Snapshot outer = evaluated(1);
    for (const char* reader : {"c", "d"}) {
        EXPECT_EQ(before[reader]["in"].get<double>(), 1.0);
        EXPECT_EQ(inner[reader]["in"].get<double>(), 2.0);
        EXPECT_EQ(outer[reader]["in"].get<double>(), 1.0);
    }
    EXPECT_TRUE(delta(before, outer).isEmpty());
    EXPECT_EQ(delta(inner, outer).changed().size(), 2u);
    EXPECT_TRUE(evaluated()["c"].isUnchangedFrom(outer["c"]));
}

// The record as set has ended, so it must not be compared with the new one.
TEST_F(EvaluatedRecordsTest, NodeWhoseValuesWereAsSet_ChangesAfterTheSnapshotEnded) {
    make("giver", "a");
    make("thing", "b")["in"].set(s_value);
    connect("b", "a");
    EXPECT_TRUE(evaluated()["b"].isUnchangedFrom(m_scene.snapshot()["b"]));
    m_scene["b"].createInput("other", AttrType::Real);
    const Snapshot after = evaluated();
    EXPECT_EQ(after["b"].inputCount(), 2u);
    EXPECT_EQ(after["b"]["in"].get<double>(), s_value);
}

TEST_F(EvaluatedRecordsTest, EqualValues_ShareTheirRecords) {
    make("wave", "a")["in"].set(0.3);
    make("wave", "b");
    make("thing", "c");
    make("thing", "d");
    connect("b", "a");
    connect("c", "b");
    const Snapshot before = evaluated();
    m_scene["d"]["in"].set(1.0);
    const Snapshot after = evaluated();
    EXPECT_TRUE(after["b"].isUnchangedFrom(before["b"]));
    EXPECT_TRUE(after["c"].isUnchangedFrom(before["c"]));
    EXPECT_TRUE(after["a"].isUnchangedFrom(m_scene.snapshot()["a"]));
    EXPECT_EQ(delta(before, after).changed().size(), 1u);
}

TEST_F(EvaluatedRecordsTest, Delta_TellsTheValuesThatChangedDownstream) {
    make("wave", "a")["in"].set(0.3);
    make("wave", "b");
    make("thing", "c");
    connect("b", "a");
    connect("c", "b");
    const Snapshot before = evaluated();
    m_scene["a"]["in"].set(0.4);
    const Snapshot after = evaluated();
    const SnapshotDelta changes = delta(before, after);
    ASSERT_EQ(changes.changed().size(), 3u);
    EXPECT_TRUE(changes.changed()[2].has(InputPart::Value));
    EXPECT_NE(before["c"].deepHash(), after["c"].deepHash());
    EXPECT_EQ(why(before, after, after["c"]).chains().size(), 3u);
    EXPECT_EQ(before["c"]["in"].get<double>(), std::sin(std::sin(0.3) + 1) + 1);
}

TEST_F(EvaluatedRecordsTest, Snapshot_AfterTheSceneEnded_StaysReadable) {
    make("wave", "a")["in"].set(0.3);
    make("thing", "b");
    make("thing", "gone");
    connect("b", "a");
    connect("gone", "a");
    const Snapshot first = evaluated();
    m_scene.removeNode(m_scene["gone"]);
    const Snapshot second = evaluated();
    m_scene.reset();
    EXPECT_EQ(first["gone"]["in"].get<double>(), std::sin(0.3) + 1);
    EXPECT_FALSE(second["gone"]);
    EXPECT_NE(first.hash(), second.hash());
    EXPECT_EQ(second["b"]["in"].get<double>(), std::sin(0.3) + 1);
}

// Each node reads up to three earlier ones.
void fillRandomly(const Scene& scene, int count, std::mt19937& random) {
    for (int i = 0; i < count; ++i) {
        const Node node = scene.createNode("wave", "n");
        const Input sum = node.createInput("in", AttrType::Real);
        static_cast<void>(node.createOutput("out", AttrType::Real));
        sum.set(static_cast<double>(random() % 100));
        const Input list = node.createArray("more", AttrType::Real);
        for (int reads = 0; i > 0 && reads < 3; ++reads) {
            const Node source = scene.node(random() % static_cast<unsigned>(i));
            (reads == 0 ? sum : Input(list.append())).connect(source.output("out"));
        }
    }
}

TEST_F(EvaluatedRecordsTest, EachOutput_IsEvaluatedOnce_WithTheSameBitsOnAnyNumberOfThreads) {
    std::mt19937 random(5);
    fillRandomly(m_scene, 3000, random);
    std::vector<u64> serial;
    for (const u32 threads : {1u, 2u, 5u}) {
        s_calls = 0;
        const Snapshot snapshot = evaluated(threads);
        int sources = 0;
        std::vector<u64> bits;
        for (u64 i = 0; i < m_scene.nodeCount(); ++i) {
            sources += m_scene.node(i).output("out").get()->targetCount() != 0;
            bits.push_back(std::bit_cast<u64>(snapshot.node(i)["in"].get<double>()));
        }
        EXPECT_EQ(s_calls, sources);
        if (serial.empty()) serial = bits;
        EXPECT_EQ(bits, serial);
    }
    for (u64 i = 0; i < 100; ++i)
        EXPECT_EQ(std::bit_cast<u64>(m_scene.node(i)["in"].get<double>()), serial[i]);
}

TEST_F(EvaluatedRecordsTest, LongChain_NeedsNoStack) {
    for (u64 i = 0; i < 20000; ++i) {
        const Node node = make("wave", "n");
        if (i > 0) node["in"].connect(m_scene.node(i - 1).output("out"));
    }
    const Snapshot snapshot = evaluated(2);
    EXPECT_EQ(s_calls, 19999);
    EXPECT_NEAR(snapshot.node(19999)["in"].get<double>(), 1.934563, 1e-5);
}

} // namespace
} // namespace qv::kelvo_sdk
