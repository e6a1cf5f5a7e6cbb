#pragma once

#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"

#include <string_view>

namespace qv::kelvo_sdk::impl {

class Scene;
struct ReadOptions;

/// Reads a scene text as `readScene` does, into a snapshot instead of nodes. `scene` has the
/// libraries and no nodes. Returns null and adds the errors to `found` when the text has errors.
[[nodiscard]] RefersTo<SnapshotPicture> readPicture(Scene& scene, std::string_view text,
                                                    const ReadOptions& options, Diagnostics& found);

} // namespace qv::kelvo_sdk::impl
