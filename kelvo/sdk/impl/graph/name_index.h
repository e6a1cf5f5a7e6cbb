#pragma once

#include "kelvo/base/name.h"
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

    /// Adds an attribute; an earlier one of the same name stays in the index instead.
    void add(Own* attribute);
    /// Call when an attribute came into the list in front of the indexed one of its name.
    void putInFront(Own* attribute) noexcept;
    /// Does nothing when the index has another attribute of that name.
    void remove(const Own* attribute) noexcept;
    /// Adds an attribute right after the removal of another, which needs no memory.
    void addKnown(Own* attribute) noexcept;
    /// Tells whether several attributes may ever have shared this name at once.
    [[nodiscard]] bool isShared(u64 nameHash) const noexcept {
        return m_sharedHashes.contains(nameHash);
    }
    [[nodiscard]] Own* find(const NameView& name) const noexcept;
    /// Returns the number of names.
    [[nodiscard]] u64 size() const noexcept { return m_used; }

private:
    [[nodiscard]] u64 slotOf(u64 hash, std::string_view name) const noexcept;
    void grow();

    // Open addressing; the size is a power of two, at most half full.
    ds::Vector<Own*> m_slots;
    u64 m_used = 0;
    // Hashes of names that several attributes share or have shared.
    ds::Vector<u64> m_sharedHashes;
};

} // namespace qv::kelvo_sdk::impl
