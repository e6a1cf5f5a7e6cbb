#pragma once

#include "kelvo/sdk/impl/index/compact_graph.h"

namespace qv::kelvo_sdk::impl {

/// A node as a walk meets it: by its number in the graph of its scene, or itself where it has none.
class Spot {
public:
    explicit Spot(NodeNumber number) noexcept : m_bits(u64{number} << 1 | 1) {}
    explicit Spot(const Node& node) noexcept : m_bits(reinterpret_cast<u64>(&node)) {}
    [[nodiscard]] bool hasNumber() const noexcept { return (m_bits & 1) != 0; }
    [[nodiscard]] NodeNumber number() const noexcept {
        return static_cast<NodeNumber>(m_bits >> 1);
    }
    /// Needs one without a number.
    [[nodiscard]] Node& node() const noexcept { return *reinterpret_cast<Node*>(m_bits); }

private:
    u64 m_bits;
};

} // namespace qv::kelvo_sdk::impl
