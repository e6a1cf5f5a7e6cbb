#include "kelvo/sdk/impl/graph/path_search.h"

#include "kelvo/base/walk_all.h"

#include <utility>

namespace qv::kelvo_sdk::impl {

PathSearch::PathSearch(PathSpace& space) : m_space(space), m_states(1) {
    enter(0);
}

bool PathSearch::next() {
    if (m_hasFound && !m_remembersWaiting) rememberWaiting();
    while (!m_steps.empty()) {
        Step& step = m_steps.back();
        if (step.next == m_followers.size()) {
            leave();
            continue;
        }
        const Number follower = m_followers[step.next++];
        const State& state = m_states[follower];
        if (state.isOnPath || state.isBarred) continue;
        enter(follower);
        m_steps.back().led = m_space.isGoal(follower);
        if (!m_steps.back().led) continue;
        m_hasFound = true;
        return true;
    }
    return false;
}

void PathSearch::enter(Number node) {
    const u64 end = m_followers.size();
    m_steps.push_back({node, false, end, end});
    m_states[node].isOnPath = true;
    listFollowers(node);
}

void PathSearch::leave() {
    const Step left = m_steps.back();
    m_steps.pop_back();
    State& state = m_states[left.node];
    state.isOnPath = false;
    if (left.led) {
        free(left.node);
        if (!m_steps.empty()) m_steps.back().led = true;
    } else {
        state.isBarred = true;
        if (m_remembersWaiting) waitForFollowers(left.node, left.first);
    }
    m_followers.resize(left.first);
}

// The node's followers are in `m_followers` from `first` on.
void PathSearch::waitForFollowers(Number node, u64 first) {
    if (std::exchange(m_states[node].isWaiting, true)) return;
    for (u64 i = first; i < m_followers.size(); ++i)
        m_waiting[m_followers[i]].push_back(node);
}

// Starts to record waiting nodes, and adds those that were barred before the first path.
void PathSearch::rememberWaiting() {
    m_waiting.resize(m_space.size());
    m_remembersWaiting = true;
    const u64 end = m_followers.size();
    for (Number node = 0; node < m_states.size(); ++node) {
        if (!m_states[node].isBarred) continue;
        listFollowers(node);
        waitForFollowers(node, end);
        m_followers.resize(end);
    }
}

// Frees the node and the nodes that were barred because of it. Nodes on the path are freed or
// barred when they leave it. Usually no node waits, so a walk would allocate memory for nothing.
void PathSearch::free(Number node) {
    m_states[node].isBarred = false;
    if (!m_remembersWaiting || m_waiting[node].empty()) return;
    walkAll(node, [this](Number next, const auto& add) {
        m_states[next].isBarred = false;
        for (const Number waiting : m_waiting[next])
            if (m_states[waiting].isBarred) add(waiting);
    });
}

// Also makes the states of nodes that are reached for the first time.
void PathSearch::listFollowers(Number node) {
    m_space.listFollowers(node, m_followers);
    if (m_states.size() == m_space.size()) return;
    if (m_remembersWaiting) m_waiting.resize(m_space.size());
    m_states.resize(m_space.size());
}

} // namespace qv::kelvo_sdk::impl
