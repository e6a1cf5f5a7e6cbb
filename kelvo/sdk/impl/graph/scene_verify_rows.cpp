// Verifies the rows of the compact graph against the nodes.

#include "kelvo/sdk/impl/graph/scene_verify.h"

#include "kelvo/sdk/impl/graph/graph_reader.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

namespace {

const char* nameOf(LeadKind kind) noexcept {
    switch (kind) {
    case LeadKind::Dependencies:
        return "dependencies";
    case LeadKind::Readers:
        return "readers";
    default:
        return "children";
    }
}

// Tells whether a row agrees with the leads of the node itself.
bool isRight(const LeadRow& row, const CompactGraph& graph, const Node& node, LeadKind kind) {
    const Lead* next = row.begin();
    bool isSame = true;
    visitLeads(node, kind, [&](const Node& found, bool isConnection) {
        isSame = isSame && next != row.end() && graph.node(next->to) == &found &&
                 next->isConnection == u32{isConnection};
        if (isSame) ++next;
    });
    return isSame && next == row.end();
}

} // namespace

// If the graph has an error, walks read the leads from the nodes from now on.
void SceneVerifier::checkRows() {
    const u64 errors = m_errors.size();
    const CompactGraph& graph = m_scene.graph();
    u64 count = 0;
    for (NodeNumber number = 0; number < graph.end(); ++number) {
        const Node* node = graph.node(number);
        if (!node) continue;
        ++count;
        if (!isOfScene(node))
            fail({}, "has a number for a node that it does not hold");
        else if (node->number() != number)
            fail(node->name(), "has another number than in the compact graph");
        else
            for (const LeadKind kind : CompactGraph::allKinds)
                checkRow(*node, kind);
    }
    if (count != m_known.size()) fail({}, "has nodes without a number");
    if (m_errors.size() != errors) graph.distrust();
}

void SceneVerifier::checkRow(const Node& node, LeadKind kind) {
    const CompactGraph& graph = m_scene.graph();
    const LeadRow* row = graph.row(kind, node.number());
    if (row && !isRight(*row, graph, node, kind))
        fail(node.name(), String("has other ") + nameOf(kind) + " than in the compact graph");
}

} // namespace qv::kelvo_sdk::impl
