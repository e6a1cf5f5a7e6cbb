#pragma once

#include "kelvo/base/string.h"
#include "kelvo/base/vector.h"
#include "kelvo/sdk/interfaces/forward.h"

#include <type_traits>

// The lists of inputs and outputs that a node owns, and of inputs that an object does. A long list
// carries an index by name, which hangs off its first attribute, so that the list stays a plain
// vector.
namespace qv::kelvo_sdk::impl {

/// Returns the first attribute of that name without regard to case, null when there is none.
template<typename Attribute>
[[nodiscard]] Attribute* findInList(const ds::Vector<Attribute*>& list,
                                    const String& name) noexcept;

/// Adds an attribute at the end.
template<typename Attribute>
void appendToList(ds::Vector<Attribute*>& list, std::type_identity_t<Attribute>* attribute);

/// Adds an attribute in front of the index-th.
template<typename Attribute>
void insertIntoList(ds::Vector<Attribute*>& list, u64 index,
                    std::type_identity_t<Attribute>* attribute);

/// Returns the place of an attribute that is there, found fast near either end.
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

/// Take the index-th input out of the look-up by name and put it back, before and after its name
/// changes.
void leaveNames(const ds::Vector<interfaces::IInput*>& list, u64 index) noexcept;
void joinNames(const ds::Vector<interfaces::IInput*>& list, u64 index) noexcept;

/// Takes the index-th attribute out, keeping the order of the rest.
template<typename Attribute>
void removeFromList(ds::Vector<Attribute*>& list, u64 index) noexcept;

} // namespace qv::kelvo_sdk::impl
