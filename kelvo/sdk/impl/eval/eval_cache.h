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

/// The results of a scene's outputs, by output and by hash of what they depend on. Bounded in
/// bytes: what was not asked for longest goes first. Results of removed nodes age out, and serve
/// again if the node comes back as it was. Several threads may evaluate at once.
class EvalCache : public SceneFollower {
public:
    using Figures = interfaces::EvalCacheFigures;

    /// The scene must outlive the cache.
    EvalCache(const Scene& scene, u64 maxBytes, bool isChecked);

    /// A checked cache has each known result evaluated again, once in each evaluation.
    [[nodiscard]] bool isChecked() const noexcept { return m_isChecked; }
    void setLimits(u64 maxBytes, bool isChecked);
    [[nodiscard]] Figures figures() const;

    /// Returns what the result of an output is known by now, or 0 when it cannot be kept.
    [[nodiscard]] u64 keyOf(const Output& output);
    /// Gives the result kept under a key; `isSettled`, if given, tells whether it was evaluated or
    /// checked since `beginChecks`.
    [[nodiscard]] bool find(u64 key, const Output& output, Value& result,
                            bool* isSettled = nullptr);
    /// Keeps a result, in place of an earlier one.
    void store(u64 key, const Output& output, const Value& result);
    /// An evaluation begins that trusts none of the results kept before.
    void beginChecks();

    void nodeEntered(Node& node) noexcept override;
    void nodeTakenOut(Node& node) noexcept override { forget(node); }
    void nodeChanged(const Node& node, bool /*wasDirty*/) noexcept override { forget(node); }
    void resultsChanged(const Node& node) noexcept override { forget(node); }
    /// No earlier result serves again.
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
    // The one asked for last comes first.
    Entries m_entries;
    std::unordered_map<u64, Entries::iterator> m_byKey;
    Figures m_figures;
    u64 m_maxBytes;
    u64 m_round = 0;
    bool m_isChecked;
};

} // namespace qv::kelvo_sdk::impl
