#pragma once

#include "kelvo/base/hash.h"
#include "kelvo/sdk/snapshot.h"

#include <array>
#include <unordered_map>
#include <vector>

namespace qv::kelvo_tool {

/// An edge from one node to another: the place of a child, a link of an input to a node, or a
/// connection of an input to an output.
enum class EdgeSort : u8 { Hierarchy, Link, Connection };
inline constexpr u64 edgeSortCount = 3;

/// The wanted sorts of edges.
using EdgeSorts = std::array<bool, edgeSortCount>;

struct GraphNode {
    kelvo_sdk::SnapshotNode node;
    bool isDrawn = true;
    /// True when edges of the node lead to nodes that are not drawn.
    bool isCut = false;
};

/// All edges of one sort from one node to another.
struct GraphEdge {
    u32 from;
    u32 to;
    EdgeSort sort;
    u32 count = 0;
    /// The labels of the first few edges, one per line.
    String label;
};

/// The nodes of a scene and the edges between them, in the order of the scene.
class SceneGraph {
public:
    static constexpr u32 noNode = ~u32{0};
    static constexpr u32 mostLines = 4;

    /// Borrows the scene.
    SceneGraph(const kelvo_sdk::Snapshot& scene, const EdgeSorts& sorts);

    [[nodiscard]] const std::vector<GraphNode>& nodes() const noexcept { return m_nodes; }
    [[nodiscard]] const std::vector<GraphEdge>& edges() const noexcept { return m_edges; }
    [[nodiscard]] bool has(EdgeSort sort) const noexcept { return m_sorts[static_cast<u64>(sort)]; }
    [[nodiscard]] bool isDrawn(const GraphEdge& edge) const {
        return m_nodes[edge.from].isDrawn && m_nodes[edge.to].isDrawn;
    }
    /// Returns the node passed to `drawAround`, `noNode` before that call.
    [[nodiscard]] u32 center() const noexcept { return m_center; }
    [[nodiscard]] u64 drawnCount() const noexcept;

    /// Leaves out nodes more than `depth` edges away from a node, in either direction.
    void drawAround(const kelvo_sdk::SnapshotNode& node, u64 depth);
    /// Leaves out nodes without edges.
    void leaveOutLoners();

private:
    struct Key {
        u64 ends;
        EdgeSort sort;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept {
            return static_cast<std::size_t>(hashMix(key.ends, static_cast<u64>(key.sort)));
        }
    };
    void addInputs(u32 owner);
    void addInput(u32 owner, const kelvo_sdk::SnapshotInput& input,
                  const kelvo_sdk::SnapshotInput& childList);
    template<typename LineOf>
    void addEdge(EdgeSort sort, u32 from, u32 to, const LineOf& lineOf);
    [[nodiscard]] u32 placeOf(const kelvo_sdk::SnapshotNode& node) const {
        return m_places[node.number()];
    }
    [[nodiscard]] std::vector<std::vector<u32>> neighbours() const;
    void markCuts();

    EdgeSorts m_sorts;
    std::vector<GraphNode> m_nodes;
    std::vector<GraphEdge> m_edges;
    // By number.
    std::vector<u32> m_places;
    std::unordered_map<Key, u32, KeyHash> m_known;
    u32 m_center = noNode;
};

} // namespace qv::kelvo_tool
