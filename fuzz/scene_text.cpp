// Scene text, in scenes with and without the standard types: an accepted text reads back to the
// same bytes, a refused text leaves the scene unchanged.
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/snapshot_reader.h"

namespace qv::fuzz {

namespace {

// A snapshot of the text is that of the scene.
void checkSnapshot(const String& text, const kelvo_sdk::Scene& scene, u64 errors) {
    kelvo_sdk::SnapshotReadOptions options;
    for (u64 i = 0; i < scene.libraryCount(); ++i)
        options.libraries.push_back(scene.library(i));
    kelvo_sdk::Diagnostics found;
    const auto report = kelvo_sdk::readSnapshot(text.view(), "fuzz", options, &found);
    require(found.size() == errors, "a snapshot has the errors of the scene");
    require(bool(report.snapshot) == (errors == 0), "a text with faults gives no snapshot");
    if (errors != 0) return;
    require(scene.snapshot().text() == scene.text(), "the scene's snapshot has its text");
    // Modifiers act on nodes alone.
    for (const kelvo_sdk::Node& node : scene.nodes())
        if (node.hasInput("modifiers")) return;
    require(report.snapshot.text() == scene.text(), "a snapshot has the text of the scene");
}

void check(const String& text, bool knowsTypes) {
    const auto scene = newScene(knowsTypes);
    require(scene.setUndoEnabled(true), "undo is switched on");
    kelvo_sdk::Diagnostics found;
    const bool isRead = scene.read(text, "fuzz", &found);
    checkSnapshot(text, scene, found.size());
    require(isRead == found.empty(), "a text is read, or its faults are told");
    requirePlaces(found, text.view());
    require(isRead || scene.nodeCount() == 0, "a text with faults leaves the scene as it was");
    require(isRead || scene.undoCount() == 0, "a text with faults is no step");
    if (!isRead) return;
    requireSound(scene, knowsTypes);
    require(scene.undoCount() <= 1, "a text is one step");
    require(scene.undo() || scene.undoCount() == 0, "a step is undone");
    require(scene.nodeCount() == 0, "undo takes a text back");
}

} // namespace

void runSceneText(std::string_view input) {
    const String text(input);
    check(text, false);
    check(text, true);
}

} // namespace qv::fuzz
