// ---- Library ---------------------------------------------------------------------------
// The callbacks come as one set: the type's own if that is complete, else the first base's that
// is, else the type's own as it stands.

#include "sdk/impl/node.h"

#include "sdk/impl/lib_info.h"

namespace qv::kelvo_sdk::impl {

bool Node::initLibInfo(impl::LibInfo* library) {
    m_libInfo = kelvo_sdk::LibInfo(library);
    if (bindCallbacks(m_type)) return true;
    for (const String& base : std::as_const(m_bases)) {
        if (bindCallbacks(base)) return true;
    }
    return bindCallbacks(m_type);
}

// Replaces all six, by null where the library has none; returns whether they make a usable set.
bool Node::bindCallbacks(const String& type) {
    m_nodeInit = m_libInfo.nodeInit(type);
    m_nodePrep = m_libInfo.nodePrep(type);
    m_nodeEval = m_libInfo.nodeEval(type);
    m_nodeModify = m_libInfo.nodeModify(type);
    m_nodeFree = m_libInfo.nodeFree(type);
    m_nodeChanged = m_libInfo.nodeChanged(type);
    return (m_nodeInit && m_nodeEval && m_nodeFree) || m_nodeModify;
}

bool Node::hasNodeInit() const {
    return m_nodeInit != nullptr;
}

bool Node::hasNodePrep() const {
    return m_nodePrep != nullptr;
}

bool Node::hasNodeEval() const {
    return m_nodeEval != nullptr;
}

bool Node::hasNodeModify() const {
    return m_nodeModify != nullptr;
}

bool Node::hasNodeFree() const {
    return m_nodeFree != nullptr;
}

bool Node::nodeInit() {
    return !m_nodeInit || m_nodeInit(this, &m_data);
}

bool Node::nodePrep() const {
    return !m_nodePrep || m_nodePrep(const_cast<Node*>(this), m_data);
}

bool Node::nodeEval(EvalCtx* ctx, void* out) const {
    return m_nodeEval && m_nodeEval(ctx, out);
}

bool Node::nodeModify(INode* other) {
    return m_nodeModify && m_nodeModify(this, other);
}

bool Node::nodeFree() {
    return !m_nodeFree || m_nodeFree(this, &m_data);
}

void* Node::data() const {
    return m_data;
}

} // namespace qv::kelvo_sdk::impl
