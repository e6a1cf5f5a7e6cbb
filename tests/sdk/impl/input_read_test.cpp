// Reads whose callbacks change what is read.

#include "sdk/eval_ctx.h"
#include "sdk/impl/input.h"
#include "sdk/impl/lib_info.h"
#include "sdk/impl/node.h"
#include "sdk/impl/output.h"
#include "sdk/impl/scene.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace qv::kelvo_sdk::impl
