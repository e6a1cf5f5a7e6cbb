// The result cache while callbacks change the values that their results depend on.

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

int asked = 0;

// Changes an input and restores it.
bool changeAndRestore(EvalCtx* ctx, void* out) {
    ++asked;
    IInput* input = ctx->node()->input(String("in"));
    input->setReal(5);
    input->setReal(0);
    *static_cast<double*>(out) = 1;
    return true;
}

bool readIn(EvalCtx* ctx, void* out) {
    const INode* node = ctx->node();
    return node->input(String("in"))->readReal(*static_cast<double*>(out), true, ctx);
}

bool modifies(INode*, INode*) {
    return false;
}

bool freeNothing(INode*, void**) {
    return true;
}

class EvalCacheCallbacks : public testing::Test {
protected:
    EvalCacheCallbacks() {
        m_library->setCallbacks(
            "thing", {nullptr, nullptr, changeAndRestore, modifies, freeNothing, nullptr});
        m_node->createInput("in", AttrType::Real);
        EXPECT_TRUE(m_node->initLibInfo(m_library.get()));
    }
    // Evaluates, and returns the number of callbacks called.
    int calls() {
        asked = 0;
        EXPECT_EQ(m_out.evaluate(nullptr), Value(1.0));
        return asked;
    }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Node* m_node = static_cast<Node*>(m_scene->createNode("thing", "n"));
    Output& m_out = static_cast<Output&>(*m_node->createOutput("out", AttrType::Real));
};

TEST_F(EvalCacheCallbacks, DataThatWasFreed_IsEvaluatedAgain) {
    m_scene->setEvalCache(1 << 20, false);
    EXPECT_EQ(calls(), 1);
    EXPECT_EQ(calls(), 0);
    EXPECT_TRUE(m_node->nodeFree());
    EXPECT_EQ(calls(), 1);
}

TEST_F(EvalCacheCallbacks, CheckedResultWhoseCallbackRestoredAnInput_IsKeptInItsPlace) {
    m_scene->setEvalCache(1 << 20, true);
    EXPECT_EQ(calls(), 2);
    const interfaces::EvalCacheFigures before = m_scene->evalCacheFigures();
    EXPECT_EQ(calls(), 1);
    EXPECT_EQ(m_scene->evalCacheFigures().entries, before.entries);
    EXPECT_EQ(m_scene->evalCacheFigures().bytes, before.bytes);
    EXPECT_EQ(calls(), 1);
}

TEST_F(EvalCacheCallbacks, CheckedEvaluationThatFails_IsNotRepeated) {
    m_scene->setEvalCache(1 << 20, true);
    const auto fail = [](EvalCtx*, void*) { return ++asked == 0; };
    m_library->setCallbacks("thing", {nullptr, nullptr, fail, modifies, freeNothing, nullptr});
    EXPECT_TRUE(m_node->initLibInfo(m_library.get()));
    const tests::LogCapture log;
    asked = 0;
    EXPECT_TRUE(m_out.evaluate(nullptr).isNull());
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(log.text(), "");
}

TEST_F(EvalCacheCallbacks, NewBases_AreEvaluatedAnew) {
    m_scene->setEvalCache(1 << 20, false);
    EXPECT_EQ(calls(), 1);
    m_node->setBases({"base"}, false, false);
    EXPECT_EQ(calls(), 1);
    EXPECT_EQ(calls(), 0);
}

TEST_F(EvalCacheCallbacks, ValueOfAnOutputThatUndoBringsBack_IsReadAtOnce) {
    m_scene->setEvalCache(1 << 20, false);
    m_scene->setUndoEnabled(true);
    m_library->setCallbacks("reader", {nullptr, nullptr, readIn, modifies, nullptr, nullptr});
    INode* source = m_scene->createNode("plain", "source");
    auto* value = static_cast<Output*>(source->createOutput("out", AttrType::Real));
    auto* reader = static_cast<Node*>(m_scene->createNode("reader", "reader"));
    reader->createInput("in", AttrType::Real)->connect(value);
    EXPECT_TRUE(reader->initLibInfo(m_library.get()));
    auto* result = static_cast<Output*>(reader->createOutput("out", AttrType::Real));
    value->setValue(1.0);
    EXPECT_EQ(result->evaluate(nullptr), Value(1.0));
    value->setValue(2.0);
    EXPECT_EQ(result->evaluate(nullptr), Value(2.0));
    EXPECT_TRUE(m_scene->undo());
    EXPECT_EQ(result->evaluate(nullptr), Value(1.0));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
