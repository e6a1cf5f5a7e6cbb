#include "tools/kelvo/commands.h"

#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/value_setting.h"

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Input;
using kelvo_sdk::Scene;

struct SetOptions {
    String file;
    /// Texts of the form "path=value".
    StringVector assignments;
    /// Empty for the file itself.
    String outFile;
    bool isPartial = false;
};

bool applyAssignment(const Scene& scene, const String& assignment, String& error) {
    const u64 equals = assignment.find('=');
    if (equals == String::npos) {
        error = "'" + assignment + "' is no assignment: expected path=value.";
        return false;
    }
    Input input;
    const String value = assignment.substr(equals + 1);
    if (!reachInput(scene, assignment.substr(0, equals), &value, input, error)) return false;
    if (!assign(scene, input, value, error)) return false;
    if (input.source().get())
        warn("'" + input.path() + "' is connected to '" + input.source().path() +
             "', which hides the value.");
    return true;
}

Status runSet(const SetOptions& options, Terminal& out) {
    const Scene scene = Scene::create();
    Document document;
    document.takeParts(options.isPartial);
    if (!document.openToEdit(options.file) || !document.read(scene)) return Status::Fault;
    bool allSet = true;
    for (const String& assignment : options.assignments) {
        String error;
        if (applyAssignment(scene, assignment, error)) continue;
        complain(displayed(options.file) + ": " + error);
        allSet = false;
    }
    if (!allSet) return Status::Usage;
    return document.save(scene, options.outFile, out) ? document.status() : Status::Fault;
}

} // namespace

void addSet(CommandLine& line) {
    auto [command, options] =
        line.add("set", "Set values, all or none, and write the scene", &runSet);
    command.addFile(options.file);
    command
        .add("PATH=VALUE", options.assignments,
             "Texts without quotes, a node by its name (nothing: no node);\n"
             "array[+] adds an element")
        .required();
    command.add("-o", options.outFile, "Where to write, FILE itself by default");
    command.add("--partial", options.isPartial, partialHelp);
}

} // namespace qv::kelvo_tool
