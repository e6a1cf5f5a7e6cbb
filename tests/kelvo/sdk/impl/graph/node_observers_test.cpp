#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::probe;
using tests::RecordingObserver;

class NodeObservers : public testing::Test {
protected:
    [[nodiscard]] std::string told() {
        m_node.notifyRemoved();
        return m_journal.take();
    }
    [[nodiscard]] const ds::Vector<NodeObserver*>& list() { return probe(m_node).observers(); }

    Journal m_journal;
    RecordingObserver m_a{"a", m_journal}, m_b{"b", m_journal}, m_c{"c", m_journal};
    RecordingObserver m_d{"d", m_journal}, m_e{"e", m_journal};
    Node m_node{nullptr, "thing", "n"};
};

TEST_F(NodeObservers, Subscribed_AreNotifiedInOrderOfSubscription) {
    EXPECT_TRUE(m_node.subscribe(&m_b));
    EXPECT_TRUE(m_node.subscribe(&m_a));
    EXPECT_EQ(told(), "b:removed a:removed");
}

TEST_F(NodeObservers, SubscribingTwice_IsRefused) {
    EXPECT_TRUE(m_node.subscribe(&m_a));
    EXPECT_FALSE(m_node.subscribe(&m_a));
    EXPECT_EQ(list().size(), 1u);
    EXPECT_EQ(told(), "a:removed");
}

TEST_F(NodeObservers, Null_IsAnEntryLikeAnyOther) {
    EXPECT_TRUE(m_node.subscribe(nullptr));
    EXPECT_FALSE(m_node.subscribe(nullptr));
    EXPECT_EQ(list().size(), 1u);
    EXPECT_TRUE(m_node.unsubscribe(nullptr));
    EXPECT_FALSE(m_node.unsubscribe(nullptr));
}

TEST_F(NodeObservers, UnsubscribingAStranger_IsFalse) {
    EXPECT_FALSE(m_node.unsubscribe(&m_a));
    EXPECT_EQ(list().data(), nullptr);
    m_node.subscribe(&m_a);
    EXPECT_FALSE(m_node.unsubscribe(&m_b));
    EXPECT_EQ(told(), "a:removed");
}

TEST_F(NodeObservers, UnsubscribingOne_KeepsTheOrderOfTheRest) {
    for (RecordingObserver* observer : {&m_a, &m_b, &m_c})
        m_node.subscribe(observer);
    EXPECT_TRUE(m_node.unsubscribe(&m_b));
    EXPECT_EQ(told(), "a:removed c:removed");
}

TEST_F(NodeObservers, Unsubscribing_ClearsTheVacatedSlotAndKeepsTheArray) {
    for (RecordingObserver* observer : {&m_a, &m_b, &m_c})
        m_node.subscribe(observer);
    NodeObserver* const* array = list().data();
    m_node.unsubscribe(&m_a);
    EXPECT_EQ(list().data(), array);
    EXPECT_EQ(list().capacity(), 4u);
    EXPECT_EQ(array[2], nullptr);
    m_node.unsubscribe(&m_b);
    m_node.unsubscribe(&m_c);
    EXPECT_EQ(list().data(), array);
    EXPECT_EQ(list().size(), 0u);
}

// No operation subscribes an observer twice; if it happens, all its entries are removed at once.
TEST_F(NodeObservers, Unsubscribing_RemovesEveryCopy) {
    auto& entries = const_cast<ds::Vector<NodeObserver*>&>(list());
    for (NodeObserver* observer : std::array<NodeObserver*, 4>{&m_a, &m_b, &m_a, &m_a})
        entries.push_back(observer);
    EXPECT_TRUE(m_node.unsubscribe(&m_a));
    EXPECT_EQ(told(), "b:removed");
}

TEST_F(NodeObservers, UnsubscribeAll_TellsWhetherThereWasAnyone) {
    EXPECT_FALSE(m_node.unsubscribeAll());
    for (RecordingObserver* observer : {&m_a, &m_b, &m_c})
        m_node.subscribe(observer);
    EXPECT_TRUE(m_node.unsubscribeAll());
    EXPECT_FALSE(m_node.unsubscribeAll());
    EXPECT_EQ(told(), "");
}

TEST_F(NodeObservers, UnsubscribeAll_ReleasesTheArray) {
    for (RecordingObserver* observer : {&m_a, &m_b, &m_c})
        m_node.subscribe(observer);
    m_node.unsubscribeAll();
    EXPECT_EQ(list().data(), nullptr);
    EXPECT_EQ(list().capacity(), 0u);
    m_node.subscribe(&m_d);
    EXPECT_EQ(list().capacity(), 2u);
}

// An emptied list that kept its array would not be "released entirely".
TEST_F(NodeObservers, UnsubscribeAllOfAnEmptiedList_IsFalseAndReleases) {
    m_node.subscribe(&m_a);
    m_node.unsubscribe(&m_a);
    EXPECT_FALSE(m_node.unsubscribeAll());
    EXPECT_EQ(list().data(), nullptr);
}

TEST_F(NodeObservers, Array_GrowsFromTwoByDoubling) {
    constexpr std::array<u64, 5> expected{2, 2, 4, 4, 8};
    const std::array<NodeObserver*, 5> observers{&m_a, &m_b, &m_c, &m_d, &m_e};
    for (u64 i = 0; i < observers.size(); ++i) {
        m_node.subscribe(observers[i]);
        EXPECT_EQ(list().capacity(), expected[i]) << i;
    }
    EXPECT_EQ(told(), "a:removed b:removed c:removed d:removed e:removed");
}

TEST_F(NodeObservers, Subscribing_ChangesNothingElse) {
    m_node.subscribe(&m_a);
    m_node.unsubscribe(&m_a);
    EXPECT_FALSE(probe(m_node).dirty());
}

TEST_F(NodeObservers, OneObserver_MayObserveSeveralNodes) {
    Node other(nullptr, "thing", "other");
    m_node.subscribe(&m_a);
    other.subscribe(&m_a);
    m_node.notifyRenamed("x");
    other.notifyRenamed("y");
    EXPECT_EQ(m_journal.take(), "a:renamed=x a:renamed=y");
}

} // namespace
} // namespace qv::kelvo_sdk::impl
