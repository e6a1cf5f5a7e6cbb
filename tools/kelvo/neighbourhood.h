#pragma once

#include "kelvo/sdk/snapshot.h"

#include <span>
#include <vector>

namespace qv::kelvo_tool {

/// A dependency of a node on another: through one of its inputs, at any depth.
struct NodeLink {
    kelvo_sdk::SnapshotInput input;
    /// The output that the input is connected to; empty for a link.
    kelvo_sdk::SnapshotOutput source;

    [[nodiscard]] kelvo_sdk::SnapshotNode reader() const noexcept { return input.node(); }
    [[nodiscard]] kelvo_sdk::SnapshotNode read() const noexcept {
        return source ? source.node() : input.linked();
    }
    /// Returns "room.children[2]" or "desk.color <- wood.color".
    [[nodiscard]] String text() const;
};

/// Returns the links and connections of a node's inputs, in input order.
[[nodiscard]] std::vector<NodeLink> linksOf(const kelvo_sdk::SnapshotNode& node);
/// Returns those of an input and the inputs in it.
[[nodiscard]] std::vector<NodeLink> linksOf(const kelvo_sdk::SnapshotInput& input);

/// A neighbour of a node, with the first of the links between them.
struct Neighbour {
    kelvo_sdk::SnapshotNode node;
    NodeLink link;
    /// The number of further links.
    u64 more = 0;
};

/// Finds the nodes that a node depends on, or the nodes that depend on it.
class Neighbourhood {
public:
    using SnapshotNode = kelvo_sdk::SnapshotNode;
    enum class Direction { Upstream, Downstream };

    Neighbourhood(const kelvo_sdk::Snapshot& scene, Direction direction);

    /// Returns the direct neighbours, each once, in order of inputs or, downstream, of the scene.
    [[nodiscard]] std::vector<Neighbour> of(const SnapshotNode& node) const;
    /// Returns all reachable nodes, without the node itself, depth first.
    [[nodiscard]] std::vector<SnapshotNode> allOf(const SnapshotNode& node) const;
    /// Returns the first nodes and all that can be reached from them, depth first.
    [[nodiscard]] std::vector<SnapshotNode> allFrom(const std::vector<NodeLink>& first) const;

private:
    using Number = kelvo_sdk::NodeNumber;

    void listReaders(const kelvo_sdk::Snapshot& scene);
    [[nodiscard]] std::vector<NodeLink> linksAt(const SnapshotNode& node) const;
    [[nodiscard]] SnapshotNode otherEnd(const NodeLink& link) const noexcept {
        return m_direction == Direction::Upstream ? link.read() : link.reader();
    }
    [[nodiscard]] std::vector<SnapshotNode> walk(std::vector<SnapshotNode> left,
                                                 const SnapshotNode& leftOut) const;

    Direction m_direction;
    // For the downstream direction: the inputs that read node `n` are from `m_first[n]` up to
    // `m_first[n + 1]`.
    std::vector<u64> m_first;
    std::vector<kelvo_sdk::SnapshotInput> m_inputs;
};

} // namespace qv::kelvo_tool
