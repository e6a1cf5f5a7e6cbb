// Scene text, in scenes with and without the standard types: an accepted text reads back to the
// same bytes, a refused text leaves the scene unchanged.
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"

namespace qv::fuzz {

namespace {

void check(const String& text, bool knowsTypes) {
    const auto scene = newScene(knowsTypes);
    require(scene.setUndoEnabled(true), "undo is switched on");
    kelvo_sdk::Diagnostics found;
    const bool isRead = scene.read(text, "fuzz", &found);
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
