#include "kelvo/sdk/impl/observe/net_changes.h"

#include "kelvo/sdk/impl/graph/impl_of.h"

namespace qv::kelvo_sdk::impl {

void NetChanges::nodeRenamed(INode* node, const String& before) {
    NodeNews& news = hear(m_nodes, node);
    if (!news.isRenamed) news.nameBefore = before;
    news.isRenamed = true;
}

void NetChanges::inputChanged(const IInput* input, const AttrData* previous) {
    InputNews& news = hear(m_inputs, input);
    if (news.isChanged) return;
    news.isChanged = true;
    if (!previous) return;
    news.before = previous->value;
    if (news.before.type() == AttrType::Node)
        news.linkedBefore = RefersTo<INode>(news.before.asNode());
}

void NetChanges::inputConnected(const IInput* input, const IOutput* before) {
    InputNews& news = hear(m_inputs, input);
    if (!news.isConnected) news.sourceBefore = RefersTo<IOutput>(const_cast<IOutput*>(before));
    news.isConnected = true;
}

void NetChanges::inputRenamed(const IInput* input, const String& before) {
    InputNews& news = hear(m_inputs, input);
    if (!news.isRenamed) news.nameBefore = before;
    news.isRenamed = true;
}

void NetChanges::nodeMoved(INode* node) {
    hear(m_nodes, node).isMoved = true;
}

namespace {

template<typename List>
void makeRoom(List& list, u64 count) {
    if (list.capacity() < count) list.reserve(2 * count);
}

} // namespace

void NetChanges::expect(const INode* node) {
    m_nodes.at(node);
    const u64 count = m_nodes.order.size();
    makeRoom(m_net.addedNodes, count);
    makeRoom(m_net.removedNodes, count);
    makeRoom(m_net.renamedNodes, count);
    makeRoom(m_net.movedNodes, count);
}

void NetChanges::expect(const IInput* input) {
    m_inputs.at(input);
    const u64 count = m_inputs.order.size();
    makeRoom(m_net.addedInputs, count);
    makeRoom(m_net.removedInputs, count);
    makeRoom(m_net.changedInputs, count);
    makeRoom(m_net.connectedInputs, count);
    makeRoom(m_net.renamedInputs, count);
}

void NetChanges::expect(const IOutput* output) {
    m_outputs.at(output);
    makeRoom(m_net.addedOutputs, m_outputs.order.size());
    makeRoom(m_net.removedOutputs, m_outputs.order.size());
}

bool NetChanges::cameOrWent(const INode* node) const {
    const auto found = m_nodes.index.find(node);
    if (found == m_nodes.index.end()) return false;
    const NodeNews& news = m_nodes.order[found->second];
    return !news.wasIn || !news.isIn;
}

const interfaces::SceneChanges& NetChanges::net() noexcept {
    interfaces::SceneChanges& changes = m_net;
    for (const NodeNews& news : m_nodes.order) {
        INode* node = news.held.get();
        if (news.isIn && !news.wasIn) changes.addedNodes.push_back(node);
        if (!news.isIn && news.wasIn) changes.removedNodes.push_back(node);
        if (!news.isIn || !news.wasIn) continue;
        if (news.isRenamed && !node->name().equals(news.nameBefore))
            changes.renamedNodes.push_back({node, news.nameBefore});
        if (news.isMoved) changes.movedNodes.push_back(node);
    }
    for (const InputNews& news : m_inputs.order)
        addInput(news, changes);
    for (const OutputNews& news : m_outputs.order) {
        if (cameOrWent(news.node.get())) continue;
        if (news.isIn && !news.wasIn) changes.addedOutputs.push_back(news.held.get());
        if (!news.isIn && news.wasIn) changes.removedOutputs.push_back(news.held.get());
    }
    return changes;
}

// Arrays whose elements were moved have no value to compare.
void NetChanges::addInput(const InputNews& news, interfaces::SceneChanges& to) const noexcept {
    const auto* input = implOf(news.held.get());
    if (cameOrWent(news.node.get())) return;
    if (news.isIn && !news.wasIn) to.addedInputs.push_back(input);
    if (!news.isIn && news.wasIn) to.removedInputs.push_back(input);
    if (!news.isIn || !news.wasIn) return;
    const bool isOther = news.before.isNull() || !(input->value() == news.before);
    if (news.isChanged && isOther) to.changedInputs.push_back(input);
    if (news.isConnected && input->source() != news.sourceBefore.get())
        to.connectedInputs.push_back(input);
    if (news.isRenamed && !input->ownName().equals(news.nameBefore))
        to.renamedInputs.push_back({input, news.nameBefore});
}

} // namespace qv::kelvo_sdk::impl
