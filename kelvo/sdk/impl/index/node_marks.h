#pragma once

#include "kelvo/base/types.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <vector>

namespace qv::kelvo_sdk::impl {

/// A map from nodes to numbers, with constant time per operation. Never dereferences the nodes.
class NodeMarks {
public:
    struct Added {
        /// Valid until the next `add`.
        i64& value;
        bool isNew;
    };

    /// Marks the node, which must not be null, with `value` unless it has a mark, and returns its
    /// mark.
    Added add(const interfaces::INode* node, i64 value) {
        if (4 * (m_count + 1) > 3 * m_slots.size()) grow();
        Slot& slot = slotOf(node);
        const bool isNew = !slot.node;
        if (isNew) {
            slot = {node, value};
            ++m_count;
        }
        return {slot.value, isNew};
    }

    [[nodiscard]] bool contains(const interfaces::INode* node) {
        return m_count != 0 && slotOf(node).node;
    }
    [[nodiscard]] u64 size() const noexcept { return m_count; }

private:
    struct Slot {
        const interfaces::INode* node = nullptr;
        i64 value = 0;
    };

    // Open addressing; the size is a power of two, and a quarter of the slots stay free.
    [[nodiscard]] Slot& slotOf(const interfaces::INode* node) {
        const u64 mask = m_slots.size() - 1;
        const u64 key = reinterpret_cast<u64>(node) * 0x9e3779b97f4a7c15u;
        for (u64 i = key >> 32;; ++i) {
            Slot& slot = m_slots[i & mask];
            if (!slot.node || slot.node == node) return slot;
        }
    }

    void grow() {
        std::vector<Slot> old(m_slots.empty() ? 64 : 2 * m_slots.size());
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.node) slotOf(slot.node) = slot;
        }
    }

    std::vector<Slot> m_slots;
    u64 m_count = 0;
};

} // namespace qv::kelvo_sdk::impl
