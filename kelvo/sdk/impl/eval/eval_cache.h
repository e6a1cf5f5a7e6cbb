#pragma once

#include "kelvo/sdk/impl/eval/eval_hashes.h"
#include "kelvo/sdk/impl/graph/scene_follower.h"
#include "kelvo/sdk/impl/value/value.h"
#include "kelvo/sdk/interfaces/eval_cache_figures.h"

#include <list>
#include <mutex>
#include <unordered_map>

namespace qv::kelvo_sdk::impl {

class Output;

/// The cached results of a scene's outputs, by output and by the hash of all their dependencies.
/// Limited in bytes: drops the least recently used results first. Keeps results of removed nodes
/// until then, because undo may restore the nodes. Several threads may evaluate at once.
class EvalCache : public SceneFollower {
public:
    using Figures = interfaces::EvalCacheFigures;

    /// The scene must outlive the cache.
    EvalCache(const Scene& scene, u64 maxBytes, bool isChecked);

    /// Tells whether each known result is evaluated again, once in each evaluation, and compared.
    [[nodiscard]] bool isChecked() const noexcept { return m_isChecked; }
    void setLimits(u64 maxBytes, bool isChecked);
    [[nodiscard]] Figures figures() const;

    /// Returns the key for the present result of an output; 0 when it cannot be cached.
    [[nodiscard]] u64 keyOf(const Output& output);
    /// Finds the result with a key; `isSettled`, if given, tells whether that result was evaluated
    /// or checked since `beginChecks`.
    [[nodiscard]] bool find(u64 key, const Output& output, Value& result,
                            bool* isSettled = nullptr);
    /// Stores a result and replaces an earlier one.
    void store(u64 key, const Output& output, const Value& result);
    /// Call at the start of a checked evaluation: earlier results have to be checked again.
    void beginChecks();

    void nodeEntered(Node& node) noexcept override;
    void nodeTakenOut(Node& node) noexcept override { forget(node); }
    void nodeChanged(const Node& node, const Input* /*input*/,
                     bool /*wasDirty*/) noexcept override {
        forget(node);
    }
    void resultsChanged(const Node& node) noexcept override { forget(node); }
    /// Makes all earlier results of the node and its dependents useless.
    void callbacksChanged(const Node& node) noexcept override;

private:
    struct Entry {
        u64 key;
        const Output* output;
        Value result;
        u64 bytes;
        u64 round;
    };
    using Entries = std::list<Entry>;

    void forget(const Node& node) noexcept;
    void drop(Entries::iterator entry);
    void shrinkTo(u64 bytes);

    mutable std::mutex m_mutex;
    EvalHashes m_hashes;
    // The most recently used result is the first.
    Entries m_entries;
    std::unordered_map<u64, Entries::iterator> m_byKey;
    Figures m_figures;
    u64 m_maxBytes;
    u64 m_round = 0;
    bool m_isChecked;
};

} // namespace qv::kelvo_sdk::impl
