// Several threads may subscribe observers to one node and count references to it at the same time.

#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/node_probe.h"
#include "tests/support/recording_observer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace qv::kelvo_sdk::impl {
namespace {

using tests::Journal;
using tests::probe;
using tests::RecordingObserver;
using namespace std::chrono_literals;

// Counts its notifications, which may come from several threads.
class CountingObserver : public NodeObserver {
public:
    void nodeRemoved() override { ++heard; }
    void nodeRenamed(String) override { ++heard; }
    void nodeConverted(kelvo_sdk::Node) override { ++heard; }
    void inputChanged(kelvo_sdk::Input) override { ++heard; }
    void inputConnected(kelvo_sdk::Input) override { ++heard; }

    std::atomic<int> heard = 0;
};

TEST(ObserverThreads, SubscribingDuringANotification_WaitsForItsEnd) {
    Node node(nullptr, "thing", "n");
    Journal journal;
    RecordingObserver first("first", journal), second("second", journal);
    CountingObserver late, later;
    std::future<bool> subscribed[2];
    first.then = [&] {
        subscribed[0] = std::async(std::launch::async, [&] { return node.subscribe(&late); });
        subscribed[1] = std::async(std::launch::async, [&] { return node.subscribe(&later); });
    };
    second.then = [&] {
        for (const std::future<bool>& waiting : subscribed)
            EXPECT_EQ(waiting.wait_for(50ms), std::future_status::timeout);
    };
    node.subscribe(&first);
    node.subscribe(&second);
    node.notifyRemoved();
    EXPECT_TRUE(subscribed[0].get());
    EXPECT_TRUE(subscribed[1].get());
    EXPECT_EQ(late.heard + later.heard, 0);
    first.then = second.then = nullptr;
    node.notifyRemoved();
    EXPECT_EQ(late.heard, 1);
    EXPECT_EQ(later.heard, 1);
}

// Unsubscribes an observer on another thread while an earlier one is notified.
template<typename Unsubscribe>
void expectToWaitForTheNotification(const Unsubscribe& unsubscribe) {
    Node node(nullptr, "thing", "n");
    Journal journal;
    RecordingObserver first("first", journal);
    CountingObserver second;
    std::future<bool> gone;
    first.then = [&] {
        gone = std::async(std::launch::async, [&] { return unsubscribe(node, second); });
        EXPECT_EQ(gone.wait_for(50ms), std::future_status::timeout);
    };
    node.subscribe(&first);
    node.subscribe(&second);
    node.notifyRemoved();
    EXPECT_TRUE(gone.get());
    EXPECT_EQ(second.heard, 1);
}

TEST(ObserverThreads, UnsubscribingDuringANotification_WaitsUntilAllWereCalled) {
    expectToWaitForTheNotification(
        [](Node& node, CountingObserver& observer) { return node.unsubscribe(&observer); });
}

TEST(ObserverThreads, UnsubscribingAllDuringANotification_WaitsUntilAllWereCalled) {
    expectToWaitForTheNotification(
        [](Node& node, CountingObserver&) { return node.unsubscribeAll(); });
}

TEST(ObserverThreads, ManyThreads_SubscribeAndUnsubscribeWhileOneNotifies) {
    Node node(nullptr, "thing", "n");
    CountingObserver steady;
    node.subscribe(&steady);
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            CountingObserver own;
            while (!stop) {
                EXPECT_TRUE(node.subscribe(&own));
                EXPECT_TRUE(node.unsubscribe(&own));
            }
        });
    }
    constexpr int kTimes = 2000;
    for (int i = 0; i < kTimes; ++i)
        node.notifyRemoved();
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(steady.heard, kTimes);
    EXPECT_EQ(probe(node).observers().size(), 1u);
}

TEST(ObserverThreads, SameObserverFromManyThreads_GetsInOnce) {
    Node node(nullptr, "thing", "n");
    CountingObserver observer;
    std::atomic<int> added = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { added += node.subscribe(&observer); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(added, 1);
    EXPECT_EQ(probe(node).observers().size(), 1u);
}

TEST(NodeThreads, References_AreCountedExactly) {
    const i64 before = impl_nodeInstanceCount();
    auto* node = new Node(nullptr, "thing", "n");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([node] {
            for (int k = 0; k < 20000; ++k) {
                const kelvo_sdk::Node handle(node);
                EXPECT_TRUE(handle);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(probe(*node).refCount(), 1);
    node->decRef();
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(NodeThreads, LastReference_MayGoOnAnyThread) {
    const i64 before = impl_nodeInstanceCount();
    for (int i = 0; i < 500; ++i) {
        auto* node = new Node(nullptr, "thing", "n");
        node->incRef();
        std::thread other([node] { node->decRef(); });
        node->decRef();
        other.join();
    }
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

TEST(NodeThreads, InstanceCount_IsExactWhenManyThreadsMakeNodes) {
    const i64 before = impl_nodeInstanceCount();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int k = 0; k < 200; ++k)
                Node node(nullptr, "thing", "n");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(impl_nodeInstanceCount(), before);
}

} // namespace
} // namespace qv::kelvo_sdk::impl
