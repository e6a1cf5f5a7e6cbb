#include "tools/kelvo/graph_model.h"

#include "kelvo/base/walk_all.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::SnapshotInput;
using kelvo_sdk::SnapshotNode;
using kelvo_sdk::SnapshotOutput;

SceneGraph::SceneGraph(const kelvo_sdk::Snapshot& scene, const EdgeSorts& sorts) : m_sorts(sorts) {
    const ds::Vector<SnapshotNode> nodes = scene.nodes();
    m_nodes.reserve(nodes.size());
    m_places.reserve(nodes.size());
    for (const SnapshotNode& node : nodes) {
        if (node.number() >= m_places.size()) m_places.resize(u64{node.number()} + 1, noNode);
        m_places[node.number()] = static_cast<u32>(m_nodes.size());
        m_nodes.push_back({node});
    }
    for (u32 i = 0; i < m_nodes.size(); ++i)
        addInputs(i);
}

// Visits all inputs of a node at any depth, in order and without recursion.
void SceneGraph::addInputs(u32 owner) {
    static const String name("children");
    const SnapshotNode node = m_nodes[owner].node;
    const SnapshotInput named = node[name];
    const SnapshotInput childList = named.type() == AttrType::Array ? named : SnapshotInput();
    const auto visit = [&](const SnapshotInput& input, const auto& add) {
        addInput(owner, input, childList);
        for (u64 i = input.inputCount(); i-- > 0;)
            add(input.input(i));
    };
    for (u64 i = 0; i < node.inputCount(); ++i)
        walkAll(node.input(i), visit);
}

void SceneGraph::addInput(u32 owner, const SnapshotInput& input, const SnapshotInput& childList) {
    if (const SnapshotNode linked = input.linked()) {
        const bool isChild = childList && input.parent() == childList;
        const EdgeSort sort = isChild ? EdgeSort::Hierarchy : EdgeSort::Link;
        if (has(sort))
            addEdge(sort, owner, placeOf(linked),
                    [&] { return isChild ? String() : input.path(); });
    }
    const SnapshotOutput source = has(EdgeSort::Connection) ? input.source() : SnapshotOutput();
    if (source)
        addEdge(EdgeSort::Connection, placeOf(source.node()), owner,
                [&] { return source.name() + " → " + input.path(); });
}

// Asks for a line only while there is room for it.
template<typename LineOf>
void SceneGraph::addEdge(EdgeSort sort, u32 from, u32 to, const LineOf& lineOf) {
    const Key key{u64{from} << 32 | to, sort};
    const auto [place, isNew] = m_known.emplace(key, static_cast<u32>(m_edges.size()));
    if (isNew) m_edges.push_back({from, to, sort, 0, {}});
    GraphEdge& edge = m_edges[place->second];
    if (edge.count++ >= mostLines) return;
    const String line = lineOf();
    if (!line.isEmpty()) edge.label = edge.label.isEmpty() ? line : edge.label + "\n" + line;
}

u64 SceneGraph::drawnCount() const noexcept {
    return static_cast<u64>(std::count_if(m_nodes.begin(), m_nodes.end(),
                                          [](const GraphNode& node) { return node.isDrawn; }));
}

std::vector<std::vector<u32>> SceneGraph::neighbours() const {
    std::vector<std::vector<u32>> all(m_nodes.size());
    for (const GraphEdge& edge : m_edges) {
        all[edge.from].push_back(edge.to);
        all[edge.to].push_back(edge.from);
    }
    return all;
}

void SceneGraph::drawAround(const SnapshotNode& node, u64 depth) {
    m_center = placeOf(node);
    for (GraphNode& other : m_nodes)
        other.isDrawn = false;
    m_nodes[m_center].isDrawn = true;
    const std::vector<std::vector<u32>> all = neighbours();
    std::vector<u32> rim{m_center};
    for (u64 i = 0; i < depth && !rim.empty(); ++i) {
        std::vector<u32> next;
        for (const u32 place : rim)
            for (const u32 other : all[place])
                if (!std::exchange(m_nodes[other].isDrawn, true)) next.push_back(other);
        rim = std::move(next);
    }
    markCuts();
}

void SceneGraph::markCuts() {
    for (const GraphEdge& edge : m_edges) {
        GraphNode& from = m_nodes[edge.from];
        GraphNode& to = m_nodes[edge.to];
        if (from.isDrawn == to.isDrawn) continue;
        (from.isDrawn ? from : to).isCut = true;
    }
}

void SceneGraph::leaveOutLoners() {
    std::vector<bool> isTouched(m_nodes.size());
    for (const GraphEdge& edge : m_edges)
        isTouched[edge.from] = isTouched[edge.to] = true;
    for (u32 i = 0; i < m_nodes.size(); ++i)
        if (!isTouched[i] && i != m_center) m_nodes[i].isDrawn = false;
}

} // namespace qv::kelvo_tool
