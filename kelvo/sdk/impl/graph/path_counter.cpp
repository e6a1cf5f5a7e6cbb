#include "kelvo/sdk/impl/graph/path_counter.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace qv::kelvo_sdk::impl {

PathCount PathCounter::count() {
    listAll();
    groupAll();
    // The start, which has number 0, does not count as a path by itself.
    const u64 own = m_space.isGoal(0) ? 1 : 0;
    const u64 found = m_states[0].leaving;
    const bool isFull = found == std::numeric_limits<u64>::max();
    return {isFull ? found : found - own, m_isExact && !isFull};
}

// Leaves out links to the start and from a node to itself, which no path uses.
void PathCounter::listAll() {
    for (Number node = 0; node < m_space.size(); ++node) {
        m_first.push_back(m_followers.size());
        m_space.listFollowers(node, m_followers);
        const auto added = m_followers.begin() + static_cast<std::ptrdiff_t>(m_first.back());
        m_followers.erase(std::remove_if(added, m_followers.end(),
                                         [=](Number next) { return next == 0 || next == node; }),
                          m_followers.end());
    }
    m_first.push_back(m_followers.size());
    m_states.resize(m_space.size());
}

// Finds the groups of nodes that lead to each other (strongly connected components). A group is
// closed after all groups that it leads to.
void PathCounter::groupAll() {
    meet(0);
    while (!m_steps.empty()) {
        Step& step = m_steps.back();
        const Number node = step.node;
        if (step.next < m_first[node + 1]) {
            const Number next = m_followers[step.next++];
            if (m_states[next].met == 0)
                meet(next);
            else if (m_states[next].group == 0)
                m_states[node].earliest = std::min(m_states[node].earliest, m_states[next].met);
            continue;
        }
        m_steps.pop_back();
        const State& left = m_states[node];
        if (!m_steps.empty()) {
            State& before = m_states[m_steps.back().node];
            before.earliest = std::min(before.earliest, left.earliest);
        }
        if (left.earliest == left.met) closeGroup(node);
    }
}

void PathCounter::meet(Number node) {
    m_states[node].met = m_states[node].earliest = ++m_met;
    m_open.push_back(node);
    m_steps.push_back({node, m_first[node]});
}

void PathCounter::closeGroup(Number first) {
    const auto begin = std::ranges::find(m_open.rbegin(), m_open.rend(), first).base() - 1;
    const bool isCycle = m_open.end() - begin > 1;
    ++m_groups;
    bool leads = false;
    for (auto node = begin; node != m_open.end(); ++node) {
        m_states[*node].group = m_groups;
        m_states[*node].isInCycle = isCycle;
    }
    for (auto node = begin; node != m_open.end(); ++node) {
        sumLeaving(*node);
        leads = leads || m_states[*node].leaving != 0;
    }
    // A group without a way to the goal has 0 paths and need not be walked.
    for (auto node = begin; node != m_open.end(); ++node)
        m_states[*node].isCounted = !leads;
    m_open.erase(begin, m_open.end());
}

void PathCounter::sumLeaving(Number node) {
    u64 sum = m_space.isGoal(node) ? 1 : 0;
    for (u64 i = m_first[node]; i < m_first[node + 1]; ++i) {
        const Number next = m_followers[i];
        if (!isWithin(node, next)) add(sum, pathsFrom(next));
    }
    m_states[node].leaving = sum;
}

bool PathCounter::isWithin(Number from, Number to) const noexcept {
    return m_states[from].group == m_states[to].group;
}

u64 PathCounter::pathsFrom(Number node) {
    State& state = m_states[node];
    if (!state.isCounted) {
        state.isCounted = true;
        if (state.isInCycle)
            walkGroup(node);
        else
            state.paths = state.leaving;
    }
    return state.paths;
}

// Walks every path that stays within the group of a node.
void PathCounter::walkGroup(Number from) {
    u64 paths = 0;
    enter(from, paths);
    while (!m_walk.empty()) {
        Step& step = m_walk.back();
        if (step.next == m_first[step.node + 1] || m_stepsLeft == 0) {
            m_isExact = m_isExact && step.next == m_first[step.node + 1];
            m_states[step.node].isOnPath = false;
            m_walk.pop_back();
            continue;
        }
        --m_stepsLeft;
        const Number next = m_followers[step.next++];
        if (isWithin(from, next) && !m_states[next].isOnPath) enter(next, paths);
    }
    m_states[from].paths = paths;
}

void PathCounter::enter(Number node, u64& paths) {
    m_states[node].isOnPath = true;
    m_walk.push_back({node, m_first[node]});
    add(paths, m_states[node].leaving);
}

// The sum stops at the greatest number, which also stands for all greater ones.
void PathCounter::add(u64& sum, u64 number) noexcept {
    const u64 most = std::numeric_limits<u64>::max();
    sum = number < most - sum ? sum + number : most;
}

} // namespace qv::kelvo_sdk::impl
