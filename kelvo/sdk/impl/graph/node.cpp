// ---- Object and lifetime ---------------------------------------------------------------
// A node starts with one reference, without a notification. It holds references to its inputs,
// outputs and layout, but not to its scene. The last decRef clears all links and connections to
// it, with notifications, and then destroys it; its destruction sends none. The number of live
// nodes changes last in construction, and before the members are destroyed in destruction.

#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/history/deferred_notifications.h"
#include "kelvo/sdk/impl/index/link_table.h"

#include "kelvo/base/log.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

std::atomic<i32> Node::s_instCount = 0;

Node::Node() : Node(nullptr, String(), String()) {}

Node::Node(IScene* scene, String type, String name)
    : m_scene(scene), m_type(std::move(type)), m_name(std::move(name)) {
    m_refCount.fetch_add(1);
    s_instCount.fetch_add(1);
}

namespace {

// Keeps the count far from 0 while a node's free callback takes and drops references.
constexpr i32 countOfDying = 1 << 30;

} // namespace

Node::~Node() {
    m_destroying = true;
    m_refCount.store(countOfDying, std::memory_order_relaxed);
    {
        const std::lock_guard lock(m_observerMutex);
        m_observers.release();
    }
    // If the callback throws, the process ends, because its half-finished work cannot be repaired.
    if (m_nodeFree) m_nodeFree(this, &m_data);
    if (m_data) logError("MEMORY LEAK: user data not freed for node '%s'.", m_name.buf());
    // Clears all owner pointers first, so that no attribute reaches this node afterwards.
    for (IInput* input : m_inputs)
        implOf(input)->clearNode({});
    for (IOutput* output : m_outputs)
        implOf(output)->clearNode({});
    dropReferences();
    for (IInput* input : m_inputs)
        implOf(input)->nodeDestroyed();
    for (IInput* input : m_inputs)
        implOf(input)->decRef();
    for (IOutput* output : m_outputs)
        implOf(output)->decRef();
    if (m_layout) m_layout->decRef();
    s_instCount.fetch_sub(1);
}

void Node::incRef() {
    m_refCount.fetch_add(1);
}

namespace {

// Only matters for nodes outside of scenes: leaving a scene ends all references to a node.
bool isReferredTo(const Node& node) noexcept {
    const auto isRead = [](const IOutput* output) { return !implOf(output)->isFree(); };
    if (std::ranges::any_of(node.outputs(), isRead)) return true;
    return LinkTable::hasFreeLinks() &&
           (LinkTable::ofFreeNodes().first(&node) || LinkTable::keptOfFreeNodes().first(&node));
}

// Called while the node still exists; observers may even keep it alive.
void endReferences(Node& node) noexcept {
    try {
        DeferredNotifications deferred;
        for (IOutput* output : node.outputs())
            implOf(output)->disconnectTargets();
        for (LinkTable* links : {&LinkTable::ofFreeNodes(), &LinkTable::keptOfFreeNodes()})
            while (Input* input = links->first(&node))
                input->relink(node, nullptr);
        deferred.release();
    } catch (...) {
        logLost("at the end of a node");
    }
}

} // namespace

void Node::decRef() {
    if (m_refCount.fetch_sub(1) != 1) return;
    if (isReferredTo(*this)) {
        m_refCount.fetch_add(1);
        endReferences(*this);
        if (m_refCount.fetch_sub(1) != 1) return;
    }
    delete this;
}

// Ends references that were added meanwhile, or that lead to a node that is not counted, without
// notifications.
void Node::dropReferences() noexcept {
    for (IOutput* output : m_outputs)
        implOf(output)->dropTargets();
    if (!LinkTable::hasFreeLinks()) return;
    while (Input* input = LinkTable::ofFreeNodes().first(this))
        input->dropLink({});
    while (Input* input = LinkTable::keptOfFreeNodes().first(this))
        input->dropStashedLink({});
}

IScene* Node::scene() const {
    return m_scene;
}

} // namespace qv::kelvo_sdk::impl

qv::i64 impl_nodeInstanceCount() {
    return qv::kelvo_sdk::impl::Node::instanceCount();
}
