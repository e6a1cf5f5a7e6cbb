#pragma once

#include "base/string.h"
#include "base/vector.h"
#include "sdk/interfaces/forward.h"

namespace qv::kelvo_sdk::impl {

class Input;

/// Finds the first input of a name in a list, without regard to case, in constant time.
class NameIndex {
public:
    explicit NameIndex(const ds::Vector<interfaces::IInput*>& inputs);

    /// An earlier input of the same name stays the one that is found.
    void add(Input* input);
    /// An input of a name that is there came into the list in front of that one.
    void putInFront(Input* input) noexcept;
    /// Does nothing when another is found by that name.
    void remove(const Input* input) noexcept;
    /// In place of one that was removed right before.
    void addKnown(Input* input) noexcept;
    /// Tells whether several inputs of a name may ever have been there at once.
    [[nodiscard]] bool isShared(u64 nameHash) const noexcept {
        return m_sharedHashes.contains(nameHash);
    }
    [[nodiscard]] Input* find(const String& name) const noexcept;
    /// Returns the number of names.
    [[nodiscard]] u64 size() const noexcept { return m_used; }

private:
    [[nodiscard]] u64 slotOf(u64 hash, const String& name) const noexcept;
    void grow();

    // Open addressing; the size is a power of two, at most half full.
    ds::Vector<Input*> m_slots;
    u64 m_used = 0;
    // Of the names that several inputs have or had.
    ds::Vector<u64> m_sharedHashes;
};

} // namespace qv::kelvo_sdk::impl
