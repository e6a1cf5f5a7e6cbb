#pragma once

#include "kelvo/base/types.h"

#include <cstdint>

namespace qv::kelvo_sdk::impl {

class Node;

/// Begins to fetch a line of the cache, which may be past the end of the object, or at null. The
/// address is a number, because pointers must not lead there.
inline void fetchLine(const void* start, u64 line) noexcept {
    constexpr u64 bytesOfLine = 64;
    const auto address = reinterpret_cast<std::uintptr_t>(start) + line * bytesOfLine;
    __builtin_prefetch(reinterpret_cast<const void*>(address));
}

/// Makes the processor fetch nodes and the values of their inputs from memory before a loop reads
/// them all, which otherwise waits for memory most of the time.
class NodeFetch {
public:
    /// Call before the `i`-th of `count` nodes is read; `nodeAt(index)` returns a node, null for
    /// none.
    template<typename NodeAt>
    static void ahead(u64 i, u64 count, const NodeAt& nodeAt) {
        const auto fetch = [&](u64 index, void (*step)(const Node& node) noexcept) {
            const Node* const node = index < count ? nodeAt(index) : nullptr;
            if (node) step(*node);
        };
        fetch(i + 8, &fetchNode);
        fetch(i + 6, &fetchList);
        fetch(i + 4, &fetchInputs);
        fetch(i + 2, &fetchParts);
    }

private:
    // Each step reads what the one before has fetched.
    static void fetchNode(const Node& node) noexcept;
    static void fetchList(const Node& node) noexcept;
    static void fetchInputs(const Node& node) noexcept;
    static void fetchParts(const Node& node) noexcept;
};

} // namespace qv::kelvo_sdk::impl
