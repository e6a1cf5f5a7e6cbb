#include "sdk/impl/name_index.h"

#include "sdk/impl/input.h"

namespace qv::kelvo_sdk::impl {

NameIndex::NameIndex(const ds::Vector<interfaces::IInput*>& inputs) {
    u64 size = 32;
    while (size < inputs.size() * 2)
        size *= 2;
    m_slots.resize(size);
    for (interfaces::IInput* input : inputs)
        add(static_cast<Input*>(input));
}

// Returns the slot that holds the name, or the empty one where it belongs.
u64 NameIndex::slotOf(u64 hash, const String& name) const noexcept {
    const u64 mask = m_slots.size() - 1;
    u64 slot = hash & mask;
    while (m_slots[slot]) {
        const Input& input = *m_slots[slot];
        if (input.nameHash() == hash && input.ownName().equalsNoCase(name)) break;
        slot = (slot + 1) & mask;
    }
    return slot;
}

void NameIndex::add(Input* input) {
    if ((m_used + 1) * 2 > m_slots.size()) grow();
    Input*& slot = m_slots[slotOf(input->nameHash(), input->ownName())];
    if (slot) {
        if (!isShared(input->nameHash())) m_sharedHashes.push_back(input->nameHash());
        return;
    }
    slot = input;
    ++m_used;
}

void NameIndex::putInFront(Input* input) noexcept {
    m_slots[slotOf(input->nameHash(), input->ownName())] = input;
}

void NameIndex::addKnown(Input* input) noexcept {
    m_slots[slotOf(input->nameHash(), input->ownName())] = input;
    ++m_used;
}

// Entries behind the one that goes close up to where they belong.
void NameIndex::remove(const Input* input) noexcept {
    const u64 mask = m_slots.size() - 1;
    u64 hole = slotOf(input->nameHash(), input->ownName());
    if (m_slots[hole] != input) return;
    for (u64 next = (hole + 1) & mask; m_slots[next]; next = (next + 1) & mask) {
        const u64 home = m_slots[next]->nameHash() & mask;
        if (((next - home) & mask) < ((next - hole) & mask)) continue;
        m_slots[hole] = m_slots[next];
        hole = next;
    }
    m_slots[hole] = nullptr;
    --m_used;
}

void NameIndex::grow() {
    ds::Vector<Input*> old;
    old.resize(m_slots.size() * 2);
    m_slots.swap(old);
    for (Input* input : old) {
        if (input) m_slots[slotOf(input->nameHash(), input->ownName())] = input;
    }
}

Input* NameIndex::find(const String& name) const noexcept {
    return m_slots[slotOf(name.foldedHash(), name)];
}

} // namespace qv::kelvo_sdk::impl
