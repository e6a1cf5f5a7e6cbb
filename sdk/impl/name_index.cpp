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
    if (slot) return;
    slot = input;
    ++m_used;
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
