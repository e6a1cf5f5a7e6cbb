#include "tools/kelvo/commands.h"

#include "tools/kelvo/edit_commands.h"
#include "tools/kelvo/edit_prompt.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/text_file.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace qv::kelvo_tool {

namespace {

struct EditOptions {
    String file;
    /// Scripts as texts or in files; only one of the two is not empty.
    StringVector commands;
    StringVector scripts;
    /// Empty for the file itself.
    String outFile;
    bool dryRun = false;
    bool types = false;
    bool listCommands = false;
};

/// Commands and their source.
struct Script {
    String source;
    String text;
    /// The exit status for an error in the script.
    Status fault;
    std::vector<Edit> edits = {};
};

constexpr const char* editHelp =
    "A script has a command on each line, or several with ';' between them; '#' starts a\n"
    "comment. All are done or none: the first that fails is told with its line and column,\n"
    "and nothing is written. Without a script they are read from the standard input; on a\n"
    "terminal there is a prompt.";

bool readScripts(const EditOptions& options, std::vector<Script>& scripts) {
    for (u64 i = 0; i < options.commands.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        const String source =
            options.commands.size() == 1 ? String("-c") : "-c " + String(std::string_view(number));
        scripts.push_back({source, options.commands[i], Status::Usage});
    }
    for (const String& file : options.scripts) {
        TextFile text;
        String error;
        if (!text.read(file, error)) {
            complain(error);
            return false;
        }
        scripts.push_back({displayed(file), text.text(), Status::Fault});
    }
    return true;
}

// Parses all scripts before the first command runs.
bool parseScripts(std::vector<Script>& scripts, Status& status) {
    for (Script& script : scripts) {
        EditError error;
        if (parseEdits(script.text, script.edits, error)) continue;
        complain(error.textIn(script.source));
        status = script.fault;
        return false;
    }
    return true;
}

WithTypes typesFor(const EditOptions& options) {
    return options.types ? WithTypes::Always : WithTypes::WhereNeeded;
}

bool runScripts(EditSession& session, const std::vector<Script>& scripts, Status& status) {
    for (const Script& script : scripts)
        for (const Edit& edit : script.edits) {
            EditError error;
            if (session.run(edit, error)) continue;
            complain(error.textIn(script.source));
            status = script.fault;
            return false;
        }
    return true;
}

Status editByScripts(const EditOptions& options, std::vector<Script> scripts, Terminal& out) {
    Status status = Status::Ok;
    if (!parseScripts(scripts, status)) return status;
    EditSession session(options.file, options.outFile, out);
    if (!session.open(typesFor(options))) return Status::Fault;
    if (!runScripts(session, scripts, status)) return status;
    if (!options.dryRun) return session.writeSaved() ? Status::Ok : Status::Fault;
    const kelvo_sdk::Scene& scene = session.scene();
    for (u64 i = scene.undoCount(); i != 0; --i)
        out.write(scene.undoStep(i - 1).doText.view()).endLine();
    return Status::Ok;
}

Status editAtPrompt(const EditOptions& options, Terminal& out) {
    EditSession session(options.file, options.outFile, out);
    session.setPrompt();
    if (!session.open(typesFor(options))) return Status::Fault;
    return runPrompt(session);
}

Status fail(const char* message) {
    complain(message);
    return Status::Usage;
}

Status runEdit(const EditOptions& options, Terminal& out) {
    String error;
    if (options.listCommands)
        return printEditCommands(out, String(), error) ? Status::Ok : Status::Usage;
    if (options.file.isEmpty()) return fail("FILE is required (see kelvo edit --help)");
    const bool hasScripts = !options.commands.empty() || !options.scripts.empty();
    const bool isPrompt = !hasScripts && ::isatty(STDIN_FILENO) != 0;
    if (isPrompt && options.dryRun) return fail("--dry-run is for scripts");
    if (isPrompt && !isStream(options.file)) return editAtPrompt(options, out);
    EditOptions all = options;
    if (!hasScripts) all.scripts.push_back("-");
    if (isStream(all.file) && std::ranges::find(all.scripts, String("-")) != all.scripts.end())
        return fail("the scene and the script cannot both come from the standard input");
    std::vector<Script> scripts;
    if (!readScripts(all, scripts)) return Status::Fault;
    return editByScripts(all, std::move(scripts), out);
}

} // namespace

void addEdit(CommandLine& line) {
    auto [command, options] = line.add(
        "edit", "Edit a scene by commands, all or none, or at a prompt with undo", &runEdit);
    command.addNote(editHelp);
    command.add("FILE", options.file, "Scene file");
    const Argument commands =
        command
            .add("-c,--command", options.commands,
                 "Commands, as \"set lamp.radius 2; rename lamp sun\"; may be repeated")
            .oneEach();
    command.add("-s,--script", options.scripts, "File with commands; may be repeated")
        .oneEach()
        .excludes(commands);
    command.add("-o", options.outFile, "Where to write, FILE itself by default");
    command.add("--dry-run", options.dryRun, "Print the steps that would be done, write nothing");
    command.add("--types", options.types,
                "Read the scene with what it leaves to the types of its nodes");
    command.add("--commands", options.listCommands, "Print the table of commands");
}

} // namespace qv::kelvo_tool
