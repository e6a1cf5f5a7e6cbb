#pragma once

#include "kelvo/base/string_vector.h"
#include "kelvo/sdk/snapshot.h"

namespace qv::kelvo_sdk {

/// The chains of nodes from one node of a snapshot to others, each linked to by the node before it
/// or connected to it. `next` finds them one by one, depth first in the order of the inputs. No
/// chain contains a node twice. Copies of the handle share its position; every operation is safe on
/// an empty handle, which has no paths. Borrows the snapshot; for one thread at a time.
///
///     for (SnapshotPaths paths(room, lamp); !paths.current().empty(); paths.next())
class QV_EXPORT SnapshotPaths : public RefersTo<RefCounted> {
public:
    SnapshotPaths() = default;
    /// Leads to one node. Follows the children of nodes or, with `allLinks`, every link and
    /// connection.
    SnapshotPaths(const SnapshotNode& from, const SnapshotNode& to, bool allLinks = false);
    /// Leads to nodes that have one of the types or bases; without types to any node.
    SnapshotPaths(const SnapshotNode& from, StringVector types, bool allLinks = false);

    /// Returns the current path, initially the first; empty after the last. Valid until `next`.
    [[nodiscard]] const ds::Vector<SnapshotNode>& current() const;
    /// Advances to the next path; false when there is none.
    bool next() const;
    /// Returns the number of all paths, or a lower bound if `isCountExact` is false, because cycles
    /// make too many paths to try.
    [[nodiscard]] u64 count() const;
    [[nodiscard]] bool isCountExact() const;
};

} // namespace qv::kelvo_sdk
