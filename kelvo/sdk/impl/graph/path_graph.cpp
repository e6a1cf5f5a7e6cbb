#include "kelvo/sdk/impl/graph/path_graph.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

bool PathGoal::isMetBy(const Node& node) const {
    if (!byType) return &node == target;
    return types.empty() || node.hasTypeIn(types);
}

PathGraph::Number PathGraph::numberOf(INode* node) {
    const Node& known = *implOf(node);
    if (m_known.empty()) {
        m_reader = GraphReader(&known);
        if (m_reader.graph()) m_pages.resize(m_reader.graph()->end() / pageSize + 1);
    }
    return numberOf(m_reader.spotOf(known));
}

// Returns the place of a node's number plus 1, which is 0 for a node without a number yet.
PathGraph::Number& PathGraph::placeOf(Spot spot) {
    if (!spot.hasNumber()) return m_others[&spot.node()];
    std::unique_ptr<Page>& page = m_pages[spot.number() / pageSize];
    if (!page) page = std::make_unique<Page>();
    return (*page)[spot.number() % pageSize];
}

PathGraph::Number PathGraph::numberOf(Spot spot) {
    Number& place = placeOf(spot);
    if (place == 0) {
        m_known.push_back({spot, &m_reader.nodeAt(spot)});
        place = static_cast<Number>(m_known.size());
    }
    return place - 1;
}

void PathGraph::listFollowers(Number number, std::vector<Number>& out) {
    const Known from = m_known[number];
    if (from.node == m_target) return;
    ++m_listings;
    m_reader.forEachLead(from.spot, m_kind, [&](Spot next, bool) {
        const Number follower = numberOf(next);
        if (std::exchange(m_known[follower].listing, m_listings) != m_listings)
            out.push_back(follower);
    });
}

GoalGraph::GoalGraph(INode* from, PathGoal goal, bool allLinks)
    : m_goal(std::move(goal)), m_graph(m_goal.target, allLinks) {
    static_cast<void>(m_graph.numberOf(from));
}

} // namespace qv::kelvo_sdk::impl
