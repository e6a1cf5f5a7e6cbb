#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/scene.h"

#include <gtest/gtest.h>

namespace qv::kelvo_sdk::impl {
namespace {

struct Counter : BatchObserver {
    void sceneChanged(const interfaces::SceneChanges& changes) override {
        ++batches;
        nodes += changes.addedNodes.size();
    }
    int batches = 0;
    u64 nodes = 0;
};

class SceneBatches : public testing::Test {
protected:
    kelvo_sdk::Scene m_scene = kelvo_sdk::Scene::create();
    Counter m_counter;
};

TEST_F(SceneBatches, Subscribe_Twice_IsRefusedAndNotifiedOnce) {
    EXPECT_TRUE(m_scene.subscribe(&m_counter));
    EXPECT_FALSE(m_scene.subscribe(&m_counter));
    m_scene.createNode("thing", "a");
    EXPECT_EQ(m_counter.batches, 1);
    EXPECT_TRUE(m_scene.unsubscribe(&m_counter));
}

TEST_F(SceneBatches, Unsubscribe_OfAStranger_IsRefused) {
    EXPECT_FALSE(m_scene.unsubscribe(&m_counter));
    Counter other;
    m_scene.subscribe(&other);
    EXPECT_FALSE(m_scene.unsubscribe(&m_counter));
    m_scene.unsubscribe(&other);
}

TEST_F(SceneBatches, Unsubscribed_IsNotNotifiedAnyMore) {
    m_scene.subscribe(&m_counter);
    m_scene.unsubscribe(&m_counter);
    m_scene.createNode("thing", "a");
    EXPECT_EQ(m_counter.batches, 0);
}

TEST_F(SceneBatches, WholeEdit_IsOneBatch) {
    m_scene.subscribe(&m_counter);
    {
        const kelvo_sdk::Scene::UndoScope edit(m_scene, "do", "undo");
        m_scene.createNode("thing", "a");
        m_scene.createNode("thing", "b");
        EXPECT_EQ(m_counter.batches, 0);
    }
    EXPECT_EQ(m_counter.batches, 1);
    EXPECT_EQ(m_counter.nodes, 2u);
    m_scene.unsubscribe(&m_counter);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
