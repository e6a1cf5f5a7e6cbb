#include "kelvo/sdk/eval_ctx.h"

#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/i_output.h"

namespace qv::kelvo_sdk {

EvalCtx::EvalCtx(interfaces::INode* node, interfaces::IOutput* output,
                 const EvalCtx* caller) noexcept
    : m_node(node),
      m_output(output),
      m_caller(caller),
      m_user(caller ? caller->m_user : nullptr),
      m_depth(caller ? caller->m_depth + 1 : 0),
      m_first(caller ? caller->first() : nullptr) {}

bool EvalCtx::asks(const interfaces::IOutput* output) const noexcept {
    for (const EvalCtx* frame = this; frame; frame = frame->m_caller) {
        if (frame->m_output == output) return true;
    }
    return false;
}

String EvalCtx::path() const {
    ds::Vector<const interfaces::IOutput*> asked;
    for (const EvalCtx* frame = this; frame; frame = frame->m_caller) {
        if (frame->m_output) asked.push_back(frame->m_output);
    }
    String text;
    for (u64 i = asked.size(); i-- > 0;) {
        if (!text.isEmpty()) text += " -> ";
        text += asked[i]->path().view();
    }
    return text;
}

} // namespace qv::kelvo_sdk
