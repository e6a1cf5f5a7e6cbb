#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/neighbourhood.h"
#include "tools/kelvo/tree_guides.h"

#include <string>
#include <unordered_map>
#include <unordered_set>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::NodeNumber;
using kelvo_sdk::SnapshotNode;

struct DepsOptions {
    String file;
    String node;
    /// Lists the nodes that depend on the node, instead of those that it depends on.
    bool downstream = false;
    bool asTree = false;
    bool countOnly = false;
};

void printName(const SnapshotNode& node, Terminal& out) {
    out.write(Tone::Name, node.name().view()).write(" (");
    out.write(Tone::Kind, node.type().view()).write(")");
}

// Prints the node and the link through which it was reached, without a line end.
void printNeighbour(const Neighbour& neighbour, Terminal& out) {
    printName(neighbour.node, out);
    out.write(" through ").write(neighbour.link.text().view());
    if (neighbour.more != 0)
        out.write(Tone::Note, " and " + std::to_string(neighbour.more) + " more");
}

/// Prints a node and its neighbours as a tree; the neighbours of a node are printed once. Works
/// without recursion.
class TreePrinter {
public:
    TreePrinter(const Neighbourhood& neighbourhood, Terminal& out)
        : m_neighbourhood(neighbourhood), m_out(out) {}

    void print(const SnapshotNode& root) {
        printName(root, m_out);
        m_out.endLine();
        enter(root);
        while (!m_way.empty() && !m_out.isClosed())
            goOn();
    }

private:
    struct Step {
        std::vector<Neighbour> neighbours;
        std::size_t next = 0;

        [[nodiscard]] bool isDone() const { return next == neighbours.size(); }
    };

    void goOn() {
        Step& step = m_way.back();
        if (step.isDone()) {
            m_way.pop_back();
            return;
        }
        const Neighbour neighbour = step.neighbours[step.next++];
        const std::string guides = treeGuides(m_way.size() - 1, m_out.width(),
                                              [this](std::size_t i) { return m_way[i].isDone(); });
        m_out.write(Tone::Note, guides + (step.isDone() ? "└─ " : "├─ "));
        printNeighbour(neighbour, m_out);
        const bool isRepeated = m_shown.contains(neighbour.node.number());
        if (isRepeated) m_out.write(Tone::Note, " shown above");
        m_out.endLine();
        if (!isRepeated) enter(neighbour.node);
    }

    void enter(const SnapshotNode& node) {
        m_shown.insert(node.number());
        m_way.push_back({m_neighbourhood.of(node)});
    }

    const Neighbourhood& m_neighbourhood;
    Terminal& m_out;
    std::unordered_set<NodeNumber> m_shown;
    std::vector<Step> m_way;
};

// Prints a line for each node, with the first link through which it was reached.
void printList(const Neighbourhood& neighbourhood, const SnapshotNode& start, Terminal& out) {
    const std::vector<SnapshotNode> found = neighbourhood.allOf(start);
    std::unordered_map<NodeNumber, Neighbour> known;
    const auto meet = [&](const SnapshotNode& node) {
        for (const Neighbour& neighbour : neighbourhood.of(node)) {
            const auto [place, isNew] = known.try_emplace(neighbour.node.number(), neighbour);
            if (!isNew) place->second.more += neighbour.more + 1;
        }
    };
    meet(start);
    for (const SnapshotNode& node : found)
        meet(node);
    for (const SnapshotNode& node : found) {
        if (out.isClosed()) return;
        printNeighbour(known.at(node.number()), out);
        out.endLine();
    }
}

Status runDeps(const DepsOptions& options, Terminal& out) {
    Document document;
    const kelvo_sdk::Snapshot scene = document.lookModified(options.file);
    if (!scene) return Status::Fault;
    const SnapshotNode node = scene[options.node];
    if (!node) {
        complain(displayed(options.file) + ": " + noSuchNode(scene, options.node));
        return Status::Usage;
    }
    const Neighbourhood neighbourhood(scene, options.downstream
                                                 ? Neighbourhood::Direction::Downstream
                                                 : Neighbourhood::Direction::Upstream);
    if (options.countOnly)
        out.write(Tone::Value, std::to_string(neighbourhood.allOf(node).size())).endLine();
    else if (options.asTree)
        TreePrinter(neighbourhood, out).print(node);
    else
        printList(neighbourhood, node, out);
    return Status::Ok;
}

} // namespace

void addDeps(CommandLine& line) {
    auto [command, options] =
        line.add("deps", "Print what a node depends on, and through what", &runDeps);
    command.addFile(options.file);
    command.add("NODE", options.node, "Node to start from").required();
    command.add("--downstream", options.downstream, "What depends on the node instead");
    const Argument tree = command.add("--tree", options.asTree, "As a tree");
    command.add("--count", options.countOnly, "The number of nodes").excludes(tree);
}

} // namespace qv::kelvo_tool
