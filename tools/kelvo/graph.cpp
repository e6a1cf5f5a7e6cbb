#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/graph_dot.h"
#include "tools/kelvo/graph_model.h"
#include "tools/kelvo/graph_picture.h"
#include "tools/kelvo/progress_line.h"

#include "kelvo/base/spelling_suggestion.h"

namespace qv::kelvo_tool {

namespace {

struct GraphOptions {
    String file;
    /// The file ending selects DOT, SVG or PNG.
    String outFile = "-";
    /// The node whose neighbourhood is drawn; without it all nodes are drawn.
    std::optional<String> around;
    /// The largest distance of neighbours in edges, not negative.
    i64 depth = 2;
    /// Any of "hierarchy", "links" and "connections"; empty for all.
    StringVector only;
    bool noIcons = false;
};

constexpr std::array<const char*, edgeSortCount> sortNames{"hierarchy", "links", "connections"};

// Selects all sorts when none is named.
bool findSorts(const StringVector& names, EdgeSorts& sorts, String& error) {
    sorts.fill(names.isEmpty());
    for (const String& name : names) {
        SpellingSuggestion near(name.view());
        bool isKnown = false;
        for (u64 i = 0; i < edgeSortCount; ++i) {
            near.offer(sortNames[i]);
            if (name == sortNames[i]) sorts[i] = isKnown = true;
        }
        if (isKnown) continue;
        const String question = near.question();
        error = "--only: no sort of edges '" + name + "'" +
                (near.best().empty() ? String(": expected hierarchy, links or connections.")
                                     : question);
        return false;
    }
    return true;
}

enum class Format { Dot, Svg, Png };

bool findFormat(const String& file, Format& format, String& error) {
    format = Format::Dot;
    if (isStream(file) || file.endsWith(".dot", true) || file.endsWith(".gv", true)) return true;
    format = file.endsWith(".svg", true) ? Format::Svg : Format::Png;
    if (format == Format::Svg || file.endsWith(".png", true)) return true;
    error = "cannot tell from the name '" + file +
            "' what to write: expected an ending .dot, .gv, .svg or .png.";
    return false;
}

bool limit(const kelvo_sdk::Snapshot& scene, const GraphOptions& options, SceneGraph& graph,
           String& error) {
    if (!options.only.isEmpty()) graph.leaveOutLoners();
    if (!options.around) return true;
    const kelvo_sdk::SnapshotNode center = scene[*options.around];
    if (!center) {
        error = displayed(options.file) + ": " + noSuchNode(scene, *options.around);
        return false;
    }
    graph.drawAround(center, static_cast<u64>(options.depth));
    return true;
}

bool draw(const SceneGraph& graph, Format format, bool withIcons, String& text, String& error) {
    if (format != Format::Dot)
        return drawPicture(graph, format == Format::Svg ? PictureKind::Svg : PictureKind::Png,
                           withIcons, text, error);
    StringIO dot;
    writeDot(graph, {nullptr, ""}, dot);
    text = dot.take();
    return true;
}

Status reported(Status status, const String& error) {
    complain(error);
    return status;
}

/// The checked options of the command.
struct Wish {
    Format format{};
    EdgeSorts sorts{};
};

Status drawScene(const kelvo_sdk::Snapshot& scene, const GraphOptions& options, const Wish& wish,
                 String& text, String& error) {
    const ProgressLine line("kelvo: drawing " + displayed(options.file));
    SceneGraph graph(scene, wish.sorts);
    if (!limit(scene, options, graph, error)) return Status::Usage;
    return draw(graph, wish.format, !options.noIcons, text, error) ? Status::Ok : Status::Fault;
}

Status runGraph(const GraphOptions& options, Terminal& out) {
    String error;
    Wish wish;
    if (!findFormat(options.outFile, wish.format, error) ||
        !findSorts(options.only, wish.sorts, error))
        return reported(Status::Usage, error);
    Document document;
    const kelvo_sdk::Snapshot scene = document.lookModified(options.file);
    if (!scene) return Status::Fault;
    String text;
    if (const Status status = drawScene(scene, options, wish, text, error); status != Status::Ok)
        return reported(status, error);
    if (isStream(options.outFile))
        out.writeData(text.view());
    else if (!writeFile(options.outFile, text.view(), error))
        return reported(Status::Fault, error);
    return Status::Ok;
}

} // namespace

void addGraph(CommandLine& line) {
    auto [command, options] =
        line.add("graph", "Draw nodes and what leads from one to another", &runGraph);
    command.addFile(options.file);
    command.add("-o", options.outFile,
                "OUT.dot or OUT.gv; OUT.svg or OUT.png, drawn by Graphviz;\n"
                "DOT on the standard output by default");
    const Argument around =
        command.add("--around", options.around, "Node whose neighbourhood alone is drawn");
    command.add("--depth", options.depth, "Edges that a neighbour may be away, 2 by default")
        .notNegative()
        .needs(around);
    command
        .add("--only", options.only,
             "Of hierarchy, links and connections, with commas between; without the\n"
             "nodes that none of these edges touches")
        .split(',');
    command.add("--no-icons", options.noIcons, "No icons in pictures");
}

} // namespace qv::kelvo_tool
