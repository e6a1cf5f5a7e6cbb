// ---- Hash ------------------------------------------------------------------------------
// The hash of the value, cached until the value changes, unless a node takes part in it.

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"

#include "kelvo/sdk/impl/graph/input_extras.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/base/hash.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

namespace {

// A node counts by its name, or by its type if names are skipped; nodes of skipped types are
// ignored.
u64 nodeHash(const INode* node, const StringVector& skip) {
    static const String nameKey("__node_name__");
    if (!node || node->isTypeOf(skip)) return 0;
    return skip.contains(nameKey, false) ? node->type().hash() : node->name().hash();
}

} // namespace

u64 Input::hashWith(const StringVector& skip) const {
    if (const u64 known = keptHash()) return known;
    return isArray() || isObject() ? membersHash(skip) : plainHash(skip);
}

// Caches the hash unless it depends on other nodes or on `skip`.
u64 Input::plainHash(const StringVector& skip) const {
    if (const Output* source = sourceOutput()) {
        const u64 from = nodeHash(source->node(), skip);
        return hashMix(from, source->ownName().hash());
    }
    if (type() == AttrType::Node) return nodeHash(m_value.asNode(), skip);
    const u64 hash = m_value.hash();
    keepHash(hash);
    return hash;
}

// Works without recursion: each level is an array or object whose members are being added. Caches
// the hash of a level if the hashes of all its members are cached.
u64 Input::membersHash(const StringVector& skip) const {
    struct Level {
        explicit Level(const Input& of)
            : input(&of), hash(hashMix(static_cast<u64>(of.type()), of.members().size())) {}
        void add(const Input& member, u64 memberHash) {
            if (input->isObject()) hash = hashMix(hash, member.m_name.hash());
            hash = hashMix(hash, memberHash);
            isLasting = isLasting && member.keptHash() != 0;
        }
        const Input* input;
        u64 next = 0;
        u64 hash;
        bool isLasting = true;
    };
    if (members().empty()) return 0;
    std::vector<Level> open{Level(*this)};
    for (;;) {
        Level& level = open.back();
        const ds::Vector<IInput*>& list = level.input->members();
        if (level.next < list.size()) {
            const auto& member = implOf(*list[level.next++]);
            if (member.members().empty() || member.keptHash() != 0)
                level.add(member, member.hashWith(skip));
            else
                open.emplace_back(member);
            continue;
        }
        const Level done = level;
        open.pop_back();
        if (done.isLasting) done.input->keepHash(done.hash);
        if (open.empty()) return done.hash;
        open.back().add(*done.input, done.hash);
    }
}

// If an input has no cached hash, none of its parents has one.
void Input::dropHash() noexcept {
    for (Input* input = this; input; input = input->m_parent) {
        if (input->m_hash.load(std::memory_order_relaxed) == 0) return;
        input->m_hash.store(0, std::memory_order_relaxed);
    }
}

} // namespace qv::kelvo_sdk::impl
