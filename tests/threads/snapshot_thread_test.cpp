// One thread edits a scene, undoes, reads texts and takes snapshots; others read, compare and drop
// several of them at any time.

#include "kelvo/kelvo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace qv::kelvo_sdk {
namespace {

// The latest snapshots, and their sums.
class Shared {
public:
    struct Kept {
        Snapshot snapshot;
        double sum = 0;
    };
    void put(Kept kept) {
        const std::lock_guard lock(m_mutex);
        m_kept.push_back(std::move(kept));
        if (m_kept.size() > 6) m_kept.pop_front();
    }
    Kept any(unsigned number) {
        const std::lock_guard lock(m_mutex);
        return m_kept.empty() ? Kept() : m_kept[number % m_kept.size()];
    }

private:
    std::mutex m_mutex;
    std::deque<Kept> m_kept;
};

double sumOf(const Snapshot& snapshot) {
    double sum = 0;
    for (const SnapshotNode& node : snapshot.nodes()) {
        sum += node["x"].get<double>();
        const SnapshotNode linked = node["link"].linked();
        if (linked && snapshot.findNode(linked.name()) != linked) return -1;
        if (const SnapshotOutput source = node["x"].source())
            if (source.name() != String("o")) return -1;
    }
    return sum;
}

// Applies deltas to a sum, and compares it with the sum of the snapshot.
bool follows(const Shared::Kept& from, const Shared::Kept& to) {
    double sum = from.sum;
    const SnapshotDelta changes = delta(from.snapshot, to.snapshot);
    for (const SnapshotNode& node : changes.removed())
        sum -= node["x"].get<double>();
    for (const SnapshotNode& node : changes.added())
        sum += node["x"].get<double>();
    for (const NodeChange& change : changes.changed())
        sum += change.after["x"].get<double>() - change.before["x"].get<double>();
    return sum == to.sum;
}

void editRandomly(const Scene& scene, std::mt19937& random) {
    const Node any = scene.node(random() % (scene.nodeCount() + 1));
    switch (random() % 8) {
    case 0: {
        const Node node = scene.createNode("thing", "n");
        node.createInput("x", AttrType::Real);
        node.createInput("link", AttrType::Node);
        node.createOutput("o", AttrType::Real);
        break;
    }
    case 1:
        if (scene.nodeCount() > 40) scene.removeNode(any);
        break;
    case 2:
        scene.undo();
        break;
    case 3:
        scene.redo();
        break;
    case 4:
        if (scene.nodeCount() < 80)
            scene.read("node thing \"t\" {\n    Real x = 3\n    Node link = t\n}\n", "text");
        break;
    case 5:
        if (any.hasInput("link")) any["link"].set(scene.node(0));
        break;
    case 6:
        if (any) any.rename("m");
        break;
    default:
        if (any.hasInput("x")) any["x"].set(static_cast<double>(random() % 100));
    }
}

TEST(SnapshotThreads, Readers_BesideTheEditor_SeeEachSnapshotAsItWasTaken) {
    Shared shared;
    std::atomic<bool> isDone = false;
    std::atomic<int> failures = 0;
    std::vector<std::thread> readers;
    for (unsigned reader = 0; reader < 4; ++reader)
        readers.emplace_back([&, reader] {
            std::mt19937 random(reader);
            Shared::Kept last;
            while (!isDone) {
                Shared::Kept kept = shared.any(static_cast<unsigned>(random()));
                failures += sumOf(kept.snapshot) != kept.sum;
                failures += !follows(last, kept);
                last = std::move(kept);
            }
        });
    {
        std::mt19937 random(99);
        const Scene scene = Scene::create();
        scene.setUndoEnabled(true);
        for (int step = 0; step < 3000; ++step) {
            editRandomly(scene, random);
            const Snapshot snapshot = scene.snapshot();
            shared.put({snapshot, sumOf(snapshot)});
        }
    }
    isDone = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(failures, 0);
}

TEST(SnapshotThreads, FirstSnapshots_OnManyThreadsWhileNobodyEdits_AreTheSame) {
    for (int round = 0; round < 20; ++round) {
        const Scene scene = Scene::create();
        for (int i = 0; i < 100; ++i)
            scene.createNode("thing", "n").createInput("x", AttrType::Real).set(1.0);
        std::vector<std::thread> threads;
        std::atomic<int> right = 0;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { right += sumOf(scene.snapshot()) == 100.0; });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(right, 4);
    }
}

} // namespace
} // namespace qv::kelvo_sdk
