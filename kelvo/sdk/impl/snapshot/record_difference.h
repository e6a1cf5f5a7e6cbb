#pragma once

#include "kelvo/sdk/impl/snapshot/snapshot_tables.h"
#include "kelvo/sdk/snapshot.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// Tells whether two records of one node say the same.
[[nodiscard]] bool isSame(const NodeRecord& a, const NodeRecord& b) noexcept;

/// An input of a record, by list and position; list `none` when the record has no such input.
struct RecordInput {
    static constexpr u32 none = 0xffffffff;
    u32 list = none;
    u32 input = 0;
};

/// Returns the input as users see it, an empty one for none. Borrows picture and record.
[[nodiscard]] inline SnapshotInput viewOf(const SnapshotPicture* picture, const NodeRecord& record,
                                          RecordInput input) noexcept {
    if (input.list == RecordInput::none) return {};
    return {picture, &record, input.list, input.input};
}

/// Something about an input that differs. See `InputPart` of the public snapshots.
struct RecordDifference {
    RecordInput before;
    RecordInput after;
    u32 parts = 0;
};

/// Sets `found` to the inputs that differ between two records of one node, with the parts in which
/// they differ. Inputs are matched by name and position; the elements of arrays of different
/// lengths are not compared one by one.
void findDifference(const NodeRecord& before, const NodeRecord& after,
                    std::vector<RecordDifference>& found);
/// The same for nodes of two scenes, which refer to other nodes by name. Does not compare marks.
void findDifference(const NodeRecord& before, const SnapshotTables& tablesBefore,
                    const NodeRecord& after, const SnapshotTables& tablesAfter,
                    std::vector<RecordDifference>& found);

} // namespace qv::kelvo_sdk::impl
