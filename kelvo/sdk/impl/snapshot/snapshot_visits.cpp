// Questions about whole snapshots that keep no nodes of stored ones.

#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/snapshot.h"

#include <algorithm>

namespace qv::kelvo_sdk {

void Snapshot::visitNodes(u64 begin, u64 end,
                          const std::function<void(const SnapshotNode&)>& visit) const {
    end = std::min(end, nodeCount());
    if (begin >= end) return;
    const auto visitRecord = [&](const impl::NodeRecord& record) {
        visit(SnapshotNode(picture(), &record));
    };
    const impl::SnapshotTables& tables = picture()->tables();
    if (tables.stored)
        return tables.stored->visit(static_cast<u32>(begin), static_cast<u32>(end), visitRecord);
    for (u64 i = begin; i < end; ++i)
        if (const impl::NodeRecord* record = tables.record(tables.numberAt(i)))
            visitRecord(*record);
}

bool Snapshot::mayHaveInput(const NameView& name) const noexcept {
    return get() && picture()->shapes().hasInput(name);
}

} // namespace qv::kelvo_sdk
