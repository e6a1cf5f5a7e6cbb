#include "tools/kelvo/commands.h"

#include "tools/kelvo/diff_json.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/versions.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Result;
using kelvo_sdk::Scene;
using kelvo_sdk::SceneDiff;

constexpr const char* patchHelp =
    "Makes the changes that `diff --format json` found, all or none: one that does not fit,\n"
    "as the scene is not as it was, is told and nothing is written.";

struct PatchOptions {
    String file;
    String patch;
    /// Empty for the file itself.
    String outFile;
};

bool loadPatch(const String& file, SceneDiff& diff) {
    String text;
    String error;
    if (!readFile(file, text, error)) {
        complain(error);
        return false;
    }
    if (fromJson(text, diff, error)) return true;
    complain(displayed(file) + ": " + error + ".");
    return false;
}

// The changes may refer to attributes that are left to the types of nodes.
Result apply(const SceneDiff& diff, const Document& document, Scene& scene) {
    const Result isDone = diff.applyTo(scene);
    if (isDone) return isDone;
    const Scene typed = Scene::create();
    if (knowsTypes(scene) || !document.readWithTypes(typed) || !diff.applyTo(typed)) return isDone;
    scene = typed;
    return {};
}

Status runPatch(const PatchOptions& options, Terminal& out) {
    Scene scene = Scene::create();
    Document document;
    SceneDiff diff;
    // Reads the patch first: it may come through a pipe from a command that still edits the scene.
    if (!loadPatch(options.patch, diff)) return Status::Fault;
    if (!document.openToEdit(options.file) || !document.read(scene)) return Status::Fault;
    if (const Result isDone = apply(diff, document, scene); !isDone) {
        complain(displayed(options.file) + ": " + isDone.message());
        return Status::Fault;
    }
    return document.save(scene, options.outFile, out) ? Status::Ok : Status::Fault;
}

} // namespace

void addPatch(CommandLine& line) {
    auto [command, options] = line.add("patch", "Make the changes of a diff in a scene", &runPatch);
    command.addNote(patchHelp);
    command.add("SCENE", options.file, "Scene file").required();
    command.add("PATCH", options.patch, "Changes as `diff --format json` writes them").required();
    command.add("-o", options.outFile, "Where to write, SCENE itself by default");
}

} // namespace qv::kelvo_tool
