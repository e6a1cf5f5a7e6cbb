#include "kelvo/sdk/impl/graph/node_iterator.h"

#include "kelvo/base/pointer_marks.h"
#include "kelvo/sdk/node.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

using interfaces::INode;

namespace {

void dropRepeats(ds::Vector<INode*>& nodes) {
    PointerMarks<INode> seen;
    u64 kept = 0;
    for (INode* node : nodes) {
        if (seen.add(node, 0).isNew) nodes[kept++] = node;
    }
    nodes.resize(kept);
}

} // namespace

NodeIterator::NodeIterator(ds::Vector<INode*> nodes, bool reverse, bool unique)
    : m_nodes(std::move(nodes)) {
    if (reverse) std::reverse(m_nodes.begin(), m_nodes.end());
    if (unique) dropRepeats(m_nodes);
}

INode* NodeIterator::first() {
    m_next = 0;
    return next();
}

INode* NodeIterator::next() {
    return m_next < m_nodes.size() ? m_nodes[m_next++] : nullptr;
}

ds::Vector<kelvo_sdk::Node> handlesOn(NodeIterator* nodes) {
    const auto held = RefersTo<NodeIterator>::adopt(nodes);
    ds::Vector<kelvo_sdk::Node> handles;
    handles.reserve(held->count());
    for (INode* node = held->first(); node; node = held->next())
        handles.push_back(kelvo_sdk::Node(node));
    return handles;
}

} // namespace qv::kelvo_sdk::impl
