#pragma once

#include "kelvo/sdk/snapshot_delta.h"
#include "tests/support/snapshot_dump.h"

#include <map>
#include <string>
#include <vector>

namespace qv::tests {

/// A renderer's copy of a scene, by number, which only applies deltas.
class SnapshotMirror {
public:
    using NodeNumber = kelvo_sdk::NodeNumber;

    void apply(const kelvo_sdk::SnapshotDelta& delta, const kelvo_sdk::Snapshot& to) {
        for (const kelvo_sdk::SnapshotNode& node : delta.removed()) {
            m_nodes.erase(node.number());
            std::erase(m_order, node.number());
        }
        for (const kelvo_sdk::NodeChange& change : delta.changed())
            m_nodes[change.after.number()] = SnapshotDump::of(change.after, true);
        for (const kelvo_sdk::SnapshotNode& node : delta.added()) {
            m_nodes[node.number()] = SnapshotDump::of(node, true);
            m_order.push_back(node.number());
        }
        if (!delta.isOrderChanged()) return;
        m_order.clear();
        for (const kelvo_sdk::SnapshotNode& node : to.nodes())
            m_order.push_back(node.number());
    }
    [[nodiscard]] std::string text() const {
        std::string text;
        for (const NodeNumber number : m_order)
            text += m_nodes.at(number);
        return m_order.size() == m_nodes.size() ? text : "nodes that are not in order\n" + text;
    }

private:
    std::map<NodeNumber, std::string> m_nodes;
    std::vector<NodeNumber> m_order;
};

} // namespace qv::tests
