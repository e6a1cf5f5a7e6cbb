#pragma once

#include "base/vector.h"

#include <algorithm>

namespace qv::kelvo_sdk::impl {

/// Pointers in order of insertion, each removed in constant time, amortised: a removed one leaves a
/// hole, and holes are closed many at once. Who removes must know the slot; a pointer that moves
/// when holes are closed is told by `moved(pointer, slot)`.
template<typename T>
class OrderedSlots {
public:
    [[nodiscard]] u64 size() const noexcept { return m_slots.size() - m_holes.size(); }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// Returns the slot of the new last pointer.
    u64 add(T* pointer) {
        reserve();
        m_slots.push_back(pointer);
        return m_slots.size() - 1;
    }

    /// Puts a pointer in front of the index-th, which must be there; returns its slot. Takes a hole
    /// that is in place, else moves all behind it.
    template<typename Moved>
    u64 insert(u64 index, T* pointer, const Moved& moved) {
        const u64 slot = slotOf(index);
        const u64 holes = holesUpTo(slot);
        if (slot != 0 && !m_slots[slot - 1]) {
            m_holes.extract(holes - 1);
            m_slots[slot - 1] = pointer;
            return slot - 1;
        }
        reserve();
        m_slots.insert(slot, pointer);
        for (u64 i = slot + 1; i < m_slots.size(); ++i)
            if (m_slots[i]) moved(*m_slots[i], i);
        for (u64 i = holes; i < m_holes.size(); ++i)
            ++m_holes[i];
        return slot;
    }

    /// Returns how many pointers stand before that of a slot.
    [[nodiscard]] u64 rankOf(u64 slot) const noexcept { return slot - holesUpTo(slot); }

    /// Needs a slot that holds a pointer.
    template<typename Moved>
    void remove(u64 slot, const Moved& moved) noexcept {
        m_slots[slot] = nullptr;
        if (slot + 1 == m_slots.size()) return dropLastSlots();
        const bool isKept = noteHole(slot);
        if (!isKept || m_holes.size() > kMaxHoles || m_holes.size() * 2 >= m_slots.size())
            compact(isKept ? m_holes.front() : firstHole(slot), moved);
    }

    /// Makes room for another pointer: the next `add` or `insert` does not fail.
    void reserve() {
        if (m_slots.size() < m_slots.capacity()) return;
        const u64 capacity = m_slots.empty() ? 2 : 2 * m_slots.size();
        if (capacity > kFewSlots) m_holes.reserve(std::min(kMaxHoles, capacity / 2) + 1);
        m_slots.reserve(capacity);
    }

    /// Takes the last pointer out; null when there is none.
    [[nodiscard]] T* takeLast() noexcept {
        if (m_slots.empty()) return nullptr;
        T* last = m_slots.back();
        dropLastSlots();
        return last;
    }

    /// Returns the index-th pointer, null out of range.
    [[nodiscard]] T* at(u64 index) const noexcept {
        return index < size() ? m_slots[slotOf(index)] : nullptr;
    }

    /// Returns what a slot holds, null for a hole and out of range.
    [[nodiscard]] T* inSlot(u64 slot) const noexcept {
        return slot < m_slots.size() ? m_slots[slot] : nullptr;
    }

    /// Tells, in linear time, whether the list of holes is right.
    [[nodiscard]] bool isSound() const noexcept {
        u64 holes = 0;
        for (u64 slot = 0; slot < m_slots.size(); ++slot) {
            if (m_slots[slot]) continue;
            if (holes == m_holes.size() || m_holes[holes] != slot) return false;
            ++holes;
        }
        return holes == m_holes.size() && (m_slots.empty() || m_slots.back());
    }

    /// Calls `visit(pointer)` in order. What is added meanwhile is visited too; nothing may be
    /// removed meanwhile.
    template<typename Visit>
    void forEach(const Visit& visit) const {
        for (u64 slot = 0; slot < m_slots.size(); ++slot) {
            if (m_slots[slot]) visit(m_slots[slot]);
        }
    }

private:
    // Keeps the list of holes short enough to insert into.
    static constexpr u64 kMaxHoles = 1024;
    static constexpr u64 kFewSlots = 32;

    // Needs an index in range.
    [[nodiscard]] u64 slotOf(u64 index) const noexcept {
        // The k-th hole stands before the pointer sought if at most `index` pointers precede it.
        u64 first = 0;
        for (u64 end = m_holes.size(); first < end;) {
            const u64 k = first + (end - first) / 2;
            if (m_holes[k] - k <= index)
                first = k + 1;
            else
                end = k;
        }
        return index + first;
    }

    [[nodiscard]] u64 holesUpTo(u64 slot) const noexcept {
        return static_cast<u64>(std::ranges::lower_bound(m_holes, slot) - m_holes.begin());
    }

    // Takes the last slot away, and the holes before it, so that the last slot is never a hole.
    void dropLastSlots() noexcept {
        m_slots.pop_back();
        while (!m_holes.empty() && m_holes.back() + 1 == m_slots.size()) {
            m_slots.pop_back();
            m_holes.pop_back();
        }
    }

    // Tells whether there is room for it on the list of holes. Few slots have none: closing theirs
    // at once costs little.
    bool noteHole(u64 slot) noexcept {
        if (m_holes.size() == m_holes.capacity()) return false;
        m_holes.insert(holesUpTo(slot), slot);
        return true;
    }

    [[nodiscard]] u64 firstHole(u64 slot) const noexcept {
        return m_holes.empty() ? slot : std::min(slot, m_holes.front());
    }

    // Closes all holes, of which the first is in slot `kept`.
    template<typename Moved>
    void compact(u64 kept, const Moved& moved) noexcept {
        for (u64 slot = kept; slot < m_slots.size(); ++slot) {
            if (!m_slots[slot]) continue;
            moved(*m_slots[slot], kept);
            m_slots[kept++] = m_slots[slot];
        }
        m_slots.resize(kept);
        m_holes.resize(0);
    }

    ds::Vector<T*> m_slots;
    // Slots that hold nothing, ascending.
    ds::Vector<u64> m_holes;
};

} // namespace qv::kelvo_sdk::impl
