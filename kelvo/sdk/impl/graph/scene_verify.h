#pragma once

#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/interfaces/forward.h"
#include "kelvo/sdk/interfaces/integrity_error.h"

#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

using interfaces::IInput;
using interfaces::INode;
using interfaces::IntegrityErrors;

class Input;
class LinkTable;
class Node;
class NodeTable;
class Output;
class Scene;
struct Link;

/// Walks over a whole scene and finds the laws that do not hold. Takes linear time and memory, and
/// arrays and objects of any depth.
///
///     Walk    scene_verify.cpp        nodes, the lists of their attributes, indexes by name
///     Bonds   scene_verify_bonds.cpp  connections, links and the tables of links
///     Rows    scene_verify_rows.cpp   the compact graph
///
/// Reads no objects outside of the scene, except inputs that are listed as targets of the scene's
/// outputs or as links in its tables.
class SceneVerifier {
public:
    /// The tables of a scene.
    struct Tables {
        const NodeTable& nodes;
        const LinkTable& links;
        /// The links in kept values.
        const LinkTable& keptLinks;
    };

    /// Borrows the scene and the tables.
    SceneVerifier(const Scene& scene, Tables tables);

    [[nodiscard]] IntegrityErrors verify();

private:
    using Inputs = ds::Vector<IInput*>;
    struct Step {
        const Inputs* list;
        // Null for the inputs of a node.
        const Input* parent;
        u64 next;
    };

    void listNodes();
    void checkNames();
    void checkNode(const Node& node);
    void checkInputs(const Node& node);
    void checkList(const Inputs& list, const Input* parent);
    void checkInput(const Input& input);
    void checkPlaceOf(const Input& input, const Step& step);
    void checkOutputs(const Node& node);
    void checkUnlisted();

    void checkSource(const Input& input);
    void checkTargets(const Output& output);
    void checkLink(const Input& input);
    void checkKept(const Input& input);
    void checkBond(const Link* link, const LinkTable& table, const INode* target, const char* what);
    void checkLinkTable(const LinkTable& table);
    void checkRing(const LinkTable& table, const INode* target, const Link* first);
    void checkEntry(const LinkTable& table, const INode* target, const Link& link);
    void checkRows();
    void checkRow(const Node& node, CompactGraph::Kind kind);
    [[nodiscard]] bool isOfScene(const INode* node) const { return m_known.contains(node); }

    // Tells whether a node is in no scene, or is just being added or removed.
    [[nodiscard]] bool isFree(const INode* node) const;

    // Returns the path of the input that the walk has reached.
    [[nodiscard]] String place() const;
    void fail(String place, String message);

    const Scene& m_scene;
    const NodeTable& m_nodes;
    const LinkTable& m_links;
    const LinkTable& m_keptLinks;
    IntegrityErrors m_errors;
    std::unordered_set<const INode*> m_known;
    std::unordered_set<const Output*> m_outputs;
    // The links that inputs have as values or kept values, without those already found in a table.
    std::unordered_set<const Link*> m_linksLeft;
    std::unordered_set<const Link*> m_linksMet;
    const Node* m_node = nullptr;
    std::vector<Step> m_way;
};

} // namespace qv::kelvo_sdk::impl
