#include "tools/kelvo/commands.h"

#include "kelvo/sdk/search.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/value_summary.h"

#include <optional>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotMatch;
using kelvo_sdk::SnapshotMatches;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotOutput;

struct FindOptions {
    String file;
    /// Path with wildcards; `kelvo_sdk::Query` describes this member and the next two.
    String pattern;
    /// Type or base of a node, or kind of an input.
    std::optional<String> type;
    std::optional<String> value;
    bool nodesOnly = false;
    bool inputsOnly = false;
    bool countOnly = false;
};

kelvo_sdk::Query queryOf(const FindOptions& options) {
    kelvo_sdk::Query query{.pattern = options.pattern};
    if (options.type) query.type = *options.type;
    if (options.value) query.value = *options.value;
    query.nodes = !options.inputsOnly;
    query.inputs = !options.nodesOnly;
    return query;
}

void tellNode(const SnapshotNode& node, Terminal& out) {
    out.write(Tone::Name, node.name().view()).write(" (");
    out.write(Tone::Kind, node.type().view()).write(")").endLine();
}

void tell(const SnapshotMatch& match, Terminal& out) {
    const SnapshotInput& input = match.input;
    if (!input) return tellNode(match.node, out);
    out.write(Tone::Name, match.path().view()).write(" (");
    out.write(Tone::Kind, input.typeName().view()).write(")");
    if (input.type() != AttrType::Null)
        out.write(" = ").write(Tone::Value, shortValue(input).view());
    if (const SnapshotOutput source = input.source())
        out.write(" <- ").write(Tone::Name, source.path().view());
    out.endLine();
}

String nothingFound(const FindOptions& options) {
    const char* what = options.nodesOnly ? "no node" : options.inputsOnly ? "no input" : "nothing";
    String text = what + (" matches '" + options.pattern + "'");
    if (options.type) text = text + " with type '" + *options.type + "'";
    if (options.value)
        text = text + (options.type ? " and" : " with") + " value '" + *options.value + "'";
    return text + ".";
}

constexpr const char* patternHelp =
    "PATTERN is compared with the whole path of each node (\"lamp\") and input\n"
    "(\"lamp.shade.stops[1]\"), without regard to case:\n"
    "  *     any run of characters within a step; steps end at '.', '[' and ']'\n"
    "  ?     one character within a step\n"
    "  **    any run across steps; a.**.b is a.b too\n"
    "So \"*\" is every node, \"*.*\" every input of a node, \"lamp.**\" all below lamp,\n"
    "\"**.weights[*]\" every element of an array weights.\n\n"
    "Exit status: 1 when nothing is found, 2 when PATTERN is none.";

// Scene text need not name the bases of types, which the libraries know.
bool addLibraries(kelvo_sdk::Query& query) {
    const Libraries* libraries = librariesInUse();
    if (!libraries) return false;
    for (const NamedLibrary& each : libraries->all())
        query.libraries.push_back(each.library);
    return true;
}

Status print(const SnapshotMatches& matches, const FindOptions& options, Terminal& out) {
    if (options.countOnly) out.write(Tone::Value, std::to_string(matches.size())).endLine();
    for (const SnapshotMatch& match : matches)
        if (!options.countOnly && !out.isClosed()) tell(match, out);
    if (!matches.empty()) return Status::Ok;
    complain(displayed(options.file) + ": " + nothingFound(options));
    return Status::Fault;
}

Status runFind(const FindOptions& options, Terminal& out) {
    kelvo_sdk::Query query = queryOf(options);
    if (const kelvo_sdk::QueryFault fault = query.fault()) {
        complain(fault.message);
        return Status::Usage;
    }
    if (query.type && !addLibraries(query)) return Status::Fault;
    Document document;
    const kelvo_sdk::Snapshot scene = document.lookModified(options.file);
    if (!scene) return Status::Fault;
    const SnapshotMatches matches = find(scene, query);
    if (!document.isSound()) return Status::Fault;
    const Status status = print(matches, options, out);
    return document.isSound() ? status : Status::Fault;
}

} // namespace

void addFind(CommandLine& line) {
    auto [command, options] =
        line.add("find", "Find nodes and inputs by path, type or value", &runFind);
    command.addNote(patternHelp);
    command.addFile(options.file);
    command.add("PATTERN", options.pattern, "Path with wildcards").required();
    command.add("--type", options.type,
                "Type or base of a node, or kind of an input, as Real or Array<Node>;\n"
                "with * and ?, without regard to case");
    const Argument value =
        command.add("--value", options.value,
                    "Inputs with this value as text, with * and ? (\\* for the character), or "
                    "with a\nnumber that is so: '<1', '<=1', '>1', '>=1' or '=1'. A connected "
                    "input has the\nvalue stored in it");
    const Argument nodes = command.add("--nodes", options.nodesOnly, "Nodes alone");
    command.add("--inputs", options.inputsOnly, "Inputs alone").excludes(nodes);
    nodes.excludes(value);
    command.add("--count", options.countOnly, "The number alone");
}

} // namespace qv::kelvo_tool
