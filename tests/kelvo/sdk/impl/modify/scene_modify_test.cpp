#include "tests/support/modified_scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::ModifiedScene;

class SceneModify : public testing::Test {
protected:
    Scene& scene() { return static_cast<Scene&>(*m_scene.scene.get()); }

    ModifiedScene m_scene;
};

TEST_F(SceneModify, IsModified_OfNodesWithModifiersAlone) {
    EXPECT_TRUE(scene().isModified(*m_scene.get("n")));
    EXPECT_FALSE(scene().isModified(*m_scene.get("scale")));
}

TEST_F(SceneModify, Held_ModifiersWriteWhenReleased) {
    scene().holdModifiers();
    m_scene["scale"]["factor"].set(4.0);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
    scene().releaseModifiers(true);
    EXPECT_EQ(m_scene.valueOf("n"), 6);
}

TEST_F(SceneModify, ApplyModifiers_HasThemWriteOnceMore) {
    int calls = 0;
    m_scene.addCustom("n", [&](auto*) { return ++calls > 0; });
    const int before = calls;
    scene().applyModifiers(m_scene.get("n"));
    EXPECT_EQ(calls, before + 1);
}

TEST_F(SceneModify, ApplyModifiers_OfAnotherScenesNodeOrNone_DoesNothing) {
    const ModifiedScene other;
    scene().applyModifiers(other.get("n"));
    scene().applyModifiers(nullptr);
    EXPECT_EQ(other.valueOf("n"), 5);
    EXPECT_EQ(m_scene.valueOf("n"), 5);
}

TEST_F(SceneModify, ApplyModifiersLater_WaitsForTheNextChange) {
    int calls = 0;
    m_scene.addCustom("n", [&](auto*) { return ++calls > 0; });
    const int before = calls;
    scene().applyModifiersLater();
    EXPECT_EQ(calls, before);
    m_scene["scale"].createInput("more", AttrType::Int).set(1);
    EXPECT_GT(calls, before);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
