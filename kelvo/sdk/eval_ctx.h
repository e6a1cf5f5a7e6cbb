#pragma once

#include "kelvo/base/export.h"
#include "kelvo/base/string.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk {

/// One frame of an evaluation: which node is asked for which output, by whom.
///
/// Lives on the stack of the read that made it; a callback passes it on to the reads it makes.
class QV_EXPORT EvalCtx {
public:
    /// The first frame of an evaluation: nobody is asked yet. `user` is handed through.
    explicit EvalCtx(void* user = nullptr) noexcept : m_user(user) {}
    /// A frame that asks `output` of `node` on behalf of `caller` (may be null).
    EvalCtx(interfaces::INode* node, interfaces::IOutput* output, const EvalCtx* caller) noexcept;

    /// Returns null in a first frame, as does `output`.
    [[nodiscard]] interfaces::INode* node() const noexcept { return m_node; }
    [[nodiscard]] interfaces::IOutput* output() const noexcept { return m_output; }
    [[nodiscard]] const EvalCtx* caller() const noexcept { return m_caller; }
    [[nodiscard]] void* user() const noexcept { return m_user; }
    [[nodiscard]] u32 depth() const noexcept { return m_depth; }
    /// Returns the first frame of the evaluation, which may be this one.
    [[nodiscard]] const EvalCtx* first() const noexcept { return m_first ? m_first : this; }

    /// Tells whether this frame or one that led to it already asks for `output`.
    [[nodiscard]] bool asks(const interfaces::IOutput* output) const noexcept;
    /// Returns the outputs asked for, outermost first: "a.out -> b.out".
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
