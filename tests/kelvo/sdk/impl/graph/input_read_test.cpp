// Reads whose callbacks change the input that is read.

#include "kelvo/sdk/buffer_result.h"
#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <gtest/gtest.h>

#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

bool removeSelf(EvalCtx* ctx, void* out) {
    *static_cast<double*>(out) = 5;
    return ctx->node()->scene()->removeNode(ctx->node());
}

bool modifies(INode*, INode*) {
    return false;
}

TEST(InputRead, SourceThatEndsWhileItIsAsked_IsNotReadAfterwards) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("r", {nullptr, nullptr, removeSelf, modifies, nullptr, nullptr});
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    auto* node = static_cast<Node*>(scene->createNode("r", "a"));
    node->initLibInfo(library.get());
    IInput* in = scene->createNode("reader", "b")->createInput("in", AttrType::Real);
    in->connect(node->createOutput("out", AttrType::Real));
    double value = 0;
    in->readReal(value, true, nullptr);
    EXPECT_EQ(in->source(), nullptr);
}

// The buffer is so large that its memory is returned to the system when it is freed.
bool giveManyOnes(EvalCtx*, void* out) {
    return setBufferResult(out, std::vector<i64>(100000, 1));
}

TEST(InputRead, EvaluatedBuffer_StaysWhereItIsAfterTheRead) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks("filler", {nullptr, nullptr, giveManyOnes, modifies, nullptr, nullptr});
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    auto* node = static_cast<Node*>(scene->createNode("filler", "a"));
    node->initLibInfo(library.get());
    IInput* in = scene->createNode("reader", "b")->createInput("in", AttrType::Buffer);
    auto* out = static_cast<Output*>(node->createOutput("out", DataType::Int64));
    in->connect(out);
    interfaces::BufferView view;
    ASSERT_TRUE(in->readBuffer(view, true, nullptr));
    const Value next = out->evaluate(nullptr);
    EXPECT_NE(next.asBuffer().data(), view.data);
    EXPECT_EQ(next, Value(Buffer(view.type, view.data, view.count)));
}

bool giveManyOnesAndRemoveOutput(EvalCtx* ctx, void* out) {
    ctx->node()->removeOutput(u64(0));
    return giveManyOnes(ctx, out);
}

TEST(InputRead, BufferOfAnOutputThatEndsWhileItIsAsked_IsNotHeldAfterwards) {
    const auto library = RefersTo<LibInfo>::adopt(new LibInfo);
    library->setCallbacks(
        "filler", {nullptr, nullptr, giveManyOnesAndRemoveOutput, modifies, nullptr, nullptr});
    const auto scene = RefersTo<Scene>::adopt(new Scene);
    auto* node = static_cast<Node*>(scene->createNode("filler", "a"));
    node->initLibInfo(library.get());
    IInput* in = scene->createNode("reader", "b")->createInput("in", AttrType::Buffer);
    in->connect(node->createOutput("out", DataType::Int64));
    interfaces::BufferView view;
    in->readBuffer(view, true, nullptr);
    EXPECT_EQ(in->source(), nullptr);
    EXPECT_EQ(node->outputCount(), 0u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
