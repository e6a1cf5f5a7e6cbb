#pragma once

#include "base/string.h"
#include "base/vector.h"
#include "sdk/interfaces/forward.h"

// The list of inputs that a node or an object owns. A long list carries an index by name, which
// hangs off its first input, so that the list stays a plain vector.
namespace qv::kelvo_sdk::impl {

/// Returns the first input of that name without regard to case, null when there is none.
[[nodiscard]] interfaces::IInput* findInList(const ds::Vector<interfaces::IInput*>& inputs,
                                             const String& name) noexcept;

/// Adds an input at the end.
void appendToList(ds::Vector<interfaces::IInput*>& inputs, interfaces::IInput* input);

/// Adds an input in front of the index-th.
void insertIntoList(ds::Vector<interfaces::IInput*>& inputs, u64 index, interfaces::IInput* input);

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

/// Takes the index-th input out, keeping the order of the rest.
void removeFromList(ds::Vector<interfaces::IInput*>& inputs, u64 index) noexcept;

} // namespace qv::kelvo_sdk::impl
