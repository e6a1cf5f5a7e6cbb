// ---- State -----------------------------------------------------------------------------
// Every change sets the flag before anyone hears of it. Only setDirty(false), and a query that
// finds nothing dirty, clear it.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/node_links.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/index/node_marks.h"
#include "kelvo/sdk/node.h"

#include <atomic>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk {

ds::Vector<Node> Node::dependencies() const {
    return get() ? impl::handlesOn(get()->dependencies(false, false)) : ds::Vector<Node>();
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Visits nodes depth first, without recursion: chains may be longer than the stack is deep. What is
// left to visit stands in reverse, so that the next comes off the end.
class DependencyWalk {
public:
    DependencyWalk(ds::Vector<INode*>& out, bool downstream)
        : m_out(out), m_downstream(downstream) {
        for (const INode* node : out)
            m_seen.add(node, 0);
    }

    void walk(INode* node) {
        leaveFor(node);
        visitAll();
    }
    void walk(IInput* input) {
        if (input) leaveFor(*implOf(input));
        visitAll();
    }

private:
    // A node, or the inputs that an array or object holds.
    struct Step {
        INode* node;
        const ds::Vector<IInput*>* inputs;
    };

    void visitAll() {
        while (!m_pending.empty()) {
            const Step step = m_pending.back();
            m_pending.pop_back();
            if (step.node)
                visit(*step.node);
            else
                leaveFor(*step.inputs);
        }
    }

    void visit(INode& node) {
        if (!m_seen.add(&node, 0).isNew) return;
        m_out.push_back(&node);
        if (m_downstream) leaveReadersFor(node);
        leaveFor(implOf(node).inputs());
    }

    void leaveReadersFor(const INode& node) {
        for (u64 i = node.outputCount(); i-- > 0;) {
            const IOutput* output = node.output(i);
            for (u64 k = output->targetCount(); k-- > 0;)
                leaveFor(output->target(k)->node());
        }
    }

    void leaveFor(const ds::Vector<IInput*>& inputs) {
        for (u64 i = inputs.size(); i-- > 0;)
            leaveFor(*implOf(inputs[i]));
    }

    // Most inputs lead nowhere.
    void leaveFor(const Input& input) {
        leaveFor(sourceNode(input));
        leaveFor(linkedNode(input));
        if (!input.members().empty()) m_pending.push_back({nullptr, &input.members()});
    }

    void leaveFor(INode* node) {
        if (node) m_pending.push_back({node, nullptr});
    }

    ds::Vector<INode*>& m_out;
    bool m_downstream;
    NodeMarks m_seen;
    std::vector<Step> m_pending;
};

} // namespace

void findDeps(INode* node, ds::Vector<INode*>& out, bool downstream) {
    DependencyWalk(out, downstream).walk(node);
}

void findDeps(IInput* input, ds::Vector<INode*>& out, bool downstream) {
    DependencyWalk(out, downstream).walk(input);
}

// Several threads may ask at once; each keeps what it found out.
bool Node::dirty(bool deep) const {
    const std::atomic_ref<bool> flag(m_dirty);
    if (flag.load(std::memory_order_relaxed)) return true;
    if (m_scene && implOf(m_scene)->isDirtyStateCached())
        return flag.load(std::memory_order_relaxed);
    const bool isDirty = deep && dependsOnDirty();
    if (flag.load(std::memory_order_relaxed) != isDirty)
        flag.store(isDirty, std::memory_order_relaxed);
    return isDirty;
}

bool Node::dependsOnDirty() const {
    const auto nodes = RefersTo<NodeIterator>::adopt(dependencies(false, false));
    for (const INode* node = nodes->first(); node; node = nodes->next())
        if (node->dirty(false)) return true;
    return false;
}

void Node::setDirty(bool dirty) {
    auto* scene = implOf(m_scene);
    if (dirty) {
        markDirty();
        if (scene) scene->setDirty(true);
    } else if (m_dirty) {
        if (scene) scene->nodeCleaning(*this);
        m_dirty = false;
    }
}

// The scene of a node that is being destroyed may be gone.
void Node::markDirty() const {
    const bool wasDirty = std::exchange(m_dirty, true);
    if (m_scene && !m_destroying) implOf(m_scene)->nodeChanged(*this, wasDirty);
}

NodeIterator* Node::dependencies(bool downstream, bool flag) const {
    auto* self = const_cast<Node*>(this);
    ds::Vector<INode*> found;
    findDeps(self, found, downstream);
    found.removeAll(self);
    return new NodeIterator(std::move(found), flag, true);
}

u64 Node::hash(StringVector skip) const {
    if (isTypeOf(skip)) return 0;
    const KnownNames& known = knownNames();
    const bool isNameless = skip.indexOf(known.nodeName, false) != noIndex;
    const bool isPathNode = isTypeOf(known.path);
    u64 seed = isNameless ? m_type.hash() : m_name.hash();
    for (const IInput* next : m_inputs) {
        const auto* input = implOf(next);
        if (isPathNode && input->ownName().equals(known.dir)) continue;
        // The constant has 32 bits, and stays so: stored hashes depend on it.
        if (const u64 h = input->hashWith(skip))
            seed ^= h + 0x9e3779b9u + (seed << 6) + (seed >> 2);
    }
    return seed;
}

} // namespace qv::kelvo_sdk::impl
