#pragma once

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/value/value.h"

#include <memory>
#include <vector>

namespace qv::kelvo_sdk::impl {

class EvalLevel;
class Output;

/// Prevents long chains from overflowing the stack. When an evaluation has used much of the stack,
/// this evaluates all outputs upstream of the node first, from the far end on, each once. Callbacks
/// that read them during the lifetime of this object get the stored results, which takes no further
/// stack. Some of the outputs may be evaluated although no callback reads them.
class UpstreamEvaluation {
public:
    /// Tells whether the level has used so much stack, beyond the last such object on this thread,
    /// that another object is due.
    [[nodiscard]] static bool isDue(const EvalLevel& level) noexcept;
    explicit UpstreamEvaluation(const EvalLevel& level);
    ~UpstreamEvaluation();
    UpstreamEvaluation(const UpstreamEvaluation&) = delete;
    UpstreamEvaluation& operator=(const UpstreamEvaluation&) = delete;

    /// Returns the stored result for a read on this thread, a Null value for a failed evaluation;
    /// null when no result is stored.
    [[nodiscard]] static const Value* result(const Output& output, const EvalCtx* caller) noexcept;
    /// Call before an output leaves its node: it has no stored result any more, and is not
    /// evaluated by this thread's objects.
    static void forget(const Output& output) noexcept;

private:
    /// The lists of one object. The next one reuses their memory.
    struct Room;

    [[nodiscard]] bool serves(const EvalCtx* caller) const noexcept;
    void evaluateAll();
    [[nodiscard]] Value evaluate(u64 place);
    void fetch(u64 place) const noexcept;
    [[nodiscard]] const Output* waiting(u64 place) const noexcept;
    [[nodiscard]] const Value* ownResult(const Output& output) const noexcept;

    EvalCtx& m_frame;
    UpstreamEvaluation* const m_outer;
    u64 m_stackUsed;
    std::unique_ptr<Room> m_room;
};

} // namespace qv::kelvo_sdk::impl
