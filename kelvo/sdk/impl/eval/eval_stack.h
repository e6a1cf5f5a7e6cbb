#pragma once

#include "kelvo/sdk/eval_ctx.h"

namespace qv::kelvo_sdk::impl {

/// One call of an eval callback on the stack of its thread; lives as long as the call. The levels
/// of a thread are linked even if callbacks do not pass their frame on to their reads.
class EvalLevel {
public:
    explicit EvalLevel(EvalCtx& frame) noexcept;
    ~EvalLevel();
    EvalLevel(const EvalLevel&) = delete;
    EvalLevel& operator=(const EvalLevel&) = delete;

    /// Tells whether this thread is in a callback.
    [[nodiscard]] static bool isAnyOnThread() noexcept;
    /// Tells whether this thread is in a callback for that output.
    [[nodiscard]] static bool isAskedOnThread(const interfaces::IOutput& output) noexcept;
    /// Counts a refused evaluation, which would be endless or for which the stack is too short.
    static void noteRefusal() noexcept;
    /// Returns the number of refusals on this thread. A result that a refusal influenced must not
    /// be cached, because it may differ when read from elsewhere.
    [[nodiscard]] static u64 refusals() noexcept;
    /// Call before an output leaves the node: keeps the node's name for errors of callbacks that
    /// this thread calls for the output.
    static void nodeLeft(const interfaces::IOutput& output, const String& nodeName) noexcept;
    /// Returns the bytes of stack between the outermost level and this one.
    [[nodiscard]] u64 stackUsed() const noexcept;
    /// Returns the number of levels from the outermost to this one.
    [[nodiscard]] u64 count() const noexcept { return m_count; }
    [[nodiscard]] EvalCtx& frame() const noexcept { return m_frame; }
    /// Returns the name of the node, even after its end.
    [[nodiscard]] String nodeName() const;
    /// Returns the nearest level below that evaluates the same output, or null.
    [[nodiscard]] const EvalLevel* sameBelow() const noexcept;
    /// Returns the outputs from `from`, a level below, up to this level: "a.out -> b.out".
    [[nodiscard]] String path(const EvalLevel& from) const;

private:
    [[nodiscard]] static EvalLevel* nearest(EvalLevel* from,
                                            const interfaces::IOutput* output) noexcept;

    EvalCtx& m_frame;
    EvalLevel* m_below;
    const char* m_place;
    const char* m_base;
    u64 m_count;
    // Empty while the output has its node.
    String m_nodeName;
};

} // namespace qv::kelvo_sdk::impl
