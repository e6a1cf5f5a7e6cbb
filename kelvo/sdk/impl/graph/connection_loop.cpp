#include "kelvo/sdk/impl/graph/connection_loop.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/string_io.h"

#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Calls `visit(output)` for every output that feeds an input of the node, at any depth.
template<typename Visit>
void forEachSource(const interfaces::IInputContainer& owner, const Visit& visit) {
    std::vector<const interfaces::IInputContainer*> open = {&owner};
    while (!open.empty()) {
        const auto* container = open.back();
        open.pop_back();
        for (u64 i = 0; i < container->inputCount(); ++i) {
            const IInput* input = container->input(i);
            if (const IOutput* source = input->source()) visit(*source);
            if (input->inputCount() != 0) open.push_back(input);
        }
    }
}

// Calls `visit(input)` for every input that an output of the node feeds.
template<typename Visit>
void forEachTarget(const INode& node, const Visit& visit) {
    for (u64 i = 0; i < node.outputCount(); ++i) {
        const auto* output = implOf(node.output(i));
        output->forEachTarget([&](const Input& target) { visit(target); });
    }
}

// One side of the search: the nodes met, and those whose neighbours are still to be met.
class Front {
public:
    explicit Front(const INode* start) { meet(start); }

    void meet(const INode* node) {
        if (node && m_met.insert(node).second) m_open.push_back(node);
    }
    [[nodiscard]] bool exhausted() const noexcept { return m_open.empty(); }
    [[nodiscard]] bool has(const INode* node) const { return m_met.contains(node); }
    [[nodiscard]] const INode* take() {
        const INode* node = m_open.back();
        m_open.pop_back();
        return node;
    }

private:
    std::unordered_set<const INode*> m_met;
    std::vector<const INode*> m_open;
};

bool feedsSomething(const INode& node) {
    for (u64 i = 0; i < node.outputCount(); ++i) {
        if (node.output(i)->targetCount() != 0) return true;
    }
    return false;
}

} // namespace

bool closesLoop(const Output& output, const Input& input) {
    const INode* from = output.node();
    const INode* to = input.node();
    if (!from || !to) return false;
    if (from == to) return true;
    if (!feedsSomething(*to)) return false;
    Front upstream(from);
    Front downstream(to);
    while (!upstream.exhausted() && !downstream.exhausted()) {
        forEachSource(*upstream.take(),
                      [&](const IOutput& source) { upstream.meet(source.node()); });
        if (upstream.has(to)) return true;
        forEachTarget(*downstream.take(),
                      [&](const Input& target) { downstream.meet(target.node()); });
        if (downstream.has(from)) return true;
    }
    return false;
}

String loopText(const Output& output, const Input& input) {
    // The connection by which each node was first met on the way down from the input's node.
    std::unordered_map<const INode*, const Input*> metBy = {{input.node(), &input}};
    std::vector<const INode*> open = {input.node()};
    for (u64 next = 0; next < open.size() && !metBy.contains(output.node()); ++next) {
        forEachTarget(*open[next], [&](const Input& target) {
            if (target.node() && metBy.try_emplace(target.node(), &target).second)
                open.push_back(target.node());
        });
    }
    std::vector<const Input*> steps;
    for (const Input* step = metBy[output.node()]; step != &input;) {
        steps.push_back(step);
        step = metBy[step->source()->node()];
    }
    StringIO text;
    text.append(output.path().view()).append(" -> ").append(input.path().view());
    for (auto at = steps.rbegin(); at != steps.rend(); ++at) {
        const Input* step = *at;
        text.append(" -> ").append(step->source()->path().view());
        text.append(" -> ").append(step->path().view());
    }
    return text.take();
}

} // namespace qv::kelvo_sdk::impl
