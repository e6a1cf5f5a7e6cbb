#pragma once

#include "kelvo/sdk/impl/index/compact_graph.h"

namespace qv::kelvo_sdk::impl {

/// A node on a walk, as its number in the graph of the scene or, without a number there, a pointer.
// The lowest bit tells the two apart, because pointers to nodes are even.
class Spot {
public:
    explicit Spot(NodeNumber number) noexcept : m_bits(u64{number} << 1 | 1) {}
    explicit Spot(const Node& node) noexcept : m_bits(reinterpret_cast<u64>(&node)) {}
    [[nodiscard]] bool hasNumber() const noexcept { return (m_bits & 1) != 0; }
    [[nodiscard]] NodeNumber number() const noexcept {
        return static_cast<NodeNumber>(m_bits >> 1);
    }
    /// Needs a node without a number.
    [[nodiscard]] Node& node() const noexcept { return *reinterpret_cast<Node*>(m_bits); }

private:
    u64 m_bits;
};

} // namespace qv::kelvo_sdk::impl
