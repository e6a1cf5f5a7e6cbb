#pragma once

#include "kelvo/base/pointer_marks.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/spot.h"
#include "kelvo/sdk/impl/index/compact_graph.h"

#include <optional>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

using LeadKind = CompactGraph::Kind;

/// Returns the list of children of an "xform"; null if it has none, and for other nodes.
[[nodiscard]] inline const Input* childList(const Node& node) {
    const KnownNames& known = knownNames();
    return node.hasType(known.xform) ? implOf(node.lookUpInput(known.children)) : nullptr;
}

/// Calls `visit(Node&, bool isConnection)` for each node that the leads of one kind lead to, read
/// from the node itself and not from the graph. May visit a node repeatedly.
template<typename Visit>
void visitLeads(const Node& node, LeadKind kind, const Visit& visit) {
    if (kind == LeadKind::Readers) return visitReadersByKind(node, visit);
    const auto follow = [&visit](INode* found, bool isConnection) {
        if (found) visit(*implOf(found), isConnection);
    };
    if (kind == LeadKind::Children) {
        const Input* list = childList(node);
        if (!list) return;
        for (const IInput* element : list->members())
            follow(linkedNode(*implOf(element)), false);
        return;
    }
    InputWalk inputs(node.inputs());
    while (const Input* input = inputs.next()) {
        follow(linkedNode(*input), false);
        follow(sourceNode(*input), true);
    }
}

/// Reads the leads of nodes from the compact graph of one scene, and fills in missing rows. Reads
/// them from the nodes themselves for nodes outside of the scene, for nodes that lead out of it,
/// and for all nodes once `verify` found an error in the graph.
class GraphReader {
public:
    using Kind = LeadKind;

    /// Makes a reader for walks from a node, which may be null.
    explicit GraphReader(const Node* start) {
        const auto* scene = start ? implOf(start->liveScene()) : nullptr;
        if (scene && scene->graph().isTrusted()) m_graph = &scene->graph();
    }

    /// Returns null for a walk from outside of scenes, and when the graph has errors.
    [[nodiscard]] const CompactGraph* graph() const noexcept { return m_graph; }
    [[nodiscard]] Spot spotOf(const Node& node) const noexcept {
        const bool isIn = m_graph && m_graph->node(node.number()) == &node;
        return isIn ? Spot(node.number()) : Spot(node);
    }
    [[nodiscard]] Node& nodeAt(Spot spot) const noexcept {
        return spot.hasNumber() ? *m_graph->node(spot.number()) : spot.node();
    }
    /// Returns null for a node whose leads must be read from the node itself.
    [[nodiscard]] const LeadRow* row(Kind kind, Spot from) const {
        if (!from.hasNumber()) return nullptr;
        const LeadRow* known = m_graph->row(kind, from.number());
        return known ? known : fill(kind, from.number());
    }
    /// Calls `visit(Spot, bool isConnection)` for each node that the leads of one kind lead to, in
    /// order.
    template<typename Visit>
    void forEachLead(Spot from, Kind kind, const Visit& visit) const {
        if (const LeadRow* leads = row(kind, from)) {
            for (const Lead lead : *leads)
                visit(Spot(NodeNumber{lead.to}), lead.isConnection != 0);
            return;
        }
        visitLeads(nodeAt(from), kind,
                   [&](const Node& node, bool isConnection) { visit(spotOf(node), isConnection); });
    }
    /// Is like `forEachLead`, from the last lead to the first: on a stack, the first lead is then
    /// on top.
    template<typename Visit>
    void forEachLeadBackward(Spot from, Kind kind, const Visit& visit) const {
        const LeadRow* leads = row(kind, from);
        if (!leads) return visitNodeBackward(nodeAt(from), kind, visit);
        for (const Lead* lead = leads->end(); lead-- != leads->begin();)
            visit(Spot(NodeNumber{lead->to}), lead->isConnection != 0);
    }

private:
    const LeadRow* fill(Kind kind, NodeNumber number) const;

    // Not inlined, because nodes without a row are rare.
    template<typename Visit>
    [[gnu::noinline]] void visitNodeBackward(const Node& node, Kind kind,
                                             const Visit& visit) const {
        std::vector<std::pair<Spot, bool>> found;
        visitLeads(node, kind, [&](const Node& next, bool isConnection) {
            found.emplace_back(spotOf(next), isConnection);
        });
        for (auto lead = found.rbegin(); lead != found.rend(); ++lead)
            visit(lead->first, lead->second);
    }

    const CompactGraph* m_graph = nullptr;
};

/// Marks on nodes during one walk.
class WalkMarks {
public:
    explicit WalkMarks(const GraphReader& reader) {
        if (reader.graph()) m_numbered.emplace(*reader.graph());
    }

    using Added = CompactGraph::Marks::Added;
    /// Marks a node with `value` unless it has a mark, and returns its mark, which is valid until
    /// the next `add`.
    Added add(Spot spot, i32 value) {
        return spot.hasNumber() ? m_numbered->add(spot.number(), value)
                                : addOther(spot.node(), value);
    }
    /// Returns an empty list for the nodes that the walk finds.
    [[nodiscard]] std::vector<Node*>& found() noexcept {
        return m_numbered ? m_numbered->found() : m_otherFound;
    }

private:
    Added addOther(const Node& node, i32 value);

    std::optional<CompactGraph::Marks> m_numbered;
    // Maps nodes without a number to indexes of `m_otherMarks`.
    PointerMarks<Node> m_others;
    std::vector<i32> m_otherMarks;
    std::vector<Node*> m_otherFound;
};

/// Calls `enter(Spot, Node&)` for the readers of a node and, where `enter` returns true, for their
/// readers in turn. May visit a node repeatedly. Not recursive, because a long chain would overflow
/// the stack; `pending` is working memory for the walk.
template<typename Enter>
void visitDownstream(const GraphReader& reader, const Node& from, std::vector<Spot>& pending,
                     const Enter& enter) {
    pending.assign(1, reader.spotOf(from));
    while (!pending.empty()) {
        const Spot spot = pending.back();
        pending.pop_back();
        reader.forEachLead(spot, LeadKind::Readers, [&](Spot next, bool) {
            if (enter(next, reader.nodeAt(next))) pending.push_back(next);
        });
    }
}

} // namespace qv::kelvo_sdk::impl
