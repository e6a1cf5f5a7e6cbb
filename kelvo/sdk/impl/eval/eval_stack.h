#pragma once

#include "kelvo/sdk/eval_ctx.h"

namespace qv::kelvo_sdk::impl {

/// One call of an eval callback on the stack of its thread; lives as long as the call. The levels
/// of a thread are linked whether or not its callbacks pass their frame on to the reads they make.
class EvalLevel {
public:
    explicit EvalLevel(const EvalCtx& frame) noexcept;
    ~EvalLevel();
    EvalLevel(const EvalLevel&) = delete;
    EvalLevel& operator=(const EvalLevel&) = delete;

    /// Tells whether a callback is being called on this thread.
    [[nodiscard]] static bool isAnyOnThread() noexcept;
    /// Tells whether one is being called on this thread for that output.
    [[nodiscard]] static bool isAskedOnThread(const interfaces::IOutput& output) noexcept;
    /// Tells that an evaluation is refused for where it is asked from: it would be endless, or
    /// there is no stack for it.
    static void noteRefusal() noexcept;
    /// Returns how many there were on this thread. What saw one may come out otherwise elsewhere.
    [[nodiscard]] static u64 refusals() noexcept;
    /// Returns how many bytes of stack lie between the outermost level and this one.
    [[nodiscard]] u64 stackUsed() const noexcept;
    /// Returns how many levels stand on each other, this one included.
    [[nodiscard]] u64 count() const noexcept { return m_count; }
    [[nodiscard]] const EvalCtx& frame() const noexcept { return m_frame; }
    /// Returns the nearest level below that asks for the same output, or null.
    [[nodiscard]] const EvalLevel* sameBelow() const noexcept;
    /// Returns the outputs asked for from `from`, a level below, up to this one.
    [[nodiscard]] String path(const EvalLevel& from) const;

private:
    [[nodiscard]] static const EvalLevel* nearest(const EvalLevel* from,
                                                  const interfaces::IOutput* output) noexcept;

    const EvalCtx& m_frame;
    const EvalLevel* m_below;
    const char* m_place;
    const char* m_base;
    u64 m_count;
};

} // namespace qv::kelvo_sdk::impl
