// Lists the operations that call back into a library, and queries and rare operations on other
// objects.
#include "tests/laws/oom_memory.h"
#include "tests/laws/oom_text_world.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

namespace qv::tests {

namespace {

using kelvo_sdk::EvalCtx;
using kelvo_sdk::NodeCallbacks;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

constexpr const char* longText = "a text that is long enough to be in memory of its own";

// ---- Callbacks that take memory ------------------------------------------------------------

bool initTaking(INode* node, void** data) {
    auto text = std::make_unique<std::string>(longText);
    if (IInput* input = node->createInput("made", AttrType::String)) input->setString(longText);
    *data = text.release();
    return true;
}

bool prepTaking(INode*, void*) {
    return !std::string(longText).empty();
}

bool evalTaking(EvalCtx* ctx, void* out) {
    const std::string taken(longText);
    const Node node(ctx->node());
    *static_cast<double*>(out) = node["weight"].get<double>() + 1;
    return !taken.empty();
}

bool modifyTaking(INode*, INode* other) {
    const std::string taken(longText);
    return Node(other)["weight"].set(double(taken.size()));
}

bool freeTaking(INode*, void** data) {
    delete static_cast<std::string*>(std::exchange(*data, nullptr));
    return true;
}

void addTakers(OomWorld& w) {
    addTexts(w);
    NodeCallbacks callbacks{initTaking, prepTaking, evalTaking, nullptr, freeTaking, nullptr};
    EXPECT_TRUE(textsOf(w).library.setCallbacks("torch", callbacks));
    EXPECT_EQ(errorsOf(R"(kelvo scene 1
node torch "t" {
    output Real bright
}
node thing "reads" {
    Real in = 0 <- t.bright
    Real again = 0 <- t.bright
}
)",
                       w.scene()),
              "");
    w.node = w.scene()["t"];
    w.name = "lit";
    textsOf(w).type = "torch";
}

void addGiant(OomWorld& w) {
    addTexts(w);
    kelvo_sdk::LibInfo& library = textsOf(w).library;
    EXPECT_TRUE(library.readDefinitions("type giant : modifier {\n}\n", "giants.knd", nullptr,
                                        kelvo_sdk::LibInfo::standard()));
    EXPECT_TRUE(library.setCallbacks("giant", {.modify = modifyTaking}));
    EXPECT_EQ(errorsOf(R"(kelvo scene 1
node thing "tall" {
    Array<Node> modifiers = [g]
    Real weight = 2
}
node giant "g" {
    String modifies = "weight"
}
)",
                       w.scene()),
              "");
    w.input = w.at("tall", "weight");
    EXPECT_EQ(w.input.get<double>(), 53.0);
}

void addTaken(OomWorld& w, const char* path) {
    addTakers(w);
    w.input = w.scene()["reads"].inputAt(path);
}

bool readsTorch(OomWorld& w) {
    return w.input.get<double>() == 3.0;
}

const std::vector<OomEdit> callbackEdits = {
    {"callbacks: createNode", addTakers,
     [](OomWorld& w) { return bool(w.scene().createNode(textsOf(w).type, w.name)); }},
    {"callbacks: createNode, undo off",
     [](OomWorld& w) {
         addTakers(w);
         w.scene().setUndoEnabled(false);
     },
     [](OomWorld& w) { return bool(w.scene().createNode(textsOf(w).type, w.name)); }},
    {"callbacks: read",
     [](OomWorld& w) {
         addTakers(w);
         w.text = "kelvo scene 1\nnode torch \"u\" {\n}\nnode torch \"v\" {\n}\n";
     },
     [](OomWorld& w) { return w.scene().read(w.text, textsOf(w).source); }},
    {"callbacks: clone", addTakers, [](OomWorld& w) { return bool(w.node.clone()); }},
    {"callbacks: convertTo",
     [](OomWorld& w) {
         addTakers(w);
         w.node = w.scene()["b"];
     },
     [](OomWorld& w) { return bool(w.node.convertTo(textsOf(w).type)); }},
    {"callbacks: prep", addTakers, [](OomWorld& w) { return w.node->nodePrep(); }},
    {"callbacks: value of a modified node", addGiant, [](OomWorld& w) { return w.input.set(3.0); }},
    {"callbacks: evaluation, kept", [](OomWorld& w) { addTaken(w, "in"); }, readsTorch},
    {"callbacks: evaluation, not kept",
     [](OomWorld& w) {
         addTaken(w, "in");
         w.scene().setEvalCache(0);
     },
     readsTorch},
    {"callbacks: evaluation, checked",
     [](OomWorld& w) {
         addTaken(w, "again");
         w.scene().setEvalCache(1 << 20, true);
     },
     readsTorch},
    {"callbacks: evaluation as text", [](OomWorld& w) { addTaken(w, "in"); },
     [](OomWorld& w) { return w.input.asString().equals("3"); }},
    {"callbacks: output evaluated",
     [](OomWorld& w) {
         addTaken(w, "in");
         w.output = w.node.output(u64(0));
     },
     [](OomWorld& w) { return w.output.asString().equals("3"); }},
};

// ---- Long lists ----------------------------------------------------------------------------

void addLongArray(OomWorld& w) {
    w.node = w.scene()["a"];
    w.input = w.node.createArray("long", AttrType::String);
    for (int i = 0; i < 64; ++i)
        w.input.append().set(longText);
}

void addOutputs(OomWorld& w, u64 count) {
    w.node = w.scene()["g"];
    for (u64 i = 0; i < count; ++i)
        w.node.createOutput(String::format("o%d", static_cast<int>(i)), AttrType::Real);
    w.name = "o7";
}

const std::vector<OomEdit> listEdits = {
    {"list: insert at the front of a long array", addLongArray,
     [](OomWorld& w) { return w.input->insertElement(0) != nullptr; }},
    {"list: insert in the middle of a long array", addLongArray,
     [](OomWorld& w) { return w.input->insertElement(32) != nullptr; }},
    {"list: remove the front of a long array", addLongArray,
     [](OomWorld& w) { return w.input->removeInput(u64(0)); }},
    {"list: move the first of a long array to the end", addLongArray,
     [](OomWorld& w) { return w.input->moveElement(0, 63); }},
    {"list: move the last of a long array to the front", addLongArray,
     [](OomWorld& w) { return w.input->moveElement(63, 0); }},
    {"list: undo removals at the front of a long array",
     [](OomWorld& w) {
         addLongArray(w);
         const Scene::UndoScope scope(w.scene(), "Shorten", "Lengthen");
         for (int i = 0; i < 3; ++i)
             w.input->removeInput(u64(0));
     },
     [](OomWorld& w) { return w.scene().undo(); }},
    {"list: undo a move in a long array",
     [](OomWorld& w) {
         addLongArray(w);
         w.input->moveElement(63, 0);
     },
     [](OomWorld& w) { return w.scene().undo(); }},
    {"list: remove the last of an array", addLongArray,
     [](OomWorld& w) { return w.input->removeLastInput(); }},
    {"list: clear a long array", addLongArray, [](OomWorld& w) { return w.input->clearInputs(); }},
    {"list: create the 16th output", [](OomWorld& w) { addOutputs(w, 15); },
     [](OomWorld& w) {
         w.name = "more";
         return bool(w.node.createOutput(w.name, AttrType::Real));
     }},
    {"list: remove one of many outputs", [](OomWorld& w) { addOutputs(w, 20); },
     [](OomWorld& w) { return w.node->removeOutput(w.name); }},
    {"list: remove the first of many outputs", [](OomWorld& w) { addOutputs(w, 20); },
     [](OomWorld& w) { return w.node->removeOutput(u64(0)); }},
    {"list: clear many outputs", [](OomWorld& w) { addOutputs(w, 20); },
     [](OomWorld& w) { return w.node->clearOutputs(); }},
    {"list: undo the removal of many outputs",
     [](OomWorld& w) {
         addOutputs(w, 20);
         w.node->clearOutputs();
     },
     [](OomWorld& w) { return w.scene().undo(); }},
    {"list: create a buffer output", [](OomWorld& w) { w.node = w.scene()["g"]; },
     [](OomWorld& w) {
         auto* node = static_cast<kelvo_sdk::impl::Node*>(w.node.get());
         return node->createOutput(w.name.isEmpty() ? "points" : w.name, DataType::Pos3f) !=
                nullptr;
     }},
    {"list: create a member array",
     [](OomWorld& w) {
         w.input = w.at("a", "o");
         w.name = "inside";
     },
     [](OomWorld& w) { return w.input->createArray(w.name, AttrType::Real) != nullptr; }},
    {"list: remove a member",
     [](OomWorld& w) {
         w.input = w.at("a", "o");
         w.name = "n";
     },
     [](OomWorld& w) { return w.input->removeInput(w.name); }},
};

// ---- Values kept aside ---------------------------------------------------------------------

kelvo_sdk::impl::Input& own(OomWorld& w) {
    return static_cast<kelvo_sdk::impl::Input&>(*w.input.get());
}

void keepAside(OomWorld& w, const char* node, const char* path) {
    w.input = w.at(node, path);
    own(w).stash();
}

// Creates inputs that link to "b" and keep a link to it aside, and some that only link to it.
void linkBothWays(OomWorld& w, int alone) {
    w.node = w.scene()["g"];
    for (int i = 0; i < alone + 14; ++i) {
        w.input = w.node.createInput(String::format("l%d", i), AttrType::Node);
        w.input.set(w.scene()["b"]);
        if (i >= alone) own(w).stash();
    }
    w.node = w.scene()["b"];
}

const std::vector<OomEdit> stashEdits = {
    {"stash: remove a node that is linked to and kept aside",
     [](OomWorld& w) { linkBothWays(w, 0); },
     [](OomWorld& w) { return w.scene().removeNode(w.node); }},
    {"stash: remove a node that is linked to and kept aside, one more",
     [](OomWorld& w) { linkBothWays(w, 1); },
     [](OomWorld& w) { return w.scene().removeNode(w.node); }},
    {"stash: keep a text", [](OomWorld& w) { w.input = w.at("k", "s"); },
     [](OomWorld& w) {
         own(w).stash();
         return own(w).stashed() != nullptr;
     }},
    {"stash: keep what modifiers name", [](OomWorld& w) { w.node = w.scene()["d"]; },
     [](OomWorld& w) {
         static_cast<kelvo_sdk::impl::Node&>(*w.node.get()).stash();
         return true;
     }},
    {"stash: bring back a text",
     [](OomWorld& w) {
         keepAside(w, "k", "s");
         w.input.set("another one, which is long enough for memory of its own as well");
     },
     [](OomWorld& w) { return own(w).unstash() && !own(w).stashed(); }},
    {"stash: bring back a link", [](OomWorld& w) { w.input = w.at("b", "l"); },
     [](OomWorld& w) { return own(w).unstash() && !own(w).stashed(); }},
    {"stash: bring back, undo off",
     [](OomWorld& w) {
         keepAside(w, "k", "s");
         w.input.set("another one, which is long enough for memory of its own as well");
         w.scene().setUndoEnabled(false);
     },
     [](OomWorld& w) { return own(w).unstash() && !own(w).stashed(); }},
    {"stash: undo that something was brought back",
     [](OomWorld& w) {
         keepAside(w, "k", "s");
         w.input.set("another one, which is long enough for memory of its own as well");
         own(w).unstash();
     },
     [](OomWorld& w) { return w.scene().undo(); }},
};

// ---- Questions -----------------------------------------------------------------------------

auto onNode(const char* name, const char* text = "") {
    return [=](OomWorld& w) {
        addTexts(w);
        w.node = w.scene()[name];
        w.name = text;
    };
}
auto onInput(const char* name, const char* path, const char* text = "") {
    return [=](OomWorld& w) {
        w.input = w.at(name, path);
        w.name = text;
    };
}
auto onTorch(const char* input) {
    return [=](OomWorld& w) {
        addTexts(w);
        w.node = textsOf(w).library.type(1);
        w.input = w.node[input];
        w.name = "de";
    };
}

const std::vector<OomEdit> questions = {
    {"asked: undoStep", [](OomWorld& w) { w.scene().removeNode(w.scene()["a"]); },
     [](OomWorld& w) { return w.scene().undoStep(0).touched.size() > 0; }},
    {"asked: redoStep", nullptr,
     [](OomWorld& w) { return !w.scene().redoStep(0).doText.isEmpty(); }},
    {"asked: checkpoints", nullptr,
     [](OomWorld& w) { return w.scene().checkpoints().size() == 1; }},
    {"asked: hash", onNode("c"), [](OomWorld& w) { return w.node.hash() != 0; }},
    {"asked: dirty", onNode("c"),
     [](OomWorld& w) { return w.node->dirty(true) || !w.node->dirty(true); }},
    {"asked: display name", onNode("f"),
     [](OomWorld& w) { return w.node->displayName().equals("Picture"); }},
    {"asked: path of a file", onNode("f"),
     [](OomWorld& w) { return w.node->asPath().equals("/tmp/g.png"); }},
    {"asked: label and help of a type",
     [](OomWorld& w) {
         addTexts(w);
         w.node = textsOf(w).library.findType("lantern");
         w.name = "en";
     },
     [](OomWorld& w) {
         return w.node.label(w.name).equals("Lantern") && !w.node.help(w.name).isEmpty();
     }},
    {"asked: label, help and unit of an input", onTorch("intensity"),
     [](OomWorld& w) {
         return w.input.label(w.name).equals("Leistung") && !w.input.help().isEmpty() &&
                !w.input->unit().isEmpty();
     }},
    {"asked: default and bounds of an input", onTorch("intensity"),
     [](OomWorld& w) {
         return w.input.defaultValue().get<double>() == 1 && w.input.minimum() &&
                !w.input.maximum();
     }},
    {"asked: choice of an input", onTorch("falloff"),
     [](OomWorld& w) { return w.input.choice(1).asString().equals("linear"); }},
    {"asked: output by path", onNode("a", "o"),
     [](OomWorld& w) { return w.node->findOutput(w.name) != nullptr; }},
    {"asked: path and kind of an input", onInput("a", "e[1]", "a.e[1]"),
     [](OomWorld& w) {
         return w.input->path().equals(w.name) && w.input->typeName().equals("Real");
     }},
    {"asked: hash of an input", onInput("a", "o"),
     [](OomWorld& w) { return w.input->hash({}) != 0; }},
    {"asked: text of a value", onInput("k", "m4"),
     [](OomWorld& w) { return !w.input.asString().isEmpty(); }},
    {"asked: types", [](OomWorld& w) { addTexts(w); },
     [](OomWorld& w) { return bool(textsOf(w).library.findType("torch")); }},
};

// ---- The rest ------------------------------------------------------------------------------

const std::vector<OomEdit> otherEdits = {
    {"node: set path in parts", [](OomWorld& w) { w.node = w.scene()["f"]; },
     [](OomWorld& w) { return w.node->setPath("/home/of/someone", "picture", ".jpg"); }},
    {"node: parse an input path that appends", onNode("c", "c.children[+]"),
     [](OomWorld& w) { return w.node->parseInputPath(w.name) != nullptr; }},
    {"node: free", [](OomWorld& w) { w.node = w.scene()["sum"]; },
     [](OomWorld& w) { return w.node->nodeFree(); }},
    {"value: Node by name", onInput("a", "l", "h"),
     [](OomWorld& w) { return w.input.set(w.name); }},
    {"value: reset a link", onInput("a", "l"), [](OomWorld& w) { return w.input->reset(); }},
    {"value: reset an array of links", onInput("a", "list"),
     [](OomWorld& w) { return w.input->reset(); }},
    {"value: reset an array with a connection", onInput("a", "e"),
     [](OomWorld& w) { return w.input->reset(); }},
    {"text: read what can be read, and log the rest",
     [](OomWorld& w) {
         addTexts(w);
         w.text = OomTexts::faulty;
     },
     [](OomWorld& w) {
         const kelvo_sdk::ReadOptions options{.isPartial = true};
         return w.scene().read(w.text, textsOf(w).source, options).gapCount > 0;
     }},
    {"text: read what can be read",
     [](OomWorld& w) {
         addTexts(w);
         w.text = OomTexts::faulty;
     },
     [](OomWorld& w) {
         kelvo_sdk::Diagnostics found;
         const kelvo_sdk::ReadOptions options{.isPartial = true};
         return w.scene().read(w.text, textsOf(w).source, options, &found).gapCount > 0;
     }},
};

std::vector<OomEdit> allEdits() {
    std::vector<OomEdit> all;
    for (const auto* part : {&callbackEdits, &listEdits, &stashEdits, &questions, &otherEdits})
        all.insert(all.end(), part->begin(), part->end());
    return all;
}

} // namespace

const std::vector<OomEdit>& oomLibraryEdits() {
    static const std::vector<OomEdit> edits = allEdits();
    return edits;
}

} // namespace qv::tests
