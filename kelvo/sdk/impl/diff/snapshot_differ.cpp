// The differences between two snapshots. Most nodes are equal in both, so their contents are left
// out of the comparison, for which they would take much memory.

#include "kelvo/base/string_io.h"
#include "kelvo/base/workers.h"
#include "kelvo/sdk/impl/diff/scene_differ.h"
#include "kelvo/sdk/impl/scene_text/scene_recorder.h"
#include "kelvo/sdk/impl/snapshot/record_text.h"
#include "kelvo/sdk/scene_diff.h"

#include <algorithm>
#include <vector>

namespace qv::kelvo_sdk {

namespace {

using impl::NodeRecord;
using impl::SnapshotTables;

// Tells whether two nodes of one name have the same text.
class EqualNodes {
public:
    EqualNodes(const SnapshotTables& before, const SnapshotTables& after)
        : m_before(before), m_after(after) {
        m_mayRename = hasOthers(before, after) && hasOthers(after, before);
        mark();
    }

    [[nodiscard]] bool hasAfter(const NodeRecord& node) const { return m_isEqual[node.number()]; }
    [[nodiscard]] bool hasBefore(const NodeRecord& node) const {
        const NodeRecord* const other = m_after.find(node.name());
        return other && hasAfter(*other) && other->name().equals(node.name());
    }

private:
    static bool hasOthers(const SnapshotTables& some, const SnapshotTables& others) {
        bool isAny = false;
        some.forEachRecord([&](const NodeRecord& node) {
            const NodeRecord* const other = isAny ? nullptr : others.find(node.name());
            isAny = isAny || !other || !other->name().equals(node.name());
        });
        return isAny;
    }

    void mark() {
        constexpr u64 nodesAtOnce = 1024;
        std::vector<const NodeRecord*> nodes;
        NodeNumber end = 0;
        m_after.forEachRecord([&](const NodeRecord& node) {
            nodes.push_back(&node);
            end = std::max(end, node.number() + 1);
        });
        std::vector<u8> isEqual(end);
        Workers().run((nodes.size() + nodesAtOnce - 1) / nodesAtOnce, [&](u64 part) {
            // The comments of the first node belong to the header.
            const u64 last = std::min<u64>((part + 1) * nodesAtOnce, nodes.size());
            for (u64 i = std::max<u64>(part * nodesAtOnce, 1); i < last; ++i)
                isEqual[nodes[i]->number()] = isSame(*nodes[i]);
        });
        m_isEqual.assign(isEqual.begin(), isEqual.end());
    }

    [[nodiscard]] bool isSame(const NodeRecord& node) const {
        const NodeRecord* const other = m_before.find(node.name());
        if (!other || m_before.numberAt(0) == other->number() || !isPlain(node) || !isPlain(*other))
            return false;
        StringIO texts[2];
        writeText(m_before, *other, texts[0]);
        writeText(m_after, node, texts[1]);
        if (texts[0].view() != texts[1].view()) return false;
        return !m_mayRename || !mayName(node, texts[1].view());
    }
    // Nodes that cannot be compared have lines that were not read, or are nested too deep.
    static bool isPlain(const NodeRecord& node) {
        const impl::RecordExtras* const extras = node.extras();
        const auto isRead = [](const auto& part) { return part.comments.unread.empty(); };
        return node.lists().size() <= impl::SceneDocument::maxDepth &&
               (!extras || (isRead(*extras) && std::ranges::all_of(extras->inputs, isRead)));
    }
    // A text that names a node says something else after the node was renamed. Descriptions may
    // name nodes, too.
    static bool mayName(const NodeRecord& node, std::string_view text) {
        const auto hasLinks = [](const impl::RecordList& list) { return list.shape->hasLinks; };
        return !node.connections().empty() || std::ranges::any_of(node.lists(), hasLinks) ||
               text.find('@') != std::string_view::npos;
    }

    const SnapshotTables& m_before;
    const SnapshotTables& m_after;
    bool m_mayRename = false;
    // By number in the later snapshot.
    std::vector<bool> m_isEqual;
};

const SnapshotTables& tablesOf(const Snapshot& snapshot) {
    static const SnapshotTables none;
    return snapshot ? static_cast<const impl::SnapshotPicture*>(snapshot.get())->tables() : none;
}

} // namespace

Made<SceneDiff> SceneDiff::between(const Snapshot& before, const Snapshot& after,
                                   const DiffOptions& options) {
    const SnapshotTables &from = tablesOf(before), &to = tablesOf(after);
    const EqualNodes equal(from, to);
    impl::SceneDocument earlier, later;
    String problem;
    using RecordNode = impl::RecordText::Node;
    const auto inBefore = [&](const RecordNode& node) { return equal.hasBefore(*node.record); };
    const auto inAfter = [&](const RecordNode& node) { return equal.hasAfter(*node.record); };
    if (!impl::SceneRecorder(earlier).record(impl::RecordText(from), inBefore, problem) ||
        !impl::SceneRecorder(later).record(impl::RecordText(to), inAfter, problem))
        return Result::failure(problem);
    SceneDiff diff;
    diff.m_changes = impl::SceneDiffer(earlier, later, options).run();
    return diff;
}

} // namespace qv::kelvo_sdk
