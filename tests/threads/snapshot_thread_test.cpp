// One thread edits a scene, undoes, reads texts and takes snapshots; others read, compare and drop
// several of them at any time.

#include "kelvo/kelvo.h"
#include "tests/support/law_run.h"
#include "tests/support/log_capture.h"
#include "tests/support/memory_pieces.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <mutex>
#include <random>
#include <string>
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
        // Of the nodes in an order that does not count; 0 when nobody asked yet.
        u64 hash = 0;
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

// Hashes, and asks why a node differs from an earlier snapshot.
bool hasTheHash(const Shared::Kept& earlier, const Shared::Kept& kept) {
    if (!kept.snapshot.get()) return true;
    if (kept.hash != 0 && kept.snapshot.hash() != kept.hash) return false;
    for (const SnapshotNode& node : kept.snapshot.nodes()) {
        const SnapshotNode before = earlier.snapshot.nodeWithNumber(node.number());
        const bool isSame = before && before.deepHash() == node.deepHash();
        const bool isAnswered = !earlier.snapshot.get() ||
                                why(earlier.snapshot, kept.snapshot, node, 3).isEmpty() == isSame;
        if (!isAnswered) return false;
    }
    return kept.snapshot.node(0).worldMatrix() == math::Mat4d::identity;
}

// Stores, opens and reads as text.
bool isStoredWhole(const Shared::Kept& kept) {
    if (!kept.snapshot.get()) return true;
    const Made<Snapshot> opened = openSnapshot(tests::MemorySink::store(kept.snapshot));
    const String text = kept.snapshot.text({.threads = 1});
    const SnapshotReport back = readSnapshot(text.view(), "text", {.threads = 1});
    return opened.verify() && opened.text() == text && opened.hash() == kept.snapshot.hash() &&
           back.isRead && back.snapshot.hash() == kept.snapshot.hash();
}

void editRandomly(const Scene& scene, std::mt19937& random) {
    const Node any = scene.node(random() % (scene.nodeCount() + 1));
    switch (random() % 10) {
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
    case 7:
        if (any.hasInput("x")) any["x"].connect(scene.node(0).output("o"));
        break;
    case 8: {
        const Scene::UndoScope scope(scene, "Taken back", "");
        if (any) any.createArray("list", AttrType::Real).append().set(1.0);
        scope.cancel();
        break;
    }
    default:
        if (any.hasInput("x")) any["x"].set(static_cast<double>(random() % 100));
    }
}

TEST(SnapshotThreads, Readers_BesideTheEditor_SeeEachSnapshotAsItWasTaken) {
    const tests::LogCapture quiet;
    tests::LawRun law("snapshots on threads");
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
                failures += !hasTheHash(last, kept);
                if (random() % 8 == 0) failures += !isStoredWhole(kept);
                last = std::move(kept);
            }
        });
    {
        std::mt19937 random(static_cast<unsigned>(98 + tests::LawRun::seed()));
        const Scene scene = Scene::create();
        scene.setUndoEnabled(true);
        const u64 steps = tests::LawRun::isFull() ? 1'000'000 : 2000;
        for (u64 step = 0; step < steps && !law.isOver(); ++step) {
            editRandomly(scene, random);
            const bool isEvaluated = step % 5 == 0;
            const Snapshot snapshot = scene.snapshot(
                {.threads = 2,
                 .values = isEvaluated ? SnapshotValues::Evaluated : SnapshotValues::AsSet});
            // Leaves some to the readers.
            const u64 hash = step % 3 == 0 ? snapshot.hash() : 0;
            shared.put({snapshot, sumOf(snapshot), hash});
            law.countReported(1, 0);
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

// The threads share the library, and each text is itself read by several threads.
TEST(SnapshotThreads, Texts_ReadIntoSnapshotsOnManyThreads_AreTheSame) {
    std::string text = "kelvo scene 1\n\n";
    for (int i = 0; i < 4000; ++i) {
        const std::string number = std::to_string(i);
        text += "node pointLight \"n" + number + "\" {\n    Real x = " + number +
                "\n    Node link = n" + std::to_string(3999 - i) +
                "\n    Array<Object> list = [{\n        Int y = 1\n    }, {\n    }]\n}\n";
    }
    SnapshotReadOptions options{.threads = 2};
    options.libraries.push_back(LibInfo::standard());
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            const SnapshotReport report = readSnapshot(text, "text", options);
            right += report.snapshot.text() == std::string_view(text);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 3);
}

// Each snapshot is itself hashed by several threads.
TEST(SnapshotThreads, ManyNodes_HashedOnManyThreadsBesideTheEditor_AreTheSame) {
    const Scene scene = Scene::create();
    for (int i = 0; i < 10000; ++i)
        scene.createNode("thing", "n").createInput("x", AttrType::Real).set(i);
    const auto take = [&] {
        return scene.snapshot({.threads = 2, .values = SnapshotValues::AsSet});
    };
    const Snapshot first = take();
    const u64 before = take().hash();
    scene.node(0)["x"].set(-1.0);
    const Snapshot second = take();
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            const u64 hash = (i % 2 == 0 ? first : second).hash();
            right += (hash == before) == (i % 2 == 0);
        });
    for (const Node& node : scene.nodes())
        node["x"].set(2.0);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 4);
}

TEST(SnapshotThreads, OneSnapshot_WrittenOnManyThreadsBesideTheEditor_IsTheSame) {
    const Scene scene = Scene::create();
    for (int i = 0; i < 200; ++i)
        scene.createNode("thing", "n").createInput("x", AttrType::Real).set(1.0);
    const Snapshot snapshot = scene.snapshot();
    const String text = scene.text();
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] { right += snapshot.text() == text; });
    for (const Node& node : scene.nodes())
        node["x"].set(2.0);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 3);
}

} // namespace
} // namespace qv::kelvo_sdk
