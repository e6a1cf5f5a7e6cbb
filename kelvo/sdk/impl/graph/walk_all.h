#pragma once

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Goes through things that lead to others, without recursion: calls `visit(step, add)` for the
/// first step and for each that was given to `add(step)`, the one that was added last first.
template<typename Step, typename Visit>
void walkAll(Step first, const Visit& visit) {
    std::vector<Step> pending;
    pending.push_back(std::move(first));
    const auto add = [&](Step step) { pending.push_back(std::move(step)); };
    while (!pending.empty()) {
        const Step step = std::move(pending.back());
        pending.pop_back();
        visit(step, add);
    }
}

} // namespace qv::kelvo_sdk::impl
