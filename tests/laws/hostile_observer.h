#pragma once

#include "sdk/impl/lib_info.h"
#include "sdk/impl/standard_library.h"
#include "sdk/scene.h"
#include "tests/support/scene_text.h"

#include <string>
#include <vector>

namespace qv::tests {

using kelvo_sdk::AttrType;
using kelvo_sdk::Input;
using kelvo_sdk::Misfits;
using kelvo_sdk::Node;
using kelvo_sdk::Output;
using kelvo_sdk::Scene;

/// The scene and its parts that edits and misdeeds use. A misdeed may let go of the scene.
struct Stage {
    static constexpr const char* text = R"(kelvo scene 1

node thing "a" {
    Real r = 1
    Node l = b
    Node k = b
    Array<Node> list = [b, c]
    Object o {
        Real m = 2
        Node n = c
    }
    Array<Real> e = [1, 2 <- h.p, 3]
    output Real o
}

node thing "b" {
    Real r = 2 <- a.o
    Real s = 3 <- a.o
    Node l = null @stashed a
    output Real p
}

node xform "c" {
    Array<Node> children = [a, b, f]
}

node lamp "d" {
    Array<Node> modifiers = [m]
    Real x = 3
    Real y = 4 <- b.p
}

node scaleModifier "m" {
    String modifies = "x"
    Real factor = 2
}

node image "f" {
    String dir = "/tmp"
    String file = "g"
    String ext = ".png"
    String name = "Picture"
}

node xform "g" {
}

node thing "h" {
    output Real p
}
)";

    explicit Stage(bool recordsUndo) {
        scene.addLibrary(library());
        EXPECT_EQ(errorsOf(text, scene), "");
        if (recordsUndo) scene.setUndoEnabled(true);
    }
    static kelvo_sdk::LibInfo library() {
        return kelvo_sdk::LibInfo(&kelvo_sdk::impl::standardLibrary());
    }
    /// Holds a node as long as the stage stands.
    Node held(const char* name) {
        handles.push_back(scene[name]);
        return handles.back();
    }

    Scene scene = Scene::create();
    std::vector<Node> handles;
};

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
