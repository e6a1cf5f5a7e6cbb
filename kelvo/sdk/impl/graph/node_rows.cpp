// ---- Compact graph ---------------------------------------------------------------------
// A change of the dependencies, children or readers of a node drops its rows in the graph of
// its scene.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

// Only nodes in a scene have rows, so `m_scene` is not null here.
void Node::dropKnownRows(int rows) noexcept {
    CompactGraph& graph = implOf(m_scene)->graph();
    for (const CompactGraph::Kind kind : CompactGraph::allKinds)
        if ((m_knownRows & rows & bitOf(kind)) != 0) graph.drop(kind, m_number);
    m_knownRows = static_cast<u8>(m_knownRows & ~rows);
}

const Scene* sceneAround(const Node& node) noexcept {
    const auto* scene = implOf(node.liveScene());
    return scene && scene->graph().node(node.number()) == &node ? scene : nullptr;
}

void surroundingsChanged(Node& node) noexcept {
    node.leadsChanged();
    node.readersChanged();
    visitReaders(node, [](Node& reader) { reader.leadsChanged(); });
    visitInputsInPlace(node, [](const Input& input) { tiesChanged(input); });
}

} // namespace qv::kelvo_sdk::impl
