#include "tools/kelvo/commands.h"

#include "tools/kelvo/diff_json.h"
#include "tools/kelvo/diff_text.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/progress_line.h"
#include "tools/kelvo/versions.h"

#include <new>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::MergeConflict;
using kelvo_sdk::MergeSide;
using kelvo_sdk::Scene;

constexpr const char* mergeHelp =
    "What one side changed counts; what both changed alike changes once. What they changed\n"
    "differently is a conflict: it is told, MINE counts there, and a comment \"# conflict: ...\"\n"
    "in the scene marks the place. docs/git.md tells how git calls this.\n\n"
    "Exit status: 0 when all is merged, 1 with conflicts, 2 in trouble.";

struct MergeArguments {
    String base;
    String mine;
    String theirs;
    String outFile = "-";
    String prefer;
    String format = "text";
};

void tellConflict(const MergeConflict& conflict) {
    String place = conflict.path.isEmpty() ? String("scene") : conflict.path;
    if (!conflict.field.isEmpty() && conflict.field != "value")
        place = place + " " + conflict.field;
    String text = "conflict: " + place + ": base " + shortText(conflict.base) + ", mine " +
                  shortText(conflict.mine) + ", theirs " + shortText(conflict.theirs);
    if (!conflict.reason.isEmpty()) text = text + " (" + conflict.reason + ")";
    complain(text);
}

bool understand(const MergeArguments& arguments, kelvo_sdk::MergeOptions& options) {
    if (arguments.prefer == "mine") options.preferred = MergeSide::Mine;
    if (arguments.prefer == "theirs") options.preferred = MergeSide::Theirs;
    if (!options.preferred && !arguments.prefer.isEmpty()) {
        complain("'" + arguments.prefer + "' is no side: expected mine or theirs.");
        return false;
    }
    const bool isJson = arguments.format == "json";
    if (!isJson && arguments.format != "text") {
        complain("'" + arguments.format + "' is no format: expected text or json.");
        return false;
    }
    if (!isJson || !isStream(arguments.outFile)) return true;
    complain("the standard output cannot take both the scene and the conflicts: use -o.");
    return false;
}

Status mergeFiles(const MergeArguments& arguments, Terminal& out) {
    kelvo_sdk::MergeOptions options;
    if (!understand(arguments, options)) return Status::Usage;
    Versions scenes;
    if (!scenes.load({arguments.base, arguments.mine, arguments.theirs})) return Status::Usage;
    std::vector<MergeConflict> conflicts;
    const Scene merged = Scene::create();
    const kelvo_sdk::Result isMerged = [&] {
        const ProgressLine line("kelvo: merging");
        return kelvo_sdk::mergeScenes(scenes[0], scenes[1], scenes[2], options, merged, conflicts);
    }();
    if (!isMerged) {
        complain("what both sides changed does not go together: " + isMerged.message());
        return Status::Usage;
    }
    // Writes MINE by default, where git expects the result.
    if (!scenes.document(1).save(merged, arguments.outFile, out)) return Status::Usage;
    if (arguments.format == "json")
        out.writeData(toJson(conflicts).view());
    else
        for (const MergeConflict& conflict : conflicts)
            tellConflict(conflict);
    return conflicts.empty() || options.preferred ? Status::Ok : Status::Fault;
}

// The exit status must not look like a result when memory runs out.
Status runMerge(const MergeArguments& arguments, Terminal& out) {
    try {
        return mergeFiles(arguments, out);
    } catch (const std::bad_alloc&) {
        complainOfMemory();
        return Status::Usage;
    }
}

} // namespace

void addMerge(CommandLine& line) {
    auto [command, options] = line.add("merge", "Merge what two sides made of a scene", &runMerge);
    command.addNote(mergeHelp);
    command.add("BASE", options.base, "Scene file that both come from").required();
    command.add("MINE", options.mine, "Scene file").required();
    command.add("THEIRS", options.theirs, "Scene file").required();
    command.add("-o", options.outFile, "Where to write, by default the standard output");
    command.add("--prefer", options.prefer,
                "mine or theirs: who counts in conflicts, which are no failure then");
    command.add("--format", options.format, "Of the list of conflicts: text, or json with -o")
        .showDefault();
}

} // namespace qv::kelvo_tool
