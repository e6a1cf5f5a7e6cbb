// Finds loops of connections in a text before its nodes are built.

#include "kelvo/sdk/impl/scene_text/scene_checker.h"

#include "kelvo/base/string_io.h"

// Finds loops of connections: no node may depend on itself. Nodes of the scene cannot depend on
// those of the text yet, so a loop lies in the text alone.
namespace qv::kelvo_sdk::impl {

void SceneChecker::checkLoops() {
    m_firstOf.assign(m_tree.nodes.size() + 1, 0);
    for (const TreeConnection& connection : m_tree.connections)
        if (connection.target != noTreeIndex) ++m_firstOf[connection.node + 1];
    for (u64 i = 1; i < m_firstOf.size(); ++i)
        m_firstOf[i] += m_firstOf[i - 1];
    m_feeding.resize(m_firstOf.back());
    std::vector<u32> free(m_firstOf.begin(), m_firstOf.end() - 1);
    for (u32 i = 0; i < m_tree.connections.size(); ++i) {
        const TreeConnection& connection = m_tree.connections[i];
        if (connection.target != noTreeIndex) m_feeding[free[connection.node]++] = i;
    }
    m_marks.assign(m_tree.nodes.size(), Mark::New);
    for (u32 node = 0; node < m_tree.nodes.size(); ++node) {
        if (m_errors.full()) return;
        if (m_marks[node] == Mark::New) checkLoopsFrom(node);
    }
}

// Follows connections upstream without recursion.
void SceneChecker::checkLoopsFrom(u32 node) {
    m_chain.assign(1, {node, m_firstOf[node], noTreeIndex});
    m_marks[node] = Mark::Open;
    while (!m_chain.empty()) {
        Step& step = m_chain.back();
        if (step.next == m_firstOf[step.node + 1]) {
            m_marks[step.node] = Mark::Done;
            m_chain.pop_back();
            continue;
        }
        const u32 connection = m_feeding[step.next++];
        const u32 source = m_tree.connections[connection].target;
        if (m_marks[source] == Mark::Open) {
            reportLoop(connection);
        } else if (m_marks[source] == Mark::New) {
            m_marks[source] = Mark::Open;
            m_chain.push_back({source, m_firstOf[source], connection});
        }
    }
}

// The loop is the chain from its last node back to the node that feeds it, which is the direction
// in which values flow.
void SceneChecker::reportLoop(u32 closing) {
    const TreeConnection& last = m_tree.connections[closing];
    if (!m_errors.wantsMessage()) return fail(last.offset, last.node, String());
    StringIO text;
    text.append("These connections form a loop: ");
    text.append(sourcePath(last).view()).append(" -> ").append(inputPath(last).view());
    for (u64 i = m_chain.size() - 1; m_chain[i].node != last.target; --i) {
        const TreeConnection& next = m_tree.connections[m_chain[i].connection];
        text.append(" -> ").append(sourcePath(next).view());
        text.append(" -> ").append(inputPath(next).view());
    }
    fail(last.offset, last.node, text.append('.').take());
}

} // namespace qv::kelvo_sdk::impl
