#pragma once

#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/spot.h"
#include "kelvo/sdk/impl/index/compact_graph.h"
#include "kelvo/sdk/impl/index/node_marks.h"

#include <optional>
#include <vector>

namespace qv::kelvo_sdk::impl {

using LeadKind = CompactGraph::Kind;

/// Returns the list of its children, null for none. Of a transform, that is.
[[nodiscard]] inline const Input* childList(const Node& node) {
    const KnownNames& known = knownNames();
    return node.hasType(known.xform) ? implOf(node.lookUpInput(known.children)) : nullptr;
}

/// Calls `visit(Node&, bool isConnection)` for all that one kind of lead leads to, as the node
/// itself tells. A node may be met again.
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

/// Reads where nodes lead from the compact graph of one scene, and fills in what is not known
/// there. From nodes outside of the scene, and those that lead out of it, the way is read from the
/// nodes themselves; so it is from all of them where the graph was found to be wrong.
class GraphReader {
public:
    using Kind = LeadKind;

    /// For walks from this node, which may be null.
    explicit GraphReader(const Node* start) {
        const auto* scene = start ? implOf(start->liveScene()) : nullptr;
        if (scene && scene->graph().isTrusted()) m_graph = &scene->graph();
    }

    /// Null where the walk begins in no scene.
    [[nodiscard]] const CompactGraph* graph() const noexcept { return m_graph; }
    [[nodiscard]] Spot spotOf(const Node& node) const noexcept {
        const bool isIn = m_graph && m_graph->node(node.number()) == &node;
        return isIn ? Spot(node.number()) : Spot(node);
    }
    [[nodiscard]] Node& nodeAt(Spot spot) const noexcept {
        return spot.hasNumber() ? *m_graph->node(spot.number()) : spot.node();
    }
    /// Returns null for a node whose leads only the node itself can tell.
    [[nodiscard]] const LeadRow* row(Kind kind, Spot from) const {
        if (!from.hasNumber()) return nullptr;
        const LeadRow* known = m_graph->row(kind, from.number());
        return known ? known : fill(kind, from.number());
    }
    /// Calls `visit(Spot, bool isConnection)` for all that the leads of one kind lead to, in order.
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

private:
    const LeadRow* fill(Kind kind, NodeNumber number) const;

    const CompactGraph* m_graph = nullptr;
};

/// Marks on nodes for the time of one walk.
class WalkMarks {
public:
    explicit WalkMarks(const GraphReader& reader) {
        if (reader.graph()) m_numbered.emplace(*reader.graph());
    }

    using Added = CompactGraph::Marks::Added;
    /// Marks the node with `value`, unless it has a mark already. Gives that until the next `add`.
    Added add(Spot spot, i32 value) {
        if (spot.hasNumber()) return m_numbered->add(spot.number(), value);
        const auto [place, isNew] =
            m_others.add(&spot.node(), static_cast<i64>(m_otherMarks.size()));
        if (isNew) m_otherMarks.push_back(value);
        return {m_otherMarks[static_cast<u64>(place)], isNew};
    }

private:
    std::optional<CompactGraph::Marks> m_numbered;
    // Of nodes without a number, where their marks stand.
    NodeMarks m_others;
    std::vector<i32> m_otherMarks;
};

/// Calls `enter(Node&)` for the readers of a node, and of each that `enter` answers true for, at
/// any distance; without recursion: chains may be longer than the stack is deep. A node may be met
/// again. `pending` is the memory that the walk works in.
template<typename Enter>
void visitDownstream(const Node& from, std::vector<Spot>& pending, const Enter& enter) {
    const GraphReader reader(&from);
    pending.assign(1, reader.spotOf(from));
    while (!pending.empty()) {
        const Spot spot = pending.back();
        pending.pop_back();
        reader.forEachLead(spot, LeadKind::Readers, [&](Spot next, bool) {
            if (enter(reader.nodeAt(next))) pending.push_back(next);
        });
    }
}

} // namespace qv::kelvo_sdk::impl
