#include "tools/kelvo/commands.h"

#include "kelvo/sdk/path_parser.h"
#include "tools/kelvo/address.h"
#include "tools/kelvo/document.h"
#include "tools/kelvo/explain_value.h"
#include "tools/kelvo/files.h"
#include "tools/kelvo/libraries.h"
#include "tools/kelvo/neighbourhood.h"
#include "tools/kelvo/scene_part.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace qv::kelvo_tool {

namespace {

using kelvo_sdk::NodeNumber;
using kelvo_sdk::Snapshot;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;

struct ExplainOptions {
    String file;
    String path;
};

constexpr std::size_t mostNames = 8;

/// Prints the nodes upstream and downstream of a node, or of one of its inputs.
class Explainer {
public:
    Explainer(const Snapshot& scene, const SnapshotNode& node, Terminal& out)
        : m_node(node),
          m_sources(scene, Neighbourhood::Direction::Upstream),
          m_readers(scene, Neighbourhood::Direction::Downstream),
          m_out(out) {
        findDownstream();
    }

    /// `valued` and `inText` are as for `explainValue`.
    void explain(const SnapshotInput& input, const kelvo_sdk::Input& valued,
                 const kelvo_sdk::Input& inText) {
        m_out.write(Tone::Name, valued.path().view()).endLine();
        explainValue(input, valued, inText, m_out);
        std::vector<NodeLink> links = linksOf(input);
        if (!input.source()) printConnections("connections inside:\n", links);
        // The links inside the input come before its own.
        std::stable_partition(links.begin(), links.end(),
                              [&](const NodeLink& link) { return link.input != input; });
        printNodes("depends on: ", m_sources.allFrom(links));
        explainEffect();
    }

    void explainNode() {
        m_out.write(Tone::Name, m_node.name().view()).endLine();
        const StringVector bases = m_node.bases();
        m_out.write("type: ").write(Tone::Kind, m_node.type().view());
        if (!bases.empty()) m_out.write(Tone::Kind, (" [" + bases.join(", ") + "]").view());
        m_out.endLine();
        u64 set = 0;
        for (u64 i = 0; i < m_node.inputCount(); ++i)
            if (!m_node.input(i).isDefault()) ++set;
        m_out.write("inputs: ").writeUInt(m_node.inputCount()).write(", ").writeUInt(set);
        m_out.write(" not at the default\noutputs: ").writeUInt(m_node.outputCount()).endLine();
        printConnections("connections:\n", linksOf(m_node));
        printNodes("depends on: ", dependencies());
        explainEffect();
    }

private:
    [[nodiscard]] std::vector<SnapshotNode> dependencies() const { return m_sources.allOf(m_node); }

    // Searches level by level, so that the nearest nodes come first.
    void findDownstream() {
        std::unordered_set<NodeNumber> seen{m_node.number()};
        m_downstream.push_back(m_node);
        for (std::size_t i = 0; i < m_downstream.size(); ++i)
            for (const Neighbour& neighbour : m_readers.of(m_downstream[i]))
                if (seen.insert(neighbour.node.number()).second)
                    m_downstream.push_back(neighbour.node);
    }

    void printConnections(std::string_view label, const std::vector<NodeLink>& links) {
        std::vector<NodeLink> connections = connectionsIn(links);
        if (connections.empty()) return;
        m_out.write(label);
        printSources(std::move(connections), m_out);
    }

    void printNodes(std::string_view label, const std::vector<SnapshotNode>& nodes) {
        m_out.write(label).write(nodes.empty() ? "no node" : counted(nodes.size(), "node"));
        printNames(nodes);
        m_out.endLine();
    }

    void printNames(const std::vector<SnapshotNode>& nodes) {
        for (std::size_t i = 0; i < std::min(nodes.size(), mostNames); ++i)
            m_out.write(i == 0 ? ": " : ", ").write(Tone::Name, nodes[i].name().view());
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

    // Nothing was read from a scene that was just read itself.
    void printDirt() {
        const std::vector<SnapshotNode> dirty = dependencies();
        m_out.write("dirty now: yes, as every node of a scene that was just read\n");
        if (dirty.empty()) return;
        m_out.write("    it depends on " + counted(dirty.size(), "node") + ", ");
        m_out.writeUInt(dirty.size()).write(" of them dirty");
        printNames(dirty);
        m_out.endLine();
    }

    SnapshotNode m_node;
    Neighbourhood m_sources;
    Neighbourhood m_readers;
    Terminal& m_out;
    // The node itself, then the nodes that depend on it.
    std::vector<SnapshotNode> m_downstream;
};

/// An input in live nodes.
struct LiveInput {
    kelvo_sdk::Scene scene = kelvo_sdk::Scene::create();
    Address address;

    /// Reads the nodes that the input needs or, where these do not suffice, all of the document.
    [[nodiscard]] bool read(Document& document, const ScenePart& part) {
        return part.read(scene) || (document.makeText() && document.read(scene));
    }
    [[nodiscard]] bool readWithTypes(Document& document, const ScenePart& part) {
        const Libraries* libraries = librariesInUse();
        if (!libraries) return false;
        libraries->addTo(scene);
        return part.read(scene) || (document.makeText() && document.readWithTypes(scene));
    }
    [[nodiscard]] bool find(const String& path, String& error) {
        return findAddress(scene, path, Append::Refused, address, error);
    }
};

Status reportWrong(const ExplainOptions& options, const String& error) {
    complain(displayed(options.file) + ": " + error);
    return Status::Usage;
}

// Finds neighbours in the scene as written, and values in live nodes with types. The text may leave
// the input to the type of the node.
Status explainInput(Document& document, const Snapshot& scene, const SnapshotNode& node,
                    const SnapshotInput& input, const ExplainOptions& options, Terminal& out) {
    const ScenePart part(scene, node, input);
    LiveInput typed, plain;
    String error;
    if (!document.isSound() || !typed.readWithTypes(document, part)) return Status::Fault;
    if (!typed.find(options.path, error)) return reportWrong(options, error);
    // A text that can only be read with types is not read without.
    const bool isPlain = input && !node.isDefined();
    if (isPlain && (!plain.read(document, part) || !plain.find(options.path, error)))
        return Status::Fault;
    const LiveInput& inText = isPlain || !input ? plain : typed;
    Explainer(scene, node, out).explain(input, typed.address.input, inText.address.input);
    return document.isSound() ? Status::Ok : Status::Fault;
}

Status runExplain(const ExplainOptions& options, Terminal& out) {
    Document document;
    const Snapshot scene = document.look(options.file);
    if (!scene) return Status::Fault;
    const Place place = placeAt(scene, options.path);
    const auto steps = kelvo_sdk::PathParser::parsePath(options.path);
    const SnapshotNode node = steps.empty() ? SnapshotNode() : scene[steps[0].text];
    if (!node) {
        LiveInput none;
        String error;
        (void)none.find(options.path, error);
        if (!steps.empty()) error = noSuchNode(scene, steps[0].text);
        return document.isSound() ? reportWrong(options, error) : Status::Fault;
    }
    if (!place.node || place.input)
        return explainInput(document, scene, node, place.input, options, out);
    Explainer explainer(scene, node, out);
    if (!document.isSound()) return Status::Fault;
    explainer.explainNode();
    return document.isSound() ? Status::Ok : Status::Fault;
}

} // namespace

void addExplain(CommandLine& line) {
    auto [command, options] =
        line.add("explain", "Tell where a value comes from and what depends on it", &runExplain);
    command.addFile(options.file);
    command.add("PATH", options.path, "As node, node.input or node.array[3].member").required();
}

} // namespace qv::kelvo_tool
