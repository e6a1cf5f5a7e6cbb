#pragma once

#include "kelvo/base/fetch_line.h"

namespace qv::kelvo_sdk::impl {

class Node;

/// Makes the processor fetch nodes and the values of their inputs from memory before a loop reads
/// them all, which otherwise waits for memory most of the time.
class NodeFetch {
public:
    /// Call before the `i`-th of `count` nodes is read; `nodeAt(index)` returns a node, null for
    /// none.
    template<typename NodeAt>
    static void ahead(u64 i, u64 count, const NodeAt& nodeAt) {
        fetchAt(i + 12, count, nodeAt, &fetchNode);
        fetchAt(i + 10, count, nodeAt, &fetchList);
        fetchAt(i + 8, count, nodeAt, &fetchInputs);
        fetchAt(i + 6, count, nodeAt, &fetchParts);
        fetchAt(i + 4, count, nodeAt, &fetchMembers);
        fetchAt(i + 2, count, nodeAt, &fetchFirstMembers);
    }
    /// The same for a loop that reads only members of the nodes themselves.
    template<typename NodeAt>
    static void membersAhead(u64 i, u64 count, const NodeAt& nodeAt) {
        fetchAt(i + 8, count, nodeAt, &fetchNode);
    }

private:
    template<typename NodeAt>
    static void fetchAt(u64 index, u64 count, const NodeAt& nodeAt,
                        void (*step)(const Node& node) noexcept) {
        const Node* const node = index < count ? nodeAt(index) : nullptr;
        if (node) step(*node);
    }
    // Each step reads what the one before has fetched.
    static void fetchNode(const Node& node) noexcept;
    static void fetchList(const Node& node) noexcept;
    static void fetchInputs(const Node& node) noexcept;
    static void fetchParts(const Node& node) noexcept;
    static void fetchMembers(const Node& node) noexcept;
    static void fetchFirstMembers(const Node& node) noexcept;
};

} // namespace qv::kelvo_sdk::impl
