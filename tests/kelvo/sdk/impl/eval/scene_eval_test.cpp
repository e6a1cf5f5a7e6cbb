#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/sdk/impl/standard/standard_library.h"
#include "kelvo/sdk/impl/types/lib_info.h"
#include "kelvo/sdk/scene.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

class SceneEval : public testing::Test {
protected:
    SceneEval() {
        m_scene.addLibrary(kelvo_sdk::LibInfo(&standardLibrary()));
        const auto sum = m_scene.createNode("add", "sum");
        const auto user = m_scene.createNode("lamp", "user");
        m_value = user.createInput("value", AttrType::Real);
        EXPECT_TRUE(m_value.connect(kelvo_sdk::Output(sum->output(u64{0}))));
    }
    u64 hitsOfTwoReads() {
        const u64 before = m_scene.evalCacheFigures().hits;
        EXPECT_EQ(m_value.get<double>(), m_value.get<double>());
        return m_scene.evalCacheFigures().hits - before;
    }

    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    kelvo_sdk::Input m_value;
};

TEST_F(SceneEval, New_KeepsNoResults) {
    EXPECT_EQ(hitsOfTwoReads(), 0u);
    EXPECT_EQ(m_scene.evalCacheFigures().bytes, 0u);
}

TEST_F(SceneEval, WithRoom_AnswersTheSecondReadFromTheCache) {
    m_scene.setEvalCache(1 << 20);
    EXPECT_EQ(hitsOfTwoReads(), 1u);
    EXPECT_GT(m_scene.evalCacheFigures().bytes, 0u);
}

TEST_F(SceneEval, WithoutRoomAgain_DropsAllResults) {
    m_scene.setEvalCache(1 << 20);
    hitsOfTwoReads();
    m_scene.setEvalCache(0);
    EXPECT_EQ(m_scene.evalCacheFigures().bytes, 0u);
    EXPECT_EQ(hitsOfTwoReads(), 0u);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
