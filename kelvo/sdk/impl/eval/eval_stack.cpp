#include "kelvo/sdk/impl/eval/eval_stack.h"

#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/i_node.h"
#include "kelvo/sdk/interfaces/i_output.h"

namespace qv::kelvo_sdk::impl {

namespace {

thread_local EvalLevel* t_top = nullptr;
thread_local u64 t_refusals = 0;

// Uses the frame's address because sanitizers may place local variables outside of the stack.
const char* placeOnStack() noexcept {
    return static_cast<const char*>(__builtin_frame_address(0));
}

} // namespace

EvalLevel::EvalLevel(EvalCtx& frame) noexcept
    : m_frame(frame),
      m_below(t_top),
      m_place(placeOnStack()),
      m_base(m_below ? m_below->m_base : m_place),
      m_count(m_below ? m_below->m_count + 1 : 1) {
    t_top = this;
}

EvalLevel::~EvalLevel() {
    t_top = m_below;
}

bool EvalLevel::isAnyOnThread() noexcept {
    return t_top != nullptr;
}

bool EvalLevel::isAskedOnThread(const interfaces::IOutput& output) noexcept {
    return nearest(t_top, &output) != nullptr;
}

void EvalLevel::noteRefusal() noexcept {
    ++t_refusals;
}

u64 EvalLevel::refusals() noexcept {
    return t_refusals;
}

u64 EvalLevel::stackUsed() const noexcept {
    return static_cast<u64>(m_base > m_place ? m_base - m_place : m_place - m_base);
}

void EvalLevel::nodeLeft(const interfaces::IOutput& output, const String& nodeName) noexcept {
    EvalLevel* level = nearest(t_top, &output);
    for (; level; level = nearest(level->m_below, &output))
        level->m_nodeName = nodeName;
}

String EvalLevel::nodeName() const {
    const interfaces::INode* node = m_frame.output()->node();
    return node ? node->name() : m_nodeName;
}

EvalLevel* EvalLevel::nearest(EvalLevel* from, const interfaces::IOutput* output) noexcept {
    while (from && from->m_frame.output() != output)
        from = from->m_below;
    return from;
}

const EvalLevel* EvalLevel::sameBelow() const noexcept {
    return nearest(m_below, m_frame.output());
}

String EvalLevel::path(const EvalLevel& from) const {
    ds::Vector<const interfaces::IOutput*> asked;
    for (const EvalLevel* level = this; level; level = level->m_below) {
        asked.push_back(level->m_frame.output());
        if (level == &from) break;
    }
    String text;
    for (u64 i = asked.size(); i-- > 0;) {
        if (!text.isEmpty()) text += " -> ";
        text += asked[i]->path().view();
    }
    return text;
}

} // namespace qv::kelvo_sdk::impl
