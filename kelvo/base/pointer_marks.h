#pragma once

#include "kelvo/base/types.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <vector>

namespace qv {

/// A map from objects to numbers, with constant time per operation. Never dereferences the objects.
template<typename Object>
class PointerMarks {
public:
    struct Added {
        /// Valid until the next `add`.
        i64& value;
        bool isNew;
    };

    /// Makes room for that many objects.
    void reserve(u64 count) {
        if (const u64 size = std::bit_ceil(4 * count / 3 + 1); size > m_slots.size()) resize(size);
    }

    /// Marks the object, which must not be null, with `value` unless it has a mark, and returns its
    /// mark.
    Added add(const Object* object, i64 value) {
        if (4 * (m_count + 1) > 3 * m_slots.size()) resize(std::max<u64>(64, 2 * m_slots.size()));
        Slot& slot = slotOf(object);
        const bool isNew = !slot.object;
        if (isNew) {
            slot = {object, value};
            ++m_count;
        }
        return {slot.value, isNew};
    }

    /// Returns the mark of an object, null when it has none; valid until the next `add`.
    [[nodiscard]] const i64* find(const Object* object) const {
        if (m_count == 0) return nullptr;
        const Slot& slot = slotOf(object);
        return slot.object ? &slot.value : nullptr;
    }
    [[nodiscard]] i64* find(const Object* object) {
        return const_cast<i64*>(std::as_const(*this).find(object));
    }
    [[nodiscard]] u64 size() const noexcept { return m_count; }

private:
    struct Slot {
        const Object* object = nullptr;
        i64 value = 0;
    };

    // Open addressing; the size is a power of two, and a quarter of the slots stay free.
    [[nodiscard]] const Slot& slotOf(const Object* object) const {
        const u64 mask = m_slots.size() - 1;
        const u64 key = reinterpret_cast<u64>(object) * 0x9e3779b97f4a7c15u;
        for (u64 i = key >> 32;; ++i) {
            const Slot& slot = m_slots[i & mask];
            if (!slot.object || slot.object == object) return slot;
        }
    }
    [[nodiscard]] Slot& slotOf(const Object* object) {
        return const_cast<Slot&>(std::as_const(*this).slotOf(object));
    }

    void resize(u64 size) {
        std::vector<Slot> old(size);
        old.swap(m_slots);
        for (const Slot& slot : old) {
            if (slot.object) slotOf(slot.object) = slot;
        }
    }

    std::vector<Slot> m_slots;
    u64 m_count = 0;
};

} // namespace qv
