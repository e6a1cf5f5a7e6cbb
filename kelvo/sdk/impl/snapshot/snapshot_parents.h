#pragma once

#include "kelvo/sdk/impl/snapshot/snapshot_tables.h"

#include <span>
#include <vector>

namespace qv::kelvo_sdk::impl {

/// The parents of all nodes of a snapshot in the hierarchy.
class SnapshotParents {
public:
    /// Takes time in proportion to the nodes and their lists of children.
    explicit SnapshotParents(const SnapshotTables& tables);

    /// Returns the nodes that list this one as a child, each once, in creation order.
    [[nodiscard]] std::span<const NodeNumber> of(NodeNumber child) const noexcept;

private:
    // The parents of a child `n` are from `m_first[n]` to `m_first[n + 1]`.
    std::vector<u32> m_first;
    std::vector<NodeNumber> m_parents;
};

/// Calls `visit(child)` for each element of the list "children" of an "xform", `noNumber` included.
template<typename Visit>
void forEachChild(const NodeRecord& record, u32 listOfChildren, const Visit& visit) {
    const RecordList& list = record.list(listOfChildren);
    for (u32 i = 0; i < list.count; ++i)
        visit(static_cast<NodeNumber>(NodeRecord::at<u64>(record.value(list, i))));
}

/// Returns the list "children" of an "xform" by its number in the record, 0 when there is none.
[[nodiscard]] u32 listOfChildren(const NodeRecord& record) noexcept;

} // namespace qv::kelvo_sdk::impl
