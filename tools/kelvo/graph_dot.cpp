#include "tools/kelvo/graph_dot.h"

#include "tools/kelvo/graph_colors.h"
#include "tools/kelvo/graph_text.h"

#include <array>

namespace qv::kelvo_tool {

namespace {

constexpr const char* fonts = "DejaVu Sans,Verdana,Helvetica,sans-serif";
constexpr u64 mostCharacters = 40;
// Up to this size a longer search for an order with few crossings is cheap.
constexpr u64 mostWithCare = 500;

struct EdgeStyle {
    const char* name;
    const char* sample;
    const char* color;
    const char* attributes;
};
constexpr std::array<EdgeStyle, edgeSortCount> styles{
    EdgeStyle{"hierarchy", "──▶", "#3A3A3A", "style=\"solid\" arrowhead=\"normal\" weight=4"},
    EdgeStyle{"link", "╌╌▷", "#1F5FBF", "style=\"dashed\" arrowhead=\"empty\" weight=1"},
    EdgeStyle{"connection", "━━●", "#C2410C", "style=\"bold\" arrowhead=\"dot\" weight=1"},
};

/// Writes one graph.
class DotWriter {
public:
    DotWriter(const SceneGraph& graph, const DrawnIcons& icons, StringIO& out)
        : m_graph(graph), m_icons(icons), m_out(out) {}

    void write() {
        m_out.append("digraph \"scene\" {\n");
        writeDefaults();
        for (u32 i = 0; i < m_graph.nodes().size(); ++i)
            if (m_graph.nodes()[i].isDrawn) writeNode(i);
        for (u64 i = 0; i < edgeSortCount; ++i)
            if (m_graph.has(static_cast<EdgeSort>(i))) writeEdges(static_cast<EdgeSort>(i));
        m_out.append("}\n");
    }

private:
    void writeDefaults() {
        writeFonts("graph", 10);
        m_out.append(" rankdir=\"LR\" nodesep=0.12 ranksep=0.6 outputorder=\"edgesfirst\""
                     " bgcolor=\"white\"\n        labelloc=\"t\" labeljust=\"l\"");
        if (m_graph.drawnCount() <= mostWithCare) m_out.append(" mclimit=4");
        m_out.append("\n        label=<");
        writeLegend();
        m_out.append(">]\n");
        writeFonts("node", 10);
        m_out.append(" shape=\"box\" style=\"filled,rounded\" color=\"#6B6B6B\" height=0.3"
                     " margin=\"0.1,0.04\"]\n");
        writeFonts("edge", 8);
        m_out.append(" arrowsize=0.6]\n\n");
    }

    void writeFonts(const char* of, u64 size) {
        m_out.append("    ").append(of).append(" [fontname=\"").append(fonts);
        m_out.append("\" fontsize=").appendUInt(size);
    }

    void writeLegend() {
        m_out.append("<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLSPACING=\"6\"><TR>");
        for (u64 i = 0; i < edgeSortCount; ++i) {
            if (!m_graph.has(static_cast<EdgeSort>(i))) continue;
            m_out.append("<TD><FONT COLOR=\"").append(styles[i].color).append("\">");
            m_out.append(styles[i].sample)
                .append(' ')
                .append(styles[i].name)
                .append("</FONT></TD>");
        }
        if (m_graph.center() != SceneGraph::noNode)
            m_out.append("<TD>dashed border: leads to more</TD>");
        m_out.append("</TR></TABLE>");
    }

    void writeNode(u32 place) {
        const GraphNode& entry = m_graph.nodes()[place];
        m_out.append("    ");
        writeId(place);
        m_out.append(" [label=<");
        const u64 icon = m_icons.icons ? m_icons.icons->addOf(entry.node) : GraphIcons::none;
        if (icon == GraphIcons::none)
            writeText(entry.node, "<BR/>");
        else
            writeTable(entry.node, icon);
        m_out.append("> fillcolor=\"").append(m_colors.of(entry.node)).append('"');
        if (entry.isCut) m_out.append(" style=\"filled,rounded,dashed\"");
        if (place == m_graph.center()) m_out.append(" penwidth=3 color=\"#000000\"");
        m_out.append("]\n");
    }

    void writeTable(const kelvo_sdk::SnapshotNode& node, u64 icon) {
        m_out.append("<TABLE BORDER=\"0\" CELLBORDER=\"0\" CELLSPACING=\"0\" CELLPADDING=\"1\"><TR>"
                     "<TD ROWSPAN=\"2\" FIXEDSIZE=\"TRUE\" WIDTH=\"24\" HEIGHT=\"24\">"
                     "<IMG SRC=\"icon-");
        m_out.appendUInt(icon).append('.').append(m_icons.ending);
        m_out.append("\" SCALE=\"TRUE\"/></TD><TD ALIGN=\"LEFT\">");
        writeText(node, "</TD></TR><TR><TD ALIGN=\"LEFT\">");
        m_out.append("</TD></TR></TABLE>");
    }

    // Writes two lines: the display name; then the name, unless it is the same, and the type.
    void writeText(const kelvo_sdk::SnapshotNode& node, const char* between) {
        const String name = node.name();
        const String shown = node.displayName();
        m_out.append("<B>");
        appendDotMarkup(shortened(shown, mostCharacters), m_out);
        m_out.append("</B>").append(between);
        m_out.append("<FONT POINT-SIZE=\"8\" COLOR=\"#3A3A3A\">");
        if (shown != name) {
            appendDotMarkup(shortened(name, mostCharacters), m_out);
            m_out.append(" · ");
        }
        appendDotMarkup(shortened(node.type(), mostCharacters), m_out);
        m_out.append("</FONT>");
    }

    void writeEdges(EdgeSort sort) {
        const EdgeStyle& style = styles[static_cast<u64>(sort)];
        m_out.append("\n    edge [color=\"").append(style.color).append("\" fontcolor=\"");
        m_out.append(style.color).append("\" ").append(style.attributes).append("]\n");
        for (const GraphEdge& edge : m_graph.edges())
            if (edge.sort == sort && m_graph.isDrawn(edge)) writeEdge(edge);
    }

    void writeEdge(const GraphEdge& edge) {
        m_out.append("    ");
        writeId(edge.from);
        m_out.append(" -> ");
        writeId(edge.to);
        if (const String label = labelOf(edge); !label.isEmpty()) {
            m_out.append(" [label=");
            appendDotString(label, m_out);
            m_out.append(']');
        }
        m_out.append('\n');
    }

    static String labelOf(const GraphEdge& edge) {
        const auto count = [](u64 number) {
            return String(std::string_view(std::to_string(number)));
        };
        if (edge.sort == EdgeSort::Hierarchy)
            return edge.count == 1 ? String() : count(edge.count) + " times";
        if (edge.count <= SceneGraph::mostLines) return edge.label;
        return edge.label + "\n" + count(edge.count - SceneGraph::mostLines) + " more";
    }

    void writeId(u32 place) { appendDotString(m_graph.nodes()[place].node.name(), m_out); }

    const SceneGraph& m_graph;
    const DrawnIcons& m_icons;
    StringIO& m_out;
    GraphColors m_colors;
};

} // namespace

void writeDot(const SceneGraph& graph, const DrawnIcons& icons, StringIO& out) {
    DotWriter(graph, icons, out).write();
}

} // namespace qv::kelvo_tool
