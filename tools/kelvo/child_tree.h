#pragma once

#include "kelvo/sdk/snapshot.h"

#include <vector>

namespace qv::kelvo_tool {

/// The hierarchy in the "children" inputs of a snapshot's nodes, by the rules of `Hierarchy`.
class ChildTree {
public:
    explicit ChildTree(const ds::Vector<kelvo_sdk::SnapshotNode>& nodes);

    /// Returns the number of nodes on the longest path from a root down; 0 without nodes.
    [[nodiscard]] u64 levels() const noexcept { return m_levels; }

private:
    using Number = kelvo_sdk::NodeNumber;
    enum class State : u8 { New, Open, Done };
    // The children of a node are a range of `m_children`.
    struct Entry {
        u64 begin = 0;
        u64 end = 0;
        u64 levels = 0;
        bool isListed = false;
        State state = State::New;
    };

    void addChildren(const kelvo_sdk::SnapshotNode& node);
    void walk(Number root);
    void leave(std::vector<Number>& way);
    Entry& entryOf(Number node);

    // By number.
    std::vector<Entry> m_entries;
    std::vector<Number> m_children;
    u64 m_levels = 0;
};

} // namespace qv::kelvo_tool
