#include "kelvo/sdk/impl/eval/eval_hashes.h"

#include "kelvo/sdk/impl/graph/graph_reader.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"
#include "kelvo/sdk/impl/graph/scene.h"

#include "kelvo/base/hash.h"
#include "kelvo/base/pointer_marks.h"

#include <algorithm>
#include <new>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

u64 kindOf(const Input& input) noexcept {
    return static_cast<u64>(input.type()) << 8 | static_cast<u64>(input.elementType());
}

// Returns the hash of everything that a callback can read in the node itself. Without a callback,
// the values of the outputs are included.
u64 ownHash(const Node& node) {
    static const StringVector noTypes;
    const StringVector bases = node.bases();
    u64 hash = hashMix(node.name().hash(), node.type().hash());
    for (const String& base : std::as_const(bases))
        hash = hashMix(hash, base.hash());
    hash = hashMix(hash, reinterpret_cast<u64>(node.evalCallback()));
    hash = hashMix(hash, reinterpret_cast<u64>(node.data()));
    for (const IInput* next : node.inputs()) {
        const auto* input = implOf(next);
        hash = hashMix(hashMix(hash, input->nameHash()), kindOf(*input));
        hash = hashMix(hash, input->hashWith(noTypes));
    }
    if (node.evalCallback()) return hash;
    for (const IOutput* next : node.outputs()) {
        const auto* output = implOf(next);
        hash = hashMix(hashMix(hash, output->nameHash()), output->value().hash());
    }
    return hash;
}

} // namespace

// Computes the missing hashes of a node and its dependencies, without recursion. Links may form
// cycles: nodes that reach each other share one sum, which does not depend on their order. Uses
// Tarjan's algorithm ("Depth-first search and linear graph algorithms", 1972).
class EvalHashes::Walk {
public:
    explicit Walk(EvalHashes& hashes) : m_hashes(hashes) {}

    void run(const Node& start) {
        enter(start);
        while (!m_path.empty()) {
            const u64 place = m_path.back();
            if (m_found[place].next < m_found[place].end)
                follow(place, *m_below[m_found[place].next++]);
            else
                leave(place);
        }
    }

private:
    struct Found {
        const Node* node;
        u64 hash;
        // The lowest known index of a node that this node reaches and is reached by.
        u64 low;
        // The node's dependencies in `m_below`, from `begin` to `end`; `next` is to be visited.
        u64 next;
        u64 begin;
        u64 end;
        bool isOutside;
    };

    void enter(const Node& node) {
        const u64 place = m_found.size();
        m_places.add(&node, static_cast<i64>(place));
        const u64 own = hashMix(ownHash(node), m_hashes.renewalOf(node));
        Found found{&node, own, place, m_below.size(), m_below.size(), 0, false};
        collect(node, found);
        found.end = m_below.size();
        m_found.push_back(found);
        m_path.push_back(place);
        m_open.push_back(place);
    }

    void collect(const Node& node, Found& found) {
        m_lists.assign(1, &node.inputs());
        while (!m_lists.empty()) {
            const ds::Vector<IInput*>& inputs = *m_lists.back();
            m_lists.pop_back();
            for (const IInput* next : inputs) {
                const auto& input = *implOf(next);
                // A callback may read the stored value instead of the source's.
                if (input.sourceOutput()) found.hash = hashMix(found.hash, input.value().hash());
                addDependency(sourceNode(input), found);
                addDependency(linkedNode(input), found);
                if (!input.members().empty()) m_lists.push_back(&input.members());
            }
        }
    }

    void addDependency(const INode* below, Found& found) {
        if (!below) return;
        if (m_hashes.m_scene.contains(*below))
            m_below.push_back(implOf(below));
        else
            found.isOutside = true;
    }

    void follow(u64 place, const Node& below) {
        if (m_hashes.find(below)) return;
        if (const i64* met = m_places.find(&below))
            m_found[place].low = std::min(m_found[place].low, static_cast<u64>(*met));
        else
            enter(below);
    }

    void leave(u64 place) {
        m_path.pop_back();
        const u64 low = m_found[place].low;
        if (!m_path.empty()) {
            Found& reader = m_found[m_path.back()];
            reader.low = std::min(reader.low, low);
        }
        if (low == place) settle(place);
    }

    // Sets the hashes of the open nodes from `first` on, which all reach each other.
    void settle(u64 first) {
        u64 sum = 0;
        u64 count = 0;
        bool isOutside = false;
        for (u64 i = m_open.size(); i-- > 0 && m_open[i] >= first; ++count) {
            Found& member = m_found[m_open[i]];
            addBelow(member);
            sum += member.hash;
            isOutside = isOutside || member.isOutside;
        }
        for (; count > 0; --count) {
            const Found& member = m_found[m_open.back()];
            m_open.pop_back();
            m_hashes.m_known[member.node->number()] = {member.node,
                                                       isOutside ? 0 : hashMix(member.hash, sum)};
        }
    }

    // Adds the hashes of dependencies outside of the cycle; those inside have none yet.
    void addBelow(Found& member) const {
        for (u64 i = member.begin; i < member.end; ++i) {
            const EvalHashes::Known* known = m_hashes.find(*m_below[i]);
            if (!known) continue;
            member.hash = hashMix(member.hash, known->hash);
            member.isOutside = member.isOutside || known->hash == 0;
        }
    }

    EvalHashes& m_hashes;
    // Maps nodes to indexes of `m_found`.
    PointerMarks<Node> m_places;
    std::vector<Found> m_found;
    std::vector<const Node*> m_below;
    std::vector<const ds::Vector<IInput*>*> m_lists;
    std::vector<u64> m_path;
    std::vector<u64> m_open;
};

u64 EvalHashes::of(const Node& node) {
    if (const Known* known = find(node)) return known->hash;
    if (!m_scene.contains(node)) return 0;
    if (m_known.size() < m_scene.graph().end()) m_known.resize(m_scene.graph().end());
    try {
        Walk(*this).run(node);
    } catch (...) {
        m_known.clear(); // It may contain a part of a cycle only.
        throw;
    }
    return find(node)->hash;
}

const EvalHashes::Known* EvalHashes::find(const Node& node) const noexcept {
    if (node.number() >= m_known.size()) return nullptr;
    const Known& known = m_known[node.number()];
    return known.node == &node ? &known : nullptr;
}

bool EvalHashes::erase(const Node& node) noexcept {
    const Known* known = find(node);
    if (known) m_known[node.number()] = {};
    return known != nullptr;
}

// A node without a hash has no readers with one.
void EvalHashes::forget(const Node& node) noexcept {
    if (erase(node)) forgetReaders(node);
}

// When memory is out, renews all nodes.
void EvalHashes::renew(const Node& node) noexcept {
    if (!m_scene.contains(node)) return;
    ++m_renewalCount;
    try {
        m_renewals[&node] = m_renewalCount;
    } catch (const std::bad_alloc&) {
        m_renewalOfAll = m_renewalCount;
        m_known.clear();
    }
    forget(node);
}

u64 EvalHashes::renewalOf(const Node& node) const noexcept {
    const auto found = m_renewals.find(&node);
    return found == m_renewals.end() ? m_renewalOfAll : std::max(found->second, m_renewalOfAll);
}

void EvalHashes::nodeAdded(const Node& node) noexcept {
    erase(node);
    forgetReaders(node);
}

// When memory is out, forgets all hashes.
void EvalHashes::forgetReaders(const Node& from) noexcept {
    try {
        visitDownstream(from, m_pending, [this](const Node& reader) { return erase(reader); });
    } catch (const std::bad_alloc&) {
        m_known.clear();
    }
}

} // namespace qv::kelvo_sdk::impl
