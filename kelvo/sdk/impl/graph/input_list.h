#pragma once

#include "kelvo/base/name.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <type_traits>

// The lists of inputs and outputs of a node, and of members of an object. A long list has an index
// by name, which its first attribute owns, so that the list itself stays a plain vector.
namespace qv::kelvo_sdk::impl {

/// Returns the first attribute of that name without regard to case, null when there is none.
template<typename Attribute>
[[nodiscard]] Attribute* findInList(const ds::Vector<Attribute*>& list,
                                    const NameView& name) noexcept;

/// Adds an attribute at the end.
template<typename Attribute>
void appendToList(ds::Vector<Attribute*>& list, std::type_identity_t<Attribute>* attribute);

/// Adds an attribute in front of the index-th.
template<typename Attribute>
void insertIntoList(ds::Vector<Attribute*>& list, u64 index,
                    std::type_identity_t<Attribute>* attribute);

/// Returns the position of an attribute in its list, found fast near either end.
template<typename Attribute>
[[nodiscard]] u64 indexInList(const ds::Vector<Attribute*>& list,
                              const Attribute* wanted) noexcept {
    u64 last = list.size() - 1;
    for (u64 first = 0; first < last; ++first, --last) {
        if (list[first] == wanted) return first;
        if (list[last] == wanted) return last;
    }
    return last;
}

/// Remove the index-th input from the index by name and add it again; call before and after its
/// name changes.
void leaveNames(const ds::Vector<interfaces::IInput*>& list, u64 index) noexcept;
void joinNames(const ds::Vector<interfaces::IInput*>& list, u64 index) noexcept;

/// Removes the index-th attribute, keeping the order of the rest.
template<typename Attribute>
void removeFromList(ds::Vector<Attribute*>& list, u64 index) noexcept;

} // namespace qv::kelvo_sdk::impl
