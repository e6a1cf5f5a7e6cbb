#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Visits a list of inputs and all their parts, at any depth, in order, parents first. Works
/// without recursion: inputs may nest deeper than the stack allows. Between two steps the parts of
/// the last input may change, but no list around that input.
class InputWalk {
public:
    explicit InputWalk(const ds::Vector<IInput*>& list) : m_at{&list} {}

    /// Returns null at the end.
    [[nodiscard]] Input* next() {
        while (m_at.next >= m_at.list->size()) {
            if (m_outer.empty()) return nullptr;
            leave();
        }
        auto* input = implOf((*m_at.list)[m_at.next++]);
        m_depth = m_outer.size();
        if (!input->members().empty()) {
            m_outer.push_back(m_at);
            m_at = {&input->members()};
        }
        return input;
    }

    /// Returns the number of inputs around the last input.
    [[nodiscard]] u64 depth() const noexcept { return m_depth; }
    /// Skips the parts of the last input.
    void leaveOut() noexcept {
        if (m_at.next == 0 && !m_outer.empty()) leave();
    }

private:
    struct Level {
        const ds::Vector<IInput*>* list;
        u64 next = 0;
    };

    void leave() noexcept {
        m_at = m_outer.back();
        m_outer.pop_back();
    }

    Level m_at;
    std::vector<Level> m_outer;
    u64 m_depth = 0;
};

} // namespace qv::kelvo_sdk::impl
