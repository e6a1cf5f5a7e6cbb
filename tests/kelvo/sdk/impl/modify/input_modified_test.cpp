#include "tests/support/modified_scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::ModifiedScene;

class InputModified : public testing::Test {
protected:
    ModifiedScene m_scene;
};

TEST_F(InputModified, WrittenByModifiers_KeepsTheUsersValueBesideIt) {
    const Input& input = m_scene.input("n", "a");
    EXPECT_TRUE(input.isModified());
    EXPECT_EQ(input.value().asReal(), 5);
    EXPECT_EQ(input.ownValue().asReal(), 1);
}

TEST_F(InputModified, OfTheSameNodeButUntouched_IsNotModified) {
    const Input& input = m_scene.input("n", "b");
    EXPECT_FALSE(input.isModified());
    EXPECT_EQ(input.ownValue().asReal(), 10);
}

TEST_F(InputModified, ValueKeptAsideWithoutModifiers_IsNotModified) {
    Input& input = m_scene.input("scale", "factor");
    input.stash();
    EXPECT_FALSE(input.isModified());
    EXPECT_EQ(input.ownValue().asReal(), 3);
}

TEST_F(InputModified, WrittenWithTheValueThatItHas_IsNotModified) {
    m_scene.addCustom(
        "n", [](interfaces::INode* node) { return node->input(String("b"))->setReal(10); });
    EXPECT_EQ(m_scene.valueOf("n", "b"), 10);
    EXPECT_FALSE(m_scene.input("n", "b").isModified());
}

TEST_F(InputModified, ReadOnly_RefusesTheUsersValueAndKeepsBoth) {
    m_scene.input("n", "a").setReadOnly(true);
    EXPECT_FALSE(m_scene["n"]["a"].set(9.0));
    EXPECT_EQ(m_scene.ownOf("n"), 1);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(InputModified, UserSettingHisOwnValueAgain_IsNoChange) {
    m_scene.scene.setUndoEnabled(true);
    const u64 steps = m_scene.scene.undoCount();
    EXPECT_TRUE(m_scene["n"]["a"].set(1.0));
    EXPECT_EQ(m_scene.scene.undoCount(), steps);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
