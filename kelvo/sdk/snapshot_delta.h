#pragma once

#include "kelvo/sdk/snapshot.h"

#include <vector>

namespace qv::kelvo_sdk {

namespace impl {
struct RecordDifference;
}

/// The parts of an input that may change; bits of `InputChange::parts`.
enum class InputPart : u32 {
    Value = 1,
    /// The node that the input links to.
    Link = 2,
    /// The output that the input is connected to.
    Connection = 4,
    /// The number or the kinds of the elements of an array. Its elements are not compared then.
    Elements = 8,
    /// The place among the other inputs.
    Order = 16,
    Name = 32,
    /// The kind.
    Type = 64,
    /// A mark such as read-only, the element type that a buffer declares, the description, or the
    /// value kept aside.
    Marks = 128,
    Added = 256,
    Removed = 512,
};

/// An input that differs between two snapshots.
struct InputChange {
    /// Empty for an input that was added.
    SnapshotInput before;
    /// Empty for an input that was removed.
    SnapshotInput after;
    u32 parts = 0;

    [[nodiscard]] bool has(InputPart part) const noexcept {
        return (parts & static_cast<u32>(part)) != 0;
    }
};

/// A node that differs between two snapshots that both have it.
struct NodeChange {
    SnapshotNode before;
    SnapshotNode after;
    bool isRenamed = false;
    /// Type, bases, marks of the type, or outputs differ.
    bool isTypeChanged = false;
    /// The inputs that differ, at any depth. Comments of the scene's text are no part of an input:
    /// a node can have changed without any.
    std::span<const InputChange> inputs;

    /// Tells whether an input differs in that part.
    [[nodiscard]] bool has(InputPart part) const noexcept {
        for (const InputChange& input : inputs)
            if (input.has(part)) return true;
        return false;
    }
};

/// Everything that differs between two snapshots of one scene. Keeps both snapshots alive.
///
/// To bring a copy of the scene up to date: drop the removed nodes, replace the changed ones by
/// their state after, and append the added ones. If `isOrderChanged`, put the nodes in the order of
/// the later snapshot.
class QV_EXPORT SnapshotDelta {
public:
    /// Takes time in proportion to the difference. Either snapshot may be the later one. Without a
    /// first snapshot, or if the two are of different scenes, all nodes of the first are removed
    /// and all of the second are added.
    SnapshotDelta(const Snapshot& from, const Snapshot& to);
    SnapshotDelta(const SnapshotDelta& other);
    SnapshotDelta(SnapshotDelta&&) noexcept = default;
    SnapshotDelta& operator=(const SnapshotDelta& other) { return *this = SnapshotDelta(other); }
    SnapshotDelta& operator=(SnapshotDelta&&) noexcept = default;
    ~SnapshotDelta() = default;

    [[nodiscard]] bool isEmpty() const noexcept {
        return m_added.empty() && m_removed.empty() && m_changed.empty() && !m_isOrderChanged;
    }
    /// In the order of the later snapshot, unless `isOrderChanged`.
    [[nodiscard]] const ds::Vector<SnapshotNode>& added() const noexcept { return m_added; }
    [[nodiscard]] const ds::Vector<SnapshotNode>& removed() const noexcept { return m_removed; }
    [[nodiscard]] const ds::Vector<NodeChange>& changed() const noexcept { return m_changed; }
    /// Tells whether the nodes may stand in another order than this: those that both snapshots
    /// have, as before, then the added ones.
    [[nodiscard]] bool isOrderChanged() const noexcept { return m_isOrderChanged; }

private:
    void compare();
    void compareNodes(const impl::NodeRecord& before, const impl::NodeRecord& after,
                      std::vector<impl::RecordDifference>& differences);
    void giveInputs() noexcept;
    void bringIntoOrder();

    Snapshot m_from;
    Snapshot m_to;
    ds::Vector<SnapshotNode> m_added;
    ds::Vector<SnapshotNode> m_removed;
    ds::Vector<NodeChange> m_changed;
    ds::Vector<InputChange> m_inputs;
    bool m_isOrderChanged = false;
};

/// Returns everything that differs between two snapshots; see `SnapshotDelta`.
[[nodiscard]] inline SnapshotDelta delta(const Snapshot& from, const Snapshot& to) {
    return {from, to};
}

} // namespace qv::kelvo_sdk
