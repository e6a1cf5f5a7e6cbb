#pragma once

#include "sdk/impl/input.h"
#include "sdk/impl/input_extras.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Goes through a list of inputs and all that they hold, at any depth, in order, holders first;
/// without recursion: inputs may be nested deeper than the stack goes. Between two steps the inputs
/// met last may change what they hold, but no list that holds them.
class InputWalk {
public:
    explicit InputWalk(const ds::Vector<IInput*>& list) { enter(list); }

    /// Returns null when there is no further one.
    [[nodiscard]] Input* next() {
        while (!m_open.empty()) {
            Level& level = m_open.back();
            if (level.next < level.list->size()) {
                auto* input = static_cast<Input*>((*level.list)[level.next++]);
                enter(input->members());
                return input;
            }
            m_open.pop_back();
        }
        return nullptr;
    }

    /// Passes over what the input met last holds.
    void leaveOut() noexcept {
        if (!m_open.empty() && m_open.back().next == 0) m_open.pop_back();
    }

private:
    struct Level {
        const ds::Vector<IInput*>* list;
        u64 next = 0;
    };

    void enter(const ds::Vector<IInput*>& list) {
        if (!list.empty()) m_open.push_back({&list});
    }

    std::vector<Level> m_open;
};

} // namespace qv::kelvo_sdk::impl
