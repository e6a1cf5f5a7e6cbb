// ---- Object and lifetime ---------------------------------------------------------------
// A node starts with one reference and tells nobody that it exists. It holds a reference on its
// inputs, outputs and layout, none on its scene. Only the last decRef destroys it; from then on
// nobody hears of it. The number of live nodes changes last in construction, and before the
// members go in destruction.

#include "sdk/impl/node.h"

#include "sdk/impl/input.h"
#include "sdk/impl/library_call.h"
#include "sdk/impl/missing_icon.h"
#include "sdk/impl/output.h"

#include "base/log.h"

namespace qv::kelvo_sdk::impl {

std::atomic<i32> Node::s_instCount = 0;
const String Node::s_missingSvgIcon(missingIcon(), 0);

Node::Node() : Node(nullptr, String(), String()) {}

Node::Node(IScene* scene, String type, String name)
    : m_scene(scene), m_type(std::move(type)), m_name(std::move(name)) {
    m_refCount.fetch_add(1);
    s_instCount.fetch_add(1);
}

Node::~Node() {
    m_destroying = true;
    {
        const std::lock_guard lock(m_observerMutex);
        m_observers.release();
    }
    if (m_nodeFree) callLibrary("free", m_name, [this] { return m_nodeFree(this, &m_data); });
    if (m_data) logError("MEMORY LEAK: user data not freed for node '%s'.", m_name.buf());
    // Every owner link goes before anything else does, so that no attribute reaches this node.
    for (IInput* input : m_inputs)
        static_cast<Input*>(input)->clearNode();
    for (IOutput* output : m_outputs)
        static_cast<Output*>(output)->clearNode();
    for (IInput* input : m_inputs)
        static_cast<Input*>(input)->nodeDestroyed();
    for (IInput* input : m_inputs)
        static_cast<Input*>(input)->decRef();
    for (IOutput* output : m_outputs)
        static_cast<Output*>(output)->decRef();
    if (m_layout) m_layout->decRef();
    m_layout = nullptr;
    s_instCount.fetch_sub(1);
}

void Node::incRef() {
    m_refCount.fetch_add(1);
}

void Node::decRef() {
    if (m_refCount.fetch_sub(1) == 1) delete this;
}

IScene* Node::scene() const {
    return m_scene;
}

} // namespace qv::kelvo_sdk::impl

qv::i64 impl_nodeInstanceCount() {
    return qv::kelvo_sdk::impl::Node::s_instCount.load();
}
