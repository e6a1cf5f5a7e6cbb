#include "tools/kelvo/commands.h"

#include "tools/kelvo/diff_json.h"
#include "tools/kelvo/diff_text.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/progress_line.h"

#include <algorithm>
#include <new>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::SceneDiff;
using kelvo_sdk::Snapshot;

constexpr const char* diffHelp =
    "Compares nodes, attributes, values, links, connections, order and comments, not\n"
    "lines. A node that comes back under another name with the same or nearly the same\n"
    "attributes is renamed.\n\n"
    "Exit status: 0 when the scenes say the same, 1 when they do not, 2 in trouble.";

struct DiffOptions {
    String before;
    String after;
    String format = "text";
    bool ignoreComments = false;
    bool quiet = false;
};

bool knowsTypes(const Snapshot& scene) {
    const ds::Vector<kelvo_sdk::SnapshotNode> nodes = scene.nodes();
    return std::any_of(nodes.begin(), nodes.end(),
                       [](const kelvo_sdk::SnapshotNode& node) { return node.isDefined(); });
}

// When one scene can only be read with the types of its nodes, so is the other; false after an
// error message.
bool shareTypes(Document& earlier, Snapshot& before, Document& later, Snapshot& after) {
    if (knowsTypes(before) == knowsTypes(after)) return true;
    const bool isEarlier = knowsTypes(after);
    Snapshot& plain = isEarlier ? before : after;
    plain = (isEarlier ? earlier : later).snapshotWithTypes();
    return bool(plain);
}

Status compare(const DiffOptions& options, Terminal& out) {
    const bool isJson = options.format == "json";
    if (!isJson && options.format != "text") {
        complain("'" + options.format + "' is no format: expected text or json.");
        return Status::Usage;
    }
    Document earlier, later;
    Snapshot before = earlier.look(options.before);
    Snapshot after = before ? later.look(options.after) : Snapshot();
    if (!after || !shareTypes(earlier, before, later, after)) return Status::Usage;
    const auto diff = [&] {
        const ProgressLine line("kelvo: comparing");
        return SceneDiff::between(before, after, {!options.ignoreComments});
    }();
    if (!earlier.isSound() || !later.isSound()) return Status::Usage;
    if (!diff.result()) {
        complain(diff.message());
        return Status::Usage;
    }
    if (!options.quiet && isJson) out.writeData(toJson(diff).view());
    if (!options.quiet && !isJson) writeChanges(diff, out);
    return diff.isEmpty() ? Status::Ok : Status::Fault;
}

// The exit status must not look like a result when memory runs out.
Status runDiff(const DiffOptions& options, Terminal& out) {
    try {
        return compare(options, out);
    } catch (const std::bad_alloc&) {
        complainOfMemory();
        return Status::Usage;
    }
}

} // namespace

void addDiff(CommandLine& line) {
    auto [command, options] = line.add("diff", "Tell what two scenes say differently", &runDiff);
    command.addNote(diffHelp);
    command.add("A", options.before, "Scene file").required();
    command.add("B", options.after, "Scene file that came later").required();
    command.add("--format", options.format, "text, or json for `patch`").showDefault();
    command.add("--ignore-comments", options.ignoreComments, "Let comments count as nothing");
    command.add("--quiet", options.quiet, "Tell by the exit status alone");
}

} // namespace qv::kelvo_tool
