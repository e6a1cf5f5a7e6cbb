#include "kelvo/sdk/impl/graph/path_graph.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_links.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

bool PathGoal::isMetBy(const Node& node) const {
    if (!byType) return &node == target;
    return types.empty() || node.hasTypeIn(types);
}

PathGraph::Number PathGraph::numberOf(INode* node) {
    const auto [number, isNew] = m_numbers.add(node, static_cast<i64>(m_nodes.size()));
    if (isNew) {
        m_nodes.push_back(implOf(node));
        m_listedBy.push_back(0);
    }
    return static_cast<Number>(number);
}

void PathGraph::listFollowers(Number number, std::vector<Number>& out) {
    const Node& node = *m_nodes[number];
    if (&node == m_target) return;
    ++m_listings;
    if (m_allLinks) {
        for (const IInput* input : node.inputs())
            addLinked(*implOf(input), out);
        return;
    }
    const KnownNames& known = knownNames();
    const auto* list =
        node.hasType(known.xform) ? implOf(node.lookUpInput(known.children)) : nullptr;
    if (!list) return;
    for (const IInput* element : list->members())
        addFollower(linkedNode(*implOf(element)), out);
}

// Adds what an input and all that it holds link and connect to, without recursion.
void PathGraph::addLinked(const Input& input, std::vector<Number>& out) {
    m_inputsLeft.push_back(&input);
    while (!m_inputsLeft.empty()) {
        const Input& next = *m_inputsLeft.back();
        m_inputsLeft.pop_back();
        addFollower(linkedNode(next), out);
        addFollower(sourceNode(next), out);
        for (u64 i = next.members().size(); i-- > 0;)
            m_inputsLeft.push_back(implOf(next.members()[i]));
    }
}

void PathGraph::addFollower(INode* node, std::vector<Number>& out) {
    if (!node) return;
    const Number number = numberOf(node);
    if (std::exchange(m_listedBy[number], m_listings) != m_listings) out.push_back(number);
}

} // namespace qv::kelvo_sdk::impl
