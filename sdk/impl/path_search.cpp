#include "sdk/impl/path_search.h"
#include "sdk/interfaces/i_output.h"

#include "sdk/impl/input.h"
#include "sdk/impl/known_names.h"
#include "sdk/impl/node.h"
#include "sdk/impl/node_marks.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Collects the nodes that the inputs of a node link and connect to, in input order, each once.
class LinkedNodes {
public:
    explicit LinkedNodes(const INode& node) {
        for (u64 i = node.inputCount(); i-- > 0;)
            m_left.push_back(node.input(i));
        while (!m_left.empty()) {
            const IInput* input = m_left.back();
            m_left.pop_back();
            visit(*input);
        }
    }

    ds::Vector<INode*> found;

private:
    void visit(const IInput& input) {
        INode* linked = nullptr;
        if (input.type() == AttrType::Node && input.readNode(linked, false, nullptr)) add(linked);
        if (const IOutput* source = input.source()) add(source->node());
        for (u64 i = input.inputCount(); i-- > 0;)
            m_left.push_back(input.input(i));
    }

    void add(INode* node) {
        if (node && m_seen.add(node, 0).isNew) found.push_back(node);
    }

    NodeMarks m_seen;
    std::vector<const IInput*> m_left;
};

} // namespace

bool PathGoal::isMetBy(const INode& node) const {
    if (!byType) return &node == target;
    return types.empty() || static_cast<const Node&>(node).hasTypeIn(types);
}

PathSearch::PathSearch(INode* from, PathGoal goal, bool allLinks)
    : m_goal(std::move(goal)), m_allLinks(allLinks) {
    enter(from);
}

bool PathSearch::next() {
    while (!m_steps.empty()) {
        Step& step = m_steps.back();
        if (step.index == step.followers.size()) {
            leave();
            continue;
        }
        INode* node = step.followers[step.index++];
        const State& state = m_states[node];
        if (state.isOnPath || state.isBarred) continue;
        enter(node);
        m_steps.back().led = m_goal.isMetBy(*node);
        if (m_steps.back().led) return true;
    }
    return false;
}

ds::Vector<INode*> PathSearch::path() const {
    ds::Vector<INode*> nodes;
    nodes.reserve(m_steps.size());
    for (const Step& step : m_steps)
        nodes.push_back(step.node);
    return nodes;
}

void PathSearch::enter(INode* node) {
    m_steps.push_back({node, followersOf(node), 0, false});
    m_states[node].isOnPath = true;
}

void PathSearch::leave() {
    const Step left = std::move(m_steps.back());
    m_steps.pop_back();
    State& state = m_states[left.node];
    state.isOnPath = false;
    if (left.led) {
        free(left.node);
        if (!m_steps.empty()) m_steps.back().led = true;
        return;
    }
    state.isBarred = true;
    for (INode* follower : left.followers)
        m_states[follower].waiting.push_back(left.node);
}

// Frees the node, and those that were barred because of it. What is on the path is dealt with when
// it leaves.
void PathSearch::free(INode* node) {
    std::vector<INode*> left{node};
    while (!left.empty()) {
        State& state = m_states[left.back()];
        left.pop_back();
        state.isBarred = false;
        for (INode* waiting : std::exchange(state.waiting, {})) {
            if (m_states[waiting].isBarred) left.push_back(waiting);
        }
    }
}

ds::Vector<INode*> PathSearch::followersOf(INode* node) const {
    if (node == m_goal.target) return {};
    if (m_allLinks) return LinkedNodes(*node).found;
    ds::Vector<INode*> children;
    const KnownNames& known = knownNames();
    const auto* parent = static_cast<const Node*>(node);
    if (parent->hasType(known.xform))
        getChildren(parent->lookUpInput(known.children), 0, 0, children);
    return children;
}

} // namespace qv::kelvo_sdk::impl
