// Lists the operations of scenes, nodes, inputs and outputs.
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/laws/oom_world.h"

#include <gtest/gtest.h>

#include <utility>

namespace qv::tests {

namespace {

using UndoScope = Scene::UndoScope;
using Text = const char*;

// ---- Preparations of operations ------------------------------------------------------------

void names(OomWorld& w, Text name, Text text = "") {
    w.name = name;
    w.text = text;
}
void node(OomWorld& w, Text name, Text second = nullptr) {
    w.node = w.scene()[name];
    if (second) w.second = w.scene()[second];
}
void input(OomWorld& w, Text name, Text path) {
    node(w, name);
    w.input = w.at(name, path);
}
void output(OomWorld& w, Text name, Text path, Text from, Text of) {
    input(w, name, path);
    w.output = w.scene()[from].output(of);
}

// A node that was never in a scene: nodes of scenes may refer to it.
Node freeNode() {
    using kelvo_sdk::impl::Node;
    return kelvo_sdk::Node(RefersTo<Node>::adopt(new Node(nullptr, "thing", "free")).get());
}
// Links the node to a free node, and connects it to that node's output.
void referToFreeNode(OomWorld& w, Text name) {
    node(w, name);
    w.second = w.lasting = freeNode();
    const Input link = w.node.createInput("link", AttrType::Node);
    const Input reads = w.node.createInput("reads", AttrType::Real);
    EXPECT_TRUE(link.set(w.second));
    EXPECT_TRUE(reads.connect(w.second.createOutput("o", AttrType::Real)));
}
auto onNode(Text name, Text first = "new", Text second = "") {
    return [=](OomWorld& w) {
        node(w, name);
        names(w, first, second);
    };
}
auto onInput(Text name, Text path) {
    return [=](OomWorld& w) { input(w, name, path); };
}

// ---- Operations in numbers -----------------------------------------------------------------

template<typename Value>
OomEdit setting(Text what, Text path, Value value) {
    return {what, onInput("k", path), [value](OomWorld& w) { return w.input.set(value); }};
}

OomEdit creating(Text what, AttrType type) {
    return {what, onNode("a"),
            [type](OomWorld& w) { return bool(w.node.createInput(w.name, type)); }};
}

OomEdit renaming(Text what, Text node, Text path) {
    return {what,
            [=](OomWorld& w) {
                input(w, node, path);
                names(w, "new");
            },
            [](OomWorld& w) { return w.input.rename(w.name); }};
}

std::vector<OomEdit> sceneEdits() {
    return {
        {"scene: create", nullptr, [](OomWorld&) { return bool(Scene::create()); }},
        {"scene: end", nullptr,
         [](OomWorld& w) {
             w.endScene();
             return true;
         },
         true},
        {"scene: subscribe", nullptr,
         [](OomWorld& w) {
             return w.scene().subscribe(static_cast<kelvo_sdk::SceneObserver*>(&w.newcomer));
         }},
        {"scene: subscribe for batches", nullptr,
         [](OomWorld& w) {
             return w.scene().subscribe(static_cast<kelvo_sdk::BatchObserver*>(&w.newcomer));
         }},
        {"scene: dirty states cached", [](OomWorld& w) { w.scene().setDirtyStateCached(false); },
         [](OomWorld& w) {
             w.scene().setDirtyStateCached(true);
             return true;
         }},
        {"scene: results kept", [](OomWorld& w) { w.scene().setEvalCache(0); },
         [](OomWorld& w) {
             w.scene().setEvalCache(1000);
             return true;
         }},
        {"scene: results not kept", nullptr,
         [](OomWorld& w) {
             w.scene().setEvalCache(0);
             return true;
         }},
        {"scene: verify", nullptr, [](OomWorld& w) { return w.scene().verify().empty(); }},
    };
}

std::vector<OomEdit> nodeEdits() {
    return {
        {"node: create", [](OomWorld& w) { names(w, "new", "thing"); },
         [](OomWorld& w) { return bool(w.scene().createNode(w.text, w.name)); }},
        {"node: create under a taken name", [](OomWorld& w) { names(w, "a", "thing"); },
         [](OomWorld& w) { return bool(w.scene().createNode(w.text, w.name)); }},
        {"node: create of a type", [](OomWorld& w) { names(w, "new", "add"); },
         [](OomWorld& w) { return bool(w.scene().createNode(w.text, w.name)); }},
        {"node: remove", [](OomWorld& w) { node(w, "a"); },
         [](OomWorld& w) { return w.scene().removeNode(w.node); }},
        {"node: remove one that others read", [](OomWorld& w) { node(w, "sum"); },
         [](OomWorld& w) { return w.scene().removeNode(w.node); }},
        {"node: remove without a handle", nullptr,
         [](OomWorld& w) { return w.scene()->removeNode(w.scene()->node(0)); }},
        {"node: clear", nullptr,
         [](OomWorld& w) {
             w.scene()->clear();
             return true;
         }},
        {"node: rename", onNode("a", "z"),
         [](OomWorld& w) { return w.scene().renameNode(w.node, w.name); }},
        {"node: rename to a taken name", onNode("a", "b"),
         [](OomWorld& w) { return w.scene().renameNode(w.node, w.name); }},
        {"node: move", onNode("a"), [](OomWorld& w) { return w.scene().moveNode(w.node, 3); }},
        {"node: move where there is no room for another",
         [](OomWorld& w) {
             while (w.scene().nodeCount() < 64)
                 w.scene().createNode("thing", "more");
             w.node = w.scene()["a"];
         },
         [](OomWorld& w) { return w.scene().moveNode(w.node, 40); }},
    };
}

std::vector<OomEdit> copyEdits() {
    return {
        {"node: convert", onNode("b", "other"),
         [](OomWorld& w) {
             ConversionLosses losses;
             return bool(w.node.convertTo(w.name, &losses));
         }},
        {"node: convert one that refers to a free node",
         [](OomWorld& w) {
             referToFreeNode(w, "b");
             names(w, "other");
         },
         [](OomWorld& w) { return bool(w.node.convertTo(w.name)); }},
        {"node: convert to a type", onNode("a", "spotLight"),
         [](OomWorld& w) {
             ConversionLosses losses;
             return bool(w.node.convertTo(w.name, &losses));
         }},
        {"node: convert one that is modified", onNode("d", "other"),
         [](OomWorld& w) {
             ConversionLosses losses;
             return bool(w.node.convertTo(w.name, &losses));
         }},
        {"node: remove one that is modified", onNode("d"),
         [](OomWorld& w) { return w.scene().removeNode(w.node); }},
        {"node: remove one that modifies", onNode("m"),
         [](OomWorld& w) { return w.scene().removeNode(w.node); }},
        {"node: set display name", onNode("f", "Another name for the display"),
         [](OomWorld& w) { return w.node->setDisplayName(w.name); }},
        {"node: children", onNode("c"),
         [](OomWorld& w) { return w.node.children(-1).size() == 3; }},
        {"node: dependencies", onNode("c"),
         [](OomWorld& w) { return !w.node.dependencies().empty(); }},
        {"node: clone", onNode("a"), [](OomWorld& w) { return bool(w.node.clone()); }},
        {"node: clone deep", onNode("c"), [](OomWorld& w) { return bool(w.node.clone(true)); }},
        {"node: parent", [](OomWorld& w) { node(w, "d", "c"); },
         [](OomWorld& w) { return w.node.parentTo(w.second); }},
        {"node: unparent", [](OomWorld& w) { node(w, "a", "c"); },
         [](OomWorld& w) { return w.node.unparentFrom(w.second); }},
        {"node: meta", onNode("a"), [](OomWorld& w) { return w.node->meta() != nullptr; }},
        {"node: set path", onNode("f", "/home/of/someone/picture.jpg"),
         [](OomWorld& w) { return w.node.setPath(w.name); }},
        {"node: subscribe", onNode("a"), [](OomWorld& w) { return w.node.subscribe(&w.newcomer); }},
        {"node: set dirty", onNode("a"),
         [](OomWorld& w) {
             w.node.setDirty(true);
             return true;
         }},
    };
}

std::vector<OomEdit> attributeEdits() {
    return {
        creating("input: create Bool", AttrType::Bool),
        creating("input: create Int", AttrType::Int),
        creating("input: create Real", AttrType::Real),
        creating("input: create Mat4", AttrType::Mat4),
        creating("input: create String", AttrType::String),
        creating("input: create Node", AttrType::Node),
        creating("input: create Buffer", AttrType::Buffer),
        creating("input: create Object", AttrType::Object),
        {"input: create array", onNode("a"),
         [](OomWorld& w) { return bool(w.node.createArray(w.name, AttrType::Node)); }},
        {"input: create the 17th",
         [](OomWorld& w) {
             onNode("a")(w);
             for (int i = 0; w.node.inputCount() < 16; ++i)
                 w.node.createInput(String::format("more%d", i), AttrType::Real);
         },
         [](OomWorld& w) { return bool(w.node.createInput(w.name, AttrType::Real)); }},
        {"input: remove", onNode("a", "r"), [](OomWorld& w) { return w.node.removeInput(w.name); }},
        {"input: remove a connected one", onNode("b", "r"),
         [](OomWorld& w) { return w.node.removeInput(w.name); }},
        {"input: remove an array of links", onNode("a", "list"),
         [](OomWorld& w) { return w.node.removeInput(w.name); }},
        {"input: remove an object", onNode("a", "o"),
         [](OomWorld& w) { return w.node.removeInput(w.name); }},
        {"input: clear", onNode("k"), [](OomWorld& w) { return w.node->clearInputs(); }},
        {"output: create", onNode("a"),
         [](OomWorld& w) { return bool(w.node.createOutput(w.name, AttrType::Real)); }},
        {"output: remove", onNode("a", "o"),
         [](OomWorld& w) { return w.node->removeOutput(w.name); }},
        {"output: clear", onNode("b"), [](OomWorld& w) { return w.node->clearOutputs(); }},
        {"input: append", onInput("a", "list"), [](OomWorld& w) { return bool(w.input.append()); }},
        {"input: append the first modifier of a node that keeps a value aside",
         [](OomWorld& w) { w.input = w.scene()["b"].createArray("modifiers", AttrType::Node); },
         [](OomWorld& w) { return bool(w.input.append()); }},
        {"input: append by a path", onNode("a", "list[6]"),
         [](OomWorld& w) { return bool(w.node.inputAt(w.name)); }},
        {"input: insert an element", onInput("a", "e"),
         [](OomWorld& w) { return w.input->insertElement(1) != nullptr; }},
        {"input: move an element", onInput("a", "e"),
         [](OomWorld& w) { return w.input->moveElement(0, 2); }},
        {"input: remove an element", onInput("a", "e"),
         [](OomWorld& w) { return w.input->removeInput(u64(1)); }},
        {"input: clear an array", onInput("a", "list"),
         [](OomWorld& w) { return w.input->clearInputs(); }},
        {"input: create a member",
         [](OomWorld& w) {
             input(w, "a", "o");
             names(w, "new");
         },
         [](OomWorld& w) { return w.input->createInput(w.name, AttrType::Real) != nullptr; }},
    };
}

std::vector<OomEdit> renamings() {
    return {
        renaming("input: rename", "a", "r"),
        renaming("input: rename a connected one", "b", "r"),
        renaming("input: rename a member", "a", "o.m"),
        renaming("input: rename what is modified", "d", "x"),
        renaming("input: rename the list of modifiers", "d", "modifiers"),
        {"input: rename one of many",
         [](OomWorld& w) {
             input(w, "a", "r");
             names(w, "new");
             for (int i = 0; w.node.inputCount() < 20; ++i)
                 w.node.createInput(String::format("more%d", i), AttrType::Real);
         },
         [](OomWorld& w) { return w.input.rename(w.name); }},
    };
}

std::vector<OomEdit> valueEdits() {
    using namespace qv::math;
    return {
        setting("value: Bool", "flag", false),
        setting("value: Int", "i", 5),
        setting("value: UInt", "u", 5u),
        setting("value: Real", "sum", 5.0),
        setting("value: Vec2", "v2", Vec2d{3, 4}),
        setting("value: Vec3", "v3", Vec3d{3, 4, 5}),
        setting("value: Vec4", "v4", Vec4d{3, 4, 5, 6}),
        setting("value: Pos2", "p2", Pos2d{3, 4}),
        setting("value: Pos3", "p3", Pos3d{3, 4, 5}),
        setting("value: Quat", "q", Quatd{1, 0, 0, 0}),
        setting("value: Rgba", "c", Rgbad{1, 0, 0, 1}),
        setting("value: Mat3", "m3", Mat3d{}),
        setting("value: Mat4", "m4", Mat4d{}),
        setting("value: String", "s", "another text that is long enough for memory of its own"),
        setting("value: text that is converted", "v3", "(7 8 9)"),
        {"value: Buffer", onInput("k", "points"),
         [](OomWorld& w) {
             const std::array<Pos3f, 3> points{};
             return w.input.setBuffer(points);
         }},
        {"value: Node",
         [](OomWorld& w) {
             input(w, "a", "l");
             w.second = w.scene()["h"];
         },
         [](OomWorld& w) { return w.input.set(w.second); }},
        {"value: no Node", onInput("a", "l"), [](OomWorld& w) { return w.input.set(Node()); }},
        {"value: one that is modified", onInput("d", "x"),
         [](OomWorld& w) { return w.input.set(5.0); }},
        {"value: one of a modifier", onInput("m", "factor"),
         [](OomWorld& w) { return w.input.set(5.0); }},
        {"value: another modifier", onInput("d", "modifiers[0]"),
         [](OomWorld& w) { return w.input.set(Node()); }},
        {"value: reset an object", onInput("a", "o"), [](OomWorld& w) { return w.input->reset(); }},
        {"value: evaluated", onInput("k", "sum"),
         [](OomWorld& w) { return w.input.get<double>() == 9.0; }},
        {"value: evaluated without kept results",
         [](OomWorld& w) {
             input(w, "k", "sum");
             w.scene().setEvalCache(0);
         },
         [](OomWorld& w) { return w.input.get<double>() == 9.0; }},
        {"connection: connect", [](OomWorld& w) { output(w, "d", "x", "h", "p"); },
         [](OomWorld& w) { return w.input.connect(w.output); }},
        {"connection: connect elsewhere", [](OomWorld& w) { output(w, "d", "y", "h", "p"); },
         [](OomWorld& w) { return w.input.connect(w.output); }},
        {"connection: disconnect", onInput("b", "r"),
         [](OomWorld& w) { return w.input.disconnect(); }},
    };
}

// A node that comes back links to a free node, which no step records.
void linkWhileItIsOut(OomWorld& w) {
    w.node = w.scene().createNode("thing", "referring");
    w.scene().undo();
    w.second = freeNode();
    EXPECT_TRUE(w.node.createInput("link", AttrType::Node).set(w.second));
    w.scene().redo();
}
// Lets go of the free node, so that only the history keeps it.
bool undoAndLetGo(OomWorld& w) {
    if (!w.scene().undo()) return false;
    w.second = Node();
    return true;
}

std::vector<OomEdit> freeNodeEdits() {
    return {
        {"history: undo a conversion of a node that refers to a free node",
         [](OomWorld& w) {
             referToFreeNode(w, "b");
             static_cast<void>(w.node.convertTo("other"));
         },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: redo a conversion of a node that refers to a free node",
         [](OomWorld& w) {
             referToFreeNode(w, "b");
             static_cast<void>(w.node.convertTo("other"));
             w.scene().undo();
         },
         [](OomWorld& w) { return w.scene().redo(); }},
        {"history: undo the creation of a node that refers to a free node",
         [](OomWorld& w) {
             const Scene::UndoScope scope(w.scene(), "Make", "");
             w.scene().createNode("thing", "referring");
             referToFreeNode(w, "referring");
         },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: undo the creation of a node that was linked to a free node while it was out",
         linkWhileItIsOut, undoAndLetGo},
    };
}

std::vector<OomEdit> historyEdits() {
    return {
        {"history: undo", [](OomWorld& w) { w.scene().redo(); },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: undo a removal", [](OomWorld& w) { w.scene().removeNode(w.scene()["a"]); },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: redo", nullptr, [](OomWorld& w) { return w.scene().redo(); }},
        {"history: redo a removal",
         [](OomWorld& w) {
             w.scene().removeNode(w.scene()["b"]);
             w.scene().undo();
         },
         [](OomWorld& w) { return w.scene().redo(); }},
        {"history: undo the first modifier of a node that keeps a value aside",
         [](OomWorld& w) { w.scene()["b"].createArray("modifiers", AttrType::Node).append(); },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: undo a conversion",
         [](OomWorld& w) {
             ConversionLosses losses;
             static_cast<void>(w.scene()["a"].convertTo("other", &losses));
         },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: undo the creation of a node with comments",
         [](OomWorld& w) {
             w.scene().read("kelvo scene 1\n\n# Told\nnode thing \"new\" {\n} # of it\n", "text");
         },
         [](OomWorld& w) { return w.scene().undo(); }},
        {"history: return to a checkpoint",
         [](OomWorld& w) {
             w.scene().redo();
             names(w, "here");
         },
         [](OomWorld& w) { return w.scene().returnTo(w.name); }},
        {"history: set a checkpoint", [](OomWorld& w) { names(w, "there"); },
         [](OomWorld& w) {
             w.scene().setCheckpoint(w.name);
             return true;
         }},
        {"history: bound", nullptr,
         [](OomWorld& w) {
             kelvo_sdk::UndoLimits limits;
             limits.steps = 0;
             w.scene().setUndoLimits(limits);
             return true;
         }},
        {"history: switch off", nullptr,
         [](OomWorld& w) { return w.scene().setUndoEnabled(false); }},
    };
}

std::vector<OomEdit> scopeEdits() {
    return {
        {"history: open a scope", [](OomWorld& w) { names(w, "Do", "Undo"); },
         [](OomWorld& w) {
             w.scope.emplace(w.scene(), w.name, w.text);
             return true;
         }},
        {"history: close a scope",
         [](OomWorld& w) {
             w.scope.emplace(w.scene(), "Do", "Undo");
             w.scene().removeNode(w.scene()["a"]);
             w.at("b", "s").set(8.0);
         },
         [](OomWorld& w) {
             w.scope.reset();
             return true;
         }},
        {"history: cancel a scope",
         [](OomWorld& w) {
             w.scope.emplace(w.scene(), "Do", "Undo");
             w.scene().removeNode(w.scene()["a"]);
             w.scene().createNode("thing", "t");
             w.at("b", "s").set(8.0);
         },
         [](OomWorld& w) {
             w.scope->cancel();
             return true;
         }},
        {"history: edit in a scope",
         [](OomWorld& w) {
             w.scope.emplace(w.scene(), "Do", "Undo");
             w.at("b", "s").set(8.0);
             node(w, "b");
         },
         [](OomWorld& w) { return w.scene().removeNode(w.node); }},
        {"history: edits in a scope that fails",
         [](OomWorld& w) {
             names(w, "new", "thing");
             node(w, "b");
         },
         [](OomWorld& w) {
             const UndoScope scope(w.scene(), "Do", "Undo");
             w.scene().createNode(w.text, w.name);
             w.scene().removeNode(w.node);
             return true;
         }},
    };
}

std::vector<OomEdit> allEdits() {
    std::vector<OomEdit> all;
    for (auto part : {sceneEdits(), nodeEdits(), copyEdits(), attributeEdits(), renamings(),
                      valueEdits(), freeNodeEdits(), historyEdits(), scopeEdits()})
        for (OomEdit& edit : part)
            all.push_back(std::move(edit));
    return all;
}

} // namespace

const std::vector<OomEdit>& oomCoreEdits() {
    static const std::vector<OomEdit> edits = allEdits();
    return edits;
}

} // namespace qv::tests
