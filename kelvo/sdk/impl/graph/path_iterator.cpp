#include "kelvo/sdk/impl/graph/path_iterator.h"

#include "kelvo/sdk/impl/graph/first_path.h"
#include "kelvo/sdk/interfaces/i_node.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

using interfaces::INode;

PathIterator::PathIterator(INode* from, StringVector types, bool flag, bool firstOnly)
    : m_from(from), m_goal{true, nullptr, std::move(types)}, m_flag(flag), m_firstOnly(firstOnly) {
    start();
}

PathIterator::PathIterator(INode* from, INode* to, bool flag, bool firstOnly)
    : m_from(from), m_goal{false, to, {}}, m_flag(flag), m_firstOnly(firstOnly) {
    start();
}

void PathIterator::start() {
    setCurrent(firstPath(*m_from, m_goal, m_flag));
    if (m_firstOnly) m_count = PathCount{m_current ? u64(1) : u64(0), true};
}

u64 PathIterator::count() {
    return counted().number;
}

bool PathIterator::isCountExact() {
    return counted().isExact;
}

const PathCount& PathIterator::counted() {
    if (m_count) return *m_count;
    GoalGraph graph(m_from, m_goal, m_flag);
    return m_count.emplace(countPaths(graph));
}

// When the counter gives up, there may still be few paths and many dead ends. The search avoids
// dead ends, so it may succeed.
PathCount countPaths(PathSpace& space) {
    constexpr u64 most = PathIterator::maxSearched;
    const PathCount count = PathCounter(space).count();
    if (count.isExact || count.number >= most) return count;
    PathSearch search(space);
    u64 found = 0;
    while (found < most && search.next())
        ++found;
    return {std::max(found, count.number), found < most};
}

NodePath* PathIterator::current() {
    return m_current.get();
}

bool PathIterator::next() {
    if (!m_current) return false;
    if (m_firstOnly)
        m_current.reset();
    else
        advance();
    return m_current.get() != nullptr;
}

// The search starts only with the second path, so it has to find the first one again.
void PathIterator::advance() {
    if (!m_search) {
        m_search.emplace(m_graph.emplace(m_from, m_goal, m_flag));
        m_search->next();
    }
    ds::Vector<INode*> nodes;
    if (m_search->next()) {
        nodes.resize(m_search->length());
        for (u64 i = 0; i < nodes.size(); ++i)
            nodes[i] = m_graph->node(m_search->at(i));
    }
    setCurrent(std::move(nodes));
}

void PathIterator::setCurrent(ds::Vector<INode*> nodes) {
    m_current.reset();
    if (!nodes.isEmpty()) m_current = RefersTo<NodePath>::adopt(new NodePath(std::move(nodes)));
}

} // namespace qv::kelvo_sdk::impl
