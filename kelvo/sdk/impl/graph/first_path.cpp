#include "kelvo/sdk/impl/graph/first_path.h"

#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// A node that the search has to enter, and the number of nodes on the path before it.
struct Step {
    Spot spot;
    u64 depth;
};

ds::Vector<INode*> nodesAt(const std::vector<Spot>& path, const GraphReader& reader) {
    ds::Vector<INode*> nodes;
    nodes.reserve(path.size());
    for (const Spot spot : path)
        nodes.push_back(&reader.nodeAt(spot));
    return nodes;
}

} // namespace

// A node that was entered is on the path or does not lead to the goal, so it is not entered again.
ds::Vector<INode*> firstPath(const INode& from, const PathGoal& goal, bool allLinks) {
    const LeadKind kind = allLinks ? LeadKind::Dependencies : LeadKind::Children;
    const GraphReader reader(&implOf(from));
    WalkMarks entered(reader);
    std::vector<Spot> path;
    std::vector<Step> pending{{reader.spotOf(implOf(from)), 0}};
    while (!pending.empty()) {
        const auto [spot, depth] = pending.back();
        pending.pop_back();
        if (!entered.add(spot, 0).isNew) continue;
        path.erase(path.begin() + static_cast<std::ptrdiff_t>(depth), path.end());
        path.push_back(spot);
        if (depth > 0 && goal.isMetBy(reader.nodeAt(spot))) return nodesAt(path, reader);
        reader.forEachLeadBackward(spot, kind, [&](Spot next, bool) {
            pending.push_back({next, path.size()});
        });
    }
    return {};
}

} // namespace qv::kelvo_sdk::impl
