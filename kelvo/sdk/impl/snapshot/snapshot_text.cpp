// The public functions that write snapshots as text, and read them into scenes.

#include "kelvo/base/string_io.h"
#include "kelvo/sdk/impl/graph/handle_failure.h"
#include "kelvo/sdk/impl/graph/impl_of.h"
#include "kelvo/sdk/impl/graph/scene.h"
#include "kelvo/sdk/impl/scene_text/scene_reader.h"
#include "kelvo/sdk/impl/snapshot/record_text.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/snapshot.h"

#include <algorithm>
#include <limits>

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

// The limits are for texts from outside: whatever a scene held is read again, gaps included.
impl::ReadOptions optionsFor(const impl::SnapshotTables& tables) {
    impl::ReadOptions options;
    options.source = "the snapshot";
    options.maxDepth = std::numeric_limits<u32>::max();
    options.maxNodes = std::numeric_limits<u64>::max();
    options.isPartial = hasGaps(tables);
    options.needsNode = false;
    return options;
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

Result Scene::read(const Snapshot& snapshot) const {
    if (!get()) return impl::emptyHandle("scene");
    if (!snapshot) return impl::emptyHandle("snapshot");
    const auto& tables = static_cast<const impl::SnapshotPicture&>(*snapshot.get()).tables();
    StringIO text;
    impl::writeText(tables, text, 0, impl::implOf(get()));
    Diagnostics found;
    const bool isRead =
        impl::readScene(impl::implOf(*get()), text.take().view(), optionsFor(tables), &found);
    return isRead ? Result() : Result::failure(found[0].text());
}

String SnapshotNode::text() const {
    StringIO out;
    if (m_record) impl::writeText(m_picture->tables(), *m_record, out);
    return out.take();
}

} // namespace qv::kelvo_sdk
