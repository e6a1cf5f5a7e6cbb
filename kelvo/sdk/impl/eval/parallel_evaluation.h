#pragma once

#include "kelvo/base/pointer_marks.h"
#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/impl/value/value.h"

#include <atomic>
#include <memory>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Output;

/// Evaluates outputs on several threads, each once and after those that it waits for. While a
/// thread evaluates, reads on it get the results that are ready. The scene must not be edited
/// meanwhile, and the results are the same for any number of threads.
class ParallelEvaluation {
public:
    ParallelEvaluation() = default;
    ParallelEvaluation(const ParallelEvaluation&) = delete;
    ParallelEvaluation& operator=(const ParallelEvaluation&) = delete;

    /// Makes room for that many outputs.
    void reserve(u64 outputs);
    /// Adds an output unless it was added before, and returns its place.
    u32 add(Output& output);
    /// The output at `place` waits for the one at `source`.
    void wait(u32 place, u32 source) { m_waits.push_back({source, place}); }

    /// Evaluates all outputs, except those that wait for each other. Uses at most `threads`
    /// threads, 0 for as many as the machine runs at once. Throws std::bad_alloc.
    void run(u32 threads);

    /// Returns the result of an output, a Null value for a failed evaluation; null when it was not
    /// evaluated (yet).
    [[nodiscard]] const Value* result(const Output& output) const noexcept;
    /// Returns the result for a read on this thread, null when there is none. Reads with a pointer
    /// of the user get none, because results may depend on its data.
    [[nodiscard]] static const Value* known(const Output& output, const EvalCtx* caller) noexcept;

private:
    class Queue;
    class OnThread;
    struct Wait {
        u32 source;
        u32 place;
    };
    struct Task {
        Output* output;
        Value result = {};
        // The tasks that wait for this one, from `m_waiting[firstWaiting]` on.
        u32 firstWaiting = 0;
        u32 waitingCount = 0;
    };

    void lineUp();
    [[nodiscard]] u64 countReachable() const;
    void work(Queue& queue);
    void fetchAhead(u32 place) const noexcept;
    void evaluate(u32 place, std::vector<u32>& ready);

    std::vector<Task> m_tasks;
    PointerMarks<Output> m_places;
    std::vector<Wait> m_waits;
    std::vector<u32> m_waiting;
    // By place: the number of outputs that a task still waits for, and whether it is done.
    std::unique_ptr<std::atomic<u32>[]> m_left;
    std::unique_ptr<std::atomic<bool>[]> m_isDone;
};

} // namespace qv::kelvo_sdk::impl
