// ---- Copies ----------------------------------------------------------------------------
// The scene decides on placement and names; the node copies itself field by field, without
// notifications.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/node.h"

#include <algorithm>
#include <bit>

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
    auto copy = RefersTo<Node>::adopt(new Node(*this, scene, std::move(name)));
    copy->m_dirty = m_dirty;
    copy->m_destroying = m_destroying;
    copy->m_serializing = serializing();
    copy->m_modifying = m_modifying;
    copy->copyAttributes(*this);
    return copy;
}

Node::Node(const Node& from, IScene* scene, String name)
    : m_scene(scene),
      m_type(from.m_type),
      m_bases(from.m_bases),
      m_isAbstract(from.m_isAbstract),
      m_isInternal(from.m_isInternal),
      m_name(std::move(name)),
      m_labels(from.m_labels),
      m_helps(from.m_helps),
      m_libInfo(from.m_libInfo),
      m_nodeInit(from.m_nodeInit),
      m_nodePrep(from.m_nodePrep),
      m_nodeEval(from.m_nodeEval),
      m_nodeModify(from.m_nodeModify),
      m_nodeFree(from.m_nodeFree),
      m_nodeChanged(from.m_nodeChanged),
      m_svgIcon(from.m_svgIcon) {
    setLayout(from.m_layout);
    m_refCount.fetch_add(1);
    s_instCount.fetch_add(1);
}

namespace {

// Returns the capacity that appending that many elements one by one leads to.
u64 capacityOfAppended(u64 count) noexcept {
    return count == 0 ? 0 : std::bit_ceil(std::max<u64>(count, 2));
}

} // namespace

void Node::copyAttributes(const Node& from) {
    m_inputs.reserve(capacityOfAppended(from.m_inputs.size()));
    for (const IInput* input : from.m_inputs)
        append(RefersTo<Input>::adopt(implOf(implOf(input)->clone(this, nullptr))), {});
    m_outputs.reserve(capacityOfAppended(from.m_outputs.size()));
    for (const IOutput* output : from.m_outputs)
        append(RefersTo<Output>::adopt(implOf(implOf(output)->clone(this))), {});
}

} // namespace qv::kelvo_sdk::impl
