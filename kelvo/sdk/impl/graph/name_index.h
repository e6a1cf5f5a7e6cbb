#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/impl/graph/impl_of.h"

namespace qv::kelvo_sdk::impl {

/// Finds the first attribute of a name in a list of inputs or outputs, without regard to case, in
/// constant time.
template<typename Attribute>
class NameIndex {
public:
    using Own = typename ImplementationOf<Attribute>::Type;

    explicit NameIndex(const ds::Vector<Attribute*>& list);

    /// An earlier one of the same name stays the one that is found.
    void add(Own* attribute);
    /// One of a name that is there came into the list in front of that one.
    void putInFront(Own* attribute) noexcept;
    /// Does nothing when another is found by that name.
    void remove(const Own* attribute) noexcept;
    /// In place of one that was removed right before.
    void addKnown(Own* attribute) noexcept;
    /// Tells whether several of a name may ever have been there at once.
    [[nodiscard]] bool isShared(u64 nameHash) const noexcept {
        return m_sharedHashes.contains(nameHash);
    }
    [[nodiscard]] Own* find(const String& name) const noexcept;
    /// Returns the number of names.
    [[nodiscard]] u64 size() const noexcept { return m_used; }

private:
    [[nodiscard]] u64 slotOf(u64 hash, const String& name) const noexcept;
    void grow();

    // Open addressing; the size is a power of two, at most half full.
    ds::Vector<Own*> m_slots;
    u64 m_used = 0;
    // Of the names that several have or had.
    ds::Vector<u64> m_sharedHashes;
};

} // namespace qv::kelvo_sdk::impl
