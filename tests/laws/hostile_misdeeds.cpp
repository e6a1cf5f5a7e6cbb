#include "tests/laws/hostile_stage.h"

#include <stdexcept>

namespace qv::tests {

namespace {

using kelvo_sdk::interfaces::IInput;
using UndoScope = Scene::UndoScope;

// A node that is told of may be out of the scene already: undo does not take back its edits then.
bool isThere(const Stage& stage) {
    return stage.told && stage.scene[stage.told.name()] == stage.told;
}
bool isInputThere(const Stage& stage) {
    return isThere(stage) && stage.toldInput && stage.toldInput.node() == stage.told.get();
}

const std::vector<Deed> kMisdeeds = {
    {"remove a", [](Stage& s) { s.scene.removeNode(s.scene["a"]); }},
    {"remove b", [](Stage& s) { s.scene.removeNode(s.scene["b"]); }},
    {"remove the last node",
     [](Stage& s) { s.scene.removeNode(s.scene.node(s.scene.nodeCount() - 1)); }},
    {"clear the scene", [](Stage& s) { s.scene->clear(); }},
    {"convert a",
     [](Stage& s) {
         ConversionLosses losses;
         static_cast<void>(s.scene["a"].convertTo("third", &losses));
     }},
    {"convert the last node",
     [](Stage& s) {
         ConversionLosses losses;
         static_cast<void>(s.scene.node(s.scene.nodeCount() - 1).convertTo("third", &losses));
     }},
    {"clone all", [](Stage& s) { s.scene["c"].clone(true); }},
    {"throw", [](Stage&) { throw std::runtime_error("hostile"); }},
    {"let go of the scene", [](Stage& s) { s.scene = Scene(), s.handles.clear(); }},
    {"cancel the outermost edit", [](Stage& s) { s.scene->cancelEdit(1); }},
    {"cancel the innermost edit", [](Stage& s) { s.scene->cancelEdit(s.scene->editDepth()); }},
    {"undo", [](Stage& s) { s.scene.undo(); }},
    {"redo", [](Stage& s) { s.scene.redo(); }},
    {"switch undo", [](Stage& s) { s.scene.setUndoEnabled(!s.scene.undoEnabled()); }, false},
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
         if (const Input list = inputOf(s, "a", "list")) list->clearInputs();
     }},
    {"remove an element",
     [](Stage& s) {
         if (const Input list = inputOf(s, "a", "e")) list->removeLastInput();
     }},
    {"add an input",
     [](Stage& s) {
         if (const Node a = s.scene["a"]) a.createInput("extra", AttrType::Real);
     }},
    {"link",
     [](Stage& s) {
         if (const Input link = inputOf(s, "b", "l")) link.set(s.scene["a"]);
     }},
    {"connect",
     [](Stage& s) {
         const Input reader = inputOf(s, "d", "x");
         if (const Output source = outputOf(s, "a", "o"); reader && source) reader.connect(source);
     }},
    {"set",
     [](Stage& s) {
         if (const Input value = inputOf(s, "a", "r")) value.set(9.0);
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
    {"remove the node told of", [](Stage& s) { s.scene.removeNode(s.told); }},
    {"convert the node told of",
     [](Stage& s) {
         ConversionLosses losses;
         static_cast<void>(s.told.convertTo("third", &losses));
     }},
    {"rename the node told of", [](Stage& s) { s.scene.renameNode(s.told, "Told"); }},
    {"clone the node told of", [](Stage& s) { s.told.clone(); }},
    {"clear the node told of",
     [](Stage& s) {
         if (!isThere(s)) return;
         s.told->clearInputs();
         s.told->clearOutputs();
     }},
    {"set the input told of",
     [](Stage& s) {
         if (isInputThere(s)) s.toldInput->setReal(42);
     }},
    {"set the input told of as it is",
     [](Stage& s) {
         if (isInputThere(s)) s.toldInput.setString(s.toldInput.asString(false));
     }},
    {"rename the input told of",
     [](Stage& s) {
         if (isInputThere(s)) s.toldInput.rename("told");
     }},
    {"remove the input told of",
     [](Stage& s) {
         if (!isInputThere(s)) return;
         if (IInput* parent = s.toldInput->parent())
             parent->removeInput(s.toldInput.name());
         else
             s.toldInput.node()->removeInput(s.toldInput.name());
     }},
    {"disconnect the input told of",
     [](Stage& s) {
         if (isInputThere(s)) s.toldInput.disconnect();
     }},
    {"connect the input told of",
     [](Stage& s) {
         const Output source = outputOf(s, "h", "p");
         if (source && isInputThere(s)) s.toldInput.connect(source);
     }},
    {"disconnect",
     [](Stage& s) {
         for (const char* path : {"r", "s"})
             inputOf(s, "b", path).disconnect();
     }},
    {"parent", [](Stage& s) { s.scene["g"].parentTo(s.scene["c"]); }},
    {"unparent", [](Stage& s) { s.scene["a"].unparentFrom(s.scene["c"]); }},
    {"unsubscribe",
     [](Stage& s) {
         s.scene.unsubscribe(s.sceneObserver);
         s.scene.unsubscribe(s.batchObserver);
         s.told.unsubscribe(s.nodeObserver);
     }},
    {"unsubscribe all",
     [](Stage& s) {
         for (u64 i = 0; i < s.scene.nodeCount(); ++i)
             s.scene.node(i)->unsubscribeAll();
         if (s.told) s.told->unsubscribeAll();
     }},
    {"subscribe to all",
     [](Stage& s) {
         s.scene.subscribe(s.sceneObserver);
         s.scene.subscribe(s.batchObserver);
         for (u64 i = 0; i < s.scene.nodeCount(); ++i)
             s.scene.node(i).subscribe(s.nodeObserver);
     }},
    {"open a scope and leave it open",
     [](Stage& s) {
         s.scopes.emplace_back(s.scene, "Open", "");
         s.scene.removeNode(s.scene["h"]);
     }},
    {"cancel a scope",
     [](Stage& s) {
         const Scene scene = s.scene;
         const UndoScope scope(scene, "Cancelled", "");
         scene.removeNode(scene["a"]);
         scene.createNode("thing", "t");
         scope.cancel();
     }},
    {"throw out of a scope",
     [](Stage& s) {
         const UndoScope scope(s.scene, "Thrown", "");
         s.scene.removeNode(s.scene["b"]);
         throw std::runtime_error("hostile");
     }},
    {"evaluate", [](Stage& s) { evaluateAll(s); }},
    {"look at all",
     [](Stage& s) {
         static_cast<void>(s.scene.text());
         static_cast<void>(s.scene.verify());
         for (u64 i = 0; i < s.scene.nodeCount(); ++i) {
             const Node node = s.scene.node(i);
             static_cast<void>(node.hash());
             static_cast<void>(node.dirty());
             static_cast<void>(node->serialize(true, true));
             static_cast<void>(node.dependencies());
         }
     }},
    {"switch the caches",
     [](Stage& s) {
         s.scene.setEvalCache(10'000);
         s.scene.setDirtyStateCached(true);
     }},
    {"forget all steps",
     [](Stage& s) {
         s.scene.setUndoLimits({0, 0});
     },
     false},
};

} // namespace

const std::vector<Deed>& hostileMisdeeds() {
    return kMisdeeds;
}

} // namespace qv::tests
