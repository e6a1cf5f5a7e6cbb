#include "sdk/impl/path_search.h"

#include "sdk/impl/known_names.h"
#include "sdk/impl/node_links.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

bool PathGoal::isMetBy(const Node& node) const {
    if (!byType) return &node == target;
    return types.empty() || node.hasTypeIn(types);
}

PathSearch::PathSearch(INode* from, PathGoal goal, bool allLinks)
    : m_goal(std::move(goal)), m_allLinks(allLinks) {
    enter(numberOf(from));
}

bool PathSearch::next() {
    if (m_hasFound && !m_remembersWaiting) rememberWaiting();
    while (!m_steps.empty()) {
        Step& step = m_steps.back();
        if (step.next == m_followers.size()) {
            leave();
            continue;
        }
        const Number follower = m_followers[step.next++];
        const State& state = m_states[follower];
        if (state.isOnPath || state.isBarred) continue;
        enter(follower);
        m_steps.back().led = m_goal.isMetBy(*m_states[follower].node);
        if (!m_steps.back().led) continue;
        m_hasFound = true;
        return true;
    }
    return false;
}

ds::Vector<INode*> PathSearch::path() const {
    ds::Vector<INode*> nodes;
    nodes.reserve(m_steps.size());
    for (const Step& step : m_steps)
        nodes.push_back(m_states[step.node].node);
    return nodes;
}

void PathSearch::enter(Number node) {
    const u64 end = m_followers.size();
    m_steps.push_back({node, false, end, end});
    m_states[node].isOnPath = true;
    listFollowers(node);
}

void PathSearch::leave() {
    const Step left = m_steps.back();
    m_steps.pop_back();
    State& state = m_states[left.node];
    state.isOnPath = false;
    if (left.led) {
        free(left.node);
        if (!m_steps.empty()) m_steps.back().led = true;
    } else {
        state.isBarred = true;
        if (m_remembersWaiting) waitForFollowers(left.node, left.first);
    }
    m_followers.resize(left.first);
}

// The node's followers stand in `m_followers` from `first` on.
void PathSearch::waitForFollowers(Number node, u64 first) {
    if (std::exchange(m_states[node].isWaiting, true)) return;
    for (u64 i = first; i < m_followers.size(); ++i)
        m_states[m_followers[i]].waiting.push_back(node);
}

// Makes up for the barring of nodes before the first path.
void PathSearch::rememberWaiting() {
    m_remembersWaiting = true;
    const u64 end = m_followers.size();
    for (Number node = 0; node < m_states.size(); ++node) {
        if (!m_states[node].isBarred) continue;
        listFollowers(node);
        waitForFollowers(node, end);
        m_followers.resize(end);
    }
}

// Frees the node, and those that were barred because of it. What is on the path is dealt with when
// it leaves.
void PathSearch::free(Number node) {
    std::vector<Number> left{node};
    while (!left.empty()) {
        State& state = m_states[left.back()];
        left.pop_back();
        state.isBarred = false;
        for (const Number waiting : state.waiting) {
            if (m_states[waiting].isBarred) left.push_back(waiting);
        }
    }
}

// Adds the nodes that a node leads to, in input order, each once.
void PathSearch::listFollowers(Number number) {
    const Node& node = *m_states[number].node;
    if (&node == m_goal.target) return;
    ++m_listings;
    if (m_allLinks) {
        for (const IInput* input : node.inputs())
            addLinked(*static_cast<const Input*>(input));
        return;
    }
    const KnownNames& known = knownNames();
    const auto* list = node.hasType(known.xform)
                           ? static_cast<const Input*>(node.lookUpInput(known.children))
                           : nullptr;
    if (!list) return;
    for (const IInput* element : list->members())
        addFollower(linkedNode(*static_cast<const Input*>(element)));
}

// Adds what an input and all that it holds link and connect to, without recursion.
void PathSearch::addLinked(const Input& input) {
    m_inputsLeft.push_back(&input);
    while (!m_inputsLeft.empty()) {
        const Input& next = *m_inputsLeft.back();
        m_inputsLeft.pop_back();
        addFollower(linkedNode(next));
        addFollower(sourceNode(next));
        for (u64 i = next.members().size(); i-- > 0;)
            m_inputsLeft.push_back(static_cast<const Input*>(next.members()[i]));
    }
}

void PathSearch::addFollower(INode* node) {
    if (!node) return;
    const Number number = numberOf(node);
    if (std::exchange(m_states[number].listedBy, m_listings) != m_listings)
        m_followers.push_back(number);
}

PathSearch::Number PathSearch::numberOf(INode* node) {
    const auto [number, isNew] = m_numbers.add(node, static_cast<i64>(m_states.size()));
    if (isNew) m_states.push_back({static_cast<Node*>(node), 0, false, false, false, {}});
    return static_cast<Number>(number);
}

} // namespace qv::kelvo_sdk::impl
