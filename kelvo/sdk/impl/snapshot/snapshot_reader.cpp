// The public function that reads scene text into snapshots.

#include "kelvo/sdk/snapshot_reader.h"

#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/scene_with.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/snapshot/text_snapshot.h"
#include "kelvo/sdk/scene.h"

#include "kelvo/base/log.h"

namespace qv::kelvo_sdk {

SnapshotReport readSnapshot(std::string_view text, const String& source,
                            const SnapshotReadOptions& options, Diagnostics* diagnostics) {
    SnapshotReport report{.snapshot = {}, .isRead = Result()};
    impl::ReadOptions inner;
    inner.source = source;
    inner.maxErrors = options.maxDiagnostics;
    inner.isPartial = options.isPartial;
    inner.threads = options.threads;
    inner.gapCount = &report.gapCount;
    Diagnostics found;
    const auto scene = impl::sceneWith(options.libraries);
    const auto picture = impl::readPicture(*scene, text, inner, found);
    if (picture)
        report.snapshot = Snapshot(static_cast<RefCounted*>(picture.get()));
    else
        report.isRead = Result::failure(found[0].text());
    for (const Diagnostic& each : found) {
        if (diagnostics)
            diagnostics->push_back(each);
        else
            logError("%s", each.text().buf());
    }
    return report;
}

} // namespace qv::kelvo_sdk
