#include "tools/kelvo/commands.h"

#include "tools/kelvo/document.h"
#include "tools/kelvo/hierarchy.h"
#include "tools/kelvo/tree_guides.h"
#include "tools/kelvo/value_summary.h"

#include <algorithm>
#include <string>
#include <utility>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::AttrType;
using kelvo_sdk::NodeNumber;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotOutput;

struct ShowOptions {
    String file;
    /// The number of levels below the top nodes; negative for all.
    i64 depth = -1;
    bool nodesAlone = false;
    bool isPartial = false;
};

/// Prints nodes as a tree; prints the inputs of each node once. Works without recursion.
class TreePrinter {
public:
    /// Borrows everything.
    TreePrinter(const Snapshot& scene, const ShowOptions& options, Terminal& out)
        : m_scene(scene), m_hierarchy(scene), m_options(options), m_out(out) {}

    void print() {
        for (const NodeNumber root : m_hierarchy.roots()) {
            printNode(root, "");
            while (!m_way.empty() && !m_out.isClosed())
                goOn();
        }
    }

private:
    struct Step {
        std::span<const NodeNumber> children;
        std::size_t next = 0;

        [[nodiscard]] bool isDone() const { return next == children.size(); }
    };

    static constexpr u64 mostHeld = 8;

    void goOn() {
        Step& step = m_way.back();
        if (step.isDone()) {
            m_way.pop_back();
            return;
        }
        const NodeNumber child = step.children[step.next++];
        printNode(child, step.isDone() ? "└─ " : "├─ ");
    }

    // Prints a node and descends to its children, unless they were printed before.
    void printNode(NodeNumber number, std::string_view branch) {
        const SnapshotNode node = m_scene.nodeWithNumber(number);
        m_out.write(Tone::Note, guides(m_way.empty() ? 0 : m_way.size() - 1) + std::string(branch));
        m_out.write(Tone::Name, node.name().view()).write(" (");
        m_out.write(Tone::Kind, node.type().view()).write(")");
        if (number >= m_isShown.size()) m_isShown.resize(2 * (u64{number} + 1));
        if (m_isShown[number]) {
            m_out.write(Tone::Note, " shown above").endLine();
            return;
        }
        m_isShown[number] = true;
        if (const u64 times = m_hierarchy.timesListed(number); times > 1)
            m_out.write(Tone::Note, " shared, listed " + std::to_string(times) + " times");
        std::span<const NodeNumber> children = m_hierarchy.childrenOf(number);
        const bool isCut = m_options.depth >= 0 && std::cmp_equal(m_way.size(), m_options.depth);
        if (isCut && !children.empty())
            m_out.write(Tone::Note, " with " + std::to_string(children.size()) +
                                        (children.size() == 1 ? " child" : " children"));
        m_out.endLine();
        if (isCut) children = {};
        m_way.push_back({children});
        if (!m_options.nodesAlone) printAttributes(node);
        if (m_way.back().children.empty()) m_way.pop_back();
    }

    // Returns the guides for a line `levels` below the top.
    [[nodiscard]] std::string guides(std::size_t levels) const {
        return treeGuides(levels, m_out.width(),
                          [this](std::size_t i) { return m_way[i].isDone(); });
    }

    void printAttributes(const SnapshotNode& node) {
        const std::size_t above = m_way.size() - 1;
        const std::string start = guides(above) + (m_way[above].children.empty() ? "    " : "│   ");
        for (u64 i = 0; i < node.inputCount(); ++i)
            printInput(node.input(i), node.input(i).name(), start);
        for (u64 i = 0; i < node.outputCount(); ++i)
            printOutput(node.output(i), start);
    }

    void printInput(const SnapshotInput& input, const String& label, const std::string& start) {
        m_out.write(Tone::Note, start).write(Tone::Kind, input.typeName().view());
        m_out.write(" ").write(label.view());
        if (input.type() != AttrType::Null)
            m_out.write(" = ").write(Tone::Value, shortValue(input).view());
        if (const SnapshotOutput source = input.source())
            m_out.write(" <- ").write(Tone::Name, source.path().view());
        m_out.endLine();
        if (input.type() == AttrType::Object) printMembers(input, start + "    ");
        if (input.elementType() == AttrType::Object) printElements(input, start + "    ");
    }

    void printMembers(const SnapshotInput& object, const std::string& start) {
        for (u64 i = 0; i < object.inputCount(); ++i)
            printInput(object.input(i), object.input(i).name(), start);
    }

    void printElements(const SnapshotInput& array, const std::string& start) {
        const u64 count = array.inputCount();
        for (u64 i = 0; i < std::min(count, mostHeld); ++i)
            printInput(array.input(i), "[" + array.input(i).name() + "]", start);
        if (count > mostHeld)
            m_out.write(Tone::Note, start + "... " + std::to_string(count - mostHeld) + " more\n");
    }

    void printOutput(const SnapshotOutput& output, const std::string& start) {
        m_out.write(Tone::Note, start).write("output ");
        m_out.write(Tone::Kind, output.typeName().view()).write(" ").write(output.name().view());
        m_out.endLine();
    }

    const Snapshot& m_scene;
    Hierarchy m_hierarchy;
    const ShowOptions& m_options;
    Terminal& m_out;
    // By number.
    std::vector<bool> m_isShown;
    std::vector<Step> m_way;
};

Status runShow(const ShowOptions& options, Terminal& out) {
    Document document;
    document.takeParts(options.isPartial);
    const Snapshot scene = document.lookModified(options.file);
    if (!scene) return Status::Fault;
    TreePrinter(scene, options, out).print();
    return document.isSound() ? document.status() : Status::Fault;
}

} // namespace

void addShow(CommandLine& line) {
    auto [command, options] = line.add("show", "Print the hierarchy as a tree", &runShow);
    command.addFile(options.file);
    command.add("--depth", options.depth, "Levels below the top, all by default").notNegative();
    command.add("--no-values", options.nodesAlone, "Nodes alone, without inputs and outputs");
    command.add("--partial", options.isPartial, partialHelp);
}

} // namespace qv::kelvo_tool
