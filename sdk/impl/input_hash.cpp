#include "sdk/impl/input.h"

#include "sdk/impl/input_extras.h"
#include "sdk/impl/node.h"
#include "sdk/impl/output.h"

#include "base/hash.h"

namespace qv::kelvo_sdk::impl {

namespace {

// A node counts by its name, or by its type where names do not matter; skipped types not at all.
u64 nodeHash(const INode* node, const StringVector& skip) {
    static const String nameKey("__node_name__");
    if (!node || node->isTypeOf(skip)) return 0;
    return skip.contains(nameKey, false) ? node->type().hash() : node->name().hash();
}

u64 nonZero(u64 hash) noexcept {
    return hash != 0 ? hash : 1;
}

} // namespace

u64 Input::hashWith(const StringVector& skip) const {
    if (const u64 known = m_hash.load(std::memory_order_relaxed)) return known;
    bool lasting = true;
    const u64 hash = computeHash(skip, lasting);
    if (lasting) m_hash.store(hash, std::memory_order_relaxed);
    return hash;
}

// `lasting` ends false when the hash depends on other nodes or on `skip`.
u64 Input::computeHash(const StringVector& skip, bool& lasting) const {
    if (const Output* source = sourceOutput()) {
        lasting = false;
        const u64 from = nodeHash(source->node(), skip);
        return nonZero(hashMix(from, source->ownName().hash()));
    }
    if (type() == AttrType::Node) {
        lasting = false;
        return nodeHash(m_value.asNode(), skip);
    }
    if (type() != AttrType::Array && type() != AttrType::Object) return m_value.hash();
    if (members().empty()) return 0;
    u64 hash = hashMix(static_cast<u64>(type()), members().size());
    for (const IInput* input : members()) {
        const auto* member = static_cast<const Input*>(input);
        if (isObject()) hash = hashMix(hash, member->m_name.hash());
        hash = hashMix(hash, member->hashWith(skip));
        if (member->m_hash.load(std::memory_order_relaxed) == 0) lasting = false;
    }
    return nonZero(hash);
}

// What holds an input of unknown hash has none either.
void Input::dropHash() noexcept {
    for (Input* input = this; input; input = input->m_parent) {
        if (input->m_hash.load(std::memory_order_relaxed) == 0) return;
        input->m_hash.store(0, std::memory_order_relaxed);
    }
}

} // namespace qv::kelvo_sdk::impl
