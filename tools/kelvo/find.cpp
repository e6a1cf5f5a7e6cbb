#include "tools/kelvo/commands.h"

#include "kelvo/base/workers.h"
#include "kelvo/sdk/search.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/value_summary.h"

#include <deque>
#include <optional>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotMatch;
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

void tellNode(const SnapshotNode& node, TerminalText& out) {
    out.write(Tone::Name, node.name().view()).write(" (");
    out.write(Tone::Kind, node.type().view()).write(")").endLine();
}

void tell(const SnapshotMatch& match, TerminalText& out) {
    const SnapshotInput& input = match.input;
    if (!input) return tellNode(match.node, out);
    out.write(Tone::Name, match.node.name().view()).write(Tone::Name, ".");
    out.write(Tone::Name, input.parent() ? input.path().view() : input.ownName().view());
    out.write(" (").write(Tone::Kind, input.typeName().view()).write(")");
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

// The matches among some of the nodes.
struct Part {
    explicit Part(const StreamLook& look) : lines(look) {}
    TerminalText lines;
    u64 count = 0;
};

// Prints matches in order and returns their number. Threads write the lines of some nodes at a
// time, so that output begins soon and little has to be kept.
u64 printMatches(const kelvo_sdk::Snapshot& scene, const kelvo_sdk::Query& query, bool countOnly,
                 Terminal& out) {
    constexpr u64 nodesOfPart = 4096, partsAtOnce = 16;
    u64 count = 0;
    for (u64 next = 0; next < scene.nodeCount() && !out.isClosed();) {
        std::deque<Part> parts;
        const u64 first = next;
        for (; parts.size() < partsAtOnce && next < scene.nodeCount(); next += nodesOfPart)
            parts.emplace_back(out.look());
        Workers().run(parts.size(), [&](u64 number) {
            Part& part = parts[number];
            const u64 begin = first + number * nodesOfPart;
            visitMatches(scene, query, begin, begin + nodesOfPart, [&](const SnapshotMatch& match) {
                ++part.count;
                if (!countOnly) tell(match, part.lines);
            });
        });
        if (!scene.damage()) return count;
        for (const Part& part : parts) {
            out.write(part.lines);
            count += part.count;
        }
    }
    return count;
}

Status runFind(const FindOptions& options, Terminal& out) {
    kelvo_sdk::Query query = queryOf(options);
    if (const kelvo_sdk::QueryFault fault = query.fault()) {
        complain(fault.message);
        return Status::Usage;
    }
    if (query.type && !addLibraries(query)) return Status::Fault;
    Document document;
    const kelvo_sdk::Snapshot scene = document.openModified(options.file);
    if (!scene) return Status::Fault;
    const u64 count = printMatches(scene, query, options.countOnly, out);
    if (!document.isSound()) return Status::Fault;
    if (options.countOnly) out.write(Tone::Value, std::to_string(count)).endLine();
    if (count != 0) return Status::Ok;
    complain(displayed(options.file) + ": " + nothingFound(options));
    return Status::Fault;
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
