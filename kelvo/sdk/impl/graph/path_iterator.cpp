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
    if (!m_count) m_count = countAll();
    return *m_count;
}

// When the counter gives up, there may still be few paths and many dead ends. The search avoids
// dead ends, so it may succeed.
PathCount PathIterator::countAll() const {
    PathCount count = PathCounter(m_from, m_goal, m_flag).count();
    if (count.isExact || count.number >= maxSearched) return count;
    PathSearch search(m_from, m_goal, m_flag);
    u64 found = 0;
    while (found < maxSearched && search.next())
        ++found;
    return {std::max(found, count.number), found < maxSearched};
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
        m_search.emplace(m_from, m_goal, m_flag);
        m_search->next();
    }
    setCurrent(m_search->next() ? m_search->path() : ds::Vector<INode*>());
}

void PathIterator::setCurrent(ds::Vector<INode*> nodes) {
    m_current.reset();
    if (!nodes.isEmpty()) m_current = RefersTo<NodePath>::adopt(new NodePath(std::move(nodes)));
}

} // namespace qv::kelvo_sdk::impl
