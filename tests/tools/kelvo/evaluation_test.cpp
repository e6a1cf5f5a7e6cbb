#include "tools/kelvo/evaluation.h"

#include "tools/kelvo/value_summary.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/types/lib_info.h"

#include <gtest/gtest.h>

namespace qv::kelvo_tool {
namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::EvalCtx;
using kelvo_sdk::Input;
using kelvo_sdk::impl::LibInfo;
using kelvo_sdk::impl::Node;
using kelvo_sdk::impl::Output;
using kelvo_sdk::impl::Scene;
using kelvo_sdk::impl::Value;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

bool giveHalf(EvalCtx* /*ctx*/, void* out) {
    *static_cast<double*>(out) = 0.5;
    return true;
}
bool giveNothing(EvalCtx* /*ctx*/, void* /*out*/) {
    return false;
}
// A type needs a modify callback for its set of callbacks to be complete.
bool modifies(INode* /*node*/, INode* /*other*/) {
    return false;
}

class EvaluationTest : public testing::Test {
protected:
    EvaluationTest() {
        m_library->setCallbacks("half", {nullptr, nullptr, giveHalf, modifies, nullptr, nullptr});
        m_library->setCallbacks("idle",
                                {nullptr, nullptr, giveNothing, modifies, nullptr, nullptr});
    }

    // Returns an input "reader.in" that is connected to "source.out".
    Input connected(const char* sourceType, AttrType from, AttrType to) {
        auto* source = static_cast<Node*>(m_scene->createNode(sourceType, "source"));
        source->initLibInfo(m_library.get());
        m_source = static_cast<Output*>(source->createOutput("out", from));
        IInput* input = m_scene->createNode("reader", "reader")->createInput("in", to);
        EXPECT_TRUE(input->connect(m_source));
        return Input(input);
    }

    RefersTo<LibInfo> m_library = RefersTo<LibInfo>::adopt(new LibInfo);
    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    Output* m_source = nullptr;
};

void expectResult(const Evaluation& result, bool hasValue, const char* text) {
    EXPECT_EQ(result.hasValue, hasValue);
    EXPECT_STREQ(result.text.buf(), text);
}

TEST_F(EvaluationTest, Callback_GivesTheValue) {
    expectResult(evaluate(connected("half", AttrType::Real, AttrType::Real)), true, "0.5");
}

TEST_F(EvaluationTest, OtherKind_IsConverted) {
    expectResult(evaluate(connected("half", AttrType::Real, AttrType::String)), true, "\"0.5\"");
}

TEST_F(EvaluationTest, ValueThatDoesNotFit_IsReported) {
    expectResult(evaluate(connected("half", AttrType::Real, AttrType::Int)), false,
                 "0.5 (Real) cannot become Int");
}

TEST_F(EvaluationTest, CallbackThatFails_IsReported) {
    expectResult(evaluate(connected("idle", AttrType::Real, AttrType::Real)), false,
                 "the eval callback of 'source' gave none");
}

TEST_F(EvaluationTest, NoCallbackAndNoValue_IsReported) {
    expectResult(evaluate(connected("plain", AttrType::Real, AttrType::Real)), false,
                 "'source.out' has none, and its node no eval callback to produce one");
}

TEST_F(EvaluationTest, ValueSetWithoutCallback_IsTaken) {
    const Input input = connected("plain", AttrType::Real, AttrType::UInt);
    ASSERT_TRUE(m_source->setValue(Value(7.0)));
    expectResult(evaluate(input), true, "7");
}

// Returns a value in the format of `shortValue`.
template<typename T>
String shortText(AttrType type, const T& value) {
    const Input input = Input::create(type);
    EXPECT_TRUE(input.set(value));
    return shortValue(*input.get());
}

TEST(ShortValue, Values_AreShortAsInScenes) {
    EXPECT_EQ(shortText(AttrType::Vec2, math::Vec2d{1, 2.5}), "(1 2.5)");
    EXPECT_EQ(shortText(AttrType::String, "a\n"), "\"a\\n\"");
    EXPECT_EQ(shortText(AttrType::Node, static_cast<INode*>(nullptr)), "null");
    EXPECT_EQ(shortText(AttrType::String, String::format("%0100d", 0)).size(), 60u + 2 + 3 + 10);
}

TEST_F(EvaluationTest, InputThatHoldsConnectedOnes_IsEvaluatedWhole) {
    const Input input = connected("half", AttrType::Real, AttrType::Real);
    auto* reader = static_cast<Node*>(input.node());
    const Input list(reader->createArray("list", AttrType::Real));
    EXPECT_TRUE(list->appendElement()->setReal(2.0));
    EXPECT_FALSE(isHidden(list));
    EXPECT_TRUE(list->appendElement()->connect(m_source));
    EXPECT_TRUE(isHidden(list));
    expectResult(evaluateWhole(list), true, "[2, 0.5]");
    EXPECT_STREQ(storedValue(list).buf(), "[2, 0]");
}

TEST_F(EvaluationTest, InputThatHoldsOneWithoutValue_HasNone) {
    const Input input = connected("idle", AttrType::Real, AttrType::Real);
    const Input list(static_cast<Node*>(input.node())->createArray("list", AttrType::Real));
    EXPECT_TRUE(list->appendElement()->connect(m_source));
    expectResult(evaluateWhole(list), false, "the eval callback of 'source' gave none");
}

} // namespace
} // namespace qv::kelvo_tool
