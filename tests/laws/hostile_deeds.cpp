#include "tests/laws/hostile_observer.h"

#include <stdexcept>

namespace qv::tests {

namespace {

using UndoScope = Scene::UndoScope;

// Lookups by the interface log what they do not find; these do not.
Input input(const Stage& stage, const char* node, const char* path) {
    const Node found = stage.scene ? stage.scene[node] : Node();
    if (!found) return {};
    const String full = found.name() + "." + path;
    return Input(found->findInput(full));
}
Output output(const Stage& stage, const char* node, const char* name) {
    const Node found = stage.scene ? stage.scene[node] : Node();
    if (!found || !found->hasOutput(String(name), AttrType::Null)) return {};
    return found.output(name);
}

const std::vector<Deed> kEdits = {
    {"createNode", [](Stage& s) { s.scene.createNode("thing", "new"); }},
    {"createNode of a known type", [](Stage& s) { s.scene.createNode("scaleModifier", "m"); }},
    {"removeNode that others link to", [](Stage& s) { s.scene.removeNode(s.scene["a"]); }},
    {"removeNode that others read", [](Stage& s) { s.scene.removeNode(s.scene["b"]); }},
    {"removeNode that is modified", [](Stage& s) { s.scene.removeNode(s.scene["d"]); }},
    {"removeNode that modifies", [](Stage& s) { s.scene.removeNode(s.scene["m"]); }},
    {"renameNode", [](Stage& s) { s.scene.renameNode(s.scene["a"], "z"); }},
    {"moveNode", [](Stage& s) { s.scene.moveNode(s.scene["a"], 3); }},
    {"clear", [](Stage& s) { s.scene->clear(); }},
    {"clone", [](Stage& s) { s.scene["b"].clone(); }},
    {"clone deep", [](Stage& s) { s.scene["c"].clone(true); }},
    {"convert to an unknown type",
     [](Stage& s) {
         Misfits misfits;
         static_cast<void>(s.scene["a"].convertTo("other", &misfits));
     }},
    {"convert to a known type",
     [](Stage& s) {
         Misfits misfits;
         static_cast<void>(s.scene["b"].convertTo("scaleModifier", &misfits));
     }},
    {"convert a modified node",
     [](Stage& s) {
         Misfits misfits;
         static_cast<void>(s.scene["d"].convertTo("other", &misfits));
     }},
    {"read", [](Stage& s) { s.scene.read(Stage::text, "again"); }},
    {"createInput", [](Stage& s) { s.scene["a"].createInput("new", AttrType::Real); }},
    {"createArray", [](Stage& s) { s.scene["a"].createArray("new", AttrType::Node); }},
    {"create a member",
     [](Stage& s) {
         if (const Input made = input(s, "a", "o")) made->createInput("new", AttrType::Real);
     }},
    {"append", [](Stage& s) { static_cast<void>(input(s, "a", "list").append()); }},
    {"insertElement", [](Stage& s) { input(s, "a", "e")->insertElement(1); }},
    {"moveElement", [](Stage& s) { input(s, "a", "e")->moveElement(0, 2); }},
    {"remove an element", [](Stage& s) { input(s, "a", "e")->removeInput(u64(1)); }},
    {"clear an array", [](Stage& s) { input(s, "a", "list")->clearInputs(); }},
    {"remove an array", [](Stage& s) { s.scene["a"].removeInput("e"); }},
    {"remove a link", [](Stage& s) { s.scene["a"].removeInput("l"); }},
    {"remove an object", [](Stage& s) { s.scene["a"].removeInput("o"); }},
    {"clearInputs", [](Stage& s) { s.scene["a"]->clearInputs(); }},
    {"createOutput", [](Stage& s) { s.scene["a"].createOutput("new", AttrType::Real); }},
    {"removeOutput", [](Stage& s) { s.scene["a"]->removeOutput(String("o")); }},
    {"clearOutputs", [](Stage& s) { s.scene["b"]->clearOutputs(); }},
    {"set", [](Stage& s) { input(s, "a", "r").set(5.0); }},
    {"set what is modified", [](Stage& s) { input(s, "d", "x").set(5.0); }},
    {"set a link", [](Stage& s) { input(s, "a", "l").set(s.scene["c"]); }},
    {"clear a link", [](Stage& s) { input(s, "a", "l").set(Node()); }},
    {"connect", [](Stage& s) { input(s, "d", "x")->connect(output(s, "a", "o").get()); }},
    {"connect elsewhere", [](Stage& s) { input(s, "d", "y")->connect(output(s, "a", "o").get()); }},
    {"disconnect", [](Stage& s) { input(s, "b", "r")->disconnect(); }},
    {"reset", [](Stage& s) { input(s, "a", "o")->reset(); }},
    {"parentTo", [](Stage& s) { s.held("d").parentTo(s.held("c")); }},
    {"unparentFrom", [](Stage& s) { s.held("a").unparentFrom(s.held("c")); }},
    {"meta", [](Stage& s) { static_cast<void>(s.scene["a"]->meta()); }},
    {"inputAt", [](Stage& s) { static_cast<void>(s.scene["a"].inputAt("list[6]")); }},
    {"setPath", [](Stage& s) { s.scene["f"].setPath("/home/x.jpg"); }},
    {"setDisplayName", [](Stage& s) { s.scene["f"]->setDisplayName("Other"); }},
    {"children", [](Stage& s) { static_cast<void>(s.held("c").children(-1)); }},
    {"change modifiers", [](Stage& s) { input(s, "d", "modifiers[0]").set(Node()); }},
    {"add a modifier",
     [](Stage& s) {
         const Input element = input(s, "d", "modifiers").append();
         if (element && s.scene) element.set(s.scene["m"]);
     }},
    {"undo and redo",
     [](Stage& s) {
         s.scene["a"].removeInput("list");
         const Scene scene = s.scene;
         if (scene) scene.removeNode(scene["b"]);
         if (scene && scene.undo()) scene.redo();
     },
     false},
    {"cancelled scope",
     [](Stage& s) {
         const Scene scene = s.scene;
         const UndoScope scope(scene, "Some", "");
         scene.removeNode(scene["a"]);
         scene.createNode("thing", "t");
         scope.cancel();
     }},
    {"scope",
     [](Stage& s) {
         const Scene scene = s.scene;
         const UndoScope scope(scene, "Some", "");
         scene.removeNode(scene["a"]);
         scene.read(Stage::text, "again");
         scene.removeNode(scene["b"]);
     }},
};

const std::vector<Deed> kMisdeeds = {
    {"remove a", [](Stage& s) { s.scene.removeNode(s.scene["a"]); }},
    {"remove b", [](Stage& s) { s.scene.removeNode(s.scene["b"]); }},
    {"remove the last node",
     [](Stage& s) { s.scene.removeNode(s.scene.node(s.scene.nodeCount() - 1)); }},
    {"clear the scene", [](Stage& s) { s.scene->clear(); }},
    {"convert a",
     [](Stage& s) {
         Misfits misfits;
         static_cast<void>(s.scene["a"].convertTo("third", &misfits));
     }},
    {"convert the last node",
     [](Stage& s) {
         Misfits misfits;
         static_cast<void>(s.scene.node(s.scene.nodeCount() - 1).convertTo("third", &misfits));
     }},
    {"clone all", [](Stage& s) { s.scene["c"].clone(true); }},
    {"throw", [](Stage&) { throw std::runtime_error("hostile"); }},
    {"let go of the scene", [](Stage& s) { s.scene = Scene(), s.handles.clear(); }},
    {"cancel the outermost edit", [](Stage& s) { s.scene->cancelEdit(1); }},
    {"cancel the innermost edit", [](Stage& s) { s.scene->cancelEdit(s.scene->editDepth()); }},
    {"undo", [](Stage& s) { s.scene.undo(); }},
    {"redo", [](Stage& s) { s.scene.redo(); }},
    {"switch undo", [](Stage& s) { s.scene.setUndoEnabled(!s.scene.undoEnabled()); }},
    {"rename a", [](Stage& s) { s.scene.renameNode(s.scene["a"], "Q"); }},
    {"move a", [](Stage& s) { s.scene.moveNode(s.scene["a"], 2); }},
    {"create a node", [](Stage& s) { s.scene.createNode("thing", "new"); }},
    {"clear the inputs of a",
     [](Stage& s) {
         if (const Node a = s.scene["a"]) a->clearInputs();
     }},
    {"clear the outputs of all",
     [](Stage& s) {
         for (u64 i = 0; s.scene && i < s.scene.nodeCount(); ++i)
             s.scene.node(i)->clearOutputs();
     }},
    {"clear a list",
     [](Stage& s) {
         if (const Input list = input(s, "a", "list")) list->clearInputs();
     }},
    {"remove an element",
     [](Stage& s) {
         if (const Input list = input(s, "a", "e")) list->removeLastInput();
     }},
    {"add an input",
     [](Stage& s) {
         if (const Node a = s.scene["a"]) a.createInput("extra", AttrType::Real);
     }},
    {"link",
     [](Stage& s) {
         if (const Input link = input(s, "b", "l")) link.set(s.scene["a"]);
     }},
    {"connect",
     [](Stage& s) {
         const Input reader = input(s, "d", "x");
         if (const Output source = output(s, "a", "o"); reader && source) reader.connect(source);
     }},
    {"set",
     [](Stage& s) {
         if (const Input value = input(s, "a", "r")) value.set(9.0);
     }},
    {"take the modifiers away",
     [](Stage& s) {
         if (const Node d = s.scene["d"]) d->removeInput(String("modifiers"));
     }},
    {"read",
     [](Stage& s) {
         s.scene.read("node thing \"x\" {\n    Node a = a0\n}\n"
                      "node thing \"a0\" {\n}\n",
                      "hostile");
     }},
    {"hold on to all nodes",
     [](Stage& s) {
         for (u64 i = 0; i < s.scene.nodeCount(); ++i)
             s.handles.push_back(s.scene.node(i));
     }},
    {"let go of all handles", [](Stage& s) { s.handles.clear(); }},
};

} // namespace

const std::vector<Deed>& hostileEdits() {
    return kEdits;
}

const std::vector<Deed>& hostileMisdeeds() {
    return kMisdeeds;
}

} // namespace qv::tests
