#include "kelvo/sdk/impl/graph/name_index.h"

#include "kelvo/sdk/impl/graph/input.h"
#include "kelvo/sdk/impl/graph/output.h"

namespace qv::kelvo_sdk::impl {

template<typename Attribute>
NameIndex<Attribute>::NameIndex(const ds::Vector<Attribute*>& list) {
    u64 size = 32;
    while (size < list.size() * 2)
        size *= 2;
    m_slots.resize(size);
    for (Attribute* next : list)
        add(static_cast<Own*>(next));
}

// Returns the slot of a name, or the empty slot where it belongs.
template<typename Attribute>
u64 NameIndex<Attribute>::slotOf(u64 hash, std::string_view name) const noexcept {
    const u64 mask = m_slots.size() - 1;
    u64 slot = hash & mask;
    while (m_slots[slot]) {
        const Own& held = *m_slots[slot];
        if (held.nameHash() == hash && held.ownName().equalsNoCase(name)) break;
        slot = (slot + 1) & mask;
    }
    return slot;
}

template<typename Attribute>
void NameIndex<Attribute>::add(Own* attribute) {
    if ((m_used + 1) * 2 > m_slots.size()) grow();
    Own*& slot = m_slots[slotOf(attribute->nameHash(), attribute->ownName())];
    if (slot) {
        if (!isShared(attribute->nameHash())) m_sharedHashes.push_back(attribute->nameHash());
        return;
    }
    slot = attribute;
    ++m_used;
}

template<typename Attribute>
void NameIndex<Attribute>::putInFront(Own* attribute) noexcept {
    m_slots[slotOf(attribute->nameHash(), attribute->ownName())] = attribute;
}

template<typename Attribute>
void NameIndex<Attribute>::addKnown(Own* attribute) noexcept {
    m_slots[slotOf(attribute->nameHash(), attribute->ownName())] = attribute;
    ++m_used;
}

// Moves entries behind the removed one into the hole, so that searches still find them.
template<typename Attribute>
void NameIndex<Attribute>::remove(const Own* attribute) noexcept {
    const u64 mask = m_slots.size() - 1;
    u64 hole = slotOf(attribute->nameHash(), attribute->ownName());
    if (m_slots[hole] != attribute) return;
    for (u64 next = (hole + 1) & mask; m_slots[next]; next = (next + 1) & mask) {
        const u64 home = m_slots[next]->nameHash() & mask;
        if (((next - home) & mask) < ((next - hole) & mask)) continue;
        m_slots[hole] = m_slots[next];
        hole = next;
    }
    m_slots[hole] = nullptr;
    --m_used;
}

template<typename Attribute>
void NameIndex<Attribute>::grow() {
    ds::Vector<Own*> old;
    old.resize(m_slots.size() * 2);
    m_slots.swap(old);
    for (Own* attribute : old) {
        if (attribute) m_slots[slotOf(attribute->nameHash(), attribute->ownName())] = attribute;
    }
}

template<typename Attribute>
typename NameIndex<Attribute>::Own*
NameIndex<Attribute>::find(const NameView& name) const noexcept {
    return m_slots[slotOf(name.foldedHash(), name.text())];
}

template class NameIndex<interfaces::IInput>;
template class NameIndex<interfaces::IOutput>;

} // namespace qv::kelvo_sdk::impl
