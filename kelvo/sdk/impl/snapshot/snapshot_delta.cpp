#include "kelvo/sdk/snapshot_delta.h"

#include "kelvo/sdk/impl/snapshot/record_difference.h"
#include "kelvo/sdk/impl/snapshot/snapshot_picture.h"

#include <utility>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

// Records are fetched from memory this many nodes before they are compared.
constexpr u64 fetchedAhead = 4;

const impl::SnapshotPicture* pictureOf(const Snapshot& snapshot) noexcept {
    return static_cast<const impl::SnapshotPicture*>(snapshot.get());
}

bool isSameType(const impl::SnapshotShape& a, const impl::SnapshotShape& b) noexcept {
    return &a == &b || a.isSameType(b);
}

} // namespace

SnapshotDelta::SnapshotDelta(const Snapshot& from, const Snapshot& to) : m_from(from), m_to(to) {
    const auto *before = pictureOf(m_from), *after = pictureOf(m_to);
    if (before && after && before->isOfSameScene(*after)) {
        compare();
    } else {
        m_removed = m_from.nodes();
        m_added = m_to.nodes();
    }
}

SnapshotDelta::SnapshotDelta(const SnapshotDelta& other)
    : m_from(other.m_from),
      m_to(other.m_to),
      m_added(other.m_added),
      m_removed(other.m_removed),
      m_changed(other.m_changed),
      m_inputs(other.m_inputs),
      m_isOrderChanged(other.m_isOrderChanged) {
    giveInputs();
}

void SnapshotDelta::compare() {
    const auto *from = pictureOf(m_from), *to = pictureOf(m_to);
    using Records = impl::SharedArray<const impl::NodeRecord*>;
    std::vector<std::pair<const impl::NodeRecord*, const impl::NodeRecord*>> kept;
    Records::forEachDifference(
        from->tables().records, to->tables().records,
        [&](NodeNumber, const impl::NodeRecord* before, const impl::NodeRecord* after) {
            if (!before)
                m_added.push_back({to, after});
            else if (!after)
                m_removed.push_back({from, before});
            else
                kept.emplace_back(before, after);
        });
    std::vector<impl::RecordDifference> differences;
    for (u64 i = 0; i < kept.size(); ++i) {
        if (i + fetchedAhead < kept.size()) {
            impl::NodeRecord::fetch(kept[i + fetchedAhead].first);
            impl::NodeRecord::fetch(kept[i + fetchedAhead].second);
        }
        compareNodes(*kept[i].first, *kept[i].second, differences);
    }
    giveInputs();
    const auto stamp = from->version() < to->version() ? &impl::SnapshotTables::orderStamp
                                                       : &impl::SnapshotTables::orderStampBack;
    m_isOrderChanged = from->tables().*stamp != to->tables().*stamp;
    if (!m_isOrderChanged) bringIntoOrder();
}

// Notes only the number of inputs, because the list of all may still move. A node that was removed
// and restored has another record with the same content.
void SnapshotDelta::compareNodes(const impl::NodeRecord& before, const impl::NodeRecord& after,
                                 std::vector<impl::RecordDifference>& differences) {
    const auto *from = pictureOf(m_from), *to = pictureOf(m_to);
    impl::findDifference(before, after, differences);
    if (differences.empty() && impl::isSame(before, after)) return;
    for (const impl::RecordDifference& found : differences)
        m_inputs.push_back({impl::viewOf(from, before, found.before),
                            impl::viewOf(to, after, found.after), found.parts});
    m_changed.push_back({{from, &before},
                         {to, &after},
                         !before.name().equals(after.name()),
                         !isSameType(before.shape(), after.shape()),
                         {static_cast<const InputChange*>(nullptr), differences.size()}});
}

// Each changed node has the next part of the list of all.
void SnapshotDelta::giveInputs() noexcept {
    const InputChange* next = m_inputs.data();
    for (NodeChange& change : m_changed) {
        change.inputs = {next, change.inputs.size()};
        next += change.inputs.size();
    }
}

// The added nodes are the last ones.
void SnapshotDelta::bringIntoOrder() {
    const u64 first = m_to.nodeCount() - m_added.size();
    for (u64 i = 0; i < m_added.size(); ++i)
        m_added[i] = m_to.node(first + i);
}

} // namespace qv::kelvo_sdk
