#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/log_capture.h"
#include "tests/support/scene_text.h"
#include "tests/support/standard_node.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;
using tests::StandardNode;

struct Modification {
    const char* type;
    const char* settings;
    const char* input;
    AttrType kind;
    const char* before;
    const char* after;
};

class StandardModifiers : public testing::TestWithParam<Modification> {};

std::string textOf(const IInput* input) {
    String text;
    return input->readString(text, false, nullptr) ? std::string(text.view()) : "unreadable";
}

TEST_P(StandardModifiers, NamedInput_IsChanged) {
    const LogCapture log;
    const StandardNode modifier(GetParam().type);
    Node node(nullptr, "thing", "thing");
    IInput* input = node.createInput(GetParam().input, GetParam().kind);
    ASSERT_TRUE(input->setString(GetParam().before));
    ASSERT_TRUE(modifier.set(GetParam().settings));
    EXPECT_TRUE(modifier.get()->nodeModify(&node));
    EXPECT_EQ(textOf(input), GetParam().after);
    EXPECT_EQ(log.text(), "");
}

const Modification kModifications[] = {
    {"overrideModifier", "modifies = a; value = 2.5", "a", AttrType::Real, "1", "2.5"},
    {"overrideModifier", "modifies = a; value = hello", "a", AttrType::String, "x", "hello"},
    {"overrideModifier", "modifies = a; value = (1 0 0)", "A", AttrType::Vec3, "(0 0 0)",
     "(1 0 0)"},
    {"overrideModifier", "modifies = b,a; value = true", "a", AttrType::Bool, "false", "true"},
    {"overrideModifier", "modifies = a; value = 2; enabled = false", "a", AttrType::Int, "1", "1"},
    {"overrideModifier", "modifies = b; value = 2", "a", AttrType::Int, "1", "1"},
    {"scaleModifier", "modifies = a; factor = 3", "a", AttrType::Real, "1.5", "4.5"},
    {"scaleModifier", "modifies = a; factor = 1.5", "a", AttrType::Int, "-3", "-5"},
    {"scaleModifier", "modifies = a; factor = 0.5", "a", AttrType::UInt, "4", "2"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::Vec2, "(1 2)", "(2 4)"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::Vec4, "(1 2 3 4)", "(2 4 6 8)"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::Pos3, "(1 2 3)", "(2 4 6)"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::Rgba, "(0.25 0.5 1 0.5)",
     "(0.5 1 2 0.5)"},
    {"offsetModifier", "modifies = a; amount = -2", "a", AttrType::Real, "0.5", "-1.5"},
    {"offsetModifier", "modifies = a; amount = 0.5", "a", AttrType::Int, "3", "4"},
    {"offsetModifier", "modifies = a; amount = 1", "a", AttrType::Vec3, "(1 2 3)", "(2 3 4)"},
    {"offsetModifier", "modifies = a; amount = 1", "a", AttrType::Rgba, "(0 0 0 0.5)",
     "(1 1 1 0.5)"},
};
INSTANTIATE_TEST_SUITE_P(Table, StandardModifiers, testing::ValuesIn(kModifications));

class StandardModifiersRefused : public testing::TestWithParam<Modification> {};

TEST_P(StandardModifiersRefused, Input_StaysAndIsNamed) {
    const LogCapture log;
    const StandardNode modifier(GetParam().type);
    Node node(nullptr, "thing", "thing");
    IInput* input = node.createInput(GetParam().input, GetParam().kind);
    ASSERT_TRUE(input->setString(GetParam().before));
    ASSERT_TRUE(modifier.set(GetParam().settings));
    EXPECT_FALSE(modifier.get()->nodeModify(&node));
    EXPECT_EQ(textOf(input), GetParam().after);
    EXPECT_EQ(log.text(), "warning: Modifier 'node' cannot change input 'thing.a'.\n");
}

const Modification kRefused[] = {
    {"overrideModifier", "modifies = a; value = much", "a", AttrType::Real, "1", "1"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::String, "1", "1"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::Bool, "true", "true"},
    {"scaleModifier", "modifies = a; factor = 2", "a", AttrType::Quat, "(0 0 0 1)", "(0 0 0 1)"},
    {"scaleModifier", "modifies = a; factor = -1", "a", AttrType::UInt, "4", "4"},
    {"scaleModifier", "modifies = a; factor = 1e300", "a", AttrType::Int, "4", "4"},
    {"offsetModifier", "modifies = a; amount = nan", "a", AttrType::Int, "4", "4"},
};
INSTANTIATE_TEST_SUITE_P(Table, StandardModifiersRefused, testing::ValuesIn(kRefused));

TEST(StandardModifier, InputsAtAnyDepth_AreChanged) {
    const StandardNode modifier("scaleModifier");
    Node node(nullptr, "thing", "thing");
    IInput* inner = node.createInput("o", AttrType::Object)->createInput("a", AttrType::Real);
    IInput* outer = node.createInput("a", AttrType::Real);
    ASSERT_TRUE(inner->setReal(1.0) && outer->setReal(2.0));
    ASSERT_TRUE(modifier.set("modifies = a; factor = 3"));
    EXPECT_TRUE(modifier.get()->nodeModify(&node));
    EXPECT_EQ(textOf(inner) + " " + textOf(outer), "3 6");
}

TEST(StandardModifier, AfterARefusal_TheOthersAreChanged) {
    const LogCapture log;
    const StandardNode modifier("scaleModifier");
    Node node(nullptr, "thing", "thing");
    node.createInput("a", AttrType::Bool);
    IInput* last = node.createInput("b", AttrType::Real);
    ASSERT_TRUE(last->setReal(2.0) && modifier.set("modifies = a,b; factor = 3"));
    EXPECT_FALSE(modifier.get()->nodeModify(&node));
    EXPECT_EQ(textOf(last), "6");
}

TEST(StandardModifier, Settings_MayBeConnected) {
    const StandardNode modifier("offsetModifier"), sum("add");
    Node node(nullptr, "thing", "thing");
    IInput* input = node.createInput("a", AttrType::Real);
    ASSERT_TRUE(modifier.set("modifies = a") && sum.set("a = 1; b = 2"));
    ASSERT_TRUE(modifier.get()->input("amount")->connect(sum.get()->output("result")));
    EXPECT_TRUE(modifier.get()->nodeModify(&node));
    EXPECT_EQ(textOf(input), "3");
}

// ---- Observers ---------------------------------------------------------------------------------

// A modifier that is called directly writes to "n"; at the first input that changes, the observer
// calls a function of the test.
class StandardModifierHeard : public testing::Test, SceneObserver {
protected:
    StandardModifierHeard() {
        m_scene.addLibrary(kelvo_sdk::LibInfo(&standardLibrary()));
        EXPECT_EQ(tests::errorsOf("node overrideModifier \"m\" {\n    String modifies = \"a,b\"\n"
                                  "    String value = \"7\"\n}\n"
                                  "node thing \"n\" {\n    Real a = 1\n    Real b = 2\n}\n",
                                  m_scene),
                  "");
        m_scene.setUndoEnabled(true);
    }
    // Returns the text after the call and after undoing everything.
    std::string undoneAfter(std::function<void()> atFirst) {
        m_then = std::move(atFirst);
        m_scene.subscribe(this);
        m_scene["m"]->nodeModify(m_scene["n"].get());
        m_scene.unsubscribe(static_cast<SceneObserver*>(this));
        EXPECT_FALSE(m_then);
        while (m_scene.undo()) {
        }
        return tests::textOf(m_scene);
    }
    void inputChanged(const IInput*, const AttrData*) override {
        if (const auto now = std::exchange(m_then, nullptr)) now();
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    std::function<void()> m_then;
};

TEST_F(StandardModifierHeard, InputTakenOffMeanwhile_IsNotWritten) {
    const std::string before = tests::textOf(m_scene);
    EXPECT_EQ(undoneAfter([this] { m_scene["n"].removeInput("b"); }), before);
}

TEST_F(StandardModifierHeard, NodeThatLeavesMeanwhile_IsNotWritten) {
    const std::string before = tests::textOf(m_scene);
    EXPECT_EQ(undoneAfter([this] { m_scene.removeNode(m_scene["n"]); }), before);
}

TEST(StandardModifier, NoNode_IsRefused) {
    for (const char* type : {"overrideModifier", "scaleModifier", "offsetModifier"})
        EXPECT_FALSE(StandardNode(type).get()->nodeModify(nullptr)) << type;
}

} // namespace
} // namespace qv::kelvo_sdk::impl
