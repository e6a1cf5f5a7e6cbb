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

/// The checked walk over a whole scene that finds which of its laws do not hold. Linear in time and
/// memory; takes arrays and objects of any depth.
///
///     Walk    scene_verify.cpp        nodes, the lists of their attributes, indexes by name
///     Bonds   scene_verify_bonds.cpp  connections, links and the tables of links
///     Rows    scene_verify_rows.cpp   the compact graph
///
/// Does not look into things that the scene does not own, except inputs that say they belong to one
/// of the scene's outputs or to its table of links.
class SceneVerifier {
public:
    /// The tables of a scene.
    struct Tables {
        const NodeTable& nodes;
        const LinkTable& links;
        /// Of values that are put aside.
        const LinkTable& keptLinks;
    };

    /// Borrows everything.
    SceneVerifier(const Scene& scene, Tables tables);

    [[nodiscard]] IntegrityErrors verify();

    /// Breaks laws; defined by tests alone.
    struct Tamper;

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

    // Tells whether a node stands in no scene, or is being told of on its way in or out.
    [[nodiscard]] bool isFree(const INode* node) const;

    // Of the input that the walk has come to.
    [[nodiscard]] String place() const;
    void fail(String place, String message);

    const Scene& m_scene;
    const NodeTable& m_nodes;
    const LinkTable& m_links;
    const LinkTable& m_keptLinks;
    IntegrityErrors m_errors;
    std::unordered_set<const INode*> m_known;
    std::unordered_set<const Output*> m_outputs;
    // Of inputs that link to a node or keep a link aside: those not yet met in a table.
    std::unordered_set<const Link*> m_linksLeft;
    std::unordered_set<const Link*> m_linksMet;
    const Node* m_node = nullptr;
    std::vector<Step> m_way;
};

} // namespace qv::kelvo_sdk::impl
