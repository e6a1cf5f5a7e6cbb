#include "tools/kelvo/graph_picture.h"

#include "tools/kelvo/files.h"
#include "tools/kelvo/graph_dot.h"
#include "tools/kelvo/graph_icons.h"
#include "tools/kelvo/graph_program.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/message.h"

#include <cerrno>
#include <string>
#include <system_error>

namespace qv::kelvo_tool {

namespace {

// With more nodes Graphviz takes noticeably long.
constexpr u64 manyNodes = 2000;
// The size of an icon in a picture with two pixels per point.
constexpr const char* iconPixels = "48";
// Stands in for an icon file of an SVG drawing; Graphviz only reads the size of these files.
constexpr std::string_view iconFrame =
    "<?xml version=\"1.0\"?>\n"
    "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"24\" height=\"24\"/>\n";

String firstLine(const String& text) {
    return text.toFirst('\n', false);
}

/// Makes one picture in a temporary folder.
class Drawing {
public:
    Drawing(const SceneGraph& graph, PictureKind kind, String& error)
        : m_graph(graph), m_kind(kind), m_error(error) {}

    [[nodiscard]] bool draw(bool withIcons, String& picture) {
        if (!m_folder.exists()) return fail("cannot make a temporary folder: " + reasonOf(errno));
        if (m_graph.drawnCount() > manyNodes)
            warn(String::format("%llu nodes may take Graphviz long; --around NODE draws a part.",
                                static_cast<unsigned long long>(m_graph.drawnCount())));
        if (withIcons && !makeIcons()) return false;
        StringIO dot;
        writeDot(m_graph, {withIcons ? &m_icons : nullptr, ending()}, dot);
        if (!write("graph.dot", dot.view()) || !runDot()) return false;
        return readPicture(picture);
    }

private:
    [[nodiscard]] const char* ending() const { return m_kind == PictureKind::Svg ? "svg" : "png"; }

    static String reasonOf(int error) {
        return String(std::string_view(std::generic_category().message(error)));
    }
    bool fail(const String& sentence) {
        m_error = sentence;
        return false;
    }
    bool failStopped() { return fail("stopped by a signal."); }
    bool write(const std::string& name, std::string_view text) {
        return writeFile(m_folder.file(name), text, m_error);
    }

    bool makeIcons() {
        for (const GraphNode& entry : m_graph.nodes())
            if (entry.isDrawn) m_icons.addOf(entry.node);
        if (m_icons.refusedCount() != 0)
            warn(String::format("left out icons that are not plain SVG: %llu.",
                                static_cast<unsigned long long>(m_icons.refusedCount())));
        for (u64 i = 0; i < m_icons.all().size(); ++i)
            if (!(m_kind == PictureKind::Svg ? makeFrame(i) : makeIcon(i))) return false;
        return true;
    }
    bool makeFrame(u64 index) { return write("icon-" + std::to_string(index) + ".svg", iconFrame); }

    // Debian's Graphviz reads no SVG, so another program renders the icon to pixels.
    bool makeIcon(u64 index) {
        const std::string name = "icon-" + std::to_string(index);
        if (!write(name + ".svg", m_icons.all()[index].view())) return false;
        const ProgramEnd end =
            runProgram({"rsvg-convert", "--width", iconPixels, "--height", iconPixels,
                        "--keep-aspect-ratio", "--output", name + ".png", name + ".svg"},
                       m_folder);
        if (end.kind == ProgramEnd::Kind::Stopped) return failStopped();
        if (end.kind == ProgramEnd::Kind::Done) return true;
        m_icons.leaveOut(index);
        if (!m_isIconReported)
            warn(end.kind == ProgramEnd::Kind::Missing
                     ? String("no icons in PNG pictures without the program 'rsvg-convert' "
                              "(Debian's package librsvg2-bin).")
                     : "left out an icon: 'rsvg-convert' " + end.reason + ": " +
                           firstLine(end.messages));
        m_isIconReported = true;
        return true;
    }

    bool runDot() {
        const std::string type = ending();
        const ProgramEnd end =
            runProgram({"dot", "-T" + type, "-ograph." + type, "graph.dot"}, m_folder);
        switch (end.kind) {
        case ProgramEnd::Kind::Stopped:
            return failStopped();
        case ProgramEnd::Kind::Missing:
            return fail("cannot draw without the program 'dot' of Graphviz (Debian's package "
                        "graphviz); -o OUT.dot needs none.");
        case ProgramEnd::Kind::Failed:
            return fail("cannot draw: 'dot' " + end.reason +
                        (end.messages.isEmpty() ? String(".") : ": " + firstLine(end.messages)));
        default:
            if (!end.messages.isEmpty()) warn(firstLine(end.messages));
            return true;
        }
    }

    bool readPicture(String& picture) {
        if (!readFile(m_folder.file("graph.") + ending(), picture, m_error)) picture = {};
        if (m_kind == PictureKind::Svg) picture = withIcons(picture.view(), m_icons);
        if (StopRequests::isPending()) return failStopped();
        return !picture.isEmpty() || fail("cannot draw: 'dot' wrote nothing.");
    }

    const SceneGraph& m_graph;
    const PictureKind m_kind;
    String& m_error;
    const StopRequests m_stopRequests;
    const TemporaryFolder m_folder;
    // Types have the icons. Libraries that cannot be loaded were reported when the scene was read.
    GraphIcons m_icons{[](const String& type) {
        const Libraries* libraries = librariesInUse();
        return libraries ? libraries->iconOf(type) : String();
    }};
    bool m_isIconReported = false;
};

} // namespace

bool drawPicture(const SceneGraph& graph, PictureKind kind, bool withIcons, String& picture,
                 String& error) {
    return Drawing(graph, kind, error).draw(withIcons, picture);
}

} // namespace qv::kelvo_tool
