#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk {

/// One frame of an evaluation: the output that is evaluated, its node, and the calling frame.
///
/// It lives on the stack of the read that made it; a callback passes it on to its own reads.
class QV_EXPORT EvalCtx {
public:
    /// Makes the first frame of an evaluation, without node and output; all later frames get
    /// `user`.
    explicit EvalCtx(void* user = nullptr) noexcept : m_user(user) {}
    /// Makes a frame that evaluates `output` of `node` for `caller`, which may be null.
    EvalCtx(interfaces::INode* node, interfaces::IOutput* output, const EvalCtx* caller) noexcept;

    /// Returns null in a first frame, as does `output`.
    [[nodiscard]] interfaces::INode* node() const noexcept { return m_node; }
    [[nodiscard]] interfaces::IOutput* output() const noexcept { return m_output; }
    [[nodiscard]] const EvalCtx* caller() const noexcept { return m_caller; }
    [[nodiscard]] void* user() const noexcept { return m_user; }
    [[nodiscard]] u32 depth() const noexcept { return m_depth; }
    /// Returns the first frame of the evaluation, which may be this one.
    [[nodiscard]] const EvalCtx* first() const noexcept { return m_first ? m_first : this; }

    /// Tells whether this frame or one of its callers evaluates `output`.
    [[nodiscard]] bool asks(const interfaces::IOutput* output) const noexcept;
    /// Returns the outputs under evaluation, outermost first: "a.out -> b.out".
    [[nodiscard]] String path() const;

private:
    interfaces::INode* m_node = nullptr;
    interfaces::IOutput* m_output = nullptr;
    const EvalCtx* m_caller = nullptr;
    void* m_user = nullptr;
    u32 m_depth = 0;
    const EvalCtx* m_first = nullptr;
};

} // namespace qv::kelvo_sdk
