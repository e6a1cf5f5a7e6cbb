#include "tests/laws/hostile_stage.h"

#include "kelvo/sdk/scene_diff.h"

namespace qv::tests {

namespace {

using kelvo_sdk::SceneDiff;
using UndoScope = Scene::UndoScope;

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
         ConversionLosses losses;
         static_cast<void>(s.scene["a"].convertTo("other", &losses));
     }},
    {"convert to a known type",
     [](Stage& s) {
         ConversionLosses losses;
         static_cast<void>(s.scene["b"].convertTo("scaleModifier", &losses));
     }},
    {"convert a modified node",
     [](Stage& s) {
         ConversionLosses losses;
         static_cast<void>(s.scene["d"].convertTo("other", &losses));
     }},
    {"read", [](Stage& s) { s.scene.read(lawScene, "again"); }},
    {"createInput", [](Stage& s) { s.scene["a"].createInput("new", AttrType::Real); }},
    {"createArray", [](Stage& s) { s.scene["a"].createArray("new", AttrType::Node); }},
    {"create a member",
     [](Stage& s) {
         if (const Input made = inputOf(s, "a", "o")) made->createInput("new", AttrType::Real);
     }},
    {"append", [](Stage& s) { static_cast<void>(inputOf(s, "a", "list").append()); }},
    {"insertElement", [](Stage& s) { inputOf(s, "a", "e")->insertElement(1); }},
    {"moveElement", [](Stage& s) { inputOf(s, "a", "e")->moveElement(0, 2); }},
    {"remove an element", [](Stage& s) { inputOf(s, "a", "e")->removeInput(u64(1)); }},
    {"clear an array", [](Stage& s) { inputOf(s, "a", "list")->clearInputs(); }},
    {"remove an array", [](Stage& s) { s.scene["a"].removeInput("e"); }},
    {"remove a link", [](Stage& s) { s.scene["a"].removeInput("l"); }},
    {"remove an object", [](Stage& s) { s.scene["a"].removeInput("o"); }},
    {"rename an input", [](Stage& s) { inputOf(s, "a", "r").rename("z"); }},
    {"rename a connected input", [](Stage& s) { inputOf(s, "b", "s").rename("z"); }},
    {"rename a member", [](Stage& s) { inputOf(s, "a", "o.n").rename("z"); }},
    {"rename what is modified", [](Stage& s) { inputOf(s, "d", "x").rename("z"); }},
    {"rename a list of modifiers", [](Stage& s) { inputOf(s, "d", "modifiers").rename("z"); }},
    {"clearInputs", [](Stage& s) { s.scene["a"]->clearInputs(); }},
    {"createOutput", [](Stage& s) { s.scene["a"].createOutput("new", AttrType::Real); }},
    {"removeOutput", [](Stage& s) { s.scene["a"]->removeOutput(String("o")); }},
    {"clearOutputs", [](Stage& s) { s.scene["b"]->clearOutputs(); }},
    {"set", [](Stage& s) { inputOf(s, "a", "r").set(5.0); }},
    {"set what is modified", [](Stage& s) { inputOf(s, "d", "x").set(5.0); }},
    {"set a link", [](Stage& s) { inputOf(s, "a", "l").set(s.scene["c"]); }},
    {"clear a link", [](Stage& s) { inputOf(s, "a", "l").set(Node()); }},
    {"connect", [](Stage& s) { inputOf(s, "d", "x")->connect(outputOf(s, "a", "o").get()); }},
    {"connect elsewhere",
     [](Stage& s) { inputOf(s, "d", "y")->connect(outputOf(s, "a", "o").get()); }},
    {"disconnect", [](Stage& s) { inputOf(s, "b", "r")->disconnect(); }},
    {"reset", [](Stage& s) { inputOf(s, "a", "o")->reset(); }},
    {"parentTo", [](Stage& s) { s.held("d").parentTo(s.held("c")); }},
    {"unparentFrom", [](Stage& s) { s.held("a").unparentFrom(s.held("c")); }},
    {"meta", [](Stage& s) { static_cast<void>(s.scene["a"]->meta()); }},
    {"inputAt", [](Stage& s) { static_cast<void>(s.scene["a"].inputAt("list[6]")); }},
    {"setPath", [](Stage& s) { s.scene["f"].setPath("/home/x.jpg"); }},
    {"setDisplayName", [](Stage& s) { s.scene["f"]->setDisplayName("Other"); }},
    {"children", [](Stage& s) { static_cast<void>(s.held("c").children(-1)); }},
    {"change modifiers", [](Stage& s) { inputOf(s, "d", "modifiers[0]").set(Node()); }},
    {"add a modifier",
     [](Stage& s) {
         const Input element = inputOf(s, "d", "modifiers").append();
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
    {"evaluate", [](Stage& s) { evaluateAll(s); }},
    {"evaluate with a cache",
     [](Stage& s) {
         s.scene.setEvalCache(10'000);
         evaluateAll(s);
         inputOf(s, "a", "r").set(7.0);
         evaluateAll(s);
     }},
    {"keep dirty states",
     [](Stage& s) {
         s.scene.setDirtyStateCached(true);
         s.held("a").setDirty(false);
         inputOf(s, "b", "s").set(7.0);
     }},
    {"prepare", [](Stage& s) { s.held("a")->nodePrep(); }},
    {"begin again",
     [](Stage& s) {
         const Node a = s.held("a");
         a->nodeFree();
         a->nodeInit();
     }},
    {"modify", [](Stage& s) { s.held("m")->nodeModify(s.held("d").get()); }},
    {"let go of a removed node",
     [](Stage& s) {
         Node a = s.scene["a"];
         s.scene.removeNode(a);
         a = Node();
     }},
    {"forget all steps",
     [](Stage& s) {
         s.scene.removeNode(s.scene["a"]);
         s.scene.setUndoLimits({0, 0});
     },
     false},
    {"switch undo",
     [](Stage& s) {
         s.scene.removeNode(s.scene["a"]);
         s.scene.setUndoEnabled(!s.scene.undoEnabled());
     },
     false},
    {"read what is wrong",
     [](Stage& s) {
         s.scene.read("node thing \"n\" {\n    Node l = a\n    Real = 2\n}\n", "bad");
     }},
    {"apply a difference",
     [](Stage& s) {
         const Scene scene = s.scene, later = s.again();
         later.renameNode(later["a"], "z");
         later.removeNode(later["c"]);
         if (const Node b = later["b"]) b.removeInput("s");
         later.createNode("thing", "new");
         String error;
         static_cast<void>(SceneDiff::between(scene, later).applyTo(scene, error));
     }},
    {"return to a checkpoint",
     [](Stage& s) {
         const Scene scene = s.scene;
         scene.setCheckpoint("one");
         scene.removeNode(scene["a"]);
         scene.removeNode(scene["b"]);
         scene.returnTo("one");
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
         scene.read(lawScene, "again");
         scene.removeNode(scene["b"]);
     }},
};

} // namespace

const std::vector<Deed>& hostileEdits() {
    return kEdits;
}

} // namespace qv::tests
