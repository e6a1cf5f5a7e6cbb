#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class SceneDirty : public testing::Test {
protected:
    // `m_user` links to `m_used`; both are clean.
    SceneDirty() {
        EXPECT_TRUE(m_user->createInput("link", AttrType::Node)->setNode(m_used));
        m_used->createInput("value", AttrType::Int);
        m_user->setDirty(false);
        m_used->setDirty(false);
    }

    RefersTo<Scene> m_scene = RefersTo<Scene>::adopt(new Scene);
    INode* m_used = m_scene->createNode("thing", "used");
    INode* m_user = m_scene->createNode("thing", "user");
};

TEST_F(SceneDirty, SetDirty_WithoutArgument_MakesTheSceneDirty) {
    m_scene->setDirty();
    EXPECT_TRUE(m_scene->isDirty());
    m_scene->setDirty(false);
    EXPECT_FALSE(m_scene->isDirty());
}

TEST_F(SceneDirty, Uncached_TheFlagOfANodeIsItsOwn) {
    EXPECT_FALSE(m_scene->isDirtyStateCached());
    m_used->input(String("value"))->setInt(1);
    EXPECT_TRUE(m_used->dirty(false));
    EXPECT_FALSE(m_user->dirty(false));
    EXPECT_TRUE(m_user->dirty(true));
}

TEST_F(SceneDirty, Cached_NodesKnowOfChangesBelowThem) {
    m_scene->setDirtyStateCached(true);
    EXPECT_TRUE(m_scene->isDirtyStateCached());
    EXPECT_FALSE(m_user->dirty(true));
    m_used->input(String("value"))->setInt(1);
    EXPECT_TRUE(m_user->dirty(true));
}

TEST_F(SceneDirty, CachedTwiceAndLetGoTwice_IsOff) {
    m_scene->setDirtyStateCached(true);
    m_scene->setDirtyStateCached(true);
    m_scene->setDirtyStateCached(false);
    m_scene->setDirtyStateCached(false);
    EXPECT_FALSE(m_scene->isDirtyStateCached());
    m_used->input(String("value"))->setInt(1);
    EXPECT_TRUE(m_user->dirty(true));
}

} // namespace
} // namespace qv::kelvo_sdk::impl
