#include "kelvo/sdk/snapshot_delta.h"
#include "tests/support/log_capture.h"
#include "tests/support/random_edits.h"
#include "tests/support/snapshot_dump.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <random>
#include <string>
#include <vector>

// Random edits of a scene, with undo. Each snapshot says what the scene says, never changes
// afterwards, and a mirror that applies deltas holds what the latest snapshot holds. A failure
// tells the seed and the step.

namespace qv::kelvo_sdk {
namespace {

using tests::RandomEdit;
using tests::RandomEdits;
using tests::SnapshotDump;

// A renderer's copy of a scene, by number.
class Mirror {
public:
    void apply(const SnapshotDelta& delta, const Snapshot& to) {
        for (const SnapshotNode& node : delta.removed()) {
            m_nodes.erase(node.number());
            std::erase(m_order, node.number());
        }
        for (const NodeChange& change : delta.changed())
            m_nodes[change.after.number()] = SnapshotDump::of(change.after, true);
        for (const SnapshotNode& node : delta.added()) {
            m_nodes[node.number()] = SnapshotDump::of(node, true);
            m_order.push_back(node.number());
        }
        if (!delta.isOrderChanged()) return;
        m_order.clear();
        for (const SnapshotNode& node : to.nodes())
            m_order.push_back(node.number());
    }
    [[nodiscard]] std::string text() const {
        std::string text;
        for (const NodeNumber number : m_order)
            text += m_nodes.at(number);
        return m_order.size() == m_nodes.size() ? text : "nodes that are not in order\n" + text;
    }

private:
    std::map<NodeNumber, std::string> m_nodes;
    std::vector<NodeNumber> m_order;
};

struct Kept {
    Snapshot snapshot;
    std::string text;
};

void play(unsigned seed, int steps) {
    tests::LogCapture log;
    std::mt19937 random(seed);
    const Scene scene = Scene::create();
    scene.setUndoEnabled(seed % 3 != 0);
    RandomEdits edits(scene);
    std::deque<Kept> kept;
    Mirror mirror;
    Snapshot last;
    for (int step = 0; step < steps; ++step) {
        const RandomEdit edit{static_cast<unsigned>(random()), static_cast<unsigned>(random()),
                              static_cast<unsigned>(random()), static_cast<unsigned>(random())};
        edits.run(edit);
        if (random() % 4 == 0) continue;
        const Snapshot now = scene.snapshot();
        const std::string text = SnapshotDump::of(now);
        ASSERT_EQ(text, SnapshotDump::of(scene))
            << "seed " << seed << ", step " << step << ", " << RandomEdits::name(edit.kind);
        ASSERT_EQ(now.text(), scene.text())
            << "seed " << seed << ", step " << step << ", " << RandomEdits::name(edit.kind);
        mirror.apply(delta(last, now), now);
        ASSERT_EQ(mirror.text(), SnapshotDump::of(now, true))
            << "seed " << seed << ", step " << step << ", " << RandomEdits::name(edit.kind);
        Mirror back = mirror;
        back.apply(delta(now, last), last);
        ASSERT_EQ(back.text(), SnapshotDump::of(last, true)) << "seed " << seed << ", back";
        for (const SnapshotNode& node : now.nodes())
            ASSERT_EQ(now.findNode(node.name()), node);
        last = now;
        if (random() % 3 == 0) kept.push_back({now, text});
        if (kept.size() > 1 && random() % 4 == 0) {
            const std::size_t any = random() % kept.size();
            ASSERT_EQ(SnapshotDump::of(kept[any].snapshot), kept[any].text)
                << "seed " << seed << ", step " << step;
            kept.erase(kept.begin() + static_cast<std::ptrdiff_t>(any));
        }
    }
    for (const Kept& old : kept)
        ASSERT_EQ(SnapshotDump::of(old.snapshot), old.text) << "seed " << seed;
}

TEST(SnapshotModelTest, RandomEdits_EachSnapshot_IsRightAndNeverChanges) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        play(seed, 250);
        if (HasFatalFailure()) return;
    }
}

} // namespace
} // namespace qv::kelvo_sdk
