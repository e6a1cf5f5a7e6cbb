#pragma once

#include "kelvo/sdk/scene.h"

#include <unordered_map>
#include <vector>

namespace qv::kelvo_tool {

/// A dependency of a node on another: through one of its inputs, at any depth.
struct NodeLink {
    kelvo_sdk::interfaces::INode* reader = nullptr;
    kelvo_sdk::interfaces::INode* read = nullptr;
    const kelvo_sdk::interfaces::IInput* input = nullptr;
    /// The output that the input is connected to; null for a link.
    const kelvo_sdk::interfaces::IOutput* source = nullptr;

    /// Returns "room.children[2]" or "desk.color <- wood.color".
    [[nodiscard]] String text() const;
};

/// Returns the links and connections of a node's inputs, in input order.
[[nodiscard]] std::vector<NodeLink> linksOf(kelvo_sdk::interfaces::INode& node);

/// A neighbour of a node, with the first of the links between them.
struct Neighbour {
    kelvo_sdk::interfaces::INode* node = nullptr;
    NodeLink link;
    /// The number of further links.
    u64 more = 0;
};

/// Finds the nodes that a node depends on, or the nodes that depend on it. Borrows the nodes.
class Neighbourhood {
public:
    using INode = kelvo_sdk::interfaces::INode;
    enum class Direction { Upstream, Downstream };

    Neighbourhood(const kelvo_sdk::Scene& scene, Direction direction);

    /// Returns the direct neighbours, each once, in order of inputs or, downstream, of the scene.
    [[nodiscard]] std::vector<Neighbour> of(INode& node) const;
    /// Returns all reachable nodes, without the node itself, depth first.
    [[nodiscard]] std::vector<INode*> allOf(INode& node) const;

private:
    Direction m_direction;
    // Links by the node that they read; filled only for the downstream direction.
    std::unordered_map<const INode*, std::vector<NodeLink>> m_readers;
};

} // namespace qv::kelvo_tool
