#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"

namespace qv::kelvo_sdk::impl {

const NodeRecord* SnapshotTables::find(const NameView& name) const noexcept {
    const u32 number = names.find(name.foldedHash(), [&](NodeNumber found) {
        return record(found)->name().equalsNoCase(name.text());
    });
    return number == SharedNames::none ? nullptr : record(number);
}

void SnapshotTables::clear(SnapshotStore& store) noexcept {
    records.forEach(
        [&](u32, const NodeRecord* record) { store.retire(const_cast<NodeRecord*>(record)); });
    records.clear(store);
    order.clear(store);
    names.clear(store);
}

} // namespace qv::kelvo_sdk::impl
