#include "kelvo/sdk/impl/scene_text/tree_join.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

u32 shifted(u32 index, u32 by) noexcept {
    return index != noTreeIndex ? index + by : noTreeIndex;
}

} // namespace

bool TreeJoin::fits(u64 maxNodes) {
    if (m_to.nodes.size() + m_from.nodes.size() > maxNodes) return false;
    if (m_to.inputs.size() + m_from.inputs.size() >= noTreeIndex) return false;
    m_names.resize(m_from.names.size());
    for (u32 i = 0; i < m_names.size(); ++i)
        m_names[i] = m_to.names.add(m_from.names.text(i));
    return std::ranges::all_of(m_from.nodes, [&](const TreeNode& node) {
        return m_to.findNode(m_names[node.name]) == noTreeIndex;
    });
}

void TreeJoin::joinNodes(String leading) {
    m_firstNode = static_cast<u32>(m_to.nodes.size());
    m_firstInput = static_cast<u32>(m_to.inputs.size());
    m_firstOutput = static_cast<u32>(m_to.outputs.size());
    m_firstBase = static_cast<u32>(m_to.bases.size());
    m_firstExtras = static_cast<u32>(m_to.extras.size());
    if (!leading.isEmpty())
        m_from.extrasAt(m_from.nodes.front().extras).comments.leading = std::move(leading);
    for (const TreeNode& node : m_from.nodes)
        joinNode(node);
    for (TreeOutput& output : m_from.outputs) {
        output.name = name(output.name);
        output.extras = shifted(output.extras, m_firstExtras);
        m_to.outputs.push_back(output);
    }
    for (const u32 base : m_from.bases)
        m_to.bases.push_back(name(base));
    std::ranges::move(m_from.extras, std::back_inserter(m_to.extras));
    joinReferences();
    m_inputs = m_to.inputs.makeRoom(m_from.inputs.size());
}

void TreeJoin::joinNode(TreeNode node) {
    node.name = name(node.name);
    node.type = name(node.type);
    node.firstInput = shifted(node.firstInput, m_firstInput);
    node.firstOutput += m_firstOutput;
    node.firstBase += m_firstBase;
    node.extras = shifted(node.extras, m_firstExtras);
    m_to.knowNode(node.name, static_cast<u32>(m_to.nodes.size()));
    m_to.nodes.push_back(node);
}

void TreeJoin::joinReferences() {
    for (TreeLink& link : m_from.links) {
        link.node += m_firstNode;
        link.input += m_firstInput;
        link.name = name(link.name);
        m_to.links.push_back(link);
    }
    for (TreeConnection& connection : m_from.connections) {
        connection.node += m_firstNode;
        connection.input += m_firstInput;
        connection.sourceNode = name(connection.sourceNode);
        connection.sourceOutput = name(connection.sourceOutput);
        m_to.connections.push_back(connection);
    }
}

void TreeJoin::joinInputs() noexcept {
    for (u64 i = 0; i < m_from.inputs.size(); ++i) {
        TreeInput& input = m_from.inputs[i];
        input.name = name(input.name);
        input.nextSibling = shifted(input.nextSibling, m_firstInput);
        input.firstMember = shifted(input.firstMember, m_firstInput);
        input.extras = shifted(input.extras, m_firstExtras);
        m_inputs.fill(i, std::move(input));
    }
}

} // namespace qv::kelvo_sdk::impl
