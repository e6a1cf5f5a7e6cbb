// ---- Library ---------------------------------------------------------------------------
// The callbacks come as one set: the type's own if that is complete, else the first complete
// set of a base, else the type's own, incomplete as it is.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/library_call.h"
#include "kelvo/sdk/impl/graph/scene.h"

namespace qv::kelvo_sdk::impl {

namespace {

// Runs a function after a callback, whether that returned or threw.
template<typename Call>
class AtEnd {
public:
    explicit AtEnd(Call call) noexcept : m_call(call) {}
    ~AtEnd() { m_call(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    Call m_call;
};

// Returns a function that returns the name that the node has now, even after the node's end.
auto nameNow(const Node& node) noexcept {
    return [name = node.ownName()] { return name; };
}

} // namespace

// Replaces all six callbacks, by null if the library has none; returns whether they are a usable
// set.
bool Node::bindCallbacks(const String& type) {
    m_nodeInit = m_libInfo.nodeInit(type);
    m_nodePrep = m_libInfo.nodePrep(type);
    m_nodeEval = m_libInfo.nodeEval(type);
    m_nodeModify = m_libInfo.nodeModify(type);
    m_nodeFree = m_libInfo.nodeFree(type);
    m_nodeChanged = m_libInfo.nodeChanged(type);
    evaluationChanged();
    return (m_nodeInit && m_nodeEval && m_nodeFree) || m_nodeModify;
}

// New callbacks or user data may change results, even if the data pointer is the same. The scene of
// a node that is being destroyed may be gone.
void Node::evaluationChanged() const noexcept {
    if (!m_scene || m_destroying) return;
    implOf(m_scene)->followers().each(
        [this](SceneFollower& follower) { follower.callbacksChanged(*this); });
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
    if (!m_nodeInit) return true;
    const RefersTo<INode> held(this);
    const AtEnd renewed([this] { evaluationChanged(); });
    return callLibrary("init", nameNow(*this), [&] { return m_nodeInit(this, &m_data); });
}

bool Node::nodePrep() const {
    if (!m_nodePrep) return true;
    auto* self = const_cast<Node*>(this);
    const RefersTo<INode> held(self);
    const AtEnd renewed([this] {
        if (m_data) evaluationChanged();
    });
    return callLibrary("prep", nameNow(*this), [&] { return m_nodePrep(self, m_data); });
}

bool Node::nodeEval(EvalCtx* ctx, void* out) const {
    return m_nodeEval && callLibrary("eval", nameNow(*this), [&] { return m_nodeEval(ctx, out); });
}

bool Node::nodeModify(INode* other) {
    return m_nodeModify &&
           callLibrary("modify", nameNow(*this), [&] { return m_nodeModify(this, other); });
}

bool Node::nodeFree() {
    if (!m_nodeFree) return true;
    const RefersTo<INode> held(this);
    const AtEnd renewed([this] { evaluationChanged(); });
    return callLibrary("free", nameNow(*this), [&] { return m_nodeFree(this, &m_data); });
}

void* Node::data() const {
    return m_data;
}

} // namespace qv::kelvo_sdk::impl
