// The public functions that write snapshots as text, and read them into scenes.

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/snapshot/record_text.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <algorithm>

namespace qv::kelvo_sdk {

namespace {

bool hasGaps(const impl::Comments& comments) noexcept {
    return !comments.unread.empty() || !comments.lostLink.isEmpty() ||
           !comments.lostSource.isEmpty();
}

// Tells whether a part of the text that the scene was read from could not be read.
bool hasGaps(const impl::SnapshotTables& tables) {
    bool isAny = tables.file && hasGaps(tables.file->comments);
    tables.forEachRecord([&](const impl::NodeRecord& record) {
        const impl::RecordExtras* const extras = record.extras();
        if (isAny || !extras) return;
        isAny = hasGaps(extras->comments) ||
                std::ranges::any_of(extras->inputs,
                                    [](const auto& input) { return hasGaps(input.comments); });
    });
    return isAny;
}

} // namespace

String Snapshot::text() const {
    return text(WriteOptions());
}

String Snapshot::text(const WriteOptions& options) const {
    StringIO out;
    if (get()) impl::writeText(picture()->tables(), out, options.threads);
    return out.take();
}

// A text with gaps is read as one, so that the gaps are kept.
Result Scene::read(const Snapshot& snapshot) const {
    if (!get()) return impl::emptyHandle("scene");
    if (!snapshot) return impl::emptyHandle("snapshot");
    const auto& tables = static_cast<const impl::SnapshotPicture&>(*snapshot.get()).tables();
    StringIO text;
    impl::writeText(tables, text, 0, impl::implOf(get()));
    Diagnostics found;
    return read(text.take(), "the snapshot", {.isPartial = hasGaps(tables)}, &found).isRead;
}

String SnapshotNode::text() const {
    StringIO out;
    if (m_record) impl::writeText(m_picture->tables(), *m_record, out);
    return out.take();
}

} // namespace qv::kelvo_sdk
