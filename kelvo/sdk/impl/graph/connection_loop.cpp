#include "kelvo/sdk/impl/graph/connection_loop.h"

#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include "kelvo/base/string_io.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// Calls `visit(input)` for every input that is connected to an output of the node.
template<typename Visit>
void forEachTarget(const INode& node, const Visit& visit) {
    for (u64 i = 0; i < node.outputCount(); ++i) {
        const auto* output = implOf(node.output(i));
        output->forEachTarget([&](const Input& target) { visit(target); });
    }
}

// One side of the search: the nodes reached whose neighbours are still to be visited.
class Front {
public:
    // Follows the connections of one kind. In `met`, which both sides share, each has its own bit.
    Front(const GraphReader& reader, LeadKind kind, WalkMarks& met, const INode& start)
        : m_reader(reader), m_kind(kind), m_met(met) {
        meet(reader.spotOf(implOf(start)));
    }

    [[nodiscard]] bool isExhausted() const noexcept { return m_open.empty(); }
    // Visits the neighbours of one more node; tells whether `wanted` is among them.
    [[nodiscard]] bool goOnTo(const INode* wanted) {
        const Spot from = m_open.back();
        m_open.pop_back();
        bool isMet = false;
        m_reader.forEachLead(from, m_kind, [&](Spot next, bool isConnection) {
            if (isConnection && meet(next)) isMet = isMet || &m_reader.nodeAt(next) == wanted;
        });
        return isMet;
    }

private:
    bool meet(Spot spot) {
        const i32 bit = 1 << static_cast<i32>(m_kind);
        i32& mark = m_met.add(spot, 0).value;
        if ((mark & bit) != 0) return false;
        mark |= bit;
        m_open.push_back(spot);
        return true;
    }

    const GraphReader& m_reader;
    LeadKind m_kind;
    WalkMarks& m_met;
    std::vector<Spot> m_open;
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
    const GraphReader reader(implOf(from));
    WalkMarks met(reader);
    Front upstream(reader, LeadKind::Dependencies, met, *from);
    Front downstream(reader, LeadKind::Readers, met, *to);
    while (!upstream.isExhausted() && !downstream.isExhausted())
        if (upstream.goOnTo(to) || downstream.goOnTo(from)) return true;
    return false;
}

String loopText(const Output& output, const Input& input) {
    // The connection by which each node was first reached downstream of the input's node.
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
