#include "tools/kelvo/graph_model.h"

#include "tools/kelvo/hierarchy.h"

#include "kelvo/base/walk_all.h"
#include "kelvo/sdk/interfaces/i_output.h"

#include <algorithm>

namespace qv::kelvo_tool {

using kelvo_sdk::AttrType;
using kelvo_sdk::interfaces::IInput;
using kelvo_sdk::interfaces::IInputContainer;
using kelvo_sdk::interfaces::IOutput;

namespace {

// Returns the path of an input or output without the name of its node.
String pathInside(const String& path) {
    const u64 dot = path.find('.');
    return dot == String::npos ? path : path.substr(dot + 1);
}

} // namespace

SceneGraph::SceneGraph(const kelvo_sdk::Scene& scene, const EdgeSorts& sorts) : m_sorts(sorts) {
    const u64 count = scene.nodeCount();
    m_nodes.reserve(count);
    m_places.reserve(count);
    for (u64 i = 0; i < count; ++i) {
        m_places.emplace(scene->node(i), static_cast<u32>(i));
        m_nodes.push_back({scene->node(i)});
    }
    for (u32 i = 0; i < m_nodes.size(); ++i)
        addInputs(i);
}

// Visits all inputs of a node at any depth, in order and without recursion.
void SceneGraph::addInputs(u32 owner) {
    const INode& node = *m_nodes[owner].node;
    const IInput* childList = Hierarchy::childListOf(node);
    const auto visit = [&](const IInput* input, const auto& add) {
        addInput(owner, *input, childList);
        for (u64 i = input->inputCount(); i-- > 0;)
            add(input->input(i));
    };
    for (u64 i = 0; i < node.inputCount(); ++i)
        walkAll<const IInput*>(node.input(i), visit);
}

void SceneGraph::addInput(u32 owner, const IInput& input, const IInput* childList) {
    const INode* node = m_nodes[owner].node;
    INode* linked = nullptr;
    if (input.type() == AttrType::Node && input.readNode(linked, false, nullptr) && linked) {
        const bool isChild = childList && input.parent() == childList;
        const EdgeSort sort = isChild ? EdgeSort::Hierarchy : EdgeSort::Link;
        if (has(sort)) addEdge(sort, node, linked, isChild ? String() : pathInside(input.path()));
    }
    const IOutput* source = has(EdgeSort::Connection) ? input.source() : nullptr;
    if (source && source->node())
        addEdge(EdgeSort::Connection, source->node(), node,
                source->name() + " → " + pathInside(input.path()));
}

void SceneGraph::addEdge(EdgeSort sort, const INode* from, const INode* to, const String& line) {
    const auto start = m_places.find(from);
    const auto end = m_places.find(to);
    if (start == m_places.end() || end == m_places.end()) return;
    const Key key{u64{start->second} << 32 | end->second, sort};
    const auto [place, isNew] = m_known.emplace(key, static_cast<u32>(m_edges.size()));
    if (isNew) m_edges.push_back({start->second, end->second, sort, 0, {}});
    GraphEdge& edge = m_edges[place->second];
    if (edge.count++ >= mostLines || line.isEmpty()) return;
    edge.label = edge.label.isEmpty() ? line : edge.label + "\n" + line;
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

void SceneGraph::drawAround(const INode* node, u64 depth) {
    m_center = m_places.at(node);
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
