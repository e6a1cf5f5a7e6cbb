#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"
#include "kelvo/sdk/snapshot_pieces.h"

namespace qv::kelvo_sdk {

Made<Snapshot> openSnapshot(const RefersTo<PieceSource>& source) {
    if (!source) return Result::failure("There is no stored snapshot to open.");
    auto line = RefersTo<impl::SnapshotLine>::adopt(new impl::SnapshotLine);
    auto nodes = RefersTo<impl::StoredNodes>::adopt(
        new impl::StoredNodes(source, line->shapes, line->types));
    if (Result opened = nodes->open(); !opened) return opened;
    line->current.file = nodes->file();
    line->current.stored = std::move(nodes);
    const auto picture =
        RefersTo<impl::SnapshotPicture>::adopt(new impl::SnapshotPicture(std::move(line)));
    return Snapshot(static_cast<RefCounted*>(picture.get()));
}

} // namespace qv::kelvo_sdk
