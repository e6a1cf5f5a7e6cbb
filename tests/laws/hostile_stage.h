#pragma once

#include "kelvo/sdk/scene.h"
#include "tests/laws/law_scene.h"
#include "tests/support/scene_text.h"

#include <vector>

namespace qv::tests {

using kelvo_sdk::AttrType;
using kelvo_sdk::BatchObserver;
using kelvo_sdk::ConversionLosses;
using kelvo_sdk::Input;
using kelvo_sdk::LibInfo;
using kelvo_sdk::Node;
using kelvo_sdk::NodeObserver;
using kelvo_sdk::Output;
using kelvo_sdk::Scene;
using kelvo_sdk::SceneObserver;

/// The scene and the objects that edits and misdeeds use. A misdeed may drop the scene.
struct Stage {
    Stage(LibInfo types, bool recordsUndo) : library(std::move(types)) {
        scene.addLibrary(library);
        EXPECT_EQ(errorsOf(lawScene, scene), "");
        if (recordsUndo) scene.setUndoEnabled(true);
    }
    /// Returns another scene with the same text and types.
    [[nodiscard]] Scene again() const {
        const Scene other = Scene::create();
        other.addLibrary(library);
        other.read(lawScene, "again");
        return other;
    }
    /// Keeps a node alive as long as the stage.
    Node held(const char* name) {
        handles.push_back(scene[name]);
        return handles.back();
    }

    LibInfo library;
    Scene scene = Scene::create();
    std::vector<Node> handles;
    /// Edits that a misdeed left open.
    std::vector<Scene::UndoScope> scopes;
    /// The node and the input of the current notification, empty if it has none.
    Node told;
    Input toldInput;
    /// The observers that do the misdeeds.
    SceneObserver* sceneObserver = nullptr;
    NodeObserver* nodeObserver = nullptr;
    BatchObserver* batchObserver = nullptr;
};

/// Return an input or output by path, or an empty handle, without a line in the log.
[[nodiscard]] Input inputOf(const Stage& stage, const char* node, const char* path);
[[nodiscard]] Output outputOf(const Stage& stage, const char* node, const char* name);
/// Reads all values of all nodes, through connections and modifiers.
void evaluateAll(const Stage& stage);

/// One edit of a scene, or one misdeed of an observer: a name and a function. Each must also work
/// in a scene that misdeeds have changed beyond recognition.
struct Deed {
    const char* name;
    void (*run)(Stage&);
    /// Tells whether undo restores the state before. Edits during undo or redo become a part of the
    /// step.
    bool comesBack = true;
};

[[nodiscard]] const std::vector<Deed>& hostileEdits();
[[nodiscard]] const std::vector<Deed>& hostileMisdeeds();

} // namespace qv::tests
