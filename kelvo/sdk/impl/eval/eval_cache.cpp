#include "kelvo/sdk/impl/eval/eval_cache.h"

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/impl/graph/output.h"

#include "kelvo/base/hash.h"

namespace qv::kelvo_sdk::impl {

EvalCache::EvalCache(const Scene& scene, u64 maxBytes, bool isChecked)
    : m_hashes(scene), m_maxBytes(maxBytes), m_isChecked(isChecked) {}

void EvalCache::setLimits(u64 maxBytes, bool isChecked) {
    const std::lock_guard lock(m_mutex);
    m_maxBytes = maxBytes;
    m_isChecked = isChecked;
    shrinkTo(maxBytes);
}

EvalCache::Figures EvalCache::figures() const {
    const std::lock_guard lock(m_mutex);
    return m_figures;
}

u64 EvalCache::keyOf(const Output& output) {
    const auto* node = implOf(output.node());
    if (!node) return 0;
    const std::lock_guard lock(m_mutex);
    const u64 hash = m_hashes.of(*node);
    if (hash == 0) return 0;
    const u64 kind = static_cast<u64>(output.type()) << 8 | static_cast<u64>(output.dataType());
    return hashMix(hashMix(hash, output.nameHash()), kind);
}

// Compares the address of the output too, because two outputs may have the same key.
bool EvalCache::find(u64 key, const Output& output, Value& result, bool* isSettled) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_byKey.find(key);
    if (found == m_byKey.end() || found->second->output != &output) {
        ++m_figures.misses;
        return false;
    }
    ++m_figures.hits;
    m_entries.splice(m_entries.begin(), m_entries, found->second);
    result = found->second->result;
    if (isSettled) *isSettled = found->second->round == m_round;
    return true;
}

void EvalCache::store(u64 key, const Output& output, const Value& result) {
    // An estimate for a list node, a table node and its share of the table.
    constexpr u64 overhead = sizeof(Entry) + 8 * sizeof(void*);
    const std::lock_guard lock(m_mutex);
    if (const auto old = m_byKey.find(key); old != m_byKey.end()) drop(old->second);
    const u64 bytes = overhead + result.payloadBytes();
    if (bytes > m_maxBytes) return;
    shrinkTo(m_maxBytes - bytes);
    m_entries.push_front({key, &output, result, bytes, m_round});
    try {
        m_byKey.emplace(key, m_entries.begin());
    } catch (...) {
        m_entries.pop_front();
        throw;
    }
    ++m_figures.entries;
    m_figures.bytes += bytes;
}

void EvalCache::beginChecks() {
    const std::lock_guard lock(m_mutex);
    ++m_round;
}

void EvalCache::forget(const Node& node) noexcept {
    const std::lock_guard lock(m_mutex);
    m_hashes.forget(node);
}

void EvalCache::callbacksChanged(const Node& node) noexcept {
    const std::lock_guard lock(m_mutex);
    m_hashes.renew(node);
}

void EvalCache::nodeEntered(Node& node) noexcept {
    const std::lock_guard lock(m_mutex);
    m_hashes.nodeAdded(node);
}

void EvalCache::drop(Entries::iterator entry) {
    m_figures.bytes -= entry->bytes;
    --m_figures.entries;
    m_byKey.erase(entry->key);
    m_entries.erase(entry);
}

void EvalCache::shrinkTo(u64 bytes) {
    while (m_figures.bytes > bytes)
        drop(std::prev(m_entries.end()));
}

} // namespace qv::kelvo_sdk::impl
