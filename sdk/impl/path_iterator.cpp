#include "sdk/impl/path_iterator.h"

#include "sdk/interfaces/i_node.h"

namespace qv::kelvo_sdk::impl {

using interfaces::INode;

PathIterator::PathIterator(INode* from, StringVector types, bool flag, bool firstOnly)
    : m_start(from, {true, nullptr, std::move(types)}, flag),
      m_search(m_start),
      m_firstOnly(firstOnly) {
    start();
}

PathIterator::PathIterator(INode* from, INode* to, bool flag, bool firstOnly)
    : m_start(from, {false, to, {}}, flag), m_search(m_start), m_firstOnly(firstOnly) {
    start();
}

void PathIterator::start() {
    advance();
    if (m_firstOnly) m_count = m_current.get() ? 1 : 0;
}

u64 PathIterator::count() {
    if (!m_count) {
        PathSearch search = m_start;
        u64 found = 0;
        while (found < maxCount && search.next())
            ++found;
        m_count = found;
    }
    return *m_count;
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

void PathIterator::advance() {
    m_current.reset();
    if (m_search.next()) m_current = RefersTo<NodePath>::adopt(new NodePath(m_search.path()));
}

} // namespace qv::kelvo_sdk::impl
