#include "sdk/impl/edit_batch.h"

namespace qv::kelvo_sdk::impl {

void EditBatch::nodeRenamed(INode* node, const String& before) {
    NodeNews& news = m_nodes.at(node);
    if (!news.isRenamed) news.nameBefore = before;
    news.isRenamed = true;
}

void EditBatch::inputChanged(const IInput* input, const AttrData* previous) {
    InputNews& news = m_inputs.at(input);
    if (news.isChanged) return;
    news.isChanged = true;
    if (!previous) return;
    news.before = previous->value;
    if (news.before.type() == AttrType::Node)
        news.linkedBefore = RefersTo<INode>(news.before.asNode());
}

void EditBatch::inputConnected(const IInput* input, const IOutput* before) {
    InputNews& news = m_inputs.at(input);
    if (!news.isConnected) news.sourceBefore = RefersTo<IOutput>(const_cast<IOutput*>(before));
    news.isConnected = true;
}

bool EditBatch::cameOrWent(const INode* node) const {
    const auto found = m_nodes.index.find(node);
    if (found == m_nodes.index.end()) return false;
    const NodeNews& news = m_nodes.order[found->second];
    return !news.wasIn || !news.isIn;
}

interfaces::SceneChanges EditBatch::net() const {
    interfaces::SceneChanges changes;
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
void EditBatch::addInput(const InputNews& news, interfaces::SceneChanges& to) const {
    const auto* input = static_cast<const Input*>(news.held.get());
    if (cameOrWent(news.node.get())) return;
    if (news.isIn && !news.wasIn) to.addedInputs.push_back(input);
    if (!news.isIn && news.wasIn) to.removedInputs.push_back(input);
    if (!news.isIn || !news.wasIn) return;
    const bool isOther = news.before.isNull() || !(input->value() == news.before);
    if (news.isChanged && isOther) to.changedInputs.push_back(input);
    if (news.isConnected && input->source() != news.sourceBefore.get())
        to.connectedInputs.push_back(input);
}

} // namespace qv::kelvo_sdk::impl
