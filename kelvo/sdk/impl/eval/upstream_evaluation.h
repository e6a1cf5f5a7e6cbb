#pragma once

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/value/value.h"

#include <unordered_map>

namespace qv::kelvo_sdk::impl {

class EvalLevel;
class Output;

/// Keeps long chains off the stack. Where an evaluation stands high, it evaluates whatever the node
/// is connected to, at any distance, from the far end on; the reads that callbacks make while this
/// object lives find the results, and go no deeper. Also evaluates what the callbacks would not
/// have read, and each output once.
class UpstreamEvaluation {
public:
    /// Tells whether so much stack was taken since the last such object on this thread, or in all,
    /// that another one is due.
    [[nodiscard]] static bool isDue(const EvalLevel& level) noexcept;
    /// Evaluates on behalf of `frame`, that of the level.
    UpstreamEvaluation(const EvalCtx& frame, const EvalLevel& level);
    ~UpstreamEvaluation();
    UpstreamEvaluation(const UpstreamEvaluation&) = delete;
    UpstreamEvaluation& operator=(const UpstreamEvaluation&) = delete;

    /// Returns the result that a read on this thread finds, Null of a failed evaluation; or null.
    [[nodiscard]] static const Value* result(const Output& output, const EvalCtx* caller) noexcept;

private:
    [[nodiscard]] bool serves(const EvalCtx* caller) const noexcept;

    const EvalCtx& m_frame;
    const UpstreamEvaluation* m_outer;
    u64 m_stackUsed;
    std::unordered_map<const Output*, Value> m_results;
};

} // namespace qv::kelvo_sdk::impl
