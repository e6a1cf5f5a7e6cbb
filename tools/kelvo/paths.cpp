#include "tools/kelvo/commands.h"

#include "kelvo/sdk/input.h"
#include "kelvo/sdk/snapshot_paths.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"

#include <algorithm>
#include <string>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotPaths;

struct PathsOptions {
    String file;
    String from;
    std::optional<String> to;
    /// The types of the nodes to reach, if `to` is not given; empty for all nodes.
    StringVector types;
    /// Follows every link and connection instead of children alone.
    bool allLinks = false;
    u64 limit = 1000;
    bool firstOnly = false;
    bool countOnly = false;
    /// Adds the product of the matrices along each path.
    bool matrices = false;
};

String numberText(u64 number) {
    return String(std::string_view(std::to_string(number)));
}

String wanted(const PathsOptions& options) {
    if (options.to) return "'" + *options.to + "'";
    if (options.types.isEmpty()) return "any node";
    return "a node of type '" + options.types.join("' or '") + "'";
}

String nothingFound(const PathsOptions& options) {
    const String sentence = "no path leads from '" + options.from + "' to " + wanted(options);
    return options.allLinks ? sentence + "."
                            : sentence + " through children (--all follows every link).";
}

// Returns the number of paths, as far as the iterator knows it.
String total(const SnapshotPaths& paths) {
    const String number = numberText(paths.count());
    return paths.isCountExact() ? number : "at least " + number;
}

String textOf(const math::Mat4d& matrix) {
    const auto value = kelvo_sdk::Input::create(kelvo_sdk::AttrType::Mat4);
    (void)value.set(matrix); // It is of that kind.
    return value.asString();
}

/// Prints paths; `values` has the matrices of the nodes, empty for none.
void printPath(const ds::Vector<SnapshotNode>& path, const Snapshot& values, Terminal& out) {
    math::Mat4d product = math::Mat4d::identity;
    for (const SnapshotNode& node : path) {
        out.write(Tone::Name, node == path[0] ? "" : "/").write(Tone::Name, node.name().view());
        if (values) product = values[node.name()].matrix() * product;
    }
    if (values) out.write(" ").write(Tone::Value, textOf(product).view());
    out.endLine();
}

void printPaths(const SnapshotPaths& paths, const Snapshot& values, const PathsOptions& options,
                Terminal& out) {
    const u64 limit = options.firstOnly ? 1 : options.limit;
    u64 printed = 0;
    do {
        printPath(paths.current(), values, out);
        ++printed;
    } while (printed < limit && !out.isClosed() && paths.next());
    if (options.firstOnly || out.isClosed() || !paths.next()) return;
    const bool isKnown = paths.isCountExact() || paths.count() > printed;
    const String all = isKnown ? total(paths) : "more than " + numberText(printed);
    complain(displayed(options.file) + ": " + numberText(printed) + " of " + all +
             " paths are shown (see --limit).");
}

// Returns a snapshot in which connected matrices are evaluated.
Snapshot withMatrices(Document& document, const Snapshot& scene) {
    const auto isConnected = [](const SnapshotNode& node) { return bool(node["matrix"].source()); };
    return std::ranges::any_of(scene.nodes(), isConnected)
               ? document.snapshot(kelvo_sdk::SnapshotValues::Evaluated)
               : scene;
}

Status runPaths(const PathsOptions& options, Terminal& out) {
    Document document;
    const Snapshot scene = document.lookModified(options.file);
    if (!scene) return Status::Fault;
    StringVector types;
    if (!addDerivedTypes(options.types, types)) return Status::Fault;
    const String place = displayed(options.file) + ": ";
    const SnapshotNode from = scene[options.from];
    const SnapshotNode to = options.to ? scene[*options.to] : SnapshotNode();
    if (!from || (options.to && !to)) {
        complain(place + noSuchNode(scene, from ? *options.to : options.from));
        return Status::Usage;
    }
    const SnapshotPaths paths = to ? SnapshotPaths(from, to, options.allLinks)
                                   : SnapshotPaths(from, types, options.allLinks);
    const bool isFound = !paths.current().empty();
    if (options.countOnly) out.write(Tone::Value, total(paths).view()).endLine();
    if (!isFound) {
        complain(place + nothingFound(options));
        return Status::Fault;
    }
    if (options.countOnly) return Status::Ok;
    const Snapshot values = options.matrices ? withMatrices(document, scene) : Snapshot();
    if (options.matrices && !values) return Status::Fault;
    printPaths(paths, values, options, out);
    return Status::Ok;
}

} // namespace

void addPaths(CommandLine& line) {
    auto [command, options] =
        line.add("paths", "Print the chains of nodes that lead to others", &runPaths);
    command.addNote(
        "Paths come depth first and meet no node twice; --count says \"at least\" where\n"
        "cycles leave too many ways to try. Exit status: 1 when there is no path, 2 when a\n"
        "node is unknown.");
    command.addFile(options.file);
    command.add("FROM", options.from, "Node to start from").required();
    const Argument to = command.add("TO", options.to, "Node to reach, all by default");
    command.add("--type", options.types, "Types, or bases, of the nodes to reach").excludes(to);
    command.add("--all", options.allLinks, "Every link and connection, not only children");
    const Argument limit =
        command.add("--limit", options.limit, "Most paths to print").positive().showDefault();
    const Argument first =
        command.add("--first", options.firstOnly, "The first path alone").excludes(limit);
    const Argument count = command.add("--count", options.countOnly, "The number of paths alone")
                               .excludes(limit)
                               .excludes(first);
    command
        .add("--matrix", options.matrices,
             "The product of the matrices along each path too, which takes points\n"
             "of its last node to the space that FROM stands in")
        .excludes(count);
}

} // namespace qv::kelvo_tool
