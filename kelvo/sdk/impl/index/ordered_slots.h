#pragma once

#include "kelvo/base/vector.h"

#include <algorithm>
#include <new>

namespace qv::kelvo_sdk::impl {

/// Pointers in order, with fast addition and removal everywhere: in amortised constant time at both
/// ends, elsewhere in time that hardly grows with their number. A removed pointer leaves a hole;
/// many holes are closed at once, and holes are made where pointers are inserted. Removal needs the
/// slot of the pointer: `moved(object, slot)`, which must not fail, reports each new slot.
template<typename T>
class OrderedSlots {
public:
    [[nodiscard]] u64 size() const noexcept { return m_slots.size() - m_holes.size(); }
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// Returns the slot of the new last pointer.
    u64 add(T* pointer) {
        reserve();
        m_slots.push_back(pointer);
        return slotAt(m_slots.size() - 1);
    }

    /// Inserts a pointer at an index below the size; returns its slot.
    template<typename Moved>
    u64 insert(u64 index, T* pointer, const Moved& moved) {
        reserve();
        if (index == 0) return addInFront(pointer);
        Gap gap = gapAt(placeOf(index));
        if (gap.moves > kMostMoves) {
            makeHoles(index, moved);
            gap = gapAt(placeOf(index));
        }
        return insertAt(gap, pointer, moved);
    }

    /// Allocates capacity for another pointer, so that the next `add` or `insert` does not fail.
    void reserve() {
        if (m_slots.size() < m_slots.capacity()) return;
        const u64 capacity = m_slots.empty() ? 2 : 2 * m_slots.size();
        m_holes.reserve(roomForHoles(capacity));
        m_slots.reserve(capacity);
    }

    /// Returns the index of the pointer in a slot.
    [[nodiscard]] u64 rankOf(u64 slot) const noexcept {
        return placeOfSlot(slot) - holesUpTo(placeOfSlot(slot));
    }
    /// Returns a number that is lower for earlier slots.
    [[nodiscard]] u64 placeOfSlot(u64 slot) const noexcept { return slot - m_first; }

    /// Removes the pointer in a slot, which must not be a hole. Allocates nothing.
    template<typename Moved>
    void remove(u64 slot, const Moved& moved) noexcept {
        const u64 place = placeOfSlot(slot);
        m_slots[place] = nullptr;
        if (place + 1 == m_slots.size()) return dropLastPlaces();
        if (place == 0) return dropFirstPlaces();
        if (m_holes.size() == m_holes.capacity()) return compact(moved);
        m_holes.insert(holesUpTo(place), slot);
        if (m_holes.size() > mostHoles() || m_holes.size() * 2 >= m_slots.size()) compact(moved);
    }

    /// Moves the pointer in a slot, which must not be a hole, to an index below the size. Allocates
    /// nothing; takes time for each pointer in between.
    template<typename Moved>
    void shift(u64 slot, u64 index, const Moved& moved) noexcept {
        u64 place = placeOfSlot(slot);
        T* const pointer = m_slots[place];
        for (const u64 end = placeOf(index); place != end;) {
            u64 next = place;
            do
                next += place < end ? 1 : u64(-1);
            while (!m_slots[next]);
            move(next, place, moved);
            place = next;
        }
        m_slots[place] = pointer;
        moved(*pointer, slotAt(place));
    }

    /// Removes and returns the last pointer; null when there is none.
    [[nodiscard]] T* takeLast() noexcept {
        if (m_slots.empty()) return nullptr;
        T* last = m_slots.back();
        dropLastPlaces();
        return last;
    }

    /// Returns the index-th pointer, null out of range.
    [[nodiscard]] T* at(u64 index) const noexcept {
        return index < size() ? m_slots[placeOf(index)] : nullptr;
    }

    /// Returns the pointer in a slot, null for a hole and out of range.
    [[nodiscard]] T* inSlot(u64 slot) const noexcept {
        return placeOfSlot(slot) < m_slots.size() ? m_slots[placeOfSlot(slot)] : nullptr;
    }

    /// Tells, in linear time, whether the list of holes is right.
    [[nodiscard]] bool isSound() const noexcept {
        u64 holes = 0;
        for (u64 place = 0; place < m_slots.size(); ++place) {
            if (m_slots[place]) continue;
            if (holes == m_holes.size() || m_holes[holes] != slotAt(place)) return false;
            ++holes;
        }
        return holes == m_holes.size() && (m_slots.empty() || (m_slots[0] && m_slots.back()));
    }

    /// Calls `visit(pointer)` in order, also for pointers that are added at the end meanwhile; none
    /// may be removed.
    template<typename Visit>
    void forEach(const Visit& visit) const {
        forEach([](u64, u64, const auto&) {}, visit);
    }

    /// Also calls `fetch(i, count, at)` before each visit: `at(j)` is what will be visited in
    /// `j - i` steps, null for a hole; `j` is below `count`.
    template<typename Fetch, typename Visit>
    void forEach(const Fetch& fetch, const Visit& visit) const {
        const auto at = [this](u64 place) { return m_slots[place]; };
        for (u64 place = 0; place < m_slots.size(); ++place) {
            fetch(place, m_slots.size(), at);
            if (m_slots[place]) visit(m_slots[place]);
        }
    }

private:
    // An insertion that would move more pointers makes holes first.
    static constexpr u64 kMostMoves = 256;
    // New holes: the number of pointers between two holes, and the divisor of the number of
    // pointers that gives the number of holes at the place of insertion.
    static constexpr u64 kHoleDistance = 32;
    static constexpr u64 kGapPart = 128;
    static constexpr u64 kFewSlots = 32;

    // A place that can be freed by moving the pointers between it and a hole, or the end.
    struct Gap {
        u64 place;
        u64 moves;
        // The index of the hole in `m_holes`; their number stands for the end.
        u64 hole;
    };

    // Returns the greatest number of holes, which keeps insertion into their list fast.
    [[nodiscard]] u64 mostHoles() const noexcept {
        return std::max<u64>(1024, m_slots.size() / 24);
    }
    // Returns 0 for few slots, whose holes are closed at once, because this takes little time.
    [[nodiscard]] static u64 roomForHoles(u64 slots) noexcept {
        if (slots <= kFewSlots) return 0;
        return std::min(std::max<u64>(1024, slots / 24), slots / 2) + 1;
    }

    [[nodiscard]] u64 slotAt(u64 place) const noexcept { return m_first + place; }

    // Needs an index in range.
    [[nodiscard]] u64 placeOf(u64 index) const noexcept {
        // The k-th hole is before the wanted pointer if at most `index` pointers precede the hole.
        u64 first = 0;
        for (u64 end = m_holes.size(); first < end;) {
            const u64 k = first + (end - first) / 2;
            if (placeOfSlot(m_holes[k]) - k <= index)
                first = k + 1;
            else
                end = k;
        }
        return index + first;
    }

    [[nodiscard]] u64 holesUpTo(u64 place) const noexcept {
        const auto placeOfHole = [this](u64 slot) { return placeOfSlot(slot); };
        return static_cast<u64>(std::ranges::lower_bound(m_holes, place, {}, placeOfHole) -
                                m_holes.begin());
    }

    u64 addInFront(T* pointer) {
        m_slots.insert(0, pointer);
        return --m_first;
    }

    // Returns the nearest hole, or the end, for an insertion in front of a place with a pointer.
    [[nodiscard]] Gap gapAt(u64 place) const noexcept {
        const u64 behind = holesUpTo(place);
        const bool isLast = behind == m_holes.size();
        const u64 end = isLast ? m_slots.size() : placeOfSlot(m_holes[behind]);
        const Gap after{place, end - place, behind};
        if (behind == 0) return after;
        const u64 moves = place - 1 - placeOfSlot(m_holes[behind - 1]);
        return moves <= after.moves ? Gap{place - 1, moves, behind - 1} : after;
    }

    template<typename Moved>
    u64 insertAt(const Gap& gap, T* pointer, const Moved& moved) {
        const bool isEnd = gap.hole == m_holes.size();
        if (isEnd) m_slots.push_back(nullptr);
        const u64 hole = isEnd ? m_slots.size() - 1 : placeOfSlot(m_holes[gap.hole]);
        if (!isEnd) m_holes.remove(gap.hole);
        for (u64 to = hole; to < gap.place; ++to)
            move(to + 1, to, moved);
        for (u64 to = hole; to > gap.place; --to)
            move(to - 1, to, moved);
        m_slots[gap.place] = pointer;
        return slotAt(gap.place);
    }

    template<typename Moved>
    void move(u64 from, u64 to, const Moved& moved) noexcept {
        moved(*m_slots[from], slotAt(to));
        m_slots[to] = m_slots[from];
    }

    // Lays the pointers out again, with holes spread evenly and many in front of the index-th,
    // because the next insertions are likely there. Needs an index above 0. When memory is out,
    // changes nothing, as holes only save moves.
    template<typename Moved>
    void makeHoles(u64 index, const Moved& moved) noexcept {
        ds::Vector<T*> slots;
        ds::Vector<u64> holes;
        const u64 most = size() / kHoleDistance + size() / kGapPart + 1;
        try {
            slots.reserve(size() + most + 1);
            holes.reserve(std::max(most, roomForHoles(size() + most)));
        } catch (const std::bad_alloc&) {
            return;
        }
        u64 rank = 0;
        forEach([&](T* pointer) {
            u64 left = rank != 0 && rank % kHoleDistance == 0 ? 1 : 0;
            if (rank++ == index) left = size() / kGapPart + 1;
            for (; left > 0; --left) {
                holes.push_back(slotAt(slots.size()));
                slots.push_back(nullptr);
            }
            moved(*pointer, slotAt(slots.size()));
            slots.push_back(pointer);
        });
        m_slots.swap(slots);
        m_holes.swap(holes);
    }

    // Removes the last place and the holes before it, so that the last place is never a hole.
    void dropLastPlaces() noexcept {
        m_slots.pop_back();
        while (!m_holes.empty() && m_holes.back() + 1 == slotAt(m_slots.size())) {
            m_slots.pop_back();
            m_holes.pop_back();
        }
    }

    // Removes the holes at the front, so that the first place is never a hole.
    void dropFirstPlaces() noexcept {
        while (!m_slots[0]) {
            m_slots.remove(0);
            if (!m_holes.empty() && m_holes[0] == m_first) m_holes.remove(0);
            ++m_first;
        }
    }

    template<typename Moved>
    void compact(const Moved& moved) noexcept {
        u64 kept = 0;
        for (u64 place = 0; place < m_slots.size(); ++place) {
            if (!m_slots[place]) continue;
            if (place != kept) move(place, kept, moved);
            ++kept;
        }
        m_slots.resize(kept);
        m_holes.resize(0);
    }

    ds::Vector<T*> m_slots;
    // The slots that are holes, in order.
    ds::Vector<u64> m_holes;
    // The slot of the first place; decreases, wrapping below 0, when a pointer is added in front.
    u64 m_first = 0;
};

} // namespace qv::kelvo_sdk::impl
