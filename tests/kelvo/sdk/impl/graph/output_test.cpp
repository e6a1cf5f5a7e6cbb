#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/scene_listener.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

// out = in + 1
bool addOne(EvalCtx* ctx, void* out) {
    double value = 0;
    const INode* node = ctx->node();
    if (!node->input(String("in"))->readReal(value, true, ctx)) return false;
    *static_cast<double*>(out) = value + 1;
    return true;
}

// Follows the link "other" and evaluates the output there, in an endless loop.
bool askOther(EvalCtx* ctx, void* /*out*/) {
    INode* other = nullptr;
    const INode* node = ctx->node();
    node->input(String("other"))->readNode(other, true, ctx);
    return !static_cast<Output*>(other->output(String("out")))->evaluate(ctx).isNull();
}

class OutputTest : public testing::Test {
protected:
    OutputTest() {
        m_library->setCallbacks("adder", {nullptr, nullptr, addOne, modifies, nullptr, nullptr});
        m_library->setCallbacks("asker", {nullptr, nullptr, askOther, modifies, nullptr, nullptr});
    }
    // A type needs a modify callback for its set of callbacks to be complete.
    static bool modifies(INode*, INode*) { return false; }

    Node* makeNode(const char* type, const char* name) {
        auto* node = static_cast<Node*>(m_scene->createNode(type, name));
        EXPECT_TRUE(node->initLibInfo(m_library.get()));
        node->createInput("in", AttrType::Real);
        node->createOutput("out", AttrType::Real);
        return node;
    }
    static Output* out(Node* node) { return static_cast<Output*>(node->output(String("out"))); }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node m_plain{nullptr, "thing", "plain"};
};

TEST_F(OutputTest, New_KnowsKindNodeAndPath) {
    IOutput* real = m_plain.createOutput("size", AttrType::Real);
    EXPECT_EQ(real->type(), AttrType::Real);
    EXPECT_EQ(real->node(), &m_plain);
    EXPECT_STREQ(real->path().buf(), "plain.size");
    EXPECT_STREQ(real->typeName().buf(), "Real");
    EXPECT_EQ(real->dataType(), DataType::Null);
    EXPECT_FALSE(real->hasDataType(DataType::Null));
}

TEST_F(OutputTest, BufferOutput_KnowsItsElementType) {
    IOutput* buffer = m_plain.createOutput("samples", DataType::Float);
    EXPECT_EQ(buffer->type(), AttrType::Buffer);
    EXPECT_TRUE(buffer->hasDataType(DataType::Float));
    EXPECT_FALSE(buffer->hasDataType(DataType::Double));
    EXPECT_STREQ(buffer->typeName().buf(), "Buffer<Float>");
}

TEST_F(OutputTest, SetValue_ConvertsOrRefuses) {
    auto* real = static_cast<Output*>(m_plain.createOutput("size", AttrType::Real));
    EXPECT_TRUE(real->value().isNull());
    EXPECT_TRUE(real->setValue(i64(3)));
    EXPECT_EQ(real->value(), Value(3.0));
    EXPECT_FALSE(real->setValue(math::Vec3d{1, 2, 3}));
    EXPECT_EQ(real->value(), Value(3.0));
}

TEST_F(OutputTest, BufferOutput_RefusesAnotherElementType) {
    auto* buffer = static_cast<Output*>(m_plain.createOutput("samples", DataType::Float));
    const float samples[] = {1, 2};
    const double others[] = {1, 2, 3};
    EXPECT_TRUE(buffer->setValue(Value(Buffer(DataType::Float, samples, 2))));
    EXPECT_FALSE(buffer->setValue(Value(Buffer(DataType::Double, others, 3))));
    EXPECT_EQ(buffer->value(), Value(Buffer(DataType::Float, samples, 2)));
}

TEST_F(OutputTest, NullKind_TakesNoValue) {
    auto* null = static_cast<Output*>(m_plain.createOutput("n", AttrType::Null));
    EXPECT_FALSE(null->setValue(Value()));
    EXPECT_FALSE(null->setValue(1.0));
    EXPECT_TRUE(null->evaluate(nullptr).isNull());
}

TEST_F(OutputTest, Clone_KeepsKindAndValueAndHasNoTargets) {
    auto* real = static_cast<Output*>(m_plain.createOutput("size", AttrType::Real));
    real->setValue(2.0);
    m_plain.createInput("in", AttrType::Real);
    Node other(nullptr, "thing", "other");
    other.createInput("in", AttrType::Real)->connect(real);
    const auto copy = RefersTo<IOutput>::adopt(real->clone(&other));
    EXPECT_EQ(copy->node(), &other);
    EXPECT_STREQ(copy->name().buf(), "size");
    EXPECT_EQ(copy->targetCount(), 0u);
    EXPECT_EQ(static_cast<Output&>(*copy).value(), Value(2.0));
}

TEST_F(OutputTest, Evaluation_AsksTheNodesCallback) {
    Node* a = makeNode("adder", "a");
    Node* b = makeNode("adder", "b");
    a->input(String("in"))->setReal(1);
    b->input(String("in"))->connect(out(a));
    EXPECT_EQ(out(b)->evaluate(nullptr), Value(3.0));
    EXPECT_EQ(out(a)->evaluate(nullptr), Value(2.0));
}

TEST_F(OutputTest, Evaluation_ThatFailsUpstream_Fails) {
    Node* b = makeNode("adder", "b");
    b->input(String("in"))->connect(m_plain.createOutput("size", AttrType::Real));
    EXPECT_TRUE(out(b)->evaluate(nullptr).isNull());
}

TEST_F(OutputTest, CallbackThatWritesNothing_GivesTheZeroOfTheKind) {
    const auto writeNothing = [](EvalCtx*, void*) { return true; };
    m_library->setCallbacks("idler", {nullptr, nullptr, writeNothing, modifies, nullptr, nullptr});
    Node* node = makeNode("idler", "idler");
    for (const AttrType type :
         {AttrType::Bool, AttrType::Int, AttrType::UInt, AttrType::Real, AttrType::Vec3,
          AttrType::Pos3, AttrType::Mat3, AttrType::Mat4, AttrType::String}) {
        auto* output = static_cast<Output*>(node->createOutput(attrTypeName(type), type));
        EXPECT_EQ(output->evaluate(nullptr), Value::zero(type)) << attrTypeName(type);
    }
    auto* buffer = static_cast<Output*>(node->createOutput("samples", DataType::Float));
    EXPECT_EQ(buffer->evaluate(nullptr), Value(Buffer(DataType::Float, 0)));
}

TEST_F(OutputTest, EndlessEvaluation_IsAnErrorLineWithItsPath) {
    Node* a = makeNode("asker", "a");
    Node* b = makeNode("asker", "b");
    a->createInput("other", AttrType::Node)->setNode(b);
    b->createInput("other", AttrType::Node)->setNode(a);
    IInput* reader = m_plain.createInput("in", AttrType::Real);
    reader->connect(out(a));
    const LogCapture log;
    double value = 7;
    EXPECT_FALSE(reader->readReal(value, true, nullptr));
    EXPECT_EQ(value, 7);
    EXPECT_EQ(log.text(), "error: Endless evaluation: a.out -> b.out -> a.out.\n");
}

TEST_F(OutputTest, DeepChain_IsEvaluatedToItsStart) {
    Node* last = makeNode("adder", "n");
    for (int i = 0; i < 5000; ++i) {
        Node* next = makeNode("adder", "n");
        next->input(String("in"))->connect(out(last));
        last = next;
    }
    const LogCapture log;
    EXPECT_EQ(out(last)->evaluate(nullptr), Value(5001.0));
    EXPECT_EQ(log.text(), "");
}

TEST_F(OutputTest, Callback_SeesTheCallersPointer) {
    static void* seen = nullptr;
    const auto note = [](EvalCtx* ctx, void*) {
        seen = ctx->user();
        return true;
    };
    m_library->setCallbacks("noter", {nullptr, nullptr, note, modifies, nullptr, nullptr});
    Node* node = makeNode("noter", "n");
    int mine = 0;
    EvalCtx first(&mine);
    EXPECT_FALSE(out(node)->evaluate(&first).isNull());
    EXPECT_EQ(seen, &mine);
}

TEST_F(OutputTest, EndOfARemovedOutput_LeavesRemovedInputsWithoutASource) {
    const RefersTo<IInput> input(m_plain.createInput("in", AttrType::Real));
    {
        const RefersTo<IOutput> output(m_plain.createOutput("size", AttrType::Real));
        EXPECT_TRUE(m_plain.removeInput("in") && m_plain.removeOutput("size"));
        EXPECT_TRUE(input->connect(output.get()));
        EXPECT_EQ(input->source(), output.get());
    }
    EXPECT_EQ(input->source(), nullptr);
}

TEST(OutputTargets, FreeInputConnectedWhileTheOthersLeave_IsDisconnectedToo) {
    struct Connector : SceneListener {
        void inputConnected(kelvo_sdk::Input, kelvo_sdk::Output left, kelvo_sdk::Output) override {
            isDone = bool(free.connect(left));
        }
        kelvo_sdk::Input free;
        bool isDone = false;
    } connector;
    const auto scene = kelvo_sdk::Scene::create();
    const auto source = scene.createNode("t", "source"), reader = scene.createNode("t", "reader");
    const kelvo_sdk::Output output = source.createOutput("o", AttrType::Real);
    EXPECT_TRUE(reader.createInput("in", AttrType::Real).connect(output));
    connector.free = reader.createInput("free", AttrType::Real);
    EXPECT_TRUE(reader.removeInput("free"));
    EXPECT_TRUE(scene.subscribe(&connector));
    EXPECT_TRUE(source.removeOutput("o"));
    EXPECT_TRUE(connector.isDone);
    EXPECT_EQ(connector.free->source(), nullptr);
    EXPECT_TRUE(scene.unsubscribe(&connector));
}

TEST(OutputTargets, ObserverThatThrowsWhenTheirSourceGoes_ReachesTheCaller) {
    struct Thrower : SceneObserver {
        void inputConnected(const IInput*, const IOutput*, const IOutput*) override {
            throw std::runtime_error("no");
        }
    } thrower;
    const auto scene = kelvo_sdk::Scene::create();
    const auto source = scene.createNode("t", "source"), reader = scene.createNode("t", "reader");
    const auto input = reader.createInput("in", AttrType::Real);
    input->connect(source->createOutput("o", AttrType::Real));
    scene.subscribe(&thrower);
    EXPECT_THROW(source->removeOutput(u64(0)), std::runtime_error);
    scene.unsubscribe(&thrower);
    EXPECT_EQ(source.outputCount(), 0u);
    EXPECT_EQ(input->source(), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
