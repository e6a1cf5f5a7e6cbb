#include "kelvo/sdk/impl/graph/graph_reader.h"

#include <mutex>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Lists the leads of a node. False if they must not be stored: if one leads out of the scene, and
// for an "xform" without a list of children, because a walk has to give it one.
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

// The cast is safe because the scene that owns the graph is not const, and nodes do not change
// during walks; other walks may fill in rows, hence the lock.
const LeadRow* GraphReader::fill(Kind kind, NodeNumber number) const {
    auto& graph = const_cast<CompactGraph&>(*m_graph);
    const Node& node = *graph.node(number);
    std::vector<Lead> leads;
    if (!listLeads(*this, node, kind, leads)) return nullptr;
    const std::lock_guard lock(graph.mutex());
    if (const LeadRow* known = graph.row(kind, number)) return known;
    const LeadRow& row = graph.fill(kind, number, leads);
    node.noteRow(kind, {});
    return &row;
}

WalkMarks::Added WalkMarks::addOther(const Node& node, i32 value) {
    const auto [place, isNew] = m_others.add(&node, static_cast<i64>(m_otherMarks.size()));
    if (isNew) m_otherMarks.push_back(value);
    return {m_otherMarks[static_cast<u64>(place)], isNew};
}

} // namespace qv::kelvo_sdk::impl
