#pragma once

#include "kelvo/base/ref_counted.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

/// Yields the nodes of a list, in order. Created with one reference, owned by the caller; the nodes
/// are borrowed and must outlive it. One thread at a time.
class QV_EXPORT NodeIterator : public RefCounted {
public:
    /// `reverse` walks the list back to front; `unique` leaves out nodes that were yielded before.
    NodeIterator(ds::Vector<interfaces::INode*> nodes, bool reverse, bool unique);

    /// Starts over and returns the first node, null when there is none.
    virtual interfaces::INode* first();
    /// Returns the next node, null at the end. Before `first`, that is the first node.
    virtual interfaces::INode* next();
    [[nodiscard]] u64 count() const noexcept { return m_nodes.size(); }

private:
    ds::Vector<interfaces::INode*> m_nodes;
    u64 m_next = 0;
};

/// Takes ownership of an iterator and returns a handle to each of its nodes.
[[nodiscard]] ds::Vector<kelvo_sdk::Node> handlesOn(NodeIterator* nodes);

} // namespace qv::kelvo_sdk::impl
