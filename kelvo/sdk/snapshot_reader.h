#pragma once

#include "kelvo/base/string.h"
#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/result.h"
#include "kelvo/sdk/snapshot.h"

#include <string_view>
#include <vector>

namespace qv::kelvo_sdk {

/// Says how to read a text into a snapshot. See `ReadOptions`.
struct SnapshotReadOptions {
    bool isPartial = false;
    u32 maxDiagnostics = 20;
    /// The snapshot and the diagnostics are the same for any number.
    u32 threads = 0;
    /// The libraries that define the types of the nodes, in the order in which types are looked up,
    /// as a scene has them.
    std::vector<LibInfo> libraries = {};
};

/// The outcome of reading a text into a snapshot.
struct SnapshotReport {
    /// Empty when the text was not read.
    Snapshot snapshot;
    /// False, with the first error, when the text has errors or, with `isPartial`, no readable
    /// node.
    Result isRead = Result::failure("Nothing was read.");
    /// The number of all gaps and added braces, reported or not; 0 when everything was read.
    u64 gapCount = 0;
};

/// Reads a scene text into a snapshot without making nodes, in less time and memory: for scenes
/// that are shown, searched, compared or rendered, but not edited. The snapshot and all diagnostics
/// are those of a new scene with these libraries that reads the text, except that no callback of a
/// library is called. `source` names the text in diagnostics; those of a failure go to the log if
/// `diagnostics` is null.
[[nodiscard]] QV_EXPORT SnapshotReport readSnapshot(std::string_view text, const String& source,
                                                    const SnapshotReadOptions& options = {},
                                                    Diagnostics* diagnostics = nullptr);

} // namespace qv::kelvo_sdk
