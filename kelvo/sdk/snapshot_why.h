#pragma once

#include "kelvo/sdk/snapshot_delta.h"

namespace qv::kelvo_sdk {

/// A node whose own content differs between two snapshots, and how another node depends on it.
struct WhyChain {
    /// From the node that was asked about to the one that differs; each depends on the next. Nodes
    /// of the later snapshot, except a node that only the earlier one has.
    ds::Vector<SnapshotNode> nodes;
    /// The node that differs; empty where a snapshot does not have it.
    SnapshotNode before;
    SnapshotNode after;
    bool isRenamed = false;
    /// Type, bases or outputs differ.
    bool isTypeChanged = false;
    /// The inputs that differ, at any depth.
    ds::Vector<InputChange> inputs;
};

/// The reasons why the deep hash of a node differs between two snapshots, of one scene or of two.
/// Keeps both snapshots alive.
///
/// Nodes of one scene are matched by number, nodes of two scenes by name, without regard to case. A
/// chain follows dependencies that the node has in both snapshots: what comes with a new link is
/// explained by the link.
class QV_EXPORT SnapshotWhy {
public:
    /// `node` is of one of the two snapshots. Finds the chains to at most `atMost` nodes.
    SnapshotWhy(const Snapshot& from, const Snapshot& to, const SnapshotNode& node,
                u64 atMost = 100);

    /// Tells whether the deep hash is the same.
    [[nodiscard]] bool isEmpty() const noexcept { return m_chains.empty(); }
    /// Returns a shortest chain to each node that differs, shorter ones first; those of one length
    /// in the order of the inputs.
    [[nodiscard]] const ds::Vector<WhyChain>& chains() const noexcept { return m_chains; }
    /// False when more nodes differ than were asked for.
    [[nodiscard]] bool isComplete() const noexcept { return m_isComplete; }

private:
    class Search;

    Snapshot m_from;
    Snapshot m_to;
    ds::Vector<WhyChain> m_chains;
    bool m_isComplete = true;
};

/// Returns why the deep hash of a node differs; see `SnapshotWhy`.
[[nodiscard]] inline SnapshotWhy why(const Snapshot& from, const Snapshot& to,
                                     const SnapshotNode& node, u64 atMost = 100) {
    return {from, to, node, atMost};
}

} // namespace qv::kelvo_sdk
