#include "kelvo/sdk/impl/eval/parallel_evaluation.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>

namespace qv::kelvo_sdk::impl {
namespace {

std::atomic<int> s_calls = 0;

// out = in + 1
bool addOne(EvalCtx* ctx, void* out) {
    ++s_calls;
    double value = 0;
    const INode* node = ctx->node();
    if (!node->input(String("in"))->readReal(value, true, ctx)) return false;
    *static_cast<double*>(out) = value + 1;
    return true;
}

// Reads in an evaluation of its own, with a pointer of the user.
bool askAnew(EvalCtx* ctx, void* out) {
    EvalCtx own(&s_calls);
    const INode* node = ctx->node();
    return node->input(String("in"))->readReal(*static_cast<double*>(out), true, &own);
}

bool throwOutOfMemory(EvalCtx*, void*) {
    throw std::bad_alloc();
}

class ParallelEvaluationTest : public testing::Test {
protected:
    ParallelEvaluationTest() {
        define("adder", addOne);
        define("asker", askAnew);
        define("thrower", throwOutOfMemory);
        s_calls = 0;
    }
    void define(const char* type, interfaces::NodeEvalFn eval) {
        m_library->setCallbacks(type, {nullptr, nullptr, eval, nullptr, nullptr, nullptr});
    }
    Output& make(const char* type, Output* source = nullptr) {
        auto* node = static_cast<Node*>(m_scene->createNode(type, "n"));
        node->initLibInfo(m_library.get());
        IInput* in = node->createInput("in", AttrType::Real);
        if (source) in->connect(source);
        return *static_cast<Output*>(node->createOutput("out", AttrType::Real));
    }
    double resultOf(const Output& output) const {
        const Value* const result = m_evaluation.result(output);
        return result && !result->isNull() ? result->asReal() : -1;
    }
    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    ParallelEvaluation m_evaluation;
};

TEST_F(ParallelEvaluationTest, Run_EvaluatesEachOnceAfterItsSources) {
    Output& first = make("adder");
    Output& second = make("adder", &first);
    const u32 later = m_evaluation.add(second), sooner = m_evaluation.add(first);
    EXPECT_EQ(m_evaluation.add(second), later);
    m_evaluation.wait(later, sooner);
    EXPECT_EQ(m_evaluation.result(first), nullptr);
    m_evaluation.run(2);
    EXPECT_EQ(resultOf(first), 1);
    EXPECT_EQ(resultOf(second), 2);
    EXPECT_EQ(s_calls, 2);
}

TEST_F(ParallelEvaluationTest, OutputsThatWaitForEachOther_AreLeftOut) {
    Output &first = make("adder"), &second = make("adder"), &third = make("adder");
    const u32 a = m_evaluation.add(first), b = m_evaluation.add(second);
    m_evaluation.add(third);
    m_evaluation.wait(a, b);
    m_evaluation.wait(b, a);
    m_evaluation.run(3);
    EXPECT_EQ(m_evaluation.result(first), nullptr);
    EXPECT_EQ(m_evaluation.result(second), nullptr);
    EXPECT_EQ(resultOf(third), 1);
}

TEST_F(ParallelEvaluationTest, ReadWithAPointerOfTheUser_IsEvaluatedAnew) {
    Output& first = make("adder");
    Output& second = make("asker", &first);
    m_evaluation.wait(m_evaluation.add(second), m_evaluation.add(first));
    m_evaluation.run(1);
    EXPECT_EQ(resultOf(second), 1);
    EXPECT_EQ(s_calls, 2);
}

TEST_F(ParallelEvaluationTest, OutOfMemory_ReachesTheCallerAndEndsTheThreads) {
    for (int i = 0; i < 500; ++i)
        m_evaluation.add(make(i % 100 == 50 ? "thrower" : "adder"));
    EXPECT_THROW(m_evaluation.run(3), std::bad_alloc);
    double value = 0;
    EXPECT_TRUE(m_scene->node(1)->output(String("out")));
    EXPECT_TRUE(m_scene->node(1)->input(String("in"))->readReal(value, true, nullptr));
}

TEST_F(ParallelEvaluationTest, Reads_OutsideOfTheRun_AreEvaluated) {
    Output& output = make("adder");
    m_evaluation.add(output);
    m_evaluation.run(1);
    EXPECT_EQ(ParallelEvaluation::known(output, nullptr), nullptr);
    EXPECT_EQ(output.evaluate(nullptr).asReal(), 1);
    EXPECT_EQ(s_calls, 2);
}

TEST_F(ParallelEvaluationTest, Run_WithoutOutputs_Ends) {
    m_evaluation.run(0);
    EXPECT_EQ(m_evaluation.result(make("adder")), nullptr);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
