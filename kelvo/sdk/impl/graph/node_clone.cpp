// ---- Copies ----------------------------------------------------------------------------
// The scene decides on placement and names; the node copies itself field by field, without
// notifications.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk::impl {

INode* Node::clone(bool deep) const {
    return m_scene ? implOf(m_scene)->cloneNode(const_cast<Node*>(this), deep) : nullptr;
}

INode* Node::convertTo(String type) {
    return m_scene ? implOf(m_scene)->convertNode(this, std::move(type)) : nullptr;
}

Node* Node::clone(IScene* scene, String name) const {
    auto copy = copyFor(scene, std::move(name));
    copy->nodeInit();
    return copy.detach();
}

RefersTo<Node> Node::copyFor(IScene* scene, String name) const {
    auto copy = RefersTo<Node>::adopt(new Node);
    copy->m_scene = scene;
    copy->m_name = std::move(name);
    copy->copyDefinition(*this, {});
    copy->m_dirty = m_dirty;
    copy->m_destroying = m_destroying;
    copy->m_serializing = serializing();
    copy->m_modifying = m_modifying;
    copy->copyAttributes(*this);
    return copy;
}

void Node::copyDefinition(const Node& from, Only<Node, SceneBuilder> /*key*/) {
    m_type = from.m_type;
    m_bases = from.m_bases;
    m_isAbstract = from.m_isAbstract;
    m_isInternal = from.m_isInternal;
    m_labels = from.m_labels;
    m_helps = from.m_helps;
    copyLibrary(from);
}

void Node::copyLibrary(const Node& from) {
    m_libInfo = from.m_libInfo;
    m_nodeInit = from.m_nodeInit;
    m_nodePrep = from.m_nodePrep;
    m_nodeEval = from.m_nodeEval;
    m_nodeModify = from.m_nodeModify;
    m_nodeFree = from.m_nodeFree;
    m_nodeChanged = from.m_nodeChanged;
    m_svgIcon = from.m_svgIcon;
    setLayout(from.m_layout);
}

void Node::copyAttributes(const Node& from) {
    for (const IInput* input : from.m_inputs)
        append(RefersTo<Input>::adopt(implOf(implOf(input)->clone(this, nullptr))), {});
    for (const IOutput* output : from.m_outputs)
        append(RefersTo<Output>::adopt(implOf(implOf(output)->clone(this))), {});
}

} // namespace qv::kelvo_sdk::impl
