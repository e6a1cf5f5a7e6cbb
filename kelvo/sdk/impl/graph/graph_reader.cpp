#include "kelvo/sdk/impl/graph/graph_reader.h"

#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Lists where a node leads; false when that is out of the scene, or is nothing that can be kept: a
// transform without a list of children gets one when it is met.
bool listLeads(const GraphReader& reader, const Node& node, LeadKind kind,
               std::vector<Lead>& leads) {
    bool isInside = kind != LeadKind::Children || !node.hasType(knownNames().xform) ||
                    childList(node) != nullptr;
    visitLeads(node, kind, [&](const Node& found, bool isConnection) {
        const Spot spot = reader.spotOf(found);
        isInside = isInside && spot.hasNumber();
        if (isInside) leads.emplace_back(spot.number(), isConnection);
    });
    return isInside;
}

} // namespace

// The graph is the scene's, and no node changes while walks read it.
const LeadRow* GraphReader::fill(Kind kind, NodeNumber number) const {
    auto& graph = const_cast<CompactGraph&>(*m_graph);
    const Node& node = *graph.node(number);
    std::vector<Lead> leads;
    if (!listLeads(*this, node, kind, leads)) return nullptr;
    const std::lock_guard lock(graph.mutex());
    if (const LeadRow* known = graph.row(kind, number)) return known;
    const LeadRow& row = graph.fill(kind, number, leads);
    node.noteRow(kind);
    return &row;
}

} // namespace qv::kelvo_sdk::impl
