#pragma once

#include "base/string_vector.h"
#include "tools/kelvo/message.h"
#include "tools/kelvo/terminal.h"

#include <optional>

namespace qv::kelvo_tool {

// The commands, one source file each. What is found wrong is told on the standard error stream. A
// file "-" is the standard input, or output.

struct ShowOptions {
    String file;
    /// Levels below the nodes at the top; negative: all.
    i64 depth = -1;
    bool values = true;
};
/// Prints the hierarchy as a tree.
[[nodiscard]] Status runShow(const ShowOptions& options, Terminal& out);

/// Prints the value at a path, or the text of a node.
[[nodiscard]] Status runGet(const String& file, const String& path, Terminal& out);

struct SetOptions {
    String file;
    /// Each "path=value".
    StringVector assignments;
    /// Empty: the file itself.
    String outFile;
};
/// Sets values and writes the scene; all of them or none.
[[nodiscard]] Status runSet(const SetOptions& options, Terminal& out);

/// Tells all that is wrong with a scene file.
[[nodiscard]] Status runCheck(const String& file, Terminal& out);

/// Prints counts, sizes and the scene's hash.
[[nodiscard]] Status runStats(const String& file, Terminal& out);

struct PathsOptions {
    String file;
    String from;
    std::optional<String> to;
    /// Without `to`: the types of the nodes to reach; none: every node.
    StringVector types;
    /// Through every link and connection, not only through children.
    bool allLinks = false;
    u64 limit = 1000;
    bool firstOnly = false;
    bool countOnly = false;
};
/// Prints the paths from a node to others; none at all is a fault.
[[nodiscard]] Status runPaths(const PathsOptions& options, Terminal& out);

struct DepsOptions {
    String file;
    String node;
    /// The nodes that depend on the node, instead of those that it depends on.
    bool downstream = false;
    bool asTree = false;
    bool countOnly = false;
};
/// Prints the nodes that a node depends on, and through which inputs.
[[nodiscard]] Status runDeps(const DepsOptions& options, Terminal& out);

struct HashOptions {
    String file;
    /// Without it: all nodes and the scene.
    std::optional<String> node;
    StringVector skippedTypes;
    bool ignoreNames = false;
};
/// Prints hashes, by which scenes can be compared.
[[nodiscard]] Status runHash(const HashOptions& options, Terminal& out);

struct FindOptions {
    String file;
    /// Path with wildcards; see `Wildcard`.
    String pattern;
    /// Type or base of a node, or kind of an input.
    std::optional<String> type;
    /// See `ValueFilter`.
    std::optional<String> value;
    bool nodesOnly = false;
    bool inputsOnly = false;
    bool countOnly = false;
};
/// Prints the nodes and inputs that match; none at all is a fault.
[[nodiscard]] Status runFind(const FindOptions& options, Terminal& out);

/// Tells of an input or a node where its value comes from and what depends on it.
[[nodiscard]] Status runExplain(const String& file, const String& path, Terminal& out);

struct GraphOptions {
    String file;
    /// Its ending tells whether it becomes DOT, SVG or PNG.
    String outFile = "-";
    /// The node whose neighbourhood is drawn; without it: all nodes.
    std::optional<String> around;
    /// Edges from it that a neighbour may be away.
    u64 depth = 2;
    /// Of "hierarchy", "links" and "connections"; none: all.
    StringVector only;
    bool icons = true;
};
/// Draws nodes and what leads from one to another.
[[nodiscard]] Status runGraph(const GraphOptions& options, Terminal& out);

struct ImportOptions {
    String model;
    String outFile = "-";
};
/// Makes a scene of a model file.
[[nodiscard]] Status runImport(const ImportOptions& options, Terminal& out);

} // namespace qv::kelvo_tool
