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

/// The scene and its parts that edits and misdeeds use. A misdeed may let go of the scene.
struct Stage {
    Stage(LibInfo types, bool recordsUndo) : library(std::move(types)) {
        scene.addLibrary(library);
        EXPECT_EQ(errorsOf(lawScene, scene), "");
        if (recordsUndo) scene.setUndoEnabled(true);
    }
    /// Returns another scene of the same text and types.
    [[nodiscard]] Scene again() const {
        const Scene other = Scene::create();
        other.addLibrary(library);
        other.read(lawScene, "again");
        return other;
    }
    /// Holds a node as long as the stage stands.
    Node held(const char* name) {
        handles.push_back(scene[name]);
        return handles.back();
    }

    LibInfo library;
    Scene scene = Scene::create();
    std::vector<Node> handles;
    /// Edits that a misdeed left open.
    std::vector<Scene::UndoScope> scopes;
    /// The node and the input that the observer is just told of, empty when it is told of none.
    Node told;
    Input toldInput;
    /// The observer that does the misdeeds.
    SceneObserver* sceneObserver = nullptr;
    NodeObserver* nodeObserver = nullptr;
    BatchObserver* batchObserver = nullptr;
};

/// Return an input or output by path, empty, without a line in the log, when there is none.
[[nodiscard]] Input inputOf(const Stage& stage, const char* node, const char* path);
[[nodiscard]] Output outputOf(const Stage& stage, const char* node, const char* name);
/// Reads all values of all nodes, through connections and modifiers.
void evaluateAll(const Stage& stage);

/// One edit of a scene, or one misdeed of an observer: a name and what it does. All of them are
/// there for a scene that a misdeed has changed beyond recognition, too.
struct Deed {
    const char* name;
    void (*run)(Stage&);
    /// Whether undo leads back to what was before. What is done while a step is turned becomes a
    /// part of it.
    bool comesBack = true;
};

[[nodiscard]] const std::vector<Deed>& hostileEdits();
[[nodiscard]] const std::vector<Deed>& hostileMisdeeds();

} // namespace qv::tests
