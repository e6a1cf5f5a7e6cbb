// A renderer's thread keeps a copy of the scene by deltas, while the main thread edits and undoes.
#include "examples/expect.h"

#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

using namespace qv::kelvo_sdk;

namespace {

// Hands the latest snapshot to the renderer, which leaves out those that it was too slow for.
class Latest {
public:
    void put(Snapshot snapshot, bool isLast = false) {
        const std::lock_guard lock(m_mutex);
        m_snapshot = std::move(snapshot);
        m_isLast = isLast;
        m_isNew = true;
        m_change.notify_one();
    }
    /// Waits for a new snapshot; returns false when no further one follows.
    bool take(Snapshot& snapshot) {
        std::unique_lock lock(m_mutex);
        m_change.wait(lock, [this] { return m_isNew; });
        snapshot = std::move(m_snapshot);
        m_isNew = false;
        return !m_isLast;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_change;
    Snapshot m_snapshot;
    bool m_isNew = false;
    bool m_isLast = false;
};

// Holds the power of each lamp, by number.
class Renderer {
public:
    void update(const SnapshotDelta& changes) {
        for (const SnapshotNode& node : changes.removed())
            m_powers.erase(node.number());
        for (const NodeChange& change : changes.changed())
            m_powers[change.after.number()] = change.after["power"].get<double>();
        for (const SnapshotNode& node : changes.added())
            m_powers[node.number()] = node["power"].get<double>();
    }
    double brightness() const {
        double sum = 0;
        for (const auto& [number, power] : m_powers)
            sum += power;
        return sum;
    }

private:
    std::map<NodeNumber, double> m_powers;
};

} // namespace

int main() {
    Latest latest;
    Renderer renderer;
    std::thread thread([&] {
        Snapshot shown, next;
        for (bool isMore = true; isMore; shown = std::move(next)) {
            isMore = latest.take(next);
            renderer.update(delta(shown, next));
        }
    });

    Scene scene = Scene::create();
    expect(scene.setUndoEnabled(true));
    for (int i = 0; i < 100; ++i) {
        const Node lamp = scene.createNode("pointLight", "lamp");
        expect(lamp.createInput("power", AttrType::Real).set(1.0));
        latest.put(scene.snapshot());
    }
    {
        const Scene::UndoScope edit(scene, "Remove a lamp", "Restore the lamp");
        expect(scene.removeNode(scene["lamp"]));
        expect(scene["lamp1"]["power"].set(51.0));
    }
    latest.put(scene.snapshot());
    expect(scene.undo());
    latest.put(scene.snapshot(), true);
    scene.reset();
    thread.join();
    std::printf("The lamps give %g.\n", renderer.brightness());
}
