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

void editNodes(OomWorld& w) {
    w.scene().removeNode(w.scene()["b"]);
    w.scene().createNode("thing", "new");
    w.scene().renameNode(w.scene()["a"], "z");
}

// Takes a snapshot for each reader, so that the list of changed nodes stays short.
void connectReaders(OomWorld& w) {
    const kelvo_sdk::Output read = w.scene()["a"].createOutput("q", AttrType::Real);
    for (int i = 0; i < 32; ++i) {
        const kelvo_sdk::Node reader = w.scene().createNode("thing", "reader");
        reader.createInput("x", AttrType::Real).connect(read);
        static_cast<void>(w.scene().snapshot());
    }
}

std::vector<OomEdit> snapshotEdits() {
    return {
        {"scene: first snapshot", nullptr,
         [](OomWorld& w) { return w.scene().snapshot().nodeCount() == w.scene().nodeCount(); }},
        {.name = "scene: snapshot after edits",
         .build = {},
         .run = [](OomWorld& w) { return w.scene().snapshot()["z"].number() != noNodeNumber; },
         .edit = editNodes},
        {.name = "scene: snapshot after the outputs of a source changed",
         .build = connectReaders,
         .run =
             [](OomWorld& w) {
                 const Snapshot now = w.scene().snapshot();
                 return now.node(now.nodeCount() - 1)["x"].source().name() == "q";
             },
         .edit = [](OomWorld& w) { w.scene()["a"]->removeOutput("o"); }},
        {"scene: hashes of a snapshot", nullptr,
         [](OomWorld& w) {
             const Snapshot snapshot = w.scene().snapshot();
             return snapshot.hash() != 0 && snapshot["a"].hash() != 0;
         }},
        {.name = "scene: hashes of a snapshot after edits",
         .build = [](OomWorld& w) { static_cast<void>(w.scene().snapshot().hash()); },
         .run = [](OomWorld& w) { return w.scene().snapshot()["new"].deepHash() != 0; },
         .edit = editNodes},
        {.name = "scene: why a snapshot differs",
         .build = [](OomWorld& w) { w.more = w.scene().snapshot(); },
         .run =
             [](OomWorld& w) {
                 const Snapshot now = w.scene().snapshot();
                 return !why(Snapshot(w.more.get()), now, now["z"]).isEmpty();
             },
         .edit = editNodes},
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
        {.name = "scene: evaluated snapshot after edits",
         .build = [](OomWorld& w) { static_cast<void>(w.scene().snapshot(evaluatedValues)); },
         .run = [](OomWorld& w) { return bool(w.scene().snapshot(evaluatedValues)["z"]); },
         .edit = editNodes},
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
