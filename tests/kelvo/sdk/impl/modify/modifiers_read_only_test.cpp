#include "tests/support/log_capture.h"
#include "tests/support/modified_scene.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::LogCapture;

class ModifiedReadOnlyInput : public testing::Test {
protected:
    // Creates a read-only input with the value 1 in the modified node.
    Input& create() {
        AttrData data = AttrData::withDefault(1.0);
        data.readOnly = true;
        return static_cast<Input&>(*m_scene.get("n")->createInput("fixed", std::move(data)));
    }

    tests::ModifiedScene m_scene;
};

TEST_F(ModifiedReadOnlyInput, SetByTheUser_RefusesTheValue) {
    Input& input = create();
    input.stash();
    const LogCapture log;
    EXPECT_FALSE(input.setReal(7));
    EXPECT_EQ(input.value(), Value(1.0));
    EXPECT_EQ(input.ownValue(), Value(1.0));
    EXPECT_EQ(log.text(), "warning: Cannot set input 'n.fixed': it is read-only.\n");
}

TEST_F(ModifiedReadOnlyInput, WrittenByAModifier_RefusesTheValue) {
    const Input& input = create();
    const LogCapture log;
    m_scene.addCustom(
        "n", [](INode* node) { return node->input("fixed")->setReal(7); }, "fixed");
    EXPECT_EQ(input.value(), Value(1.0));
    EXPECT_NE(log.text().find("warning: Cannot set input 'n.fixed': it is read-only.\n"),
              std::string::npos);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
