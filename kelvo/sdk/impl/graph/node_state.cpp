// ---- State -----------------------------------------------------------------------------
// Every change sets the flag before any notification. Only setDirty(false), and a query that
// finds nothing dirty, clear it.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"

#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/known_names.h"
#include "kelvo/sdk/impl/graph/node_iterator.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/node.h"

#include <atomic>
#include <span>
#include <utility>
#include <vector>

namespace qv::kelvo_sdk {

ds::Vector<Node> Node::dependencies() const {
    return get() ? impl::handlesOn(get()->dependencies(false, false)) : ds::Vector<Node>();
}

} // namespace qv::kelvo_sdk

namespace qv::kelvo_sdk::impl {

namespace {

// Visits nodes depth first. Not recursive, because a long chain would overflow the stack. Pending
// nodes are in reverse order, so that the next one is the last.
class DependencyWalk {
public:
    explicit DependencyWalk(const Node& start) : m_reader(&start), m_seen(m_reader) {}

    void leaveFor(const Node& node) { m_pending.push_back(m_reader.spotOf(node)); }
    void passOver(const Node& node) { m_seen.add(m_reader.spotOf(node), 0); }
    // Returns the nodes that have not been visited yet, in the order of the walk.
    const std::vector<Node*>& collect(bool downstream) {
        std::vector<Node*>& found = m_seen.found();
        run(downstream, [&found](Node& node) {
            found.push_back(&node);
            return true;
        });
        return found;
    }

    // Calls `visit(Node&)` for each node not visited before and continues to its neighbours. Stops
    // when `visit` returns false. Follows single dependencies directly, because the stack would
    // cost more than the rest of the step.
    template<typename Visit>
    void run(bool downstream, const Visit& visit) {
        while (!m_pending.empty()) {
            Spot spot = m_pending.back();
            m_pending.pop_back();
            while (m_seen.add(spot, 0).isNew) {
                if (!visit(m_reader.nodeAt(spot))) return;
                if (downstream) leaveForLeads(spot, LeadKind::Readers);
                const LeadRow* row = m_reader.row(LeadKind::Dependencies, spot);
                if (!row || row->size() != 1) {
                    leaveForLeads(spot, LeadKind::Dependencies);
                    break;
                }
                spot = Spot(NodeNumber{row->begin()->to});
            }
        }
    }

private:
    // Among the readers of a node, follows connections only, not links.
    void leaveForLeads(Spot from, LeadKind kind) {
        m_reader.forEachLeadBackward(from, kind, [&](Spot next, bool isConnection) {
            if (isConnection || kind == LeadKind::Dependencies) m_pending.push_back(next);
        });
    }

    GraphReader m_reader;
    WalkMarks m_seen;
    std::vector<Spot> m_pending;
};

// Tells whether `isWanted(const Node&)` holds for a node or one of its dependencies.
template<typename Wanted>
bool finds(const Node& start, const Wanted& isWanted) {
    DependencyWalk walk(start);
    walk.leaveFor(start);
    bool found = false;
    walk.run(false, [&](const Node& node) { return !(found = isWanted(node)); });
    return found;
}

void appendAll(std::span<Node* const> nodes, ds::Vector<INode*>& out) {
    out.reserve(out.size() + nodes.size());
    for (Node* node : nodes)
        out.push_back(node);
}

void collect(DependencyWalk& walk, ds::Vector<INode*>& out, bool downstream) {
    for (const INode* node : out)
        walk.passOver(implOf(*node));
    appendAll(walk.collect(downstream), out);
}

} // namespace

void findDeps(INode* node, ds::Vector<INode*>& out, bool downstream) {
    if (!node) return;
    DependencyWalk walk(*implOf(node));
    walk.leaveFor(*implOf(node));
    collect(walk, out, downstream);
}

void findDeps(IInput* input, ds::Vector<INode*>& out, bool downstream) {
    std::vector<Node*> found;
    const auto add = [&found](const Input& from) {
        for (INode* node : {linkedNode(from), sourceNode(from)})
            if (node) found.push_back(implOf(node));
    };
    if (!input) return;
    InputWalk inside(implOf(input)->members());
    while (const Input* member = inside.next())
        add(*member);
    add(*implOf(input));
    if (found.empty()) return;
    DependencyWalk walk(*found.front());
    for (auto node = found.rbegin(); node != found.rend(); ++node)
        walk.leaveFor(**node);
    collect(walk, out, downstream);
}

namespace {

// Outside of scenes, asks each node by its virtual function, which a derived class may override.
// Not inlined, so that queries which the flag answers need no stack frame for the walk.
[[gnu::noinline]] bool dependsOnDirty(const Node& node) {
    if (sceneAround(node))
        return finds(node, [&](const Node& each) { return &each != &node && each.isDirty(); });
    const auto nodes = RefersTo<NodeIterator>::adopt(node.dependencies(false, false));
    for (const INode* each = nodes->first(); each; each = nodes->next())
        if (each->dirty(false)) return true;
    return false;
}

} // namespace

// Several threads may call this at once; each stores what it found in the flag.
bool Node::dirty(bool deep) const {
    const std::atomic_ref<bool> flag(m_dirty);
    if (flag.load(std::memory_order_relaxed)) return true;
    if (m_scene && implOf(m_scene)->isDirtyStateCached())
        return flag.load(std::memory_order_relaxed);
    const bool isDirty = deep && dependsOnDirty(*this);
    if (flag.load(std::memory_order_relaxed) != isDirty)
        flag.store(isDirty, std::memory_order_relaxed);
    return isDirty;
}

void Node::setDirty(bool dirty) {
    auto* scene = implOf(m_scene);
    if (dirty) {
        markDirty();
        if (scene) scene->setDirty(true);
    } else if (m_dirty) {
        if (scene) scene->nodeCleaning(*this, {});
        m_dirty = false;
    }
}

// The scene of a node that is being destroyed may no longer exist.
void Node::markDirty(const Input* changed) const {
    const bool wasDirty = std::exchange(m_dirty, true);
    if (m_scene && !m_destroying) implOf(m_scene)->nodeChanged(*this, changed, wasDirty, {});
}

void Node::described() const noexcept {
    if (m_scene && !m_destroying) implOf(m_scene)->nodeDescribed(*this, {});
}

NodeIterator* Node::dependencies(bool downstream, bool flag) const {
    DependencyWalk walk(*this);
    walk.leaveFor(*this);
    ds::Vector<INode*> found;
    // The first is this node.
    appendAll(std::span(walk.collect(downstream)).subspan(1), found);
    // The nodes are unique already.
    return new NodeIterator(std::move(found), flag, false);
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
        // The constant must keep its 32 bits, because stored hashes depend on it.
        if (const u64 h = input->hashWith(skip))
            seed ^= h + 0x9e3779b9u + (seed << 6) + (seed >> 2);
    }
    return seed;
}

} // namespace qv::kelvo_sdk::impl
