#include "tools/kelvo/commands.h"

#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/explain_value.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/neighbourhood.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::INode;

struct ExplainOptions {
    String file;
    String path;
};

constexpr std::size_t mostNames = 8;

bool isWithin(const IInput* input, const IInput& outer) {
    while (input && input != &outer)
        input = input->parent();
    return input != nullptr;
}

/// Prints the nodes upstream and downstream of a node, or of one of its inputs.
class Explainer {
public:
    Explainer(const kelvo_sdk::Scene& scene, INode& node, Terminal& out)
        : m_node(node),
          m_sources(scene, Neighbourhood::Direction::Upstream),
          m_readers(scene, Neighbourhood::Direction::Downstream),
          m_out(out) {
        findDownstream();
    }

    /// `valued` is the same input in a scene that knows the types of all nodes.
    void explain(IInput& input, const IInput& valued) {
        m_out.write(Tone::Name, input.path().view()).endLine();
        explainValue(valued, &input == &valued ? nullptr : &input, m_out);
        if (!input.source()) printConnections("connections inside:\n", &input);
        std::vector<INode*> found;
        for (const kelvo_sdk::Node& node : kelvo_sdk::Input(&input).dependencies())
            found.push_back(node.get());
        printNodes("depends on: ", found);
        explainEffect();
    }

    void explainNode() {
        m_out.write(Tone::Name, m_node.name().view()).endLine();
        m_out.write("type: ").write(Tone::Kind, m_node.typeDesc().view()).endLine();
        u64 set = 0;
        for (u64 i = 0; i < m_node.inputCount(); ++i)
            if (!m_node.input(i)->isDefault()) ++set;
        m_out.write("inputs: ").writeUInt(m_node.inputCount()).write(", ").writeUInt(set);
        m_out.write(" not at the default\noutputs: ").writeUInt(m_node.outputCount()).endLine();
        printConnections("connections:\n", nullptr);
        printNodes("depends on: ", dependencies());
        explainEffect();
    }

private:
    [[nodiscard]] std::vector<INode*> dependencies() const { return m_sources.allOf(m_node); }

    // Searches level by level, so that the nearest nodes come first.
    void findDownstream() {
        std::unordered_set<const INode*> seen{&m_node};
        m_downstream.push_back(&m_node);
        for (std::size_t i = 0; i < m_downstream.size(); ++i)
            for (const Neighbour& neighbour : m_readers.of(*m_downstream[i]))
                if (seen.insert(neighbour.node).second) m_downstream.push_back(neighbour.node);
    }

    void printConnections(std::string_view label, const IInput* within) {
        std::vector<NodeLink> links = connectionsIn(linksOf(m_node));
        if (within)
            std::erase_if(links, [&](const NodeLink& l) { return !isWithin(l.input, *within); });
        if (links.empty()) return;
        m_out.write(label);
        printSources(std::move(links), m_out);
    }

    void printNodes(std::string_view label, const std::vector<INode*>& nodes) {
        m_out.write(label).write(nodes.empty() ? "no node" : counted(nodes.size(), "node"));
        printNames(nodes);
        m_out.endLine();
    }

    void printNames(const std::vector<INode*>& nodes) {
        for (std::size_t i = 0; i < std::min(nodes.size(), mostNames); ++i)
            m_out.write(i == 0 ? ": " : ", ").write(Tone::Name, nodes[i]->name().view());
        if (nodes.size() > mostNames)
            m_out.write(" and ").writeUInt(nodes.size() - mostNames).write(" more");
    }

    // The effect is known per node only: a node does not tell which inputs an output depends on.
    void explainEffect() {
        printNodes("node read by: ", {m_downstream.begin() + 1, m_downstream.end()});
        const std::vector<Neighbour> direct = m_readers.of(m_node);
        for (std::size_t i = 0; i < std::min(direct.size(), mostNames); ++i)
            printReader(direct[i]);
        if (direct.size() > mostNames)
            m_out.write("    and ").writeUInt(direct.size() - mostNames).write(" more directly\n");
        printNodes("dirty after a change: ", m_downstream);
        printDirt();
    }

    void printReader(const Neighbour& reader) {
        m_out.write("    ").write(Tone::Name, reader.link.text().view());
        if (!reader.link.source) m_out.write(" links to it");
        if (reader.more != 0) m_out.write(" and ").writeUInt(reader.more).write(" more");
        m_out.endLine();
    }

    void printDirt() {
        std::vector<INode*> dirty = dependencies();
        const std::size_t all = dirty.size();
        std::erase_if(dirty, [](const INode* node) { return !node->dirty(false); });
        m_out.write("dirty now: ");
        m_out.write(m_node.dirty(false) ? "yes, as every node of a scene that was just read"
                    : dirty.empty()     ? "no"
                                        : "yes, through what it depends on");
        m_out.endLine();
        if (all == 0) return;
        m_out.write("    it depends on " + counted(all, "node") + ", ");
        m_out.writeUInt(dirty.size()).write(" of them dirty");
        printNames(dirty);
        m_out.endLine();
    }

    INode& m_node;
    Neighbourhood m_sources;
    Neighbourhood m_readers;
    Terminal& m_out;
    // The node itself, then the nodes that depend on it.
    std::vector<INode*> m_downstream;
};

/// A path and the scene to find it in.
struct Place {
    kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    Address address;

    [[nodiscard]] bool find(const String& path, String& error) {
        return findAddress(scene, path, Append::Refused, address, error);
    }
};

// Finds neighbours in the scene as written, and values in the scene with types.
Status runExplain(const ExplainOptions& options, Terminal& out) {
    Document document;
    Place plain;
    Place typed;
    String error;
    if (!document.open(options.file) || !document.read(plain.scene)) return Status::Fault;
    const bool isInText = plain.find(options.path, error);
    if (isInText && !plain.address.input.get()) {
        Explainer(plain.scene, *plain.address.node.get(), out).explainNode();
        return Status::Ok;
    }
    if (!document.readWithTypes(typed.scene)) return Status::Fault;
    if (!typed.find(options.path, error)) {
        complain(displayed(options.file) + ": " + error);
        return Status::Usage;
    }
    const Place& place = isInText ? plain : typed;
    Explainer(place.scene, *place.address.node.get(), out)
        .explain(*place.address.input.get(), *typed.address.input.get());
    return Status::Ok;
}

} // namespace

void addExplain(CommandLine& line) {
    auto [command, options] =
        line.add("explain", "Tell where a value comes from and what depends on it", &runExplain);
    command.addFile(options.file);
    command.add("PATH", options.path, "As node, node.input or node.array[3].member").required();
}

} // namespace qv::kelvo_tool
