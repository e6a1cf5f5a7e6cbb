// Lists the operations of snapshots.
#include "kelvo/sdk/snapshot_reader.h"
#include "kelvo/sdk/snapshot_why.h"
#include "tests/laws/oom_world.h"

namespace qv::tests {

using kelvo_sdk::noNodeNumber;
using kelvo_sdk::Snapshot;

namespace {

// On one thread, which the failing allocations are counted on.
constexpr kelvo_sdk::SnapshotOptions evaluatedValues{
    .threads = 1, .values = kelvo_sdk::SnapshotValues::Evaluated};

bool readsIntoSnapshot(OomWorld& w) {
    kelvo_sdk::SnapshotReadOptions options;
    options.libraries.push_back(kelvo_sdk::LibInfo::standard());
    kelvo_sdk::Diagnostics found;
    const auto report = readSnapshot(w.text.view(), w.name, options, &found);
    return found.empty() && report.snapshot.nodeCount() == w.scene().nodeCount();
}

std::vector<OomEdit> snapshotEdits() {
    return {
        {"scene: first snapshot", nullptr,
         [](OomWorld& w) { return w.scene().snapshot().nodeCount() == w.scene().nodeCount(); }},
        {"scene: snapshot after edits",
         [](OomWorld& w) {
             static_cast<void>(w.scene().snapshot());
             w.scene().removeNode(w.scene()["b"]);
             w.scene().createNode("thing", "new");
             w.scene().renameNode(w.scene()["a"], "z");
         },
         [](OomWorld& w) { return w.scene().snapshot()["z"].number() != noNodeNumber; }},
        {"scene: hashes of a snapshot", nullptr,
         [](OomWorld& w) {
             const Snapshot snapshot = w.scene().snapshot();
             return snapshot.hash() != 0 && snapshot["a"].hash() != 0;
         }},
        {"scene: hashes of a snapshot after edits",
         [](OomWorld& w) {
             static_cast<void>(w.scene().snapshot().hash());
             w.scene().removeNode(w.scene()["b"]);
             w.scene().createNode("thing", "new");
         },
         [](OomWorld& w) { return w.scene().snapshot()["new"].deepHash() != 0; }},
        {"scene: why a snapshot differs",
         [](OomWorld& w) {
             w.more = w.scene().snapshot();
             w.scene().renameNode(w.scene()["a"], "z");
         },
         [](OomWorld& w) {
             const Snapshot now = w.scene().snapshot();
             return !why(Snapshot(w.more.get()), now, now["z"]).isEmpty();
         }},
        {"scene: world matrices of a snapshot", nullptr,
         [](OomWorld& w) {
             const Snapshot snapshot = w.scene().snapshot();
             return snapshot["a"].worldMatrices().size() >= 1;
         }},
        {"scene: evaluated snapshot", nullptr,
         [](OomWorld& w) {
             const Snapshot snapshot = w.scene().snapshot(evaluatedValues);
             return snapshot.nodeCount() == w.scene().nodeCount();
         }},
        {"scene: evaluated snapshot after edits",
         [](OomWorld& w) {
             static_cast<void>(w.scene().snapshot(evaluatedValues));
             w.scene().removeNode(w.scene()["b"]);
         },
         [](OomWorld& w) { return bool(w.scene().snapshot(evaluatedValues)["a"]); }},
        {"scene: edit after a snapshot",
         [](OomWorld& w) {
             w.name = "new";
             w.text = "thing";
             static_cast<void>(w.scene().snapshot());
         },
         [](OomWorld& w) { return bool(w.scene().createNode(w.text, w.name)); }},
    };
}

std::vector<OomEdit> textEdits() {
    return {
        {"scene: text of a snapshot", [](OomWorld& w) { w.text = w.scene().text(); },
         [](OomWorld& w) { return w.scene().snapshot().text() == w.text; }},
        {"scene: read a snapshot", [](OomWorld& w) { static_cast<void>(w.scene().snapshot()); },
         [](OomWorld& w) { return bool(w.scene().read(w.scene().snapshot())); }},
        {"snapshot: read a text", [](OomWorld& w) { w.text = w.scene().text(); },
         [](OomWorld& w) { return readsIntoSnapshot(w); }},
    };
}

std::vector<OomEdit> allEdits() {
    std::vector<OomEdit> edits = snapshotEdits();
    for (const OomEdit& edit : textEdits())
        edits.push_back(edit);
    return edits;
}

} // namespace

const std::vector<OomEdit>& oomSnapshotEdits() {
    static const std::vector<OomEdit> edits = allEdits();
    return edits;
}

} // namespace qv::tests
