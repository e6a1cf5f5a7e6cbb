// The operations on texts, libraries and graphs.
#include "tests/laws/oom_memory.h"
#include "tests/laws/oom_text_world.h"

#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/path_iterator.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "tests/support/scene_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>
#include <utility>

#include <unistd.h>

namespace qv::tests {

namespace {

using kelvo_sdk::EvalCtx;
using kelvo_sdk::LibInfo;
using kelvo_sdk::NodeCallbacks;
using kelvo_sdk::NodePath;
using kelvo_sdk::PathParser;
using kelvo_sdk::SceneDiff;
using kelvo_sdk::interfaces::INode;

Scene copyOf(const Scene& scene) {
    Scene made = Scene::create();
    made.addLibrary(LibInfo::standard());
    EXPECT_EQ(errorsOf(scene.text().buf(), made), "");
    return made;
}

// ---- Scene text ----------------------------------------------------------------------------

void writeFile(OomTexts& texts, const char* content) {
    char name[] = "/tmp/kelvo-laws-XXXXXX";
    const int made = mkstemp(name);
    EXPECT_GE(made, 0);
    if (made >= 0) close(made);
    texts.file = name;
    std::ofstream(texts.file, std::ios::binary) << content;
}

bool readsFile(OomWorld& w) {
    kelvo_sdk::Diagnostics found;
    return loadScene(w.scene(), textsOf(w).file, &found) && found.empty();
}

bool readsFaulty(OomWorld& w) {
    kelvo_sdk::Diagnostics found;
    return !w.scene().read(w.text, textsOf(w).source, &found) && found.size() > 3;
}

bool serializesAll(OomWorld& w) {
    String all;
    for (const bool changedOnly : {false, true})
        for (const bool withDependencies : {false, true})
            all = all + w.node->serialize(withDependencies, changedOnly);
    return all.equals(textsOf(w).expected);
}

// ---- Copies, differences -------------------------------------------------------------------

void addShape(OomWorld& w) {
    addTexts(w);
    EXPECT_EQ(errorsOf(OomTexts::added, w.scene()), "");
    for (u64 i = 0; i < w.scene().nodeCount(); ++i)
        w.scene().node(i).subscribe(&w.witness);
}

std::function<void(OomWorld&)> onNode(const char* name) {
    return [name](OomWorld& w) {
        addShape(w);
        w.node = w.scene()[name];
    };
}

// Changes that are made in the nodes that there are and, `isNew`, some that need new ones.
void makePatch(OomWorld& w, bool isNew) {
    addTexts(w);
    const Scene changed = copyOf(w.scene());
    changed["a"]["r"].set(7.0);
    changed["c"].inputAt("children[+]").set(changed["h"]);
    changed.removeNode(changed["k"]);
    changed.renameNode(changed["d"], "lamp");
    changed.createNode("add", "plus")["a"].set(3.0);
    if (isNew) changed["a"].createInput("fresh", AttrType::Real).set(2.0);
    textsOf(w).patch = SceneDiff::between(w.scene(), changed);
    textsOf(w).expected = changed.text();
}

bool appliesPatch(OomWorld& w) {
    String error;
    return textsOf(w).patch.applyTo(w.scene(), error) && error.isEmpty();
}

// Its observers went with the old nodes.
bool appliesPatchAnew(OomWorld& w) {
    if (!appliesPatch(w)) return false;
    OomMemory::disarm();
    return w.scene()["h"].subscribe(&w.witness);
}

bool merges(OomWorld& w) {
    const Scene merged = Scene::create();
    std::vector<kelvo_sdk::MergeConflict> conflicts;
    String error;
    const Scene base;
    try {
        if (!mergeScenes(base, w.scene(), textsOf(w).other, {}, merged, conflicts, error))
            return false;
    } catch (const std::bad_alloc&) {
        const auto& left = static_cast<const kelvo_sdk::impl::Scene&>(*merged.get());
        if (!left.libraries().empty() || left.nodeCount() != 0) return false;
        throw;
    }
    return merged.verify().empty() && merged.nodeCount() > w.scene().nodeCount();
}

// ---- Libraries -----------------------------------------------------------------------------

bool evaluatesNothing(EvalCtx*, void*) {
    return false;
}

bool keepsLibrary(OomWorld& w) {
    return textsOf(w).library.definitionText().equals(textsOf(w).expected);
}

// Reads types; without memory the library is as it was.
bool readsTypes(OomWorld& w) {
    OomTexts& texts = textsOf(w);
    kelvo_sdk::Diagnostics found;
    const u64 before = texts.library.typeCount();
    try {
        return texts.library.readDefinitions(w.text, texts.source, &found, texts.second) &&
               texts.library.typeCount() == before + 1 && found.empty();
    } catch (const std::bad_alloc&) {
        OomMemory::disarm();
        if (!keepsLibrary(w) || texts.library.typeCount() != before) return false;
        if (!texts.library.readDefinitions(w.text, texts.source, nullptr, texts.second))
            return false;
        throw;
    }
}

bool setsCallbacks(OomWorld& w) {
    OomTexts& texts = textsOf(w);
    NodeCallbacks callbacks;
    callbacks.modify = [](INode*, INode*) { return true; };
    callbacks.eval = evaluatesNothing;
    const bool isBound = texts.library.setCallbacks(texts.type, callbacks);
    return isBound && texts.library.nodeEval(texts.type) == evaluatesNothing &&
           texts.library.type(1)->hasNodeEval();
}

// ---- Graphs --------------------------------------------------------------------------------

u64 countOf(kelvo_sdk::impl::NodeIterator* nodes) {
    const auto held = RefersTo<kelvo_sdk::impl::NodeIterator>::adopt(nodes);
    u64 count = 0;
    for (INode* node = nodes->first(); node; node = nodes->next())
        ++count;
    return count;
}

u64 countOf(kelvo_sdk::impl::PathIterator* paths) {
    const auto held = RefersTo<kelvo_sdk::impl::PathIterator>::adopt(paths);
    u64 count = 0;
    for (; paths->current(); paths->next())
        ++count;
    return paths->count() == count ? count : 0;
}

bool leadsTo(NodePath* path, const Node& target) {
    const auto held = RefersTo<NodePath>::adopt(path);
    return path && path->last() == target.get() && !path->text().isEmpty();
}

u64 countOfPaths(OomWorld& w) {
    const u64 byType = countOf(w.node->paths(w.name, true));
    const u64 below = countOf(w.node->paths(w.name, false));
    const u64 toNode = countOf(w.node->pathsTo(w.second.get(), true));
    const u64 toName = countOf(w.node->pathsTo(textsOf(w).path, false));
    return byType + 100 * below + 10'000 * toNode + 1'000'000 * toName;
}

void choosePathEnds(OomWorld& w) {
    addTexts(w);
    w.node = w.scene()["c"];
    w.second = w.scene()["b"];
    w.name = "thing";
    textsOf(w).path = "b";
    textsOf(w).count = countOfPaths(w);
    EXPECT_GT(textsOf(w).count, 1'010'101u);
}

bool evaluatesChain(OomWorld& w) {
    double value = 0;
    return w.input.read(value) && value == 9;
}

const std::vector<OomEdit> kEdits = {
    {"text: read", addTexts, [](OomWorld& w) { return w.scene().read(w.text, textsOf(w).source); }},
    {"text: read, undo off",
     [](OomWorld& w) {
         addTexts(w);
         w.scene().setUndoEnabled(false);
     },
     [](OomWorld& w) { return w.scene().read(w.text, textsOf(w).source); }},
    {"text: read inside an edit",
     [](OomWorld& w) {
         addTexts(w);
         w.scope.emplace(w.scene(), "Outer", "Undo outer");
         w.at("a", "r").set(11.0);
     },
     [](OomWorld& w) { return w.scene().read(w.text, textsOf(w).source); }},
    {"text: read of comments alone",
     [](OomWorld& w) {
         addTexts(w);
         w.text = "kelvo scene 1\n\n# Nothing but a comment that is long.\n";
     },
     [](OomWorld& w) { return w.scene().read(w.text, textsOf(w).source); }},
    {"text: read with errors",
     [](OomWorld& w) {
         addTexts(w);
         w.text = OomTexts::faulty;
     },
     readsFaulty},
    {"text: read with errors that are logged",
     [](OomWorld& w) {
         addTexts(w);
         w.text = OomTexts::faulty;
     },
     [](OomWorld& w) { return !w.scene().read(w.text, textsOf(w).source); }},
    {"text: text",
     [](OomWorld& w) {
         addShape(w);
         textsOf(w).expected = w.scene().text();
     },
     [](OomWorld& w) { return w.scene().text().equals(textsOf(w).expected); }},
    {"text: serialize",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["x"];
         textsOf(w).expected = "";
         for (const bool changedOnly : {false, true})
             for (const bool withDependencies : {false, true})
                 textsOf(w).expected =
                     textsOf(w).expected + w.node->serialize(withDependencies, changedOnly);
     },
     serializesAll},
    {"text: loadScene",
     [](OomWorld& w) {
         addTexts(w);
         writeFile(textsOf(w), OomTexts::added);
     },
     readsFile},
    {"text: saveScene",
     [](OomWorld& w) {
         addTexts(w);
         writeFile(textsOf(w), "");
     },
     [](OomWorld& w) { return saveScene(w.scene(), textsOf(w).file); }},

    {"copy: clone", onNode("x"), [](OomWorld& w) { return bool(w.node.clone(false)); }},
    {"copy: clone, deep", onNode("x"), [](OomWorld& w) { return bool(w.node.clone(true)); }},
    {"copy: clone, undo off",
     [](OomWorld& w) {
         addShape(w);
         w.scene().setUndoEnabled(false);
         w.node = w.scene()["x"];
     },
     [](OomWorld& w) { return bool(w.node.clone(true)); }},
    {"copy: clone of a modified node", onNode("shape"),
     [](OomWorld& w) { return bool(w.node.clone(false)); }},
    {"copy: clone, deep, of modified nodes", onNode("shape"),
     [](OomWorld& w) { return bool(w.node.clone(true)); }},
    {"copy: convertTo a known type",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["x"];
         w.name = "torch";
     },
     [](OomWorld& w) { return bool(w.node.convertTo(w.name, &textsOf(w).losses)); }},
    {"copy: convertTo an unknown type",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["sum"];
         w.name = "nobody";
     },
     [](OomWorld& w) { return bool(w.node.convertTo(w.name)); }},
    {"copy: convertTo, lossy",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["a"];
         w.name = "add";
     },
     [](OomWorld& w) { return bool(w.node.convertTo(w.name, &textsOf(w).losses)); }},
    {"copy: convertTo, undo off",
     [](OomWorld& w) {
         addShape(w);
         w.scene().setUndoEnabled(false);
         w.node = w.scene()["x"];
         w.name = "torch";
     },
     [](OomWorld& w) { return bool(w.node.convertTo(w.name, &textsOf(w).losses)); }},
    {"copy: convertTo of a modified node",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["shape"];
         w.name = "xform";
     },
     [](OomWorld& w) { return bool(w.node.convertTo(w.name, &textsOf(w).losses)); }},

    {"differences: between", addTexts,
     [](OomWorld& w) {
         return SceneDiff::between(w.scene(), textsOf(w).other).changes().size() > 5;
     }},
    {"differences: applyTo", [](OomWorld& w) { makePatch(w, false); }, appliesPatch},
    {"differences: applyTo with new nodes", [](OomWorld& w) { makePatch(w, true); },
     appliesPatchAnew},
    {"differences: applyTo, refused", [](OomWorld& w) { makePatch(w, false); },
     [](OomWorld& w) {
         String error;
         return !textsOf(w).patch.applyTo(textsOf(w).other, error) && !error.isEmpty();
     }},
    {"differences: mergeScenes", addTexts, merges},

    {"validation: validate", addShape, [](OomWorld& w) { return !validate(w.scene()).empty(); }},
    {"validation: fixFindings",
     [](OomWorld& w) {
         addShape(w);
         EXPECT_TRUE(w.at("c", "children[+]"));
     },
     [](OomWorld& w) {
         textsOf(w).report = fixFindings(w.scene());
         return !textsOf(w).report.fixed.empty();
     }},

    {"help: htmlHelp, page",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["shape"];
         textsOf(w).expected = w.node->htmlHelp(true, {});
     },
     [](OomWorld& w) { return w.node->htmlHelp(true, {}).equals(textsOf(w).expected); }},
    {"help: htmlHelp, fragment, of an unknown type",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["x"];
         textsOf(w).expected = w.node->htmlHelp(false, {});
     },
     [](OomWorld& w) { return w.node->htmlHelp(false, {}).equals(textsOf(w).expected); }},
    {"help: htmlHelp of a type of the library",
     [](OomWorld& w) {
         addTexts(w);
         w.node = textsOf(w).library.type(1);
         textsOf(w).expected = w.node->htmlHelp(true, {});
     },
     [](OomWorld& w) { return w.node->htmlHelp(true, {}).equals(textsOf(w).expected); }},
    {"help: svgIcon", onNode("shape"),
     [](OomWorld& w) { return !w.node->svgIcon(true).isEmpty(); }},
    {"help: layoutPages",
     [](OomWorld& w) {
         addTexts(w);
         w.node = textsOf(w).library.type(1);
         w.name = "de";
         textsOf(w).count = w.node.layoutPages(w.name).size();
         EXPECT_GT(textsOf(w).count, 0u);
     },
     [](OomWorld& w) { return w.node.layoutPages(w.name).size() == textsOf(w).count; }},
    {"help: typeDesc",
     [](OomWorld& w) {
         addShape(w);
         w.node = w.scene()["shape"];
         textsOf(w).expected = w.node->typeDesc();
     },
     [](OomWorld& w) { return w.node->typeDesc().equals(textsOf(w).expected); }},

    {"library: create", [](OomWorld& w) { addTexts(w); },
     [](OomWorld& w) { return bool(LibInfo::create(w.text)); }},
    {"library: readDefinitions",
     [](OomWorld& w) {
         addTexts(w);
         w.text = OomTexts::moreTypes;
         textsOf(w).second = LibInfo::standard();
         textsOf(w).expected = textsOf(w).library.definitionText();
     },
     readsTypes},
    {"library: readDefinitions with a library of bases",
     [](OomWorld& w) {
         addTexts(w);
         OomTexts& texts = textsOf(w);
         w.text = OomTexts::moreTypes;
         texts.second = std::exchange(texts.library, LibInfo::create());
         texts.expected = texts.library.definitionText();
     },
     readsTypes},
    {"library: readDefinitions with errors",
     [](OomWorld& w) {
         addTexts(w);
         w.text = OomTexts::faultyTypes;
     },
     [](OomWorld& w) {
         kelvo_sdk::Diagnostics found;
         return !textsOf(w).library.readDefinitions(w.text, textsOf(w).source, &found) &&
                found.size() == 3;
     }},
    {"library: definitionText",
     [](OomWorld& w) {
         addTexts(w);
         textsOf(w).expected = textsOf(w).library.definitionText();
     },
     keepsLibrary},
    {"library: setCallbacks",
     [](OomWorld& w) {
         addTexts(w);
         textsOf(w).type = "torch";
     },
     setsCallbacks},
    {"library: addLibrary",
     [](OomWorld& w) {
         addTexts(w);
         textsOf(w).second = LibInfo::create();
     },
     [](OomWorld& w) { return w.scene().addLibrary(textsOf(w).second); }},
    {"library: createNode of its types",
     [](OomWorld& w) {
         addTexts(w);
         w.name = "lit";
         textsOf(w).type = "torch";
     },
     [](OomWorld& w) { return bool(w.scene().createNode(textsOf(w).type, w.name)); }},

    {"graph: paths", choosePathEnds,
     [](OomWorld& w) { return countOfPaths(w) == textsOf(w).count; }},
    {"graph: firstPathTo", choosePathEnds,
     [](OomWorld& w) {
         return leadsTo(w.node->firstPathTo(w.second.get(), true), w.second) &&
                leadsTo(w.node->firstPathTo(textsOf(w).path, false), w.second);
     }},
    {"graph: dependencies", choosePathEnds,
     [](OomWorld& w) {
         return countOf(w.node->dependencies(false, true)) > 1 &&
                countOf(w.second->dependencies(true, true)) > 1 && !w.node.dependencies().empty();
     }},
    {"graph: children", choosePathEnds,
     [](OomWorld& w) { return w.node.children(-1).size() == 3; }},
    {"graph: findInput",
     [](OomWorld& w) {
         addTexts(w);
         w.node = w.scene()["a"];
         textsOf(w).path = "o.m";
         w.name = "e[1]";
     },
     [](OomWorld& w) { return w.node->findInput(textsOf(w).path) && w.node->findInput(w.name); }},
    {"graph: parsePath",
     [](OomWorld& w) { w.text = "some_array_with_a_long_name[3][+].and_a_long_member"; },
     [](OomWorld& w) { return PathParser::parsePath(w.text).size() == 4; }},
    {"graph: evaluation of a chain",
     [](OomWorld& w) {
         w.at("k", "sum").set(0.0);
         w.input = w.at("k", "sum");
     },
     evaluatesChain},
    {"graph: evaluation through a library's callbacks, cached",
     [](OomWorld& w) {
         w.input = w.at("k", "sum");
         double value = 0;
         w.input.read(value);
     },
     evaluatesChain},
    {"graph: verify", addShape, [](OomWorld& w) { return w.scene().verify().empty(); }},

    {"log: a message that is too long for the stack",
     [](OomWorld& w) { w.text = String(std::string_view(std::string(3000, 'x'))); },
     [](OomWorld& w) {
         const qv::LogSink before = setLogHandler([](qv::LogLevel, const char*, void*) {});
         qv::logWarning("%s", w.text.buf());
         setLogHandler(before.handler, before.user);
         return true;
     }},
};

} // namespace

const std::vector<OomEdit>& oomTextEdits() {
    return kEdits;
}

} // namespace qv::tests
