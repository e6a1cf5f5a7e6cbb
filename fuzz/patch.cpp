// Changes as JSON, applied to a small scene: all or none, as one step. The difference to the scene
// before leads back.
#include "fuzz/scene_laws.h"
#include "fuzz/targets.h"
#include "kelvo/sdk/scene_diff.h"
#include "tools/kelvo/diff_json.h"

namespace qv::fuzz {

namespace {

using kelvo_sdk::Scene;
using kelvo_sdk::SceneDiff;

constexpr const char* kScene = R"(kelvo scene 1

# A lamp.
node light "lamp" {
    Real radius = 0.5
    Rgba color = (1 0.9 0.8 1) <- wood.tint
    Node target = wood
    Array<Real> steps = [1, 2, 3]
}
node wood "wood" {
    String grain = "fine" # note
    Object shade {
        Real depth = 1
        Node of = lamp
    }
    output Rgba tint
}
node xform "room" {
    Array<Node> children = [lamp, wood]
}
)";

Scene smallScene() {
    const Scene scene = newScene(false);
    require(scene.read(kScene, "small"), "the small scene is read");
    return scene;
}

// Writes and reads the changes again; JSON has no fields that a change does not use.
SceneDiff readBack(const SceneDiff& diff) {
    SceneDiff again;
    String error;
    const String text = kelvo_tool::toJson(diff);
    require(kelvo_tool::fromJson(text, again, error), "changes that are written are read");
    require(kelvo_tool::toJson(again) == text, "changes are written again as they were");
    return again;
}

// Applies the difference to the scene before and requires the scene after.
void checkWay(const Scene& from, const Scene& to) {
    const auto way = SceneDiff::between(from, to);
    require(way.result(), "scenes can be compared");
    require(readBack(way).changes() == way.changes(), "a difference reads back as it was");
    require(way.applyTo(from), "a difference can be made");
    require(from.text() == to.text(), "a difference leads to the other scene");
    require(SceneDiff::between(from, to).isEmpty(), "a scene with its difference is the other");
}

} // namespace

void runPatch(std::string_view input) {
    SceneDiff diff;
    String error;
    if (!kelvo_tool::fromJson(String(input), diff, error))
        return require(!error.isEmpty(), "JSON that is refused is told why");
    static_cast<void>(readBack(diff));
    const Scene scene = smallScene();
    const String before = scene.text();
    require(scene.setUndoEnabled(true), "undo is switched on");
    if (const kelvo_sdk::Result isDone = diff.applyTo(scene); !isDone) {
        require(!isDone.message().isEmpty(), "changes that are refused are told why");
        require(scene.text() == before, "changes that are refused leave the scene as it was");
        return require(scene.undoCount() == 0, "changes that are refused are no step");
    }
    requireSound(scene, false);
    checkWay(smallScene(), scene);
    const Scene changed = newScene(false);
    require(changed.read(scene.text(), "changed"), "the changed scene is read");
    checkWay(changed, smallScene());
    require(scene.undoCount() <= 1, "changes are one step");
    require(scene.undo() || scene.undoCount() == 0, "a step is undone");
    require(scene.text() == before, "undo takes the changes back");
}

} // namespace qv::fuzz
