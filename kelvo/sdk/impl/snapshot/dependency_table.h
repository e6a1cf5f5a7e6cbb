#pragma once

#include "kelvo/sdk/impl/snapshot/node_record.h"

#include <span>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// Calls `visit(number)` for each link of a record, `noNumber` for an empty one, in order.
template<typename Visit>
void forEachLink(const NodeRecord& record, const Visit& visit) {
    for (const RecordList& list : record.lists()) {
        if (!list.shape->hasLinks) continue;
        for (u32 i = 0; i < list.count; ++i)
            if (list.shape->input(i).type == AttrType::Node)
                visit(static_cast<NodeNumber>(NodeRecord::at<u64>(record.value(list, i))));
    }
}

/// Knows which nodes depend on which, in both directions. Replacing the dependencies of a node
/// takes time in proportion to their number.
class DependencyTable {
public:
    /// Replaces the dependencies of a node by those of its record; null for none.
    void set(NodeNumber node, const NodeRecord* record);
    void clear() noexcept;

    /// Calls `visit(reader)` for each dependency on the node, in no order.
    template<typename Visit>
    void forEachReader(NodeNumber node, const Visit& visit) const {
        if (node >= m_ends.size()) return;
        for (u32 i = m_ends[node].firstReader; i != none; i = m_bonds[i].nextReader)
            visit(m_bonds[i].from);
    }

private:
    static constexpr u32 none = 0xffffffff;

    // A dependency of one node on another. It is in two lists: the dependencies of `from`, and the
    // readers of `to`. A free one is in the list of free ones instead.
    struct Bond {
        NodeNumber from = noNumber;
        NodeNumber to = noNumber;
        u32 nextOfNode = none;
        u32 nextReader = none;
        u32 lastReader = none;
    };
    struct Ends {
        u32 firstOfNode = none;
        u32 firstReader = none;
    };

    void add(NodeNumber from, NodeNumber to);
    void removeAll(NodeNumber from) noexcept;
    void makeRoom(NodeNumber node);

    std::vector<Bond> m_bonds;
    std::vector<Ends> m_ends;
    u32 m_firstFree = none;
};

} // namespace qv::kelvo_sdk::impl
