#pragma once

#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/input_extras.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Goes through a list of inputs and all that they hold, at any depth, in order, parents first;
/// without recursion: inputs may be nested deeper than the stack goes. Between two steps the inputs
/// met last may change what they hold, but no list that holds them.
class InputWalk {
public:
    explicit InputWalk(const ds::Vector<IInput*>& list) : m_at{&list} {}

    /// Returns null when there is no further one.
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

    /// Returns in how many others the input met last stands.
    [[nodiscard]] u64 depth() const noexcept { return m_depth; }
    /// Passes over what the input met last holds.
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
