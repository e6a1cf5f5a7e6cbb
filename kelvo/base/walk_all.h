#pragma once

#include <utility>
#include <vector>

namespace qv {

/// Walks a graph without recursion: calls `visit(step, add)` for the first step and for each step
/// passed to `add(step)`, the last added first.
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

} // namespace qv
